#include "host/commands/probe_program.h"

#include "host/cli/line_text.h"
#include "host/search/station_probe.h"
#include "host/text/json.h"
#include "host/text/numbers.h"
#include "host/text/wall_clock.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>

namespace rtu {

namespace {

/** Registers and bits alone stand for themselves; the other types are looked at as registers. */
ReadFunction functionOf(const TagRange &range)
{
    switch (range.type.name[0]) {
    case '0':
        return ReadCoils;
    case '1':
        return ReadDiscreteInputs;
    case '3':
        return ReadInputRegisters;
    default:
        return ReadHoldingRegisters;
    }
}

ProbeSettings probeSettings(const Options &options, const TagRange &range)
{
    ProbeSettings settings;
    settings.station = options.probeStation;
    settings.function = functionOf(range);
    settings.first = range.address;
    settings.count = range.count();
    if (options.timeoutGiven)
        settings.replyTimeout =
            std::chrono::duration_cast<Duration>(std::chrono::duration<double>(options.replyTimeout));
    return settings;
}

/** What is to be used with the station from now on. */
class Advice
{
public:
    Advice(const ProbeResult &result, const Options &options, const PortLine &line)
        : m_result(result)
        , m_options(options)
        , m_line(line)
    {
    }

    /** Even, and 2 at least: a 32-bit value must not be torn. */
    int words() const { return std::max(2, m_result.largestBlock / 2 * 2); }

    /** Several times as long as it ever took, in hundredths of a second. */
    double timeout() const
    {
        return std::max(0.1, std::ceil(SafetyFactor * 100 * toSeconds(m_result.replyLongest)) / 100);
    }

    std::string options() const
    {
        std::string text = parameterOptions(m_line.parameters()) + " -a " + std::to_string(m_options.probeStation)
                           + " --max-words " + std::to_string(words());
        if (m_result.measured)
            text += " -o " + general(timeout(), 6);
        if (m_result.silence > m_line.timing().silence())
            text += " --silence " + general(std::ceil(1.5 * 1e3 * toSeconds(m_result.silence)), 6);
        return text;
    }

    std::string property() const
    {
        DriverProperty property = m_options.property;
        property.raw.clear();
        property.maxWords = words();
        return property.text();
    }

private:
    static constexpr double SafetyFactor = 3;

    const ProbeResult &m_result;
    const Options &m_options;
    const PortLine &m_line;
};

std::string runText(const RegisterType &type, const ElementRun &run)
{
    const std::string first = type.name + std::to_string(run.first + 1);
    return run.count == 1 ? first : first + ".." + std::to_string(run.first + run.count);
}

std::string runsText(const RegisterType &type, const std::vector<ElementRun> &runs)
{
    std::string text;
    for (const ElementRun &run : runs)
        text += (text.empty() ? "" : " ") + runText(type, run);
    return text.empty() ? "none" : text;
}

Json runsJson(const RegisterType &type, const std::vector<ElementRun> &runs)
{
    Json json = Json::array();
    for (const ElementRun &run : runs)
        json.push_back(runText(type, run));
    return json;
}

std::string noneText(const ProbeResult &result)
{
    return "no element of the range can be read: " + result.refusal;
}

std::string blockText(const ProbeResult &result)
{
    const std::string block = std::to_string(result.largestBlock);
    if (result.blockIsLimit)
        return block + "; for one more: " + result.refusal;
    return block
           + (result.largestBlock >= 120 ? ", the most that the driver asks for" : "; the range has no more in a row");
}

std::string silenceText(const ProbeResult &result, const LineTiming &timing)
{
    if (!result.silenceFound)
        return "it misses requests even " + durationText(result.silence) + " behind the last reply";
    return durationText(result.silence) + " works; usual are " + durationText(timing.silence());
}

std::string measuredText(const ProbeResult &result, const LineTiming &timing)
{
    if (!result.measured)
        return "replies begin:  not measured, it answers no more\n";
    return "replies begin:  after " + durationText(result.replyMedian) + " (median), "
           + durationText(result.replyLongest) + " (longest)\nblock takes:    " + durationText(result.blockTime)
           + " with its request\nsent again:     " + std::to_string(result.lost)
           + "\nsilence:        " + silenceText(result, timing) + '\n';
}

void printText(const ProbeResult &result, const TagRange &range, const Advice &advice, const std::string &port,
               const LineTiming &timing, std::ostream &out)
{
    out << "readable:       " << runsText(range.type, result.readable) << '\n'
        << "holes:          " << runsText(range.type, result.holes) << '\n';
    if (result.late > 0)
        out << "late:           " << result.late << " replies, which count as missing: probe it with a longer -o\n";
    if (result.readable.empty()) {
        out << "why:            " << noneText(result) << '\n';
        return;
    }
    out << "largest block:  " << blockText(result) << '\n'
        << measuredText(result, timing) << "use:            rtuhost " << advice.options() << ' ' << port << ' '
        << runText(range.type, result.readable.front()) << '\n'
        << "property:       " << advice.property() << '\n';
}

std::string probeJson(const ProbeResult &result, const TagRange &range, const Advice &advice, int station)
{
    Json json = {{"station", station},
                 {"readable", runsJson(range.type, result.readable)},
                 {"holes", runsJson(range.type, result.holes)},
                 {"largest_block", result.largestBlock},
                 {"block_is_limit", result.blockIsLimit},
                 {"late", result.late}};
    if (result.readable.empty()) {
        json["cause"] = causeName(result.exceptionCode > 0 ? Cause::Exception : Cause::StationSilent);
        json["text"] = noneText(result);
    } else {
        const auto measured = [&result](Duration time) {
            return result.measured ? jsonNumber(1e3 * toSeconds(time), 3) : Json();
        };
        json["reply_median_ms"] = measured(result.replyMedian);
        json["reply_longest_ms"] = measured(result.replyLongest);
        json["block_ms"] = measured(result.blockTime);
        json["sent_again"] = result.lost;
        json["silence_ms"] = result.silenceFound ? jsonNumber(1e3 * toSeconds(result.silence), 3) : Json();
        json["options"] = advice.options();
        json["property"] = advice.property();
    }
    return jsonText(json);
}

} // namespace

int probeStation(const Options &options, PortLine &line, const TagRange &range, StopTarget &stopTarget,
                 std::ostream &out, std::ostream &err)
{
    StationProbe probe(line, line.timing(), probeSettings(options, range));
    const bool showsProgress = ::isatty(STDERR_FILENO) && !options.quiet;
    probe.onProgress([&](const std::string &what) {
        if (showsProgress)
            err << "\r\x1b[K" << what << std::flush;
    });
    ProbeResult result;
    {
        const StopTarget::Scope scope(stopTarget, [&probe] { probe.stop(); });
        result = probe.run();
    }
    if (showsProgress)
        err << "\r\x1b[K" << std::flush;
    const bool json = options.form == OutputForm::Json;
    if (probe.stopped()) {
        err << "ended before all was known\n";
        return 1;
    }
    if (result.why.cause != Cause::None) {
        err << "why: " << diagnosisText(result.why) << '\n';
        if (json)
            out << diagnosisJson(result.why) << '\n';
        return 1;
    }
    const Advice advice(result, options, line);
    if (json)
        out << probeJson(result, range, advice, options.probeStation) << '\n';
    else
        printText(result, range, advice, options.simFile.empty() ? line.name() : "--sim " + options.simFile,
                  line.timing(), out);
    return result.measured ? 0 : 1;
}

} // namespace rtu
