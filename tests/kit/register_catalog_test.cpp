#include "kit/driver/register_catalog.h"

#include <gtest/gtest.h>

#include <algorithm>

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
    int width;
    bool writable;
    bool bitInRegister;
    int address; ///< zero-based
    const char *text;
};

TEST_F(RegisterCatalog, DescribesTheDriversTypes)
{
    const Type types[] = {
        {"0x", 0, true, false, 0, "1"},         {"1x", 0, false, false, 9, "10"},
        {"4x", 1, true, false, 65535, "65536"}, {"3x_double", 2, false, false, 20, "21"},
        {"4x_bit", 0, true, true, 35, "3.3"},
    };
    for (const Type &expected : types) {
        const rtu::RegisterType *type = catalog.find(expected.name);
        ASSERT_TRUE(type) << expected.name;
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
    const std::string names = catalog.names();
    EXPECT_EQ(catalog.types().size(), static_cast<std::size_t>(std::count(names.begin(), names.end(), 'x'))) << names;
}

} // namespace
