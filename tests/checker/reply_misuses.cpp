#include "checker/misuse.h"

namespace checked {

namespace {

const int TimeOut = 1000;

/** A request that nobody answers within TimeOut. */
void waitInVain(CheckedHost &host)
{
    host.ask();
    pass(TimeOut);
    host.deal(QByteArray());
}

QByteArray registersOf(int station, int function)
{
    return wordsReply(station, function, {0, 0, 0, 0});
}

std::vector<Misuse> turns()
{
    return {
        {"reply-without-frame", "HandsInAReplyBeforeAnyFrame", [](CheckedHost &host) { host.deal(registersOf(1, 3)); }},
        {"reply-twice", "HandsInAReplyTwice",
         [](CheckedHost &host) {
             host.exchange();
             host.deal(registersOf(1, 3));
         }},
        {"reply-twice", "SendsAgainWithoutAsking",
         [](CheckedHost &host) {
             host.ask();
             host.deal(QByteArray());
             host.deal(QByteArray());
         }},
        {"busy-polling", "AsksWithoutAPause",
         [](CheckedHost &host) {
             host.plan(Keys());
             for (int i = 0; i < 300; ++i)
                 host.ask();
         }},
        {"busy-polling", "AsksAgainAndAgainForOneFrame",
         [](CheckedHost &host) {
             for (int i = 0; i < 300; ++i)
                 host.ask();
         }},
    };
}

std::vector<Misuse> contents()
{
    return {
        {"reply-not-compared", "TakesAReplyOfAnotherStation",
         [](CheckedHost &host) {
             host.ask();
             host.deal(registersOf(2, 3));
         }},
        {"reply-not-compared", "TakesAReplyOfAnotherFunction",
         [](CheckedHost &host) {
             host.ask();
             host.deal(registersOf(1, 4));
         }},
        {"reply-not-compared", "TakesTheAcknowledgementOfAnotherWrite",
         [](CheckedHost &host) {
             host.write(1, "4x", 0, 1, {5, 0});
             FRAME_PRO other = host.ask();
             other.frame[3] = 9;
             host.deal(writeEcho(other));
         }},
        {"reply-not-compared", "TakesAReplyWithAnotherByteCount",
         [](CheckedHost &host) {
             host.ask();
             host.deal(support::adu("01 03 06 00 00 00 00 00 00 00 00"));
         }},
        {"echo-in-reply reply-not-compared", "TakesItsOwnEchoForThreeBytesOfCoils",
         [](CheckedHost &host) {
             host.plan(Keys() << key(1, "0x", 0, 24));
             const FRAME_PRO frame = host.ask();
             host.deal(requestBytes(frame));
         }},
        {"echo-in-reply", "HandsInTheEchoInFrontOfTheReply",
         [](CheckedHost &host) {
             const FRAME_PRO frame = host.ask();
             host.deal(requestBytes(frame) + registersOf(1, 3));
         }},
        {"reply-to-broadcast", "HandsInAnAnswerToABroadcast",
         [](CheckedHost &host) {
             host.write(0, "4x", 0, 1, {5, 0});
             const FRAME_PRO frame = host.ask();
             host.deal(requestBytes(frame));
         }},
        {"error-text-unseen", "WantsNoErrorText",
         [](CheckedHost &host) {
             QByteArray reply = CheckedHost::answerTo(host.ask());
             intf_dealRcvFrame(&reply, nullptr);
         }},
    };
}

std::vector<Misuse> timesAndValues()
{
    return {
        {"not-drained", "SendsAtOnceAfterATimeOut",
         [](CheckedHost &host) {
             waitInVain(host);
             host.exchange();
         }},
        {"value-read-in-callback", "ReadsWhatIsBeingReported",
         [](CheckedHost &host) {
             CheckedHost::inCallBack = [&host] { host.read(1, "4x", 0, 4); };
             host.ask();
             host.deal(wordsReply(1, 3, {7, 0, 0, 0}));
         }},
        {"value-read-in-callback", "ReadsWhatItIsWriting",
         [](CheckedHost &host) {
             CheckedHost::inCallBack = [&host] { host.read(1, "4x", 2, 1); };
             host.write(1, "4x", 2, 1, {5, 0});
         }},
    };
}

} // namespace

std::vector<Misuse> replyMisuses()
{
    std::vector<Misuse> all = turns();
    for (const std::vector<Misuse> &more : {contents(), timesAndValues()})
        all.insert(all.end(), more.begin(), more.end());
    return all;
}

} // namespace checked
