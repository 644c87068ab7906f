#include "host/commands/search_program.h"

#include "host/cli/line_text.h"
#include "host/commands/signal_watcher.h"
#include "host/commands/stop_target.h"
#include "host/search/port_trouble.h"
#include "host/search/station_search.h"
#include "host/text/json.h"
#include "host/text/numbers.h"
#include "host/text/wall_clock.h"
#include "kit/line/make_line.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <stdexcept>

namespace rtu {

namespace {

const int HighestSlave = 247;
/** Slaves begin to answer within some ten milliseconds; hundreds of times a longer wait would cost minutes. */
const Duration UsualPatience = std::chrono::milliseconds(200);

/** Those that the options leave open. */
std::vector<LineParameters> parametersToTry(const Options &options)
{
    std::vector<LineParameters> chosen;
    for (LineParameters parameters : usualParameters(options.bauds)) {
        const LineParameters usual = parameters;
        if (options.parityGiven)
            parameters.parity = options.line.parity;
        if (options.stopBitsGiven)
            parameters.stopBits = options.line.stopBits;
        const auto same = [&](const LineParameters &other) {
            return other.baud == parameters.baud && other.parity == parameters.parity
                   && other.stopBits == parameters.stopBits;
        };
        const bool known = std::any_of(chosen.begin(), chosen.end(), same);
        const bool odd = usual.parity != 'N' && options.stopBitsGiven && !options.parityGiven
                         && usual.stopBits != parameters.stopBits;
        if (!known && !odd)
            chosen.push_back(parameters);
    }
    return chosen;
}

/** A pseudo-terminal or a device server has the parameters that it has. */
bool hasParameters(const std::string &port)
{
    LineParameters wanted;
    wanted.parity = 'O';
    const std::unique_ptr<PortLine> line = makeLine(port, wanted);
    openPort(*line);
    return line->parameters().parity == wanted.parity;
}

SearchSettings searchSettings(const Options &options)
{
    SearchSettings settings;
    settings.parameters = parametersToTry(options);
    if (!hasParameters(options.port))
        settings.parameters.resize(1);
    settings.stations = options.stations;
    if (!options.stationsGiven) {
        settings.stations.resize(HighestSlave);
        std::iota(settings.stations.begin(), settings.stations.end(), 1);
    }
    settings.replyTimeout =
        options.timeoutGiven ? std::chrono::duration_cast<Duration>(std::chrono::duration<double>(options.replyTimeout))
                             : UsualPatience;
    return settings;
}

std::string foundJson(const FoundStation &found)
{
    return jsonText({{"station", found.station},
                     {"baud", found.parameters.baud},
                     {"parity", parityName(found.parameters.parity)},
                     {"stop_bits", found.parameters.stopBits},
                     {"answer", found.answer},
                     {"reply_ms", jsonNumber(1e3 * toSeconds(found.replyTime), 3)}});
}

std::string foundText(const FoundStation &found)
{
    return "station " + std::to_string(found.station) + " answers at " + lineName(found.parameters) + ": "
           + found.answer + ", after " + durationText(found.replyTime);
}

std::string progressText(const SearchProgress &progress)
{
    return lineName(progress.parameters) + ", station " + std::to_string(progress.station) + ", "
           + std::to_string(progress.asked) + " of at most " + std::to_string(progress.most) + ", "
           + durationText(progress.left) + " at most";
}

/** Polling waits for a second: a slow station is given several times what it took. */
std::string patienceOption(const FoundStation &found)
{
    const double seconds = std::ceil(3 * toSeconds(found.replyTime));
    return seconds > 1 ? " -o " + general(seconds, 6) : std::string();
}

std::string commandText(const Options &options, const FoundStation &found)
{
    return "rtuhost " + parameterOptions(found.parameters) + " -a " + std::to_string(found.station)
           + patienceOption(found) + " " + options.port + " 4x1";
}

Diagnosis diagnosisOf(const StationSearch &search)
{
    Diagnosis diagnosis;
    diagnosis.cause = search.cause();
    diagnosis.text = causeText(diagnosis.cause);
    return diagnosis;
}

} // namespace

int findStations(const Options &options, std::ostream &out, std::ostream &err)
{
    StopTarget target;
    const SignalWatcher watcher([&target](int signal) {
        if (!target.stop())
            ::_exit(128 + signal);
    });
    StationSearch search(searchSettings(options), [&options](const LineParameters &parameters) {
        std::unique_ptr<PortLine> line = makeLine(options.port, parameters);
        return line->ensureOpen() ? std::move(line) : std::unique_ptr<PortLine>();
    });
    const StopTarget::Scope scope(target, [&search] { search.stop(); });
    const bool lines = options.form == OutputForm::Lines;
    const bool showsProgress = ::isatty(STDERR_FILENO) && !options.quiet;
    const std::string wipe = showsProgress ? "\r\x1b[K" : "";
    std::vector<FoundStation> all;
    search.onFound([&](const FoundStation &found) {
        all.push_back(found);
        err << wipe << std::flush;
        out << (lines ? foundText(found) : foundJson(found)) << '\n' << std::flush;
    });
    search.onProgress([&](const SearchProgress &progress) {
        if (showsProgress || (progress.asked == 0 && !options.quiet))
            err << wipe << progressText(progress) << (showsProgress ? "" : "\n") << std::flush;
    });
    search.run();
    err << wipe << std::flush;
    const Diagnosis why = diagnosisOf(search);
    if (why.cause != Cause::None) {
        err << (all.empty() ? "nobody answers: " : "the search was cut short: ") << diagnosisText(why) << '\n';
        if (!lines)
            out << diagnosisJson(why) << '\n';
    }
    if (lines && !options.quiet && !all.empty() && why.cause != Cause::PortLost)
        out << "go on with: " << commandText(options, all.front()) << '\n';
    return why.cause == Cause::None ? 0 : 1;
}

} // namespace rtu
