#include "kit/link/link_core.h"

#include "kit/line/signals_held.h"

#include <modbus_rtu_host/error.h>

#include <algorithm>

namespace rtu {

namespace {

const int LinkId = 1;

/** The driver has no turn for one-off reads while writes wait, which may be always. */
const int WritesInRow = 10;

/** Half a second is soon enough for a clock that may not be this machine's. */
const Duration LongestRest = std::chrono::milliseconds(500);

QByteArray propertyOf(const LinkSettings &settings)
{
    return QString::fromLatin1("%1#%2#0#%3#%4#0")
        .arg(LinkId)
        .arg(settings.localWritesOnly ? 1 : 0)
        .arg(settings.attempts)
        .arg(settings.maxWords)
        .toLatin1();
}

/** Each is one round trip through the driver, even where a request is given up at once. */
const int MostAttempts = 1000;

/** Far more than anybody waits, and far from the end of the clock. */
const Duration LongestTime = std::chrono::hours(24 * 365);

void checkTimes(const LinkSettings &settings)
{
    Duration longest = std::max({settings.replyTimeout, settings.silence, settings.replyGap, settings.lateReplyGuard,
                                 settings.broadcastDelay, settings.reopenInterval, settings.roundInterval,
                                 settings.questionInterval, settings.keepWrites});
    for (const auto &station : settings.stations)
        longest = std::max({longest, station.second.silence, station.second.replyTimeout});
    if (longest > LongestTime)
        throw Error(QLatin1String("no time may be longer than a year"));
}

void checkParameters(const LineParameters &parameters)
{
    if (parameters.dataBits != 8)
        throw Error(QLatin1String("RTU frames need 8 data bits"));
    if (parameters.parity != 'N' && parameters.parity != 'E' && parameters.parity != 'O')
        throw Error(QLatin1String("the parity is 'N', 'E' or 'O'"));
    if (parameters.stopBits != 1 && parameters.stopBits != 2)
        throw Error(QLatin1String("a character has 1 or 2 stop bits"));
    if (parameters.baud < 0)
        throw Error(QLatin1String("baud must be a rate, or 0 for a port without a pace"));
}

const LinkSettings &checked(const LinkSettings &settings)
{
    checkTimes(settings);
    if (settings.attempts < 1 || settings.attempts > MostAttempts)
        throw Error(QString::fromLatin1("attempts must be from 1 to %1").arg(MostAttempts));
    if (settings.maxWords < 2 || settings.maxWords > 120 || settings.maxWords % 2 != 0)
        throw Error(QLatin1String("maxWords must be an even number from 2 to 120: an odd one would tear 32-bit "
                                  "values, and slaves take no more"));
    if (settings.replyTimeout <= Duration(0) || settings.reopenInterval <= Duration(0)
        || settings.questionInterval <= Duration(0))
        throw Error(QLatin1String("replyTimeout, reopenInterval and questionInterval must be more than 0"));
    for (const auto &station : settings.stations) {
        if (station.second.replyTimeout == Duration(0))
            throw Error(QLatin1String("a station's replyTimeout must be more than 0, or below 0 for the link's"));
    }
    checkParameters(settings.parameters);
    return settings;
}

/** This thread is noted while it lives, and then who was before: a callback of a step may step as well. */
class NotedThread
{
public:
    NotedThread(std::mutex &mutex, std::thread::id &place)
        : m_mutex(mutex)
        , m_place(place)
        , m_before(put(std::this_thread::get_id()))
    {
    }
    ~NotedThread() { put(m_before); }
    NotedThread(const NotedThread &) = delete;
    NotedThread &operator=(const NotedThread &) = delete;

private:
    std::thread::id put(std::thread::id thread)
    {
        const Locked held(m_mutex);
        std::swap(m_place, thread);
        return thread;
    }

    std::mutex &m_mutex;
    std::thread::id &m_place;
    const std::thread::id m_before;
};

} // namespace

LinkCore::LinkCore(const LinkSettings &settings, std::unique_ptr<Line> line)
    : m_settings(checked(settings))
    , m_lock(std::make_shared<LinkLock>())
    , m_line(std::move(line))
    , m_port(dynamic_cast<PortLine *>(m_line.get()))
    , m_driver(settings.driver.toStdString(), LibraryUse::OwnCopy)
    , m_catalog(m_driver)
    , m_tags(m_driver, settings.maxWords,
             [this](const TagChange &change) {
                 for (const auto &listener : m_listeners.change)
                     m_events.add([listener, change] { listener(change); });
             })
    , m_parts{m_settings, m_driver, *m_line, m_tags, m_events}
    , m_writes(m_parts)
    , m_reads(m_parts)
    , m_transfers(m_parts, m_memory, LinkId)
    , m_poller(m_driver, *m_line, m_settings, *this)
    , m_paced(m_parts, m_poller.health())
    , m_record(m_line->now())
{
    int status = 0;
    m_driver.setChangeListener([this](const ValueChange &) { m_changed = true; });
    m_driver.initProperty(m_memory.area(), 0, m_memory.words(), &status, propertyOf(m_settings).constData(),
                          m_memory.mutex());
}

LinkCore::~LinkCore()
{
    int status = 0;
    m_poller.settle();
    m_driver.initProperty(nullptr, 0, nullptr, &status, "", nullptr); // what it has borrowed goes
}

std::shared_ptr<const TagLayout> LinkCore::layout(const TagDefinition &definition, TagUse use)
{
    return std::make_shared<TagLayout>(m_driver, m_catalog, definition, use);
}

// --- from any thread -------------------------------------------------------------

bool LinkCore::post(Task task)
{
    {
        const Locked held(m_lock->mutex);
        if (m_ended)
            return false;
        m_tasks.push_back(std::move(task));
        m_lock->woken = true;
    }
    m_lock->changed.notify_all();
    return true;
}

/** For what the caller is to hear of, which a link that has ended tells nobody. */
void LinkCore::postRequest(Task task)
{
    if (!post(std::move(task)))
        throw Error(QLatin1String("this link is being destroyed and takes no more requests"));
}

void LinkCore::add(const TagRecordPtr &record)
{
    postRequest([this, record] {
        m_tags.add(record);
        if (m_poller.portAway() || m_poller.health().dead(record->layout->definition().station))
            m_tags.recordSilent(record);
        m_replan = true;
    });
    const Locked held(m_lock->mutex);
    m_known.push_back(record);
}

void LinkCore::remove(const TagRecordPtr &record)
{
    {
        const Locked held(m_lock->mutex);
        m_known.erase(std::remove(m_known.begin(), m_known.end(), record), m_known.end());
    }
    post([this, record] {
        m_tags.remove(record);
        m_replan = true;
        const Locked held(m_lock->mutex);
        for (const TagPiece &piece : record->pieces)
            m_record.unwatched(piece.area);
    });
}

std::vector<TagRecordPtr> LinkCore::records() const
{
    const Locked held(m_lock->mutex);
    return m_known;
}

void LinkCore::ask(const WriteJobPtr &job)
{
    job->asked = m_line->now(); // the next step, which accepts it, may be long in coming
    postRequest([this, job] { m_writes.accept(job); });
}

void LinkCore::ask(const ReadJobPtr &job)
{
    postRequest([this, job] { m_reads.accept(job); });
}

void LinkCore::ask(const TransferJobPtr &job)
{
    postRequest([this, job] { m_transfers.accept(job); });
}

LinkStatistics LinkCore::statistics() const
{
    const Locked held(m_lock->mutex);
    return m_record.statistics(m_line->now());
}

TimePoint LinkCore::nextStep() const
{
    const Locked held(m_lock->mutex);
    return m_lock->woken ? TimePoint() : m_nextStep;
}

// --- running ------------------------------------------------------------------------

void LinkCore::open()
{
    if (running()) // its thread opens the line
        return;
    const Locked alone(m_lineUse);
    {
        const Locked held(m_lock->mutex);
        if (m_stops > 0)
            throw Error(QLatin1String("this link is being stopped: open it afterwards"));
        m_line->clearInterrupt(); // a stop ends what was waited for then, not this
    }
    if (!m_line->ensureOpen()) {
        if (!m_port)
            throw Error(QLatin1String("cannot open the line: it is not there"));
        m_port->open();
    }
    post([this] { m_poller.portOpened(); }); // in its turn among what is asked for before and after
}

void LinkCore::start()
{
    if (running())
        return;
    if (onOwnThread())
        throw Error(QLatin1String("a link that was stopped in a callback is started again after the callback"));
    if (stepping())
        throw Error(QLatin1String("a link that is stepped is started after the step, not in a callback of it"));
    const std::shared_ptr<LinkCore> self = shared_from_this(); // a callback may destroy the link before this returns
    const Locked alone(m_startStop);
    if (running())
        return;
    joinThread(); // stopped in a callback before, it has only its way out left
    m_line->clearInterrupt();
    const SignalsHeld noSignals;
    const Locked held(m_lock->mutex); // the thread looks at nothing before all is set
    m_poller.goOn();
    m_thread = std::thread([self] { self->run(); });
    m_polling = m_thread.get_id();
    m_threaded = true;
}

/** With m_startStop held. */
void LinkCore::joinThread()
{
    if (!m_thread.joinable())
        return;
    m_thread.join();
    const Locked held(m_lock->mutex);
    m_polling = std::thread::id();
}

void LinkCore::run()
{
    while (!m_poller.stopping()) {
        const PollStep done = step();
        if (done == PollStep::Idle || done == PollStep::NoPort)
            rest();
    }
}

void LinkCore::rest()
{
    Locked held(m_lock->mutex);
    const Duration time = std::min(LongestRest, m_nextStep - m_line->now());
    if (m_nextStep > m_line->now())
        m_lock->changed.wait_for(held, time, [this] { return m_lock->woken || m_poller.stopping(); });
}

void LinkCore::stop()
{
    if (onOwnThread())
        return endPolling();
    const Locked alone(m_startStop);
    countStop(1);
    endPolling();
    joinThread();
    countStop(-1);
}

void LinkCore::countStop(int change)
{
    const Locked held(m_lock->mutex);
    m_stops += change;
}

void LinkCore::endPolling()
{
    {
        const Locked held(m_lock->mutex);
        m_poller.stopping() = true;
        m_threaded = false;
    }
    m_lock->changed.notify_all();
    m_line->interrupt();
}

bool LinkCore::onOwnThread() const
{
    const Locked held(m_lock->mutex);
    return m_polling == std::this_thread::get_id();
}

/** A callback of the step that this thread makes. */
bool LinkCore::stepping() const
{
    const Locked held(m_lock->mutex);
    return m_stepping == std::this_thread::get_id();
}

bool LinkCore::running() const
{
    const Locked held(m_lock->mutex);
    return m_threaded;
}

PollStep LinkCore::step()
{
    PollStep done;
    {
        const Locked alone(m_lineUse);
        takeTasks();
        done = m_poller.step();
    }
    {
        const Locked held(m_lock->mutex);
        m_nextStep = m_poller.nextStep();
    }
    tell();
    return done;
}

PollStep LinkCore::stepFromOutside()
{
    if (onOwnThread()) // whose end such a step would undo
        throw Error(QLatin1String("a link that was stopped in a callback is stepped after the callback"));
    const std::shared_ptr<LinkCore> self = shared_from_this(); // a callback may destroy the link
    {
        const Locked alone(m_startStop);
        if (!running())
            joinThread(); // stopped in a callback before, it may still be in that one
    }
    const NotedThread noted(m_lock->mutex, m_stepping);
    const PollStep done = step();
    if (done == PollStep::Stopped) { // told once; the next step goes on
        m_poller.goOn();
        m_line->clearInterrupt();
    }
    return done;
}

void LinkCore::tell()
{
    const int failed = m_events.run();
    if (failed == 0)
        return;
    const Locked held(m_lock->mutex);
    m_record.callbackFailed(failed);
}

void LinkCore::shutDown()
{
    stop();
    if (onOwnThread())
        m_thread.detach(); // destroyed in a callback: the thread has only its way out left, and keeps this alive
    {
        const Locked held(m_lock->mutex);
        m_ended = true;
    }
    takeTasks();
    const bool sent = m_poller.inRequest() && m_poller.request().written;
    m_writes.endAll(sent && m_poller.request().source == Source::Write);
    m_reads.endAll();
    m_transfers.endAll(sent && m_poller.request().source == Source::Transfer);
    tell();
    m_listeners = LinkListeners();
}

// --- on the link's thread ---------------------------------------------------------------

void LinkCore::takeTasks()
{
    std::vector<Task> tasks;
    {
        const Locked held(m_lock->mutex);
        tasks.swap(m_tasks);
        m_lock->woken = false;
    }
    for (const Task &task : tasks)
        task();
}

void LinkCore::plan()
{
    m_replan = false;
    QList<KEY_ADDRESS> keys = m_tags.planKeys();
    const int length = m_driver.addrMerge(&keys);
    std::set<int> stations;
    for (const TagRecordPtr &record : m_tags.records())
        stations.insert(record->layout->definition().station);
    m_poller.setPlan(length, stations);
    m_paced.reset(length > 0);
}

bool LinkCore::feed()
{
    // A new plan starts from its front: one in the middle of a round would starve the tail of the old one.
    if (m_replan && m_poller.betweenRounds())
        plan();
    const bool transfer = m_transfers.feed();
    const bool readsFirst = m_writesInRow >= WritesInRow && feedReads();
    const bool write = (!readsFirst || m_writes.handed()) && m_writes.feed();
    feedReadBack();
    const bool read = feedReads();
    return transfer || write || read;
}

/** One read in the driver at a time: a failure would take the others with it. The two kinds take turns. */
bool LinkCore::feedReads()
{
    if (m_paced.underWay())
        return true;
    if (m_pacedNext && !m_reads.handed() && m_paced.feed())
        return true;
    return m_reads.feed() || m_paced.feed();
}

void LinkCore::feedReadBack()
{
    const WriteJobPtr write = m_writes.readingBack();
    if (!write || m_readBack)
        return;
    m_readBack = std::make_shared<ReadJob>();
    m_readBack->lock = m_lock;
    m_readBack->layout = write->layout;
    m_readBack->inside = [this](const ReadResult &result) {
        m_readBack.reset();
        m_writes.readBackDone(result.end == ReadEnd::Good ? &result.value.raw() : nullptr, m_line->now());
    };
    m_reads.acceptFirst(m_readBack);
}

TimePoint LinkCore::nextFeed()
{
    return std::min(m_poller.portOpen() ? m_paced.nextDue() : TimePoint::max(), m_writes.nextExpiry());
}

void LinkCore::frameDone(const Transaction &transaction)
{
    {
        const Locked held(m_lock->mutex);
        m_record.add(transaction, m_poller.silence(transaction.station));
    }
    for (const auto &observer : m_listeners.transaction)
        m_events.add([observer, transaction] { observer(transaction); });
}

void LinkCore::requestDone(const RequestEnd &end)
{
    switch (end.source) {
    case Source::Cyclic:
        cyclicDone(end);
        break;
    case Source::Write:
        ++m_writesInRow;
        m_writes.requestDone(end);
        break;
    case Source::OneOff:
        m_writesInRow = 0;
        m_pacedNext = true;
        if (end.good())
            m_tags.readGood(end.area, end.time, true);
        m_reads.requestDone(end);
        break;
    case Source::Paced:
        m_writesInRow = 0;
        m_pacedNext = false;
        m_paced.requestDone(end);
        if (m_paced.takeRound())
            roundDone();
        break;
    case Source::Transfer:
        m_transfers.requestDone(end);
        break;
    }
    m_changed = false;
    const QString finding = m_paced.takeFinding();
    if (finding.isEmpty())
        return;
    m_replan = true;
    for (const auto &listener : m_listeners.notice)
        m_events.add([listener, finding] { listener(finding); });
}

void LinkCore::roundDone()
{
    for (const auto &listener : m_listeners.round)
        m_events.add(listener);
}

void LinkCore::cyclicDone(const RequestEnd &end)
{
    if (end.good()) {
        m_tags.readGood(end.area, end.time, m_changed);
        const Locked held(m_lock->mutex);
        m_record.refreshed(end.area, end.time);
    } else if (end.refused()) {
        m_tags.readRefused(end.area, end.exceptionCode, [](const TagRecord &record) { return record.isPlanned(); });
        if (end.exceptionCode == 2 || end.exceptionCode == 3)
            m_paced.blockRefused(end.area);
    } else {
        m_tags.readSilent(end.area);
    }
}

void LinkCore::stationSilent(int station)
{
    m_tags.stationSilent(station);
    m_writes.stationSilent(station);
    m_reads.stationSilent(station);
    m_transfers.stationSilent(station);
    const Locked held(m_lock->mutex);
    m_record.setSilent(station, true);
}

void LinkCore::stationBack(int station)
{
    m_paced.stationBack(station);
    const Locked held(m_lock->mutex);
    m_record.setSilent(station, false);
}

void LinkCore::portChanged(bool open)
{
    if (!open) {
        m_tags.allSilent();
        m_paced.portLost();
    } else if (m_port) {
        m_poller.setTiming(m_port->timing());
    }
    for (const auto &listener : m_listeners.port)
        m_events.add([listener, open] { listener(open); });
}

void LinkCore::portAway()
{
    m_writes.portAway(m_line->now());
    m_reads.portAway();
    m_transfers.portAway();
}

} // namespace rtu
