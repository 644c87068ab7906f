#include "host/cli/options.h"

#include "host/text/numbers.h"
#include "host/cli/help_text.h"
#include "host/cli/negative_values.h"
#include "host/tags/tag.h"
#include "version.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>
#include <memory>

namespace rtu {

namespace {

/** Refuses what is no number within the limits, in words that say what would be right. */
CLI::Validator numberFrom(double lowest, double highest, bool whole = false)
{
    const auto judge = [=](std::string &text) {
        double number = 0;
        if (readNumber(text, &number) && number >= lowest && number <= highest
            && (!whole || number == std::floor(number)))
            return std::string();
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

/** Raw results of CLI11 that need a second look. */
struct Raw
{
    std::string stations = "1";
    std::string parity = "even";
    int once = 0;
    bool json = false;
    bool csv = false;
    bool highWordFirst = false;
    std::string rawProperty;
    std::string swapStations;
    std::string plan;
    std::string recipeRead;
    std::string recipeWrite;
    bool conditionRead = false;
    bool listTypes = false;
    std::string describe;
    std::string check;
    std::string multiCopy;
    std::vector<std::string> serve;
    std::string listen;
    std::string find;
    std::vector<std::string> arguments;
    double pollMilliseconds = 1000;
    double silenceMilliseconds = -1;
    double gapMilliseconds = -1;
    double lateGuardMilliseconds = -1;
    double broadcastMilliseconds = 100;
};

class Parser
{
public:
    Parser();

    Options parse(int argc, const char *const *argv);
    std::string help() const { return m_app.help(); }

private:
    void addWhat();
    void addLine();
    void addHow();
    void addDriver();
    void addOutput();
    void addEditor();
    void addSimulation();
    void addListening();

    bool given(const char *name) const { return m_app.count(name) > 0; }
    void run(int argc, const char *const *argv);
    std::string explained(const CLI::ParseError &error) const;
    void settle();
    void settleMode();
    void settleProperty();
    void settlePlan();
    void settleArguments();
    void check() const;
    void checkProperty() const;
    void checkLimit() const;
    bool usesLine() const;
    void checkMode() const;
    void checkSimulation() const;
    void checkListening() const;
    static void refusePair(bool first, const char *firstName, bool second, const char *secondName);
    bool needsPort() const;

    CLI::App m_app;
    Options m_options;
    Raw m_raw;
};

Parser::Parser() : m_app(HelpDescription, "rtuhost")
{
    m_app.formatter(std::make_shared<HelpFormatter>());
    m_app.get_formatter()->column_width(26);
    m_app.footer(HelpFooter);
    m_app.set_help_flag("-h,--help", "This text");
    m_app.set_version_flag("-V,--version", "rtuhost " MODBUS_RTU_VERSION_TEXT)->description("The version");
    m_app.add_option("PORT", m_raw.arguments,
                     "Serial port, pseudo-terminal or tcp:HOST:PORT, then addresses and values");
    addWhat();
    addLine();
    addHow();
    addDriver();
    addOutput();
    addEditor();
    addSimulation();
    addListening();
}

void Parser::addWhat()
{
    const char *const group = "What to read and write";
    m_app.add_option("-a", m_raw.stations, "Stations, as in 1,3,5-7; 0 broadcasts writes (1)")
        ->type_name("STATIONS")
        ->group(group);
    m_app
        .add_option("-t", m_options.typeText,
                    "0 coils, 1 discrete inputs, 3 input registers, 4 holding registers (4); with a format behind a "
                    "colon: int16, hex, bin for a register, int, float for two")
        ->type_name("TABLE")
        ->group(group);
    m_app.add_option("-r", m_options.referenceText, "First address, counted from 1, or a list of them (1)")
        ->type_name("ADDRESS")
        ->group(group);
    m_app.add_flag("-0", m_options.zeroBased, "-r counts from 0")->group(group);
    m_app.add_option("-c", m_options.values, "Number of values from each address (1)")
        ->type_name("N")
        ->check(wholeNumberFrom(1, 65536))
        ->group(group);
    m_app
        .add_flag("-B,--high-word-first", m_raw.highWordFirst,
                  "32-bit values have the high word in the first register (usual)")
        ->group(group);
    m_app.add_flag("--low-word-first", m_options.lowWordFirst, "32-bit values have the low word in the first register")
        ->group(group);
    m_app
        .add_option("--tags", m_options.tagFile,
                    "CSV file with columns name, station, type, address, count, format, scale, unit")
        ->type_name("FILE")
        ->group(group);
    m_app.add_flag("--condition-read", m_raw.conditionRead, "Read once by one-off reads instead of the cyclic plan")
        ->group(group);
    m_app
        .add_option("--recipe-read", m_raw.recipeRead, "Read the addresses (or those in FILE) as a recipe and save it")
        ->type_name("FILE")
        ->group(group);
    m_app.add_option("--recipe-write", m_raw.recipeWrite, "Write the recipe in FILE to the slaves")
        ->type_name("FILE")
        ->group(group);
}

void Parser::addLine()
{
    const char *const group = "Line";
    m_app.add_option("-b", m_options.line.baud, "Baud rate; 0: no pace and no silences (19200)")
        ->type_name("BAUD")
        ->check(wholeNumberFrom(0, 4000000))
        ->group(group);
    m_app.add_option("-d", m_options.line.dataBits, "Data bits, 7 or 8 (8)")
        ->type_name("BITS")
        ->check(wholeNumberFrom(7, 8))
        ->group(group);
    m_app.add_option("-s", m_options.line.stopBits, "Stop bits, 1 or 2 (1)")
        ->type_name("BITS")
        ->check(wholeNumberFrom(1, 2))
        ->group(group);
    m_app.add_option("-P,-p", m_raw.parity, "Parity: none, even or odd (even)")
        ->type_name("PARITY")
        ->check(CLI::IsMember({"none", "even", "odd"}, CLI::ignore_case))
        ->group(group);
    m_app
        .add_option("--silence", m_raw.silenceMilliseconds,
                    "Silence before each frame in ms (3.5 characters, 1.75 above 19200 baud)")
        ->type_name("MS")
        ->check(numberFrom(0, LongestMilliseconds))
        ->group(group);
    m_app
        .add_option("--gap", m_raw.gapMilliseconds,
                    "Pause in ms that ends a reply of other than the expected length (50)")
        ->type_name("MS")
        ->check(numberFrom(0.001, LongestMilliseconds))
        ->group(group);
    m_app
        .add_option("--late-guard", m_raw.lateGuardMilliseconds,
                    "How long in ms a late reply is listened for before the next request (as -o)")
        ->type_name("MS")
        ->check(numberFrom(0, LongestMilliseconds))
        ->group(group);
    m_app.add_option("--broadcast-delay", m_raw.broadcastMilliseconds, "Pause in ms after a broadcast (100)")
        ->type_name("MS")
        ->check(numberFrom(0, LongestMilliseconds))
        ->group(group);
    m_app.add_flag("--remove-echo", m_options.removeEcho, "The RS-485 adapter hears itself: drop the echo")
        ->group(group);
}

void Parser::addHow()
{
    const char *const group = "How long and how often";
    m_app.add_option("-l", m_raw.pollMilliseconds, "Poll interval in ms, from round to round (1000)")
        ->type_name("MS")
        ->check(numberFrom(0, LongestMilliseconds))
        ->group(group);
    m_app.add_option("-o", m_options.replyTimeout, "Reply time-out in seconds (1)")
        ->type_name("SECONDS")
        ->check(numberFrom(0.001, 3600.0))
        ->group(group);
    m_app.add_flag("-1", m_raw.once, "One round, then end")->group(group);
    m_app.add_option("--count", m_options.rounds, "So many rounds, then end")
        ->type_name("N")
        ->check(wholeNumberFrom(1, 1000000000))
        ->group(group);
}

void Parser::addDriver()
{
    const char *const group = "Driver";
    m_app
        .add_option("--driver", m_options.driverPath,
                    "The library, or its folder (beside the program, its lib folders, then the system)")
        ->type_name("PATH")
        ->group(group);
    m_app
        .add_option("--property", m_raw.rawProperty,
                    "Property string for the driver as it is: link#local#spare#attempts#words[#swap_stations]")
        ->type_name("TEXT")
        ->group(group);
    m_app.add_option("--link-id", m_options.property.linkId, "Link id that changes are reported with (1)")
        ->type_name("N")
        ->check(wholeNumberFrom(-LargestInt, LargestInt))
        ->group(group);
    m_app.add_flag("--local-only", m_options.property.localWriteOnly, "Writes change the cache, nothing is sent")
        ->group(group);
    m_app.add_option("--retries", m_options.property.attempts, "Attempts before a request is given up (3)")
        ->type_name("N")
        ->check(wholeNumberFrom(0, 1000))
        ->group(group);
    m_app.add_option("--max-words", m_options.property.maxWords, "Longest block in registers, coils: bits (120)")
        ->type_name("N")
        ->check(wholeNumberFrom(2, 500))
        ->group(group);
    m_app.add_flag("--swap", m_options.property.swapAll, "Recipes: low word of 32-bit values first, all stations")
        ->group(group);
    m_app.add_option("--swap-stations", m_raw.swapStations, "The same for these stations, as in 1,5")
        ->type_name("STATIONS")
        ->group(group);
}

void Parser::addOutput()
{
    const char *const group = "Output";
    m_app.add_flag("-v,--verbose", m_options.trace, "Print each frame, decoded")->group(group);
    m_app.add_flag("-q,--quiet", m_options.quiet, "Values and errors only")->group(group);
    m_app.add_flag("--json", m_raw.json, "One JSON object a line")->group(group);
    m_app.add_flag("--csv", m_raw.csv, "CSV with time stamps")->group(group);
    m_app.add_flag("--stats", m_options.printStatistics, "Statistics at the end")->group(group);
    m_app.add_flag("--live", m_options.live, "Live view also with -1 or --count")->group(group);
    m_app.add_flag("--plain", m_options.plain, "Lines also on a terminal")->group(group);
}

void Parser::addEditor()
{
    const char *const group = "Without a line";
    m_app.add_option("--plan", m_raw.plan, "The cyclic plan that the driver makes; as a picture with FILE.svg")
        ->type_name("[FILE.svg]")
        ->expected(0, 1)
        ->group(group);
    m_app.add_flag("--list-types", m_raw.listTypes, "The register types")->group(group);
    m_app.add_option("--describe", m_raw.describe, "Notation and range of a register type")
        ->type_name("TYPE")
        ->group(group);
    m_app.add_option("--check", m_raw.check, "What the driver says about an address (with -c values)")
        ->type_name("ADDRESS")
        ->group(group);
    m_app.add_option("--multi-copy", m_raw.multiCopy, "Step an address for copies")->type_name("ADDRESS")->group(group);
    m_app.add_option("--copies", m_options.copies, "Number of copies (10)")
        ->type_name("N")
        ->check(wholeNumberFrom(0, 65536))
        ->group(group);
    m_app.add_option("--step", m_options.step, "Step from copy to copy (1)")
        ->type_name("N")
        ->check(wholeNumberFrom(-LargestInt, LargestInt))
        ->group(group);
}

void Parser::addSimulation()
{
    const char *const group = "Simulated slaves";
    m_app.add_option("--sim", m_options.simFile, "Simulated slaves described in FILE, in place of PORT")
        ->type_name("FILE")
        ->group(group);
    m_app
        .add_option(
            "--serve", m_raw.serve,
            "Put simulated slaves on a port for another master; pty or pty:LINK as PORT makes a pseudo-terminal")
        ->type_name("FILE PORT")
        ->expected(2)
        ->group(group);
    m_app
        .add_option("--fault", m_options.faults,
                    "A fault of the slaves, as in \"wrong-crc rate 0.1 seed 7\"; may be given again")
        ->type_name("TEXT")
        ->allow_extra_args(false)
        ->group(group);
}

void Parser::addListening()
{
    m_app
        .add_option("--find", m_raw.find, "Who answers on a port, and with which line parameters; only reads are sent")
        ->type_name("PORT")
        ->group("Line");
    const char *const group = "Traffic of others, and captures";
    m_app.add_option("--listen", m_raw.listen, "Listen to another master and its slaves; never sends")
        ->type_name("PORT")
        ->group(group);
    m_app
        .add_option("--pcap", m_options.captureFile,
                    "Write what goes over the line to a new FILE, - for a pipe, that Wireshark reads")
        ->type_name("FILE")
        ->group(group);
    m_app.add_option("--replay", m_options.replayFile, "Read such a capture as if it were heard now")
        ->type_name("FILE")
        ->group(group);
}

void Parser::run(int argc, const char *const *argv)
{
    const auto takesArgument = [this](const std::string &text) {
        const CLI::Option *option = text[0] == '-' ? m_app.get_option_no_throw(text) : nullptr;
        return option && option->get_items_expected_min() > 0;
    };
    try {
        std::vector<std::string> arguments =
            markNegativeValues(std::vector<std::string>(argv + std::min(argc, 1), argv + argc), takesArgument);
        std::reverse(arguments.begin(), arguments.end()); // CLI11 takes them from the end
        m_app.parse(std::move(arguments));
    } catch (const std::invalid_argument &error) {
        throw Misuse(error.what());
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == 0) {
            m_options.mode = Mode::Nothing;
            m_app.exit(error);
            return;
        }
        throw Misuse(explained(error) + "; see rtuhost --help");
    }
}

/** CLI11's words, except where they tell too little. */
std::string Parser::explained(const CLI::ParseError &error) const
{
    const std::string text = error.what();
    const std::string name = text.substr(0, text.find(':'));
    const CLI::Option *option = m_app.get_option_no_throw(name);
    if (error.get_name() == "ArgumentMismatch" && option)
        return name + " takes " + option->get_type_name();
    return text;
}

Options Parser::parse(int argc, const char *const *argv)
{
    run(argc, argv);
    if (m_options.mode == Mode::Nothing)
        return m_options;
    try {
        settle();
    } catch (const std::invalid_argument &error) {
        throw Misuse(error.what());
    }
    check();
    return m_options;
}

void Parser::settle()
{
    m_options.stations = parseNumberList(m_raw.stations, 0, HighestStation, "station");
    m_options.baudGiven = given("-b");
    m_options.parityGiven = given("-P");
    m_options.stopBitsGiven = given("-s");
    m_options.stationsGiven = given("-a");
    m_options.timeoutGiven = given("-o");
    m_options.line.parity = static_cast<char>(std::toupper(m_raw.parity[0]));
    m_options.typeOrReferenceGiven = given("-t") || given("-r");
    m_options.pollInterval = m_raw.pollMilliseconds / 1000;
    m_options.silence = m_raw.silenceMilliseconds / 1000;
    m_options.replyGap = m_raw.gapMilliseconds / 1000;
    m_options.lateGuard = m_raw.lateGuardMilliseconds / 1000;
    m_options.broadcastDelay = m_raw.broadcastMilliseconds / 1000;
    if (m_raw.once > 0)
        m_options.rounds = 1;
    m_options.form = m_raw.json ? OutputForm::Json : m_raw.csv ? OutputForm::Csv : OutputForm::Lines;
    settleMode();
    settlePlan();
    settleProperty();
    settleArguments();
}

void Parser::settleMode()
{
    struct Choice
    {
        bool chosen;
        Mode mode;
        const std::string *subject;
        std::string *target;
    };
    const std::string none;
    const Choice choices[] = {
        {m_raw.conditionRead, Mode::ConditionRead, nullptr, nullptr},
        {given("--recipe-read"), Mode::RecipeRead, &m_raw.recipeRead, &m_options.recipeFile},
        {given("--recipe-write"), Mode::RecipeWrite, &m_raw.recipeWrite, &m_options.recipeFile},
        {given("--plan"), Mode::Plan, nullptr, nullptr},
        {m_raw.listTypes, Mode::ListTypes, nullptr, nullptr},
        {given("--describe"), Mode::Describe, &m_raw.describe, &m_options.subject},
        {given("--check"), Mode::Check, &m_raw.check, &m_options.subject},
        {given("--multi-copy"), Mode::MultiCopy, &m_raw.multiCopy, &m_options.subject},
        {given("--serve"), Mode::Serve, nullptr, nullptr},
        {given("--listen"), Mode::Listen, &m_raw.listen, &m_options.port},
        {given("--find"), Mode::Find, &m_raw.find, &m_options.port},
        {given("--replay"), Mode::Replay, nullptr, nullptr},
    };
    for (const Choice &choice : choices) {
        if (!choice.chosen)
            continue;
        if (m_options.mode != Mode::Poll)
            throw Misuse("two things at once: choose one of --condition-read, --recipe-read, --recipe-write, --plan, "
                         "--list-types, --describe, --check, --multi-copy, --serve, --listen, --replay, --find");
        m_options.mode = choice.mode;
        if (choice.target)
            *choice.target = *choice.subject;
    }
}

/** What follows --plan is a picture's name, or already the first address. */
void Parser::settlePlan()
{
    if (m_raw.plan.empty())
        return;
    const std::string ending = ".svg";
    std::string lowered = m_raw.plan;
    for (char &c : lowered)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    const bool picture =
        lowered.size() > ending.size() && lowered.compare(lowered.size() - ending.size(), ending.size(), ending) == 0;
    if (picture)
        m_options.planPicture = m_raw.plan;
    else
        m_raw.arguments.insert(m_raw.arguments.begin(), m_raw.plan);
}

void Parser::settleProperty()
{
    if (!m_raw.swapStations.empty())
        m_options.property.swapStations = parseNumberList(m_raw.swapStations, 0, 255, "station");
    if (given("--property"))
        m_options.property.adopt(m_raw.rawProperty);
}

bool Parser::usesLine() const
{
    switch (m_options.mode) {
    case Mode::Poll:
    case Mode::ConditionRead:
    case Mode::RecipeRead:
    case Mode::RecipeWrite:
        return true;
    default:
        return false;
    }
}

bool Parser::needsPort() const
{
    return usesLine() && m_options.simFile.empty();
}

void Parser::settleArguments()
{
    for (const std::string &argument : m_raw.arguments)
        m_options.arguments.push_back(unmarked(argument));
    if (m_options.mode == Mode::Serve) {
        m_options.serveFile = m_raw.serve[0];
        m_options.port = m_raw.serve[1];
    }
    if (!needsPort())
        return;
    if (m_options.arguments.empty())
        throw Misuse(std::string("no port given: ") + HelpUsage + ", or --sim FILE for simulated slaves");
    m_options.port = m_options.arguments.front();
    m_options.arguments.erase(m_options.arguments.begin());
}

void Parser::check() const
{
    refusePair(m_raw.json, "--json", m_raw.csv, "--csv");
    refusePair(m_raw.highWordFirst, "-B", m_options.lowWordFirst, "--low-word-first");
    refusePair(m_options.live, "--live", m_options.plain, "--plain");
    refusePair(m_raw.once, "-1", given("--count"), "--count");
    checkProperty();
    checkLimit();
    checkMode();
    checkSimulation();
    checkListening();
}

void Parser::refusePair(bool first, const char *firstName, bool second, const char *secondName)
{
    if (first && second)
        throw Misuse(firstName + std::string(" and ") + secondName + " exclude each other");
}

void Parser::checkProperty() const
{
    if (!given("--property"))
        return;
    if (m_raw.rawProperty.empty())
        throw Misuse("--property is empty; a property string is written as 1#0#0#3#120#0");
    for (const char *field : {"--link-id", "--local-only", "--retries", "--max-words", "--swap", "--swap-stations"}) {
        if (given(field))
            throw Misuse("--property is the whole string: change it there and leave out " + std::string(field));
    }
}

void Parser::checkLimit() const
{
    const int words = m_options.property.maxWords;
    if (usesLine() && (words < 2 || words > 120))
        throw Misuse(
            "a longest block of " + std::to_string(words)
            + ": slaves take up to 120 registers, and 32-bit values need 2; --plan shows what others would do");
}

/** What would be passed over in silence. */
void Parser::checkMode() const
{
    const Mode mode = m_options.mode;
    const std::string surplus = m_options.arguments.empty() ? std::string() : m_options.arguments.front();
    if (mode != Mode::Poll && given("--count"))
        throw Misuse("--count is for polling; leave it out here");
    for (const char *option : {"--copies", "--step"}) {
        if (mode != Mode::MultiCopy && given(option))
            throw Misuse(option + std::string(" goes with --multi-copy ADDRESS"));
    }
    if (mode == Mode::RecipeWrite && (!surplus.empty() || !m_options.tagFile.empty() || m_options.typeOrReferenceGiven))
        throw Misuse("--recipe-write takes the registers from its file; leave out addresses, -t, -r and --tags");
    const bool oneSubject =
        mode == Mode::Describe || mode == Mode::Check || mode == Mode::MultiCopy || mode == Mode::ListTypes;
    if (oneSubject && !surplus.empty())
        throw Misuse("\"" + surplus
                     + "\" is too much: --list-types takes nothing, --describe, --check and --multi-copy "
                       "one type or address");
}

void Parser::checkSimulation() const
{
    const std::string surplus = m_options.arguments.empty() ? std::string() : m_options.arguments.front();
    const bool serves = m_options.mode == Mode::Serve;
    if (!m_options.faults.empty() && m_options.simFile.empty() && !serves)
        throw Misuse("--fault is for simulated slaves: give --sim FILE or --serve FILE PORT as well");
    if (serves && !surplus.empty())
        throw Misuse("--serve takes no addresses: \"" + surplus + "\" is too much");
    if (serves && m_options.port == "pty:")
        throw Misuse("\"pty:\" wants the name of a link, such as pty:/tmp/slaves");
    if (!m_options.simFile.empty() && surplus.find('/') == 0)
        throw Misuse("--sim stands in place of a port: leave out " + surplus);
}

void Parser::checkListening() const
{
    if (m_options.mode == Mode::Find && !m_options.arguments.empty())
        throw Misuse("--find asks for register 1 alone: \"" + m_options.arguments.front() + "\" is too much");
    if (m_options.mode == Mode::Listen && !m_options.arguments.empty())
        throw Misuse("--listen tells all that is heard: \"" + m_options.arguments.front() + "\" is too much");
    if (m_options.mode == Mode::Listen && m_options.form == OutputForm::Csv)
        throw Misuse("--listen has no CSV; --json has one object a transaction");
    if (given("--pcap") && m_options.mode != Mode::Listen && !usesLine())
        throw Misuse("--pcap captures a line: give --listen PORT, or a port and what to poll");
    if (m_options.captureFile == "-" && m_options.form == OutputForm::Json)
        throw Misuse("--pcap - has standard output for itself: leave out --json, or give the capture a file");
}

} // namespace

Options parseOptions(int argc, const char *const *argv)
{
    Parser parser;
    return parser.parse(argc, argv);
}

std::string helpText()
{
    return Parser().help();
}

} // namespace rtu
