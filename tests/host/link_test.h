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

    /** Slaves that keep the registers written to them; all others hold usual. */
    void serve(const Bytes &request)
    {
        if (silent.count(request[0]) != 0)
            return;
        const int first = request[0] * 65536 + request[2] * 256 + request[3];
        const int count = request[4] * 256 + request[5];
        if (request[1] == 16) {
            for (int i = 0; i < count; ++i)
                registers[first + i] = wordAt(request, 7 + 2 * static_cast<std::size_t>(i));
        } else if (request[1] == 6) {
            registers[first] = count;
        }
        if (request[1] != 3)
            return line->receive(milliseconds(20), goodReply(request));
        Bytes reply = {request[0], request[1], static_cast<unsigned char>(2 * count)};
        for (int i = 0; i < count; ++i) {
            const auto kept = registers.find(first + i);
            const int value = kept == registers.end() ? usual : kept->second;
            reply.push_back(static_cast<unsigned char>(value >> 8));
            reply.push_back(static_cast<unsigned char>(value));
        }
        line->receive(milliseconds(20), withCrc(reply));
    }

    rtu::LinkSettings settings;
    std::map<int, int> registers; ///< by station x 65536 + zero-based address
    int usual = 42;
    std::set<int> silent; ///< stations that do not answer

private:
    static int wordAt(const Bytes &bytes, std::size_t position) { return bytes[position] * 256 + bytes[position + 1]; }

    std::unique_ptr<VirtualLine> m_owned{new VirtualLine};

protected:
    VirtualLine *const line = m_owned.get(); ///< the link's

private:
    std::unique_ptr<rtu::Link> m_link;
    int m_rounds = 0;
};

} // namespace test_host

#endif
