// Good replies against a cache of any make-up: areas that are missing, lie in any
// order, carry any flags. Exactly the elements of the reply are touched, whatever
// stands beside them.

#include "support/random.h"
#include "support/slave_fixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using support::Change;
using support::Changes;
using support::variable;

namespace {

enum { Margin = 20, Rounds = 400 };

/** What is known of one element before the reply. */
struct Element
{
    bool exists;
    bool monitored;
    int errorFlag;
    int writtenFlag;
    int readValue;
};

class Unpacking : public support::DriverFixture
{
protected:
    /** Elements from start - Margin on; those outside the reply always exist. */
    std::vector<Element> before;
    int start = 0;
    int count = 0;

    bool isInReply(int index) const { return index >= Margin && index < Margin + count; }

    void invent(support::Random &random, int largestCount, std::initializer_list<int> values)
    {
        start = random.between(Margin, 90);
        count = random.between(1, largestCount);
        before.clear();
        for (int i = 0; i < count + 2 * Margin; ++i) {
            Element element = Element();
            element.exists = !isInReply(i) || random.chance(90);
            element.monitored = element.exists && random.chance(70);
            element.errorFlag = element.exists && random.chance(50) ? 1 : 0;
            element.writtenFlag = element.exists && random.chance(50) ? 1 : 0;
            element.readValue = element.exists ? random.pick(values) : 0;
            before.push_back(element);
        }
    }

    /** Puts the elements into the cache, mostly in order. */
    void fillCache(support::Random &random, const char *type)
    {
        std::vector<int> order;
        for (int i = 0; i < static_cast<int>(before.size()); ++i) {
            if (before[static_cast<size_t>(i)].exists)
                order.push_back(i);
        }
        const int swaps = random.chance(50) ? 0 : random.between(1, 20);
        for (int i = 0; i < swaps; ++i)
            std::swap(order[static_cast<size_t>(random.below(static_cast<int>(order.size())))],
                      order[static_cast<size_t>(random.below(static_cast<int>(order.size())))]);
        for (int i : order) {
            const Element &element = before[static_cast<size_t>(i)];
            _DATA_ &made = makeArea(1, type, start - Margin + i);
            made.errorFlag = static_cast<unsigned char>(element.errorFlag);
            made.writtenFlag = static_cast<unsigned char>(element.writtenFlag);
            made.wordMonitor = element.monitored ? 1 : 0;
            made.readValue = element.readValue;
        }
    }

    int dealTo(const char *type, const QByteArray &reply)
    {
        driver.sendState = CyclicReadSent;
        driver.getReadFrame(variable(1, type, start, count));
        return deal(reply);
    }

    void expectCache(const char *type, const std::vector<int> &values)
    {
        for (int i = 0; i < static_cast<int>(before.size()); ++i) {
            const Element &was = before[static_cast<size_t>(i)];
            const _DATA_ now = area(1, type, start - Margin + i);
            const int value = isInReply(i) ? values[static_cast<size_t>(i - Margin)] : was.readValue;
            const bool changed = value != was.readValue;
            ASSERT_EQ(now.readValue, value) << "element " << i;
            ASSERT_EQ(now.errorFlag, isInReply(i) ? 0 : was.errorFlag) << "element " << i;
            ASSERT_EQ(now.writtenFlag, changed ? 0 : was.writtenFlag) << "element " << i;
        }
    }

    Changes expectedReports(const char *type, const std::vector<int> &values, bool monitoredOnly) const
    {
        Changes reports;
        for (int i = 0; i < count; ++i) {
            const Element &was = before[static_cast<size_t>(i + Margin)];
            if (values[static_cast<size_t>(i)] == was.readValue || (monitoredOnly && !was.monitored))
                continue;
            const Change report = {1, 1, QString::fromLatin1(type), start + i};
            reports.push_back(report);
        }
        return reports;
    }

    /** The values of the reply: mostly those that are cached already. */
    std::vector<int> newValues(support::Random &random, std::initializer_list<int> values) const
    {
        const int changing = random.pick({0, 10, 50, 100});
        std::vector<int> made;
        for (int i = 0; i < count; ++i)
            made.push_back(random.chance(changing) ? random.pick(values)
                                                   : before[static_cast<size_t>(i + Margin)].readValue);
        return made;
    }
};

} // namespace

TEST_F(Unpacking, RegistersOfAnyReplyIntoAnyCache)
{
    const std::initializer_list<int> values = {0, 1, 0x0100, 0x0101};
    for (unsigned int seed = 1; seed <= Rounds && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        support::Random random(seed);
        init("1#0#0#3#125");
        const char *type = random.pick({"3x", "4x"});
        invent(random, 60, values);
        const std::vector<int> received = newValues(random, values);
        const QByteArray reply = support::wordsReply(1, 3, received);
        // The register behind the last one is what the CRC would read as.
        const int length = static_cast<int>(reply.size());
        before[static_cast<size_t>(Margin + count)].readValue =
            static_cast<unsigned char>(reply.at(length - 2)) << 8 | static_cast<unsigned char>(reply.at(length - 1));
        fillCache(random, type);

        EXPECT_EQ(dealTo(type, reply), ReplyAccepted);
        EXPECT_EQ(recorder.take(), expectedReports(type, received, true));
        expectCache(type, received);
    }
}

TEST_F(Unpacking, CoilsOfAnyReplyIntoAnyCache)
{
    for (unsigned int seed = 1001; seed <= 1000 + Rounds && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        support::Random random(seed);
        init("1#0#0#3#125");
        const char *type = random.pick({"0x", "1x"});
        invent(random, 90, {0, 1});
        const std::vector<int> received = newValues(random, {0, 1});
        // The reply's last byte and its CRC stand in the cache as well.
        QByteArray reply = support::bitsReply(1, 1, received);
        for (int i = Margin + count; i < static_cast<int>(before.size()); ++i) {
            const int bit = i - Margin;
            if (3 + bit / 8 < static_cast<int>(reply.size()))
                before[static_cast<size_t>(i)].readValue = (reply.at(3 + bit / 8) >> (bit % 8)) & 1;
        }
        fillCache(random, type);

        EXPECT_EQ(dealTo(type, reply), ReplyAccepted);
        EXPECT_EQ(recorder.take(), expectedReports(type, received, false));
        expectCache(type, received);
    }
}

TEST_F(Unpacking, CoilsBeyondTheReplyReadAsOff)
{
    start = 40;
    count = 8;
    for (int i = 0; i < 60; ++i)
        makeArea(1, "0x", start + i).readValue = 1;
    driver.sendState = CyclicReadSent;
    driver.getReadFrame(variable(1, "0x", start, count));
    driver.frameList[0].dataLen = 50;
    const QByteArray reply = support::adu("01 01 01 FF");
    EXPECT_EQ(deal(reply), ReplyAccepted);
    for (int i = 0; i < 60; ++i) {
        const int byte = 3 + i / 8;
        const int received = byte < static_cast<int>(reply.size()) ? (reply.at(byte) >> (i % 8)) & 1 : 0;
        EXPECT_EQ(area(1, "0x", start + i).readValue, i < 50 ? received : 1) << i;
    }
    EXPECT_GE(recorder.take().size(), 26u) << "those behind the CRC at least";
}

TEST_F(Unpacking, ReplyThatEndsBeforeItsDataReadsAsZero)
{
    for (const char *type : {"4x", "0x"}) {
        init("1#0#0#3#100");
        makeArea(1, type, 7).readValue = 1;
        driver.sendState = CyclicReadSent;
        driver.getReadFrame(variable(1, type, 7, 2));
        driver.frameList[0].replyLen = 2;
        EXPECT_EQ(deal(support::bytes("FF FF")), ReplyAccepted);
        EXPECT_EQ(area(1, type, 7).readValue, 0);
        EXPECT_EQ(area(1, type, 8).readValue, 0);
    }
}

TEST_F(Unpacking, ConsecutiveRepliesFindTheirAreasWhereverTheyLie)
{
    support::Random random(31);
    init("1#0#0#3#125");
    for (int round = 0; round < Rounds && !HasFailure(); ++round) {
        const char *type = random.pick({"0x", "1x", "3x", "4x"});
        start = random.between(0, 40);
        count = random.between(1, 20);
        std::vector<int> values;
        for (int i = 0; i < count; ++i)
            values.push_back(random.below(2));
        const bool coils = type[1] == 'x' && (type[0] == '0' || type[0] == '1');
        EXPECT_EQ(dealTo(type, coils ? support::bitsReply(1, 1, values) : support::wordsReply(1, 3, values)),
                  ReplyAccepted);
        for (int i = 0; i < count; ++i)
            ASSERT_EQ(area(1, type, start + i).readValue, values[static_cast<size_t>(i)]) << type << " " << start + i;
        if (random.chance(5))
            init("1#0#0#3#125");
    }
    std::vector<std::string> keys;
    for (int i = 0; i < static_cast<int>(driver.dataAreas.size()); ++i)
        keys.push_back(driver.dataAreas.at(i).regType.toStdString() + std::to_string(driver.dataAreas.at(i).areaIndex));
    std::sort(keys.begin(), keys.end());
    EXPECT_EQ(std::adjacent_find(keys.begin(), keys.end()), keys.end()) << "no area stands twice";
}
