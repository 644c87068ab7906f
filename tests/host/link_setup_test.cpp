// The link that the options describe.

#include "link_test.h"

#include "host/cli/link_setup.h"

#include <algorithm>

namespace {

using namespace test_host;

class LinkSetup : public LinkTest
{
protected:
    /** Five stations as the program polls them that is started with nothing but a port. */
    LinkSetup()
    {
        const char *arguments[] = {"rtuhost", "/dev/ttyUSB0"};
        const rtu::Options options = rtu::parseOptions(2, arguments);
        settings = rtu::linkSettings(options, options.line, rtu::LineTiming(options.line), support::driverFile());
        link().onTransaction([this](const rtu::Transaction &t) {
            if (t.station == 1)
                m_firsts.push_back(t.finished);
        });
        for (int station = 1; station <= 5; ++station)
            tags.push_back(link().addTag(rtu::TagDefinition(station, QLatin1String("4x1"))));
    }

    void run(rtu::Duration time)
    {
        for (const rtu::TimePoint end = line->now() + time; line->now() < end;)
            step();
    }

    /** From one reply of the first station to the next, sorted. */
    std::vector<rtu::Duration> rounds(rtu::Duration time)
    {
        m_firsts.clear();
        run(time);
        std::vector<rtu::Duration> lengths;
        for (std::size_t i = 1; i < m_firsts.size(); ++i)
            lengths.push_back(m_firsts[i] - m_firsts[i - 1]);
        std::sort(lengths.begin(), lengths.end());
        return lengths;
    }

    static double median(const std::vector<rtu::Duration> &lengths)
    {
        return lengths.empty() ? 0.0 : static_cast<double>(lengths[lengths.size() / 2].count());
    }

    std::vector<rtu::Tag> tags;

private:
    std::vector<rtu::TimePoint> m_firsts;
};

TEST_F(LinkSetup, OneDeadStationOfFiveCostsTheOthersNothing)
{
    silent.insert(5);
    run(std::chrono::seconds(30)); // found dead meanwhile
    const std::vector<rtu::Duration> lengths = rounds(std::chrono::minutes(5));
    link().removeTag(tags[4]);
    const std::vector<rtu::Duration> alone = rounds(std::chrono::minutes(1));
    ASSERT_FALSE(lengths.empty() || alone.empty());
    EXPECT_LE(median(lengths), 1.05 * median(alone));
    EXPECT_LE(lengths.back(), milliseconds(1300));
}

TEST_F(LinkSetup, ADeadStationIsBackWithinTenSecondsOfItsReturn)
{
    silent.insert(5);
    run(std::chrono::minutes(1));
    EXPECT_EQ(rtu::Quality::StationSilent, tags[4].value().quality);
    silent.clear();
    run(std::chrono::seconds(10));
    EXPECT_EQ(rtu::Quality::Good, tags[4].value().quality);
}

} // namespace
