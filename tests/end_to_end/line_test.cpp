// Things that happen to a line: a slave dies and comes back, an address does not
// exist, the port is unplugged.

#include "panel.h"
#include "plant_line.h"
#include "support/driver_file.h"

#include <modbus_rtu_host/link.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

#include <unistd.h>

namespace {

using Values = std::vector<std::int64_t>;
using plant::Table;

class LineEvents : public ::testing::Test
{
protected:
    LineEvents()
    {
        for (int station : {1, 2})
            m_plant.define(station, Table::HoldingRegisters, 0, 20, static_cast<std::uint16_t>(station));
    }

    void connect()
    {
        std::string error;
        ASSERT_TRUE(m_plant.start(&error)) << error;
        line = std::make_unique<PlantLine>(m_plant);
        panel = std::make_unique<Panel>(*line, Panel::Settings());
    }

    /** Verdicts of the frames to a station since the last call. */
    std::vector<int> verdictsOf(int station)
    {
        std::vector<int> verdicts;
        for (const rtu::Transaction &transaction : panel->transactions) {
            if (transaction.station == station)
                verdicts.push_back(transaction.verdict);
        }
        return verdicts;
    }

    plant::Plant m_plant;
    std::unique_ptr<PlantLine> line;
    std::unique_ptr<Panel> panel;
};

TEST_F(LineEvents, ASlaveThatDiesKeepsItsLastValuesAndComesBack)
{
    connect();
    for (int station : {1, 2})
        panel->watch(station, "4x", 0, 2);
    panel->plan();
    panel->settle();
    m_plant.setStationOn(2, false);
    m_plant.poke(1, Table::HoldingRegisters, 0, 51);
    m_plant.poke(2, Table::HoldingRegisters, 0, 52);
    panel->transactions.clear();
    panel->settle();
    EXPECT_EQ(verdictsOf(2), (std::vector<int>{8, 8, 2}));
    EXPECT_EQ(panel->shown(1, "4x", 0, 2), (Values{51, 1})) << "the other slave is polled on";
    EXPECT_EQ(panel->shown(2, "4x", 0, 2), (Values{2, 2}));
    m_plant.setStationOn(2, true);
    panel->settle();
    EXPECT_EQ(panel->shown(2, "4x", 0, 2), (Values{52, 2}));
}

TEST_F(LineEvents, AWriteToADeadSlaveIsTakenBack)
{
    connect();
    panel->watch(2, "4x", 0, 2);
    panel->plan();
    panel->settle();
    m_plant.setStationOn(2, false);
    panel->write(2, "4x", 1, {99});
    EXPECT_EQ(panel->shown(2, "4x", 1, 1), Values{99});
    panel->transactions.clear();
    EXPECT_EQ(panel->verdicts(), (std::vector<int>{8, 8, 2}));
    EXPECT_EQ(panel->transactions.back().information, QString::fromLatin1("W,2#4x2(1)"));
    EXPECT_EQ(panel->shown(2, "4x", 1, 1), Values{2});
}

TEST_F(LineEvents, AHoleIsAnExceptionAndTheRestIsPolled)
{
    m_plant.makeHole(1, Table::HoldingRegisters, 12, 1);
    connect();
    panel->watch(1, "4x", 0, 2);
    panel->watch(1, "4x", 10, 5);
    panel->watch(2, "4x", 0, 1);
    // With blocks of at most 6 registers the two ranges of station 1 stay apart.
    panel->configure("7#0#0#3#6");
    ASSERT_EQ(panel->plan(), 3);
    panel->settle();
    EXPECT_EQ(verdictsOf(1), (std::vector<int>{1, 8, 8, 2}));
    EXPECT_EQ(panel->transactions[3].information, QString::fromLatin1("R,1#4x11(5),error code:3"));
    EXPECT_EQ(panel->transactions[3].reply.toHex(), QByteArray("018302c0f1"));
    EXPECT_EQ(panel->shown(1, "4x", 0, 2), (Values{1, 1}));
    EXPECT_EQ(panel->shown(2, "4x", 0, 1), Values{2});
}

TEST_F(LineEvents, AnUnpluggedPortIsUsedAgainWhenItIsBack)
{
    char folder[] = "/tmp/end_to_end.XXXXXX";
    ASSERT_NE(::mkdtemp(folder), nullptr);
    const std::string link = std::string(folder) + "/port";
    std::string error;
    ASSERT_TRUE(m_plant.start(&error, link)) << error;
    rtu::LinkSettings settings;
    settings.port = QString::fromStdString(link);
    settings.parameters.baud = 0;
    settings.parameters.parity = 'N';
    settings.driver = QString::fromStdString(support::driverFile());
    settings.replyTimeout = std::chrono::seconds(60);
    settings.reopenInterval = std::chrono::microseconds(1);
    rtu::Link host(settings);
    const rtu::Tag tag = host.addTag(rtu::TagDefinition(1, QLatin1String("4x1")));
    std::vector<bool> port;
    host.onPort([&port](bool open) { port.push_back(open); });

    ASSERT_EQ(host.step(), rtu::LinkStep::Done);
    EXPECT_TRUE(tag.value().good());
    m_plant.unplug();
    while (host.step() == rtu::LinkStep::Done) {
    }
    EXPECT_EQ(host.step(), rtu::LinkStep::NoPort);
    EXPECT_EQ(tag.value().quality, rtu::Quality::StationSilent);
    ASSERT_TRUE(m_plant.replug(&error)) << error;
    while (host.step() != rtu::LinkStep::Done) {
    }
    EXPECT_TRUE(tag.value().good());
    EXPECT_EQ(port, (std::vector<bool>{true, false, true}));
    m_plant.stop();
    ::rmdir(folder);
}

} // namespace
