// Who waits at the driver's lock does not also wait for threads that have
// nothing to do with the driver. Three threads on one processor: a screen is
// inside the driver when the poll thread wants in, and while it waits a third
// thread, between the two in priority, gets work. The screen must go on before
// that work, or polling stands still for as long as it takes.
//
// Nothing here depends on time. Under SCHED_FIFO a processor always runs the
// ready thread of the highest priority, so the order of events is fixed, and the
// work is a number of steps.

#include "driver/driver_lock.h"
#include "support/driver_fixture.h"

#include <atomic>
#include <cstring>
#include <functional>
#include <memory>

#include <pthread.h>
#include <sched.h>
#include <semaphore.h>

namespace {

const int screenPriority = 10;
const int middlePriority = 20;
const int pollPriority = 30;
const long middleSteps = 1000000;

class Semaphore
{
public:
    Semaphore() { sem_init(&semaphore, 0, 0); }
    ~Semaphore() { sem_destroy(&semaphore); }
    Semaphore(const Semaphore &) = delete;
    Semaphore &operator=(const Semaphore &) = delete;

    void post() { sem_post(&semaphore); }

    void wait()
    {
        while (sem_wait(&semaphore) != 0) {
        }
    }

private:
    sem_t semaphore;
};

/** The first processor that this program may run on. */
int someProcessor()
{
    cpu_set_t allowed;
    if (sched_getaffinity(0, sizeof allowed, &allowed) != 0)
        return 0;
    int processor = 0;
    while (processor < CPU_SETSIZE - 1 && !CPU_ISSET(processor, &allowed))
        ++processor;
    return processor;
}

/** A thread under SCHED_FIFO that runs on someProcessor() only; its end is waited for by the destructor. */
class RealTimeThread
{
public:
    RealTimeThread(int priority, std::function<void()> body) : work(std::move(body)), refusal(start(priority)) {}

    ~RealTimeThread()
    {
        if (refusal == 0)
            pthread_join(thread, nullptr);
    }

    RealTimeThread(const RealTimeThread &) = delete;
    RealTimeThread &operator=(const RealTimeThread &) = delete;

private:
    int start(int priority)
    {
        sched_param parameters = sched_param();
        parameters.sched_priority = priority;
        cpu_set_t processors;
        CPU_ZERO(&processors);
        CPU_SET(someProcessor(), &processors);
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setinheritsched(&attributes, PTHREAD_EXPLICIT_SCHED);
        pthread_attr_setschedpolicy(&attributes, SCHED_FIFO);
        pthread_attr_setschedparam(&attributes, &parameters);
        pthread_attr_setaffinity_np(&attributes, sizeof processors, &processors);
        const int error = pthread_create(&thread, &attributes, &RealTimeThread::run, this);
        pthread_attr_destroy(&attributes);
        return error;
    }

    static void *run(void *self)
    {
        static_cast<RealTimeThread *>(self)->work();
        return nullptr;
    }

    const std::function<void()> work;
    pthread_t thread;

public:
    const int refusal; ///< why there is no thread, as an errno value; 0 when there is one
};

/** Why the system makes no mutex with priority inheritance, as an errno value; 0 when it does. */
int refusalOfInheritance()
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutex_t mutex;
    int error = pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT);
    if (error == 0)
        error = pthread_mutex_init(&mutex, &attributes);
    if (error == 0)
        pthread_mutex_destroy(&mutex);
    pthread_mutexattr_destroy(&attributes);
    return error;
}

class PriorityInheritance : public support::DriverFixture
{
protected:
    PriorityInheritance() : stepsDone(0), polled(false), waitedForMiddle(-1), polledWhileInside(true) {}

    void pollOnce()
    {
        ready.post();
        pollGoes.wait();
        FRAME_PRO frame;
        intf_getSendFrame(&frame);
        waitedForMiddle = stepsDone.load();
        polled.store(true);
    }

    void workInBetween()
    {
        ready.post();
        middleGoes.wait();
        for (long i = 0; i < middleSteps; ++i)
            stepsDone.fetch_add(1);
    }

    /** What a screen does that is interrupted inside the driver: each post hands the processor over, if it may. */
    void holdTheLock()
    {
        const DriverLock inside;
        pollGoes.post();
        polledWhileInside = polled.load();
        middleGoes.post();
    }

    Semaphore ready;
    Semaphore pollGoes;
    Semaphore middleGoes;
    std::atomic<long> stepsDone;
    std::atomic<bool> polled;
    long waitedForMiddle; ///< how much of the work was done before the poll thread came through
    bool polledWhileInside;
};

TEST_F(PriorityInheritance, OfThePollThreadByAScreenInsideTheDriver)
{
    if (const int refusal = RealTimeThread(pollPriority, [] {}).refusal)
        GTEST_SKIP() << "no threads under SCHED_FIFO here: " << std::strerror(refusal);
    if (const int refusal = refusalOfInheritance())
        GTEST_SKIP() << "no mutexes with priority inheritance here: " << std::strerror(refusal);
    {
        const RealTimeThread poll(pollPriority, [this] { pollOnce(); });
        const RealTimeThread middle(middlePriority, [this] { workInBetween(); });
        ASSERT_EQ(poll.refusal, 0);
        ASSERT_EQ(middle.refusal, 0);
        ready.wait();
        ready.wait();
        const RealTimeThread screen(screenPriority, [this] { holdTheLock(); });
        ASSERT_EQ(screen.refusal, 0);
    }
    EXPECT_FALSE(polledWhileInside) << "the poll thread did not have to wait";
    EXPECT_EQ(waitedForMiddle, 0) << "of " << middleSteps << " steps of a thread that does not use the driver";
}

} // namespace
