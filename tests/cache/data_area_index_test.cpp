// Finding and creating data areas; in a large cache this gives what walking the list gives.

#include "support/driver_fixture.h"

#include <climits>
#include <random>

namespace {

using namespace support;

// --- look-up ----------------------------------------------------------------------

class AreaLookUp : public DriverFixture
{
protected:
    int positionOf(int station, const char *type, int areaIndex)
    {
        return driver.getIndexOfDataArea(station, QString::fromLatin1(type), areaIndex, driver.dataAreas);
    }
};

TEST_F(AreaLookUp, AbsentAreaIsAppendedAndFoundAgain)
{
    EXPECT_EQ(positionOf(1, "4x", 10), 0);
    EXPECT_EQ(positionOf(1, "4x", 11), 1);
    EXPECT_EQ(driver.dataAreas.size(), 2);
    EXPECT_EQ(positionOf(1, "4x", 10), 0);
    EXPECT_EQ(positionOf(1, "4x", 11), 1);
    EXPECT_EQ(driver.dataAreas.size(), 2);
}

TEST_F(AreaLookUp, NewAreaHasItsKeysAndNothingElse)
{
    positionOf(7, "3x", 65535);
    const _DATA_ area = driver.dataAreas.at(0);
    EXPECT_EQ(area.station, 7);
    EXPECT_EQ(area.regType, QString::fromLatin1("3x"));
    EXPECT_EQ(area.areaIndex, 65535);
    EXPECT_EQ(area.errorFlag, 0);
    EXPECT_EQ(area.writtenFlag, 0);
    EXPECT_EQ(area.bitWriteState, 0);
    EXPECT_EQ(area.wordMonitor, 0);
    EXPECT_EQ(area.bitMonitor, 0);
    EXPECT_EQ(area.readValue, 0);
    EXPECT_EQ(area.writtenValue, 0);
}

TEST_F(AreaLookUp, EveryKeyTellsAreasApart)
{
    EXPECT_EQ(positionOf(1, "4x", 10), 0);
    EXPECT_EQ(positionOf(2, "4x", 10), 1);
    EXPECT_EQ(positionOf(1, "3x", 10), 2);
    EXPECT_EQ(positionOf(1, "4x", -10), 3);
    EXPECT_EQ(positionOf(-1, "4x", 10), 4);
    EXPECT_EQ(positionOf(1, "", 10), 5);
    EXPECT_EQ(positionOf(1, "4x ", 10), 6);
    EXPECT_EQ(positionOf(INT_MIN, "4x", INT_MAX), 7);
    EXPECT_EQ(positionOf(INT_MAX, "4x", INT_MIN), 8);
    EXPECT_EQ(driver.dataAreas.size(), 9);
}

TEST_F(AreaLookUp, LetterCaseTellsAreasApart)
{
    EXPECT_EQ(positionOf(1, "4x", 10), 0);
    EXPECT_EQ(positionOf(1, "4X", 10), 1);
    EXPECT_EQ(positionOf(1, "4x", 10), 0);
    EXPECT_EQ(positionOf(1, "4X", 10), 1);
}

TEST_F(AreaLookUp, AnyListIsServed)
{
    QList<_DATA_> own;
    const QString type = QString::fromLatin1("4x");
    EXPECT_EQ(driver.getIndexOfDataArea(1, type, 10, own), 0);
    EXPECT_EQ(driver.getIndexOfDataArea(1, type, 11, own), 1);
    EXPECT_EQ(driver.getIndexOfDataArea(1, type, 10, own), 0);
    EXPECT_EQ(own.size(), 2);
    EXPECT_TRUE(driver.dataAreas.isEmpty());
}

TEST_F(AreaLookUp, FirstOfEqualAreasIsFound)
{
    QList<_DATA_> own;
    const QString type = QString::fromLatin1("4x");
    driver.getIndexOfDataArea(1, type, 10, own);
    const _DATA_ first = own.at(0);
    own << first << first;
    EXPECT_EQ(driver.getIndexOfDataArea(1, type, 10, own), 0);
    EXPECT_EQ(own.size(), 3);
}

// --- large caches -----------------------------------------------------------------

const char *const Types[] = {"0x", "1x", "3x", "4x", "4X", ""};

// The plain definition: the first area whose keys are equal.
int firstMatch(const QList<_DATA_> &areas, int station, const QString &type, int areaIndex)
{
    for (int i = 0; i < static_cast<int>(areas.size()); ++i)
        if (areas.at(i).station == station && areas.at(i).regType == type && areas.at(i).areaIndex == areaIndex)
            return i;
    return -1;
}

struct Keys3
{
    int station;
    QString type;
    int areaIndex;
};

class AreaIndex : public DriverFixture
{
protected:
    std::mt19937 random{20240229};

    int below(int limit) { return static_cast<int>(random() % static_cast<unsigned int>(limit)); }

    Keys3 someKeys()
    {
        const Keys3 keys = {below(4), QString::fromLatin1(Types[below(6)]), below(60) - 5};
        return keys;
    }

    static _DATA_ areaOf(const Keys3 &keys)
    {
        _DATA_ area = _DATA_();
        area.station = keys.station;
        area.regType = keys.type;
        area.areaIndex = keys.areaIndex;
        return area;
    }

    // Looks up both ways; the outcome must be that of the definition.
    static void expectSame(const Keys3 &keys)
    {
        QList<_DATA_> &areas = driver.dataAreas;
        const int expected = firstMatch(areas, keys.station, keys.type, keys.areaIndex);
        const int before = static_cast<int>(areas.size());
        const int found = driver.getIndexOfDataArea(keys.station, keys.type, keys.areaIndex, areas);
        ASSERT_EQ(found, expected >= 0 ? expected : before);
        ASSERT_EQ(areas.size(), expected >= 0 ? before : before + 1);
        ASSERT_EQ(firstMatch(areas, keys.station, keys.type, keys.areaIndex), found);
    }
};

TEST_F(AreaIndex, RandomLookUpsAreThoseOfTheScan)
{
    for (int step = 0; step < 6000 && !HasFatalFailure(); ++step)
        expectSame(someKeys());
    EXPECT_GT(driver.dataAreas.size(), 1000);
}

TEST_F(AreaIndex, AreasAppendedBehindItsBackAreFound)
{
    for (int step = 0; step < 3000 && !HasFatalFailure(); ++step) {
        const Keys3 keys = someKeys();
        if (below(10) == 0 && firstMatch(driver.dataAreas, keys.station, keys.type, keys.areaIndex) < 0)
            driver.dataAreas << areaOf(keys);
        expectSame(below(2) == 0 ? keys : someKeys());
    }
}

TEST_F(AreaIndex, AreasRemovedBehindItsBackAreNotFound)
{
    for (int step = 0; step < 3000 && !HasFatalFailure(); ++step) {
        if (below(20) == 0 && !driver.dataAreas.isEmpty())
            driver.dataAreas.removeAt(below(static_cast<int>(driver.dataAreas.size())));
        if (below(300) == 0)
            driver.dataAreas.clear();
        expectSame(someKeys());
    }
}

TEST_F(AreaIndex, AnotherListOfTheSameSizeIsNoticed)
{
    for (int i = 0; i < 200; ++i)
        makeArea(1, "4x", i);
    QList<_DATA_> other;
    for (int i = 0; i < 200; ++i)
        other << areaOf(Keys3{2, QString::fromLatin1("3x"), 1000 + i});
    driver.dataAreas = other;
    for (int i = 0; i < 200 && !HasFatalFailure(); ++i) {
        expectSame(Keys3{2, QString::fromLatin1("3x"), 1000 + i});
    }
    EXPECT_EQ(driver.dataAreas.size(), 200);
    expectSame(Keys3{1, QString::fromLatin1("4x"), 5});
    EXPECT_EQ(driver.dataAreas.size(), 201);
}

// The list keeps its memory when it is cleared, so its ends may lie where they lay.
TEST_F(AreaIndex, ListClearedAndFilledAnewIsNoticed)
{
    for (int i = 0; i < 200; ++i)
        makeArea(1, "4x", i);
    driver.dataAreas.clear();
    for (int i = 0; i < 200; ++i)
        driver.dataAreas << areaOf(Keys3{2, QString::fromLatin1("3x"), 1000 + i});
    for (int i = 0; i < 200 && !HasFatalFailure(); ++i)
        expectSame(Keys3{2, QString::fromLatin1("3x"), 1000 + i});
    EXPECT_EQ(driver.dataAreas.size(), 200);
}

TEST_F(AreaIndex, SwappedAreasAreFoundWhereTheyAre)
{
    for (int i = 0; i < 300; ++i)
        makeArea(1, "4x", i);
    const _DATA_ kept = driver.dataAreas.at(10);
    driver.dataAreas[10] = driver.dataAreas.at(200);
    driver.dataAreas[200] = kept;
    expectSame(Keys3{1, QString::fromLatin1("4x"), 10});
    expectSame(Keys3{1, QString::fromLatin1("4x"), 200});
    EXPECT_EQ(driver.dataAreas.size(), 300);
}

TEST_F(AreaIndex, InitialisationForgetsAllAreas)
{
    for (int i = 0; i < 300; ++i)
        makeArea(1, "4x", i).readValue = 7;
    init("1#0#0#3#100");
    for (int i = 299; i >= 0 && !HasFatalFailure(); --i) {
        expectSame(Keys3{1, QString::fromLatin1("4x"), i});
        ASSERT_EQ(area(1, "4x", i).readValue, 0);
    }
    EXPECT_EQ(driver.dataAreas.size(), 300);
}

TEST_F(AreaIndex, ManyAreasOfRegularPlants)
{
    const int stations = 20;
    const int registers = 1000;
    for (int station = 1; station <= stations; ++station)
        for (int address = 0; address < registers; ++address)
            makeArea(station, "4x", address * 16).readValue = station * 10000 + address;
    ASSERT_EQ(driver.dataAreas.size(), stations * registers);
    for (int address = registers - 1; address >= 0; --address)
        for (int station = 1; station <= stations; ++station)
            ASSERT_EQ(makeArea(station, "4x", address * 16).readValue, station * 10000 + address);
    EXPECT_EQ(driver.dataAreas.size(), stations * registers);
}

} // namespace
