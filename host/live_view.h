/**
 * @file
 * The live view: polls on a thread of its own and shows what happens until the
 * user has seen enough.
 */
#ifndef RTU_HOST_LIVE_VIEW_H
#define RTU_HOST_LIVE_VIEW_H

#include "driver_session.h"
#include "live_feed.h"
#include "live_painter.h"
#include "live_state.h"
#include "live_terminal.h"
#include "options.h"
#include "plant/plant.h"
#include "poll_loop.h"
#include "tag_selection.h"

#include <atomic>
#include <thread>

namespace rtu {

class LiveView : private LiveActions
{
public:
    /**
     * @param plant the simulated slaves, null on a real port
     * @param portName as the title shows it
     */
    LiveView(DriverSession &session, Line &line, const PollSettings &settings, const Options &options,
             plant::Plant *plant, const std::string &portName);

    /** Runs until the user ends it, stop() is called or the rounds are over. */
    void run(LiveTerminal &terminal, const TagSelection &selection);

    /** From any thread. */
    void stop() { m_loop.stop(); }

    const Statistics &statistics() const { return m_feed->statistics(); }

private:
    std::string refusal(const LiveRow &row) override;
    std::string currentValue(const LiveRow &row) override;
    bool write(const LiveRow &row, const std::string &text, std::string *message) override;
    std::string readNow(const LiveRow &row) override;
    bool simulated() const override { return m_plant != nullptr; }
    bool addFault(const std::string &text, std::string *message) override;
    std::string clearFaults() override;
    std::string switchStation(const LiveRow &row) override;
    std::string pullPlug() override;

    void prepare(const TagSelection &selection);
    void show(LiveTerminal &terminal);
    TagRange tagOf(const LiveRow &row) const;

    DriverSession &m_session;
    Line &m_line;
    const Options &m_options;
    plant::Plant *m_plant;
    std::string m_portName;
    PollLoop m_loop;
    std::unique_ptr<LiveFeed> m_feed;
    std::atomic<bool> m_pollingEnded{false};
    int m_rounds = 0;
    bool m_unplugged = false;
};

} // namespace rtu

#endif
