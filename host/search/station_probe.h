/**
 * @file
 * Finds out what a station takes: which elements it has, how many in one request, how
 * soon it answers, and how little silence it wants. Only reads are sent.
 */
#ifndef RTU_HOST_SEARCH_STATION_PROBE_H
#define RTU_HOST_SEARCH_STATION_PROBE_H

#include "host/search/line_asker.h"
#include "host/search/line_diagnosis.h"

#include <atomic>
#include <functional>
#include <string>
#include <vector>

namespace rtu {

struct ProbeSettings
{
    int station = 1;
    ReadFunction function = ReadHoldingRegisters;
    int first = 0; ///< zero-based
    int count = 120;
    Duration replyTimeout = std::chrono::milliseconds(500);
};

/** Elements in a row. */
struct ElementRun
{
    int first = 0; ///< zero-based
    int count = 0;
};

struct ProbeResult
{
    Diagnosis why; ///< Cause::None: the station answers
    std::vector<ElementRun> readable;
    std::vector<ElementRun> holes;
    int largestBlock = 0;      ///< 0: nothing can be read
    bool blockIsLimit = false; ///< one more is refused; false: the range has no more in a row
    std::string refusal;       ///< in words, of one more; where nothing can be read, of the last element
    int exceptionCode = 0;     ///< with refusal; 0: it was no exception
    bool measured = false;     ///< false: it fell silent before, and the three times mean nothing
    Duration replyMedian{0};   ///< from the end of a request to the begin of its reply
    Duration replyLongest{0};  ///< the same
    Duration blockTime{0};     ///< a request for the largest block and its reply, from begin to end
    bool silenceFound = false; ///< false: it missed requests even behind the longest silence that was tried
    Duration silence{0};       ///< the shortest behind which it missed none
    int lost = 0;              ///< requests that had to be sent again
    int late = 0;              ///< requests behind whose time-out something came
};

class StationProbe
{
public:
    StationProbe(Line &line, const LineTiming &timing, const ProbeSettings &settings);

    /** What is being looked for, for people. */
    void onProgress(std::function<void(const std::string &)> listener) { m_onProgress = std::move(listener); }

    /** Takes seconds. What is not known yet when it is stopped stays as made. */
    ProbeResult run();
    /** Ends before the next request. From any thread. */
    void stop() { m_stopping = true; }
    bool stopped() const { return m_stopping; }

private:
    bool over() const { return m_stopping || m_lost; }
    void lookThrough();
    void report(const std::string &what);
    Transaction ask(int address, int count);
    Duration delayOf(const Transaction &transaction) const;
    bool read(int address, int count, std::string *refusal = nullptr);
    bool findStation();
    void findElements();
    bool readOrDivide(int address, int count);
    void addTo(std::vector<ElementRun> &runs, int address, int count);
    ElementRun longestRun() const;
    void findLargestBlock();
    void measureReplies();
    void findSilence();
    bool answersAll(int address, Duration silence);

    LineAsker m_asker;
    const LineTiming m_timing;
    const ProbeSettings m_settings;
    std::function<void(const std::string &)> m_onProgress;
    std::atomic<bool> m_stopping{false};
    bool m_lost = false;
    int m_most;        ///< elements that are asked for at once
    int m_refused = 0; ///< the smallest number that was refused although each half was given; 0: none
    int m_given = 0;   ///< the largest number that was given
    ProbeResult m_result;
};

} // namespace rtu

#endif
