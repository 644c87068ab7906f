// The text that a host shows for a request that was given up.

#include "support/driver_fixture.h"

#include <gtest/gtest.h>

#include <climits>
#include <ostream>

using support::bytes;

namespace {

struct TextCase
{
    const char *name;
    int sendState;
    const char *reply;
    const char *type;
    int start;
    int station;
    int count;
    const char *text;
};

void PrintTo(const TextCase &c, std::ostream *out)
{
    *out << c.name;
}

class ErrorText : public ::testing::TestWithParam<TextCase>
{
};

std::string textCaseName(const ::testing::TestParamInfo<TextCase> &info)
{
    return info.param.name;
}

} // namespace

TEST_P(ErrorText, NamesTheRequest)
{
    const TextCase &c = GetParam();
    Modbus_rtu_master master;
    master.sendState = c.sendState;
    EXPECT_EQ(master.getErrorInfo(bytes(c.reply), QString::fromLatin1(c.type), c.start, c.station, c.count),
              QString::fromLatin1(c.text));
}

INSTANTIATE_TEST_SUITE_P(
    Requests, ErrorText,
    ::testing::Values(TextCase{"PollRead", CyclicReadSent, "", "4x", 99, 1, 10, "R,1#4x100(10)"},
                      TextCase{"ConditionRead", ConditionReadSent, "", "3x", 0, 247, 1, "R,247#3x1(1)"},
                      TextCase{"Write", WriteSent, "", "4x", 99, 1, 10, "W,1#4x100(10)"},
                      TextCase{"RecipeWriteIsShownAsARead", TransferWriteSent, "", "4x", 99, 1, 10, "R,1#4x100(10)"},
                      TextCase{"RecipeRead", TransferReadSent, "", "4x_double", 99, 1, 10, "R,1#4x_double100(10)"},
                      TextCase{"NoTransaction", NothingSent, "", "0x", 0, 1, 10, "R,1#0x1(10)"},
                      TextCase{"Coils", WriteSent, "", "0x", 65535, 1, 10, "W,1#0x65536(10)"}),
    textCaseName);

INSTANTIATE_TEST_SUITE_P(
    Addresses, ErrorText,
    ::testing::Values(TextCase{"BitOfARegister", WriteSent, "", "4x_bit", 35, 7, 1, "W,7#4x_bit3.3(1)"},
                      TextCase{"FirstBit", CyclicReadSent, "", "3x_bit", 0, 7, 1, "R,7#3x_bit1.0(1)"},
                      TextCase{"LastBit", CyclicReadSent, "", "3x_bit", 1048575, 7, 1, "R,7#3x_bit65536.15(1)"},
                      TextCase{"BitAddressesTruncateTowardZero", CyclicReadSent, "", "3x_bit", -17, 7, 1,
                               "R,7#3x_bit0.-1(1)"},
                      TextCase{"AnyTypeThatEndsInBit", CyclicReadSent, "", "9x_bit", 35, 7, 1, "R,7#9x_bit3.3(1)"},
                      TextCase{"OnlyTheEndCounts", CyclicReadSent, "", "_bit4x", 35, 7, 1, "R,7#_bit4x36(1)"},
                      TextCase{"CaseCounts", CyclicReadSent, "", "4x_BIT", 35, 7, 1, "R,7#4x_BIT36(1)"},
                      TextCase{"NoType", CyclicReadSent, "", "", 35, 7, 1, "R,7#36(1)"},
                      TextCase{"NegativeNumbers", CyclicReadSent, "", "4x", -2, -1, -3, "R,-1#4x-1(-3)"},
                      TextCase{"LargestAddressWraps", CyclicReadSent, "", "4x", INT_MAX, 1, 1, "R,1#4x-2147483648(1)"},
                      TextCase{"PlaceholdersInATypeAreText", CyclicReadSent, "", "%3", 0, 1, 2, "R,1#%31(2)"}),
    textCaseName);

INSTANTIATE_TEST_SUITE_P(
    Exceptions, ErrorText,
    ::testing::Values(
        TextCase{"OddFunctionIsNoted", CyclicReadSent, "01 83 02 C0 F1", "4x", 99, 1, 10, "R,1#4x100(10),error code:3"},
        TextCase{"TheExceptionCodeItselfIsNotShown", CyclicReadSent, "01 83 0B 00 F7", "4x", 99, 1, 10,
                 "R,1#4x100(10),error code:3"},
        TextCase{"ReadCoils", CyclicReadSent, "01 81 02 00 00", "0x", 0, 1, 1, "R,1#0x1(1),error code:1"},
        TextCase{"WriteCoil", WriteSent, "01 85 02 00 00", "0x", 0, 1, 1, "W,1#0x1(1),error code:5"},
        TextCase{"WriteCoils", WriteSent, "01 8F 02 00 00", "0x", 0, 1, 9, "W,1#0x1(9),error code:15"},
        TextCase{"EvenFunctionIsNotNoted", CyclicReadSent, "01 84 02 C2 C1", "3x", 99, 1, 10, "R,1#3x100(10)"},
        TextCase{"WriteRegister", WriteSent, "01 86 02 00 00", "4x", 0, 1, 1, "W,1#4x1(1)"},
        TextCase{"WriteRegisters", WriteSent, "01 90 02 00 00", "4x", 0, 1, 2, "W,1#4x1(2)"},
        TextCase{"FlagOfTheExceptionIsNotLookedAt", CyclicReadSent, "01 03 00 20 F0", "4x", 99, 1, 10,
                 "R,1#4x100(10),error code:3"},
        TextCase{"LargestFunction", CyclicReadSent, "01 FF 00 00 00", "4x", 99, 1, 10, "R,1#4x100(10),error code:127"},
        TextCase{"FourBytesAreNoException", CyclicReadSent, "01 83 02 C0", "4x", 99, 1, 10, "R,1#4x100(10)"},
        TextCase{"SixBytesAreNoException", CyclicReadSent, "01 83 02 C0 F1 00", "4x", 99, 1, 10, "R,1#4x100(10)"},
        TextCase{"CrcIsNotChecked", CyclicReadSent, "FF 83 FF FF FF", "4x", 99, 1, 10, "R,1#4x100(10),error code:3"}),
    textCaseName);
