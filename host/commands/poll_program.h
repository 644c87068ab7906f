/**
 * @file
 * Polling, reading and writing with output in lines: everything on a line that
 * needs no screen.
 */
#ifndef RTU_HOST_POLL_PROGRAM_H
#define RTU_HOST_POLL_PROGRAM_H

#include "host/cli/options.h"
#include "host/commands/capture_output.h"
#include "host/commands/cause_report.h"
#include "host/tags/recipe.h"
#include "host/report/line_recorder.h"
#include "host/report/tag_board.h"
#include "host/report/transfer_report.h"
#include "host/cli/tag_selection.h"

#include <modbus_rtu_host/link.h>

#include <atomic>
#include <memory>
#include <ostream>

namespace rtu {

/** Steps the link on the thread that calls. */
class PollProgram
{
public:
    /**
     * @param line the link's
     * @param recorder the link's; gets @p out to record to as well
     * @param causes told of what was asked
     */
    PollProgram(Link &link, Line &line, LineRecorder &recorder, CauseReport &causes, const Options &options,
                std::ostream &out, std::ostream &err);

    /** Writes, then reads in rounds of so many requests; result: exit status. */
    int poll(const TagSelection &selection, std::size_t requestsARound);
    /** Reads each tag once by one-off reads. */
    int readOnce(const std::vector<TagRange> &tags);
    /** Moves a recipe. @param write from the file to the slaves */
    int transferRecipe(Recipe recipe, bool write);
    /** Tells of each row whether the slaves hold what the recipe has. */
    int compareRecipe(const Recipe &recipe);

    /** It ends when nobody reads @p capture any more. */
    void endWith(const CaptureOutput &capture) { m_capture = &capture; }

    // From any thread:
    void stop();
    /** The user ends it, and is told what has been. */
    void interrupt();

private:
    bool step();
    template <typename Asked>
    bool awaitEnd(const Asked &asked);
    bool write(const std::vector<TagWrite> &writes);
    void write(const TagWrite &write);
    WriteResult endOf(Write asked);
    std::string whyEnded() const { return m_portLost ? "the port is gone" : "interrupted"; }
    TagState valueBefore(const TagWrite &write);
    void tellWrite(const TagWrite &write, const TagState &old, const WriteResult &result, bool errorTold);
    bool echoesWrites() const { return m_options.form != OutputForm::Lines || !m_options.quiet || recordsToFile(); }
    bool recordsToFile() const { return !m_options.logFile.empty() || !m_options.recordFile.empty(); }
    void poll(const std::vector<TagRange> &tags, std::size_t requestsARound);
    void readOnce(const TagRange &tag);
    void finishRound();
    bool outputIsGone() const;
    void printRead(const TagRange &tag, const ReadResult &result, const std::string &error);
    TransferResult resultOf(Transfer asked);
    void report(const Recipe &recipe, const TransferResult &result, TransferKind kind);
    void noteTransaction(const Transaction &transaction);
    void noteError(const Transaction &transaction);
    void say(const std::string &text);
    bool waitsForPort() const { return m_options.rounds != 1; }
    void notePort(bool open);
    int finish();

    Link &m_link;
    Line &m_line;
    CauseReport &m_causes;
    const Options &m_options;
    std::ostream &m_out;
    std::ostream &m_err;
    LineRecorder &m_recorder;
    Records m_records;
    std::unique_ptr<TagBoard> m_board;
    const CaptureOutput *m_capture = nullptr; ///< on standard output
    std::uint64_t m_errors = 0;
    std::uint64_t m_givenUp = 0; ///< requests; they are among the errors
    std::string m_lastError;     ///< the driver's text of the last request that was given up
    int m_rounds = 0;
    bool m_portLost = false;
    bool m_readingOld = false; ///< a failure of that is no error: the write itself tells
    std::atomic<bool> m_stopped{false};
    std::atomic<bool> m_interrupted{false};
};

} // namespace rtu

#endif
