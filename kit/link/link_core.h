/**
 * @file
 * What stands behind a Link. Its thread, or whoever steps it, keeps it alive, so that
 * a callback may destroy the link.
 */
#ifndef KIT_LINK_LINK_CORE_H
#define KIT_LINK_LINK_CORE_H

#include "kit/driver/block_memory.h"
#include "kit/driver/register_catalog.h"
#include "kit/line/port_line.h"
#include "kit/link/line_record.h"
#include "kit/link/write_queue.h"
#include "kit/poll/paced_reads.h"
#include "kit/poll/poller.h"
#include "kit/transfer/read_queue.h"
#include "kit/transfer/transfer_queue.h"

#include <memory>
#include <thread>

namespace rtu {

/** Whom a link calls back. Set before it runs. */
struct LinkListeners
{
    std::vector<std::function<void(const TagChange &)>> change;
    std::vector<std::function<void(bool)>> port;
    std::vector<std::function<void()>> round;
    std::vector<std::function<void(const QString &)>> notice;
    std::vector<std::function<void(const Transaction &)>> transaction;
};

class LinkCore : public std::enable_shared_from_this<LinkCore>, private PollClient
{
public:
    LinkCore(const LinkSettings &settings, std::unique_ptr<Line> line);
    ~LinkCore() override;
    LinkCore(const LinkCore &) = delete;
    LinkCore &operator=(const LinkCore &) = delete;

    const LinkSettings &settings() const { return m_settings; }
    LinkListeners &listeners() { return m_listeners; }
    const std::shared_ptr<LinkLock> &lock() const { return m_lock; }

    std::shared_ptr<const TagLayout> layout(const TagDefinition &definition, TagUse use);

    // From any thread:
    void add(const TagRecordPtr &record);
    void remove(const TagRecordPtr &record);
    std::vector<TagRecordPtr> records() const;
    void ask(const WriteJobPtr &job);
    void ask(const ReadJobPtr &job);
    void ask(const TransferJobPtr &job);
    LinkStatistics statistics() const;
    TimePoint nextStep() const;

    /** @throws std::runtime_error with the reason when the port is not to be had */
    void open();
    /** @throws std::runtime_error when the system has no thread */
    void start();
    void stop();
    bool running() const;
    /** A step by a loop of the caller's. */
    PollStep stepFromOutside();
    /** The link goes: stops, and ends what has not ended. */
    void shutDown();

private:
    using Task = std::function<void()>;

    /** False: the link has ended. */
    bool post(Task task);
    void postRequest(Task task);
    void takeTasks();
    void plan();
    PollStep step();
    void run();
    void rest();
    bool feedReads();
    void feedReadBack();
    void tell();
    void joinThread();
    void endPolling();
    void countStop(int change);
    bool onOwnThread() const;
    bool stepping() const;

    bool feed() override;
    TimePoint nextFeed() override;
    bool handed() const override
    {
        return m_writes.handed() || m_reads.handed() || m_paced.underWay() || m_transfers.underWay();
    }
    bool transferring() const override { return m_transfers.underWay(); }
    void frameDone(const Transaction &transaction) override;
    void requestDone(const RequestEnd &end) override;
    void writeWithdrawn(const Area &area) override { m_writes.withdrawn(area); }
    void roundDone() override;
    void cyclicDone(const RequestEnd &end);
    void stationSilent(int station) override;
    void stationBack(int station) override;
    void portChanged(bool open) override;
    void portAway() override;

    LinkSettings m_settings;
    std::shared_ptr<LinkLock> m_lock;
    std::unique_ptr<Line> m_line;
    PortLine *m_port; ///< the line, where it is the kit's own; else null
    DriverLibrary m_driver;
    RegisterCatalog m_catalog;
    BlockMemory m_memory;
    LinkListeners m_listeners;
    Events m_events;
    WatchedTags m_tags;
    LinkParts m_parts;
    WriteQueue m_writes;
    ReadQueue m_reads;
    TransferQueue m_transfers;
    Poller m_poller;
    PacedReads m_paced;
    LineRecord m_record;
    int m_writesInRow = 0;    ///< since the last read that is none of the plan
    bool m_pacedNext = false; ///< a one-off read had the last turn
    bool m_replan = true;
    bool m_changed = false;            ///< the driver reported a change since the last request ended
    ReadJobPtr m_readBack;             ///< under way
    std::vector<Task> m_tasks;         ///< guarded by the lock: what other threads ask for
    std::vector<TagRecordPtr> m_known; ///< guarded by the lock: as callers see the tags
    TimePoint m_nextStep;              ///< guarded by the lock
    bool m_ended = false;              ///< guarded by the lock
    int m_stops = 0;                   ///< guarded by the lock: under way
    std::mutex m_lineUse;              ///< over what uses the line; no callback runs and no stop waits with it
    std::mutex m_startStop;            ///< over starting and joining the thread; never taken on it
    std::thread m_thread;              ///< guarded by m_startStop
    std::thread::id m_polling;         ///< guarded by the lock: the thread until it has been joined
    bool m_threaded = false;           ///< guarded by the lock: a thread of its own polls
    std::thread::id m_stepping;        ///< guarded by the lock: the caller's, in a step
};

} // namespace rtu

#endif
