// The simulated slaves themselves: what they answer, what simulation files mean,
// and that a paced line never hands a byte over before its time.

#include "plant/plant.h"
#include "support/table_names.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using plant::Plant;
using plant::Table;
using Bytes = std::vector<std::uint8_t>;
using Clock = std::chrono::steady_clock;

/** Only a lost answer takes this long. */
const int GiveUpMilliseconds = 60000;

class Master
{
public:
    explicit Master(Plant &plant) : m_plant(plant)
    {
        std::string error;
        EXPECT_TRUE(plant.start(&error)) << error;
        m_port = ::open(plant.devicePath().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        EXPECT_GE(m_port, 0);
    }

    ~Master() { ::close(m_port); }
    Master(const Master &) = delete;
    Master &operator=(const Master &) = delete;

    void send(const Bytes &request)
    {
        EXPECT_EQ(::write(m_port, request.data(), request.size()), static_cast<ssize_t>(request.size()));
        m_written += request.size();
    }

    /** Everything that a request brings back. */
    Bytes ask(const Bytes &request)
    {
        const unsigned long before = m_plant.traffic().sent;
        send(request);
        plant::Traffic traffic;
        do {
            std::this_thread::sleep_for(50us);
            traffic = m_plant.traffic();
        } while (traffic.heard < m_written || traffic.inRequest || traffic.waiting > 0);
        return take(traffic.sent - before);
    }

    /** The next bytes, not one more. */
    Bytes take(std::size_t size)
    {
        Bytes bytes;
        while (bytes.size() < size) {
            pollfd wait = {m_port, POLLIN, 0};
            if (::poll(&wait, 1, GiveUpMilliseconds) <= 0)
                break;
            std::uint8_t buffer[512];
            const ssize_t count = ::read(m_port, buffer, std::min(sizeof buffer, size - bytes.size()));
            if (count <= 0)
                break;
            bytes.insert(bytes.end(), buffer, buffer + count);
        }
        return bytes;
    }

private:
    Plant &m_plant;
    int m_port;
    unsigned long m_written = 0;
};

// --- answers ----------------------------------------------------------------------

struct AnswerCase
{
    const char *what;
    Bytes request;
    Bytes answer;
};

TEST(PlantAnswers, FollowTheProtocol)
{
    Plant plant;
    plant.define(1, Table::Coils, 0, 16);
    plant.define(1, Table::HoldingRegisters, 0, 10);
    plant.define(1, Table::HoldingRegisters, 12, 5);
    plant.poke(1, Table::Coils, 1, 1);
    plant.poke(1, Table::HoldingRegisters, 1, 0x1234);
    Master master(plant);
    const AnswerCase cases[] = {
        {"registers", {1, 3, 0, 0, 0, 2, 0xC4, 0x0B}, {1, 3, 4, 0, 0, 0x12, 0x34, 0xF7, 0x44}},
        {"coils", {1, 1, 0, 0, 0, 3, 0x7C, 0x0B}, {1, 1, 1, 2, 0xD0, 0x49}},
        {"a hole within", {1, 3, 0, 8, 0, 5, 0x04, 0x0B}, {1, 0x83, 2, 0xC0, 0xF1}},
        {"an address that is not there", {1, 6, 0, 10, 0, 1, 0x68, 0x08}, {1, 0x86, 2, 0xC3, 0xA1}},
        {"a table that is not there", {1, 4, 0, 0, 0, 1, 0x31, 0xCA}, {1, 0x84, 2, 0xC2, 0xC1}},
        {"too many registers", {1, 3, 0, 0, 0, 126, 0xC5, 0xEA}, {1, 0x83, 3, 0x01, 0x31}},
        {"another station", {2, 3, 0, 0, 0, 2, 0xC4, 0x38}, {}},
        {"a wrong check sum", {1, 3, 0, 0, 0, 2, 0xC4, 0x0C}, {}},
        {"an unknown function", {1, 0x41, 0xC0, 0x10}, {1, 0xC1, 1, 0xB0, 0x50}},
        {"noise, then registers", {9, 9, 1, 3, 0, 0, 0, 2, 0xC4, 0x0B}, {1, 3, 4, 0, 0, 0x12, 0x34, 0xF7, 0x44}},
    };
    for (const AnswerCase &c : cases)
        EXPECT_EQ(master.ask(c.request), c.answer) << c.what;
    EXPECT_EQ(plant.peek(1, Table::HoldingRegisters, 10), 0);
}

TEST(PlantAnswers, ComeFromTheStationsThatAreOn)
{
    Plant plant;
    plant.define(1, Table::HoldingRegisters, 0, 1, 5);
    Master master(plant);
    const Bytes read = {1, 3, 0, 0, 0, 1, 0x84, 0x0A};
    EXPECT_FALSE(master.ask(read).empty());
    plant.setStationOn(1, false);
    EXPECT_TRUE(master.ask(read).empty());
    plant.setStationOn(1, true);
    EXPECT_FALSE(master.ask(read).empty());
    EXPECT_EQ(plant.counters(1).requests, 2u);
}

TEST(PlantFaults, StrikeAtTheirRateAndRepeatably)
{
    const Bytes read = {1, 3, 0, 0, 0, 1, 0x84, 0x0A};
    std::vector<Bytes> first;
    for (int run = 0; run < 2; ++run) {
        Plant plant;
        plant.define(1, Table::HoldingRegisters, 0, 1, 5);
        plant::Fault fault;
        std::string error;
        ASSERT_TRUE(plant::parseFault("flipped-bit rate 0.25 seed 12", &fault, &error)) << error;
        plant.addFault(fault);
        Master master(plant);
        std::vector<Bytes> answers;
        for (int i = 0; i < 400; ++i)
            answers.push_back(master.ask(read));
        const unsigned long struck = plant.counters(1).faults;
        EXPECT_GT(struck, 60u);
        EXPECT_LT(struck, 140u);
        if (run == 0)
            first = answers;
        else
            EXPECT_EQ(answers, first);
    }
}

// --- pace --------------------------------------------------------------------------

TEST(PlantPace, BringsNoByteBeforeItsTime)
{
    Plant plant;
    plant::Line line;
    line.baud = 9600;
    plant.setLine(line);
    plant.define(1, Table::HoldingRegisters, 0, 10, 5);
    plant.setTurnaround(1, 3ms);
    Master master(plant);
    const auto character = plant::characterTime(line);
    EXPECT_EQ(character, 1145833ns);
    EXPECT_EQ(plant::silenceOf(line), 4010415ns);
    const auto begin = Clock::now();
    master.send({1, 3, 0, 0, 0, 10, 0xC5, 0xCD});
    EXPECT_EQ(master.take(1).size(), 1u);
    EXPECT_GE(Clock::now() - begin, character * 9 + plant::silenceOf(line) + 3ms);
    EXPECT_EQ(master.take(24).size(), 24u);
    EXPECT_GE(Clock::now() - begin, character * (8 + 25) + plant::silenceOf(line) + 3ms);
}

struct SilenceCase
{
    int baud;
    std::chrono::nanoseconds silence;
};

TEST(PlantPace, KeepsTheSilenceOfTheRate)
{
    for (const SilenceCase &c : {SilenceCase{0, 0ns}, {19200, 2005206ns}, {38400, 1750us}, {115200, 1750us}}) {
        plant::Line line;
        line.baud = c.baud;
        EXPECT_EQ(plant::silenceOf(line), c.silence) << c.baud;
    }
}

// --- simulation files ------------------------------------------------------------------

TEST(SimulationFile, FillsTables)
{
    Plant plant;
    std::string error;
    ASSERT_TRUE(plant.loadText("baud 19200\n"
                               "station 3 # a comment\n"
                               "4x 100 = 1 0x00FF -5\n"
                               "4x 1..6 = 7 8\n"
                               "4x 7 = -0x10\n"
                               "4x_double 200 = 305419896 -2\n"
                               "0x 1..5 = 0 1\n"
                               "hole 4x 2..3\n"
                               "\n"
                               "station 4\n"
                               "off\n"
                               "3x 65536 = 9\n",
                               "test", &error))
        << error;
    EXPECT_EQ(plant.line().baud, 19200);
    EXPECT_EQ(plant.stations(), (std::vector<int>{3, 4}));
    EXPECT_EQ(plant.peek(3, Table::HoldingRegisters, 99), 1);
    EXPECT_EQ(plant.peek(3, Table::HoldingRegisters, 100), 0x00FF);
    EXPECT_EQ(plant.peek(3, Table::HoldingRegisters, 101), 0xFFFB);
    EXPECT_EQ(plant.peek(3, Table::HoldingRegisters, 4), 7);
    EXPECT_EQ(plant.peek(3, Table::HoldingRegisters, 5), 8);
    EXPECT_EQ(plant.peek(3, Table::HoldingRegisters, 6), 0xFFF0);
    EXPECT_EQ(plant.peek(3, Table::HoldingRegisters, 1), 0) << "a hole";
    EXPECT_EQ(plant.peekDouble(3, Table::HoldingRegisters, 199), 0x12345678u);
    EXPECT_EQ(plant.peekDouble(3, Table::HoldingRegisters, 201), 0xFFFFFFFEu);
    EXPECT_EQ(plant.peek(3, Table::Coils, 3), 1);
    EXPECT_EQ(plant.peek(3, Table::Coils, 4), 0);
    EXPECT_EQ(plant.peek(4, Table::InputRegisters, 65535), 9);
    EXPECT_FALSE(plant.stationIsOn(4));
}

struct MistakeCase
{
    const char *text;
    const char *message;
};

TEST(SimulationFile, SaysWhereAndWhatIsWrong)
{
    const MistakeCase cases[] = {
        {"station 0", "sim:1: a station goes from 1 to 247, not 0"},
        {"station 1\n\n4x 0 = 1", "sim:3: an address goes from 1 to 65536, not 0"},
        {"station 1\n4x 1 = 65536", "sim:2: a register goes from -32768 to 65535, not 65536"},
        {"station 1\n0x 1 = 2", "sim:2: a bit goes from 0 to 1, not 2"},
        {"station 1\n4x 1..2 = 1 2 3", "sim:2: there are more values than places in the range"},
        {"station 1\n4x 65536 = 1 2", "sim:2: the values go beyond address 65536"},
        {"station 1\n4x 1 =", "sim:2: a value is missing after \"=\""},
        {"station 1\n4x 1 wobble", "sim:2: \"wobble\" is neither \"=\" nor ramp, sine, counter or toggle"},
        {"station 1\n4x 1 ramp 5 1 every 10", "sim:2: the lowest value comes first"},
        {"station 1\n4x 1 counter every 0", "sim:2: a time of at least 1 millisecond is needed"},
        {"station 1\n4x_double 65536 = 1", "sim:2: a 32-bit value needs two registers, there is none after 65536"},
        {"station 1\n4x_double 1..3 = 1", "sim:2: a range of 32-bit values covers an even number of registers"},
        {"station 1\nhole 5x 1", "sim:2: \"5x\" is not a register type"},
        {"4x 1 = 1", "sim:1: a \"station N\" line has to come first"},
        {"baud fast", "sim:1: \"fast\" is not a whole number"},
        {"station 1\n4x 1 = 0x", "sim:2: \"0x\" is not a whole number"},
        {"station 1\n4x 1 = -0x-5", "sim:2: \"-0x-5\" is not a whole number"},
        {"station 1\n4x 1 ramp 0 9223372036854775808 every 10", "sim:2: \"9223372036854775808\" is not a whole number"},
        {"baud 9600 8N1", "sim:1: what does \"8N1\" mean here?"},
        {"fault exception", "sim:1: \"exception\" needs a whole number from 1 to 255"},
        {"fault wrong-crc rate 2", "sim:1: \"rate\" needs a number from 0 to 1, not \"2\""},
        {"fault wrong-crc often 2", "sim:1: unknown word \"often\"; there are rate, seed, station, function and times"},
    };
    for (const MistakeCase &c : cases) {
        Plant plant;
        std::string error;
        EXPECT_FALSE(plant.loadText(c.text, "sim", &error)) << c.text;
        EXPECT_EQ(error, c.message);
    }
}

TEST(SimulationFile, ThatIsNotThereIsNamed)
{
    Plant plant;
    std::string error;
    EXPECT_FALSE(plant.loadFile("/nowhere/plant.sim", &error));
    EXPECT_EQ(error, "/nowhere/plant.sim: No such file or directory");
}

// --- values that move --------------------------------------------------------------------

TEST(PlantMotion, GoesOnByItselfAndCanBeHeld)
{
    Plant plant;
    std::string error;
    ASSERT_TRUE(plant.loadText("station 1\n"
                               "4x_double 1 counter from 65534 every 1\n"
                               "4x 10 ramp 100 104 step 2 every 1\n"
                               "0x 1 toggle every 1\n",
                               "test", &error))
        << error;
    const std::uint32_t before = plant.peekDouble(1, Table::HoldingRegisters, 0);
    while (plant.peekDouble(1, Table::HoldingRegisters, 0) < before + 5)
        std::this_thread::sleep_for(1ms);
    plant.holdMotion(true);
    const std::uint32_t held = plant.peekDouble(1, Table::HoldingRegisters, 0);
    const std::uint32_t turns = held - 65534;
    std::this_thread::sleep_for(10ms);
    EXPECT_EQ(plant.peekDouble(1, Table::HoldingRegisters, 0), held);
    EXPECT_EQ(plant.peek(1, Table::HoldingRegisters, 9), 100 + turns % 3 * 2);
    EXPECT_EQ(plant.peek(1, Table::Coils, 0), turns % 2);
    plant.holdMotion(false);
    while (plant.peekDouble(1, Table::HoldingRegisters, 0) == held)
        std::this_thread::sleep_for(1ms);
}

TEST(SimulationFile, LaterValuesEndAMotion)
{
    Plant plant;
    std::string error;
    ASSERT_TRUE(plant.loadText("station 1\n"
                               "4x 1 counter from 100 every 1\n"
                               "4x 1 = 7\n"
                               "4x_double 3 counter from 0x10000 every 1\n"
                               "4x 4 = 9\n"
                               "4x_double 5 counter from 0x10000 every 1\n"
                               "4x 5 = 11\n"
                               "4x 7 = 1\n"
                               "4x 7 counter every 1\n",
                               "test", &error))
        << error;
    while (plant.peek(1, Table::HoldingRegisters, 6) < 5)
        std::this_thread::sleep_for(1ms);
    EXPECT_EQ(7, plant.peek(1, Table::HoldingRegisters, 0));
    EXPECT_EQ(9, plant.peek(1, Table::HoldingRegisters, 3)) << "the low word of a 32-bit value";
    EXPECT_EQ(11, plant.peek(1, Table::HoldingRegisters, 4)) << "its high word";
}

// --- ports that exist ----------------------------------------------------------------------

TEST(PlantOnAPort, AnswersThere)
{
    const int far = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_GE(far, 0);
    ASSERT_EQ(::grantpt(far), 0);
    ASSERT_EQ(::unlockpt(far), 0);
    Plant plant;
    plant.define(1, Table::HoldingRegisters, 0, 1, 0x0102);
    std::string error;
    ASSERT_TRUE(plant.serveOn(::ptsname(far), rtu::LineParameters(), &error)) << error;
    EXPECT_TRUE(plant.running());
    const Bytes read = {1, 3, 0, 0, 0, 1, 0x84, 0x0A};
    ASSERT_EQ(::write(far, read.data(), read.size()), 8);
    Bytes answer(7);
    std::size_t got = 0;
    while (got < answer.size()) {
        const ssize_t count = ::read(far, answer.data() + got, answer.size() - got);
        ASSERT_GT(count, 0);
        got += static_cast<std::size_t>(count);
    }
    EXPECT_EQ(answer, (Bytes{1, 3, 2, 1, 2, 0x38, 0x15}));
    ::close(far);
    while (plant.running())
        std::this_thread::sleep_for(1ms);
}

TEST(PlantOnAPort, ThatIsNotThereIsNamed)
{
    Plant plant;
    std::string error;
    EXPECT_FALSE(plant.serveOn("/dev/no-such-port", rtu::LineParameters(), &error));
    EXPECT_EQ(error, "cannot open /dev/no-such-port: No such file or directory");
    EXPECT_FALSE(plant.running());
}

} // namespace
