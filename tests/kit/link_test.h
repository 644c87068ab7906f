/**
 * @file
 * A link on a virtual line with simulated slaves behind it.
 */
#ifndef TESTS_KIT_LINK_TEST_H
#define TESTS_KIT_LINK_TEST_H

#include "plant/plant.h"
#include "support/driver_file.h"
#include "support/frames.h"

#include <modbus_rtu_host/link.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace test_kit {

using namespace test_line;
using plant::Table;
using rtu::LinkStep;
using rtu::Quality;
using rtu::TagDefinition;

class LinkTest : public testing::Test
{
protected:
    LinkTest()
    {
        settings.driver = QString::fromStdString(support::driverFile());
        settings.replyTimeout = milliseconds(200);
        settings.lateReplyGuard = milliseconds(200);
        plantLine.baud = 19200;
    }

    /** Before the members of a test's own class go, which its callbacks fill. */
    void TearDown() override { destroyLink(); }

    /** The link that the settings describe; its callbacks fill the members below. */
    rtu::Link &link()
    {
        if (m_link)
            return *m_link;
        line = newLine();
        line->slave = [this](VirtualLine &, const Bytes &request) { answer(request); };
        m_link.reset(new rtu::Link(settings, std::unique_ptr<rtu::Line>(line)));
        m_link->onChange([this](const rtu::TagChange &change) { changes.push_back(change); });
        m_link->onTransaction([this](const rtu::Transaction &t) { transactions.push_back(t); });
        m_link->onNotice([this](const QString &text) { notices.push_back(text.toStdString()); });
        m_link->onPort([this](bool open) { ports.push_back(open); });
        return *m_link;
    }

    void destroyLink() { m_link.reset(); }

    /** Tests with a line that behaves otherwise make it here. */
    virtual VirtualLine *newLine() { return new VirtualLine; }

    /** What the slaves make of a request; tests that script answers put theirs first. */
    void answer(const Bytes &request)
    {
        requests.push_back(request);
        if (!script.empty()) {
            const std::function<void(const Bytes &)> next = script.front();
            script.erase(script.begin());
            if (next)
                return next(request);
        }
        slaves(request);
    }

    /** The simulated slaves answer. */
    void slaves(const Bytes &request)
    {
        const std::chrono::nanoseconds character = plant::characterTime(plantLine);
        const rtu::Duration received = character * static_cast<int>(request.size()) + plant::silenceOf(plantLine);
        for (const plant::Outgoing &outgoing : plant.answer(request))
            line->receivePaced(outgoing.echo ? rtu::Duration(0) : received + outgoing.delay, character, outgoing.bytes);
    }

    /** The next request is lost on the way. */
    void loseRequests(int count)
    {
        for (int i = 0; i < count; ++i)
            script.push_back([](const Bytes &) {});
    }

    /** The next request is carried out, and its answer lost. */
    void loseReplies(int count)
    {
        for (int i = 0; i < count; ++i)
            script.push_back([this](const Bytes &request) { plant.answer(request); });
    }

    /** Steps for so long by the line's clock. */
    void run(rtu::Duration time)
    {
        const rtu::TimePoint end = link().running() ? rtu::TimePoint() : line->now() + time;
        while (line->now() < end) {
            const LinkStep done = link().step();
            if (done == LinkStep::Idle || done == LinkStep::NoPort)
                line->sleepUntil(std::min(end, std::max(line->now() + microseconds(1), link().nextStep())));
        }
    }

    /** Steps until there is nothing to send, or so often. */
    void steps(int most)
    {
        for (int i = 0; i < most; ++i) {
            if (link().step() != LinkStep::Done)
                return;
        }
    }

    std::string lastRequest() const { return requests.empty() ? std::string() : text(requests.back()); }

    static std::string text(const Bytes &bytes)
    {
        std::string all;
        char one[4];
        for (std::size_t i = 0; i + 2 < bytes.size(); ++i) {
            std::snprintf(one, sizeof(one), "%02X ", bytes[i]);
            all += one;
        }
        return all.substr(0, all.empty() ? 0 : all.size() - 1);
    }

    rtu::LinkSettings settings;
    plant::Plant plant;
    plant::Line plantLine;
    VirtualLine *line = nullptr;
    std::vector<Bytes> requests; ///< everything that was sent
    std::vector<std::function<void(const Bytes &)>> script;
    std::vector<rtu::TagChange> changes;
    std::vector<rtu::Transaction> transactions;
    std::vector<std::string> notices;
    std::vector<bool> ports;

private:
    std::unique_ptr<rtu::Link> m_link;
};

/** The text of the Error that the call throws; "nothing thrown" otherwise. */
template <typename Call>
std::string refusalOf(Call call)
{
    try {
        call();
    } catch (const rtu::Error &error) {
        return error.text().toStdString();
    }
    return "nothing thrown";
}

inline bool contains(const std::string &whole, const std::string &part)
{
    return whole.find(part) != std::string::npos;
}

} // namespace test_kit

#endif
