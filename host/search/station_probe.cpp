#include "host/search/station_probe.h"

#include "host/report/trace.h"

#include <algorithm>

namespace rtu {

namespace {

/** What the driver asks for at most. */
const int LongestBlock = 120;
/** A lost frame must not pass for a hole. */
const int Attempts = 3;
const int Samples = 8;
/** Requests in a row that a station must not miss. */
const int QuickRequests = 6;
/** So much rest no station wants: what is found out behind it is not the silence's doing. */
const Duration LongRest = std::chrono::milliseconds(50);
/** A station that is asked for the first time may be slower than anybody thought. */
const Duration LongFirstDelay = std::chrono::seconds(1);
const int Milliseconds[] = {1, 2, 3, 5, 7, 10, 15, 20, 30, 50};

enum { AcknowledgeException = 5, BusyException = 6 };

bool mayBeOtherwiseLater(const Transaction &t)
{
    const bool busy = t.exceptionCode == AcknowledgeException || t.exceptionCode == BusyException;
    return t.kind == ReplyKind::Exception ? busy : t.kind != ReplyKind::Good;
}

/** Parts of the usual silence, that, and longer ones. */
std::vector<Duration> silencesToTry(Duration usual)
{
    std::vector<Duration> silences = {Duration(0), usual / 4, usual / 2, usual};
    for (int milliseconds : Milliseconds)
        silences.push_back(std::chrono::milliseconds(milliseconds));
    const auto tooShort = [usual](Duration silence) { return silence > usual / 2 && silence < usual; };
    silences.erase(std::remove_if(silences.begin(), silences.end(), tooShort), silences.end());
    std::sort(silences.begin(), silences.end());
    silences.erase(std::unique(silences.begin(), silences.end()), silences.end());
    return silences;
}

} // namespace

StationProbe::StationProbe(Line &line, const LineTiming &timing, const ProbeSettings &settings)
    : m_asker(line, timing, settings.replyTimeout)
    , m_timing(timing)
    , m_settings(settings)
    , m_most(std::min(settings.count, LongestBlock))
{
    m_asker.setSilence(std::max(timing.silence(), LongRest));
    m_asker.setLatePatience(std::max(settings.replyTimeout, LongFirstDelay));
}

ProbeResult StationProbe::run()
{
    lookThrough();
    if (m_lost) {
        m_result.why.cause = Cause::PortLost;
        m_result.why.text = causeText(Cause::PortLost) + ", and not all was known yet";
    }
    return m_result;
}

void StationProbe::lookThrough()
{
    if (!findStation())
        return;
    m_asker.setLatePatience(m_settings.replyTimeout);
    findElements();
    if (m_result.readable.empty() || over())
        return;
    findLargestBlock();
    measureReplies();
    if (m_result.measured)
        findSilence();
}

void StationProbe::report(const std::string &what)
{
    if (m_onProgress)
        m_onProgress(what);
}

Transaction StationProbe::ask(int address, int count)
{
    ReadRequest request;
    request.station = m_settings.station;
    request.function = m_settings.function;
    request.address = address;
    request.count = count;
    const Transaction t = m_asker.ask(request);
    m_lost = t.end == ReplyEnd::PortLost || t.end == ReplyEnd::Interrupted;
    m_result.late += t.kind == ReplyKind::Silent && t.strayBytes > 0 ? 1 : 0;
    return t;
}

/** Counted back from the end: the begin of a reply is slept through, save where there is no pace. */
Duration StationProbe::delayOf(const Transaction &t) const
{
    if (t.requestEnd == t.sent)
        return t.firstByte - t.sent;
    const Duration reply = m_timing.characters(static_cast<std::size_t>(t.reply.size()));
    return std::max(Duration(0), t.finished - t.requestEnd - reply);
}

/** @param refusal why not, in words */
bool StationProbe::read(int address, int count, std::string *refusal)
{
    for (int attempt = 1; attempt <= Attempts && !over(); ++attempt) {
        const Transaction t = ask(address, count);
        if (t.kind == ReplyKind::Good) {
            m_given = std::max(m_given, count);
            m_result.lost += attempt - 1;
            return true;
        }
        if (refusal) {
            *refusal = replyMeaning(t);
            m_result.exceptionCode = t.kind == ReplyKind::Exception ? t.exceptionCode : 0;
        }
        if (!mayBeOtherwiseLater(t))
            return false;
    }
    return false;
}

/** Any answer will do, a refusal as well. */
bool StationProbe::findStation()
{
    report("asking station " + std::to_string(m_settings.station));
    LineDiagnosis diagnosis([] { return LineErrors(); });
    for (int attempt = 1; attempt <= Attempts && !over(); ++attempt) {
        Transaction t = ask(m_settings.first, 1);
        if (t.kind == ReplyKind::Good || t.kind == ReplyKind::Exception)
            return true;
        t.attempt = attempt;
        t.verdict = attempt < Attempts ? VerdictSendAgain : VerdictGivenUp;
        m_result.why = diagnosis.take(t);
    }
    return false;
}

void StationProbe::findElements()
{
    const int end = m_settings.first + m_settings.count;
    for (int address = m_settings.first; address < end && !over();) {
        const int count = std::min(m_most, end - address);
        report("reading " + std::to_string(count) + " from " + std::to_string(address + 1));
        readOrDivide(address, count);
        address += count;
    }
}

/** @return whether all of them are there */
bool StationProbe::readOrDivide(int address, int count)
{
    if (over())
        return false;
    if (read(address, count, &m_result.refusal)) {
        addTo(m_result.readable, address, count);
        return true;
    }
    if (over()) // it was not refused
        return false;
    if (count == 1) {
        addTo(m_result.holes, address, count);
        return false;
    }
    const int half = count / 2;
    const bool first = readOrDivide(address, half);
    const bool second = readOrDivide(address + half, count - half);
    if (!first || !second)
        return false;
    m_refused = m_refused == 0 ? count : std::min(m_refused, count);
    m_most = std::min(m_most, count - half);
    return true;
}

void StationProbe::addTo(std::vector<ElementRun> &runs, int address, int count)
{
    if (!runs.empty() && runs.back().first + runs.back().count == address)
        runs.back().count += count;
    else
        runs.push_back({address, count});
}

ElementRun StationProbe::longestRun() const
{
    const auto shorter = [](const ElementRun &one, const ElementRun &other) { return one.count < other.count; };
    return *std::max_element(m_result.readable.begin(), m_result.readable.end(), shorter);
}

void StationProbe::findLargestBlock()
{
    report("looking for the largest block");
    const ElementRun run = longestRun();
    const int longest = std::min(run.count, LongestBlock);
    int highest = m_refused > 0 ? std::min(longest, m_refused - 1) : longest;
    while (m_given < highest && !over()) {
        const int middle = (m_given + highest + 1) / 2;
        if (!read(run.first, middle))
            highest = middle - 1;
    }
    m_result.largestBlock = m_given;
    m_result.blockIsLimit = m_given < longest && !over();
    if (m_result.blockIsLimit)
        read(run.first, m_given + 1, &m_result.refusal);
}

void StationProbe::measureReplies()
{
    report("measuring replies");
    const ElementRun run = longestRun();
    std::vector<Duration> delays;
    for (int i = 0; i < (delays.empty() ? Attempts : Samples) && !over(); ++i) {
        for (int count : {1, std::min(m_result.largestBlock, run.count)}) {
            const Transaction t = ask(run.first, count);
            m_result.lost += t.kind == ReplyKind::Good ? 0 : 1;
            if (t.kind != ReplyKind::Good)
                continue;
            delays.push_back(delayOf(t));
            if (count > 1 || m_result.largestBlock == 1)
                m_result.blockTime = std::max(m_result.blockTime, t.finished - t.sent);
        }
    }
    if (delays.empty())
        return;
    m_result.measured = true;
    std::sort(delays.begin(), delays.end());
    m_result.replyMedian = delays[delays.size() / 2];
    m_result.replyLongest = delays.back();
}

void StationProbe::findSilence()
{
    const int address = m_result.readable.front().first;
    for (Duration silence : silencesToTry(m_timing.silence())) {
        if (over())
            return;
        report("looking for the shortest silence");
        m_result.silenceFound = answersAll(address, silence);
        m_result.silence = silence;
        if (m_result.silenceFound)
            return;
        m_asker.line().sleepUntil(m_asker.line().now() + LongRest);
    }
}

bool StationProbe::answersAll(int address, Duration silence)
{
    m_asker.setSilence(std::max(m_timing.silence(), LongRest));
    for (int i = 0; i < QuickRequests && !over(); ++i) {
        if (ask(address, 1).kind != ReplyKind::Good)
            return false;
        m_asker.setSilence(silence);
    }
    return !over();
}

} // namespace rtu
