#include "host/cli/option_groups.h"

#include "host/cli/negative_values.h"
#include "host/tags/tag.h"
#include "host/text/numbers.h"
#include "host/text/output_path.h"

#include <cctype>
#include <cmath>
#include <limits>

namespace rtu {

namespace {

/** Refuses what is no number within the limits, in words that say what would be right. */
CLI::Validator numberFrom(double lowest, double highest, bool whole = false)
{
    const auto judge = [=](std::string &text) {
        double number = 0;
        if (readNumber(text, &number) && number >= lowest && number <= highest
            && (!whole || number == std::floor(number))) {
            text = general(number, 15); // CLI11 reads 010 as 8
            return std::string();
        }
        return "\"" + text + "\" is not a " + (whole ? "whole " : "") + "number from " + general(lowest, 15) + " to "
               + general(highest, 15);
    };
    return CLI::Validator(judge, "");
}

CLI::Validator wholeNumberFrom(double lowest, double highest)
{
    return numberFrom(lowest, highest, true);
}

const double LongestMilliseconds = 24 * 3600 * 1000.0;
const double LargestInt = std::numeric_limits<int>::max();

/** Lines that were written for other masters. */
std::string judgeProtocol(const std::string &text)
{
    if (text == "rtu")
        return std::string();
    if (text == "tcp")
        return "tcp is another protocol, which this program does not speak; RTU frames through a device server are "
               "polled at the port tcp:HOST:PORT";
    return "\"" + text + "\" is not a protocol: this program speaks rtu";
}

std::string judgeParity(const std::string &text)
{
    const std::string wrong = CLI::IsMember({"none", "even", "odd"}, CLI::ignore_case)(text);
    double number = 0;
    if (wrong.empty() || !readNumber(text, &number))
        return wrong;
    return "\"" + text + "\" is no parity (none, even, odd); -p names no TCP port here, tcp:HOST:" + text + " does";
}

/** An option of lines for other masters that has no place here; why is all that it does. */
void addExplained(CLI::App &app, const std::string &name, const std::string &reason)
{
    app.add_flag_callback(name, [name, reason] { throw CLI::ValidationError(name, reason); })->group("");
}

template <typename Value>
void addMilliseconds(CLI::App &app, const char *group, const char *name, Value &value, const char *purpose,
                     double shortest = 0)
{
    app.add_option(name, value, purpose)
        ->type_name("MS")
        ->transform(numberFrom(shortest, LongestMilliseconds))
        ->group(group);
}

bool given(const CLI::App &app, const char *name)
{
    return app.count(name) > 0;
}

} // namespace

void WhatOptions::declare(CLI::App &app, Options &options)
{
    const char *const group = "What to read and write";
    app.add_option("-a", stations, "Stations of addresses given here, as in 1,3,5-7; 0 broadcasts writes (1)")
        ->type_name("STATIONS")
        ->group(group);
    app.add_option("-t", options.typeText,
                   "0 coils, 1 discrete inputs, 3 input registers, 4 holding registers (4); with a format behind a "
                   "colon: int16, hex, bin for a register, int, float for two")
        ->type_name("TABLE")
        ->group(group);
    app.add_option("-r", options.referenceText, "First address, counted from 1, or a list of them (1)")
        ->type_name("ADDRESS")
        ->group(group);
    app.add_flag("-0", options.zeroBased, "-r counts from 0")->group(group);
    app.add_option("-c", options.values, "Number of values from each address (1)")
        ->type_name("N")
        ->transform(wholeNumberFrom(1, 65536))
        ->group(group);
    CLI::Option *const highFirst = app.add_flag("-B,--high-word-first", highWordFirst,
                                                "32-bit values have the high word in the first register (usual)")
                                       ->group(group);
    app.add_flag("--low-word-first", options.lowWordFirst, "32-bit values have the low word in the first register")
        ->excludes(highFirst)
        ->group(group);
    app.add_option("--tags", options.tagFile,
                   "CSV file with columns name, station, type, address, count, format, scale, unit")
        ->type_name("FILE")
        ->group(group);
    app.add_flag("--verify", options.verify, "Read back what was written, and compare")->group(group);
    app.add_flag("--condition-read", conditionRead, "Read once by one-off reads instead of the cyclic plan")
        ->group(group);
    app.add_option("--recipe-read", recipeRead, "Read the addresses (or those in FILE) as a recipe and save it")
        ->type_name("FILE")
        ->group(group);
    app.add_option("--recipe-write", recipeWrite, "Write the recipe in FILE to the slaves")
        ->type_name("FILE")
        ->group(group);
    app.add_option("--recipe-compare", recipeCompare, "Compare the recipe in FILE with the slaves, row by row")
        ->type_name("FILE")
        ->group(group);
}

void WhatOptions::settle(const CLI::App &app, Options &options) const
{
    options.stations = parseNumberList(stations, 0, HighestStation, "station");
    options.stationsGiven = given(app, "-a");
    options.wordOrderGiven = given(app, "-B") || given(app, "--low-word-first");
    options.typeOrReferenceGiven = given(app, "-t") || given(app, "-r");
}

void WhatOptions::addChoices(const CLI::App &app, ModeChoices &choices) const
{
    if (conditionRead)
        choices.push_back({Mode::ConditionRead, ""});
    if (given(app, "--recipe-read"))
        choices.push_back({Mode::RecipeRead, recipeRead, &Options::recipeFile});
    if (given(app, "--recipe-write"))
        choices.push_back({Mode::RecipeWrite, recipeWrite, &Options::recipeFile});
    if (given(app, "--recipe-compare"))
        choices.push_back({Mode::RecipeCompare, recipeCompare, &Options::recipeFile});
}

void LineOptions::declare(CLI::App &app, Options &options)
{
    const char *const group = "Line";
    app.add_option("-b", options.bauds, "Baud rate; 0: no pace and no silences (19200)")
        ->type_name("BAUD")
        ->delimiter(',') // several are for --find
        ->allow_extra_args(false)
        ->transform(wholeNumberFrom(0, 4000000))
        ->group(group);
    app.add_option("-d", options.line.dataBits, "Data bits, 7 or 8 (8)")
        ->type_name("BITS")
        ->transform(wholeNumberFrom(7, 8))
        ->group(group);
    app.add_option("-s", options.line.stopBits, "Stop bits, 1 or 2 (1)")
        ->type_name("BITS")
        ->transform(wholeNumberFrom(1, 2))
        ->group(group);
    app.add_option("-P,-p", parity, "Parity: none, even or odd (even)")
        ->type_name("PARITY")
        ->check(judgeParity)
        ->group(group);
    app.add_option("-m", protocol, "The protocol: rtu")->type_name("rtu")->check(judgeProtocol)->group(group);
    CLI::Option *const rtsWhenSending =
        app.add_flag("-F", options.line.rs485, "RS-485: the kernel switches RTS on while sending")->group(group);
    app.add_flag("-R", options.line.rtsInverted, "The same, RTS being off while sending, on afterwards")
        ->excludes(rtsWhenSending)
        ->group(group);
    addExplained(app, "-u", "stations are not asked what they are; --probe STATION tells what one takes");
    addExplained(app, "-W", "one register is always written with function 6, several with 16");
    addMilliseconds(app, group, "--silence", silenceMilliseconds,
                    "Silence before each frame in ms (3.5 characters, 1.75 above 19200 baud)");
    addMilliseconds(app, group, "--gap", gapMilliseconds,
                    "Pause in ms that ends a reply of other than the expected length (50)", 0.001);
    addMilliseconds(app, group, "--late-guard", lateGuardMilliseconds,
                    "How long in ms a late reply is listened for before the next request (as -o)");
    addMilliseconds(app, group, "--broadcast-delay", broadcastMilliseconds, "Pause in ms after a broadcast (100)");
    app.add_flag("--remove-echo", options.removeEcho, "The RS-485 adapter hears itself: drop the echo")->group(group);
}

void LineOptions::settle(const CLI::App &app, Options &options) const
{
    if (!options.bauds.empty())
        options.line.baud = options.bauds.front();
    options.parityGiven = given(app, "-P");
    options.stopBitsGiven = given(app, "-s");
    options.line.rs485 = given(app, "-F") || given(app, "-R");
    options.line.parity = static_cast<char>(std::toupper(parity[0]));
    options.silence = silenceMilliseconds / 1000;
    options.replyGap = gapMilliseconds / 1000;
    options.lateGuard = lateGuardMilliseconds / 1000;
    options.broadcastDelay = broadcastMilliseconds / 1000;
}

void PaceOptions::declare(CLI::App &app, Options &options)
{
    const char *const group = "How long and how often";
    addMilliseconds(app, group, "-l", pollMilliseconds, "Poll interval in ms, from round to round (1000)");
    app.add_option("-o", options.replyTimeout, "Reply time-out in seconds (1)")
        ->type_name("SECONDS")
        ->transform(numberFrom(0.001, 3600.0))
        ->group(group);
    CLI::Option *const endsAfterOne = app.add_flag("-1", once, "One round, then end")->group(group);
    app.add_option("--count", options.rounds, "So many rounds, then end")
        ->type_name("N")
        ->transform(wholeNumberFrom(1, 1000000000))
        ->excludes(endsAfterOne)
        ->group(group);
}

void PaceOptions::settle(const CLI::App &app, Options &options) const
{
    options.timeoutGiven = given(app, "-o");
    options.pollInterval = pollMilliseconds / 1000;
    if (once > 0)
        options.rounds = 1;
}

void DriverOptions::declare(CLI::App &app, Options &options)
{
    const char *const group = "Driver";
    app.add_option("--driver", options.driverPath,
                   "The library, or its folder (beside the program, its lib folders, then the system)")
        ->type_name("PATH")
        ->group(group);
    app.add_option("--property", property,
                   "Property string for the driver as it is: link#local#spare#attempts#words[#swap_stations]")
        ->type_name("TEXT")
        ->group(group);
    app.add_flag("--local-only", options.property.localWriteOnly, "Writes change the cache, nothing is sent")
        ->group(group);
    app.add_option("--retries", options.property.attempts, "Attempts before a request is given up (3)")
        ->type_name("N")
        ->transform(wholeNumberFrom(0, 1000))
        ->group(group);
    app.add_option("--max-words", options.property.maxWords, "Longest block in registers, coils: bits (120)")
        ->type_name("N")
        ->transform(wholeNumberFrom(2, 500))
        ->group(group);
    app.add_flag("--swap", options.property.swapAll, "Recipes: low word of 32-bit values first, all stations")
        ->group(group);
    app.add_option("--swap-stations", swapStations, "The same for these stations, as in 1,5")
        ->type_name("STATIONS")
        ->group(group);
}

void DriverOptions::settle(const CLI::App &app, Options &options) const
{
    if (!swapStations.empty())
        options.property.swapStations = parseNumberList(swapStations, 0, 255, "station");
    if (given(app, "--property"))
        options.property.adopt(property);
}

void OutputOptions::declare(CLI::App &app, Options &options)
{
    const char *const group = "Output";
    app.add_flag("-v,--verbose", options.trace, "Print each frame, decoded")->group(group);
    app.add_flag("-q,--quiet", options.quiet, "Values and errors only")->group(group);
    CLI::Option *const toJson =
        app.add_flag("--json", json, "One JSON object a line; --json=FILE: into a new FILE, beside the rest")
            ->group(group);
    app.add_flag("--csv", csv, "CSV with time stamps; --csv=FILE: as --json=FILE")->excludes(toJson)->group(group);
    app.add_option("--log", options.logFile,
                   "Add a row for each value, write and event to FILE.csv or FILE.jsonl, also beside the live view")
        ->type_name("FILE")
        ->group(group);
    app.add_flag("--stats", options.printStatistics, "Statistics at the end")->group(group);
    CLI::Option *const live = app.add_flag("--live", options.live, "Live view also with -1 or --count")->group(group);
    app.add_flag("--plain", options.plain, "Lines also on a terminal")->excludes(live)->group(group);
    app.add_flag("--force", options.force, "Overwrite files that exist (recipes, pictures, captures, --json=FILE)")
        ->group(group);
}

/** --json and --csv are for standard output, unless a file is named behind an equals sign. */
void OutputOptions::settle(const CLI::App &app, Options &options) const
{
    const std::string flagAlone = "true"; // as CLI11 has it
    const std::string &file = given(app, "--json") ? json : csv;
    const OutputForm form = given(app, "--json") ? OutputForm::Json : OutputForm::Csv;
    if ((given(app, "--json") || given(app, "--csv")) && file == flagAlone) {
        options.form = form;
    } else if (!file.empty()) {
        options.recordFile = file;
        options.recordForm = form;
    }
    if (hasEnding(options.logFile, ".json") || hasEnding(options.logFile, ".jsonl"))
        options.logForm = OutputForm::Json;
}

void EditorOptions::declare(CLI::App &app, Options &options)
{
    const char *const group = "Without a line";
    app.add_option("--plan", plan, "The cyclic plan that the driver makes; as a picture with FILE.svg")
        ->type_name("[FILE.svg]")
        ->expected(0, 1)
        ->group(group);
    app.add_flag("--list-types", listTypes, "The register types")->group(group);
    app.add_option("--describe", describe, "Notation and range of a register type")->type_name("TYPE")->group(group);
    app.add_option("--check", check, "What the driver says about addresses, ranges, and the tags of --tags")
        ->type_name("[ADDRESS...]")
        ->expected(0, 1)
        ->group(group);
    app.add_option("--multi-copy", multiCopy, "Step an address for copies")->type_name("ADDRESS")->group(group);
    app.add_option("--copies", options.copies, "Number of copies (10)")
        ->type_name("N")
        ->transform(wholeNumberFrom(0, 65536))
        ->group(group);
    app.add_option("--step", options.step, "Step from copy to copy (1)")
        ->type_name("N")
        ->transform(wholeNumberFrom(-LargestInt, LargestInt))
        ->group(group);
}

/** What follows --plan is a picture's name, or already the first address. */
void EditorOptions::settle(Options &options) const
{
    if (hasEnding(plan, ".svg"))
        options.planPicture = plan;
    else if (!plan.empty())
        options.arguments.insert(options.arguments.begin(), unmarked(plan));
}

void EditorOptions::addChoices(const CLI::App &app, ModeChoices &choices) const
{
    if (given(app, "--plan"))
        choices.push_back({Mode::Plan, ""});
    if (listTypes)
        choices.push_back({Mode::ListTypes, ""});
    if (given(app, "--describe"))
        choices.push_back({Mode::Describe, describe, &Options::subject});
    if (given(app, "--check"))
        choices.push_back({Mode::Check, check, &Options::subject});
    if (given(app, "--multi-copy"))
        choices.push_back({Mode::MultiCopy, multiCopy, &Options::subject});
}

void SimulationOptions::declare(CLI::App &app, Options &options)
{
    const char *const group = "Simulated slaves";
    app.add_option("--sim", options.simFile, "Simulated slaves described in FILE, in place of PORT")
        ->type_name("FILE")
        ->group(group);
    app.add_option("--serve", serve,
                   "Put simulated slaves on a port for another master; pty or pty:LINK as PORT makes a pseudo-terminal")
        ->type_name("FILE PORT")
        ->expected(2)
        ->group(group);
    app.add_option("--fault", options.faults,
                   "A fault of the slaves, as in \"wrong-crc rate 0.1 seed 7\"; may be given again")
        ->type_name("TEXT")
        ->allow_extra_args(false)
        ->group(group);
}

void SimulationOptions::settle(Options &options) const
{
    if (serve.empty())
        return;
    options.serveFile = serve[0];
    options.port = serve[1];
}

void SimulationOptions::addChoices(ModeChoices &choices) const
{
    if (!serve.empty())
        choices.push_back({Mode::Serve, ""});
}

void ListeningOptions::declare(CLI::App &app, Options &options)
{
    app.add_option("--find", find, "Who answers on a port, and with which line parameters; only reads are sent")
        ->type_name("PORT")
        ->expected(0, 1)
        ->group("Line");
    app.add_option("--probe", options.probeStation,
                   "What a station takes: blocks, holes, times, silence; only reads are sent. ADDRESS..LAST is the "
                   "range (4x1..120)")
        ->type_name("STATION")
        ->transform(wholeNumberFrom(1, HighestStation))
        ->group("Line");
    const char *const group = "Traffic of others, and captures";
    app.add_option("--listen", listen, "Listen to another master and its slaves; never sends")
        ->type_name("PORT")
        ->expected(0, 1)
        ->group(group);
    app.add_option("--pcap", options.captureFile,
                   "Write what goes over the line to a new FILE, - for a pipe, that Wireshark reads")
        ->type_name("FILE")
        ->group(group);
    app.add_option("--replay", options.replayFile, "Read such a capture as if it were heard now")
        ->type_name("FILE")
        ->group(group);
}

void ListeningOptions::addChoices(const CLI::App &app, ModeChoices &choices) const
{
    if (given(app, "--listen"))
        choices.push_back({Mode::Listen, listen, &Options::port});
    if (given(app, "--probe"))
        choices.push_back({Mode::Probe, ""});
    if (given(app, "--find"))
        choices.push_back({Mode::Find, find, &Options::port});
    if (given(app, "--replay"))
        choices.push_back({Mode::Replay, ""});
}

void OptionGroups::declare(CLI::App &app, Options &options)
{
    what.declare(app, options);
    line.declare(app, options);
    pace.declare(app, options);
    driver.declare(app, options);
    output.declare(app, options);
    editor.declare(app, options);
    simulation.declare(app, options);
    listening.declare(app, options);
}

void OptionGroups::settle(const CLI::App &app, Options &options) const
{
    what.settle(app, options);
    line.settle(app, options);
    pace.settle(app, options);
    settleMode(app, options);
    output.settle(app, options);
    editor.settle(options);
    driver.settle(app, options);
    simulation.settle(options);
}

void OptionGroups::settleMode(const CLI::App &app, Options &options) const
{
    ModeChoices choices;
    what.addChoices(app, choices);
    editor.addChoices(app, choices);
    simulation.addChoices(choices);
    listening.addChoices(app, choices);
    if (choices.size() > 1)
        throw Misuse("two things at once: choose one of --condition-read, --recipe-read, --recipe-write, "
                     "--recipe-compare, --plan, --list-types, --describe, --check, --multi-copy, --serve, "
                     "--listen, --replay, --find, --probe");
    if (choices.empty())
        return;
    const ModeChoice &choice = choices.front();
    options.mode = choice.mode;
    if (choice.target)
        options.*choice.target = choice.subject;
}

} // namespace rtu
