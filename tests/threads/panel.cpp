#include "threads/panel.h"

#include "support/driver_reset.h"

#include <QtCore/QMutexLocker>

namespace threads {

using support::Change;
using support::SlaveFault;

namespace {

const int attempts = 3; // retry limit of the property string below
const char *const property = "1#0#0#3#40";

// Enough transactions without a write to know that none is queued: ten writes
// at most run between two cyclic reads.
const int quietEnough = 30;
const long longestClosing = 200000; // transactions; a loop that never gets quiet is a failure, not a hang

int functionOf(const FRAME_PRO &frame)
{
    return frame.frame[1];
}

/** True for the frames of a host write, the read half of a bit write among them. */
bool carriesHostWrite(const FRAME_PRO &frame)
{
    if (frame.var.station == RecipeStation)
        return false;
    return functionOf(frame) >= 5 || frame.var.regType == QLatin1String("4x_bit");
}

bool isLastFrame(const FRAME_PRO &frame)
{
    return functionOf(frame) >= 5;
}

} // namespace

Panel *Panel::current = nullptr;

Panel::Panel(int faultPercent, std::uint32_t seed)
    : HostMemory(4096)
    , changes(0)
    , random(seed)
    , faults(faultPercent)
    , attempt(1)
    , quietSteps(0)
    , closing(false)
    , steps(0)
    , ended(false)
{
    support::resetDriver();
    current = this;
    intf_setAddrValueChangeCallBack(&Panel::callBack);
    int status = 0;
    intf_initProperty(hostArea.data(), 0, hostWords.data(), &status, property, &hostMutex);
}

Panel::~Panel()
{
    if (poller.joinable())
        finishPolling();
    support::resetDriver();
    current = nullptr;
}

void Panel::planReads(const std::vector<int> &stations)
{
    support::Keys keys;
    for (size_t i = 0; i < stations.size(); ++i) {
        keys << support::key(stations[i], "0x", 0, 64, -1) << support::key(stations[i], "4x", 0, 60)
             << support::key(stations[i], "4x_bit", 100 * 16, 160, -1)
             << support::key(stations[i], "4x_double", 200, 40) << support::key(stations[i], "3x", 0, 4);
    }
    intf_addrMerge(&keys);
}

// --- the callback ---------------------------------------------------------------------

int Panel::callBack(int linkId, int station, QString *regType, int address)
{
    current->changes.fetch_add(1, std::memory_order_relaxed);
    if (current->onChange) {
        const Change change = {linkId, station, *regType, address};
        current->onChange(change);
    }
    return 0;
}

int Panel::otherCallBack(int linkId, int station, QString *regType, int address)
{
    return callBack(linkId, station, regType, address);
}

// --- the poll loop --------------------------------------------------------------------

void Panel::startPolling()
{
    poller = std::thread(&Panel::poll, this);
}

void Panel::finishPolling()
{
    closing.store(true);
    poller.join();
}

void Panel::poll()
{
    while (!closing.load())
        stepAndTell();
    quietSteps = 0; // from here on nobody writes but callbacks
    for (long i = 0; quietSteps < quietEnough && i < longestClosing; ++i)
        stepAndTell();
    if (onPollEnd)
        onPollEnd();
    const std::lock_guard<std::mutex> locked(stepMutex);
    ended = true;
    stepped.notify_all();
}

void Panel::stepAndTell()
{
    step();
    const std::lock_guard<std::mutex> locked(stepMutex);
    ++steps;
    stepped.notify_all();
}

bool Panel::step()
{
    FRAME_PRO frame = FRAME_PRO();
    if (intf_getSendFrame(&frame) == 0) {
        ++quietSteps;
        return false;
    }
    slaves.failNext(chooseFault(frame));
    const QByteArray reply = slaves.answer(support::requestBytes(frame));
    QByteArray handedOver = reply;
    QString information;
    judge(frame, reply, intf_dealRcvFrame(&handedOver, &information), information);
    return true;
}

/** Nothing that the driver cannot tell from a good reply: those are weaknesses of the protocol, not of threads. */
SlaveFault Panel::chooseFault(const FRAME_PRO &frame)
{
    if (!random.chance(faults) || (frame.var.station == RecipeStation && attempt == attempts))
        return support::NoFault;
    return random.pick(
        {support::Silent, support::ReplyLost, support::WrongCrc, support::Truncated, support::TooLong, support::Busy});
}

void Panel::judge(const FRAME_PRO &frame, const QByteArray &reply, int verdict, const QString &information)
{
    ++counts.transactions;
    attempt = verdict == SendAgain ? attempt + 1 : 1;
    if (verdict == SendAgain)
        ++counts.sentAgain;
    else if (verdict == RequestGivenUp)
        ++counts.givenUp;
    else
        ++counts.accepted;
    if (!carriesHostWrite(frame)) {
        ++quietSteps;
        return;
    }

    quietSteps = 0;
    if (isLastFrame(frame) && reply == support::writeEcho(frame))
        ++counts.intactAcknowledgements;
    if (information.startsWith(QLatin1String("W,")))
        ++counts.writeFailureTexts;
    if (verdict == RequestGivenUp)
        onWriteEnd(frame.var, ReportedFailed);
    else if (verdict == ReplyAccepted && isLastFrame(frame))
        onWriteEnd(frame.var, Acknowledged);
}

bool Panel::awaitStep()
{
    std::unique_lock<std::mutex> locked(stepMutex);
    const long seen = steps;
    stepped.wait(locked, [&] { return ended || steps != seen; });
    return !ended;
}

bool Panel::transfer(int requestByte)
{
    {
        QMutexLocker locked(&hostMutex);
        raise(requestByte);
    }
    while (isRequested(requestByte)) {
        if (!awaitStep())
            return false;
    }
    return true;
}

bool Panel::isRequested(int requestByte)
{
    QMutexLocker locked(&hostMutex);
    return raised(requestByte) != 0;
}

} // namespace threads
