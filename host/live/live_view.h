/**
 * @file
 * The live view: has the link poll on its thread and shows what happens until the
 * user has seen enough.
 */
#ifndef RTU_HOST_LIVE_VIEW_H
#define RTU_HOST_LIVE_VIEW_H

#include "host/live/live_feed.h"
#include "host/live/live_painter.h"
#include "host/live/live_state.h"
#include "host/live/live_terminal.h"
#include "host/report/line_recorder.h"
#include "plant/plant.h"

#include <modbus_rtu_host/link.h>

#include <atomic>
#include <memory>
#include <vector>

namespace rtu {

class LiveView : private LiveActions
{
public:
    /**
     * @param line the link's
     * @param driver judges addresses; not the link's own
     * @param rounds to end after; 0: none
     * @param plant the simulated slaves, null on a real port
     * @param portName as the title shows it
     */
    LiveView(Link &link, Line &line, DriverLibrary &driver, int rounds, plant::Plant *plant,
             const std::string &portName);

    /** Runs until the user ends it, stop() is called or the rounds are over. */
    void run(LiveTerminal &terminal, const TagSelection &selection);

    /** What happens is recorded as well. @param recorder the link's */
    void setRecorder(LineRecorder &recorder) { m_recorder = &recorder; }
    /** Before it runs, and from any thread once it does: what the user should know. */
    void tell(const std::string &text);

    /** Every write is read back. */
    void setVerify(bool verify) { m_verify = verify; }

    /** From any thread. */
    void stop() { m_ended = true; }

    /** Each write that did not end well. To be asked when the link is gone, which ends those that still wait. */
    const std::vector<std::string> &writeErrors() const { return m_writeErrors; }

private:
    std::string refusal(const LiveRow &row) override;
    std::string currentValue(const LiveRow &row) override;
    bool write(const LiveRow &row, const std::string &text, std::string *message) override;
    std::string toggle(const LiveRow &row) override;
    std::vector<std::string> waitingWrites() override;
    std::string cancelWrites() override;
    std::string readNow(const LiveRow &row) override;
    std::string rowText(const LiveRow &row) override;
    std::vector<LiveRow> ordered(RowOrder order) override;
    std::string changeFormat(const LiveRow &row) override;
    bool simulated() const override { return m_plant != nullptr; }
    bool addFault(const std::string &text, std::string *message) override;
    std::string clearFaults() override;
    std::string switchStation(const LiveRow &row) override;
    std::string pullPlug() override;

    struct SentWrite
    {
        LiveRow row;
        std::uint32_t raw;
        std::string text; ///< "1:4x5 = 7"
        Write write;
    };

    void prepare(const TagSelection &selection);
    void show(LiveTerminal &terminal);
    void showNews(LiveState &state);
    void finishRound();
    void send(const LiveRow &row, std::uint32_t raw);
    const SentWrite *lastUnder(const LiveRow &row) const;
    WriteOptions tellingTheEndOf(const TagWrite &write, const TagState &old);
    TagState stateOf(const LiveRow &row) const;
    TagRange tagOf(const LiveRow &row) const;

    Link &m_link;
    Line &m_line;
    DriverLibrary &m_driver;
    int m_roundsWanted;
    plant::Plant *m_plant;
    std::string m_portName;
    std::unique_ptr<LiveFeed> m_feed;
    std::vector<SentWrite> m_writes;        ///< that had not ended when last looked at, and were not taken back
    std::vector<std::string> m_writeErrors; ///< of the link's thread as long as there is one
    LineRecorder *m_recorder = nullptr;
    std::string m_told; ///< before it ran
    bool m_verify = false;
    std::atomic<bool> m_ended{false};
    int m_rounds = 0;
    bool m_unplugged = false;
};

} // namespace rtu

#endif
