#include "quick/tag.h"

#include "quick/log.h"

#include <modbus_rtu_host/error.h>

namespace quick {

namespace {

QDateTime dateTime(rtu::TimePoint time)
{
    if (time == rtu::TimePoint())
        return QDateTime();
    const auto age = std::chrono::duration_cast<std::chrono::milliseconds>(rtu::SteadyClock::now() - time);
    return QDateTime::fromMSecsSinceEpoch(QDateTime::currentMSecsSinceEpoch() - age.count());
}

/** What the end means for the value; empty when it is on its way or where it should be. */
QString reasonOf(const rtu::WriteResult &result)
{
    switch (result.end) {
    case rtu::WriteEnd::Acknowledged:
    case rtu::WriteEnd::Replaced:
    case rtu::WriteEnd::Broadcast:
    case rtu::WriteEnd::KeptLocal:
        return QString();
    default:
        return result.text.isEmpty() ? QStringLiteral("the write was taken back") : result.text;
    }
}

} // namespace

Tag::Tag(QObject *parent) : Place(parent)
{
    connect(this, &Place::placeChanged, this, &Tag::schedule);
    connect(this, &Tag::linkChanged, this, &Tag::schedule);
}

Tag::~Tag()
{
    unsubscribe();
}

void Tag::setLink(Link *link)
{
    if (m_link == link)
        return;
    unsubscribe();
    m_key.clear(); // the same address on another line is another place
    if (m_link)
        m_link->disconnect(this);
    m_link = link;
    if (m_link) {
        connect(m_link, &Link::renewed, this, &Tag::subscribe);
        connect(m_link, &Link::closed, this, &Tag::linkClosed);
    }
    const QPointer<Tag> alive(this); // what listens may destroy it
    goSilent();
    if (alive)
        Q_EMIT linkChanged();
}

void Tag::componentComplete()
{
    m_complete = true;
    subscribe();
}

/** Station and address that change together mean one new place. */
void Tag::schedule()
{
    if (!m_complete || m_scheduled)
        return;
    m_scheduled = true;
    QMetaObject::invokeMethod(this, "subscribe", Qt::QueuedConnection);
}

rtu::TagDefinition Tag::definition() const
{
    rtu::TagDefinition definition = Place::definition();
    definition.pace = std::chrono::milliseconds(m_pace);
    return definition;
}

void Tag::subscribe()
{
    m_scheduled = false;
    unsubscribe();
    if (!m_complete)
        return;
    const bool moved = key() != m_key;
    if (moved) { // nothing that was shown belongs to the new place
        m_key = key();
        m_read = rtu::TagValue();
        m_shown = rtu::TagValue();
    }
    const QPointer<Tag> alive(this); // what listens may destroy it
    watch();
    if (!alive)
        return;
    if (m_handle.isNull())
        return moved ? show(rtu::TagValue()) : void();
    if (m_shown.count() > 0)
        return; // the link was started anew, and the value is this one's own
    const rtu::TagValue last = m_link->remembered(m_key);
    if (last.count() > 0)
        show(last, Remembered);
    else
        show(m_handle.value());
}

/** Without a handle afterwards where there is no line, or the place is wrong. */
void Tag::watch()
{
    if (!m_link || !m_link->line())
        return;
    try {
        m_handle = m_link->watch(this);
    } catch (const rtu::Error &error) {
        warnAt(this, error.text());
        return setError(error.text());
    }
    setError(QString());
}

void Tag::unsubscribe()
{
    if (m_handle.isNull())
        return;
    if (m_link)
        m_link->forget(m_handle, m_key, m_read);
    m_handle = rtu::Tag();
}

void Tag::linkClosed()
{
    if (m_handle.isNull())
        return;
    unsubscribe();
    goSilent();
}

/** Nobody reads the value any more. */
void Tag::goSilent()
{
    if (m_quality == NeverRead || m_quality == StationSilent)
        return;
    m_quality = StationSilent;
    Q_EMIT qualityChanged();
}

// --- what comes ------------------------------------------------------------------------

void Tag::show(const rtu::TagValue &value)
{
    show(value, static_cast<Quality>(value.quality));
}

void Tag::show(const rtu::TagValue &value, Quality quality)
{
    const bool unread = value.time == rtu::TimePoint() && quality != Unconfirmed;
    const bool sameQuality = quality == m_quality && value.exceptionCode == m_shown.exceptionCode;
    if (!unread && quality != Unconfirmed)
        m_read = value;
    // A line that was started anew knows nothing of what an earlier one read.
    m_shown = unread && m_read.count() > 0 ? m_read : value;
    m_shown.exceptionCode = value.exceptionCode;
    m_quality = quality;
    const QVariant shown = variant(m_shown);
    const bool sameValue = shown == m_value;
    m_value = shown;
    const QPointer<Tag> alive(this); // what listens may destroy it
    if (!sameValue)
        Q_EMIT valueChanged();
    if (alive && !sameQuality)
        Q_EMIT qualityChanged();
    if (alive)
        showTime(m_shown.time == rtu::TimePoint() ? m_read.time : m_shown.time);
}

void Tag::showAgain(const rtu::TagValue &value)
{
    const bool same = static_cast<Quality>(value.quality) == m_quality && value.exceptionCode == m_shown.exceptionCode
                      && value.raw() == m_shown.raw();
    if (!same || value.time == rtu::TimePoint())
        return;
    m_shown.time = value.time;
    if (m_quality != Unconfirmed)
        m_read = m_shown;
    showTime(value.time);
}

void Tag::showTime(rtu::TimePoint time)
{
    if (time == m_timePoint)
        return;
    m_timePoint = time;
    m_time = dateTime(time);
    Q_EMIT timeChanged();
}

// --- what goes ---------------------------------------------------------------------------

/** What cannot be sent is told later: who hears of it may try again at once, each time inside the one before. */
void Tag::setValue(const QVariant &value)
{
    ++m_writing;
    if (m_writing == 1)
        Q_EMIT writingChanged();
    try {
        send(value);
    } catch (const rtu::Error &error) {
        const QString text = error.text();
        warnAt(this, text);
        QMetaObject::invokeMethod(
            this, [this, text] { endWrite(Rejected, text); }, Qt::QueuedConnection);
    }
}

rtu::Write Tag::send(const QVariant &value)
{
    const bool isActive = m_link && m_link->line(); // not while a link that closes tells what it still has
    if (!isActive || m_handle.isNull())
        throw rtu::Error(QLatin1String("the tag cannot be written: ")
                         + (!isActive || m_error.isEmpty() ? QLatin1String("its link is not active") : m_error));
    rtu::WriteOptions options;
    options.keep = m_keep;
    options.readBack = m_readBack;
    const std::function<void(Mailbox::Message)> post = m_link->poster();
    const QPointer<Tag> self(this);
    options.done = [post, self](const rtu::WriteResult &result) {
        post([self, result] {
            if (self)
                self->writeDone(result);
        });
    };
    if (isText())
        return m_link->line()->write(m_handle, plain(value).toString(), options);
    std::vector<double> numbers;
    if (!this->numbers(value, &numbers))
        throw rtu::Error(QString::fromLatin1("%1 of station %2 takes %3")
                             .arg(address())
                             .arg(station())
                             .arg(m_count == 1 ? QStringLiteral("a number")
                                               : QString::fromLatin1("a list of %1 numbers").arg(m_count)));
    return m_link->line()->write(m_handle, numbers, options);
}

void Tag::writeDone(const rtu::WriteResult &result)
{
    const QString reason = reasonOf(result);
    if (!reason.isEmpty())
        qCWarning(modbusLog).noquote()
            << QString::fromLatin1("station %1 %2: %3").arg(station()).arg(address(), reason);
    endWrite(static_cast<WriteEnd>(result.end), reason);
}

void Tag::endWrite(WriteEnd end, const QString &text)
{
    const QPointer<Tag> alive(this);
    --m_writing;
    if (m_writing == 0)
        Q_EMIT writingChanged();
    if (alive && end != Replaced)
        setError(text);
    // A control that was moved by hand goes back to what the tag has, also where that never changed.
    if (alive && !text.isEmpty())
        Q_EMIT valueChanged();
    if (alive)
        Q_EMIT writeEnded(end, text);
}

void Tag::setError(const QString &error)
{
    if (m_error == error)
        return;
    m_error = error;
    Q_EMIT errorChanged();
}

} // namespace quick
