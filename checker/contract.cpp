#include "checker/contract.h"

#include "checker/buffers.h"
#include "driver/qt_compat.h"

namespace checker {

namespace {

typedef std::lock_guard<std::mutex> Locked;

bool isStartUpCall(EntryPoint call)
{
    return call == initPropertyCall || call == setRcpAddressCall || call == addrMergeCall;
}

bool needsSettings(EntryPoint call)
{
    return isPollCall(call) || call == getDataCall || call == setDataCall || call == addConditionReadCall
           || call == setRcpAddressCall || call == addrMergeCall;
}

std::string textOf(const QString *text)
{
    return text ? std::string(text->toLatin1().constData()) : std::string();
}

std::string milliseconds(Clock::duration time)
{
    return std::to_string(std::chrono::duration_cast<Milliseconds>(time).count()) + " ms";
}

/** Bytes that a call moves for its elements: one a bit, two a register. */
std::size_t elementBytes(const Request &request)
{
    if (!request.type || request.count < 1)
        return 0;
    const std::size_t count = static_cast<std::size_t>(request.count);
    const bool twoABit = request.call == setDataCall && request.type->unit == RegisterBitUnit && request.type->writable;
    return isBitType(*request.type) && !twoABit ? count : 2 * count;
}

/** False, and told, where an object is handed over. */
bool isMissing(const void *argument, EntryPoint call, const char *name, Findings &findings)
{
    if (!argument)
        findings.report(NullArgument, call, name, "it is null");
    return !argument;
}

} // namespace

/** Holds the lock, collects findings, and tells them when the lock is free again. */
class Contract::Session
{
public:
    explicit Session(Contract &owner) : contract(owner), locked(owner.mutex) {}
    ~Session()
    {
        locked.unlock();
        contract.reporter.tell(found);
    }

    Findings found;

private:
    Contract &contract;
    std::unique_lock<std::mutex> locked;
};

Contract::Contract() : initialised(false), callBackKnown(false), planKnown(false), planLost(false) {}

void Contract::tell(FindingId id, EntryPoint call, const std::string &wrong)
{
    Findings found;
    found.report(id, call, "", wrong);
    reporter.tell(found);
}

// --- orders and threads -------------------------------------------------------------------

Contract::Visit Contract::enter(EntryPoint call)
{
    Session session(*this);
    checkOrder(call, session.found);
    return active.enter(call);
}

void Contract::leave(Visit visit)
{
    Locked locked(mutex);
    active.leave(visit);
}

void Contract::checkOrder(EntryPoint call, Findings &findings)
{
    if (needsSettings(call) && !initialised)
        findings.report(CallBeforeInit, call, "", "no complete property string has been handed over");
    else if (call == getSendFrameCall && planLost)
        findings.report(PlanEmptied, call, "",
                        "intf_initProperty has emptied the plan, and polling goes on without it");
    if (call == getSendFrameCall)
        planLost = false;
    if (active.callBackHere())
        checkCallBackOrder(call, findings);
    else
        checkPhase(call, findings);
}

void Contract::checkPhase(EntryPoint call, Findings &findings)
{
    const ActiveCall *other = active.pollCallElsewhere();
    const std::string elsewhere =
        other ? std::string("another thread is inside ") + entryPointName(other->call) : std::string();
    if (isPollCall(call) && other)
        findings.report(TwoPollThreads, call, "", elsewhere);
    if (!isStartUpCall(call))
        return;
    if (other)
        findings.report(StartUpBesidePoll, call, "", elsewhere);
    else if (replies.isFrameOut())
        findings.report(StartUpBesidePoll, call, "", "a frame is out whose reply has not been handed in");
    if (recipes.isHalfDone() && call != addrMergeCall)
        findings.report(StartUpInTransfer, call, "", "a recipe transfer is half done");
}

void Contract::checkCallBackOrder(EntryPoint call, Findings &findings) const
{
    const char *const wrong = "it is called from inside the callback";
    if (isPollCall(call))
        findings.report(PollFromCallBack, call, "", wrong);
    if (isStartUpCall(call))
        findings.report(StartUpFromCallBack, call, "", wrong);
}

void Contract::callBackBegins(int station, const QString *type, int address)
{
    const Report report = {station, textOf(type), address};
    Locked locked(mutex);
    ActiveCall *call = active.innermost();
    if (!call)
        return;
    call->callBacks = 1;
    call->callBackSince = now();
    call->report = report;
}

void Contract::callBackEnds()
{
    Locked locked(mutex);
    if (ActiveCall *call = active.innermost())
        call->callBacks = 0;
}

void Contract::unloading()
{
    {
        Session session(*this);
        if (const ActiveCall *call = active.any())
            session.found.report(UnloadedWithThreadInside, UnloadingCall, "",
                                 std::string("a thread is still inside ") + entryPointName(call->call));
    }
    reporter.summarise();
}

void Contract::checkStalls(Clock::duration patience)
{
    Session session(*this);
    for (ActiveCall &call : active.all()) {
        if (!call.told)
            checkStall(call, patience, session.found);
    }
}

void Contract::checkStall(ActiveCall &call, Clock::duration patience, Findings &findings)
{
    const TimePoint time = now();
    if (call.callBacks > 0) {
        call.told = time - call.callBackSince >= patience;
        if (call.told)
            findings.report(CallBackStalls, call.call, "",
                            "the callback for " + call.report.type + " " + std::to_string(call.report.address)
                                + " has not returned for " + milliseconds(time - call.callBackSince));
        return;
    }
    if (!isPollCall(call.call) || time - call.since < patience || !settings.mutex)
        return;
    call.told = !settings.mutex->tryLock();
    if (call.told)
        findings.report(HostMutexHeld, call.call, "",
                        "hostMutex has been held for " + milliseconds(time - call.since)
                            + ": a thread that makes this call while it holds it waits for itself, for good");
    else
        settings.mutex->unlock();
}

// --- start-up ---------------------------------------------------------------------------------

Settings Contract::settingsNow()
{
    Locked locked(mutex);
    return settings;
}

const char Contract::nothingElse[] = "";

void Contract::editorCalled(EntryPoint call, const void *first, const void *second, const void *third)
{
    Session session(*this);
    if (!first || !second || !third)
        session.found.report(NullArgument, call, "", "an argument is null");
}

void Contract::callBackSet(bool isNull)
{
    Session session(*this);
    if (initialised && !callBackKnown && !isNull)
        session.found.report(CallBackAfterInit, setAddrValueChangeCallBackCall, "", "intf_initProperty came before it");
    callBackKnown = callBackKnown || !isNull;
}

void Contract::initialising(const InitArguments &arguments)
{
    Session session(*this);
    const bool complete = applyInit(arguments, settings, session.found);
    if (complete)
        reporter.setLink(settings.link);
    initialised = complete || (initialised && !isRelease(arguments));
    planLost = planKnown;
    planKnown = false;
    replies.reset();
}

void Contract::rowsRegistered(const QVector<_RCP_VAR_PRO> *rows)
{
    Session session(*this);
    if (!isMissing(rows, setRcpAddressCall, "rows", session.found))
        recipes.registerRows(*rows, settings, session.found);
}

void Contract::planBuilt(const QList<KEY_ADDRESS> *keys)
{
    Session session(*this);
    if (isMissing(keys, addrMergeCall, "keys", session.found))
        return;
    for (int i = 0; i < sizeOf(*keys); ++i) {
        const KEY_ADDRESS &key = keys->at(i);
        Request request = requestOf(addrMergeCall, key.station, key.regType, key.startAddr, key.count);
        request.index = i;
        checkRequest(request, settings, session.found);
    }
    planKnown = !keys->isEmpty();
    planLost = false;
}

// --- reading and writing ----------------------------------------------------------------------

void Contract::readAsked(const KEY_ADDRESS *key, int tag)
{
    Session session(*this);
    if (isMissing(key, addConditionReadCall, "key", session.found))
        return;
    Request request = requestOf(addConditionReadCall, key->station, key->regType, key->startAddr, key->count);
    request.field7 = key->field7;
    request.tag = tag;
    checkRequest(request, settings, session.found);
}

void Contract::valuesRead(int station, const QString *type, int address, int count, const unsigned char *out)
{
    Session session(*this);
    if (isMissing(type, getDataCall, "regType", session.found)
        || (count > 0 && isMissing(out, getDataCall, "out", session.found)))
        return;
    const Request request = requestOf(getDataCall, station, *type, address, count);
    checkRequest(request, settings, session.found);
    checkBuffer(out, elementBytes(request), getDataCall, "out", session.found);
    if (readsWhatIsReported(request))
        session.found.report(ValueReadInCallBack, getDataCall, "",
                             "the callback reads " + request.typeName + " " + std::to_string(address)
                                 + ", which it is being told of, and gets the old value");
}

bool Contract::readsWhatIsReported(const Request &request)
{
    const ActiveCall *call = active.callBackHere();
    if (!call || !call->storedLate)
        return false;
    const Report &report = call->report;
    return report.station == request.station && report.type == request.typeName && report.address >= request.address
           && static_cast<long long>(report.address) - request.address < request.count;
}

void Contract::valuesWritten(int station, const QString *type, int address, int count, const unsigned char *data)
{
    Session session(*this);
    if (isMissing(type, setDataCall, "regType", session.found)
        || (count > 0 && isMissing(data, setDataCall, "data", session.found)))
        return;
    Request request = requestOf(setDataCall, station, *type, address, count);
    if (checkBuffer(data, elementBytes(request), setDataCall, "data", session.found))
        request.bytes = data;
    checkRequest(request, settings, session.found);
    if (ActiveCall *call = active.innermost())
        call->storedLate = true;
}

// --- the poll loop ----------------------------------------------------------------------------

void Contract::beforeSendFrame(const FRAME_PRO *out)
{
    {
        Session session(*this);
        if (isMissing(out, getSendFrameCall, "out", session.found))
            return;
        checkBuffer(out, sizeof *out, getSendFrameCall, "out", session.found);
        if (replies.isTransactionOpen())
            return;
    }
    // As the driver does: it looks at the bytes between two transactions only.
    const RequestBytes bytes = readRequestBytes(settingsNow());
    Session session(*this);
    recipes.beforeChoice(bytes, session.found);
}

void Contract::afterSendFrame(const FRAME_PRO *out, int result)
{
    if (!out)
        return;
    {
        Session session(*this);
        const bool wasOpen = replies.isTransactionOpen();
        replies.asked(result == 1 ? out : nullptr, now(), session.found);
        if (wasOpen)
            return;
    }
    const RequestBytes bytes = readRequestBytes(settingsNow());
    Session session(*this);
    recipes.chosen(result == 1, bytes, settings);
}

RequestBytes Contract::beforeReply(const QByteArray *reply, const QString *information)
{
    RequestBytes bytes = {0, 0};
    {
        Session session(*this);
        if (!information)
            session.found.report(ErrorTextUnseen, dealRcvFrameCall, "information",
                                 "it is null, so no error text can be shown");
        isMissing(reply, dealRcvFrameCall, "reply", session.found);
        replies.beforeJudgement(reply ? *reply : QByteArray(), now(), session.found);
        if (ActiveCall *call = active.innermost())
            call->storedLate = !replies.isWrite();
        if (!recipes.inFlight())
            return bytes;
    }
    return readRequestBytes(settingsNow());
}

void Contract::afterReply(const RequestBytes &before, int verdict)
{
    {
        Session session(*this);
        replies.judged(verdict, session.found);
        if (replies.isTransactionOpen() || !recipes.inFlight())
            return;
    }
    const RequestBytes after = readRequestBytes(settingsNow());
    Session session(*this);
    recipes.judged(before, after, verdict == 1, session.found);
}

} // namespace checker
