// The type lists and descriptions that the editor shows.

#include "support/driver_fixture.h"

namespace {

QList<QString> texts(std::initializer_list<const char *> latin1)
{
    QList<QString> list;
    for (const char *text : latin1)
        list << QString::fromLatin1(text);
    return list;
}

// --- intf_getRegListByType --------------------------------------------------------

TEST(RegListByType, BitObjects)
{
    QList<QString> list;
    EXPECT_EQ(intf_getRegListByType(0, &list), 1);
    EXPECT_EQ(list, texts({"0x", "1x", "3x_bit", "4x_bit"}));
}

TEST(RegListByType, WordObjects)
{
    QList<QString> list;
    EXPECT_EQ(intf_getRegListByType(1, &list), 1);
    EXPECT_EQ(list, texts({"3x", "4x", "3x_double", "4x_double"}));
}

TEST(RegListByType, OtherRequestsAppendNothing)
{
    const unsigned int requests[] = {2u, 3u, 0x80000000u, 0xFFFFFFFFu};
    for (unsigned int request : requests) {
        QList<QString> list = texts({"kept"});
        EXPECT_EQ(intf_getRegListByType(request, &list), 0) << request;
        EXPECT_EQ(list, texts({"kept"})) << request;
    }
}

TEST(RegListByType, AppendsWithoutClearing)
{
    QList<QString> list;
    EXPECT_EQ(intf_getRegListByType(0, &list), 1);
    EXPECT_EQ(intf_getRegListByType(0, &list), 1);
    EXPECT_EQ(list.size(), 8);
    EXPECT_EQ(list, texts({"0x", "1x", "3x_bit", "4x_bit", "0x", "1x", "3x_bit", "4x_bit"}));
}

// --- intf_getRegDiscription -------------------------------------------------------

struct Description
{
    const char *type;
    const char *notation;
    const char *lowest;
    const char *highest;
    const char *width;
    const char *writable;
};

const char BitNotation[] = "ddddd.DD (DD:0~15)";

const Description descriptions[] = {
    {"0x", "ddddd", "1", "65536", "0", "1"},
    {"1x", "ddddd", "1", "65536", "0", "0"},
    {"3x", "ddddd", "1", "65536", "1", "0"},
    {"4x", "ddddd", "1", "65536", "1", "1"},
    {"3x_bit", BitNotation, "1.0", "65536.15", "0", "0"},
    {"4x_bit", BitNotation, "1.0", "65536.15", "0", "1"},
    {"3x_double", "ddddd", "1", "65535", "2", "0"},
    {"4x_double", "ddddd", "1", "65535", "2", "1"},
};

int describe(const char *type, QList<QString> &list)
{
    QString regType = QString::fromLatin1(type);
    const int result = intf_getRegDiscription(&regType, &list);
    EXPECT_EQ(regType, QString::fromLatin1(type));
    return result;
}

TEST(RegDescription, FiveTextsForEveryType)
{
    for (const Description &d : descriptions) {
        QList<QString> list;
        describe(d.type, list);
        EXPECT_EQ(list, texts({d.notation, d.lowest, d.highest, d.width, d.writable})) << d.type;
    }
}

TEST(RegDescription, OnlyTheLastTypeGivesOne)
{
    for (const Description &d : descriptions) {
        QList<QString> list;
        EXPECT_EQ(describe(d.type, list), QString::fromLatin1(d.type) == QString::fromLatin1("4x_double") ? 1 : 0)
            << d.type;
    }
}

TEST(RegDescription, RegistersAppendAndGiveZero)
{
    QList<QString> list = texts({"kept"});
    EXPECT_EQ(describe("4x", list), 0);
    EXPECT_EQ(list, texts({"kept", "ddddd", "1", "65536", "1", "1"}));
}

TEST(RegDescription, UnknownTypesAppendNothing)
{
    const char *const types[] = {"5x", "", "4X", "4x_double ", "4x_Double"};
    for (const char *type : types) {
        QList<QString> list = texts({"kept"});
        EXPECT_EQ(describe(type, list), 0) << type;
        EXPECT_EQ(list, texts({"kept"})) << type;
    }
}

// The description is a hint: it agrees with the check for a count of 1, and the
// check lets a 32-bit value start at 65536 although the hint ends at 65535.
TEST(RegDescription, BoundsAreThoseOfTheAddressCheck)
{
    for (const Description &d : descriptions) {
        QString type = QString::fromLatin1(d.type);
        QString lowest = QString::fromLatin1(d.lowest);
        QString highest = QString::fromLatin1(d.highest);
        const bool isDouble = type.endsWith(QString::fromLatin1("_double"));
        const int kind = d.width[0] == '0' ? 0 : 1;
        const int count = isDouble ? 2 : 1;
        int address = -1;
        EXPECT_EQ(intf_checkAddrValidity(&type, &lowest, &address, count, kind), 0) << d.type;
        EXPECT_EQ(address, 0) << d.type;
        EXPECT_EQ(intf_checkAddrValidity(&type, &highest, &address, count, kind), 0) << d.type;
        EXPECT_EQ(intf_checkAddrValidity(&type, &highest, &address, count + 1, kind), 2) << d.type;
    }
}

TEST(RegDescription, DoubleHintIsNotASecondCheck)
{
    QString type = QString::fromLatin1("4x_double");
    QString last = QString::fromLatin1("65535");
    QString beyond = QString::fromLatin1("65536");
    int address = -1;
    EXPECT_EQ(intf_checkAddr(&type, &last, &address, 1, 2, 0), 0);
    EXPECT_EQ(intf_checkAddr(&type, &beyond, &address, 1, 1, 0), 0);
    EXPECT_EQ(address, 65535);
}

} // namespace
