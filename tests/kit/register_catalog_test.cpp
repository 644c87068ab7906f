#include "kit/driver/register_catalog.h"

#include <gtest/gtest.h>

namespace {

class RegisterCatalog : public testing::Test
{
protected:
    RegisterCatalog() : driver(TEST_DRIVER), catalog(driver) {}

    rtu::DriverLibrary driver;
    rtu::RegisterCatalog catalog;
};

struct Type
{
    const char *name;
    const char *notation;
    const char *lowest;
    const char *highest;
    int width;
    bool writable;
    bool bitInRegister;
    int units;   ///< of a value
    int bytes;   ///< of a value
    int address; ///< zero-based
    const char *text;
};

TEST_F(RegisterCatalog, DescribesTheDriversTypes)
{
    const Type types[] = {
        {"0x", "ddddd", "1", "65536", 0, true, false, 1, 1, 0, "1"},
        {"1x", "ddddd", "1", "65536", 0, false, false, 1, 1, 9, "10"},
        {"4x", "ddddd", "1", "65536", 1, true, false, 1, 2, 65535, "65536"},
        {"3x_double", "ddddd", "1", "65535", 2, false, false, 2, 4, 20, "21"},
        {"4x_bit", "ddddd.DD (DD:0~15)", "1.0", "65536.15", 0, true, true, 1, 1, 32, "3.0"},
        {"4x_bit", "ddddd.DD (DD:0~15)", "1.0", "65536.15", 0, true, true, 1, 1, 47, "3.15"},
    };
    for (const Type &expected : types) {
        const rtu::RegisterType *type = catalog.find(expected.name);
        ASSERT_TRUE(type) << expected.name;
        EXPECT_EQ(expected.name, type->name);
        EXPECT_EQ(expected.notation, type->notation) << expected.name;
        EXPECT_EQ(expected.lowest, type->lowest) << expected.name;
        EXPECT_EQ(expected.highest, type->highest) << expected.name;
        EXPECT_EQ(expected.units, type->unitsPerValue()) << expected.name;
        EXPECT_EQ(expected.bytes, type->bytesPerValue()) << expected.name;
        EXPECT_EQ(expected.width == 0, type->isBit()) << expected.name;
        EXPECT_EQ(expected.width == 2, type->isDouble()) << expected.name;
        EXPECT_EQ(expected.width, type->width) << expected.name;
        EXPECT_EQ(expected.writable, type->writable) << expected.name;
        EXPECT_EQ(expected.bitInRegister, type->bitInRegister) << expected.name;
        EXPECT_EQ(expected.text, rtu::addressText(*type, expected.address)) << expected.name;
    }
    EXPECT_FALSE(catalog.find("5x"));
}

TEST_F(RegisterCatalog, TakesTheLongestNameThatATextBeginsWith)
{
    EXPECT_EQ("4x_double", catalog.prefixOf("4x_double7")->name);
    EXPECT_EQ("4x", catalog.prefixOf("4x7")->name);
    EXPECT_FALSE(catalog.prefixOf("7"));
    EXPECT_EQ("0x, 1x, 3x_bit, 4x_bit, 3x, 4x, 3x_double, 4x_double", catalog.names());
}

} // namespace
