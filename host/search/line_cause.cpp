#include "host/search/line_cause.h"

#include "host/text/json.h"
#include "kit/line/frame_bytes.h"
#include "kit/line/frame_check.h"

#include <algorithm>

namespace rtu {

namespace {

const char AsciiBegin = ':';
/** So much of a request in front of a reply is no accident. */
const int EchoBytes = 5;

struct CauseWords
{
    Cause cause;
    const char *name;
    const char *text;
};

const CauseWords causeWords[] = {
    {Cause::Echo, "echo",
     "this is your request come back: the adapter hears itself (--remove-echo drops that), so it sends, but nobody "
     "answers behind it: look at the wires behind it (A and B swapped?), and at the devices' power and addresses"},
    {Cause::EchoDropped, "echo_dropped",
     "this is your request come back: the adapter hears itself; that is dropped from now on, --remove-echo says so "
     "from the start"},
    {Cause::Ascii, "ascii", "replies begin with \":\": a device speaks Modbus ASCII, not RTU; set it to RTU"},
    {Cause::Garbage, "garbage",
     "something answers, but not so that it can be read: another baud rate or parity is likely, else a line without "
     "termination"},
    {Cause::Noise, "noise",
     "replies begin as they should and are damaged behind that: a line without termination, noise, or pauses inside "
     "of replies (--gap)"},
    {Cause::OtherStation, "other_station",
     "another master is on the line (--listen tells what it asks), or a gateway changes the addresses"},
    {Cause::OtherFunction, "other_function",
     "what answers was not asked: two stations with the same address, or a reply so late that it meets the next "
     "request (a longer -o)"},
    {Cause::Stray, "stray",
     "bytes came that nobody asked for: another master is on the line; --listen tells what it asks"},
    {Cause::Exception, "exception", "it answers, and refuses"},
    {Cause::Late, "late", "nothing within the time-out, but bytes came behind it: a longer -o"},
    {Cause::Silent, "silent",
     "not one byte came back: look at the wires (A and B swapped?), the devices' power and addresses, the baud rate "
     "and parity, and whether the adapter switches to sending"},
    {Cause::StationSilent, "station_silent",
     "not one byte came back, while others answer, so the line works: look at its power, its address, and its end of "
     "the wires"},
    {Cause::PortLost, "port_lost", "the port is gone"},
    {Cause::NoParameters, "no_parameters", "the port takes none of these line parameters"},
    {Cause::Ended, "ended", "ended before all were asked"},
    {Cause::PortMissing, "missing", "there is no such port"},
    {Cause::NoPermission, "permission", "you may not open it"},
    {Cause::PortBusy, "busy", "another program has it open"},
};

const CauseWords &wordsOf(Cause cause)
{
    static const CauseWords none = {Cause::None, "none", ""};
    for (const CauseWords &words : causeWords) {
        if (words.cause == cause)
            return words;
    }
    return none;
}

/** Only reads tell: the acknowledgement of a write looks like the write. */
bool isEcho(const Transaction &t)
{
    const int common = static_cast<int>(std::min(t.reply.size(), t.request.size()));
    return t.isRead && common >= EchoBytes && t.reply.left(common) == t.request.left(common);
}

bool beginsAsAnswer(const Transaction &t)
{
    return byteAt(t.reply, 0) == byteAt(t.request, 0) && (byteAt(t.reply, 1) & ~ExceptionFlag) == byteAt(t.request, 1);
}

std::string countedErrors(const LineErrors &errors)
{
    if (errors.framing == 0 && errors.parity == 0)
        return "; the kernel counts neither framing nor parity errors, which speaks for baud rate and parity";
    return "; the kernel counts " + std::to_string(errors.framing) + " framing and " + std::to_string(errors.parity)
           + " parity errors meanwhile";
}

bool isSilence(Cause cause)
{
    return cause == Cause::Silent || cause == Cause::StationSilent || cause == Cause::Late;
}

} // namespace

const char *causeName(Cause cause)
{
    return wordsOf(cause).name;
}

std::string causeText(Cause cause)
{
    return wordsOf(cause).text;
}

std::string exceptionAdvice(int code)
{
    switch (code) {
    case 1:
        return "it does not know this function: the values may stand in another table (-t)";
    case 2:
        return "it has not all of what was asked for: --probe finds what it has; -0 counts from 0";
    case 3:
        return "it does not take this value, or so many at once: try a smaller --max-words";
    case 5:
    case 6:
        return "it has no time: ask less often (-l)";
    case 10:
    case 11:
        return "the device behind it does not answer";
    default:
        return "the device's manual tells what it means by that";
    }
}

std::string diagnosisText(const Diagnosis &diagnosis)
{
    std::string text = diagnosis.station > 0 ? "station " + std::to_string(diagnosis.station) + ": " : std::string();
    if (isSilence(diagnosis.cause) && diagnosis.attempts > 0)
        text += "after " + std::to_string(diagnosis.attempts) + (diagnosis.attempts == 1 ? " attempt " : " attempts ");
    text += diagnosis.text;
    const bool likelyLine = diagnosis.cause == Cause::Garbage || diagnosis.cause == Cause::Noise;
    return likelyLine && diagnosis.errors.known ? text + countedErrors(diagnosis.errors) : text;
}

std::string diagnosisJson(const Diagnosis &diagnosis, const std::string &time)
{
    Json json;
    if (!time.empty())
        json["time"] = time;
    if (diagnosis.station > 0)
        json["station"] = diagnosis.station;
    json["cause"] = causeName(diagnosis.cause);
    json["text"] = diagnosis.text;
    if (diagnosis.attempts > 0)
        json["attempts"] = diagnosis.attempts;
    if (diagnosis.exceptionCode > 0)
        json["exception"] = diagnosis.exceptionCode;
    if (diagnosis.errors.known) {
        json["framing_errors"] = diagnosis.errors.framing;
        json["parity_errors"] = diagnosis.errors.parity;
    }
    return jsonText(json);
}

void LineSigns::note(const Transaction &t)
{
    strays += t.strayBytes > 0 ? 1 : 0;
    if (t.echoRemoved)
        ++echoes;
    if (t.kind != ReplyKind::Damaged && t.kind != ReplyKind::Foreign)
        return;
    if (isEcho(t)) {
        ++echoes;
    } else if (t.kind == ReplyKind::Foreign) {
        ++(t.reply.at(0) == t.request.at(0) ? foreignFunctions : foreignStations);
        foreignAnswer = describeMismatch(t.request, t.reply);
    } else if (t.reply.at(0) == AsciiBegin) {
        ++ascii;
    } else {
        ++(beginsAsAnswer(t) ? damaged : garbage);
    }
}

Cause LineSigns::cause() const
{
    if (ascii > 0)
        return Cause::Ascii;
    if (foreignStations > 0)
        return Cause::OtherStation;
    if (foreignFunctions > 0)
        return Cause::OtherFunction;
    if (garbage > 0)
        return Cause::Garbage;
    if (damaged > 0)
        return Cause::Noise;
    if (late > 0)
        return Cause::Late;
    if (strays > 0)
        return Cause::Stray;
    return echoes > 0 ? Cause::Echo : Cause::Silent;
}

} // namespace rtu
