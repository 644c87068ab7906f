/**
 * @file
 * A host with many threads: the driver's start-up, a poll loop in a thread of
 * its own over simulated slaves with faults, and the host's side of the
 * callback. Nothing waits for time: threads wait for each other's steps.
 */
#ifndef THREADS_PANEL_H
#define THREADS_PANEL_H

#include "support/host_memory.h"
#include "support/random.h"
#include "support/scripted_slave.h"
#include "threads/write_ledger.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace threads {

enum {
    RequestLimit = 40,   ///< largest request, in registers
    RecipeStation = 200, ///< serves recipes only; never left without an answer for good
    DeadStation = 201,   ///< never answers
    QueueRoom = 400      ///< writes that a host lets queue up; the driver's queue holds 513
};

/** Counts of the poll loop, to be read when it has ended. */
struct PollCounts
{
    long transactions;
    long accepted;
    long sentAgain;
    long givenUp;
    long intactAcknowledgements; ///< write replies that left the slave and arrived whole
    long writeFailureTexts;      ///< error texts of the form "W,..."

    PollCounts()
        : transactions(0)
        , accepted(0)
        , sentAgain(0)
        , givenUp(0)
        , intactAcknowledgements(0)
        , writeFailureTexts(0)
    {
    }
};

class Panel : public support::HostMemory
{
public:
    /** @param faultPercent share of the replies that something befalls */
    explicit Panel(int faultPercent, std::uint32_t seed = 1);
    ~Panel();

    // --- before polling ---
    std::function<void(const VARIABLE &, WriteEnd)> onWriteEnd; ///< on the poll thread, outside the driver
    std::function<void(const support::Change &)> onChange;      ///< in the callback, on whatever thread
    std::function<void()> onPollEnd;

    /** Watches what the writers write, so that writes and replies call back. */
    void planReads(const std::vector<int> &stations);

    // --- polling ---
    void startPolling();
    /** Lets the poll loop run until nothing but the cyclic plan is sent any more, and ends it. */
    void finishPolling();

    /** Waits until another transaction is over. False: the poll loop has ended. */
    bool awaitStep();

    /** Requests a block transfer through the host area and waits for its end; false: the poll loop has ended first. */
    bool transfer(int requestByte);

    /** One frame and its reply, on this thread; false when the driver had nothing to send. */
    bool step();

    support::ScriptedSlave slaves;
    PollCounts counts;
    std::atomic<long> changes; ///< calls of the callback

    /** The callback; another one that does the same, for a host that changes its callback. */
    static int callBack(int linkId, int station, QString *regType, int address);
    static int otherCallBack(int linkId, int station, QString *regType, int address);

private:
    void poll();
    void stepAndTell();
    void judge(const FRAME_PRO &frame, const QByteArray &reply, int verdict, const QString &information);
    support::SlaveFault chooseFault(const FRAME_PRO &frame);
    bool isRequested(int requestByte);

    static Panel *current;

    support::Random random;
    const int faults;
    int attempt;
    int quietSteps; ///< transactions since the last one that carried a host write
    std::thread poller;
    std::atomic<bool> closing;
    std::mutex stepMutex;
    std::condition_variable stepped;
    long steps;
    bool ended;
};

} // namespace threads

#endif
