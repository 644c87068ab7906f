#include "options.h"

#include "version.h"

#include <CLI/CLI.hpp>

#include <cctype>
#include <memory>
#include <sstream>

namespace rtu {

namespace {

const char *const Usage = "rtuhost [OPTIONS] PORT [ADDRESS...] [VALUE...]";

const char *const Description = "Polls, reads and writes Modbus RTU slaves through the communication driver\n"
                                "libmodbus_rtu_master.so.1, loaded as an operator panel loads it.";

const char *const Footer = "Addresses are written as the driver writes them, counted from 1:\n"
                           "  4x100            holding register 100        0x5      coil 5\n"
                           "  4x_bit3.5        bit 5 of register 3         1x5      discrete input 5\n"
                           "  4x_double7       32 bits from register 7     3x20     input register 20\n"
                           "  4x1..10          ten registers               4x100:hex  a format (int16...)\n"
                           "  4x100@2,5-7      stations 2, 5, 6 and 7      4x100=12,13                writes\n"
                           "or as -t, -r and -c say: -t 4:float -r 7 -c 2 is 4x_double7..9:float.\n"
                           "Numbers after an address, or after -r, are written from there on. Put -- in\n"
                           "front of negative numbers.\n"
                           "\n"
                           "On a terminal the values are shown in a live view; in a pipe, and with -1,\n"
                           "--count, --json, --csv, --plain or -q, they are printed.\n"
                           "\n"
                           "Exit status: 0 no errors, 1 errors on the line or in files, 2 misuse.\n"
                           "\n"
                           "Examples:\n"
                           "  rtuhost -a 1 -b 19200 -t 4 -r 100 -c 10 /dev/ttyUSB0\n"
                           "  rtuhost -b 9600 -P none -s 2 /dev/ttyUSB0 4x100..109 4x_double7:float@2\n"
                           "  rtuhost -1 /dev/ttyUSB0 4x100=1234 0x5=on\n"
                           "  rtuhost --sim plant.sim --tags plant.csv\n"
                           "  rtuhost --plan plan.svg -b 19200 --tags plant.csv";

/** Breaks a text into lines of at most so many columns. */
std::string wrapped(const std::string &text, std::size_t width)
{
    std::istringstream words(text);
    std::string result;
    std::string word;
    std::size_t column = 0;
    while (words >> word) {
        const bool fits = column == 0 || column + 1 + word.size() <= width;
        result += column == 0 ? "" : fits ? " " : "\n";
        column = fits && column > 0 ? column + 1 + word.size() : word.size();
        result += word;
    }
    return result;
}

/** Help in 80 columns, with the name of an argument instead of its type and range. */
class HelpFormatter : public CLI::Formatter
{
public:
    std::string make_usage(const CLI::App *, std::string) const override
    {
        return std::string("\nUsage: ") + Usage + "\n";
    }

    std::string make_option_opts(const CLI::Option *option) const override
    {
        if (option->get_positional())
            return std::string();
        const std::string type = option->get_type_name();
        return type.empty() ? type : " " + type.substr(0, type.find(':'));
    }

    std::string make_option_desc(const CLI::Option *option) const override
    {
        return wrapped(option->get_description(), 80 - get_column_width());
    }
};

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

    bool given(const char *name) const { return m_app.count(name) > 0; }
    void run(int argc, const char *const *argv);
    void settle();
    void settleMode();
    void settleProperty();
    void settlePlan();
    void settleArguments();
    void check() const;
    bool needsPort() const;

    CLI::App m_app;
    Options m_options;
    Raw m_raw;
};

Parser::Parser() : m_app(Description, "rtuhost")
{
    m_app.formatter(std::make_shared<HelpFormatter>());
    m_app.get_formatter()->column_width(26);
    m_app.footer(Footer);
    m_app.set_help_flag("-h,--help", "This text");
    m_app.set_version_flag("-V,--version", "rtuhost " MODBUS_RTU_VERSION_TEXT)->description("The version");
    m_app.add_option("PORT", m_raw.arguments, "Serial port or pseudo-terminal, then addresses and values");
    addWhat();
    addLine();
    addHow();
    addDriver();
    addOutput();
    addEditor();
    addSimulation();
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
        ->check(CLI::Range(1, 65536))
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
        ->check(CLI::Range(0, 4000000))
        ->group(group);
    m_app.add_option("-d", m_options.line.dataBits, "Data bits, 7 or 8 (8)")
        ->type_name("BITS")
        ->check(CLI::Range(7, 8))
        ->group(group);
    m_app.add_option("-s", m_options.line.stopBits, "Stop bits, 1 or 2 (1)")
        ->type_name("BITS")
        ->check(CLI::Range(1, 2))
        ->group(group);
    m_app.add_option("-P,-p", m_raw.parity, "Parity: none, even or odd (even)")
        ->type_name("PARITY")
        ->check(CLI::IsMember({"none", "even", "odd"}, CLI::ignore_case))
        ->group(group);
    m_app
        .add_option("--silence", m_raw.silenceMilliseconds,
                    "Silence before each frame in ms (3.5 characters, 1.75 above 19200 baud)")
        ->type_name("MS")
        ->check(CLI::NonNegativeNumber)
        ->group(group);
    m_app
        .add_option("--gap", m_raw.gapMilliseconds,
                    "Pause in ms that ends a reply of other than the expected length (50)")
        ->type_name("MS")
        ->check(CLI::PositiveNumber)
        ->group(group);
    m_app
        .add_option("--late-guard", m_raw.lateGuardMilliseconds,
                    "How long in ms a late reply is listened for before the next request (as -o)")
        ->type_name("MS")
        ->check(CLI::NonNegativeNumber)
        ->group(group);
    m_app.add_option("--broadcast-delay", m_raw.broadcastMilliseconds, "Pause in ms after a broadcast (100)")
        ->type_name("MS")
        ->check(CLI::NonNegativeNumber)
        ->group(group);
    m_app.add_flag("--remove-echo", m_options.removeEcho, "The RS-485 adapter hears itself: drop the echo")
        ->group(group);
}

void Parser::addHow()
{
    const char *const group = "How long and how often";
    m_app.add_option("-l", m_raw.pollMilliseconds, "Poll interval in ms, from round to round (1000)")
        ->type_name("MS")
        ->check(CLI::NonNegativeNumber)
        ->group(group);
    m_app.add_option("-o", m_options.replyTimeout, "Reply time-out in seconds (1)")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.001, 3600.0))
        ->group(group);
    m_app.add_flag("-1", m_raw.once, "One round, then end")->group(group);
    m_app.add_option("--count", m_options.rounds, "So many rounds, then end")
        ->type_name("N")
        ->check(CLI::Range(1, 1000000000))
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
        ->group(group);
    m_app.add_flag("--local-only", m_options.property.localWriteOnly, "Writes change the cache, nothing is sent")
        ->group(group);
    m_app.add_option("--retries", m_options.property.attempts, "Attempts before a request is given up (3)")
        ->type_name("N")
        ->check(CLI::Range(0, 1000))
        ->group(group);
    m_app.add_option("--max-words", m_options.property.maxWords, "Longest block in registers, coils: bits (120)")
        ->type_name("N")
        ->check(CLI::Range(2, 500))
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
        ->check(CLI::Range(0, 65536))
        ->group(group);
    m_app.add_option("--step", m_options.step, "Step from copy to copy (1)")->type_name("N")->group(group);
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

void Parser::run(int argc, const char *const *argv)
{
    try {
        m_app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == 0) {
            m_options.mode = Mode::Nothing;
            m_app.exit(error);
            return;
        }
        std::string hint = "see rtuhost --help";
        const std::string text = error.what();
        if (text.find("-") != std::string::npos && text.find("were not expected") != std::string::npos)
            hint = "put -- in front of negative numbers; " + hint;
        throw Misuse(text + "; " + hint);
    }
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
    m_options.stations = parseNumberList(m_raw.stations, 0, 255, "station");
    m_options.baudGiven = given("-b");
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
    };
    for (const Choice &choice : choices) {
        if (!choice.chosen)
            continue;
        if (m_options.mode != Mode::Poll)
            throw Misuse("two things at once: choose one of --condition-read, --recipe-read, --recipe-write, --plan, "
                         "--list-types, --describe, --check, --multi-copy, --serve");
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
    const bool picture = m_raw.plan.size() > ending.size()
                         && m_raw.plan.compare(m_raw.plan.size() - ending.size(), ending.size(), ending) == 0;
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

bool Parser::needsPort() const
{
    switch (m_options.mode) {
    case Mode::Poll:
    case Mode::ConditionRead:
    case Mode::RecipeRead:
    case Mode::RecipeWrite:
        return m_options.simFile.empty();
    default:
        return false;
    }
}

void Parser::settleArguments()
{
    m_options.arguments = m_raw.arguments;
    if (m_options.mode == Mode::Serve) {
        m_options.serveFile = m_raw.serve[0];
        m_options.port = m_raw.serve[1];
    }
    if (!needsPort())
        return;
    if (m_options.arguments.empty())
        throw Misuse(std::string("no port given: ") + Usage + ", or --sim FILE for simulated slaves");
    m_options.port = m_options.arguments.front();
    m_options.arguments.erase(m_options.arguments.begin());
}

void Parser::check() const
{
    if (m_raw.json && m_raw.csv)
        throw Misuse("--json and --csv exclude each other");
    if (m_raw.highWordFirst && m_options.lowWordFirst)
        throw Misuse("-B and --low-word-first exclude each other");
    if (m_options.live && m_options.plain)
        throw Misuse("--live and --plain exclude each other");
    if (!m_options.faults.empty() && m_options.simFile.empty() && m_options.mode != Mode::Serve)
        throw Misuse("--fault is for simulated slaves: give --sim FILE or --serve FILE PORT as well");
    if (m_options.mode == Mode::Serve && !m_options.arguments.empty())
        throw Misuse("--serve takes no addresses: \"" + m_options.arguments.front() + "\" is too much");
    if (!m_options.simFile.empty() && !m_options.arguments.empty() && m_options.arguments[0].find('/') == 0)
        throw Misuse("--sim stands in place of a port: leave out " + m_options.arguments[0]);
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
