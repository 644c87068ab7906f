#include "quick/recipe.h"

#include "quick/log.h"

#include <modbus_rtu_host/error.h>

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QSaveFile>
#include <QtCore/QSet>

namespace quick {

namespace {

const int WatchTime = 50;

QString pathOf(const QUrl &file)
{
    return file.isLocalFile() ? file.toLocalFile() : file.toString();
}

} // namespace

Recipe::Recipe(QObject *parent) : QObject(parent)
{
    m_watch.setInterval(WatchTime);
    connect(&m_watch, &QTimer::timeout, this, [this] {
        showProgress(
            m_rows.isEmpty() ? 0 : static_cast<double>(m_transfer.rowsEnded()) / static_cast<double>(m_rows.size()));
    });
}

Recipe::~Recipe()
{
    m_transfer.cancel();
}

void Recipe::load()
{
    begin(Kind::Load);
}

void Recipe::save()
{
    begin(Kind::Save);
}

void Recipe::compare()
{
    begin(Kind::Compare);
}

void Recipe::cancel()
{
    m_transfer.cancel();
}

/** What cannot begin ends later: who hears of it may try again at once, each time inside the one before. */
void Recipe::begin(Kind kind)
{
    if (m_running)
        return;
    m_running = true;
    m_outcome = None;
    for (RecipeRow *row : m_rows)
        row->clearOutcome();
    Q_EMIT runningChanged();
    Q_EMIT outcomeChanged();
    showProgress(0);
    try {
        start(kind);
    } catch (const rtu::Error &error) {
        const QString text = error.text();
        warnAt(this, text);
        QMetaObject::invokeMethod(
            this, [this, text] { end(Rejected, text); }, Qt::QueuedConnection);
    }
}

void Recipe::start(Kind kind)
{
    if (!m_link || !m_link->line())
        throw rtu::Error(QLatin1String("the recipe's link is not active"));
    std::vector<rtu::RecipeRow> rows;
    for (RecipeRow *row : m_rows)
        rows.push_back(row->begin(kind != Kind::Save));
    const std::function<void(Mailbox::Message)> post = m_link->poster();
    const QPointer<Recipe> self(this);
    const auto whenDone = [post, self, kind](const rtu::TransferResult &result) {
        post([self, kind, result] {
            if (self)
                self->done(kind, result);
        });
    };
    rtu::Link &line = *m_link->line();
    m_transfer = kind == Kind::Load   ? line.load(rows, whenDone)
                 : kind == Kind::Save ? line.save(rows, whenDone)
                                      : line.compare(rows, whenDone);
    m_watch.start();
}

void Recipe::done(Kind kind, const rtu::TransferResult &result)
{
    const int rows = static_cast<int>(result.rows.size());
    for (int i = 0; i < rows && i < m_rows.size(); ++i)
        m_rows[i]->end(result.rows[static_cast<std::size_t>(i)], kind == Kind::Save);
    if (result.complete())
        return end(Complete, QString());
    const int failed =
        static_cast<int>(std::count_if(result.rows.begin(), result.rows.end(),
                                       [](const rtu::RowResult &row) { return row.end != rtu::RowEnd::Done; }));
    const QString text = kind == Kind::Compare ? QStringLiteral("%1 of %2 rows differ or could not be read")
                                               : QStringLiteral("%1 of %2 rows were not transferred");
    end(result.cancelled ? Cancelled : Incomplete, text.arg(failed).arg(rows));
}

void Recipe::end(Outcome outcome, const QString &error)
{
    m_watch.stop();
    m_transfer = rtu::Transfer();
    if (outcome == Complete || outcome == Incomplete)
        showProgress(1);
    m_running = false;
    m_outcome = outcome;
    setError(error);
    Q_EMIT runningChanged();
    Q_EMIT outcomeChanged();
    Q_EMIT finished(outcome);
}

void Recipe::showProgress(double progress)
{
    m_progress = progress;
    Q_EMIT progressChanged();
}

void Recipe::setError(const QString &error)
{
    m_error = error;
    Q_EMIT errorChanged();
}

// --- files -------------------------------------------------------------------------------

bool Recipe::fail(const QString &error)
{
    qCWarning(modbusLog).noquote() << error;
    setError(error);
    return false;
}

/** The file knows a row by its name alone. Empty where each has its own. */
QString Recipe::faultOfNames() const
{
    QSet<QString> names;
    for (const RecipeRow *row : m_rows) {
        const QString name = row->name();
        if (name.isEmpty())
            return QStringLiteral("the row of station %1 %2 has no name, by which a file keeps its value")
                .arg(row->station())
                .arg(row->address());
        if (names.contains(name))
            return QStringLiteral("two rows have the name \"%1\", by which a file keeps their values").arg(name);
        names.insert(name);
    }
    return QString();
}

bool Recipe::writeFile(const QUrl &file)
{
    const QString fault = faultOfNames();
    if (!fault.isEmpty())
        return fail(fault);
    QJsonObject values;
    for (const RecipeRow *row : m_rows)
        values.insert(row->name(), QJsonValue::fromVariant(row->value()));
    QSaveFile out(pathOf(file));
    const QByteArray bytes = QJsonDocument(values).toJson();
    if (!out.open(QIODevice::WriteOnly) || out.write(bytes) != bytes.size() || !out.commit())
        return fail(QStringLiteral("cannot write %1: %2").arg(out.fileName(), out.errorString()));
    setError(QString());
    return true;
}

bool Recipe::readFile(const QUrl &file)
{
    const QString fault = faultOfNames();
    if (!fault.isEmpty())
        return fail(fault);
    QFile in(pathOf(file));
    if (!in.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("cannot read %1: %2").arg(in.fileName(), in.errorString()));
    QJsonParseError parsed;
    const QJsonDocument document = QJsonDocument::fromJson(in.readAll(), &parsed);
    if (parsed.error != QJsonParseError::NoError)
        return fail(QStringLiteral("%1 is no recipe: %2").arg(in.fileName(), parsed.errorString()));
    if (!document.isObject())
        return fail(QStringLiteral("%1 is no recipe: it has no names").arg(in.fileName()));
    const QJsonObject values = document.object();
    for (RecipeRow *row : m_rows) {
        if (values.contains(row->name()))
            row->setValue(values.value(row->name()).toVariant());
    }
    setError(QString());
    return true;
}

} // namespace quick
