/**
 * @file
 * Polling, reading and writing with output in lines: everything on a line that
 * needs no screen.
 */
#ifndef RTU_HOST_POLL_PROGRAM_H
#define RTU_HOST_POLL_PROGRAM_H

#include "driver_session.h"
#include "options.h"
#include "poll_loop.h"
#include "recipe.h"
#include "tag_selection.h"

#include <atomic>
#include <memory>
#include <ostream>

namespace rtu {

/** userData of this host's own requests; the cyclic plan has CyclicTag. */
enum { WriteTag = 100, ConditionTag = 101 };

/** The poll loop's settings as the options say. */
PollSettings pollSettings(const Options &options, const LineTiming &timing);

class PollProgram
{
public:
    PollProgram(DriverSession &session, Line &line, const PollSettings &settings, const Options &options,
                std::ostream &out, std::ostream &err);

    /** Writes, then reads in rounds; result: exit status. */
    int poll(const TagSelection &selection);
    /** Reads each tag once by one-off reads. */
    int readOnce(const std::vector<TagRange> &tags);
    /** Moves a recipe. @param write from the file to the slaves */
    int transferRecipe(Recipe recipe, bool write);

    PollLoop &loop() { return m_loop; }

private:
    bool write(const std::vector<TagWrite> &writes);
    void poll(const std::vector<TagRange> &tags);
    bool finishRound(const std::vector<TagRange> &tags);
    bool condition(const TagRange &tag);
    void noteTransaction(const Transaction &transaction);
    void printTrace(const Transaction &transaction);
    void printRound(const std::vector<TagRange> &tags);
    void say(const std::string &text);
    bool waitsForPort() const { return m_options.rounds != 1; }
    void notePort(bool open);
    void notePortLost();
    bool drain();
    int finish();

    DriverSession &m_session;
    Line &m_line;
    const Options &m_options;
    std::ostream &m_out;
    std::ostream &m_err;
    PollLoop m_loop;
    Statistics m_statistics;
    ValuePrinter m_printer;
    std::unique_ptr<TagStates> m_states;
    std::uint64_t m_errors = 0;
    int m_rounds = 0;
    bool m_portLost = false; ///< for good
    std::atomic<int> m_conditionEnd{0};
};

} // namespace rtu

#endif
