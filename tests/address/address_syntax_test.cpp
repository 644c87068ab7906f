// The register.bit notation and the two address checks of the editor.

#include "address/address_syntax.h"
#include "support/driver_fixture.h"

#include <climits>

namespace {

using namespace support;

const int Untouched = -12345;

// --- register.bit notation --------------------------------------------------------

struct NotationCase
{
    const char *text;
    int result;
    int value; // Untouched after a failure
};

class RegisterBitNotation : public ::testing::TestWithParam<NotationCase>
{
};

TEST_P(RegisterBitNotation, IsFoldedOrRefused)
{
    int value = Untouched;
    EXPECT_EQ(a2i_ddd_DD(QString::fromLatin1(GetParam().text), value), GetParam().result) << GetParam().text;
    EXPECT_EQ(value, GetParam().value) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(Accepted, RegisterBitNotation,
                         ::testing::Values(NotationCase{"1.0", 1, 16}, NotationCase{"1.5", 1, 21},
                                           NotationCase{"1.9", 1, 25}, NotationCase{"1.10", 1, 26},
                                           NotationCase{"3.15", 1, 63}, NotationCase{"65536.15", 1, 0x10000F},
                                           NotationCase{"70000.0", 1, 1120000}, NotationCase{"007.1", 1, 113}));

// The register is not judged here: the range tests of the callers refuse these.
INSTANTIATE_TEST_SUITE_P(RegisterIsNotRangeChecked, RegisterBitNotation,
                         ::testing::Values(NotationCase{"0.0", 1, 0}, NotationCase{"0.15", 1, 15},
                                           NotationCase{"-1.3", 1, -13}, NotationCase{"+2.3", 1, 35}));

INSTANTIATE_TEST_SUITE_P(OneDotExactly, RegisterBitNotation,
                         ::testing::Values(NotationCase{"", -1, Untouched}, NotationCase{"12", -1, Untouched},
                                           NotationCase{"1.2.3", -1, Untouched}, NotationCase{"1..2", -1, Untouched},
                                           NotationCase{".1.", -1, Untouched}));

INSTANTIATE_TEST_SUITE_P(BothPartsAreDecimal, RegisterBitNotation,
                         ::testing::Values(NotationCase{".", -1, Untouched}, NotationCase{"1.", -1, Untouched},
                                           NotationCase{".5", -1, Untouched}, NotationCase{"a.5", -1, Untouched},
                                           NotationCase{"1.a", -1, Untouched}, NotationCase{"0x1.5", -1, Untouched},
                                           NotationCase{"1,5", -1, Untouched}, NotationCase{"1.F", -1, Untouched},
                                           NotationCase{"99999999999.1", -1, Untouched}));

// A bit below 10 is written with one digit, the others with two: 7.05 is no address.
INSTANTIATE_TEST_SUITE_P(BitDigitsDecide, RegisterBitNotation,
                         ::testing::Values(NotationCase{"7.05", -1, Untouched}, NotationCase{"7.00", -1, Untouched},
                                           NotationCase{"7.09", -1, Untouched}, NotationCase{"1.16", -1, Untouched},
                                           NotationCase{"1.99", -1, Untouched}, NotationCase{"1.-1", -1, Untouched},
                                           NotationCase{"1.+5", -1, Untouched}, NotationCase{"1.010", -1, Untouched},
                                           NotationCase{"1.100", -1, Untouched}, NotationCase{"1.+12", -1, Untouched}));

// --- intf_checkAddrValidity -------------------------------------------------------

enum ObjectKind { BitObject = 0, WordObject = 1 };

struct Checked
{
    int result;
    int address;
};

Checked validity(const char *type, const char *text, int count, int kind)
{
    QString regType = QString::fromLatin1(type);
    QString addressText = QString::fromLatin1(text);
    Checked checked = {0, Untouched};
    checked.result = intf_checkAddrValidity(&regType, &addressText, &checked.address, count, kind);
    EXPECT_EQ(regType, QString::fromLatin1(type));
    EXPECT_EQ(addressText, QString::fromLatin1(text));
    return checked;
}

void expectValid(const Checked &checked, int address)
{
    EXPECT_EQ(checked.result, 0);
    EXPECT_EQ(checked.address, address);
}

TEST(CheckAddrValidity, LastRegisterIsValidAloneOnly)
{
    expectValid(validity("4x", "65536", 1, WordObject), 65535);
    EXPECT_EQ(validity("4x", "65536", 2, WordObject).result, 2);
    expectValid(validity("4x", "65535", 2, WordObject), 65534);
}

TEST(CheckAddrValidity, FirstRegisterIsOne)
{
    expectValid(validity("4x", "1", 1, WordObject), 0);
    EXPECT_EQ(validity("4x", "0", 1, WordObject).result, 2);
    EXPECT_EQ(validity("4x", "65537", 0, WordObject).result, 0); // 65537 + 0 is still inside the sum
    EXPECT_EQ(validity("4x", "65538", 0, WordObject).result, 2);
}

TEST(CheckAddrValidity, EmptyTextIsNoNumber)
{
    EXPECT_EQ(validity("4x", "", 1, WordObject).result, 4);
    EXPECT_EQ(validity("4x_bit", "", 1, BitObject).result, 4);
}

TEST(CheckAddrValidity, GarbageIsNoNumber)
{
    const char *const texts[] = {"abc", "1.5", "0x10", "12a", "1 2", "99999999999", "1e3", "\xB2", "."};
    const char *const types[] = {"3x", "4x", "3x_double", "4x_double"};
    for (const char *type : types)
        for (const char *text : texts)
            EXPECT_EQ(validity(type, text, 2, WordObject).result, 4) << type << " " << text;
}

TEST(CheckAddrValidity, LastBitIsValidAloneOnly)
{
    expectValid(validity("4x_bit", "1.0", 1, BitObject), 0);
    expectValid(validity("4x_bit", "65536.15", 1, BitObject), 1048575);
    EXPECT_EQ(validity("4x_bit", "65536.15", 2, BitObject).result, 2);
    expectValid(validity("3x_bit", "65536.0", 16, BitObject), 1048560);
    EXPECT_EQ(validity("3x_bit", "65536.0", 17, BitObject).result, 2);
    EXPECT_EQ(validity("3x_bit", "65537.0", 1, BitObject).result, 2);
}

TEST(CheckAddrValidity, RegisterBitTextsAreJudged)
{
    EXPECT_EQ(validity("4x_bit", "0.15", 1, BitObject).result, 2);
    EXPECT_EQ(validity("4x_bit", "1.16", 1, BitObject).result, 4);
    EXPECT_EQ(validity("4x_bit", "1.05", 1, BitObject).result, 4);
    expectValid(validity("4x_bit", "1.5", 1, BitObject), 5);
    EXPECT_EQ(validity("4x_bit", "12", 1, BitObject).result, 4);
    EXPECT_EQ(validity("4x_bit", "1.2.3", 1, BitObject).result, 4);
}

TEST(CheckAddrValidity, SignsAreRefused)
{
    EXPECT_EQ(validity("4x", "+5", 1, WordObject).result, 4);
    EXPECT_EQ(validity("4x", "-5", 1, WordObject).result, 4);
    EXPECT_EQ(validity("4x", "5-", 1, WordObject).result, 4);
    EXPECT_EQ(validity("4x_bit", "+1.5", 1, BitObject).result, 4);
    EXPECT_EQ(validity("4x_bit", "-1.5", 1, BitObject).result, 4);
    EXPECT_EQ(validity("0x", "+5", 1, BitObject).result, 4);
}

TEST(CheckAddrValidity, SignIsRefusedBeforeTheTypeIsKnown)
{
    EXPECT_EQ(validity("5x", "+5", 1, WordObject).result, 4);
    EXPECT_EQ(validity("5x", "-5", 1, BitObject).result, 4);
    EXPECT_EQ(validity("5x", "5", 1, WordObject).result, 3);
}

TEST(CheckAddrValidity, TypeMustFitTheObjectBeforeAllElse)
{
    const char *const bitTypes[] = {"0x", "1x", "3x_bit", "4x_bit"};
    const char *const wordTypes[] = {"3x", "4x", "3x_double", "4x_double"};
    for (const char *type : bitTypes) {
        EXPECT_EQ(validity(type, "+abc", 1, WordObject).result, 1) << type;
        EXPECT_EQ(validity(type, "1.5", 1, 7).result, 1) << type;
        EXPECT_EQ(validity(type, "1.5", 1, -1).result, 1) << type;
    }
    for (const char *type : wordTypes)
        EXPECT_EQ(validity(type, "-abc", 1, BitObject).result, 1) << type;
}

TEST(CheckAddrValidity, WordObjectIsAnyNonzeroKind)
{
    expectValid(validity("4x", "5", 1, 7), 4);
    expectValid(validity("4x", "5", 1, -1), 4);
}

TEST(CheckAddrValidity, DoubleNeedsTwoRegisters)
{
    const char *const types[] = {"3x_double", "4x_double"};
    for (const char *type : types) {
        EXPECT_EQ(validity(type, "1", 1, WordObject).result, 5) << type;
        EXPECT_EQ(validity(type, "0", 1, WordObject).result, 5) << type << ": before the range test";
        EXPECT_EQ(validity(type, "70000", 1, WordObject).result, 5) << type << ": before the range test";
        EXPECT_EQ(validity(type, "abc", 1, WordObject).result, 4) << type << ": after the conversion";
        EXPECT_EQ(validity(type, "65536", 2, WordObject).result, 2) << type;
        expectValid(validity(type, "65535", 2, WordObject), 65534);
        expectValid(validity(type, "1", 0, WordObject), 0);
        expectValid(validity(type, "1", 3, WordObject), 0);
    }
}

TEST(CheckAddrValidity, UnknownTypesAreCode3WhateverTheText)
{
    const char *const types[] = {"5x", "", "4X", "4x ", " 4x", "4x_Bit", "4x_double ", "x"};
    for (const char *type : types) {
        EXPECT_EQ(validity(type, "1", 1, WordObject).result, 3) << type;
        EXPECT_EQ(validity(type, "1", 1, BitObject).result, 3) << type;
        EXPECT_EQ(validity(type, "abc", 1, BitObject).result, 3) << type;
        EXPECT_EQ(validity(type, "", 1, BitObject).result, 3) << type;
    }
}

TEST(CheckAddrValidity, CountOfNoneIsNotRejected)
{
    expectValid(validity("0x", "65536", 0, BitObject), 65535);
    expectValid(validity("4x", "65536", -5, WordObject), 65535);
    expectValid(validity("4x_bit", "65536.15", 0, BitObject), 1048575);
    expectValid(validity("4x", "1", INT_MIN, WordObject), 0);
}

TEST(CheckAddrValidity, SumsBeyond32BitsAreOutOfRange)
{
    EXPECT_EQ(validity("4x", "1", INT_MAX, WordObject).result, 2);
    EXPECT_EQ(validity("4x", "2147483647", 1, WordObject).result, 2);
    EXPECT_EQ(validity("4x", "2147483647", INT_MAX, WordObject).result, 2);
    EXPECT_EQ(validity("4x_double", "2147483647", INT_MAX, WordObject).result, 2);
    EXPECT_EQ(validity("4x_bit", "1.0", INT_MAX, BitObject).result, 2);
    EXPECT_EQ(validity("4x_bit", "65536.15", INT_MAX, BitObject).result, 2);
}

TEST(CheckAddrValidity, RegisterTimesSixteenDoesNotWrapIntoTheRange)
{
    EXPECT_EQ(validity("4x_bit", "268435457.0", 1, BitObject).result, 2); // x 16 is 2^32 + 16
    EXPECT_EQ(validity("3x_bit", "134217729.0", 1, BitObject).result, 2);
    EXPECT_EQ(validity("3x_bit", "2147483647.15", 1, BitObject).result, 2);
}

TEST(CheckAddrValidity, OutAddressHoldsRawValuesAfterAFailure)
{
    EXPECT_EQ(validity("4x", "abc", 1, WordObject).address, 0);
    EXPECT_EQ(validity("4x", "70000", 1, WordObject).address, 70000);
    EXPECT_EQ(validity("4x_bit", "0.15", 1, BitObject).address, 15);
    EXPECT_EQ(validity("4x_bit", "1.16", 1, BitObject).address, Untouched);
    EXPECT_EQ(validity("5x", "1", 1, BitObject).address, Untouched);
    EXPECT_EQ(validity("4x", "1", 1, BitObject).address, Untouched);
}

TEST(CheckAddrValidity, EveryTypeHasItsZeroBasedAddress)
{
    expectValid(validity("0x", "10", 3, BitObject), 9);
    expectValid(validity("1x", "10", 3, BitObject), 9);
    expectValid(validity("3x", "10", 3, WordObject), 9);
    expectValid(validity("4x", "10", 3, WordObject), 9);
    expectValid(validity("3x_double", "10", 4, WordObject), 9);
    expectValid(validity("4x_double", "10", 4, WordObject), 9);
    expectValid(validity("3x_bit", "10.11", 3, BitObject), 155);
    expectValid(validity("4x_bit", "10.11", 3, BitObject), 155);
}

// --- intf_checkAddr ---------------------------------------------------------------

enum Access { NoAccess = 0, WriteAccess = 1, ReadWriteAccess = 2 };
const int NoFormat = -1;

Checked check(const char *type, const char *text, int format, int count, int access)
{
    QString regType = QString::fromLatin1(type);
    QString addressText = QString::fromLatin1(text);
    Checked checked = {0, Untouched};
    checked.result = intf_checkAddr(&regType, &addressText, &checked.address, format, count, access);
    EXPECT_EQ(regType, QString::fromLatin1(type));
    EXPECT_EQ(addressText, QString::fromLatin1(text));
    return checked;
}

TEST(CheckAddr, RangeIsThatOfTheOtherCheck)
{
    expectValid(check("4x", "65536", 1, 1, NoAccess), 65535);
    EXPECT_EQ(check("4x", "65536", 1, 2, NoAccess).result, 2);
    EXPECT_EQ(check("4x", "0", 1, 1, NoAccess).result, 2);
    EXPECT_EQ(check("4x", "", 1, 1, NoAccess).result, 4);
    expectValid(check("4x_bit", "1.0", NoFormat, 1, NoAccess), 0);
    expectValid(check("4x_bit", "65536.15", NoFormat, 1, NoAccess), 1048575);
    EXPECT_EQ(check("4x_bit", "65536.15", NoFormat, 2, NoAccess).result, 2);
    EXPECT_EQ(check("4x_bit", "0.15", NoFormat, 1, NoAccess).result, 2);
    EXPECT_EQ(check("4x_bit", "1.16", NoFormat, 1, NoAccess).result, 4);
    EXPECT_EQ(check("4x_bit", "1.05", NoFormat, 1, NoAccess).result, 4);
    expectValid(check("4x_bit", "1.5", NoFormat, 1, NoAccess), 5);
    EXPECT_EQ(check("4x_bit", "12", NoFormat, 1, NoAccess).result, 4);
    EXPECT_EQ(check("4x_bit", "1.2.3", NoFormat, 1, NoAccess).result, 4);
}

TEST(CheckAddr, SignedPlainNumbersConvert)
{
    expectValid(check("4x", "+5", 1, 1, NoAccess), 4);
    expectValid(check("0x", "+12", NoFormat, 1, NoAccess), 11);
    EXPECT_EQ(check("4x", "-5", 1, 1, NoAccess).result, 2);
    EXPECT_EQ(check("4x_double", "-5", 1, 2, NoAccess).result, 2);
    expectValid(check("4x_bit", "+1.5", NoFormat, 1, NoAccess), 5);
    EXPECT_EQ(check("4x_bit", "-1.5", NoFormat, 1, NoAccess).result, 2);
}

TEST(CheckAddr, FormatMustFitTheTypeBeforeAllElse)
{
    const char *const bitTypes[] = {"0x", "1x", "3x_bit", "4x_bit"};
    const char *const wordTypes[] = {"3x", "4x", "3x_double", "4x_double"};
    for (const char *type : bitTypes) {
        EXPECT_EQ(check(type, "1234567890", 0, 1, WriteAccess).result, 1) << type;
        EXPECT_EQ(check(type, "1", 1, 1, NoAccess).result, 1) << type;
        EXPECT_EQ(check(type, "1", -2, 1, NoAccess).result, 1) << type;
    }
    for (const char *type : wordTypes)
        EXPECT_EQ(check(type, "1234567890", NoFormat, 1, WriteAccess).result, 1) << type;
}

TEST(CheckAddr, LongTextsAreRefusedBeforeAnyParsing)
{
    EXPECT_EQ(check("4x", "123456", 1, 1, NoAccess).result, 16);
    EXPECT_EQ(check("4x", "abcdef", 1, 1, NoAccess).result, 16);
    EXPECT_EQ(check("4x", "000001", 1, 1, NoAccess).result, 16);
    expectValid(check("4x", "00001", 1, 1, NoAccess), 0);
    EXPECT_EQ(check("4x_bit", "165536.15", NoFormat, 1, NoAccess).result, 16);
    EXPECT_EQ(check("4x_bit", "abcdefghi", NoFormat, 1, NoAccess).result, 16);
    EXPECT_EQ(check("4x_bit", "abcdefgh", NoFormat, 1, NoAccess).result, 4);
    EXPECT_EQ(check("1x", "123456", NoFormat, 1, WriteAccess).result, 16) << "before the write check";
    EXPECT_EQ(check("3x_bit", "123456.15", NoFormat, 1, WriteAccess).result, 16) << "before the write check";
    EXPECT_EQ(check("4x_double", "123456", 0, 1, NoAccess).result, 16) << "before the double format check";
}

TEST(CheckAddr, UnknownTypesAreCode3AndLongTextsCode16First)
{
    EXPECT_EQ(check("5x", "12345", 1, 1, NoAccess).result, 3);
    EXPECT_EQ(check("5x", "123456", 1, 1, NoAccess).result, 16);
    EXPECT_EQ(check("5x", "1.123", NoFormat, 1, WriteAccess).result, 3);
    EXPECT_EQ(check("5x", "65536.15", NoFormat, 1, NoAccess).result, 16) << "five characters, as no bit type";
    EXPECT_EQ(check("", "abc", NoFormat, 1, NoAccess).result, 3);
    EXPECT_EQ(check("3X", "1", 1, 1, WriteAccess).result, 3);
}

TEST(CheckAddr, ReadOnlyTypesRefuseWriteAccess)
{
    EXPECT_EQ(check("3x", "abcde", 1, 1, WriteAccess).result, 6) << "even for a text that is no number";
    EXPECT_EQ(check("3x", "1", 1, 1, ReadWriteAccess).result, 6);
    EXPECT_EQ(check("1x", "1", NoFormat, 1, WriteAccess).result, 6);
    EXPECT_EQ(check("1x", "1", NoFormat, 1, ReadWriteAccess).result, 6);
    EXPECT_EQ(check("3x_bit", "1.1", NoFormat, 1, WriteAccess).result, 6);
    EXPECT_EQ(check("3x_bit", "1.1", NoFormat, 1, ReadWriteAccess).result, 6);
    EXPECT_EQ(check("3x_double", "1", 1, 2, WriteAccess).result, 6);
    EXPECT_EQ(check("3x_double", "1", 0, 2, ReadWriteAccess).result, 6) << "before the double format check";
}

TEST(CheckAddr, OtherAccessModesDoNotWrite)
{
    const int modes[] = {0, 3, -1, 4, INT_MAX, INT_MIN};
    for (int mode : modes) {
        EXPECT_EQ(check("3x", "1", 1, 1, mode).result, 0) << mode;
        EXPECT_EQ(check("1x", "1", NoFormat, 1, mode).result, 0) << mode;
        EXPECT_EQ(check("3x_bit", "1.0", NoFormat, 1, mode).result, 0) << mode;
        EXPECT_EQ(check("3x_double", "1", 1, 2, mode).result, 0) << mode;
    }
}

TEST(CheckAddr, WritableTypesAcceptWriteAccess)
{
    for (int mode = WriteAccess; mode <= ReadWriteAccess; ++mode) {
        EXPECT_EQ(check("0x", "1", NoFormat, 1, mode).result, 0);
        EXPECT_EQ(check("4x", "1", 1, 1, mode).result, 0);
        EXPECT_EQ(check("4x_bit", "1.0", NoFormat, 1, mode).result, 0);
        EXPECT_EQ(check("4x_double", "1", 1, 2, mode).result, 0);
    }
}

TEST(CheckAddr, DoubleFormatsAre1_3_5_6_9)
{
    const char *const types[] = {"3x_double", "4x_double"};
    for (const char *type : types) {
        for (int format = -3; format <= 12; ++format) {
            if (format == NoFormat)
                continue;
            const bool fits = format == 1 || format == 3 || format == 5 || format == 6 || format == 9;
            EXPECT_EQ(check(type, "1", format, 2, NoAccess).result, fits ? 0 : 5) << type << " " << format;
        }
        EXPECT_EQ(check(type, "abc", 0, 2, NoAccess).result, 5) << type << ": before the conversion";
    }
    EXPECT_EQ(check("4x_double", "1", 0, 2, NoAccess).result, 5);
}

TEST(CheckAddr, PlainWordTypesTakeEveryFormatButNone)
{
    expectValid(check("4x", "1", 0, 1, NoAccess), 0);
    expectValid(check("4x", "1", 9, 1, NoAccess), 0);
    expectValid(check("3x", "1", 77, 1, NoAccess), 0);
    expectValid(check("3x", "1", -2, 1, NoAccess), 0);
}

TEST(CheckAddr, DoubleWithFormat9AndCount1IsCode14)
{
    const char *const types[] = {"3x_double", "4x_double"};
    for (const char *type : types) {
        EXPECT_EQ(check(type, "1", 9, 1, NoAccess).result, 14) << type;
        EXPECT_EQ(check(type, "0", 9, 1, NoAccess).result, 14) << type << ": before the range test";
        EXPECT_EQ(check(type, "abc", 9, 1, NoAccess).result, 4) << type << ": after the conversion";
        EXPECT_EQ(check(type, "1", 9, 2, NoAccess).result, 0) << type;
        EXPECT_EQ(check(type, "1", 1, 1, NoAccess).result, 0) << type;
    }
}

TEST(CheckAddr, DoubleMayStartAtTheLastRegisterWithCount1)
{
    expectValid(check("4x_double", "65536", 1, 1, NoAccess), 65535);
    expectValid(check("3x_double", "65535", 1, 2, NoAccess), 65534);
    EXPECT_EQ(check("3x_double", "65536", 1, 2, NoAccess).result, 2);
}

TEST(CheckAddr, CountsNearTheLimitsDoNotWrap)
{
    EXPECT_EQ(check("4x", "1", 1, INT_MAX, NoAccess).result, 2);
    EXPECT_EQ(check("4x", "65536", 1, INT_MAX, NoAccess).result, 2);
    EXPECT_EQ(check("4x_bit", "1.0", NoFormat, INT_MAX, NoAccess).result, 2);
    EXPECT_EQ(check("4x_double", "1", 1, INT_MAX, NoAccess).result, 2);
    expectValid(check("4x", "1", 1, INT_MIN, NoAccess), 0);
    EXPECT_EQ(check("4x", "-9999", 1, INT_MIN, NoAccess).result, 2) << "below 1 whatever the count";
    EXPECT_EQ(check("4x_bit", "-9999.1", NoFormat, INT_MIN, NoAccess).result, 2);
}

} // namespace
