#include "driver_test.h"

#include "host/cli/options.h"
#include "host/cli/link_setup.h"
#include "host/cli/tag_selection.h"

namespace {

using namespace test_host;
using rtu::Mode;
using rtu::Options;

Options parse(std::vector<const char *> arguments)
{
    arguments.insert(arguments.begin(), "rtuhost");
    return rtu::parseOptions(static_cast<int>(arguments.size()), arguments.data());
}

std::string misuse(const std::vector<const char *> &arguments)
{
    try {
        parse(arguments);
    } catch (const rtu::Misuse &error) {
        return error.what();
    }
    return "nothing thrown";
}

rtu::LinkSettings settingsOf(const Options &options)
{
    return rtu::linkSettings(options, options.line, rtu::LineTiming(options.line), "driver.so");
}

struct NegativeCase
{
    std::vector<const char *> arguments;
    std::vector<std::string> expected;
};

TEST(Options, HaveTheFieldsUsualDefaults)
{
    const Options o = parse({"/dev/ttyUSB0"});
    EXPECT_EQ(Mode::Poll, o.mode);
    EXPECT_EQ("/dev/ttyUSB0", o.port);
    EXPECT_EQ(19200, o.line.baud);
    EXPECT_EQ(8, o.line.dataBits);
    EXPECT_EQ('E', o.line.parity);
    EXPECT_EQ(1, o.line.stopBits);
    EXPECT_EQ(std::vector<int>(1, 1), o.stations);
    EXPECT_EQ("4", o.typeText);
    EXPECT_EQ(1, o.values);
    EXPECT_DOUBLE_EQ(1.0, o.pollInterval);
    EXPECT_DOUBLE_EQ(1.0, o.replyTimeout);
    EXPECT_EQ(0, o.rounds);
    EXPECT_EQ("1#0#0#3#120#0", o.property.text());
}

TEST(Options, TakeTheHabitOfTheField)
{
    const Options o = parse({"-a", "1,3-4", "-b", "9600", "-d", "7",   "-s", "2",   "-P", "none", "-t", "3:float",
                             "-r", "100",   "-c", "5",    "-l", "250", "-o", "0.2", "-1", "-v",   "-q", "/dev/ttyS0"});
    EXPECT_EQ((std::vector<int>{1, 3, 4}), o.stations);
    EXPECT_EQ(9600, o.line.baud);
    EXPECT_EQ(7, o.line.dataBits);
    EXPECT_EQ(2, o.line.stopBits);
    EXPECT_EQ('N', o.line.parity);
    EXPECT_EQ("3:float", o.typeText);
    EXPECT_EQ("100", o.referenceText);
    EXPECT_EQ(5, o.values);
    EXPECT_DOUBLE_EQ(0.25, o.pollInterval);
    EXPECT_DOUBLE_EQ(0.2, o.replyTimeout);
    EXPECT_EQ(1, o.rounds);
    EXPECT_TRUE(o.trace);
    EXPECT_TRUE(o.quiet);
}

TEST(Options, TakeTheLinesOfMbpoll)
{
    const Options o = parse({"-m",  "rtu", "-b", "9600", "-P", "none", "-a", "1:3", "-t4:float", "-r",
                             "100", "-c",  "2",  "-B",   "-o", "0.5",  "-l", "500", "-F",        "/dev/ttyUSB0"});
    EXPECT_EQ(Mode::Poll, o.mode);
    EXPECT_EQ((std::vector<int>{1, 2, 3}), o.stations);
    EXPECT_EQ("4:float", o.typeText);
    EXPECT_EQ("/dev/ttyUSB0", o.port);
    EXPECT_TRUE(o.wordOrderGiven);
}

TEST(Options, SwitchTheDirectionOfRs485)
{
    EXPECT_FALSE(parse({"p"}).line.rs485);
    EXPECT_TRUE(parse({"-F", "p"}).line.rs485);
    EXPECT_FALSE(parse({"-F", "p"}).line.rtsInverted);
    EXPECT_TRUE(parse({"-R", "p"}).line.rs485);
    EXPECT_TRUE(parse({"-R", "p"}).line.rtsInverted);
    EXPECT_TRUE(settingsOf(parse({"-R", "p"})).parameters.rtsInverted);
}

TEST(Options, FindThePortAmongTheArguments)
{
    const NegativeCase cases[] = {
        {{"/dev/ttyUSB0", "4x5", "7"}, {"4x5", "7"}},
        {{"4x5", "7", "/dev/ttyUSB0"}, {"4x5", "7"}},
        {{"4x5", "/dev/ttyUSB0", "-12"}, {"4x5", "-12"}},
        {{"-r", "5", "-1", "7", "8", "/dev/ttyUSB0"}, {"7", "8"}},
    };
    for (const NegativeCase &order : cases) {
        const Options options = parse(order.arguments);
        EXPECT_EQ("/dev/ttyUSB0", options.port);
        EXPECT_EQ(order.expected, options.arguments);
    }
    EXPECT_EQ("tcp:host:502", parse({"4x5", "tcp:host:502"}).port);
    EXPECT_EQ("first", parse({"first", "4x5"}).port);
}

TEST(Options, ReadANumberTheSameWherever)
{
    const Options o = parse({"-a", "0x10,0b11", "-c", "010", "-b", "0x2580", "-l", "0x64", "--retries", "0x2", "p"});
    EXPECT_EQ((std::vector<int>{16, 3}), o.stations);
    EXPECT_EQ(10, o.values);
    EXPECT_EQ(9600, o.line.baud);
    EXPECT_DOUBLE_EQ(0.1, o.pollInterval);
    EXPECT_EQ(2, o.property.attempts);
}

TEST(Options, ReachThePropertyOfTheDriver)
{
    EXPECT_EQ("1#1#0#5#32#1",
              parse({"--local-only", "--retries", "5", "--max-words", "32", "--swap", "p"}).property.text());
    EXPECT_EQ("1#0#0#3#120#0_2,5", parse({"--swap-stations", "2,5", "p"}).property.text());
    EXPECT_EQ("9#0#1#2#3", parse({"--property", "9#0#1#2#3", "p"}).property.text());
}

TEST(Options, ReachTheLink)
{
    const rtu::LinkSettings settings =
        settingsOf(parse({"--retries", "0", "--max-words", "33", "--local-only", "-l", "250", "p"}));
    EXPECT_EQ(1, settings.attempts);
    EXPECT_EQ(32, settings.maxWords);
    EXPECT_TRUE(settings.localWritesOnly);
    EXPECT_EQ(std::chrono::milliseconds(250), settings.roundInterval);
    EXPECT_LT(settings.silence, rtu::Duration(0));
    EXPECT_EQ(std::chrono::milliseconds(50), settings.replyGap);
    EXPECT_EQ(rtu::Echo::Detect, settings.echo);
    EXPECT_EQ("driver.so", settings.driver.toStdString());
}

TEST(Options, ReachTheLine)
{
    const Options o = parse({"-b", "38400", "--silence", "3", "--gap", "80", "--late-guard", "0", "--broadcast-delay",
                             "200", "--remove-echo", "-o", "0.5", "p"});
    const rtu::LinkSettings settings = settingsOf(o);
    EXPECT_EQ(38400, settings.parameters.baud);
    EXPECT_EQ(std::chrono::milliseconds(3), settings.silence);
    EXPECT_EQ(std::chrono::milliseconds(80), settings.replyGap);
    EXPECT_EQ(std::chrono::milliseconds(0), settings.lateReplyGuard);
    EXPECT_EQ(std::chrono::milliseconds(200), settings.broadcastDelay);
    EXPECT_EQ(std::chrono::milliseconds(500), settings.replyTimeout);
    EXPECT_EQ(rtu::Echo::Always, settings.echo);
}

TEST(Options, TheGuardIsAsLongAsTheTimeOutByItself)
{
    const Options o = parse({"-o", "0.5", "p"});
    EXPECT_EQ(std::chrono::milliseconds(500), settingsOf(o).lateReplyGuard);
}

TEST(Options, NegativeNumbersAreValues)
{
    const NegativeCase cases[] = {
        {{"p", "4x211", "-12"}, {"4x211", "-12"}},
        {{"p", "4x211", "-150"}, {"4x211", "-150"}},
        {{"p", "4x211", "-10"}, {"4x211", "-10"}},
        {{"p", "4x211:int16", "-1.5", "-2.5"}, {"4x211:int16", "-1.5", "-2.5"}},
        {{"p", "4x211", "7", "-12", "4x5"}, {"4x211", "7", "-12", "4x5"}},
        {{"-t", "4:int16", "-r", "5", "p", "-11"}, {"-11"}},
        {{"p", "4x211=-1"}, {"4x211=-1"}},
        {{"p", "4x211", "--", "-1"}, {"4x211", "-1"}},
    };
    for (const NegativeCase &negative : cases) {
        const Options options = parse(negative.arguments);
        EXPECT_EQ(negative.expected, options.arguments);
        EXPECT_EQ(0, options.rounds) << negative.expected.back();
        EXPECT_FALSE(options.zeroBased) << negative.expected.back();
    }
}

TEST(Options, OneAndNaughtAloneAreOptionsWhereNoAddressStandsInFront)
{
    EXPECT_EQ(1, parse({"-1", "p", "4x211", "-12"}).rounds);
    EXPECT_EQ(1, parse({"p", "-1", "4x211"}).rounds);
    EXPECT_EQ(1, parse({"p", "4x211", "-l", "5", "-1"}).rounds);
    EXPECT_EQ(1, parse({"p", "4x211=5", "-1"}).rounds);
    EXPECT_TRUE(parse({"-0", "-r", "5", "p"}).zeroBased);
    EXPECT_EQ(-1, parse({"--multi-copy", "4x5", "--step", "-1"}).step);
    EXPECT_EQ(-12, parse({"--multi-copy", "4x5", "--step", "-12"}).step);
}

TEST(Options, OneAndNaughtBehindAnAddressAreRefusedWithBothSpellings)
{
    const std::vector<std::vector<const char *>> cases = {
        {"p", "4x211", "-1"}, {"p", "4x211@2", "-0"}, {"p", "4x211", "7", "-1"}, {"p", "4x211", "-12", "-1"}};
    for (const std::vector<const char *> &arguments : cases) {
        const std::string reason = misuse(arguments);
        EXPECT_NE(std::string::npos, reason.find("in front")) << reason;
        EXPECT_NE(std::string::npos, reason.find(arguments[1] + std::string("=-"))) << reason;
        EXPECT_NE(std::string::npos, reason.find(" or -- -")) << reason;
    }
}

TEST(Options, OneAndNaughtBehindAValueOfAReferenceAreRefusedToo)
{
    const std::vector<std::vector<const char *>> cases = {{"-r", "5", "p", "7", "-1"},
                                                          {"-r", "5", "p", "7", "-0"},
                                                          {"-r", "5", "7", "-1", "8", "p"},
                                                          {"p", "-t", "4:float", "-r", "1", "1.5", "-2.5", "-1"}};
    for (const std::vector<const char *> &arguments : cases) {
        const std::string reason = misuse(arguments);
        EXPECT_NE(std::string::npos, reason.find("in front")) << reason;
        EXPECT_NE(std::string::npos, reason.find("or -- in front of the values")) << reason;
    }
    EXPECT_EQ(1, parse({"-r", "5", "p", "-1"}).rounds);
    EXPECT_EQ(1, parse({"-r", "5", "p", "7", "-l", "5", "-1"}).rounds);
}

struct ModeCase
{
    std::vector<const char *> arguments;
    Mode mode;
};

TEST(Options, ChooseWhatToDo)
{
    const ModeCase cases[] = {
        {{"--condition-read", "p", "4x1"}, Mode::ConditionRead},
        {{"--recipe-read", "f", "p"}, Mode::RecipeRead},
        {{"--recipe-write", "f", "p"}, Mode::RecipeWrite},
        {{"--plan", "4x1"}, Mode::Plan},
        {{"--list-types"}, Mode::ListTypes},
        {{"--describe", "4x"}, Mode::Describe},
        {{"--check", "4x1"}, Mode::Check},
        {{"--multi-copy", "4x1"}, Mode::MultiCopy},
        {{"--serve", "f", "p"}, Mode::Serve},
        {{"--probe", "3", "p"}, Mode::Probe},
    };
    for (const ModeCase &choice : cases)
        EXPECT_EQ(choice.mode, parse(choice.arguments).mode) << choice.arguments[0];
}

TEST(Options, FindAndListenTakeThePortBehindOtherOptionsToo)
{
    for (const char *option : {"--find", "--listen"}) {
        EXPECT_EQ("p", parse({option, "p", "-b", "9600"}).port) << option;
        const Options behind = parse({option, "--json", "-b", "9600", "p"});
        EXPECT_EQ("p", behind.port) << option;
        EXPECT_EQ(9600, behind.line.baud) << option;
        EXPECT_TRUE(behind.arguments.empty()) << option;
    }
}

TEST(Options, APlanMayBeAPicture)
{
    const Options picture = parse({"--plan", "out.svg", "4x1"});
    EXPECT_EQ("out.svg", picture.planPicture);
    EXPECT_EQ(std::vector<std::string>(1, "4x1"), picture.arguments);
    EXPECT_EQ("OUT.SVG", parse({"--plan", "OUT.SVG", "4x1"}).planPicture);
    const Options text = parse({"--plan", "4x1"});
    EXPECT_EQ("", text.planPicture);
    EXPECT_EQ(std::vector<std::string>(1, "4x1"), text.arguments);
    EXPECT_EQ(Mode::Plan, parse({"--tags", "f", "--plan"}).mode);
}

TEST(Options, SimulatedSlavesStandInPlaceOfThePort)
{
    const Options o = parse({"--sim", "f", "--fault", "wrong-crc rate 0.1", "--fault", "no-reply", "4x1", "4x2"});
    EXPECT_EQ("f", o.simFile);
    EXPECT_EQ("", o.port);
    EXPECT_EQ((std::vector<std::string>{"4x1", "4x2"}), o.arguments);
    EXPECT_EQ((std::vector<std::string>{"wrong-crc rate 0.1", "no-reply"}), o.faults);
}

struct MisuseCase
{
    std::vector<const char *> arguments;
    const char *reason;
};

TEST(Options, MisuseIsExplained)
{
    const MisuseCase cases[] = {
        {{}, "no port given"},
        {{"-x", "p"}, "-x"},
        {{"-b", "abc", "p"}, "-b: \"abc\" is not a whole number from 0 to 4000000"},
        {{"-b", "9600.5", "p"}, "-b: \"9600.5\" is not a whole number"},
        {{"-b"}, "-b takes BAUD"},
        {{"-d", "9", "p"}, "-d: \"9\" is not a whole number from 7 to 8"},
        {{"-s", "3", "p"}, "-s: \"3\" is not a whole number from 1 to 2"},
        {{"-P", "mark", "p"}, "-P"},
        {{"-c", "0", "p"}, "-c: \"0\" is not a whole number from 1 to 65536"},
        {{"-o", "0", "p"}, "-o: \"0\" is not a number from 0.001 to 3600"},
        {{"-o", "nan", "p"}, "-o: \"nan\" is not a number"},
        {{"-l", "-1", "p"}, "-l: \"-1\" is not a number from 0 to 86400000"},
        {{"-l", "1e300", "p"}, "-l: \"1e300\" is not a number from 0 to 86400000"},
        {{"--gap", "0", "p"}, "--gap: \"0\" is not a number from 0.001 to"},
        {{"--link-id", "7", "p"}, "--link-id"},
        {{"-m", "tcp", "p"}, "-m: tcp is another protocol, which this program does not speak"},
        {{"-p", "502", "p"}, "\"502\" is no parity (none, even, odd); -p names no TCP port here, tcp:HOST:502 does"},
        {{"--find"}, "--find takes PORT"},
        {{"--listen", "-b", "9600"}, "--listen takes PORT"},
        {{"-b", "9600,19200", "p"}, "-b takes several rates with --find alone"},
        {{"--find", "-b", "9600,x", "p"}, "-b: \"x\" is not a whole number from 0 to 4000000"},
        {{"-u", "p"}, "-u: stations are not asked what they are; --probe STATION"},
        {{"-W", "p", "4x1=5"}, "-W: one register is always written with function 6"},
        {{"-m", "udp", "p"}, "-m: \"udp\" is not a protocol"},
        {{"-R", "-F", "p"}, "-F and -R exclude each other"},
        {{"--probe", "0", "p"}, "--probe: \"0\" is not a whole number from 1 to 247"},
        {{"--probe", "3", "--find", "p"}, "two things at once"},
        {{"-1", "--count", "2", "p"}, "-1 and --count exclude each other"},
        {{"--property", "1#0#0#3#120", "--retries", "2", "p"}, "leave out --retries"},
        {{"--property", "", "p"}, "--property is empty"},
        {{"--copies", "2", "p"}, "--copies goes with --multi-copy"},
        {{"--check", "4x1", "--step", "2"}, "--step goes with --multi-copy"},
        {{"--describe", "4x", "4x2"}, "\"4x2\" is too much"},
        {{"--list-types", "4x"}, "\"4x\" is too much"},
        {{"--condition-read", "--count", "2", "p"}, "--count is for polling"},
        {{"-R", "12", "p"}, "-R takes no number"},
        {{"p", "4x5", "-F", "12"}, "as a value it stands behind its address, as in 4x5=12"},
        {{"-1", "ttyUSB0", "4x1"}, "did you mean /dev/ttyUSB0?"},
        {{"--find", "plc:502"}, "did you mean tcp:plc:502?"},
        {{"--listen", "-b", "9600", "tcp:plc"}, "names no port of the host"},
        {{"--find", "--stats", "p"}, "--stats sums up what goes over a line"},
        {{"--recipe-write", "f", "p", "4x1"}, "takes the registers from its file"},
        {{"--recipe-write", "f", "-t", "4", "p"}, "takes the registers from its file"},
        {{"--recipe-write", "w.csv", "-a", "5", "p"}, "-a is for addresses on the command line; w.csv names"},
        {{"--recipe-write", "w.csv", "-c", "2", "p"}, "-c is for addresses on the command line"},
        {{"--recipe-compare", "w.csv", "-0", "p"}, "-0 is for addresses on the command line"},
        {{"--recipe-read", "w.csv", "-a", "5", "p"}, "-a is for addresses on the command line; w.csv names"},
        {{"--recipe-read", "w.csv", "--tags", "t.csv", "-a", "5", "p"}, "t.csv names"},
        {{"--recipe-read", "w.csv", "--low-word-first", "p", "4x_double1"}, "--swap"},
        {{"--recipe-write", "w.csv", "--low-word-first", "p"}, "--swap"},
        {{"--recipe-compare", "w.csv", "--low-word-first", "p"}, "--swap"},
        {{"--tags", "t.csv", "-a", "5", "p"}, "-a is for addresses on the command line; t.csv names"},
        {{"--tags", "t.csv", "-c", "5", "p"}, "-c is for addresses on the command line"},
        {{"--condition-read", "--tags", "t.csv", "-0", "p"}, "-0 is for addresses on the command line"},
        {{"--plan", "--tags", "t.csv", "-a", "5"}, "-a is for addresses on the command line"},
        {{"--probe", "1", "--pcap", "p.pcap", "p"}, "--pcap captures a line"},
        {{"--probe", "1", "-v", "p"}, "-v prints the frames"},
        {{"--find", "p", "-v"}, "-v prints the frames"},
        {{"--plan", "4x1", "-v"}, "-v prints the frames"},
        {{"--probe", "1", "--csv", "p"}, "--csv has rows"},
        {{"--find", "p", "--csv"}, "--csv has rows"},
        {{"--replay", "f", "--csv"}, "--csv has rows"},
        {{"--plan", "--csv", "--tags", "f"}, "--csv has rows"},
        {{"--list-types", "--csv"}, "--csv has rows"},
        {{"--describe", "4x", "--csv"}, "--csv has rows"},
        {{"--check", "4x1", "--csv"}, "--csv has rows"},
        {{"--serve", "f", "pty:"}, "wants the name of a link"},
        {{"-a", "300", "p"}, "a station is from 0 to 247"},
        {{"--json", "--csv", "p"}, "exclude each other"},
        {{"--live", "--plain", "p"}, "exclude each other"},
        {{"--check", "4x1", "--list-types"}, "two things at once"},
        {{"--fault", "no-reply", "p"}, "for simulated slaves"},
        {{"--sim", "f", "/dev/ttyUSB0"}, "in place of a port"},
        {{"--serve", "f"}, "--serve takes FILE PORT"},
        {{"--max-words", "1", "p"}, "--max-words"},
        {{"--local-only", "--recipe-write", "f", "p"}, "writes are to stay local"},
        {{"--property", "1#1#0#3#120", "--recipe-write", "f", "p"}, "writes are to stay local"},
        {{"--verify", "--recipe-write", "f", "p"}, "--recipe-compare FILE reads a recipe back"},
    };
    for (const MisuseCase &wrong : cases)
        EXPECT_TRUE(contains(misuse(wrong.arguments), wrong.reason)) << wrong.reason << ": " << misuse(wrong.arguments);
}

TEST(Options, OfOutputGoWithWhatHasIt)
{
    EXPECT_EQ(rtu::OutputForm::Csv, parse({"--replay", "f", "--csv", "4x1"}).form);
    EXPECT_EQ(rtu::OutputForm::Csv, parse({"--recipe-compare", "f", "--csv", "p"}).form);
    EXPECT_TRUE(parse({"--replay", "f", "-v"}).trace);
    EXPECT_TRUE(parse({"--listen", "p", "-v"}).trace);
    EXPECT_EQ("f", parse({"--condition-read", "p", "--pcap", "f", "4x1"}).captureFile);
}

TEST(Options, OfAddressesGoWithAFileAsWell)
{
    EXPECT_EQ(5, parse({"--tags", "t.csv", "-a", "5", "p", "4x1"}).stations.front());
    EXPECT_EQ(5, parse({"--recipe-read", "w.csv", "-a", "5", "-r", "3", "-c", "2", "p"}).stations.front());
    EXPECT_EQ(5, parse({"--find", "p", "--tags", "t.csv", "-a", "5"}).stations.front());
    EXPECT_TRUE(parse({"--tags", "t.csv", "--low-word-first", "p"}).lowWordFirst);
}

TEST(Options, HelpFitsATerminal)
{
    const std::string help = rtu::helpText();
    std::size_t begin = 0;
    while (begin < help.size()) {
        const std::size_t end = std::min(help.find('\n', begin), help.size());
        EXPECT_LE(end - begin, 80u) << help.substr(begin, end - begin);
        begin = end + 1;
    }
}

class Selection : public DriverTest
{
protected:
    rtu::TagSelection select(std::vector<const char *> arguments)
    {
        arguments.insert(arguments.begin(), {"-1"});
        const Options options = parse(std::move(arguments));
        return rtu::selectTags(driver, catalog, options);
    }

    std::string refusal(const std::vector<const char *> &arguments)
    {
        return refusalOf([&] { select(arguments); });
    }
};

TEST_F(Selection, OfNothingIsTheFirstHoldingRegister)
{
    const rtu::TagSelection selection = select({"port"});
    ASSERT_EQ(1u, selection.reads.size());
    EXPECT_EQ("4x1", selection.reads[0].label());
}

struct TypeCase
{
    const char *type;
    const char *label;
    rtu::Format format;
};

TEST_F(Selection, TakesTypesByNumber)
{
    const TypeCase cases[] = {
        {"0", "0x7", rtu::Format::Bit},
        {"1", "1x7", rtu::Format::Bit},
        {"3", "3x7", rtu::Format::Unsigned},
        {"4", "4x7", rtu::Format::Unsigned},
        {"4:int16", "4x7", rtu::Format::Signed},
        {"3:hex", "3x7", rtu::Format::Hex},
        {"4:int", "4x_double7", rtu::Format::Signed},
        {"3:float", "3x_double7", rtu::Format::Float},
    };
    for (const TypeCase &type : cases) {
        const rtu::TagSelection selection = select({"-t", type.type, "-r", "7", "-c", "3", "port"});
        ASSERT_EQ(1u, selection.reads.size()) << type.type;
        EXPECT_EQ(type.label, selection.reads[0].label());
        EXPECT_EQ(type.format, selection.reads[0].format.format) << type.type;
        EXPECT_EQ(3, selection.reads[0].values);
    }
}

TEST_F(Selection, CountsReferencesFromZeroOnRequest)
{
    EXPECT_EQ("4x101", select({"-0", "-r", "100", "port"}).reads[0].label());
    EXPECT_EQ("4x1", select({"-0", "-r", "0", "port"}).reads[0].label());
}

TEST_F(Selection, TakesListsOfReferencesAndStations)
{
    const rtu::TagSelection selection = select({"-a", "1,2", "-r", "5,9", "port"});
    ASSERT_EQ(4u, selection.reads.size());
}

TEST_F(Selection, WritesTheNumbersBehindAReference)
{
    const rtu::TagSelection selection = select({"-t", "4", "-r", "7", "port", "5", "0x10", "65535"});
    EXPECT_TRUE(selection.reads.empty());
    ASSERT_EQ(1u, selection.writes.size());
    EXPECT_EQ((std::vector<std::uint32_t>{5, 16, 65535}), selection.writes[0].raw);
    EXPECT_EQ(3, selection.writes[0].tag.values);
}

TEST_F(Selection, WritesNegativeNumbersBehindDashes)
{
    const rtu::TagSelection selection = select({"-t", "4:int16", "-r", "7", "port", "--", "-5", "-1"});
    ASSERT_EQ(1u, selection.writes.size());
    EXPECT_EQ((std::vector<std::uint32_t>{0xFFFB, 0xFFFF}), selection.writes[0].raw);
}

TEST_F(Selection, WritesTheNumbersBehindAnAddress)
{
    const rtu::TagSelection selection = select({"port", "4x7", "5", "6", "0x3@1", "1", "4x100"});
    ASSERT_EQ(2u, selection.writes.size());
    EXPECT_EQ((std::vector<std::uint32_t>{5, 6}), selection.writes[0].raw);
    EXPECT_EQ("0x3", selection.writes[1].tag.label());
    ASSERT_EQ(1u, selection.reads.size());
    EXPECT_EQ("4x100", selection.reads[0].label());
}

TEST_F(Selection, ReadsANumberTheSameWherever)
{
    EXPECT_EQ("4x16", select({"-r", "0x10", "port"}).reads[0].label());
    EXPECT_EQ("4x16", select({"port", "4x0x10"}).reads[0].label());
    EXPECT_EQ(std::vector<std::uint32_t>(1, 16), select({"-r", "5", "port", "0x10"}).writes[0].raw);
    EXPECT_EQ((std::vector<std::uint32_t>{16, 17}), select({"port", "4x5=0x10,0x11"}).writes[0].raw);
    EXPECT_EQ((std::vector<std::uint32_t>{0xFFF0}), select({"port", "4x5", "-0x10"}).writes[0].raw);
}

TEST_F(Selection, OfACoilBehindAnotherAddress)
{
    EXPECT_EQ(3u, select({"port", "0x5", "0x6", "0x7"}).reads.size());
    EXPECT_EQ(2u, select({"port", "3x1", "0x5"}).reads.size());
    EXPECT_EQ(2u, select({"port", "4x1", "0x5@1"}).reads.size());
    EXPECT_EQ(2u, select({"--condition-read", "port", "4x1", "0x5"}).reads.size());
    EXPECT_EQ(2u, select({"port", "4x1=7", "0x5"}).reads.size() + 1);
}

TEST_F(Selection, WritesBehindAnEqualsSign)
{
    const rtu::TagSelection selection = select({"port", "4x7=5,6", "0x3=on", "4x_double9:float=1.5"});
    ASSERT_EQ(3u, selection.writes.size());
    EXPECT_EQ(2u, selection.writes[0].raw.size());
    EXPECT_EQ(1u, selection.writes[1].raw[0]);
    EXPECT_EQ(0x3FC00000u, selection.writes[2].raw[0]);
}

TEST_F(Selection, WritesAWholeRange)
{
    EXPECT_EQ(2, select({"port", "4x7..8=5,6"}).writes[0].tag.values);
    EXPECT_EQ(2, select({"port", "4x7..8", "5", "6"}).writes[0].tag.values);
    const rtu::TagSelection next = select({"port", "4x7..8=5,6", "4x9", "7"});
    ASSERT_EQ(2u, next.writes.size());
    EXPECT_EQ(1, next.writes[1].tag.values);
}

TEST_F(Selection, BroadcastsWrites)
{
    EXPECT_EQ(0, select({"-a", "0", "-r", "7", "port", "5"}).writes[0].tag.station);
}

TEST_F(Selection, IsRefusedWithTheReason)
{
    const MisuseCase cases[] = {
        {{"-t", "2", "port"}, "the table is 0 (coils)"},
        {{"-t", "0:float", "port"}, "formats are"},
        {{"-t", "4:word", "port"}, "formats are"},
        {{"-t", "4:", "port"}, "formats are"},
        {{"-a", "0", "port"}, "nobody answers a broadcast read"},
        {{"port", "4x_bit1.0@0=1"}, "cannot be broadcast"},
        {{"port", "3x5=1"}, "read-only"},
        {{"port", "4x5=70000"}, "must be from"},
        {{"port", "4x65536=1,2"}, "out of range"},
        {{"port", "4x1", "hello"}, "not a value here"},
        {{"port", "hello"}, "\"hello\" is neither an address nor a value"},
        {{"port", "4X1"}, "\"4X1\" is neither an address nor a value"},
        {{"--plan", "4x1", "plan.png"}, "not a value here"},
        {{"--plan", "plan.png"}, "the name of a picture ends in .svg"},
        {{"port", "4x5", "0x10"}, "0x10 behind 4x5 could be the number 16 or a coil: write 4x5=0x10 for the number"},
        {{"port", "4x5", "7", "0x10"}, "0x10 behind 4x5 could be"},
        {{"port", "4x5", "1,2"}, "several values are written 4x5=1,2 or 4x5 1 2"},
        {{"port", "4x5..6", "1,2"}, "several values are written 4x5..6=1,2 or 4x5..6 1 2"},
        {{"port", "4x_double5:float", "1,2"}, "decimals stand behind a point"},
        {{"port", "4x1..2=5"}, "4x1..2: 1 given for 2 values"},
        {{"port", "4x1..2", "5", "6", "7"}, "4x1..2: 3 given for 2 values"},
        {{"port", "4x_bit1.15..2.0=1"}, "4x_bit1.15..2.0: 1 given for 2 values"},
        {{"-t", "1", "-r", "3", "port", "1"}, "read-only"},
    };
    for (const MisuseCase &wrong : cases)
        EXPECT_TRUE(contains(refusal(wrong.arguments), wrong.reason))
            << wrong.reason << ": " << refusal(wrong.arguments);
}

} // namespace
