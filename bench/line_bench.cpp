/**
 * @file
 * Polls a port through the driver and reports time, CPU and a checksum of the
 * values as one line of JSON.
 */
#include "line_bench_common.h"

#include "punctuality.h"

#include "kit/driver/driver_library.h"
#include "kit/line/serial_line.h"
#include "kit/poll/poller.h"

#include <cstdio>
#include <set>

namespace {

using namespace line_bench;

/**
 * A block limit of 0 keeps every line of the plan a request of its own: nothing
 * is joined, and what is longer than the limit is never cut.
 */
const char *const Property = "1#0#0#3#0";

int planBlocks(rtu::DriverLibrary &driver, const std::vector<Block> &blocks)
{
    int status = 0;
    driver.initProperty(nullptr, 0, nullptr, &status, Property, nullptr);
    QList<KEY_ADDRESS> keys;
    for (const Block &block : blocks) {
        KEY_ADDRESS key = KEY_ADDRESS();
        key.station = block.station;
        key.regType = QString::fromStdString(block.type);
        key.startAddr = block.start;
        key.count = block.count;
        keys << key;
    }
    return driver.addrMerge(&keys);
}

bool endsWith(const std::string &text, const std::string &ending)
{
    return text.size() >= ending.size() && text.compare(text.size() - ending.size(), ending.size(), ending) == 0;
}

bool isBitType(const std::string &type)
{
    return type == "0x" || type == "1x" || endsWith(type, "_bit");
}

void addValues(rtu::DriverLibrary &driver, const Block &block, Checksum &checksum)
{
    std::vector<unsigned char> bytes(2 * static_cast<std::size_t>(block.count));
    QString type = QString::fromStdString(block.type);
    driver.getData(block.station, &type, block.start, block.count, bytes.data());
    const std::size_t width = isBitType(block.type) ? 1 : endsWith(block.type, "_double") ? 4 : 2;
    const std::size_t values = width == 4 ? bytes.size() / 4 : static_cast<std::size_t>(block.count);
    for (std::size_t i = 0; i < values; ++i) {
        std::uint32_t value = 0;
        for (std::size_t k = width; k-- > 0;)
            value = value << 8 | bytes[i * width + k];
        checksum.add(value);
    }
}

rtu::LinkSettings settingsFor(const Arguments &arguments, const rtu::LineParameters &line)
{
    rtu::LinkSettings settings;
    settings.parameters = line;
    settings.replyTimeout = std::chrono::milliseconds(arguments.timeoutMilliseconds);
    settings.lateReplyGuard = settings.replyTimeout;
    settings.silence = arguments.silence;
    settings.echo = rtu::Echo::Never;
    return settings;
}

/** Nothing but a cyclic plan: counts its frames and rounds, and adds up the values of the first. */
class Rounds : public rtu::PollClient
{
public:
    Rounds(rtu::DriverLibrary &driver, const std::vector<Block> &blocks) : m_driver(driver), m_blocks(blocks) {}

    bool feed() override { return false; }
    rtu::TimePoint nextFeed() override { return rtu::TimePoint::max(); }
    bool handed() const override { return false; }
    bool transferring() const override { return false; }
    void frameDone(const rtu::Transaction &transaction) override
    {
        ++transactions;
        errors += transaction.good() ? 0 : 1;
    }
    void requestDone(const rtu::RequestEnd &) override {}
    void roundDone() override
    {
        if (++cycles > 1)
            return;
        for (const Block &block : m_blocks)
            addValues(m_driver, block, checksum);
    }
    void writeWithdrawn(const rtu::Area &) override {}
    void stationSilent(int) override {}
    void stationBack(int) override {}
    void portChanged(bool) override {}
    void portAway() override {}

    unsigned long transactions = 0;
    unsigned long errors = 0;
    long cycles = 0;
    Checksum checksum;

private:
    rtu::DriverLibrary &m_driver;
    const std::vector<Block> &m_blocks;
};

std::set<int> stationsOf(const std::vector<Block> &blocks)
{
    std::set<int> stations;
    for (const Block &block : blocks)
        stations.insert(block.station);
    return stations;
}

int run(const Arguments &arguments)
{
    const std::vector<Block> blocks = readPlan(arguments.planFile);
    rtu::DriverLibrary driver(arguments.driver);
    const int roundLength = planBlocks(driver, blocks);
    rtu::SerialLine line(arguments.port, arguments.line);
    line.open();
    Rounds rounds(driver, blocks);
    rtu::Poller poller(driver, line, settingsFor(arguments, line.parameters()), rounds);
    poller.setPlan(roundLength, stationsOf(blocks));

    Meter meter;
    meter.start();
    rtu::askForPunctuality();
    while (!meter.finished(arguments, rounds.cycles)) {
        const long cycles = rounds.cycles;
        while (rounds.cycles == cycles && poller.step() == rtu::PollStep::Done) {
        }
        if (rounds.cycles == cycles)
            line.sleepUntil(poller.nextStep());
    }
    meter.stop();
    meter.print(rounds.transactions, rounds.errors, rounds.checksum);
    return rounds.errors == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    return line_bench::runProgram(argc, argv, run);
}
