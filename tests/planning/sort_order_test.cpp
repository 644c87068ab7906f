// The driver sorts and merges at n log n cost; the outcome is that of the plain
// exchange sort and the plain walk, shown here on random tables.

#include "planning/plain_planning.h"
#include "support/unit_text.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using support::Keys;
using support::key;
using support::unitText;

namespace {

class RandomTables
{
public:
    explicit RandomTables(unsigned int seed)
        : engine(seed)
    {
    }

    int between(int low, int high)
    {
        return std::uniform_int_distribution<int>(low, high)(engine);
    }

    const char *type()
    {
        static const char *const names[] = {"0x", "1x", "3x", "4x", "3x_bit", "4x_bit", "3x_double", "4x_double", "9x"};
        return names[between(0, 8)];
    }

    /** Mostly near one of the two ends of the address space, where bands meet and weights are equal. */
    int address()
    {
        switch (between(0, 9)) {
        case 0:
            return between(65530, 65540);
        case 1:
            return between(-20, 0);
        default:
            return between(0, 30);
        }
    }

    int station()
    {
        return between(0, 19) == 0 ? -1 : between(0, 3);
    }

    int count()
    {
        return between(0, 19) == 0 ? between(-40, 0) : between(1, 12);
    }

private:
    std::mt19937 engine;
};

std::vector<KEY_ADDRESS> randomKeys(RandomTables &random, int n)
{
    std::vector<KEY_ADDRESS> keys;
    for (int i = 0; i < n; ++i) {
        KEY_ADDRESS made = key(random.station(), random.type(), random.address(), random.count());
        made.field1 = i;
        keys.push_back(made);
    }
    return keys;
}

/** Also names the key that opened a block. */
std::vector<std::string> texts(const std::vector<KEY_ADDRESS> &keys)
{
    std::vector<std::string> lines;
    for (size_t i = 0; i < keys.size(); ++i)
        lines.push_back(unitText(keys[i]) + " #" + std::to_string(keys[i].field1));
    return lines;
}

Keys listOf(const std::vector<KEY_ADDRESS> &keys)
{
    Keys list;
    for (size_t i = 0; i < keys.size(); ++i)
        list << keys[i];
    return list;
}

std::vector<KEY_ADDRESS> vectorOf(const Keys &keys)
{
    return std::vector<KEY_ADDRESS>(keys.constBegin(), keys.constEnd());
}

/** Registers of one kind, so that few distinct weights are left. */
std::vector<_RCP_VAR_PRO> randomRows(RandomTables &random, int n)
{
    std::vector<_RCP_VAR_PRO> rows;
    for (int i = 0; i < n; ++i)
        rows.push_back(support::row(1, random.station(), random.type(), random.address(), random.count(), i, i));
    return rows;
}

const int limits[] = {0, 1, 4, 20, 100};

void expectSameMerge(unsigned int seed, int n, int mode)
{
    SCOPED_TRACE("seed " + std::to_string(seed) + ", mode " + std::to_string(mode));
    RandomTables random(seed);
    const int limit = limits[seed % 5];
    std::vector<KEY_ADDRESS> keys = randomKeys(random, n);
    if (mode == 2)
        plain::exchangeSort(keys);

    std::vector<int> plainStarts;
    const std::vector<KEY_ADDRESS> expected = plain::merge(keys, mode, limit, plainStarts);

    Modbus_rtu_master master;
    master.maxReadWords = limit;
    Keys list = listOf(keys);
    master.addrMerge(list, mode);
    EXPECT_EQ(texts(vectorOf(list)), texts(expected));
    EXPECT_EQ(std::vector<int>(master.rcpBlockStarts.constBegin(), master.rcpBlockStarts.constEnd()), plainStarts);
}

class SortOrder : public support::DriverFixture
{
};

} // namespace

TEST_F(SortOrder, PollMergeEqualsThePlainOneOnRandomTables)
{
    for (unsigned int seed = 1; seed <= 400 && !HasFailure(); ++seed)
        expectSameMerge(seed, static_cast<int>(1 + seed % 60), 1);
}

TEST_F(SortOrder, RecipeMergeEqualsThePlainOneOnRandomTables)
{
    for (unsigned int seed = 1001; seed <= 1400 && !HasFailure(); ++seed)
        expectSameMerge(seed, static_cast<int>(1 + seed % 60), 2);
}

TEST_F(SortOrder, RegisteredRowsStandInTheOrderOfTheExchangeSort)
{
    for (unsigned int seed = 2001; seed <= 2200 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        RandomTables random(seed);
        std::vector<_RCP_VAR_PRO> rows = randomRows(random, static_cast<int>(1 + seed % 80));
        QVector<_RCP_VAR_PRO> given;
        for (size_t i = 0; i < rows.size(); ++i)
            given << rows[i];
        ASSERT_EQ(intf_setRcpAddress(&given), static_cast<int>(rows.size()));

        plain::exchangeSort(rows);
        ASSERT_EQ(static_cast<size_t>(driver.rcpAddrs.size()), rows.size());
        for (size_t i = 0; i < rows.size(); ++i)
            ASSERT_EQ(driver.rcpAddrs.at(static_cast<int>(i)).extra, rows[i].extra) << "row " << i;
    }
}

TEST_F(SortOrder, ThousandsOfRowsOfVeryFewWeightsKeepTheirOrder)
{
    RandomTables random(77);
    std::vector<_RCP_VAR_PRO> rows;
    QVector<_RCP_VAR_PRO> given;
    for (int i = 0; i < 3000; ++i) {
        rows.push_back(support::row(1, 1, "4x", random.between(0, 4), 1, 0, i));
        given << rows.back();
    }
    ASSERT_EQ(intf_setRcpAddress(&given), 3000);
    plain::exchangeSort(rows);
    for (size_t i = 0; i < rows.size(); ++i)
        ASSERT_EQ(driver.rcpAddrs.at(static_cast<int>(i)).extra, rows[i].extra) << "row " << i;
}
