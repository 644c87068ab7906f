#include "host/report/line_recorder.h"

#include "kit/poll/request_end.h"

#include <algorithm>

namespace rtu {

namespace {

const int BitsOfRegister = 16;

bool isFrom(const Transaction &transaction, Source source)
{
    return transaction.tag == static_cast<int>(source);
}

/** A write of a bit reads its register first; that is no reading of a value. */
bool endsRead(const Transaction &transaction)
{
    const bool ended = transaction.verdict == VerdictGood || transaction.verdict == VerdictGivenUp;
    return ended && transaction.isRead && !isFrom(transaction, Source::Write);
}

TagState stateAfter(const Transaction &transaction, const TagBoard &board, std::size_t tag)
{
    TagState state;
    state.raw = board.state(tag).raw;
    state.known = transaction.good();
    state.read = transaction.finished;
    state.failed = !transaction.good();
    state.error = transaction.good() ? std::string() : transaction.information.toStdString();
    return state;
}

} // namespace

ValueSpan valuesIn(const TagRange &tag, const Area &area)
{
    ValueSpan span;
    if (!area.overlaps(areaOf(tag.station, tag.qtType(), tag.address, tag.count())))
        return span;
    const int scale = tag.type.bitInRegister ? BitsOfRegister : 1;
    const int units = tag.type.unitsPerValue();
    const int first = std::max(0, area.first * scale - tag.address);
    const int end = area.end() * scale - tag.address;
    span.first = (first + units - 1) / units;
    span.count = std::max(0, std::min(tag.values, end / units) - span.first);
    return span;
}

LineRecorder::LineRecorder(Link &link, Line &line) : m_link(link), m_line(line)
{
    link.onTransaction([this](const Transaction &transaction) { noteTransaction(transaction); });
    link.onPort([this](bool open) { notePort(open); });
    link.onRound([this] { finishRound(); });
}

void LineRecorder::watch(const TagBoard &board)
{
    m_board = &board;
    for (const TagRange &tag : board.tags())
        m_recorded.emplace_back(static_cast<std::size_t>(tag.values));
    m_asked.resize(board.tags().size());
}

void LineRecorder::printValues(const TagRange &tag, const ValueSpan &values, const TagState &state, TimePoint time)
{
    for (Records *records : m_records)
        records->printValues(tag, values, state, time);
}

void LineRecorder::printWrite(const TagWrite &write, const TagState &old, const WriteResult &result, TimePoint time)
{
    for (Records *records : m_records)
        records->printWrite(write, old, result, time);
    flush();
}

void LineRecorder::flush()
{
    for (Records *records : m_records)
        records->flush();
}

void LineRecorder::noteTransaction(const Transaction &transaction)
{
    noteStation(transaction);
    if (m_board && endsRead(transaction))
        noteValues(transaction);
}

/** The link judges which stations are silent; asked only when that may have changed. */
void LineRecorder::noteStation(const Transaction &t)
{
    const bool ended = t.verdict == VerdictGood || t.verdict == VerdictGivenUp;
    const bool wasSilent = m_silent.count(t.station) != 0;
    if (!ended || t.station == 0 || (t.good() && !wasSilent))
        return;
    const LinkStatistics statistics = m_link.statistics();
    const auto station = statistics.stations.find(t.station);
    const bool silent = station != statistics.stations.end() && station->second.silent;
    if (silent == wasSilent)
        return;
    if (silent)
        m_silent.insert(t.station);
    else
        m_silent.erase(t.station);
    printEvent(t.station, silent ? LineChange::Silent : LineChange::Back,
               silent ? t.information.toStdString() : std::string());
}

void LineRecorder::noteValues(const Transaction &transaction)
{
    const Area area = areaOf(transaction.station, transaction.regType, transaction.startAddr, transaction.count);
    bool begun = false;
    for (std::size_t tag = 0; tag < m_board->tags().size(); ++tag) {
        const TagRange &range = m_board->tags()[tag];
        const ValueSpan span = valuesIn(range, area);
        // What was asked for once shows in a tag only when it is all of the tag.
        if (span.count == 0 || (isFrom(transaction, Source::OneOff) && span.count < range.values))
            continue;
        for (Records *records : m_records) {
            if (!begun)
                records->beginReply(transaction.finished);
            records->printValues(range, span, stateAfter(transaction, *m_board, tag), transaction.finished);
        }
        begun = true;
        std::fill_n(m_recorded[tag].begin() + span.first, span.count, true);
        m_asked[tag] = true;
    }
    flush();
}

void LineRecorder::notePort(bool open)
{
    if (open && !m_portLost)
        return; // opened for the first time
    m_portLost = !open;
    printEvent(0, open ? LineChange::Back : LineChange::Lost);
}

void LineRecorder::finishRound()
{
    if (!m_board)
        return;
    const TimePoint now = m_line.now();
    for (std::size_t tag = 0; tag < m_recorded.size(); ++tag) {
        printUnread(tag, now);
        std::fill(m_recorded[tag].begin(), m_recorded[tag].end(), false);
    }
    flush();
}

/** A station that a write found silent has never been asked for its values. */
TagState LineRecorder::unreadState(std::size_t tag) const
{
    TagState state = m_board->state(tag);
    if (m_asked[tag] || m_silent.count(m_board->tags()[tag].station) == 0)
        return state;
    state.failed = false;
    state.error = "not asked: station silent";
    return state;
}

void LineRecorder::printUnread(std::size_t tag, TimePoint now)
{
    const std::vector<bool> &recorded = m_recorded[tag];
    for (auto from = std::find(recorded.begin(), recorded.end(), false); from != recorded.end();) {
        const auto to = std::find(from, recorded.end(), true);
        const ValueSpan span{static_cast<int>(from - recorded.begin()), static_cast<int>(to - from)};
        printValues(m_board->tags()[tag], span, unreadState(tag), now);
        from = std::find(to, recorded.end(), false);
    }
}

void LineRecorder::printEvent(int station, LineChange change, const std::string &error)
{
    for (Records *records : m_records)
        records->printEvent(LineEvent{m_line.now(), station, change, error});
    flush();
}

} // namespace rtu
