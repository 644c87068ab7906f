/**
 * @file
 * A link on a virtual line, for tests of what shows it.
 */
#ifndef TESTS_HOST_LINK_TEST_H
#define TESTS_HOST_LINK_TEST_H

#include "driver_test.h"
#include "support/driver_file.h"
#include "support/frames.h"

#include <modbus_rtu_host/link.h>

#include <map>
#include <memory>
#include <set>

namespace test_host {

using namespace test_line;

class LinkTest : public DriverTest
{
protected:
    LinkTest()
    {
        settings.driver = QString::fromStdString(support::driverFile());
        settings.attempts = 1;
        settings.replyTimeout = milliseconds(100);
        settings.lateReplyGuard = milliseconds(100);
        line->slave = [this](VirtualLine &, const Bytes &request) { serve(request); };
        line->advance(std::chrono::seconds(1000));
    }

    /** The link that the settings describe when it is first asked for. */
    rtu::Link &link()
    {
        if (m_link)
            return *m_link;
        m_link.reset(new rtu::Link(settings, std::move(m_owned)));
        m_link->onRound([this] { ++m_rounds; });
        return *m_link;
    }

    /** Polls every tag once. */
    void poll(int rounds = 1)
    {
        for (const int enough = m_rounds + rounds; m_rounds < enough;)
            step();
    }

    void step()
    {
        if (link().step() != rtu::LinkStep::Done)
            line->sleepUntil(std::min(link().nextStep(), line->now() + milliseconds(100)));
    }

    /** The holding registers of a station: usual to begin with, then what is written to them. */
    std::map<int, int> &registers(int station)
    {
        std::map<int, int> &kept = m_slaves[station].holdingRegisters;
        if (kept.empty())
            m_slaves[station].setHolding(0, std::vector<int>(Registers, usual));
        return kept;
    }

    void serve(const Bytes &request)
    {
        if (silent.count(request[0]) != 0)
            return;
        registers(request[0]);
        line->receive(milliseconds(20), bytesOf(m_slaves[request[0]].carryOut(array(request))));
    }

    rtu::LinkSettings settings;
    int usual = 42;
    std::set<int> silent; ///< stations that do not answer

private:
    enum { Registers = 1100 }; ///< that a station has

    std::map<int, support::SlaveTables> m_slaves;
    std::unique_ptr<VirtualLine> m_owned{new VirtualLine};

protected:
    VirtualLine *const line = m_owned.get(); ///< the link's

private:
    std::unique_ptr<rtu::Link> m_link;
    int m_rounds = 0;
};

} // namespace test_host

#endif
