// Links on threads of their own, stopped, restarted and destroyed from anywhere. The
// lines are on virtual time or hold their reader up; no time decides.

#include "kit/link_test.h"

#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <future>
#include <mutex>
#include <thread>

namespace {

using namespace test_kit;

/** Answers every read at once with zeros, on any thread; reads that nobody answers last until interrupt(). */
class QuickLine : public rtu::Line
{
public:
    std::atomic<bool> answers{true};
    std::atomic<int> sent{0};
    std::atomic<bool> there{true};
    std::atomic<int> looks{0};              ///< at the clock
    std::atomic<bool> openedByMaker{false}; ///< by the thread that made this line, not the link's
    std::function<void()> ended;            ///< called when the link has let its driver go, and lets the line go
    std::function<void()> opening;          ///< called once, while the line is being opened
    std::function<void()> interrupted;      ///< called once, when the line has been interrupted

    ~QuickLine() override
    {
        if (ended)
            ended();
    }

    rtu::TimePoint now() override
    {
        ++looks;
        return rtu::SteadyClock::now();
    }

    void sleepUntil(rtu::TimePoint) override {}

    bool ensureOpen() override
    {
        if (std::this_thread::get_id() == m_maker)
            openedByMaker = true;
        callOnce(opening);
        return there;
    }

    bool write(const unsigned char *bytes, std::size_t size) override
    {
        ++sent;
        ::pthread_sigmask(SIG_BLOCK, nullptr, &m_held);
        if (answers)
            m_reply = goodReply(Bytes(bytes, bytes + size));
        return true;
    }

    int read(unsigned char *out, std::size_t room, rtu::TimePoint deadline) override
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        const auto awaited = [this] { return m_interrupted || !m_reply.empty(); };
        if (!answers)
            m_changed.wait(lock, awaited);
        else if (!m_changed.wait_for(lock, deadline - now(), awaited))
            return rtu::
                DeadlinePassed; // a stop came between a request and its reply: it is listened for when polling goes on
        if (m_interrupted)
            return rtu::Interrupted;
        const std::size_t size = std::min(room, m_reply.size());
        std::copy_n(m_reply.begin(), size, out);
        m_reply.erase(m_reply.begin(), m_reply.begin() + static_cast<std::ptrdiff_t>(size));
        return static_cast<int>(size);
    }

    std::size_t discardInput() override { return 0; }

    /** On the thread that sent last. */
    bool signalIsHeld(int number) const { return sigismember(&m_held, number) == 1; }

    void interrupt() override
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_interrupted = true;
            m_changed.notify_all();
        }
        callOnce(interrupted);
    }

    void clearInterrupt() override
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_interrupted = false;
    }

private:
    static void callOnce(std::function<void()> &set)
    {
        std::function<void()> call;
        call.swap(set);
        if (call)
            call();
    }

    const std::thread::id m_maker = std::this_thread::get_id();
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_interrupted = false;
    sigset_t m_held = sigset_t();
    Bytes m_reply;
};

class LinkThread : public testing::Test
{
protected:
    LinkThread()
    {
        settings.driver = QString::fromStdString(support::driverFile());
        settings.parameters.baud = 0;
        line = new QuickLine;
        link.reset(new rtu::Link(settings, std::unique_ptr<rtu::Line>(line)));
        link->onTransaction([this](const rtu::Transaction &) {
            if (++frames == 5)
                fifth.set_value();
        });
        link->addTag(TagDefinition(1, "4x10"));
    }

    void untilFive() { fifth.get_future().wait(); }

    rtu::LinkSettings settings;
    std::atomic<int> frames{0};
    std::promise<void> fifth;
    QuickLine *line = nullptr;
    std::unique_ptr<rtu::Link> link; ///< goes first: its thread calls back until then
};

TEST_F(LinkThread, PollsAndStops)
{
    link->start();
    EXPECT_TRUE(link->running());
    untilFive();
    link->stop();
    EXPECT_FALSE(link->running());
    const int sent = line->sent;
    EXPECT_EQ(sent, line->sent);
}

TEST_F(LinkThread, IsTheOnlyOneToOpenItsLine)
{
    link->start();
    link->open();
    EXPECT_FALSE(line->openedByMaker);
    link->stop();
    link->open();
    EXPECT_TRUE(line->openedByMaker);
}

TEST_F(LinkThread, WaitsForAnotherThreadThatOpensItsLine)
{
    line->opening = [this] {
        link->start();
        std::this_thread::sleep_for(milliseconds(50)); // long enough for a thread that does not wait for this call
        EXPECT_EQ(0, line->sent) << "two threads would use the line at a time";
    };
    link->open();
    untilFive();
}

/** Without that, this test would not end. */
TEST_F(LinkThread, OpeningItsLineDoesNotUndoAStop)
{
    line->answers = false;
    link->start();
    while (line->sent == 0)
        std::this_thread::yield();
    std::string words;
    line->interrupted = [&] { words = refusalOf([this] { link->open(); }); };
    link->stop();
    EXPECT_EQ("this link is being stopped: open it afterwards", words);
    EXPECT_NO_THROW(link->open());
}

TEST_F(LinkThread, StartsAgain)
{
    link->start();
    link->stop();
    link->start();
    untilFive();
}

TEST_F(LinkThread, StoppingNeverHangsInAWait)
{
    line->answers = false;
    link->start();
    while (line->sent == 0)
        std::this_thread::yield();
    link->stop();
    EXPECT_EQ(1, line->sent);
}

TEST_F(LinkThread, SteppingAPollingLinkIsRefused)
{
    link->start();
    EXPECT_EQ("this link polls on a thread of its own; stop() it before stepping it",
              refusalOf([this] { link->step(); }));
}

TEST_F(LinkThread, ACallbackMayStopTheLink)
{
    std::promise<void> stopped;
    link->onTransaction([&](const rtu::Transaction &) {
        link->stop();
        if (frames == 1)
            stopped.set_value();
    });
    link->start();
    stopped.get_future().wait();
    EXPECT_FALSE(link->running());
    link->start();
    link.reset();
}

TEST_F(LinkThread, ACallbackMayDestroyTheLink)
{
    // The thread outlives the call, and shares the promise: the process must not end beside it.
    const auto ended = std::make_shared<std::promise<void>>();
    line->ended = [ended] { ended->set_value(); };
    int calls = 0;
    link->onTransaction([&](const rtu::Transaction &) {
        ++calls;
        link.reset();
    });
    link->start();
    ended->get_future().wait();
    EXPECT_EQ(1, calls);
    EXPECT_FALSE(link);
}

TEST_F(LinkThread, ACallbackOfAStepMayDestroyTheLink)
{
    link->onTransaction([&](const rtu::Transaction &) { link.reset(); });
    EXPECT_EQ(rtu::LinkStep::Done, link->step());
    EXPECT_FALSE(link);
}

TEST_F(LinkThread, WhatCallbacksThrowEndsThere)
{
    link->onTransaction([](const rtu::Transaction &) { throw std::runtime_error("mine"); });
    link->start();
    untilFive();
    link->stop();
    EXPECT_GE(link->statistics().failedCallbacks, 4u);
}

TEST_F(LinkThread, AWriteCanBeWaitedForFromAnotherThread)
{
    link->start();
    const rtu::Write write = link->write(TagDefinition(1, "4x10"), {7});
    EXPECT_TRUE(write.wait(std::chrono::hours(1)));
    EXPECT_EQ(rtu::WriteEnd::Acknowledged, write.result().end);
}

TEST_F(LinkThread, IsStartedAndStoppedFromManyThreads)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([this, i] {
            for (int n = 0; n < 50; ++n) {
                if ((n + i) % 2 == 0)
                    link->start();
                else
                    link->stop();
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    link->stop();
    EXPECT_FALSE(link->running());
    const int sent = line->sent;
    EXPECT_EQ(LinkStep::Stopped, link->step());
    EXPECT_EQ(sent, line->sent) << "no thread is left that sends";
    link->start();
    untilFive();
}

TEST_F(LinkThread, TagsAndWritesComeFromManyThreads)
{
    link->start();
    std::vector<std::thread> threads;
    std::atomic<int> ended{0};
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([this, i, &ended] {
            const rtu::Tag tag = link->addTag(TagDefinition(1, QString::fromLatin1("4x%1").arg(20 + i)));
            for (int n = 0; n < 50; ++n) {
                const rtu::Write write = link->write(tag, n);
                write.wait(std::chrono::hours(1));
                ended += write.ended() ? 1 : 0;
                tag.value();
                link->statistics();
            }
            link->removeTag(tag);
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(200, ended);
}

TEST_F(LinkThread, StoppedInACallbackIsStartedAgainAfterIt)
{
    std::promise<std::string> words;
    link->onTransaction([&](const rtu::Transaction &) {
        if (frames != 1)
            return;
        link->stop();
        words.set_value(refusalOf([this] { link->start(); }));
    });
    link->start();
    EXPECT_EQ("a link that was stopped in a callback is started again after the callback", words.get_future().get());
    link->start();
    untilFive();
}

/** A step would undo the stop, and starting it again would wait for ever for a thread that polls on. */
TEST_F(LinkThread, StoppedInACallbackIsSteppedAgainAfterIt)
{
    std::promise<std::string> words;
    link->onTransaction([&](const rtu::Transaction &) {
        if (frames != 1)
            return;
        link->stop();
        words.set_value(refusalOf([this] { link->step(); }));
    });
    link->start();
    EXPECT_EQ("a link that was stopped in a callback is stepped after the callback", words.get_future().get());
    EXPECT_EQ(LinkStep::Stopped, link->step());
    link->start();
    untilFive();
}

TEST_F(LinkThread, ACallbackMayStartALinkThatRuns)
{
    std::promise<std::string> words;
    link->onTransaction([&](const rtu::Transaction &) {
        if (frames == 1)
            words.set_value(refusalOf([this] { link->start(); }));
    });
    link->start();
    EXPECT_EQ("nothing thrown", words.get_future().get());
    untilFive();
}

/** The system may give a new thread the identity of one that has ended. */
TEST_F(LinkThread, IsStartedOnAThreadThatCameAfterItsOwnHadEnded)
{
    link->start();
    link->stop();
    EXPECT_EQ("nothing thrown",
              std::async(std::launch::async, [this] { return refusalOf([this] { link->start(); }); }).get());
    untilFive();
}

TEST_F(LinkThread, StoppedInACallbackIsSteppedAfterIt)
{
    std::promise<void> stopped;
    std::atomic<bool> over{false};
    link->onTransaction([&](const rtu::Transaction &) {
        if (frames != 1)
            return;
        link->stop();
        stopped.set_value();
        std::this_thread::sleep_for(milliseconds(50)); // long enough for a step that does not wait for this call
        over = true;
    });
    link->start();
    stopped.get_future().wait();
    link->step();
    EXPECT_TRUE(over) << "two threads would step at a time";
}

/** Without that, this test would not end. */
TEST_F(LinkThread, CallsBackOnItsThreadWithNoLockHeld)
{
    std::promise<std::thread::id> caller;
    const auto askForAll = [this] {
        const rtu::Tag tag = link->addTag(TagDefinition(1, "4x20"));
        rtu::RecipeRow row;
        row.where = TagDefinition(1, "4x30");
        link->write(tag, 1).cancel();
        link->read(row.where).cancel();
        link->save({row}).cancel();
        EXPECT_EQ(0.0, tag.value().number());
        EXPECT_EQ(2u, link->tags().size());
        EXPECT_TRUE(link->running());
        link->removeTag(tag);
        link->nextStep();
        link->statistics();
    };
    link->onTransaction([&](const rtu::Transaction &) {
        if (frames != 1)
            return;
        std::async(std::launch::async, askForAll).get();
        caller.set_value(std::this_thread::get_id());
    });
    link->start();
    EXPECT_NE(std::this_thread::get_id(), caller.get_future().get());
}

int schedulingClass()
{
    int policy = 0;
    sched_param parameters = sched_param();
    EXPECT_EQ(0, ::pthread_getschedparam(::pthread_self(), &policy, &parameters));
    return policy;
}

TEST_F(LinkThread, HasTheSchedulingClassOfWhoeverStartsIt)
{
    sched_param parameters = sched_param();
    ASSERT_EQ(0, ::pthread_setschedparam(::pthread_self(), SCHED_BATCH, &parameters));
    std::promise<int> found;
    link->onTransaction([&](const rtu::Transaction &) {
        if (frames == 3) // the first two are steps of this thread
            found.set_value(schedulingClass());
    });
    link->step();
    link->step();
    EXPECT_EQ(SCHED_BATCH, schedulingClass());
    link->start();
    EXPECT_EQ(SCHED_BATCH, found.get_future().get());
    EXPECT_EQ(0, ::pthread_setschedparam(::pthread_self(), SCHED_OTHER, &parameters));
}

TEST_F(LinkThread, RestsUntilItIsAskedForSomething)
{
    for (const rtu::Tag &tag : link->tags())
        link->removeTag(tag);
    link->start();
    for (int i = 0; i < 20; ++i) {
        const rtu::Write write = link->write(TagDefinition(1, "4x10"), {static_cast<double>(i)});
        EXPECT_TRUE(write.wait(std::chrono::hours(1)));
    }
    EXPECT_EQ(20, line->sent);
}

/** However slow the machine: it looks again twice a second at most. */
TEST_F(LinkThread, RestsWithNothingToDoAndWithoutAPort)
{
    for (const bool there : {true, false}) {
        line->there = there;
        for (const rtu::Tag &tag : link->tags())
            link->removeTag(tag);
        const rtu::TimePoint begin = rtu::SteadyClock::now();
        line->looks = 0;
        link->start();
        std::this_thread::sleep_for(milliseconds(100)); // long enough for one that does not rest
        link->stop();
        const auto halfSeconds = (rtu::SteadyClock::now() - begin) / milliseconds(500);
        EXPECT_LE(line->looks, 20 * (halfSeconds + 2)) << there;
    }
}

/** The signals that programs have handlers for, and the thread that sends does not take. */
TEST_F(LinkThread, LeavesSignalsToItsHost)
{
    link->start();
    untilFive();
    link->stop();
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGALRM, SIGCHLD, SIGUSR1, SIGPIPE})
        EXPECT_TRUE(line->signalIsHeld(number)) << number;
}

TEST_F(LinkThread, GoesOnWhereItsHostForks)
{
    link->start();
    for (int i = 0; i < 20; ++i) {
        const pid_t child = ::fork();
        if (child == 0)
            ::_exit(7); // as after an exec() that failed
        int status = 0;
        ASSERT_EQ(child, ::waitpid(child, &status, 0));
        EXPECT_EQ(7, WEXITSTATUS(status));
    }
    const rtu::Write write = link->write(TagDefinition(1, "4x10"), {7});
    EXPECT_TRUE(write.wait(std::chrono::hours(1)));
    EXPECT_EQ(rtu::WriteEnd::Acknowledged, write.result().end);
}

} // namespace
