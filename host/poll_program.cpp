#include "poll_program.h"

#include "punctuality.h"
#include "trace.h"
#include "wall_clock.h"

#include <stdexcept>

namespace rtu {

namespace {

Duration seconds(double number)
{
    return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(number));
}

enum ConditionEnd { ConditionPending = 0, ConditionDone = 1, ConditionFailed = 2 };

int conditionEnd(const ValueChange &change)
{
    return change.address == 0 ? ConditionDone : ConditionFailed;
}

bool endsCondition(const ValueChange &change)
{
    return change.linkId == -1 && change.station == -1 && change.regType == QLatin1String("-1");
}

/** "1:4x1..125" */
std::string keyLabel(const TagRange &tag, const KEY_ADDRESS &key)
{
    const int last = key.startAddr + key.count - tag.type.unitsPerValue();
    const std::string first = tag.type.name + addressText(tag.type, key.startAddr);
    return std::to_string(tag.station) + ":" + first
           + (last > key.startAddr ? ".." + addressText(tag.type, last) : std::string());
}

} // namespace

PollSettings pollSettings(const Options &options, const LineTiming &timing)
{
    PollSettings settings;
    settings.timing = timing;
    if (options.silence >= 0)
        settings.timing.setSilence(seconds(options.silence));
    if (options.replyGap > 0)
        settings.timing.setReplyGap(seconds(options.replyGap));
    settings.replyTimeout = seconds(options.replyTimeout);
    settings.lateReplyGuard = seconds(options.lateGuard >= 0 ? options.lateGuard : options.replyTimeout);
    settings.broadcastDelay = seconds(options.broadcastDelay);
    settings.roundInterval = seconds(options.pollInterval);
    settings.removeEcho = options.removeEcho;
    return settings;
}

PollProgram::PollProgram(DriverSession &session, Line &line, const PollSettings &settings, const Options &options,
                         std::ostream &out, std::ostream &err)
    : m_session(session)
    , m_line(line)
    , m_options(options)
    , m_out(out)
    , m_err(err)
    , m_loop(session.driver(), line, settings)
    , m_statistics(settings.timing, line.now())
    , m_printer(out, options.form)
{
    m_loop.addObserver([this](const Transaction &transaction) { noteTransaction(transaction); });
    m_loop.setPortObserver([this](bool open) { notePort(open); });
    session.driver().setChangeListener([this](const ValueChange &change) {
        if (endsCondition(change))
            m_conditionEnd = conditionEnd(change);
    });
}

void PollProgram::noteTransaction(const Transaction &transaction)
{
    m_statistics.add(transaction);
    if (m_states)
        m_states->add(transaction);
    if (m_options.trace)
        printTrace(transaction);
    else if (!transaction.warning.isEmpty())
        m_err << "warning: " << requestMeaning(transaction.request) << ": accepted although "
              << transaction.warning.toStdString() << '\n';
    if (transaction.verdict != VerdictGivenUp)
        return;
    ++m_errors;
    m_err << "error: station " << transaction.station << ", " << requestMeaning(transaction.request) << ": "
          << replyMeaning(transaction) << ", given up (" << transaction.information.toStdString() << ")\n";
}

void PollProgram::printTrace(const Transaction &transaction)
{
    // Values on standard output are for other programs in these forms; the trace is for people.
    std::ostream &out = m_options.form == OutputForm::Lines ? m_out : m_err;
    for (const TraceLine &line : traceLines(transaction))
        out << traceText(line) << '\n';
    out.flush();
}

void PollProgram::say(const std::string &text)
{
    if (m_options.form == OutputForm::Lines && !m_options.quiet)
        m_out << "-- " << text << '\n';
}

/** A single round is for scripts, which do not want to hang; others wait for the port to come back. */
void PollProgram::notePort(bool open)
{
    if (open)
        m_err << "the port is back\n";
    else if (waitsForPort())
        m_err << "error: the port is gone, waiting for it\n";
    else
        notePortLost();
}

void PollProgram::notePortLost()
{
    if (m_portLost)
        return;
    m_portLost = true;
    ++m_errors;
    m_err << "error: the port is gone\n";
    m_loop.stop();
}

/** Sends what is queued; false when the port went away or the user ended it. */
bool PollProgram::drain()
{
    StepResult result = m_loop.drain();
    while (result == StepResult::NoPort && waitsForPort()) {
        m_line.sleepUntil(m_line.now() + m_loop.settings().reopenInterval);
        result = m_loop.drain();
    }
    if (result == StepResult::NoPort)
        notePortLost();
    return result == StepResult::Idle;
}

bool PollProgram::write(const std::vector<TagWrite> &writes)
{
    for (const TagWrite &write : writes) {
        const std::uint64_t errors = m_errors;
        writeTag(m_session.driver(), write, m_session.property().maxWords, WriteTag);
        if (!drain())
            return false;
        if (m_errors != errors)
            continue;
        const bool many = write.raw.size() > 1;
        say("wrote " + std::to_string(write.tag.station) + ":" + write.tag.label() + (many ? " ..: " : ": ")
            + std::to_string(write.raw.size()) + (many ? " values" : " value"));
    }
    return true;
}

int PollProgram::poll(const TagSelection &selection)
{
    m_printer.printHeader();
    if (write(selection.writes) && !selection.reads.empty())
        poll(selection.reads);
    return finish();
}

void PollProgram::poll(const std::vector<TagRange> &tags)
{
    m_states.reset(new TagStates(tags, m_session.property().maxWords));
    const int frames = m_session.plan(tags);
    say(std::to_string(tags.size()) + (tags.size() == 1 ? " tag in " : " tags in ") + std::to_string(frames)
        + (frames == 1 ? " request a round" : " requests a round"));
    m_loop.setRoundLength(frames);
    m_loop.setRoundObserver([this, &tags] { return finishRound(tags); });
    askForPunctuality();
    m_loop.run();
}

bool PollProgram::finishRound(const std::vector<TagRange> &tags)
{
    printRound(tags);
    ++m_rounds;
    return m_out.good() && (m_options.rounds == 0 || m_rounds < m_options.rounds);
}

void PollProgram::printRound(const std::vector<TagRange> &tags)
{
    const TimePoint now = m_line.now();
    if (m_options.rounds != 1)
        say(timeOfDay(now));
    for (std::size_t i = 0; i < tags.size(); ++i)
        m_printer.print(tags[i], readTag(m_session.driver(), tags[i]), m_states->state(i), now);
    m_out.flush();
}

int PollProgram::readOnce(const std::vector<TagRange> &tags)
{
    m_printer.printHeader();
    m_states.reset(new TagStates(tags, m_session.property().maxWords));
    for (std::size_t i = 0; i < tags.size(); ++i) {
        if (!condition(tags[i]))
            break;
        m_printer.print(tags[i], readTag(m_session.driver(), tags[i]), m_states->state(i), m_line.now());
    }
    return finish();
}

bool PollProgram::condition(const TagRange &tag)
{
    QList<KEY_ADDRESS> keys = keysOf(std::vector<TagRange>(1, tag), m_session.property().maxWords);
    for (int i = 0; i < keys.size(); ++i) {
        KEY_ADDRESS key = keys.at(i);
        m_conditionEnd = ConditionPending;
        m_session.driver().addConditionRead(&key, ConditionTag);
        if (!drain())
            return false;
        say("condition read of " + keyLabel(tag, key)
            + (m_conditionEnd == ConditionDone     ? ": done"
               : m_conditionEnd == ConditionFailed ? ": failed"
                                                   : ": no end reported"));
    }
    return true;
}

int PollProgram::transferRecipe(Recipe recipe, bool write)
{
    QVector<_RCP_VAR_PRO> rows = recipeRows(recipe.tags, m_session.property());
    m_session.driver().setRcpAddress(&rows);
    if (write) {
        fillWords(recipe, m_session.words());
        m_session.requestBlockWrite();
    } else {
        m_session.requestBlockRead();
    }
    const bool drained = drain();
    const bool done = drained && !m_session.blockTransferPending() && m_errors == 0;
    m_session.clearBlockRequests();
    if (!done)
        m_err << "error: the recipe was not transferred whole\n";
    if (done && !write) {
        takeWords(m_session.words(), recipe);
        writeRecipeFile(m_options.recipeFile, recipe);
    }
    if (done)
        say("recipe of " + std::to_string(rows.size()) + (rows.size() == 1 ? " row " : " rows ")
            + (write ? "written to the slaves" : "saved to ") + (write ? std::string() : m_options.recipeFile));
    const int status = finish();
    return done ? status : 1;
}

int PollProgram::finish()
{
    if (m_options.printStatistics) {
        const TimePoint now = m_line.now();
        if (m_options.form == OutputForm::Json) {
            m_out << statisticsJson(m_statistics, now) << '\n';
        } else {
            std::ostream &out = m_options.form == OutputForm::Csv ? m_err : m_out;
            for (const std::string &line : statisticsLines(m_statistics, now))
                out << line << '\n';
        }
    }
    m_out.flush();
    return m_errors == 0 ? 0 : 1;
}

} // namespace rtu
