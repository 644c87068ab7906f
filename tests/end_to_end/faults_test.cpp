// Each kind of fault on each function code: what the driver answers to the
// first bad reply, what it answers when they do not end, and that polling goes
// on and shows what the slave holds.

#include "panel.h"
#include "plant_line.h"
#include "support/table_names.h"

#include <gtest/gtest.h>

#include <memory>
#include <ostream>

namespace {

using plant::Fault;
using plant::FaultKind;
using Values = std::vector<std::int64_t>;
using Verdicts = std::vector<int>;

const int Station = 1;

enum Verdict { Good = 1, GivenUp = 2, Again = 8 };

/** A request that makes the driver use a function. */
struct Operation
{
    int function;
    const char *name;
    bool isWrite;
    const char *type;
    int address;
    int count;
    const char *givenUpText; ///< without the suffix for exceptions
    bool suffixed;           ///< the text names the code of exceptions for odd functions only

    bool isRead() const { return !isWrite; }
};

const Operation Operations[] = {
    {1, "ReadCoils", false, "0x", 0, 10, "R,1#0x1(10)", true},
    {2, "ReadInputs", false, "1x", 0, 10, "R,1#1x1(10)", false},
    {3, "ReadRegisters", false, "4x", 10, 10, "R,1#4x11(10)", true},
    {4, "ReadInputRegisters", false, "3x", 0, 10, "R,1#3x1(10)", false},
    {5, "WriteCoil", true, "0x", 5, 1, "W,1#0x6(1)", true},
    {6, "WriteRegister", true, "4x", 15, 1, "W,1#4x16(1)", false},
    {15, "WriteCoils", true, "0x", 0, 9, "W,1#0x1(9)", true},
    {16, "WriteRegisters", true, "4x", 12, 3, "W,1#4x13(3)", false},
};

/** What the driver makes of a kind of fault, whatever the function. */
struct Expectation
{
    FaultKind kind;
    const char *name;
    int value;
    int verdict;     ///< on a reply with the fault
    bool replyEmpty; ///< the panel hears nothing at all in time
    bool isDone;     ///< the slave carries a write out all the same
    bool warned;     ///< the driver accepts the reply, the host sees that it does not fit
    bool strayBytes; ///< the reply comes late and is dropped before the next frame
};

const Expectation Expectations[] = {
    {FaultKind::NoReply, "NoReply", 0, Again, true, false, false, false},
    {FaultKind::LateReply, "LateReply", 3600000, Again, true, true, false, true},
    {FaultKind::WrongCrc, "WrongCrc", 0, Again, false, true, false, false},
    {FaultKind::FlippedBit, "FlippedBit", 0, Again, false, true, false, false},
    {FaultKind::Truncated, "Truncated", 0, Again, false, true, false, false},
    {FaultKind::TooLong, "TooLong", 0, Again, false, true, false, false},
    {FaultKind::WrongStation, "WrongStation", 0, Good, false, true, true, false},
    {FaultKind::WrongFunction, "WrongFunction", 0, Good, false, true, true, false},
    {FaultKind::Exception, "Exception", 4, Again, false, false, false, false},
    {FaultKind::Echo, "Echo", 0, Again, false, true, false, false},
    {FaultKind::GarbageBefore, "GarbageBefore", 0, Again, false, true, false, false},
};

void PrintTo(const Operation &operation, std::ostream *out)
{
    *out << operation.name;
}

void PrintTo(const Expectation &expectation, std::ostream *out)
{
    *out << expectation.name;
}

using Case = std::tuple<Expectation, Operation>;

std::string nameOf(const ::testing::TestParamInfo<Case> &info)
{
    return std::string(std::get<0>(info.param).name) + "On" + std::get<1>(info.param).name;
}

class Faults : public ::testing::TestWithParam<Case>
{
protected:
    Faults()
    {
        for (const TableName &name : TableNames)
            m_plant.define(Station, name.table, 0, 100);
        for (int i = 0; i < 20; ++i) {
            m_plant.poke(Station, plant::Table::Coils, i, i % 3 == 0);
            m_plant.poke(Station, plant::Table::DiscreteInputs, i, i % 2 == 0);
            m_plant.poke(Station, plant::Table::InputRegisters, i, static_cast<std::uint16_t>(1000 + i));
            m_plant.poke(Station, plant::Table::HoldingRegisters, i, static_cast<std::uint16_t>(0x8800 + i));
        }
    }

    void SetUp() override { open(false); }

    void open(bool removeEcho)
    {
        panel.reset();
        line.reset();
        std::string error;
        ASSERT_TRUE(m_plant.start(&error)) << error;
        line = std::make_unique<PlantLine>(m_plant);
        Panel::Settings settings;
        settings.removeEcho = removeEcho;
        panel = std::make_unique<Panel>(*line, settings);
        panel->watch(Station, "0x", 0, 10);
        panel->watch(Station, "1x", 0, 10);
        panel->watch(Station, "3x", 0, 10);
        panel->watch(Station, "4x", 10, 10);
        ASSERT_EQ(panel->plan(), 4);
        panel->settle();
    }

    const Expectation &expected() const { return std::get<0>(m_param); }
    const Operation &operation() const { return std::get<1>(m_param); }

    void strike(int times)
    {
        Fault fault;
        fault.kind = expected().kind;
        fault.value = expected().value;
        fault.function = operation().function;
        fault.times = times;
        fault.seed = 20;
        m_plant.addFault(fault);
    }

    /** Brings the driver to the operation: queues the write, or polls up to the read. */
    void request(std::int64_t seed)
    {
        if (operation().isWrite) {
            Values values;
            for (int i = 0; i < operation().count; ++i)
                values.push_back(isBitType(operation().type) ? (i + seed) % 2 : seed + i);
            panel->write(Station, operation().type, operation().address, values);
            m_written = values;
            return;
        }
        while (nextFunction() != operation().function)
            panel->step();
    }

    int nextFunction()
    {
        FRAME_PRO frame;
        panel->driver.getSendFrame(&frame);
        return frame.frame[1];
    }

    Values shown() { return panel->shown(Station, operation().type, operation().address, operation().count); }

    Values held()
    {
        Values values;
        for (int i = 0; i < operation().count; ++i)
            values.push_back(m_plant.peek(Station, tableNamed(operation().type), operation().address + i));
        return values;
    }

    /** Checks the frames since @p first: function, what was heard, what the host noticed. */
    void expectBadReplies(std::size_t first, std::size_t count)
    {
        for (std::size_t i = first; i < first + count; ++i) {
            const rtu::Transaction &t = panel->transactions.at(i);
            EXPECT_EQ(functionOf(t), operation().function);
            EXPECT_EQ(t.reply.isEmpty(), expected().replyEmpty);
            EXPECT_EQ(!t.warning.isEmpty(), expected().warned) << t.warning.toStdString();
        }
    }

    void expectAgreement()
    {
        panel->settle();
        EXPECT_EQ(shown(), held());
        const std::size_t from = panel->transactions.size();
        panel->settle();
        for (std::size_t i = from; i < panel->transactions.size(); ++i)
            EXPECT_EQ(panel->transactions[i].verdict, Good) << "polling goes on";
    }

    std::string givenUpText() const
    {
        std::string text = operation().givenUpText;
        if (expected().kind == FaultKind::Exception && operation().suffixed)
            text += ",error code:" + std::to_string(operation().function);
        return text;
    }

    const Case m_param = GetParam();
    plant::Plant m_plant;
    std::unique_ptr<PlantLine> line;
    std::unique_ptr<Panel> panel;
    Values m_written;
};

TEST_P(Faults, OnceAreGotOver)
{
    request(1);
    strike(1);
    const std::size_t first = panel->transactions.size();
    const Verdicts verdicts = panel->verdicts();
    EXPECT_EQ(verdicts, expected().verdict == Good ? Verdicts{Good} : (Verdicts{Again, Good}));
    expectBadReplies(first, 1);
    if (expected().strayBytes) {
        EXPECT_GT(panel->transactions.back().strayBytes, 0u);
    }
    if (operation().isWrite) {
        EXPECT_EQ(held(), m_written);
        EXPECT_EQ(shown(), m_written);
    }
    EXPECT_EQ(m_plant.counters(Station).faults, 1u);
    expectAgreement();
}

TEST_P(Faults, WithoutEndAreGivenUpAndPolledOn)
{
    const Values before = held();
    request(4);
    strike(Fault::NoLimit);
    const std::size_t first = panel->transactions.size();
    const Verdicts verdicts = panel->verdicts();
    expectBadReplies(first, verdicts.size());
    const rtu::Transaction last = panel->transactions.back();
    if (expected().verdict == Good) {
        EXPECT_EQ(verdicts, Verdicts{Good});
        EXPECT_EQ(last.information, QString());
    } else {
        EXPECT_EQ(verdicts, (Verdicts{Again, Again, GivenUp}));
        EXPECT_EQ(last.information.toStdString(), givenUpText());
    }
    if (operation().isWrite) {
        EXPECT_EQ(held(), expected().isDone ? m_written : before);
        EXPECT_EQ(shown(), expected().verdict == Good ? m_written : before) << "a write given up is taken back";
    }
    m_plant.clearFaults();
    expectAgreement();
}

INSTANTIATE_TEST_SUITE_P(Each, Faults,
                         ::testing::Combine(::testing::ValuesIn(Expectations), ::testing::ValuesIn(Operations)),
                         nameOf);

// --- what depends on more than the kind ---------------------------------------

class EchoFaults : public Faults
{
};

TEST_P(EchoFaults, AreNoFaultsOnceTheHostRemovesTheEcho)
{
    open(true);
    request(1);
    strike(Fault::NoLimit);
    EXPECT_EQ(panel->verdicts(), Verdicts{Good});
    EXPECT_TRUE(panel->transactions.back().echoRemoved);
    expectAgreement();
}

std::vector<Expectation> echoExpectation()
{
    for (const Expectation &expectation : Expectations) {
        if (expectation.kind == FaultKind::Echo)
            return {expectation};
    }
    return {};
}

INSTANTIATE_TEST_SUITE_P(Each, EchoFaults,
                         ::testing::Combine(::testing::ValuesIn(echoExpectation()), ::testing::ValuesIn(Operations)),
                         nameOf);

// --- bits of registers: two frames --------------------------------------------

class BitWriteFaults : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_plant.define(Station, plant::Table::HoldingRegisters, 0, 10, 0x0F00);
        std::string error;
        ASSERT_TRUE(m_plant.start(&error)) << error;
        line = std::make_unique<PlantLine>(m_plant);
        panel = std::make_unique<Panel>(*line, Panel::Settings());
        panel->watch(Station, "4x", 0, 2);
        panel->plan();
        panel->settle();
        panel->write(Station, "4x_bit", 3, {1});
    }

    void strike(int function, int times)
    {
        Fault fault;
        fault.kind = FaultKind::WrongCrc;
        fault.function = function;
        fault.times = times;
        m_plant.addFault(fault);
    }

    int held() { return m_plant.peek(Station, plant::Table::HoldingRegisters, 0); }

    plant::Plant m_plant;
    std::unique_ptr<PlantLine> line;
    std::unique_ptr<Panel> panel;
};

TEST_F(BitWriteFaults, OfTheReadAreGotOver)
{
    strike(3, 2);
    EXPECT_EQ(panel->verdicts(), (Verdicts{Again, Again, Good}));
    EXPECT_EQ(panel->verdicts(), Verdicts{Good});
    EXPECT_EQ(functionOf(panel->transactions.back()), 16);
    EXPECT_EQ(held(), 0x0F08);
    panel->settle();
    EXPECT_EQ(panel->shown(Station, "4x", 0, 1), Values{0x0F08});
}

TEST_F(BitWriteFaults, OfTheWriteAreGotOverWithoutReadingAgain)
{
    strike(16, 2);
    EXPECT_EQ(panel->verdicts(), Verdicts{Good});
    EXPECT_EQ(panel->verdicts(), (Verdicts{Again, Again, Good}));
    EXPECT_EQ(functionOf(panel->transactions.back()), 16);
    EXPECT_EQ(held(), 0x0F08);
}

TEST_F(BitWriteFaults, OfTheReadWithoutEndSendNoWrite)
{
    strike(3, 3);
    m_plant.recordRequests(true);
    EXPECT_EQ(panel->verdicts(), (Verdicts{Again, Again, GivenUp}));
    EXPECT_EQ(panel->transactions.back().information, QString::fromLatin1("W,1#4x_bit1.3(1)"));
    panel->settle();
    for (const std::vector<std::uint8_t> &frame : m_plant.requests())
        EXPECT_EQ(frame[1], 3);
    EXPECT_EQ(held(), 0x0F00);
    EXPECT_EQ(panel->shown(Station, "4x", 0, 1), Values{0x0F00});
}

} // namespace
