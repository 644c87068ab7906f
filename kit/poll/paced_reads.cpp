#include "kit/poll/paced_reads.h"

#include "kit/transfer/read_queue.h"

#include <algorithm>

namespace rtu {

namespace {

/** A slave may refuse everything until it has started. */
const Duration HopelessFor = std::chrono::minutes(1);

/** The tags that a request for several of them is for. */
bool sharesRequests(const TagRecord &record)
{
    return !record.isPlanned() && !record.alone;
}

bool isPlanned(const TagRecord &record)
{
    return record.isPlanned();
}

bool isNone(const TagRecord &)
{
    return false;
}

bool sameArea(const Area &left, const Area &right)
{
    return left.covers(right) && right.covers(left);
}

} // namespace

void PacedReads::reset(bool planned)
{
    m_planned = planned;
    if (!m_areas.empty())
        m_inTurn->due = TimePoint(); // it is begun anew
    m_inTurn.reset();                // a tag that was removed must not live on here
    m_areas.clear();
    m_suspects.clear();
    m_probing = false;
    m_hopeless.clear();
}

void PacedReads::portLost()
{
    m_areas.clear();
    m_suspects.clear();
    m_probing = false;
    for (const TagRecordPtr &record : m_parts.tags.records())
        record->due = TimePoint();
}

void PacedReads::stationBack(int station)
{
    for (const TagRecordPtr &record : m_parts.tags.records()) {
        if (record->layout->definition().station == station && !isAsked(*record))
            record->due = TimePoint();
    }
}

/** The reply that is being taken brings it, or the rest of it is asked for next. */
bool PacedReads::isAsked(const TagRecord &record) const
{
    return m_inDriver && std::any_of(record.pieces.begin(), record.pieces.end(), [this](const TagPiece &piece) {
               return m_askedArea.covers(piece.area);
           });
}

void PacedReads::ask(const Area &area)
{
    askForArea(m_parts.driver, area, Source::Paced);
    m_askedArea = area;
    m_probing = false;
    m_inDriver = true;
}

bool PacedReads::feed()
{
    if (m_inDriver || feedProbe())
        return true;
    if (m_areas.empty()) {
        const TimePoint now = m_parts.line.now();
        const TagRecordPtr record = mostOverdue(now);
        if (!record)
            return false;
        schedule(*record, now);
        record->hadTurn = true;
        if (record->pieces.size() == 1 && !record->alone) {
            m_areas.push_back(widened(record, now));
        } else {
            m_shared = false;
            m_inTurn = record;
            for (const TagPiece &piece : record->pieces)
                m_areas.push_back(piece.area);
        }
    }
    const Area area = m_areas.front();
    m_areas.pop_front();
    ask(area);
    return true;
}

void PacedReads::schedule(TagRecord &record, TimePoint now) const
{
    const Duration own = record.layout->definition().pace;
    const Duration pace = own > Duration(0) ? own : m_parts.settings.roundInterval;
    const TimePoint since = std::min(record.due, now); // what is asked of a dead station is ahead of its time
    record.due = std::max(since + pace, now + (record.alone ? pace : Duration(0)));
    if (record.due <= now && pace > Duration(0))
        record.due = now + pace;
}

/** A dead station is read when it is its turn to be asked, however slow its tags: the others wait behind it. */
bool PacedReads::due(const TagRecord &record, TimePoint now)
{
    if (record.isPlanned() || (record.alone && now < m_nextAlone))
        return false;
    const int station = record.layout->definition().station;
    return m_health.dead(station) ? m_health.mayAsk(station, now) : record.due <= now;
}

TagRecordPtr PacedReads::mostOverdue(TimePoint now)
{
    TagRecordPtr chosen;
    for (const TagRecordPtr &record : m_parts.tags.records()) {
        if (due(*record, now) && (!chosen || record->due < chosen->due))
            chosen = record;
    }
    return chosen;
}

/** Takes neighbours that are due as well into the same request. */
Area PacedReads::widened(const TagRecordPtr &record, TimePoint now)
{
    Area area = record->pieces.front().area;
    m_shared = false;
    const int limit = area.isBits() ? 8 * m_parts.settings.maxWords : m_parts.settings.maxWords;
    for (const TagRecordPtr &other : m_parts.tags.records()) {
        const Area &piece = other->pieces.front().area;
        const bool fits = other->pieces.size() == 1 && !other->alone && piece.sameTable(area) && due(*other, now);
        Area both = area;
        both.first = std::min(area.first, piece.first);
        both.count = std::max(area.end(), piece.end()) - both.first;
        if (!fits || both.count > limit)
            continue;
        schedule(*other, now);
        area = both;
        m_shared = true;
    }
    return area;
}

TimePoint PacedReads::nextDue()
{
    if (m_inDriver || !m_areas.empty() || m_probe < m_suspects.size())
        return TimePoint();
    TimePoint next = TimePoint::max();
    for (const TagRecordPtr &record : m_parts.tags.records()) {
        if (record->isPlanned())
            continue;
        const int station = record->layout->definition().station;
        const bool dead = m_health.dead(station);
        if (dead && !m_health.isTurnOf(station))
            continue; // another one is asked first, and may be one of the plan
        const TimePoint when = dead ? m_health.nextQuestion(m_parts.line.now()) : record->due;
        next = std::min(next, record->alone ? std::max(when, m_nextAlone) : when);
    }
    return next;
}

void PacedReads::requestDone(const RequestEnd &done)
{
    if (!m_inDriver)
        return;
    m_inDriver = false;
    if (m_planned)
        m_nextAlone = done.time + done.lineTime;
    if (done.good())
        m_parts.tags.readGood(done.area, done.time, true);
    else if (done.refused())
        m_parts.tags.readRefused(done.area, done.exceptionCode, m_shared ? sharesRequests : isNone);
    else
        silent(done);
    if (m_probing && m_probe < m_suspects.size())
        probed(done.good());
    else if (m_shared && done.refused() && (done.exceptionCode == 2 || done.exceptionCode == 3))
        lookForHoles(done.area, sharesRequests);
}

/** Silence tells nothing of holes: the next refusal of their block begins anew. Nor is more asked of the station now. */
void PacedReads::silent(const RequestEnd &done)
{
    m_parts.tags.readSilent(done.area);
    m_areas.clear();
    m_suspects.clear();
}

void PacedReads::blockRefused(const Area &area)
{
    lookForHoles(area, isPlanned);
}

/** @param asked tells the tags for which the area was read: others in it have requests of their own */
void PacedReads::lookForHoles(const Area &area, bool (*asked)(const TagRecord &))
{
    if (!m_parts.settings.findHoles || m_probe < m_suspects.size())
        return;
    const TimePoint now = m_parts.line.now();
    m_hopeless.erase(std::remove_if(m_hopeless.begin(), m_hopeless.end(),
                                    [now](const Hopeless &known) { return now >= known.until; }),
                     m_hopeless.end());
    for (const Hopeless &known : m_hopeless) {
        if (sameArea(known.area, area))
            return;
    }
    std::vector<TagRecordPtr> inside = m_parts.tags.inArea(area);
    inside.erase(
        std::remove_if(inside.begin(), inside.end(), [&](const TagRecordPtr &record) { return !asked(*record); }),
        inside.end());
    if (inside.size() < 2)
        return;
    m_refused = area;
    m_suspects = inside;
    m_probe = 0;
    m_anyReadable = false;
}

bool PacedReads::feedProbe()
{
    if (m_probe >= m_suspects.size())
        return false;
    m_shared = false;
    const std::vector<TagPiece> &pieces = m_suspects[m_probe]->pieces;
    // A suspect is one because of a piece in the refused area.
    ask(std::find_if(pieces.begin(), pieces.end(), [this](const TagPiece &piece) {
            return m_refused.overlaps(piece.area);
        })->area);
    m_probing = true;
    return true;
}

void PacedReads::probed(bool readable)
{
    m_anyReadable = m_anyReadable || readable;
    if (++m_probe == m_suspects.size())
        conclude();
}

void PacedReads::conclude()
{
    if (!m_anyReadable) {
        m_hopeless.push_back(Hopeless{m_refused, m_parts.line.now() + HopelessFor});
    } else {
        QString names;
        for (const TagRecordPtr &record : m_suspects) {
            record->alone = true;
            names += (names.isEmpty() ? QString() : QString(QLatin1String(", "))) + record->layout->label();
        }
        m_finding = QLatin1String("the slave refuses addresses between tags that it has; read one by one: ") + names;
    }
    m_suspects.clear();
}

bool PacedReads::takeRound()
{
    if (m_planned || !m_areas.empty())
        return false;
    std::vector<TagRecordPtr> members;
    for (const TagRecordPtr &record : m_parts.tags.records()) {
        const TagDefinition &tag = record->layout->definition();
        if (!record->alone || tag.pace > Duration(0))
            continue;
        if (!record->hadTurn && !m_health.dead(tag.station))
            return false;
        members.push_back(record);
    }
    for (const TagRecordPtr &record : members)
        record->hadTurn = false;
    return !members.empty();
}

QString PacedReads::takeFinding()
{
    const QString finding = m_finding;
    m_finding.clear();
    return finding;
}

} // namespace rtu
