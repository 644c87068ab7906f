#include "kit/line/name_lookup.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <signal.h>

#include <system_error>

namespace {

using rtu::LookupResult;

/** The system has no thread left. */
struct ThreadLess
{
    ThreadLess() = default;
    ThreadLess(const ThreadLess &other) : armed(other.armed)
    {
        if (armed)
            throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
    }

    LookupResult operator()(const std::string &, const std::string &) const { return LookupResult(); }
    bool armed = false;
};

TEST(NameLookup, SaysThatThereIsNoThread)
{
    rtu::Lookup lookup = ThreadLess();
    lookup.target<ThreadLess>()->armed = true;
    const rtu::NameLookup nameLookup("gateway", "1", lookup);
    EXPECT_NE("", nameLookup.result().problem);
    EXPECT_TRUE(nameLookup.result().addresses.empty());
}

/** A look-up that says which signals its thread gets. */
LookupResult signalsHeld(const std::string &, const std::string &)
{
    sigset_t held;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &held);
    LookupResult result;
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGALRM, SIGCHLD, SIGUSR1, SIGPIPE})
        result.problem += ::sigismember(&held, number) == 1 ? "" : std::to_string(number) + " ";
    return result;
}

TEST(NameLookup, LeavesSignalsToTheProgramsOwnThreads)
{
    sigset_t before;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &before);
    const rtu::NameLookup nameLookup("gateway", "1", signalsHeld);
    pollfd ready = {nameLookup.descriptor(), POLLIN, 0};
    EXPECT_EQ(1, ::poll(&ready, 1, -1));
    EXPECT_EQ("", nameLookup.result().problem);
    sigset_t after;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &after);
    EXPECT_EQ(::sigismember(&before, SIGUSR1), ::sigismember(&after, SIGUSR1));
}

TEST(NameLookup, TakesNoNameForFigures)
{
    rtu::Lookup lookup = ThreadLess();
    lookup.target<ThreadLess>()->armed = true;
    const rtu::NameLookup known("localhost", "1", lookup);
    EXPECT_NE("", known.result().problem) << "the system's files are not looked at without a thread";
    EXPECT_TRUE(known.result().addresses.empty());
}

TEST(NameLookup, AsksNobodyForFigures)
{
    rtu::Lookup lookup = ThreadLess();
    lookup.target<ThreadLess>()->armed = true;
    const rtu::NameLookup nameLookup("127.0.0.1", "1", lookup);
    EXPECT_EQ("", nameLookup.result().problem);
    EXPECT_EQ(1u, nameLookup.result().addresses.size());
}

TEST(NameLookup, KnowsThisComputer)
{
    const LookupResult known = rtu::lookUpName("localhost", "80");
    EXPECT_FALSE(known.addresses.empty());
    EXPECT_EQ("", known.problem);
    EXPECT_NE("", rtu::lookUpName("127.0.0.1", "no number").problem);
    EXPECT_EQ(1u, rtu::lookUpName("127.0.0.1", "80").addresses.size()) << "each is tried in turn";
}

} // namespace
