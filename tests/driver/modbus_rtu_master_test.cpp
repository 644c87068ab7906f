// Construction and configuration of the driver object.

#include "support/driver_fixture.h"

namespace {

using namespace support;

QList<int> numbers(std::initializer_list<int> values)
{
    QList<int> list;
    for (int value : values)
        list << value;
    return list;
}

// --- construction -----------------------------------------------------------------

TEST(Construction, ListsAndNumbersStartEmpty)
{
    const Modbus_rtu_master fresh;
    EXPECT_EQ(fresh.valueChangeCallBack, nullptr);
    EXPECT_EQ(fresh.linkId, 0);
    EXPECT_EQ(fresh.localWriteOnly, 0);
    EXPECT_EQ(fresh.spareProperty, 0);
    EXPECT_EQ(fresh.retryLimit, 0);
    EXPECT_EQ(fresh.maxReadWords, 0);
    EXPECT_EQ(fresh.hostArea, nullptr);
    EXPECT_EQ(fresh.hostArg, 0);
    EXPECT_EQ(fresh.hostWordBuffer, nullptr);
    EXPECT_EQ(fresh.hostMutex, nullptr);
    EXPECT_TRUE(fresh.cyclicReadList.isEmpty());
    EXPECT_TRUE(fresh.writeList.isEmpty());
    EXPECT_TRUE(fresh.conditionReadList.isEmpty());
    EXPECT_TRUE(fresh.dataAreas.isEmpty());
    EXPECT_TRUE(fresh.rcpAddrs.isEmpty());
    EXPECT_TRUE(fresh.rcpBlocks.isEmpty());
    EXPECT_TRUE(fresh.rcpBlockStarts.isEmpty());
    EXPECT_TRUE(fresh.conditionVar.regType.isEmpty());
    EXPECT_TRUE(fresh.currentVar.regType.isEmpty());
    EXPECT_EQ(fresh.sendState, 0);
    EXPECT_EQ(fresh.burstCount, 0);
    EXPECT_EQ(fresh.spareCounter, 0);
    EXPECT_EQ(fresh.failCount, 0);
    EXPECT_EQ(fresh.maxBlockBits, 0);
    EXPECT_EQ(fresh.maxBlockWords, 0);
    EXPECT_EQ(fresh.lastFailed, 0);
    EXPECT_EQ(fresh.spareFlagA, 0);
    EXPECT_EQ(fresh.spareFlagB, 0);
    EXPECT_TRUE(fresh.frameList.isEmpty());
    EXPECT_EQ(fresh.rcpIndex, 0);
    EXPECT_EQ(fresh.doubleSwapMode, 0);
    EXPECT_TRUE(fresh.doubleSwapStations.isEmpty());
}

TEST(Construction, SixTypeNamesInSortingOrder)
{
    const Modbus_rtu_master fresh;
    const char *const names[] = {"0x", "1x", "3x", "4x", "3x_double", "4x_double"};
    ASSERT_EQ(fresh.regTypeNames.size(), 6);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(fresh.regTypeNames.at(i), QString::fromLatin1(names[i]));
}

TEST(Construction, ListMutexIsFreeAndNotRecursive)
{
    Modbus_rtu_master fresh;
    ASSERT_TRUE(fresh.listMutex.tryLock());
    EXPECT_FALSE(fresh.listMutex.tryLock());
    fresh.listMutex.unlock();
}

// --- property string --------------------------------------------------------------

class PropertyString : public DriverFixture
{
};

TEST_F(PropertyString, FieldsGoToTheirMembers)
{
    EXPECT_EQ(init("3#0#1000#3#32#0_1,5"), 1);
    EXPECT_EQ(driver.linkId, 3);
    EXPECT_EQ(driver.localWriteOnly, 0);
    EXPECT_EQ(driver.spareProperty, 1000);
    EXPECT_EQ(driver.retryLimit, 3);
    EXPECT_EQ(driver.maxReadWords, 32);
    EXPECT_EQ(driver.maxBlockWords, 32);
    EXPECT_EQ(driver.maxBlockBits, 256);
    EXPECT_EQ(driver.doubleSwapMode, 0);
    EXPECT_EQ(driver.doubleSwapStations, numbers({1, 5}));
}

TEST_F(PropertyString, FourFieldsLeaveTheSettings)
{
    init("3#1#1000#4#32#1_7");
    EXPECT_EQ(init("9#9#9#9"), 1);
    EXPECT_EQ(driver.linkId, 3);
    EXPECT_EQ(driver.localWriteOnly, 1);
    EXPECT_EQ(driver.spareProperty, 1000);
    EXPECT_EQ(driver.retryLimit, 4);
    EXPECT_EQ(driver.maxReadWords, 32);
    EXPECT_EQ(driver.doubleSwapMode, 1);
    EXPECT_EQ(driver.doubleSwapStations, numbers({7}));
    EXPECT_EQ(driver.maxBlockWords, 32);
    EXPECT_EQ(driver.maxBlockBits, 256);
}

TEST_F(PropertyString, FourFieldsStillEmptyAllLists)
{
    plan(Keys() << key(1, "4x", 0, 5));
    setData(1, "4x", 0, 1, "01 00");
    nextFrame();
    ASSERT_FALSE(driver.frameList.isEmpty());
    EXPECT_EQ(init("9#9#9#9"), 1);
    EXPECT_TRUE(driver.cyclicReadList.isEmpty());
    EXPECT_TRUE(driver.writeList.isEmpty());
    EXPECT_TRUE(driver.frameList.isEmpty());
    EXPECT_TRUE(driver.dataAreas.isEmpty());
}

TEST_F(PropertyString, FiveFieldsSetTheSwapModeTo0AndLeaveTheStations)
{
    init("1#0#0#3#20#1_4");
    ASSERT_EQ(driver.doubleSwapMode, 1);
    init("1#0#0#3#20");
    EXPECT_EQ(driver.doubleSwapMode, 0);
    EXPECT_EQ(driver.doubleSwapStations, numbers({4}));
}

TEST_F(PropertyString, SwapModeAloneAddsNoStation)
{
    init("1#0#0#3#20#1");
    EXPECT_EQ(driver.doubleSwapMode, 1);
    EXPECT_TRUE(driver.doubleSwapStations.isEmpty());
}

TEST_F(PropertyString, EmptyStationListAddsNoStation)
{
    init("1#0#0#3#20#0_");
    EXPECT_EQ(driver.doubleSwapMode, 0);
    EXPECT_TRUE(driver.doubleSwapStations.isEmpty());
}

TEST_F(PropertyString, StationThatIsNoNumberIsZero)
{
    init("1#0#0#3#20#0_2,x");
    EXPECT_EQ(driver.doubleSwapStations, numbers({2, 0}));
}

TEST_F(PropertyString, EmptyPiecesOfTheStationListCount)
{
    init("1#0#0#3#20#0_,");
    EXPECT_EQ(driver.doubleSwapStations, numbers({0, 0}));
}

TEST_F(PropertyString, StationsAccumulateOverInitialisations)
{
    init("1#0#0#3#20#0_1,5");
    init("1#0#0#3#20#0_1");
    EXPECT_EQ(driver.doubleSwapStations, numbers({1, 5, 1}));
}

TEST_F(PropertyString, FurtherFieldsAndPartsAreIgnored)
{
    init("1#0#0#3#20#1_2_3,4#5#6_7");
    EXPECT_EQ(driver.doubleSwapMode, 1);
    EXPECT_EQ(driver.doubleSwapStations, numbers({2}));
    EXPECT_EQ(driver.maxReadWords, 20);
}

TEST_F(PropertyString, EmptySixthFieldIsModeZero)
{
    init("1#0#0#3#20#1");
    init("1#0#0#3#20#");
    EXPECT_EQ(driver.doubleSwapMode, 0);
    EXPECT_TRUE(driver.doubleSwapStations.isEmpty());
}

TEST_F(PropertyString, EmptyFieldsAreKeptAndCountAsZero)
{
    init("####");
    EXPECT_EQ(driver.linkId, 0);
    EXPECT_EQ(driver.localWriteOnly, 0);
    EXPECT_EQ(driver.spareProperty, 0);
    EXPECT_EQ(driver.retryLimit, 0);
    EXPECT_EQ(driver.maxReadWords, 0);
    EXPECT_EQ(driver.maxBlockWords, 0);
    EXPECT_EQ(driver.maxBlockBits, 0);
}

TEST_F(PropertyString, FieldsThatAreNoNumbersAreZero)
{
    init("a#1b#0x10#3.5#1 0#c_d");
    EXPECT_EQ(driver.linkId, 0);
    EXPECT_EQ(driver.localWriteOnly, 0);
    EXPECT_EQ(driver.spareProperty, 0);
    EXPECT_EQ(driver.retryLimit, 0);
    EXPECT_EQ(driver.maxReadWords, 0);
    EXPECT_EQ(driver.doubleSwapMode, 0);
    EXPECT_EQ(driver.doubleSwapStations, numbers({0}));
}

TEST_F(PropertyString, ConversionIsBaseTen)
{
    init("010#-2#+7#0#0011");
    EXPECT_EQ(driver.linkId, 10);
    EXPECT_EQ(driver.localWriteOnly, -2);
    EXPECT_EQ(driver.spareProperty, 7);
    EXPECT_EQ(driver.maxReadWords, 11);
}

TEST_F(PropertyString, NumbersBeyond32BitsAreZero)
{
    init("99999999999#0#0#3#2147483648");
    EXPECT_EQ(driver.linkId, 0);
    EXPECT_EQ(driver.maxReadWords, 0);
}

TEST_F(PropertyString, BitLimitWrapsInsteadOfTrapping)
{
    init("1#0#0#3#2147483647");
    EXPECT_EQ(driver.maxBlockWords, 2147483647);
    EXPECT_EQ(driver.maxBlockBits, -8);
    init("1#0#0#3#-5");
    EXPECT_EQ(driver.maxBlockWords, -5);
    EXPECT_EQ(driver.maxBlockBits, -40);
}

TEST_F(PropertyString, GarbageLeavesTheSettings)
{
    const char *const garbage[] = {"", "#", "###", "abc", "\xFF\xFE", "1,2,3,4,5", "1_2_3_4_5_6"};
    for (const char *property : garbage) {
        EXPECT_EQ(init(property), 1) << property;
        EXPECT_EQ(driver.linkId, 1) << property;
        EXPECT_EQ(driver.retryLimit, 3) << property;
        EXPECT_EQ(driver.maxReadWords, 100) << property;
    }
}

TEST_F(PropertyString, IsLatin1)
{
    init("1\xE9#0#0#3#20#0_5,\xFC");
    EXPECT_EQ(driver.linkId, 0);
    EXPECT_EQ(driver.retryLimit, 3);
    EXPECT_EQ(driver.doubleSwapStations, numbers({5, 0}));
}

TEST_F(PropertyString, LongStringsAreTaken)
{
    std::string property = "1#0#0#3#20#0_0";
    for (int i = 1; i < 2000; ++i)
        property += "," + std::to_string(i);
    init(property.c_str());
    ASSERT_EQ(driver.doubleSwapStations.size(), 2000);
    EXPECT_EQ(driver.doubleSwapStations.at(1999), 1999);
}

TEST_F(PropertyString, BlocksLimitedToZeroRegistersAreNotJoined)
{
    init("1#0#0#3#x");
    EXPECT_EQ(driver.maxReadWords, 0);
    EXPECT_EQ(plan(Keys() << key(1, "4x", 0, 2) << key(1, "4x", 2, 2)), 2);
}

// --- reset ------------------------------------------------------------------------

class Initialisation : public DriverFixture
{
};

TEST_F(Initialisation, StatusIsZeroAfterEveryCall)
{
    const char *const properties[] = {"", "1#0#0#3", "1#0#0#3#20", "1#0#0#3#20#0_1", "garbage"};
    for (const char *property : properties) {
        int status = 77;
        EXPECT_EQ(intf_initProperty(hostArea.data(), 0, hostWords.data(), &status, property, &hostMutex), 1);
        EXPECT_EQ(status, 0) << property;
    }
}

TEST_F(Initialisation, BorrowsTheHostsObjects)
{
    int status = -1;
    EXPECT_EQ(intf_initProperty(hostArea.data(), 4711, hostWords.data(), &status, "", &hostMutex), 1);
    EXPECT_EQ(driver.hostArea, hostArea.data());
    EXPECT_EQ(driver.hostArg, 4711);
    EXPECT_EQ(static_cast<void *>(driver.hostWordBuffer), static_cast<void *>(hostWords.data()));
    EXPECT_EQ(driver.hostMutex, &hostMutex);

    EXPECT_EQ(intf_initProperty(nullptr, 0, nullptr, &status, "", nullptr), 1);
    EXPECT_EQ(driver.hostArea, nullptr);
    EXPECT_EQ(driver.hostArg, 0);
    EXPECT_EQ(driver.hostWordBuffer, nullptr);
    EXPECT_EQ(driver.hostMutex, nullptr);
}

TEST_F(Initialisation, TakesNeitherMutex)
{
    QMutexLocker host(&hostMutex);
    QMutexLocker list(&driver.listMutex);
    EXPECT_EQ(init("1#0#0#3#20"), 1);
}

TEST_F(Initialisation, TouchesNoByteOfTheHostsBuffers)
{
    hostArea.assign(hostArea.size(), 0x5A);
    hostWords.assign(hostWords.size(), 0x5A5A);
    init("1#0#0#3#20#1_3");
    EXPECT_EQ(hostArea, std::vector<unsigned char>(hostArea.size(), 0x5A));
    EXPECT_EQ(hostWords, std::vector<unsigned short>(hostWords.size(), 0x5A5A));
}

TEST_F(Initialisation, ResetsListsCountersAndFlags)
{
    plan(Keys() << key(1, "4x", 0, 5));
    setData(1, "4x", 0, 1, "01 00");
    KEY_ADDRESS once = key(1, "4x", 50, 1);
    intf_addConditionRead(&once, 0);
    nextFrame();
    deal(QByteArray());
    ASSERT_EQ(driver.sendState, static_cast<int>(WriteSent));
    ASSERT_EQ(driver.burstCount, 1);
    ASSERT_EQ(driver.failCount, 1);
    driver.lastFailed = 1;
    driver.spareCounter = 5;
    driver.spareFlagA = 5;
    driver.spareFlagB = 5;

    init("1#0#0#3#20");
    EXPECT_TRUE(driver.cyclicReadList.isEmpty());
    EXPECT_TRUE(driver.writeList.isEmpty());
    EXPECT_TRUE(driver.conditionReadList.isEmpty());
    EXPECT_TRUE(driver.dataAreas.isEmpty());
    EXPECT_TRUE(driver.frameList.isEmpty());
    EXPECT_EQ(driver.sendState, 0);
    EXPECT_EQ(driver.burstCount, 0);
    EXPECT_EQ(driver.spareCounter, 0);
    EXPECT_EQ(driver.failCount, 0);
    EXPECT_EQ(driver.lastFailed, 0);
    EXPECT_EQ(driver.spareFlagA, 0);
    EXPECT_EQ(driver.spareFlagB, 1);
}

TEST_F(Initialisation, LeavesRecipesAndUnitsInFlightAlone)
{
    QVector<_RCP_VAR_PRO> rows;
    rows << row(1, 1, "4x", 0, 2, 0) << row(1, 1, "4x", 500, 2, 2);
    ASSERT_EQ(intf_setRcpAddress(&rows), 2);
    driver.rcpIndex = 1;
    driver.conditionVar = variable(1, "4x", 7, 8);
    driver.currentVar = variable(2, "3x", 9, 10);

    init("1#0#0#3#20");
    EXPECT_EQ(driver.rcpAddrs.size(), 2);
    EXPECT_EQ(driver.rcpBlocks.size(), 2);
    EXPECT_EQ(driver.rcpBlockStarts.size(), 2);
    EXPECT_EQ(driver.rcpIndex, 1);
    EXPECT_EQ(driver.conditionVar.startAddr, 7);
    EXPECT_EQ(driver.currentVar.startAddr, 9);
}

TEST_F(Initialisation, CacheIsEmptyForReadOutAfterwards)
{
    setData(1, "4x", 3, 1, "34 12");
    ASSERT_EQ(getData(1, "4x", 3, 1, 2), payload("34 12"));
    init("1#0#0#3#20");
    EXPECT_EQ(getData(1, "4x", 3, 1, 2), payload("00 00"));
}

TEST_F(Initialisation, ChangedLinkIdIsReported)
{
    init("42#0#0#3#20");
    setData(1, "0x", 3, 1, "01");
    EXPECT_EQ(recorder.changes, (Changes{Change{42, 1, QString::fromLatin1("0x"), 3}}));
}

} // namespace
