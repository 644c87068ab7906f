/**
 * @file
 * A capture as a line: whoever polls it gets the answers that were given then.
 */
#ifndef RTU_HOST_LISTEN_REPLAY_LINE_H
#define RTU_HOST_LISTEN_REPLAY_LINE_H

#include "host/listen/capture_file.h"
#include "host/listen/heard_registers.h"

#include <deque>
#include <functional>
#include <map>
#include <set>
#include <vector>

namespace rtu {

/** A request of a capture, and whatever came back. */
struct ReplayEntry
{
    Transaction transaction;
    QByteArray answer; ///< the reply, garbage in the place of one, or nothing
    Duration delay{0}; ///< from the end of the request to the answer
};

/**
 * All transactions of a capture, in its order.
 *
 * @throws std::runtime_error when it is none, or is cut short
 */
std::vector<ReplayEntry> readCapture(std::istream &in, const CaptureClock &clock, const ReaderSettings &settings);

/** The same by takePastCapture(). */
std::vector<ReplayEntry> readPastCapture(std::istream &in, const ReaderSettings &settings);

/**
 * Time is that of the capture: it never waits, and jumps to where the next answer was
 * given. A request that is in the capture gets the answers that it got, one after the
 * other, faults included. Another one is answered from the values that the capture has
 * shown up to then, or where it first has shown them all; by silence when it never does.
 * Nothing is sent.
 */
class ReplayLine : public Line
{
public:
    explicit ReplayLine(const std::vector<ReplayEntry> &entries);

    /**
     * Called once, when the time of the capture is over and nothing new will be told: the
     * poller sleeps, asks for what has got all its answers, or for the same again.
     */
    void onEnd(std::function<void()> listener) { m_end = std::move(listener); }
    bool ended() const { return m_ended; }

    TimePoint now() override { return m_now; }
    void sleepUntil(TimePoint when) override;
    bool ensureOpen() override { return true; }
    bool write(const unsigned char *bytes, std::size_t size) override;
    int read(unsigned char *out, std::size_t room, TimePoint deadline) override;
    std::size_t discardInput() override;
    void interrupt() override { m_interrupted = true; }
    void clearInterrupt() override { m_interrupted = false; }

private:
    void moveTo(TimePoint when);
    void jumpTo(TimePoint when);
    void tellEnd();
    void showUpTo(TimePoint when);
    QByteArray answerFromValues(const QByteArray &request);

    const std::vector<ReplayEntry> m_entries;
    std::map<QByteArray, std::deque<std::size_t>> m_unused; ///< by request, positions in m_entries
    HeardRegisters m_image;
    HeardRegisters m_shownAtEnd; ///< what m_image will be
    std::size_t m_shown = 0;     ///< entries that m_image has seen
    QByteArray m_answer;         ///< arrives at m_answerTime
    TimePoint m_answerTime;
    TimePoint m_now;
    Duration m_jump{0}; ///< by which the last request went on, until its reply begins
    TimePoint m_last;   ///< when the capture ends
    std::function<void()> m_end;
    std::set<QByteArray> m_askedSinceEnd;
    bool m_ended = false;
    bool m_interrupted = false;
};

} // namespace rtu

#endif
