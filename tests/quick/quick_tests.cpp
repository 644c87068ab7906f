// Runs tests that are written in QML: tst_*.qml.

#include <QtCore/QMutex>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>
#include <QtQml/QQmlContext>
#include <QtQml/QQmlEngine>
#include <QtQuickTest/quicktest.h>

namespace {

QMutex logMutex;
QStringList logLines;
QtMessageHandler printer = nullptr;

void record(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (type != QtDebugMsg && type != QtInfoMsg) {
        const QMutexLocker held(&logMutex);
        logLines << QString::fromLatin1(context.category) + QLatin1String(": ") + text;
    }
    printer(type, context, text);
}

/** QtTest puts a handler of its own in the place of others when it begins. */
void listen()
{
    const QtMessageHandler before = qInstallMessageHandler(record);
    if (before != record)
        printer = before;
}

} // namespace

/** What QML cannot see by itself. */
class Surroundings : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /** Warnings since the last call, each with its category. */
    Q_INVOKABLE QStringList takeLog()
    {
        listen();
        const QMutexLocker held(&logMutex);
        const QStringList lines = logLines;
        logLines.clear();
        return lines;
    }

    Q_INVOKABLE QString variable(const QString &name) const { return qEnvironmentVariable(name.toUtf8().constData()); }
    Q_INVOKABLE QString temporaryFile(const QString &name) const { return m_folder.filePath(name); }

private:
    QTemporaryDir m_folder;
};

class Setup : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void qmlEngineAvailable(QQmlEngine *engine)
    {
        engine->rootContext()->setContextProperty(QStringLiteral("surroundings"), new Surroundings(engine));
        engine->rootContext()->setContextProperty(QStringLiteral("panelFolder"), QStringLiteral(PANEL_FOLDER));
    }
};

QUICK_TEST_MAIN_WITH_SETUP(modbus_rtu_quick, Setup)

#include "quick_tests.moc"
