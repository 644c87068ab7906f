// The table of register types that every part of the driver reads.

#include "address/register_types.h"
#include "support/driver_fixture.h"

namespace {

struct Row
{
    const char *name;
    RegisterUnit unit;
    const char *areaType;
    int readFunction;
    bool writable;
};

const Row rows[] = {
    {"0x", CoilUnit, "0x", 1, true},
    {"1x", CoilUnit, "1x", 2, false},
    {"3x_bit", RegisterBitUnit, "3x", 4, false},
    {"4x_bit", RegisterBitUnit, "4x", 3, true},
    {"3x", WordUnit, "3x", 4, false},
    {"4x", WordUnit, "4x", 3, true},
    {"3x_double", DoubleUnit, "3x", 4, false},
    {"4x_double", DoubleUnit, "4x", 3, true},
};

TEST(RegisterTypes, EightTypes)
{
    for (const Row &row : rows) {
        const RegisterType *type = findRegisterType(QString::fromLatin1(row.name));
        ASSERT_NE(type, nullptr) << row.name;
        EXPECT_STREQ(type->name, row.name);
        EXPECT_EQ(type->unit, row.unit) << row.name;
        EXPECT_EQ(areaTypeText(*type), QString::fromLatin1(row.areaType)) << row.name;
        EXPECT_EQ(type->readFunction, row.readFunction) << row.name;
        EXPECT_EQ(type->writable, row.writable) << row.name;
        EXPECT_EQ(registerTypeText(*type), QString::fromLatin1(row.name));
        EXPECT_EQ(isBitType(*type), row.unit == CoilUnit || row.unit == RegisterBitUnit) << row.name;
    }
}

TEST(RegisterTypes, TableIsInTheEditorsOrder)
{
    for (int i = 0; i < RegisterTypeCount; ++i)
        EXPECT_STREQ(registerTypes()[i].name, rows[i].name);
}

TEST(RegisterTypes, NamesAreExact)
{
    const char *const names[] = {"",          "x",    "5x",      "2x",        "0X",      "4X",       "4x ",    " 4x",
                                 "4",         "4x_",  "4x_Bit",  "4x_bit ",   "4x_bits", "4x_doubl", "0x_bit", "1x_bit",
                                 "0x_double", "_bit", "_double", "3x_DOUBLE", "\xB4x",   "4x\n"};
    for (const char *name : names)
        EXPECT_EQ(findRegisterType(QString::fromLatin1(name)), nullptr) << name;
    EXPECT_EQ(findRegisterType(QString()), nullptr);
    EXPECT_EQ(findRegisterType(QString(QChar(0x0134)) + QLatin1Char('x')), nullptr) << "the low byte alone is a 4";
    EXPECT_EQ(findRegisterType(QString::fromLatin1("4x\0", 3)), nullptr);
}

TEST(RegisterTypes, BitsAndDoublesOfAType)
{
    EXPECT_EQ(bitTypeOf(QString::fromLatin1("3x")), QString::fromLatin1("3x_bit"));
    EXPECT_EQ(bitTypeOf(QString::fromLatin1("4x")), QString::fromLatin1("4x_bit"));
    EXPECT_EQ(bitTypeOf(QString::fromLatin1("0x")), QString::fromLatin1("0x_bit"));
    EXPECT_EQ(bitTypeOf(QString::fromLatin1("4x_bit")), QString::fromLatin1("4x_bit_bit"));
    EXPECT_EQ(bitTypeOf(QString()), QString::fromLatin1("_bit"));
    EXPECT_EQ(doubleTypeOf(QString::fromLatin1("3x")), QString::fromLatin1("3x_double"));
    EXPECT_EQ(doubleTypeOf(QString::fromLatin1("4x")), QString::fromLatin1("4x_double"));
    EXPECT_EQ(doubleTypeOf(QString::fromLatin1("abc")), QString::fromLatin1("abc_double"));
}

} // namespace
