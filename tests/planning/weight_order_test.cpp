// The driver sorts and merges at n log n cost; the outcome is that of the plain
// exchange sort and the plain walk, shown here on random tables.

#include "model/plain_driver.h"
#include "support/random.h"
#include "support/unit_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using support::key;
using support::Keys;
using support::unitText;

namespace {

class RandomTables
{
public:
    explicit RandomTables(unsigned int seed) : random(seed) {}

    const char *type()
    {
        static const char *const names[] = {"0x", "1x", "3x", "4x", "3x_bit", "4x_bit", "3x_double", "4x_double", "9x"};
        return names[random.below(9)];
    }

    /** Mostly near one of the two ends of the address space, where bands meet and weights are equal. */
    int address()
    {
        switch (random.below(10)) {
        case 0:
            return random.between(65530, 65540);
        case 1:
            return random.between(-20, 0);
        default:
            return random.between(0, 30);
        }
    }

    int station() { return random.chance(5) ? -1 : random.between(0, 3); }

    int count() { return random.chance(5) ? random.between(-40, 0) : random.between(1, 12); }

private:
    support::Random random;
};

Keys randomKeys(RandomTables &random, int n)
{
    Keys keys;
    for (int i = 0; i < n; ++i) {
        KEY_ADDRESS made = key(random.station(), random.type(), random.address(), random.count());
        made.field1 = i;
        keys << made;
    }
    return keys;
}

/** Also names the key that opened a block. */
std::vector<std::string> keyTexts(const Keys &keys)
{
    std::vector<std::string> lines;
    for (int i = 0; i < static_cast<int>(keys.size()); ++i)
        lines.push_back(unitText(keys.at(i)) + " #" + std::to_string(keys.at(i).field1));
    return lines;
}

QVector<_RCP_VAR_PRO> randomRows(RandomTables &random, int n)
{
    QVector<_RCP_VAR_PRO> rows;
    for (int i = 0; i < n; ++i)
        rows << support::row(1, random.station(), random.type(), random.address(), random.count(), i, i);
    return rows;
}

/** Also names the row, or the row that opened a block, by its place in the host buffer. */
std::vector<std::string> rowTexts(const QVector<_RCP_VAR_PRO> &rows)
{
    std::vector<std::string> lines;
    for (int i = 0; i < static_cast<int>(rows.size()); ++i)
        lines.push_back(unitText(rows.at(i)) + " @" + std::to_string(rows.at(i).hostOffset));
    return lines;
}

std::vector<int> numbers(const QList<int> &list)
{
    return std::vector<int>(list.constBegin(), list.constEnd());
}

const int limits[] = {0, 1, 4, 20, 100};

void expectSamePollMerge(unsigned int seed)
{
    SCOPED_TRACE("seed " + std::to_string(seed));
    RandomTables random(seed);
    Modbus_rtu_master master;
    PlainDriver plain;
    master.maxReadWords = plain.maxReadWords = limits[seed % 5];
    Keys keys = randomKeys(random, static_cast<int>(1 + seed % 60));
    Keys expected = keys;
    master.addrMerge(keys, 1);
    plain.mergeKeys(expected, 1);
    EXPECT_EQ(keyTexts(keys), keyTexts(expected));
}

class SortOrder : public support::DriverFixture
{
protected:
    void expectSameRegistration(QVector<_RCP_VAR_PRO> rows, int limit)
    {
        PlainDriver plain;
        plain.linkId = 1;
        driver.maxReadWords = plain.maxReadWords = limit;
        EXPECT_EQ(intf_setRcpAddress(&rows), static_cast<int>(rows.size()));
        plain.setRcpAddress(rows);
        EXPECT_EQ(rowTexts(driver.rcpAddrs), rowTexts(plain.rcpAddrs));
        EXPECT_EQ(rowTexts(driver.rcpBlocks), rowTexts(plain.rcpBlocks));
        EXPECT_EQ(numbers(driver.rcpBlockStarts), numbers(plain.rcpBlockStarts));
    }
};

} // namespace

TEST_F(SortOrder, PollMergeEqualsThePlainOneOnRandomTables)
{
    for (unsigned int seed = 1; seed <= 400 && !HasFailure(); ++seed)
        expectSamePollMerge(seed);
}

TEST_F(SortOrder, RegistrationEqualsThePlainOneOnRandomTables)
{
    for (unsigned int seed = 1001; seed <= 1400 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        RandomTables random(seed);
        expectSameRegistration(randomRows(random, static_cast<int>(1 + seed % 80)), limits[seed % 5]);
    }
}

TEST_F(SortOrder, HundredsOfRowsOfVeryFewWeightsKeepTheirOrder)
{
    support::Random random(77);
    QVector<_RCP_VAR_PRO> rows;
    for (int i = 0; i < 600; ++i)
        rows << support::row(1, 1, "4x", random.between(0, 4), 1, i);
    expectSameRegistration(rows, 100);
}
