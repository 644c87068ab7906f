// Address stepping for copied screen objects.

#include "support/driver_fixture.h"

#include <climits>

namespace {

struct Copies
{
    int result;
    std::vector<int> addresses;
    std::vector<std::string> texts;
};

Copies multiCopy(const char *type, int start, int copies, int increment)
{
    QString regType = QString::fromLatin1(type);
    QVector<QString> texts;
    QVector<int> addresses;
    Copies out;
    out.result = intf_multiCopy(&regType, start, copies, increment, &texts, &addresses);
    EXPECT_EQ(regType, QString::fromLatin1(type));
    for (int i = 0; i < addresses.size(); ++i)
        out.addresses.push_back(addresses.at(i));
    for (int i = 0; i < texts.size(); ++i)
        out.texts.push_back(texts.at(i).toStdString());
    return out;
}

struct CopyCase
{
    const char *name;
    const char *type;
    int start;
    int copies;
    int increment;
    int result;
    std::vector<int> addresses;
    std::vector<std::string> texts;
};

class MultiCopy : public ::testing::TestWithParam<CopyCase>
{
};

TEST_P(MultiCopy, StepsAndClamps)
{
    const CopyCase &c = GetParam();
    const Copies copies = multiCopy(c.type, c.start, c.copies, c.increment);
    EXPECT_EQ(copies.result, c.result);
    EXPECT_EQ(copies.addresses, c.addresses);
    EXPECT_EQ(copies.texts, c.texts);
}

std::string caseName(const ::testing::TestParamInfo<CopyCase> &info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    Documented, MultiCopy,
    ::testing::Values(
        CopyCase{"RegistersByTen", "4x", 0, 3, 10, 1, {0, 10, 20}, {"1", "11", "21"}},
        CopyCase{"LastRegisterClamped", "4x", 65534, 3, 1, 2, {65534, 65535, 65535}, {"65535", "65536", "65536"}},
        CopyCase{"LastDoubleClamped", "4x_double", 65532, 3, 2, 2, {65532, 65534, 65534}, {"65533", "65535", "65535"}},
        CopyCase{"BitsIntoTheNextRegister", "4x_bit", 14, 3, 1, 1, {14, 15, 16}, {"1.14", "1.15", "2.0"}},
        CopyCase{"LastBitClamped", "4x_bit", 1048575, 2, 1, 2, {1048575, 1048575}, {"65536.15", "65536.15"}}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    OtherTypes, MultiCopy,
    ::testing::Values(CopyCase{"Coils", "0x", 65530, 3, 5, 2, {65530, 65535, 65535}, {"65531", "65536", "65536"}},
                      CopyCase{"Inputs", "1x", 7, 2, 8, 1, {7, 15}, {"8", "16"}},
                      CopyCase{"InputRegisters", "3x", 65535, 1, 1, 1, {65535}, {"65536"}},
                      CopyCase{"InputDoubles", "3x_double", 65535, 1, 2, 2, {65534}, {"65535"}},
                      CopyCase{"InputBits", "3x_bit", 0, 3, 16, 1, {0, 16, 32}, {"1.0", "2.0", "3.0"}},
                      CopyCase{"BitDigits", "3x_bit", 8, 3, 1, 1, {8, 9, 10}, {"1.8", "1.9", "1.10"}},
                      CopyCase{"FarBeyond", "4x", 100000, 1, 1, 2, {65535}, {"65536"}},
                      CopyCase{"IncrementZero", "4x", 4, 3, 0, 1, {4, 4, 4}, {"5", "5", "5"}}),
    caseName);

// Steps go on from the unclamped address, and the result stays 2.
INSTANTIATE_TEST_SUITE_P(
    RunningAddress, MultiCopy,
    ::testing::Values(
        CopyCase{"ComesBackInside", "4x", 65540, 3, -4, 2, {65535, 65535, 65532}, {"65536", "65536", "65533"}},
        CopyCase{"DoubleComesBackInside", "4x_double", 65536, 2, -2, 2, {65534, 65534}, {"65535", "65535"}},
        CopyCase{"BitComesBackInside",
                 "4x_bit",
                 1048577,
                 3,
                 -1,
                 2,
                 {1048575, 1048575, 1048575},
                 {"65536.15", "65536.15", "65536.15"}}),
    caseName);

// The comparison is signed: nothing below zero is clamped, and its text is the
// unsigned rendering.
INSTANTIATE_TEST_SUITE_P(
    Negative, MultiCopy,
    ::testing::Values(CopyCase{"Register", "4x", 0, 2, -5, 1, {0, -5}, {"1", "4294967292"}},
                      CopyCase{"MinusOne", "0x", -1, 1, 1, 1, {-1}, {"0"}},
                      CopyCase{"Double", "3x_double", -5, 1, 2, 1, {-5}, {"4294967292"}},
                      CopyCase{"WholeRegistersOfBits", "4x_bit", -16, 2, -16, 1, {-16, -32}, {"0.0", "4294967295.0"}}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    WrapAround, MultiCopy,
    ::testing::Values(CopyCase{"BeyondTheLargest", "4x", INT_MAX, 2, 1, 2, {65535, INT_MIN}, {"65536", "2147483649"}},
                      CopyCase{"LargestIncrement", "4x", 1, 3, INT_MAX, 1, {1, INT_MIN, -1}, {"2", "2147483649", "0"}},
                      CopyCase{"SmallestIncrement", "0x", INT_MIN, 2, INT_MIN, 1, {INT_MIN, 0}, {"2147483649", "1"}}),
    caseName);

TEST(MultiCopyResult, UnknownTypeIsZeroAndAppendsNothing)
{
    const char *const types[] = {"5x", "", "4X", "4x "};
    for (const char *type : types) {
        const Copies copies = multiCopy(type, 0, 3, 1);
        EXPECT_EQ(copies.result, 0) << type;
        EXPECT_TRUE(copies.addresses.empty()) << type;
        EXPECT_TRUE(copies.texts.empty()) << type;
    }
}

TEST(MultiCopyResult, UnknownTypeIsZeroEvenWithoutCopies)
{
    EXPECT_EQ(multiCopy("5x", 0, 0, 1).result, 0);
}

TEST(MultiCopyResult, NoCopiesAreOneAndAppendNothing)
{
    const char *const types[] = {"0x", "1x", "3x", "4x", "3x_bit", "4x_bit", "3x_double", "4x_double"};
    const int counts[] = {0, -1, INT_MIN};
    for (const char *type : types)
        for (int count : counts) {
            const Copies copies = multiCopy(type, 70000000, count, 1);
            EXPECT_EQ(copies.result, 1) << type << " " << count;
            EXPECT_TRUE(copies.addresses.empty()) << type << " " << count;
            EXPECT_TRUE(copies.texts.empty()) << type << " " << count;
        }
}

struct ManyCase
{
    const char *type;
    int start;
    int copies;
    int increment;
    int result;
};

// The result speaks for every copy, also for those beyond the most that one call makes.
TEST(MultiCopyResult, SpeaksForCopiesThatAreNotMade)
{
    const ManyCase cases[] = {
        {"4x", 0, INT_MAX, 0, 1},
        {"4x", 65536, INT_MAX, 0, 2},
        {"4x_bit", -1048577, 2097153, 1, 1},    // the last one is 1048575
        {"4x_bit", -1048577, 2097154, 1, 2},    // and here 1048576
        {"4x_double", -2000000, 2065535, 1, 1}, // 65534
        {"4x_double", -2000000, 2065536, 1, 2}, // 65535
        {"4x", -1, INT_MAX, -1, 1},             // down to -2147483647
        {"4x", -2, INT_MAX, -1, 1},             // down to the lowest number
        {"4x", -3, INT_MAX, -1, 2},             // and around to the highest
        {"0x", 5, 1100000, INT_MIN, 1},         // 5 and 5 - 2147483648 in turns
        {"0x", 65535, 1100000, INT_MIN, 1},
        {"0x", 0, 2, INT_MAX, 2},
    };
    for (const ManyCase &c : cases) {
        QString type = QString::fromLatin1(c.type);
        EXPECT_EQ(intf_multiCopy(&type, c.start, c.copies, c.increment, nullptr, nullptr), c.result)
            << c.type << " " << c.start << " " << c.copies << " " << c.increment;
    }
}

TEST(MultiCopyResult, AgreesWithSteppingForAnyIncrement)
{
    const int increments[] = {
        1,          -1,          3,           -7,          1000,        -65536,     65537,           INT_MAX,
        INT_MIN,    INT_MAX - 1, INT_MIN + 1, INT_MIN / 2, INT_MAX / 3, 2147418112, INT_MAX - 65536, INT_MIN + 65536,
        2146435072, -2146435072};
    const int starts[] = {0, 65535, 65536, -1, INT_MIN, INT_MIN + 40000, 1 << 30, -(1 << 30)};
    for (const char *typeText : {"4x", "4x_double", "3x_bit"})
        for (int start : starts)
            for (int increment : increments) {
                QString type = QString::fromLatin1(typeText);
                const int last = type.endsWith(QLatin1String("bit"))      ? 1048575
                                 : type.endsWith(QLatin1String("double")) ? 65534
                                                                          : 65535;
                long long running = start;
                int expected = 1;
                for (int copies = 1; copies <= 70; ++copies) {
                    if (static_cast<int>(static_cast<unsigned int>(running)) > last)
                        expected = 2;
                    running += increment;
                    ASSERT_EQ(intf_multiCopy(&type, start, copies, increment, nullptr, nullptr), expected)
                        << typeText << " " << start << " " << copies << " " << increment;
                }
            }
}

// Every bit of every register of one station: more is never made in one call.
TEST(MultiCopyResult, MakesNoMoreThan1048576Copies)
{
    QString type = QString::fromLatin1("4x_bit");
    QVector<int> addresses;
    EXPECT_EQ(intf_multiCopy(&type, 0, 1048577, 1, nullptr, &addresses), 2);
    ASSERT_EQ(addresses.size(), 1048576);
    EXPECT_EQ(addresses.last(), 1048575);
}

TEST(MultiCopyResult, VectorsAreAppendedTo)
{
    QString type = QString::fromLatin1("4x");
    QVector<QString> texts;
    QVector<int> addresses;
    texts << QString::fromLatin1("kept");
    addresses << 99;
    EXPECT_EQ(intf_multiCopy(&type, 0, 1, 1, &texts, &addresses), 1);
    EXPECT_EQ(intf_multiCopy(&type, 5, 1, 1, &texts, &addresses), 1);
    ASSERT_EQ(texts.size(), 3);
    ASSERT_EQ(addresses.size(), 3);
    EXPECT_EQ(texts.at(0), QString::fromLatin1("kept"));
    EXPECT_EQ(texts.at(2), QString::fromLatin1("6"));
    EXPECT_EQ(addresses.at(0), 99);
    EXPECT_EQ(addresses.at(1), 0);
    EXPECT_EQ(addresses.at(2), 5);
}

TEST(MultiCopyResult, TextsAreAddressesThatTheCheckAccepts)
{
    const char *const types[] = {"0x", "1x", "3x", "4x", "3x_bit", "4x_bit", "3x_double", "4x_double"};
    for (const char *typeText : types) {
        QString type = QString::fromLatin1(typeText);
        const bool bit = type.endsWith(QString::fromLatin1("_bit")) || type.startsWith(QLatin1Char('0'))
                         || type.startsWith(QLatin1Char('1'));
        const int count = type.endsWith(QString::fromLatin1("_double")) ? 2 : 1;
        const Copies copies = multiCopy(typeText, 0, 40, 1637);
        ASSERT_EQ(copies.texts.size(), 40u);
        for (size_t i = 0; i < copies.texts.size(); ++i) {
            QString text = QString::fromStdString(copies.texts[i]);
            int address = -1;
            EXPECT_EQ(intf_checkAddrValidity(&type, &text, &address, count, bit ? 0 : 1), 0) << copies.texts[i];
            EXPECT_EQ(address, copies.addresses[i]) << typeText << " " << copies.texts[i];
        }
    }
}

struct Series
{
    const char *type;
    int start;
    int increment;
    int last; ///< the address that copies beyond it are put at
};

std::string textAt(const char *type, int address)
{
    if (std::string(type).find("_bit") == std::string::npos)
        return std::to_string(address + 1);
    return std::to_string(address / 16 + 1) + "." + std::to_string(address % 16);
}

// As many copies as an editor may ever make of one object, each looked at.
TEST(MultiCopyResult, ThousandsOfCopiesAreEachSteppedAndClamped)
{
    const int copies = 70000;
    const Series all[] = {
        {"0x", 0, 1, 65535},        {"1x", 65535, 0, 65535},    {"3x", 65535, -1, 65535},
        {"4x", 3, 7, 65535},        {"3x_bit", 5, 16, 1048575}, {"4x_bit", 1000000, 1, 1048575},
        {"3x_double", 0, 2, 65534}, {"4x_double", 1, 1, 65534},
    };
    for (const Series &series : all) {
        SCOPED_TRACE(series.type);
        const Copies made = multiCopy(series.type, series.start, copies, series.increment);
        ASSERT_EQ(made.addresses.size(), static_cast<size_t>(copies));
        ASSERT_EQ(made.texts.size(), static_cast<size_t>(copies));
        int result = 1;
        for (int k = 0; k < copies; ++k) {
            const int stepped = series.start + k * series.increment;
            const int address = stepped > series.last ? series.last : stepped;
            result = stepped > series.last ? 2 : result;
            ASSERT_EQ(made.addresses[static_cast<size_t>(k)], address) << k;
            if (address >= 0) {
                ASSERT_EQ(made.texts[static_cast<size_t>(k)], textAt(series.type, address)) << k;
            }
        }
        EXPECT_EQ(made.result, result);
    }
}

// The texts of single bits below address 0 are of no use to anyone; they must
// only not be clamped and do no harm.
TEST(MultiCopyResult, NegativeBitsAreNotClamped)
{
    const Copies copies = multiCopy("3x_bit", -1, 2, INT_MIN + 1);
    EXPECT_EQ(copies.result, 1);
    EXPECT_EQ(copies.addresses, (std::vector<int>{-1, INT_MIN}));
    EXPECT_EQ(copies.texts.size(), 2u);
}

} // namespace
