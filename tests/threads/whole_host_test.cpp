// Everything that a host does at once: several threads write, read and ask for
// one-off reads, one moves recipes, one fills in addresses in an editor, one
// changes the callback, while the poll loop runs over slaves that fail now and
// then. Callbacks call the driver again and take a lock of the host's own under
// which other threads call the driver.
//
// Every write has a place of its own, so none replaces another one; each must
// end exactly once, acknowledged by the slave or reported as failed.

#include "threads/panel.h"
#include "threads/write_source.h"

#include <QtCore/QMutexLocker>

#include <map>
#include <memory>

namespace {

using support::Change;
using threads::HostWrite;
using threads::LedgerEntry;
using threads::Panel;
using threads::WriteLedger;
using threads::WriteSource;

const int writersCount = 4; // on stations 1 to 4
const int writesOfAWriter = 1500;
const int writesToTheDead = 200;
const int callBackStation = 9;
const int callBackWrites = 1000;
const int recipeRounds = 100;
const int readsOfAReader = 10000;
const int tagsOfAWriter = 100000;

class WholeHost : public ::testing::Test
{
protected:
    WholeHost()
        : panel(20)
        , ledger(threads::RequestLimit)
        , callBackSource(callBackStation, 90 * tagsOfAWriter, 90)
        , callBackWritesLeft(callBackWrites)
        , conditionReadEnds(0)
    {
        panel.onWriteEnd = [this](const VARIABLE &unit, threads::WriteEnd end) { ledger.close(unit, end); };
        panel.onPollEnd = [this] { ledger.stop(); };
        panel.onChange = [this](const Change &change) { noteChange(change); };
        for (int station = 1; station <= writersCount; ++station)
            panel.slaves.station(station).inputRegisters[0] = station;
        panel.slaves.station(callBackStation);
        panel.slaves.station(threads::RecipeStation);
        panel.planReads({1, 2, callBackStation, threads::DeadStation});
        registerRecipes();
    }

    void registerRecipes();
    void noteChange(const Change &change);
    void callAgain(const Change &change);

    // What the host's threads do.
    void writeMany(int station, int firstTag, int number);
    void readMany(int seed);
    void askForReads(int seed);
    void moveRecipes();
    void callUnderHostMutex();
    void editAddresses();
    void changeCallBacks();

    void awaitEndOfConditionRead();
    void expectAcknowledgedWritesInSlaves();

    Panel panel;
    WriteLedger ledger;
    std::recursive_mutex ownLock;         ///< the host's; held while calling the driver, and taken in callbacks
    std::map<int, long> changesByStation; ///< under ownLock
    WriteSource callBackSource;           ///< under ownLock
    int callBackWritesLeft;               ///< under ownLock
    std::atomic<long> conditionReadEnds;
};

void WholeHost::registerRecipes()
{
    const int station = threads::RecipeStation;
    QVector<_RCP_VAR_PRO> rows;
    rows << support::row(1, station, "4x", 0, 30, 0) << support::row(1, station, "4x", 30, 30, 30)
         << support::row(1, station, "4x", 500, 5, 60) << support::row(1, station, "4x_double", 200, 2, 65)
         << support::row(1, station, "4x_double", 202, 2, 67);
    ASSERT_EQ(intf_setRcpAddress(&rows), 5);
}

// --- callbacks ------------------------------------------------------------------------

thread_local int callBackDepth = 0;
thread_local unsigned int callBacksHere = 0;

void WholeHost::noteChange(const Change &change)
{
    if (change.station == -1 && change.regType == QLatin1String("-1"))
        conditionReadEnds.fetch_add(1);
    if (callBackDepth > 0)
        return;
    ++callBackDepth;
    callAgain(change);
    --callBackDepth;
}

void WholeHost::callAgain(const Change &change)
{
    const std::lock_guard<std::recursive_mutex> locked(ownLock);
    ++changesByStation[change.station];
    const unsigned int number = callBacksHere++;
    if (number % 2 == 0) {
        QString type = change.regType;
        unsigned char value[8] = {0};
        intf_getData(change.station, &type, change.address, 2, value);
    }
    if (number % 5 == 0) {
        KEY_ADDRESS key = support::key(change.station, "4x", static_cast<int>(number % 50), 3);
        intf_addConditionRead(&key, 1);
    }
    if (number % 3 == 0 && callBackWritesLeft > 0) {
        const HostWrite write = callBackSource.next();
        if (!ledger.tryOpen(write, threads::QueueRoom + 50))
            return;
        --callBackWritesLeft;
        threads::handToDriver(write);
    }
}

// --- threads --------------------------------------------------------------------------

void WholeHost::writeMany(int station, int firstTag, int number)
{
    WriteSource source(station, firstTag, static_cast<std::uint32_t>(station));
    for (int i = 0; i < number; ++i) {
        const HostWrite write = source.next();
        if (!ledger.openWhenRoom(write, threads::QueueRoom))
            return;
        if (i % 3 != 0) {
            threads::handToDriver(write);
            continue;
        }
        const std::lock_guard<std::recursive_mutex> locked(ownLock);
        threads::handToDriver(write);
    }
}

void WholeHost::readMany(int seed)
{
    support::Random random(static_cast<std::uint32_t>(seed));
    for (int i = 0; i < readsOfAReader; ++i) {
        QString type = QString::fromLatin1(
            random.pick({"0x", "1x", "3x", "4x", "3x_bit", "4x_bit", "3x_double", "4x_double", "5x"}));
        unsigned char out[64];
        EXPECT_EQ(intf_getData(random.between(1, writersCount), &type, random.below(400), random.between(0, 32), out),
                  1);
    }
}

void WholeHost::askForReads(int seed)
{
    support::Random random(static_cast<std::uint32_t>(seed));
    for (int i = 0; i < 1000; ++i) {
        KEY_ADDRESS key = support::key(random.between(1, writersCount), random.pick({"0x", "3x", "4x", "4x_bit"}),
                                       random.below(200), random.between(1, 90), random.pick({-1, 1}));
        EXPECT_EQ(intf_addConditionRead(&key, 2), 1);
        if (i % 8 == 0 && !panel.awaitStep())
            return;
    }
}

void WholeHost::moveRecipes()
{
    const size_t words = 69;
    for (int round = 1; round <= recipeRounds; ++round) {
        std::vector<unsigned short> sent;
        for (size_t i = 0; i < words; ++i)
            sent.push_back(static_cast<unsigned short>(1000 * round + static_cast<int>(i)));
        std::copy(sent.begin(), sent.end(), panel.hostWords.begin());
        ASSERT_TRUE(panel.transfer(Panel::BlockWriteRequest));

        std::fill(panel.hostWords.begin(), panel.hostWords.end(), static_cast<unsigned short>(0));
        ASSERT_TRUE(panel.transfer(Panel::BlockReadRequest));
        ASSERT_TRUE(std::equal(sent.begin(), sent.end(), panel.hostWords.begin())) << "round " << round;
    }
}

void WholeHost::callUnderHostMutex()
{
    for (int i = 0; i < 400; ++i) {
        QMutexLocker locked(&panel.hostMutex);
        QString type = QString::fromLatin1("4x");
        unsigned char out[8];
        intf_getData(1, &type, i % 60, 4, out);
        KEY_ADDRESS key = support::key(2, "4x", i % 60, 1);
        intf_addConditionRead(&key, 3);
    }
}

void WholeHost::editAddresses()
{
    for (int i = 0; i < 2000; ++i) {
        QString type = QString::fromLatin1("4x_bit");
        QString text = QString::number(i + 1) + QLatin1String(".15");
        int address = -1;
        EXPECT_EQ(intf_checkAddr(&type, &text, &address, -1, 1, 2), 0);
        EXPECT_EQ(address, i * 16 + 15);
        QVector<QString> texts;
        QVector<int> addresses;
        EXPECT_EQ(intf_multiCopy(&type, address, 2, 1, &texts, &addresses), 1);
        EXPECT_EQ(texts.at(0), text);
    }
}

void WholeHost::changeCallBacks()
{
    for (int i = 0; i < 500; ++i)
        intf_setAddrValueChangeCallBack(i % 2 == 0 ? &Panel::otherCallBack : &Panel::callBack);
}

/**
 * The end of a one-off read is reported only for the one that was asked for
 * last; a failure before it empties the queue, and then it is asked for again.
 */
void WholeHost::awaitEndOfConditionRead()
{
    for (int steps = 0; conditionReadEnds.load() == 0 && steps < 20000; ++steps) {
        KEY_ADDRESS key = support::key(1, "4x", 0, 1);
        if (steps % 2000 == 0)
            intf_addConditionRead(&key, 4);
        if (!panel.awaitStep())
            return;
    }
}

// --- judgement ------------------------------------------------------------------------

/** What the slave's tables say of the elements of a write, in the layout of intf_setData(). */
std::vector<unsigned char> slaveData(support::SlaveTables &tables, const HostWrite &write)
{
    const std::string type = write.regType;
    std::vector<unsigned char> data(write.data.size(), 0);
    for (int i = 0; i < write.count; ++i) {
        const size_t at = static_cast<size_t>(i);
        const int address = write.address + i;
        if (type == "0x") {
            data[at] = static_cast<unsigned char>(tables.coils[address]);
        } else if (type == "4x_bit") {
            data[at] = static_cast<unsigned char>(tables.holdingRegisters[address / 16] >> (address % 16) & 1);
        } else {
            // The high word of a 32-bit value is in the lower register.
            const size_t word = type == "4x" ? at : at ^ 1u;
            data[2 * word] = static_cast<unsigned char>(tables.holdingRegisters[address] & 0xFF);
            data[2 * word + 1] = static_cast<unsigned char>(tables.holdingRegisters[address] >> 8);
        }
    }
    return data;
}

std::vector<unsigned char> cachedData(const HostWrite &write)
{
    std::vector<unsigned char> data(write.data.size(), 0);
    QString type = QString::fromLatin1(write.regType);
    intf_getData(write.station, &type, write.address, write.count, data.data());
    return data;
}

void WholeHost::expectAcknowledgedWritesInSlaves()
{
    const std::vector<LedgerEntry> entries = ledger.entries();
    for (const LedgerEntry &entry : entries) {
        const HostWrite &write = entry.write;
        ASSERT_EQ(entry.timesClosed, 1) << write.station << ' ' << write.regType << ' ' << write.address;
        if (entry.end != threads::Acknowledged)
            continue;
        ASSERT_EQ(slaveData(panel.slaves.station(write.station), write), write.data)
            << write.station << ' ' << write.regType << ' ' << write.address;
        ASSERT_EQ(cachedData(write), write.data) << write.station << ' ' << write.regType << ' ' << write.address;
    }
}

TEST_F(WholeHost, EndsEveryWriteOnceAcknowledgedOrReportedFailed)
{
    panel.startPolling();
    std::vector<std::thread> hostThreads;
    for (int station = 1; station <= writersCount; ++station)
        hostThreads.emplace_back([this, station] { writeMany(station, station * tagsOfAWriter, writesOfAWriter); });
    hostThreads.emplace_back([this] { writeMany(threads::DeadStation, 80 * tagsOfAWriter, writesToTheDead); });
    hostThreads.emplace_back([this] { readMany(11); });
    hostThreads.emplace_back([this] { readMany(12); });
    hostThreads.emplace_back([this] { askForReads(13); });
    hostThreads.emplace_back([this] { askForReads(14); });
    hostThreads.emplace_back([this] { moveRecipes(); });
    hostThreads.emplace_back([this] { callUnderHostMutex(); });
    hostThreads.emplace_back([this] { editAddresses(); });
    hostThreads.emplace_back([this] { changeCallBacks(); });
    for (std::thread &thread : hostThreads)
        thread.join();
    awaitEndOfConditionRead();
    panel.finishPolling();

    const int requests = static_cast<int>(ledger.entries().size());
    EXPECT_GE(requests, writersCount * writesOfAWriter + writesToTheDead);
    EXPECT_EQ(ledger.openRequests(), 0);
    EXPECT_EQ(ledger.closedUnknown(), 0);
    EXPECT_EQ(ledger.number(threads::Acknowledged) + ledger.number(threads::ReportedFailed), requests);
    EXPECT_EQ(ledger.number(threads::Acknowledged), panel.counts.intactAcknowledgements);
    EXPECT_EQ(ledger.number(threads::ReportedFailed), panel.counts.writeFailureTexts);
    EXPECT_GE(ledger.number(threads::ReportedFailed), writesToTheDead);
    expectAcknowledgedWritesInSlaves();

    EXPECT_EQ(callBackWritesLeft, 0);
    EXPECT_GT(panel.changes.load(), 1000);
    EXPECT_GT(conditionReadEnds.load(), 0);
    EXPECT_GT(panel.counts.sentAgain, 0);
    EXPECT_EQ(panel.slaves.malformedRequests, 0);
    RecordProperty("requests", requests);
    RecordProperty("transactions", static_cast<int>(panel.counts.transactions));
}

} // namespace
