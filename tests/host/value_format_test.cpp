#include "driver_test.h"

#include "host/tags/value_format.h"

namespace {

using namespace test_host;
using rtu::Format;
using rtu::ValueFormat;

ValueFormat format(Format kind, int width, double scale = 1.0)
{
    ValueFormat result;
    result.format = kind;
    result.width = width;
    result.scale = scale;
    return result;
}

struct Shown
{
    Format kind;
    int width;
    double scale;
    std::uint32_t raw;
    const char *text;
};

class ValueText : public testing::TestWithParam<Shown>
{
};

TEST_P(ValueText, ShowsAndReadsBack)
{
    const Shown &shown = GetParam();
    const ValueFormat f = format(shown.kind, shown.width, shown.scale);
    EXPECT_EQ(shown.text, rtu::valueText(shown.raw, f));
    EXPECT_EQ(shown.raw, rtu::parseValue(shown.text, f));
}

INSTANTIATE_TEST_SUITE_P(
    Formats, ValueText,
    testing::Values(
        Shown{Format::Bit, 0, 1, 1, "1"}, Shown{Format::Bit, 0, 1, 0, "0"},
        Shown{Format::Unsigned, 1, 1, 65535, "65535"}, Shown{Format::Signed, 1, 1, 0xFFFF, "-1"},
        Shown{Format::Signed, 1, 1, 0x8000, "-32768"}, Shown{Format::Hex, 1, 1, 0x1F, "0x001F"},
        Shown{Format::Binary, 1, 1, 0x8001, "0b1000000000000001"},
        Shown{Format::Binary, 1, 1, 10, "0b0000000000001010"},
        Shown{Format::Binary, 2, 1, 0x80000001, "0b10000000000000000000000000000001"},
        Shown{Format::Unsigned, 2, 1, 0xFFFFFFFF, "4294967295"}, Shown{Format::Signed, 2, 1, 0x80000000, "-2147483648"},
        Shown{Format::Hex, 2, 1, 0x12345678, "0x12345678"}, Shown{Format::Float, 2, 1, 0x40490FDB, "3.1415927"},
        Shown{Format::Float, 2, 1, 0x41200000, "10"}, Shown{Format::Float, 2, 1, 0x49742400, "1000000"},
        Shown{Format::Float, 2, 1, 0xCB3C6148, "-12345672"}, Shown{Format::Float, 2, 1, 0x60AD78EC, "1e+20"},
        Shown{Format::Float, 2, 1, 0x2EDBE6FF, "1e-10"}, Shown{Format::Unsigned, 2, 0.1, 100000000, "10000000"},
        Shown{Format::Unsigned, 1, 0.1, 255, "25.5"}, Shown{Format::Signed, 1, 0.01, 0xFFFF, "-0.01"},
        Shown{Format::Unsigned, 1, 10, 7, "70"}));

// Scaled floats divide again, the greatest float ends where floats do, and a NaN has bits of its own.
TEST(StoredText, ComesBackAsTheSameBits)
{
    for (double scale : {1.0, 0.1, 3.0, -0.01}) {
        for (std::uint32_t raw : {0x43BE4695u, 0x3F800001u, 0x80000000u, 0x00000001u, 0x7F7FFFFFu, 0xFF7FFFFFu,
                                  0x7F800000u, 0x7FC00000u, 0x7F800001u, 0xFFFFFFFFu}) {
            const ValueFormat f = format(Format::Float, 2, scale);
            EXPECT_EQ(raw, rtu::parseValue(rtu::storedText(raw, f), f)) << rtu::storedText(raw, f) << ", x " << scale;
        }
    }
    EXPECT_EQ("0xFFFFFFFF", rtu::storedText(0xFFFFFFFF, format(Format::Float, 2)));
    EXPECT_EQ("25.5", rtu::storedText(255, format(Format::Unsigned, 1, 0.1)));
}

TEST(ParseValue, TakesOtherWaysOfWriting)
{
    EXPECT_EQ(1u, rtu::parseValue("on", format(Format::Bit, 0)));
    EXPECT_EQ(0u, rtu::parseValue("false", format(Format::Bit, 0)));
    EXPECT_EQ(1u, rtu::parseValue("ON", format(Format::Bit, 0)));
    EXPECT_EQ(0x1Fu, rtu::parseValue("0x1f", format(Format::Unsigned, 1)));
    EXPECT_EQ(5u, rtu::parseValue("0b101", format(Format::Unsigned, 1)));
    EXPECT_EQ(0xFFFFu, rtu::parseValue("-1", format(Format::Unsigned, 1)));
    EXPECT_EQ(0x40490FDBu, rtu::parseValue("0x40490FDB", format(Format::Float, 2)));
}

struct RefusedValue
{
    Format kind;
    int width;
    const char *text;
    const char *reason;
};

class ParseValueRefusal : public testing::TestWithParam<RefusedValue>
{
};

TEST_P(ParseValueRefusal, SaysWhy)
{
    const RefusedValue &refused = GetParam();
    const std::string reason = refusalOf([&] { rtu::parseValue(refused.text, format(refused.kind, refused.width)); });
    EXPECT_TRUE(contains(reason, refused.reason)) << reason;
}

INSTANTIATE_TEST_SUITE_P(Texts, ParseValueRefusal,
                         testing::Values(RefusedValue{Format::Bit, 0, "2", "0 or 1"},
                                         RefusedValue{Format::Unsigned, 1, "65536", "-32768 to 65535"},
                                         RefusedValue{Format::Signed, 1, "32768", "-32768 to 32767"},
                                         RefusedValue{Format::Unsigned, 1, "1.5", "whole numbers"},
                                         RefusedValue{Format::Unsigned, 1, "abc", "a number"},
                                         RefusedValue{Format::Unsigned, 1, "", "a number"},
                                         RefusedValue{Format::Unsigned, 1, "12x", "a number"},
                                         RefusedValue{Format::Unsigned, 1, "0x10000", "more than 16 bits"},
                                         RefusedValue{Format::Unsigned, 1, "nan", "must be from"},
                                         RefusedValue{Format::Signed, 2, "2147483648", "2147483647"},
                                         RefusedValue{Format::Float, 2, "1,5", "behind a point, as in 1.5"},
                                         RefusedValue{Format::Float, 2, "1e40", "beyond 3.4e38"},
                                         RefusedValue{Format::Float, 2, "-1e40", "beyond 3.4e38"}));

TEST(SignedReading, IsOfRegistersThatMayBeNegative)
{
    rtu::ValueFormat format;
    EXPECT_EQ("-1", rtu::signedReading(0xFFFF, format));
    EXPECT_EQ("-32768", rtu::signedReading(0x8000, format));
    EXPECT_EQ("", rtu::signedReading(0x7FFF, format));
    rtu::ValueFormat scaled = format;
    scaled.scale = 0.1;
    rtu::ValueFormat hex = format;
    hex.format = rtu::Format::Hex;
    rtu::ValueFormat wide = format;
    wide.width = 2;
    for (const rtu::ValueFormat &other : {scaled, hex, wide})
        EXPECT_EQ("", rtu::signedReading(0xFFFF, other));
}

TEST(JsonNumber, IsToldFromOtherTexts)
{
    for (const char *number : {"0", "-5", "12.5", "1e+06", "0.25"})
        EXPECT_TRUE(rtu::isJsonNumber(number)) << number;
    for (const char *text : {"0x1F", "nan", "inf", "0011", "0b1000000000000001"})
        EXPECT_FALSE(rtu::isJsonNumber(text)) << text;
}

class FormatNames : public DriverTest
{
};

TEST_F(FormatNames, FitTheirTypes)
{
    EXPECT_EQ(Format::Unsigned, rtu::formatFromName("", *catalog.find("4x")));
    EXPECT_EQ(Format::Bit, rtu::formatFromName("", *catalog.find("0x")));
    EXPECT_EQ(Format::Signed, rtu::formatFromName("int16", *catalog.find("4x")));
    EXPECT_EQ(Format::Float, rtu::formatFromName("float", *catalog.find("3x_double")));
    const std::string reason = refusalOf([&] { rtu::formatFromName("float", *catalog.find("4x")); });
    EXPECT_TRUE(contains(reason, "uint16, int16, uint, int, hex, bin")) << reason;
}

TEST_F(FormatNames, AreReadBack)
{
    for (const rtu::RegisterType &type : catalog.types()) {
        for (Format kind :
             {Format::Bit, Format::Unsigned, Format::Signed, Format::Hex, Format::Binary, Format::Float}) {
            const bool fits =
                type.isBit() ? kind == Format::Bit : kind != Format::Bit && (kind != Format::Float || type.isDouble());
            if (fits) {
                EXPECT_EQ(kind, rtu::formatFromName(rtu::formatName(kind, type.width), type)) << type.name;
            }
        }
    }
}

} // namespace
