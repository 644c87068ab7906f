#include "host/commands/poll_program.h"

#include "host/tags/link_tags.h"
#include "host/report/statistics.h"
#include "host/report/trace.h"
#include "host/text/numbers.h"
#include "host/text/wall_clock.h"

#include <algorithm>

namespace rtu {

namespace {

const Duration LongestRest = std::chrono::milliseconds(500);
const int StepsToEnd = 100; ///< for the block that is on the line, its attempts included

} // namespace

PollProgram::PollProgram(Link &link, Line &line, LineRecorder &recorder, CauseReport &causes, const Options &options,
                         std::ostream &out, std::ostream &err)
    : m_link(link)
    , m_line(line)
    , m_causes(causes)
    , m_options(options)
    , m_out(out)
    , m_err(err)
    , m_recorder(recorder)
    , m_records(out, options.form, options.verify)
{
    m_records.setTimed(options.rounds != 1 && !options.quiet);
    m_records.setQuiet(options.quiet);
    recorder.addRecords(m_records);
    link.onTransaction([this](const Transaction &transaction) { noteTransaction(transaction); });
    link.onPort([this](bool open) { notePort(open); });
    link.onNotice([this](const QString &text) { say(text.toStdString()); });
    link.onRound([this] { finishRound(); });
}

void PollProgram::stop()
{
    m_stopped = true;
    m_link.stop();
}

void PollProgram::interrupt()
{
    m_interrupted = true;
    stop();
}

/** False when it is over. */
bool PollProgram::step()
{
    if (m_stopped)
        return false;
    const LinkStep done = m_link.step();
    if (done == LinkStep::Idle || done == LinkStep::NoPort)
        m_line.sleepUntil(std::min(m_link.nextStep(), m_line.now() + LongestRest));
    return !m_stopped;
}

/** Steps until what was asked for has ended; false when the user or a lost port ended it first. */
template <typename Asked>
bool PollProgram::awaitEnd(const Asked &asked)
{
    while (!asked.ended()) {
        if (!step())
            return asked.ended();
    }
    return true;
}

void PollProgram::noteTransaction(const Transaction &transaction)
{
    if (m_readingOld)
        return;
    if (transaction.verdict == VerdictGivenUp)
        noteError(transaction);
    m_causes.take(transaction);
}

void PollProgram::noteError(const Transaction &transaction)
{
    ++m_errors;
    ++m_givenUp;
    m_lastError = transaction.information.toStdString();
    m_err << "error: station " << transaction.station << ", " << requestMeaning(transaction.request) << ": "
          << replyMeaning(transaction) << ", given up (" << m_lastError << ")\n";
}

void PollProgram::say(const std::string &text)
{
    if (m_options.form == OutputForm::Lines && !m_options.quiet)
        m_out << "-- " << text << '\n';
}

/** A single round is for scripts, which do not want to hang; others wait for the port to come back. */
void PollProgram::notePort(bool open)
{
    if (open == !m_portLost)
        return;
    m_portLost = !open;
    if (open) {
        m_err << "the port is back\n";
        return;
    }
    ++m_errors;
    m_err << (waitsForPort() ? "error: the port is gone, waiting for it\n" : "error: the port is gone\n");
    if (!waitsForPort())
        stop();
}

/** False when it ended before the last one; those that were left out are told as well. */
bool PollProgram::write(const std::vector<TagWrite> &writes)
{
    for (const TagWrite &each : writes)
        write(each);
    return !m_stopped;
}

void PollProgram::write(const TagWrite &write)
{
    const TagState old = echoesWrites() && !m_stopped ? valueBefore(write) : TagState();
    const std::uint64_t givenUp = m_givenUp;
    if (m_stopped) {
        WriteResult unsent;
        unsent.text = QString::fromStdString(whyEnded());
        return tellWrite(write, old, unsent, false);
    }
    WriteOptions how;
    how.readBack = m_options.verify;
    const Write asked = m_link.write(definitionOf(write.tag), numbersOf(write.raw), how);
    awaitEnd(asked);
    tellWrite(write, old, endOf(asked), m_givenUp != givenUp);
}

/** What is on the line when the user ends it is not sent again, and may have reached the slave. */
WriteResult PollProgram::endOf(Write asked)
{
    if (asked.ended())
        return asked.result();
    WriteResult result;
    result.end = asked.cancel() ? WriteEnd::NotSent : WriteEnd::Unconfirmed;
    result.text = QString::fromStdString(whyEnded());
    return result;
}

/** Not known where nobody answers, or nothing goes over the line anyway. */
TagState PollProgram::valueBefore(const TagWrite &write)
{
    TagState state;
    if (write.tag.station == 0 || m_options.property.localWriteOnly)
        return state;
    m_readingOld = true;
    const OneOffRead asked = m_link.read(definitionOf(write.tag));
    state.known = awaitEnd(asked) && asked.result().end == ReadEnd::Good;
    m_readingOld = false;
    if (state.known)
        state.raw = asked.result().value.raw();
    return state;
}

void PollProgram::tellWrite(const TagWrite &write, const TagState &old, const WriteResult &result, bool errorTold)
{
    if (echoesWrites())
        m_recorder.printWrite(write, old, result, result.time == TimePoint() ? m_line.now() : result.time);
    const std::string error = writeError(write, result);
    if (error.empty() || errorTold)
        return;
    ++m_errors;
    m_err << "error: " << error << '\n';
}

int PollProgram::poll(const TagSelection &selection, std::size_t requestsARound)
{
    m_records.printHeader();
    if (write(selection.writes) && !selection.reads.empty())
        poll(selection.reads, requestsARound);
    return finish();
}

void PollProgram::poll(const std::vector<TagRange> &tags, std::size_t requestsARound)
{
    m_board.reset(new TagBoard(m_link, m_line, tags));
    m_recorder.watch(*m_board);
    say(quantity(tags.size(), "tag") + " in " + quantity(requestsARound, "request") + " a round");
    while (step()) {
    }
}

void PollProgram::finishRound()
{
    if (!m_board || m_stopped)
        return;
    ++m_rounds;
    if (outputIsGone() || (m_options.rounds > 0 && m_rounds >= m_options.rounds))
        stop();
}

bool PollProgram::outputIsGone() const
{
    return !m_out.good() || (m_capture && !m_capture->problem().empty());
}

int PollProgram::readOnce(const std::vector<TagRange> &tags)
{
    m_records.printHeader();
    for (const TagRange &tag : tags)
        readOnce(tag);
    return finish();
}

void PollProgram::readOnce(const TagRange &tag)
{
    m_lastError.clear();
    if (!m_stopped) {
        const OneOffRead asked = m_link.read(definitionOf(tag));
        if (awaitEnd(asked))
            return printRead(tag, asked.result(), m_lastError);
    }
    ReadResult unread;
    unread.end = ReadEnd::Cancelled;
    printRead(tag, unread, whyEnded());
    ++m_errors;
    m_err << "error: " << tag.place() << " was not read: " << whyEnded() << '\n';
}

void PollProgram::printRead(const TagRange &tag, const ReadResult &result, const std::string &error)
{
    const bool good = result.end == ReadEnd::Good;
    say("condition read of " + tag.place() + (good ? ": done" : ": failed"));
    TagState state;
    state.known = good;
    state.failed = !good;
    state.error = good ? std::string() : error.empty() ? "no answer" : error;
    state.raw = good ? result.value.raw() : std::vector<std::uint32_t>(static_cast<std::size_t>(tag.values));
    m_recorder.printValues(tag, ValueSpan{0, tag.values}, state, good ? result.value.time : m_line.now());
}

int PollProgram::transferRecipe(Recipe recipe, bool write)
{
    const std::vector<RecipeRow> rows = recipeRows(recipe, m_options.property);
    const TransferResult result = resultOf(write ? m_link.load(rows) : m_link.save(rows));
    const bool done = result.complete();
    if (done && !write) {
        takeValues(result, recipe);
        writeRecipeFile(m_options.recipeFile, recipe);
    }
    report(recipe, result, write ? TransferKind::Write : TransferKind::Read);
    if (done)
        say("recipe of " + quantity(rows.size(), "row")
            + (write ? " written to the slaves" : " saved to " + m_options.recipeFile));
    const int status = finish();
    return done ? status : 1;
}

int PollProgram::compareRecipe(const Recipe &recipe)
{
    const TransferResult result = resultOf(m_link.compare(recipeRows(recipe, m_options.property)));
    report(recipe, result, TransferKind::Compare);
    const int status = finish();
    return result.complete() ? status : 1;
}

void PollProgram::report(const Recipe &recipe, const TransferResult &result, TransferKind kind)
{
    TransferReport(m_out, m_err, m_options.form, m_options.recipeFile, m_options.quiet).print(recipe, result, kind);
}

/** What was stopped half way is told row by row as well. */
TransferResult PollProgram::resultOf(Transfer asked)
{
    if (awaitEnd(asked))
        return asked.result();
    asked.cancel();
    for (int i = 0; i < StepsToEnd && !asked.ended(); ++i)
        m_link.step();
    return asked.result();
}

int PollProgram::finish()
{
    if (m_interrupted && !m_options.printStatistics)
        say(trafficText(m_link.statistics()));
    if (m_options.printStatistics) {
        const LinkStatistics statistics = m_link.statistics();
        if (m_options.form == OutputForm::Json) {
            m_out << statisticsJson(statistics) << '\n';
        } else {
            std::ostream &out = m_options.form == OutputForm::Csv ? m_err : m_out;
            for (const std::string &line : statisticsLines(statistics))
                out << line << '\n';
        }
    }
    m_out.flush();
    return m_errors == 0 ? 0 : 1;
}

} // namespace rtu
