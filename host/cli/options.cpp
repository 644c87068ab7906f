#include "host/cli/options.h"

#include "host/cli/help_text.h"
#include "host/cli/negative_values.h"
#include "host/cli/option_groups.h"
#include "host/cli/port_name.h"
#include "host/tags/address_hint.h"
#include "host/text/numbers.h"
#include "host/text/output_path.h"
#include "kit/line/tcp_line.h"
#include "version.h"

#include <CLI/CLI.hpp>

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <memory>

namespace rtu {

namespace {

const std::string Excludes = " excludes "; ///< as CLI11 says it

bool isDevice(const std::string &text)
{
    struct stat info;
    const bool named = text.compare(0, 5, "/dev/") == 0 || isTcpPort(text);
    return named || (::stat(text.c_str(), &info) == 0 && S_ISCHR(info.st_mode));
}

/** "4x100", and no file of that name is there. */
bool looksLikeAddress(const std::string &text)
{
    return beginsWithTable(text) && (std::isdigit(static_cast<unsigned char>(text[2])) || text[2] == '_')
           && !std::ifstream(text);
}

/** "-R 12": whoever writes that expects the option to take a number, or a value to be written. */
void refuseNumberBehindDirection(const std::vector<std::string> &arguments)
{
    double number = 0;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const std::string &option = arguments[i - 1];
        if ((option == "-R" || option == "-F") && arguments[i][0] != '-' && readNumber(arguments[i], &number))
            throw Misuse(option + " takes no number: \"" + option + " PORT ...\" leaves " + arguments[i]
                         + " out, and as a value it stands behind its address, as in 4x5=" + arguments[i]);
    }
}

class Parser
{
public:
    Parser();

    Options parse(int argc, const char *const *argv);
    std::string help() const { return m_app.help(); }

private:
    bool given(const char *name) const { return m_app.count(name) > 0; }
    void run(int argc, const char *const *argv);
    std::string explained(const CLI::ParseError &error) const;
    void settle();
    void settlePort();
    void settleOnlyPort();
    void check() const;
    void checkProperty() const;
    void checkLimit() const;
    bool usesLine() const;
    void checkMode() const;
    void checkNamingFile() const;
    bool movesRecipe() const;
    bool namesOnCommandLine() const;
    void checkRecords() const;
    void checkOutput() const;
    bool movesValues() const;
    void checkSimulation() const;
    void checkListening() const;
    bool needsPort() const;
    bool polledReplay() const;

    CLI::App m_app;
    Options m_options;
    OptionGroups m_groups;
    std::vector<std::string> m_arguments; ///< as typed
};

Parser::Parser() : m_app(HelpDescription, "rtuhost")
{
    m_app.formatter(std::make_shared<HelpFormatter>());
    m_app.get_formatter()->column_width(26);
    m_app.footer(HelpFooter);
    m_app.set_help_flag("-h,--help", "This text");
    m_app.set_version_flag("-V,--version", "rtuhost " MODBUS_RTU_VERSION_TEXT)->description("The version");
    m_app.add_option("PORT", m_arguments, "Serial port, pseudo-terminal or tcp:HOST:PORT, then addresses and values");
    m_groups.declare(m_app, m_options);
}

void Parser::run(int argc, const char *const *argv)
{
    const auto takesArgument = [this](const std::string &text) {
        const CLI::Option *option = text[0] == '-' ? m_app.get_option_no_throw(text) : nullptr;
        return option && option->get_items_expected_min() > 0;
    };
    const std::vector<std::string> typed(argv + std::min(argc, 1), argv + argc);
    refuseNumberBehindDirection(typed);
    try {
        std::vector<std::string> arguments = markNegativeValues(typed, takesArgument);
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
    if (const std::size_t verb = text.find(Excludes); verb != std::string::npos)
        return text.substr(0, verb) + " and " + text.substr(verb + Excludes.size()) + " exclude each other";
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
    for (const std::string &argument : m_arguments)
        m_options.arguments.push_back(unmarked(argument));
    m_groups.settle(m_app, m_options);
    settlePort();
}

bool Parser::usesLine() const
{
    switch (m_options.mode) {
    case Mode::Poll:
    case Mode::ConditionRead:
    case Mode::RecipeRead:
    case Mode::RecipeWrite:
    case Mode::Probe:
    case Mode::RecipeCompare:
        return true;
    default:
        return false;
    }
}

bool Parser::needsPort() const
{
    return usesLine() && m_options.simFile.empty();
}

void Parser::settlePort()
{
    if (m_options.mode == Mode::Find || m_options.mode == Mode::Listen)
        return settleOnlyPort();
    if (!needsPort())
        return;
    if (m_options.arguments.empty())
        throw Misuse(std::string("no port given: ") + HelpUsage + ", or --sim FILE for simulated slaves");
    // A device cannot be mistaken for an address or a value, so it may stand anywhere.
    auto port = std::find_if(m_options.arguments.begin(), m_options.arguments.end(), isDevice);
    if (port == m_options.arguments.end())
        port = m_options.arguments.begin();
    m_options.port = *port;
    m_options.arguments.erase(port);
    if (movesRecipe() && (isDevice(m_options.recipeFile) || looksLikeAddress(m_options.recipeFile)))
        throw Misuse("\"" + m_options.recipeFile
                     + "\" stands where the recipe's file is named: " + "--recipe-read FILE PORT ADDRESS...");
    if (looksLikeAddress(m_options.port))
        throw Misuse("\"" + m_options.port + "\" is an address, and stands where the port is named");
    judgePortName(m_options.port);
}

/** "--find -b 9600 PORT": behind other options the port does as well. */
void Parser::settleOnlyPort()
{
    if (!m_options.port.empty())
        return judgePortName(m_options.port);
    if (m_options.arguments.empty())
        throw Misuse(std::string(m_options.mode == Mode::Find ? "--find" : "--listen") + " takes PORT");
    m_options.port = m_options.arguments.front();
    m_options.arguments.erase(m_options.arguments.begin());
    judgePortName(m_options.port);
}

void Parser::check() const
{
    checkProperty();
    checkLimit();
    checkMode();
    checkNamingFile();
    checkRecords();
    checkOutput();
    checkSimulation();
    checkListening();
}

void Parser::checkProperty() const
{
    if (!given("--property"))
        return;
    if (m_groups.driver.property.empty())
        throw Misuse("--property is empty; a property string is written as 1#0#0#3#120#0");
    if (!DriverProperty::wellFormed(m_groups.driver.property))
        throw Misuse("--property \"" + m_groups.driver.property
                     + "\": five or six fields with # between them, each a number, as in 1#0#0#3#120#0; behind the "
                       "sixth may stand stations, as in 0_1,5");
    for (const char *field : {"--local-only", "--retries", "--max-words", "--swap", "--swap-stations"}) {
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
    if (mode != Mode::Find && m_options.bauds.size() > 1)
        throw Misuse("-b takes several rates with --find alone");
    if (m_options.printStatistics && !movesValues() && mode != Mode::Listen && mode != Mode::Replay)
        throw Misuse("--stats sums up what goes over a line; leave it out here");
    if (mode != Mode::Poll && given("--count"))
        throw Misuse("--count is for polling; leave it out here");
    for (const char *option : {"--copies", "--step"}) {
        if (mode != Mode::MultiCopy && given(option))
            throw Misuse(option + std::string(" goes with --multi-copy ADDRESS"));
    }
    const bool fromFile = mode == Mode::RecipeWrite || mode == Mode::RecipeCompare;
    if (fromFile && (!surplus.empty() || !m_options.tagFile.empty() || m_options.typeOrReferenceGiven))
        throw Misuse(std::string(mode == Mode::RecipeWrite ? "--recipe-write" : "--recipe-compare")
                     + " takes the registers from its file; leave out addresses, -t, -r and --tags");
    if (mode == Mode::RecipeWrite && m_options.property.localWriteOnly)
        throw Misuse("--recipe-write loads the slaves, and writes are to stay local; leave one of the two out");
    if (movesRecipe() && m_options.verify)
        throw Misuse("--verify is for single writes; --recipe-compare FILE reads a recipe back and compares");
    const bool oneSubject = mode == Mode::Describe || mode == Mode::MultiCopy || mode == Mode::ListTypes;
    if (oneSubject && !surplus.empty())
        throw Misuse("\"" + surplus
                     + "\" is too much: --list-types takes nothing, --describe and --multi-copy "
                       "one type or address");
    if (mode == Mode::Check && m_options.subject.empty() && surplus.empty() && m_options.tagFile.empty())
        throw Misuse("--check wants addresses, or --tags FILE");
}

bool Parser::movesRecipe() const
{
    return m_options.mode == Mode::RecipeRead || m_options.mode == Mode::RecipeWrite
           || m_options.mode == Mode::RecipeCompare;
}

bool Parser::namesOnCommandLine() const
{
    return !m_options.arguments.empty() || m_options.typeOrReferenceGiven;
}

/** Who gives a station beside a file that names others must not reach those instead. */
void Parser::checkNamingFile() const
{
    if (movesRecipe() && given("--low-word-first"))
        throw Misuse("--low-word-first is not for recipes: --swap or --swap-stations say where they have the low word "
                     "first");
    const bool tagFile = !m_options.tagFile.empty();
    const bool search = m_options.mode == Mode::Find; // asks stations, not tags
    if (namesOnCommandLine() || search || !(tagFile || movesRecipe()))
        return;
    for (const char *option : {"-a", "-c", "-0"}) {
        if (given(option))
            throw Misuse(option + std::string(" is for addresses on the command line; ")
                         + (tagFile ? m_options.tagFile : m_options.recipeFile)
                         + " names station, address and count itself");
    }
}

void Parser::checkRecords() const
{
    const bool values = m_options.mode == Mode::Poll || m_options.mode == Mode::ConditionRead || polledReplay();
    for (const char *option : {"--log", "--json", "--csv"}) {
        const bool toFile =
            option == std::string("--log") ? given(option) : given(option) && !m_options.recordFile.empty();
        const bool heard = m_options.mode == Mode::Listen && option == std::string("--log");
        if (toFile && !values && !heard)
            throw Misuse(option + std::string(" with a file records what is polled; here nothing is"));
    }
    const std::string &log = m_options.logFile;
    if (given("--log") && !hasEnding(log, ".csv") && !hasEnding(log, ".json") && !hasEnding(log, ".jsonl"))
        throw Misuse("--log " + log + ": the name ends in .csv, .json or .jsonl and so says what the rows look like");
}

bool Parser::polledReplay() const
{
    return m_options.mode == Mode::Replay && (namesOnCommandLine() || !m_options.tagFile.empty());
}

/** Over a line: a probe has findings in the place of values. */
bool Parser::movesValues() const
{
    return usesLine() && m_options.mode != Mode::Probe;
}

void Parser::checkOutput() const
{
    const Mode mode = m_options.mode;
    if (mode == Mode::Listen && m_options.form == OutputForm::Csv)
        throw Misuse("--listen has no CSV; --json has one object a transaction");
    if (m_options.form == OutputForm::Csv && !movesValues() && !polledReplay())
        throw Misuse("--csv has rows of values and of recipes; here there are none");
    const bool heard = mode == Mode::Listen || mode == Mode::Replay;
    if (m_options.trace && !movesValues() && !heard)
        throw Misuse("-v prints the frames of polling, recipes, --listen and --replay; leave it out here");
    if (given("--pcap") && !movesValues() && mode != Mode::Listen)
        throw Misuse("--pcap captures a line: give --listen PORT, or a port and what to poll");
    if (m_options.captureFile == "-" && m_options.form == OutputForm::Json)
        throw Misuse("--pcap - has standard output for itself: leave out --json, or give the capture a file");
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
