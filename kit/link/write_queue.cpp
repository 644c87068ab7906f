#include "kit/link/write_queue.h"

#include <algorithm>

namespace rtu {

namespace {

const int CoilsPerWrite = 1024; ///< what a request of the driver holds

WriteResult resultOf(WriteEnd end, const QString &text, TimePoint when)
{
    WriteResult result;
    result.end = end;
    result.text = text;
    result.time = when;
    return result;
}

/** What a request that was not acknowledged says about the write as a whole. */
WriteEnd endOf(const RequestEnd &end, const WriteJob &job)
{
    if (end.changedNothing())
        return WriteEnd::Refused;
    const bool partly = job.acknowledged > 0;
    return end.written || partly ? WriteEnd::Unconfirmed : WriteEnd::NotSent;
}

QString reasonOf(const RequestEnd &end)
{
    switch (end.kind) {
    case ReplyKind::Exception:
        return QString::fromLatin1("the slave answered%1 with exception %2")
            .arg(QLatin1String(end.writtenUnheard ? " a further attempt" : ""))
            .arg(end.exceptionCode);
    case ReplyKind::Silent:
        return QLatin1String("no answer");
    case ReplyKind::PortLost:
        return QLatin1String("the port was lost");
    case ReplyKind::Damaged:
        return QLatin1String("the answers were damaged");
    default:
        return QLatin1String("the answers were those to other requests");
    }
}

} // namespace

void WriteQueue::accept(const WriteJobPtr &job)
{
    if (job->takenBack()) { // it replaces nothing, and no tag shows it
        job->record.reset();
        m_waiting.push_back(job);
        return;
    }
    if (job->record)
        m_parts.tags.showWritten(job->record, job->raw);
    const auto older = std::find_if(m_waiting.begin(), m_waiting.end(), [&](const WriteJobPtr &waiting) {
        return !waiting->keep && !waiting->takenBack() && waiting->layout->sameTarget(*job->layout);
    });
    if (older == m_waiting.end()) {
        m_waiting.push_back(job);
        return;
    }
    const WriteJobPtr replaced = *older;
    const bool keepsPlace = std::none_of(older + 1, m_waiting.end(), [&](const WriteJobPtr &behind) {
        return behind->layout->sharesPlace(*job->layout);
    });
    if (keepsPlace) {
        *older = job;
    } else { // what was asked for last is what the slave is to hold in the end
        m_waiting.erase(older);
        m_waiting.push_back(job);
    }
    endUnsent(replaced, WriteEnd::Replaced, QLatin1String("a newer write to the same place took its turn"));
}

bool WriteQueue::feed()
{
    if (m_inDriver)
        return true;
    for (;;) {
        if (m_current && (m_current->reading || handPiece()))
            return m_inDriver;
        if (m_current)
            continue; // a further piece of a write that is kept local
        if (m_waiting.empty())
            return false;
        takeNext();
    }
}

void WriteQueue::takeNext()
{
    const WriteJobPtr job = m_waiting.front();
    m_waiting.pop_front();
    if (job->take())
        m_current = job;
    else
        endTakenBack(job);
    endWaiting([](const WriteJob &other) { return other.takenBack(); }, WriteEnd::Cancelled, QString());
}

int WriteQueue::pieceValues() const
{
    const RegisterType &type = m_current->layout->type();
    const int most = type.bitInRegister ? m_parts.settings.maxWords
                     : type.isBit()     ? CoilsPerWrite
                                        : m_parts.settings.maxWords / type.unitsPerValue();
    return std::min(most, m_current->layout->definition().values - m_current->handed);
}

/** False when the link keeps its writes to itself, which ends the last piece's write. */
bool WriteQueue::handPiece()
{
    const TagLayout &layout = *m_current->layout;
    const int first = m_current->handed;
    const int values = pieceValues();
    std::vector<unsigned char> bytes = layout.encode(m_current->raw, first, values);
    bytes.resize(std::max(bytes.size(), static_cast<std::size_t>(2 * values))); // the driver copies two bytes a bit
    QString regType = layout.regType();
    m_current->handed += values;
    m_parts.driver.setData(layout.definition().station, &regType, layout.addressOf(first),
                           values * layout.type().unitsPerValue(), bytes.data(), static_cast<int>(Source::Write));
    m_inDriver = !m_parts.settings.localWritesOnly;
    if (m_inDriver) {
        m_parts.tags.writeHanded(layout.area(first, values));
        return true;
    }
    m_parts.tags.refresh(layout.area(first, values));
    if (m_current->handed == layout.definition().values)
        endCurrent(resultOf(WriteEnd::KeptLocal, QString(), m_parts.line.now()));
    return false;
}

/** Nothing of the write was sent, so that it may wait for the port as those behind it do. */
bool WriteQueue::isKept(const RequestEnd &done) const
{
    return done.kind == ReplyKind::PortLost && !done.written && m_current->acknowledged == 0
           && done.time < m_current->asked + m_parts.settings.keepWrites;
}

void WriteQueue::withdrawn(const Area &area)
{
    m_inDriver = false;
    m_parts.tags.writeLeft(area, false);
    putBack();
}

/** The piece is handed again; a write of which nothing was sent waits as before. */
void WriteQueue::putBack()
{
    m_current->handed = m_current->acknowledged;
    if (m_current->acknowledged > 0)
        return;
    m_current->putBack();
    m_waiting.push_front(m_current);
    m_current.reset();
}

void WriteQueue::requestDone(const RequestEnd &done)
{
    if (!m_current || !m_inDriver)
        return;
    m_inDriver = false;
    m_parts.tags.writeLeft(done.area, !done.good() && endOf(done, *m_current) == WriteEnd::Unconfirmed);
    const int values = m_current->layout->definition().values;
    if (isKept(done))
        return putBack();
    if (done.good())
        m_current->acknowledged = m_current->handed;
    if (done.good() && m_current->handed < values)
        return; // the next piece follows
    if (done.good() && m_current->readBack && m_current->layout->definition().station != 0)
        m_current->reading = true;
    else
        finish(done);
}

void WriteQueue::finish(const RequestEnd &done)
{
    if (done.good()) {
        const bool broadcast = m_current->layout->definition().station == 0;
        endCurrent(resultOf(broadcast ? WriteEnd::Broadcast : WriteEnd::Acknowledged, QString(), done.time));
        return;
    }
    WriteResult result = resultOf(endOf(done, *m_current), reasonOf(done), done.time);
    result.exceptionCode = done.changedNothing() ? done.exceptionCode : 0;
    endCurrent(result);
}

void WriteQueue::readBackDone(const std::vector<std::uint32_t> *read, TimePoint when)
{
    if (!readingBack())
        return;
    WriteResult result = resultOf(WriteEnd::Acknowledged, QString(), when);
    if (!read)
        result = resultOf(WriteEnd::Unconfirmed, QLatin1String("acknowledged, but it could not be read back"), when);
    else if (*read != m_current->raw)
        result = resultOf(WriteEnd::Differs, QLatin1String("acknowledged, but it reads otherwise"), when);
    endCurrent(result);
}

void WriteQueue::endCurrent(WriteResult result)
{
    const WriteJobPtr job = m_current;
    m_current.reset();
    const bool broadcast = job->layout->definition().station == 0; // which nobody acknowledges
    result.acknowledged = broadcast ? 0 : job->acknowledged;
    end(job, result);
}

/** One that waits ends so, unless its caller has taken it back. */
void WriteQueue::endUnsent(const WriteJobPtr &job, WriteEnd how, const QString &text)
{
    if (job->take())
        end(job, resultOf(how, text, m_parts.line.now()));
    else
        endTakenBack(job);
}

void WriteQueue::endTakenBack(const WriteJobPtr &job)
{
    end(job, resultOf(WriteEnd::Cancelled, QLatin1String("taken back"), m_parts.line.now()));
}

void WriteQueue::end(const WriteJobPtr &job, const WriteResult &result)
{
    if (job->record) {
        const bool acknowledged = result.end == WriteEnd::Acknowledged;
        m_parts.tags.writeEnded(job->record, acknowledged, result.end == WriteEnd::Unconfirmed, result.time);
    }
    endJob(m_parts, job, result);
}

template <typename Condition>
void WriteQueue::endWaiting(Condition condition, WriteEnd how, const QString &text)
{
    std::deque<WriteJobPtr> left;
    std::deque<WriteJobPtr> ending;
    for (const WriteJobPtr &job : m_waiting)
        (condition(*job) ? ending : left).push_back(job);
    m_waiting.swap(left);
    for (const WriteJobPtr &job : ending)
        endUnsent(job, how, text);
}

void WriteQueue::stationSilent(int station)
{
    endWaiting([station](const WriteJob &job) { return job.layout->definition().station == station; },
               WriteEnd::NotSent, QLatin1String("the station does not answer"));
}

void WriteQueue::portAway(TimePoint now)
{
    const Duration kept = m_parts.settings.keepWrites;
    endWaiting([=](const WriteJob &job) { return job.takenBack() || now >= job.asked + kept; }, WriteEnd::NotSent,
               QLatin1String("the port is away"));
    if (m_current && !m_inDriver)
        endCurrent(resultOf(WriteEnd::Unconfirmed, QLatin1String("the port was lost"), now)); // between two pieces
}

TimePoint WriteQueue::nextExpiry() const
{
    TimePoint next = TimePoint::max();
    for (const WriteJobPtr &job : m_waiting)
        next = std::min(next, job->asked + m_parts.settings.keepWrites);
    return next;
}

void WriteQueue::endAll(bool sent)
{
    const QString text = QLatin1String("the link has ended");
    if (m_current) {
        const bool reached = sent || m_current->acknowledged > 0;
        endCurrent(resultOf(reached ? WriteEnd::Unconfirmed : WriteEnd::NotSent, text, m_parts.line.now()));
    }
    endWaiting([](const WriteJob &) { return true; }, WriteEnd::NotSent, text);
}

} // namespace rtu
