/**
 * @file
 * Values that are loaded into slaves together.
 */
#ifndef QUICK_RECIPE_H
#define QUICK_RECIPE_H

#include "quick/link.h"
#include "quick/recipe_row.h"

#include <QtCore/QUrl>
#include <QtQml/QQmlListProperty>

namespace quick {

/** Moves the values of its rows between a file, the screen and the slaves. One transfer at a time. */
class Recipe : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("DefaultProperty", "rows")
    Q_PROPERTY(quick::Link *link MEMBER m_link NOTIFY linkChanged)
    Q_PROPERTY(QQmlListProperty<quick::RecipeRow> rows READ rows CONSTANT)
    Q_PROPERTY(bool running READ isRunning NOTIFY runningChanged)
    Q_PROPERTY(double progress READ progress NOTIFY progressChanged) ///< 0 to 1
    Q_PROPERTY(quick::Recipe::Outcome outcome READ outcome NOTIFY outcomeChanged)
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)

public:
    enum Outcome {
        None,       ///< nothing has been done yet, or it is under way
        Complete,   ///< every row was loaded, saved, or compared and equal
        Incomplete, ///< the rows say which are not
        Cancelled,
        Rejected, ///< not begun: see error
    };
    Q_ENUM(Outcome)

    explicit Recipe(QObject *parent = nullptr);
    ~Recipe() override;

    QQmlListProperty<RecipeRow> rows() { return QQmlListProperty<RecipeRow>(this, &m_rows); }
    bool isRunning() const { return m_running; }
    double progress() const { return m_progress; }
    Outcome outcome() const { return m_outcome; }
    QString error() const { return m_error; }

    /** Writes the values of the rows to the slaves. */
    Q_INVOKABLE void load();
    /** Reads the values of the rows from the slaves. */
    Q_INVOKABLE void save();
    /** Compares the values of the rows with the slaves; each row gets its slaveValue. */
    Q_INVOKABLE void compare();
    /** Ends the transfer behind the rows that are on the line. */
    Q_INVOKABLE void cancel();

    /** Keeps the values in a file (JSON: an object of names and values, so each row needs its own). False: see error */
    Q_INVOKABLE bool writeFile(const QUrl &file);
    /** Takes the values of the rows that the file names. False: see error, and nothing has changed */
    Q_INVOKABLE bool readFile(const QUrl &file);

Q_SIGNALS:
    void linkChanged();
    void runningChanged();
    void progressChanged();
    void outcomeChanged();
    void errorChanged();
    void finished(quick::Recipe::Outcome outcome);

private:
    enum class Kind { Load, Save, Compare };

    void begin(Kind kind);
    void start(Kind kind);
    void done(Kind kind, const rtu::TransferResult &result);
    void end(Outcome outcome, const QString &error);
    void showProgress(double progress);
    void setError(const QString &error);
    bool fail(const QString &error);
    QString faultOfNames() const;

    QPointer<Link> m_link;
    QList<RecipeRow *> m_rows;
    bool m_running = false;
    double m_progress = 0;
    Outcome m_outcome = None;
    QString m_error;
    rtu::Transfer m_transfer;
    QTimer m_watch; ///< of the progress
};

} // namespace quick

#endif
