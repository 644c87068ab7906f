// Numbers and texts of tags on their way to the registers and back, up to the limits of what those hold.

#include "kit/link_test.h"

#include <cmath>
#include <limits>

namespace {

using namespace test_kit;
using rtu::TagFormat;
using rtu::WordOrder;

class TagLayouts : public LinkTest
{
protected:
    TagLayouts()
    {
        plant.define(1, Table::HoldingRegisters, 0, 200);
        plant.define(1, Table::Coils, 0, 100);
    }

    /** The registers from 4x11 on once the numbers have been written. */
    std::vector<int> written(const TagDefinition &where, const std::vector<double> &numbers, int registers)
    {
        plant.poke(1, Table::HoldingRegisters, 10 + registers, 0xBEEF);
        link().write(where, numbers);
        steps(3);
        EXPECT_EQ(0xBEEF, plant.peek(1, Table::HoldingRegisters, 10 + registers)) << "what is behind stays";
        return held(registers);
    }

    std::vector<int> held(int registers)
    {
        std::vector<int> all;
        for (int i = 0; i < registers; ++i)
            all.push_back(plant.peek(1, Table::HoldingRegisters, 10 + i));
        return all;
    }

    static TagDefinition made(const char *address, TagFormat format, double scale = 1,
                              WordOrder order = WordOrder::HighFirst)
    {
        TagDefinition where(1, address, format);
        where.scale = scale;
        where.wordOrder = order;
        return where;
    }

    static TagDefinition several(TagDefinition where, int values)
    {
        where.values = values;
        return where;
    }

    using Registers = std::vector<int>;
};

TEST_F(TagLayouts, TakeTheNumbersUpToTheirLimits)
{
    struct Case
    {
        TagDefinition where;
        std::vector<double> numbers;
        Registers held;
    };
    const double largest = static_cast<double>(std::numeric_limits<float>::max());
    const Case cases[] = {
        {made("4x11", TagFormat::Unsigned), {65535}, {0xFFFF}},
        {made("4x11", TagFormat::Unsigned), {-32768}, {0x8000}},
        {made("4x11", TagFormat::Signed), {32767}, {0x7FFF}},
        {made("4x11", TagFormat::Signed), {-32768}, {0x8000}},
        {made("4x11", TagFormat::Hex), {0x1234}, {0x1234}},
        {made("4x11", TagFormat::Unsigned), {6.5}, {7}},
        {made("4x11", TagFormat::Unsigned), {6.4999}, {6}},
        {made("4x11", TagFormat::Signed), {-1.4}, {0xFFFF}},
        {made("4x11", TagFormat::Unsigned, 0.1), {12.5}, {125}},
        {made("4x11", TagFormat::Unsigned, 4), {12}, {3}},
        {made("4x11", TagFormat::Unsigned, 1, WordOrder::LowFirst), {0x1234}, {0x1234}},
        {several(made("4x11", TagFormat::Unsigned), 3), {1, 2, 3}, {1, 2, 3}},
        {made("4x_double11", TagFormat::Unsigned), {4294967295.0}, {0xFFFF, 0xFFFF}},
        {made("4x_double11", TagFormat::Unsigned), {-2147483648.0}, {0x8000, 0}},
        {made("4x_double11", TagFormat::Signed), {2147483647.0}, {0x7FFF, 0xFFFF}},
        {made("4x_double11", TagFormat::Unsigned), {0x12345678}, {0x1234, 0x5678}},
        {made("4x_double11", TagFormat::Unsigned, 1, WordOrder::LowFirst), {0x12345678}, {0x5678, 0x1234}},
        {several(made("4x_double11", TagFormat::Unsigned, 1, WordOrder::LowFirst), 2), {1, 2}, {1, 0, 2, 0}},
        {made("4x_double11", TagFormat::Float), {largest}, {0x7F7F, 0xFFFF}},
        {made("4x_double11", TagFormat::Float), {-largest}, {0xFF7F, 0xFFFF}},
        {made("4x_double11", TagFormat::Float), {std::numeric_limits<double>::infinity()}, {0x7F80, 0}},
        {made("4x_double11", TagFormat::Float, 2), {5}, {0x4020, 0}},
    };
    int row = 0;
    for (const Case &c : cases)
        EXPECT_EQ(c.held, written(c.where, c.numbers, static_cast<int>(c.held.size()))) << "row " << row++;
    link().write(TagDefinition(1, "4x_double11", TagFormat::Float), {std::numeric_limits<double>::quiet_NaN()});
    steps(1);
    EXPECT_EQ(0x7FC0, held(2)[0] & 0x7FC0) << "a float has a pattern for what is no number";
}

TEST_F(TagLayouts, TakeBits)
{
    link().write(several(TagDefinition(1, "0x11"), 3), {1, 0, 1});
    steps(1);
    EXPECT_EQ(1, plant.peek(1, Table::Coils, 10));
    EXPECT_EQ(0, plant.peek(1, Table::Coils, 11));
    EXPECT_EQ(1, plant.peek(1, Table::Coils, 12));
    link().write(several(TagDefinition(1, "4x_bit11.14"), 3), {1, 1, 1});
    steps(2);
    EXPECT_EQ((Registers{0xC000, 1}), held(2));
}

TEST_F(TagLayouts, TakeTextsUpToTheirLength)
{
    const rtu::Tag tag = link().addTag(several(TagDefinition(1, "4x11", TagFormat::Text), 2));
    const std::pair<QString, Registers> cases[] = {
        {QString::fromLatin1("ABCD"), {0x4142, 0x4344}},
        {QString::fromLatin1("abc"), {0x6162, 0x6300}},
        {QString::fromLatin1("\xE9"), {0xE900, 0}},
        {QString(), {0, 0}},
    };
    for (const auto &c : cases) {
        link().write(tag, c.first);
        steps(2);
        EXPECT_EQ(c.second, held(2)) << c.first.toStdString();
        EXPECT_EQ(c.first.toStdString(), tag.value().text().toStdString());
    }
}

TEST_F(TagLayouts, AreReadAsTheirFormatSays)
{
    struct Case
    {
        TagDefinition where;
        Registers held;
        std::vector<double> numbers;
        const char *text;
    };
    const Case cases[] = {
        {made("4x11", TagFormat::Unsigned, 0.5), {10}, {5}, "5"},
        {made("4x11", TagFormat::Unsigned, 0.1), {6}, {0.1 * 6}, "0.6"}, // one digit more would be 0.6000000000000001
        {made("4x11", TagFormat::Unsigned, 1, WordOrder::LowFirst), {0x1234}, {0x1234}, "4660"},
        {made("4x11", TagFormat::Hex), {0xABC}, {0xABC}, "0x0ABC"},
        {several(made("4x11", TagFormat::Hex), 2), {1, 0xFFFF}, {1, 65535}, "0x0001 0xFFFF"},
        {several(made("4x11", TagFormat::Signed), 3), {5, 0xFFFF, 7}, {5, -1, 7}, "5 -1 7"},
        {several(TagDefinition(1, "4x_bit11.15"), 3), {0x8000, 2}, {1, 0, 1}, "1 0 1"},
        {made("4x_double11", TagFormat::Hex), {0, 0xAB}, {0xAB}, "0x000000AB"},
        {made("4x_double11", TagFormat::Binary), {0, 5}, {5}, "0b00000000000000000000000000000101"},
        {made("4x_double11", TagFormat::Unsigned, 1.0000001e-5),
         {0xFFFF, 0xFFFF},
         {4294967295.0 * 1.0000001e-5},
         "42949.6772449673"},
        {made("4x_double11", TagFormat::Signed, -2), {0xFFFF, 0xFFFE}, {4}, "4"},
        {made("4x_double11", TagFormat::Float), {0x4049, 0x0FDB}, {static_cast<double>(3.14159274f)}, "3.141593"},
        {several(made("4x_double11", TagFormat::Float, 1, WordOrder::LowFirst), 2),
         {0, 0x4020, 0, 0xC020},
         {2.5, -2.5},
         "2.5 -2.5"},
    };
    for (const Case &c : cases) {
        for (std::size_t i = 0; i < c.held.size(); ++i)
            plant.poke(1, Table::HoldingRegisters, 10 + static_cast<int>(i), static_cast<std::uint16_t>(c.held[i]));
        rtu::TagValue value;
        link().read(c.where, [&value](const rtu::ReadResult &result) { value = result.value; });
        steps(1);
        EXPECT_EQ(c.text, value.text().toStdString());
        ASSERT_EQ(static_cast<int>(c.numbers.size()), value.count()) << c.text;
        for (int i = 0; i < value.count(); ++i)
            EXPECT_DOUBLE_EQ(c.numbers[static_cast<std::size_t>(i)], value.number(i)) << c.text;
        EXPECT_EQ(0.0, value.number(-1));
        EXPECT_EQ(0.0, value.number(value.count()));
        EXPECT_TRUE(value.good());
        EXPECT_EQ(0, value.exceptionCode);
    }
}

} // namespace
