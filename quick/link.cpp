#include "quick/link.h"

#include "quick/log.h"
#include "quick/tag.h"

namespace quick {

namespace {

const int HeartbeatTime = 1000;

/** Out of each frame; the rest is for drawing and fingers. Milliseconds. */
const int DeliveryTime = 8;

double milliseconds(rtu::Duration time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

rtu::Duration duration(double milliseconds)
{
    return std::chrono::duration_cast<rtu::Duration>(std::chrono::duration<double, std::milli>(milliseconds));
}

QVariant number(std::uint64_t count)
{
    return QVariant(static_cast<double>(count)); // what JavaScript counts with
}

QVariantMap mapOf(const rtu::StationStatistics &of)
{
    return {{QStringLiteral("frames"), number(of.frames)},
            {QStringLiteral("resends"), number(of.resends)},
            {QStringLiteral("good"), number(of.good)},
            {QStringLiteral("exceptions"), number(of.exceptions)},
            {QStringLiteral("timeouts"), number(of.timeouts)},
            {QStringLiteral("damaged"), number(of.damaged)},
            {QStringLiteral("foreign"), number(of.foreign)},
            {QStringLiteral("giveUps"), number(of.giveUps)},
            {QStringLiteral("replyMedian"), milliseconds(of.replyMedian)},
            {QStringLiteral("reply95"), milliseconds(of.reply95)},
            {QStringLiteral("ageMedian"), milliseconds(of.ageMedian)},
            {QStringLiteral("age95"), milliseconds(of.age95)},
            {QStringLiteral("share"), of.share},
            {QStringLiteral("silent"), of.silent}};
}

} // namespace

Link::Link(QObject *parent) : QObject(parent)
{
    // By name: what is posted is Qt's alone then, and the thread sanitizer sees all that is not.
    m_mailbox = std::make_shared<Mailbox>([this] { QMetaObject::invokeMethod(this, "wake", Qt::QueuedConnection); });
    m_nextDelivery.setSingleShot(true);
    m_nextDelivery.setTimerType(Qt::PreciseTimer);
    m_heartbeat.setInterval(HeartbeatTime);
    connect(&m_nextDelivery, &QTimer::timeout, this, &Link::deliver);
    connect(&m_heartbeat, &QTimer::timeout, this, &Link::beat);
    connect(this, &Link::settingsChanged, this, &Link::scheduleRenewal);
}

Link::~Link()
{
    close(); // its thread wakes this object up, and its tags are told
}

void Link::setPlant(Plant *plant)
{
    if (m_plant == plant)
        return;
    if (m_plant)
        m_plant->disconnect(this);
    m_plant = plant;
    if (m_plant)
        connect(m_plant, &Plant::deviceChanged, this, &Link::scheduleRenewal);
    Q_EMIT settingsChanged();
}

void Link::componentComplete()
{
    m_complete = true;
    scheduleRenewal();
}

/** Several settings that change together start the link anew once. */
void Link::scheduleRenewal()
{
    if (!m_complete || m_renewalScheduled)
        return;
    m_renewalScheduled = true;
    QMetaObject::invokeMethod(this, "renew", Qt::QueuedConnection);
}

void Link::renew()
{
    m_renewalScheduled = false;
    const QPointer<Link> alive(this); // what hears of it may destroy it
    close();
    if (!alive)
        return;
    if (!m_active || (m_plant && m_plant->device().isEmpty()))
        return setStatus(Stopped);
    try {
        open();
    } catch (const rtu::Error &error) {
        close();
        setStatus(Failed, error.text());
        warnAt(this, error.text());
    }
}

void Link::open()
{
    m_link.reset(new rtu::Link(lineSettings()));
    const std::shared_ptr<Mailbox> mailbox = m_mailbox;
    m_link->onChange([mailbox](const rtu::TagChange &change) { mailbox->put(change.tag, change.after); });
    m_link->onPort([this, mailbox](bool open) { mailbox->put([this, open] { portChanged(open); }); });
    m_link->onNotice([mailbox](const QString &text) { mailbox->put([text] { qCInfo(modbusLog).noquote() << text; }); });
    const QPointer<Link> alive(this); // what hears of it may destroy it
    setStatus(Connecting);
    if (alive)
        Q_EMIT renewed();
    if (!alive)
        return;
    m_link->start();
    m_heartbeat.start();
}

void Link::close()
{
    m_heartbeat.stop();
    m_nextDelivery.stop();
    if (!m_link)
        return;
    m_link.reset();
    const QPointer<Link> alive(this); // what hears of it may destroy it
    takeMail();
    deliver(); // the ends of what waited
    if (!alive)
        return;
    m_tags.clear();
    m_lastShown = rtu::Tag();
    Q_EMIT closed();
}

rtu::LinkSettings Link::lineSettings() const
{
    rtu::LinkSettings settings;
    settings.port = m_plant ? m_plant->device() : m_port;
    settings.parameters.baud = m_baud;
    settings.parameters.parity = m_parity == NoParity ? 'N' : m_parity == EvenParity ? 'E' : 'O';
    settings.parameters.stopBits = m_stopBits;
    settings.parameters.rs485 = m_rs485;
    settings.driver = m_driver;
    settings.attempts = m_attempts;
    settings.maxWords = m_maxWords;
    settings.replyTimeout = duration(m_replyTimeout);
    settings.silence = duration(m_silence);
    settings.roundInterval = duration(m_roundInterval);
    settings.questionInterval = duration(m_questionInterval);
    settings.keepWrites = duration(m_keepWrites);
    settings.localWritesOnly = m_localWritesOnly;
    return settings;
}

void Link::setStatus(Status status, const QString &error)
{
    if (m_status == status && m_error == error)
        return;
    m_status = status;
    m_error = error;
    Q_EMIT statusChanged();
}

void Link::portChanged(bool open)
{
    if (!m_link)
        return;
    const QString name = m_link->settings().port;
    if (open)
        return setStatus(Open);
    setStatus(m_status == Open ? Lost : Connecting, QString::fromLatin1("%1 cannot be opened").arg(name));
    qCWarning(modbusLog).noquote() << m_error << "yet; it is tried again";
}

// --- tags ----------------------------------------------------------------------------

rtu::Tag Link::watch(Tag *tag)
{
    const rtu::Tag handle = m_link->addTag(tag->definition());
    m_tags[handle] = tag;
    return handle;
}

void Link::forget(const rtu::Tag &handle, const QString &key, const rtu::TagValue &last)
{
    m_tags.erase(handle);
    if (last.time != rtu::TimePoint())
        m_remembered[key] = last;
    if (m_link)
        m_link->removeTag(handle);
}

rtu::TagValue Link::remembered(const QString &key) const
{
    const auto found = m_remembered.find(key);
    return found == m_remembered.end() ? rtu::TagValue() : found->second;
}

std::function<void(Mailbox::Message)> Link::poster() const
{
    const std::shared_ptr<Mailbox> mailbox = m_mailbox;
    return [mailbox](Mailbox::Message message) { mailbox->put(std::move(message)); };
}

// --- hand-over -------------------------------------------------------------------------

/** The first change after a pause is handed over at once, others a frame after those before. */
void Link::wake()
{
    const qint64 passed = m_sinceDelivery.isValid() ? m_sinceDelivery.elapsed() : FrameTime;
    if (passed >= FrameTime)
        deliver();
    else if (!m_nextDelivery.isActive())
        m_nextDelivery.start(static_cast<int>(FrameTime - passed));
}

void Link::takeMail()
{
    Mailbox::Content content = m_mailbox->take();
    for (const auto &change : content.values)
        m_pending.values[change.first] = change.second;
    for (Mailbox::Message &message : content.messages)
        m_pending.messages.push_back(std::move(message));
}

/** The next in turn, so that none waits for ever while others keep changing. */
void Link::showNext()
{
    auto next = m_pending.values.upper_bound(m_lastShown);
    if (next == m_pending.values.end())
        next = m_pending.values.begin();
    const rtu::Tag handle = next->first;
    m_pending.values.erase(next);
    m_lastShown = handle;
    const auto tag = m_tags.find(handle);
    if (tag != m_tags.end())
        tag->second->show(handle.value()); // there may be a newer one than that which was taken
}

void Link::deliver()
{
    const QPointer<Link> alive(this); // what listens to a tag may destroy anything
    m_sinceDelivery.start();
    m_nextDelivery.stop();
    if (m_pending.values.empty())
        takeMail(); // not before: messages, which come behind the values, would never have their turn
    while (!m_pending.values.empty()) {
        showNext();
        if (!alive)
            return;
        if (m_link && m_sinceDelivery.elapsed() >= DeliveryTime && !m_pending.values.empty())
            return m_nextDelivery.start(FrameTime - DeliveryTime);
    }
    std::vector<Mailbox::Message> messages;
    messages.swap(m_pending.messages);
    for (const Mailbox::Message &message : messages) {
        message();
        if (!alive)
            return;
    }
    if (m_mailbox->hasMail())
        m_nextDelivery.start(FrameTime - DeliveryTime);
}

/** Times move on without being a change, and statistics always do. */
void Link::beat()
{
    const rtu::LinkStatistics statistics = m_link->statistics();
    m_statistics = mapOf(statistics.total);
    m_stations.clear();
    for (const auto &station : statistics.stations) {
        QVariantMap map = mapOf(station.second);
        map.insert(QStringLiteral("station"), station.first);
        m_stations << map;
    }
    const QPointer<Link> alive(this); // what listens may destroy anything
    Q_EMIT statisticsChanged();
    if (!alive)
        return;
    const std::map<rtu::Tag, Tag *> tags = m_tags;
    for (const auto &tag : tags) {
        const auto still = m_tags.find(tag.first);
        if (still != m_tags.end())
            still->second->showAgain(tag.first.value());
        if (!alive)
            return;
    }
}

} // namespace quick
