#include "checker/misuse.h"

#include <thread>

namespace checked {

namespace {

/** Lets the next reply report a change, and runs @p action in the callback. */
void duringReport(CheckedHost &host, const std::function<void()> &action)
{
    CheckedHost::inCallBack = action;
    host.ask();
    host.deal(wordsReply(1, 3, {7, 0, 0, 0}));
}

void startAnew(CheckedHost &host)
{
    renew();
    host.hostArea.assign(CheckedHost::AreaBytes, 0);
}

std::vector<Misuse> beginnings()
{
    return {
        {"call-before-init", "PollsBeforeItIsSetUp",
         [](CheckedHost &host) {
             startAnew(host);
             host.ask();
         }},
        {"call-before-init", "PlansBeforeItIsSetUp",
         [](CheckedHost &host) {
             startAnew(host);
             host.plan(Keys() << key(1, "4x", 0, 1));
         }},
        {"call-before-init property-fields", "WritesAfterHalfASetUp",
         [](CheckedHost &host) {
             startAnew(host);
             host.init("1#0");
             host.write(1, "4x", 0, 1, {0, 0});
         }},
        {"call-before-init", "ReadsAfterTheRelease",
         [](CheckedHost &host) {
             intf_initProperty(nullptr, 0, nullptr, nullptr, "", nullptr);
             host.read(1, "4x", 0, 1);
         }},
        {"callback-after-init", "RegistersTheCallBackLast",
         [](CheckedHost &host) {
             startAnew(host);
             host.init(CheckedHost::usualProperty());
             intf_setAddrValueChangeCallBack([](int, int, QString *, int) { return 0; });
         }},
        {"plan-emptied", "PollsOnAfterASetUpAnew",
         [](CheckedHost &host) {
             host.init(CheckedHost::usualProperty());
             host.ask();
         }},
    };
}

std::vector<Misuse> phases()
{
    return {
        {"start-up-beside-poll", "PlansWhileAFrameIsOut",
         [](CheckedHost &host) {
             host.ask();
             host.plan(Keys() << key(1, "4x", 0, 1));
         }},
        {"start-up-beside-poll", "SetsUpWhileAFrameIsOut",
         [](CheckedHost &host) {
             host.ask();
             host.init(CheckedHost::usualProperty());
         }},
        {"start-up-beside-poll", "RegistersWhileAFrameIsOut",
         [](CheckedHost &host) {
             host.ask();
             host.registerRows(Rows());
         }},
        {"start-up-from-callback", "PlansFromTheCallBack",
         [](CheckedHost &host) { duringReport(host, [&host] { host.plan(Keys() << key(1, "4x", 0, 1)); }); }},
        {"poll-from-callback", "AsksForAFrameFromTheCallBack",
         [](CheckedHost &host) { duringReport(host, [&host] { host.ask(); }); }},
        {"poll-from-callback", "HandsInAReplyFromTheCallBack",
         [](CheckedHost &host) {
             duringReport(host, [&host] {
                 CheckedHost::inCallBack = nullptr;
                 host.deal(wordsReply(1, 3, {7, 0, 0, 0}));
             });
         }},
        {"two-poll-threads", "AsksForAFrameWhileAReplyIsJudged",
         [](CheckedHost &host) {
             duringReport(host, [&host] {
                 CheckedHost::inCallBack = nullptr;
                 std::thread([&host] { host.ask(); }).join();
             });
         }},
        {"start-up-beside-poll", "PlansWhileAReplyIsJudged",
         [](CheckedHost &host) {
             duringReport(host, [&host] {
                 CheckedHost::inCallBack = nullptr;
                 std::thread([&host] { host.plan(Keys() << key(1, "4x", 0, 1)); }).join();
             });
         }},
        {"reply-from-another-thread", "HandsAReplyToAnotherThread",
         [](CheckedHost &host) {
             const FRAME_PRO frame = host.ask();
             std::thread([&] { host.deal(CheckedHost::answerTo(frame)); }).join();
         }},
    };
}

} // namespace

std::vector<Misuse> orderMisuses()
{
    std::vector<Misuse> all = beginnings();
    const std::vector<Misuse> more = phases();
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

} // namespace checked
