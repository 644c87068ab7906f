// The descriptors, the callback registration and the wiring of the exported calls.

#include "support/driver_fixture.h"

#include <climits>

namespace {

using namespace support;

// --- descriptors ------------------------------------------------------------------

TEST(Descriptors, ProtocolTypeIsZero)
{
    int type = 77;
    intf_getProtocolType(&type);
    EXPECT_EQ(type, 0);
}

TEST(Descriptors, DriverParameterHas18Fields)
{
    QString parameter = QString::fromLatin1("replaced");
    intf_getDriverParameter(&parameter);
    EXPECT_FALSE(parameter.contains(QLatin1Char(' ')));

    const char *const fields[] = {
        "0",  "9600", "8",      "NONE",   "1",  "0",  "1",         nullptr,    "8888", "modbus_rtu_master",
        "0x", "1x",   "3x_bit", "4x_bit", "3x", "4x", "3x_double", "4x_double"};
    const QStringList got = parameter.split(QLatin1Char(','));
    ASSERT_EQ(got.size(), 18);
    for (int i = 0; i < 18; ++i) {
        if (fields[i] == nullptr)
            continue; // the default address has a test of its own
        EXPECT_EQ(got.at(i), QString::fromLatin1(fields[i])) << "field " << i;
    }
}

TEST(Descriptors, DefaultAddressIsADottedAddress)
{
    QString parameter;
    intf_getDriverParameter(&parameter);
    const QStringList numbers = parameter.split(QLatin1Char(',')).at(7).split(QLatin1Char('.'));
    ASSERT_EQ(numbers.size(), 4);
    for (int i = 0; i < 4; ++i) {
        bool isNumber = false;
        const int number = numbers.at(i).toInt(&isNumber);
        EXPECT_TRUE(isNumber && number >= 0 && number <= 255) << numbers.at(i).toStdString();
    }
}

TEST(Descriptors, PropertyPageIsFixed)
{
    QString page = QString::fromLatin1("replaced");
    intf_getDriverPropertyPage(&page);
    EXPECT_EQ(page, QString::fromLatin1("0_0"));
}

TEST(Descriptors, SetPropertyPageGivesTheEmptyText)
{
    QString page = QString::fromLatin1("replaced");
    intf_SetDriverPropertyPage(&page);
    EXPECT_TRUE(page.isEmpty());
}

// --- callback ---------------------------------------------------------------------

int reportsToSecond = 0;

int secondCallBack(int, int, QString *, int)
{
    return ++reportsToSecond;
}

class CallBack : public DriverFixture
{
};

TEST_F(CallBack, IsTheFirstMember)
{
    EXPECT_EQ(driver.valueChangeCallBack, &ChangeRecorder::callBack);
}

TEST_F(CallBack, LatestOneWins)
{
    reportsToSecond = 0;
    setData(1, "0x", 0, 1, "01");
    intf_setAddrValueChangeCallBack(&secondCallBack);
    setData(1, "0x", 1, 1, "01");
    EXPECT_EQ(recorder.changes.size(), 1u);
    EXPECT_EQ(reportsToSecond, 1);
}

TEST_F(CallBack, SurvivesInitialisation)
{
    init("5#0#0#3#20");
    setData(1, "0x", 0, 1, "01");
    EXPECT_EQ(recorder.changes.size(), 1u);
}

TEST_F(CallBack, NullSwitchesReportsOff)
{
    intf_setAddrValueChangeCallBack(nullptr);
    plan(Keys() << key(1, "4x", 0, 1));
    setData(1, "4x", 0, 1, "01 00");
    setData(1, "0x", 0, 1, "01");
    EXPECT_EQ(exchangeUntilGivenUp(), 3);
    EXPECT_EQ(exchangeUntilGivenUp(), 3);
    EXPECT_EQ(exchange(wordsReply(1, 3, {7})), static_cast<int>(ReplyAccepted));
    EXPECT_TRUE(recorder.changes.empty());
    EXPECT_EQ(getData(1, "4x", 0, 1, 2), payload("07 00"));
}

// A callback may call the driver again, any call of it.
TEST_F(CallBack, MayCallTheDriverAgain)
{
    bool nested = false;
    recorder.hook = [&](const Change &) {
        if (nested)
            return;
        nested = true;
        setData(1, "4x", 9, 1, "09 00");
        EXPECT_EQ(getData(1, "4x", 9, 1, 2), payload("09 00"));
        KEY_ADDRESS once = key(1, "3x", 4, 1);
        EXPECT_EQ(intf_addConditionRead(&once, 0), 1);
        nextFrame();
    };
    setData(1, "0x", 0, 1, "01");
    EXPECT_TRUE(nested);
    EXPECT_EQ(driver.writeList.size(), 2);
    EXPECT_EQ(driver.conditionReadList.size(), 1);
    EXPECT_EQ(driver.frameList.size(), 1);
}

// --- wiring: each call reaches the global object ---------------------------------

class Wiring : public DriverFixture
{
};

TEST_F(Wiring, PollCycleFromPlanToValue)
{
    EXPECT_EQ(plan(Keys() << key(1, "4x", 0, 10)), 1);
    FRAME_PRO frame = nextFrame();
    EXPECT_EQ(requestBytes(frame), bytes("01 03 00 00 00 0A C5 CD"));
    EXPECT_EQ(frame.replyLen, 25);
    EXPECT_EQ(deal(wordsReply(1, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9, 0x1234})), static_cast<int>(ReplyAccepted));
    EXPECT_EQ(errorText, QString());
    EXPECT_EQ(getData(1, "4x", 9, 1, 2), payload("34 12"));
}

TEST_F(Wiring, NothingToSendAndNothingPending)
{
    FRAME_PRO frame = FRAME_PRO();
    EXPECT_EQ(intf_getSendFrame(&frame), 0);
    EXPECT_EQ(deal(adu("01 03 02 00 00")), static_cast<int>(NothingPending));
    EXPECT_EQ(errorText, QString());
}

TEST_F(Wiring, RecipeRowsOfThisLink)
{
    QVector<_RCP_VAR_PRO> rows;
    rows << row(1, 1, "4x", 4, 2, 0) << row(2, 1, "4x", 0, 2, 2) << row(1, 1, "4x", 2, 2, 4);
    EXPECT_EQ(intf_setRcpAddress(&rows), 2);
    ASSERT_EQ(driver.rcpBlocks.size(), 1);
    EXPECT_EQ(driver.rcpBlocks.at(0).startAddr, 2);
    EXPECT_EQ(driver.rcpBlocks.at(0).count, 4);
    EXPECT_EQ(rows.size(), 3);
}

TEST_F(Wiring, HostListsAreOnlyRead)
{
    Keys keys = Keys() << key(1, "4x_bit", 53, 12) << key(1, "3x", 9, 1);
    EXPECT_EQ(intf_addrMerge(&keys), 2);
    ASSERT_EQ(keys.size(), 2);
    EXPECT_EQ(keys.at(0).regType, QString::fromLatin1("4x_bit"));
    EXPECT_EQ(keys.at(0).startAddr, 53);
    EXPECT_EQ(keys.at(0).count, 12);
    EXPECT_EQ(keys.at(1).startAddr, 9);
}

// --- station 0 and counts of nothing ---------------------------------------------

const char *const AllTypes[] = {"0x", "1x", "3x", "4x", "3x_bit", "4x_bit", "3x_double", "4x_double"};

TEST_F(Wiring, ReadsOfStation0SendNothingAndDoNoHarm)
{
    for (const char *type : AllTypes) {
        plan(Keys() << key(0, type, 0, 2));
        EXPECT_EQ(nextRequest(), QByteArray()) << type;
        EXPECT_EQ(deal(QByteArray()), static_cast<int>(NothingPending)) << type;
    }
    KEY_ADDRESS once = key(0, "4x", 0, 1);
    EXPECT_EQ(intf_addConditionRead(&once, 0), 1);
    EXPECT_EQ(nextRequest(), QByteArray());
    EXPECT_EQ(driver.conditionReadList.size(), 1);
}

TEST_F(Wiring, BroadcastWriteExpectsNoReply)
{
    setData(0, "4x", 5, 1, "34 12");
    const FRAME_PRO frame = nextFrame();
    EXPECT_EQ(requestBytes(frame), adu("00 06 00 05 12 34"));
    EXPECT_EQ(frame.replyLen, 0);
    EXPECT_EQ(deal(QByteArray()), static_cast<int>(ReplyAccepted));
    EXPECT_TRUE(driver.writeList.isEmpty());
}

TEST_F(Wiring, CountsOfNothingChangeNothing)
{
    const int counts[] = {0, -1, -7, -65536, INT_MIN + 1, INT_MIN};
    for (const char *type : AllTypes)
        for (int count : counts) {
            EXPECT_EQ(setData(1, type, 3, count, ""), 1) << type << " " << count;
            EXPECT_EQ(getData(1, type, 3, count, 4), payload("EE EE EE EE")) << type << " " << count;
        }
    EXPECT_TRUE(driver.dataAreas.isEmpty());
    EXPECT_TRUE(recorder.changes.empty());
}

TEST_F(Wiring, PlansOfNegativeCountsDoNoHarm)
{
    const int counts[] = {0, -1, INT_MIN};
    const int starts[] = {0, -5, INT_MAX, INT_MIN};
    for (const char *type : AllTypes)
        for (int count : counts)
            for (int start : starts) {
                plan(Keys() << key(1, type, start, count) << key(1, type, 0, 1));
                EXPECT_LE(driver.cyclicReadList.size(), 2);
                const FRAME_PRO frame = nextFrame();
                EXPECT_LE(frame.frameLen, 8);
                deal(QByteArray());
                driver.frameList.clear();
            }
}

TEST_F(Wiring, UnknownTypesDoNothing)
{
    const char *const types[] = {"", "5x", "4X", "4x_double ", "RWI"};
    for (const char *type : types) {
        EXPECT_EQ(setData(1, type, 0, 2, "01 00 02 00"), 1) << type;
        EXPECT_EQ(getData(1, type, 0, 2, 4), payload("EE EE EE EE")) << type;
    }
    EXPECT_TRUE(driver.dataAreas.isEmpty());
    EXPECT_TRUE(driver.writeList.isEmpty());
    EXPECT_TRUE(recorder.changes.empty());
}

} // namespace
