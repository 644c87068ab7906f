#include "kit/transfer/transfer_queue.h"

#include <algorithm>

namespace rtu {

bool TransferJob::cancel()
{
    if (Job<TransferResult>::cancel())
        return true;
    const Locked held(lock->mutex);
    stopAsked = stopAsked || state == JobState::Under;
    return state == JobState::Under;
}

TransferQueue::TransferQueue(LinkParts &parts, BlockMemory &memory, int linkId)
    : m_parts(parts)
    , m_memory(memory)
    , m_linkId(linkId)
{
}

bool TransferQueue::feed()
{
    if (underWay())
        return true;
    while (m_current || begin()) {
        skipHopeless();
        if (m_next < m_pieces.size() && !stopAsked()) {
            request();
            return true;
        }
        finish();
    }
    return false;
}

bool TransferQueue::begin()
{
    if (m_waiting.empty())
        return false;
    m_current = m_waiting.front();
    m_waiting.pop_front();
    m_result = TransferResult();
    m_result.rows.resize(m_current->layouts.size());
    m_values.assign(m_current->layouts.size(), std::vector<std::uint32_t>());
    m_silent.clear();
    if (m_current->take())
        cut();
    else
        m_result.cancelled = true;
    return true;
}

void TransferQueue::cut()
{
    for (std::size_t row = 0; row < m_current->layouts.size(); ++row) {
        const TagLayout &layout = *m_current->layouts[row];
        const int most = valuesPerRequest(layout.type(), m_parts.settings.maxWords);
        for (int first = 0; first < layout.definition().values; first += most) {
            Piece piece;
            piece.row = row;
            piece.firstValue = first;
            piece.values = std::min(most, layout.definition().values - first);
            piece.area = layout.area(first, piece.values);
            m_pieces.push_back(piece);
        }
    }
}

/** Rows of silent stations are not tried, and the rest of a row that failed neither. */
void TransferQueue::skipHopeless()
{
    while (m_next < m_pieces.size()) {
        const Piece &piece = m_pieces[m_next];
        const bool failed = piece.firstValue > 0 && result(piece).end != RowEnd::Done;
        if (m_silent.count(piece.area.station) == 0 && !failed)
            break;
        abandon(piece);
        ++m_next;
    }
}

/** The piece is not tried; a row of which a part has been loaded is neither old nor new. */
void TransferQueue::abandon(const Piece &piece)
{
    if (piece.unheard)
        result(piece).end = RowEnd::Unconfirmed;
    else if (result(piece).end == RowEnd::Done)
        result(piece).end = m_current->kind == TransferKind::Load ? RowEnd::Unconfirmed : RowEnd::NotTried;
}

/** Behind the last piece that one request takes together with the next one. */
std::size_t TransferQueue::blockEnd() const
{
    const Piece &first = m_pieces[m_next];
    std::size_t end = m_next + 1;
    int words = first.area.count;
    while (end < m_pieces.size() && !first.alone && !m_pieces[end].alone) {
        const Piece &piece = m_pieces[end];
        const bool touches = piece.area.station == first.area.station
                             && layout(piece).regType() == layout(first).regType()
                             && piece.area.first == first.area.first + words;
        words += piece.area.count;
        if (!touches || words > m_parts.settings.maxWords)
            break;
        ++end;
    }
    return end;
}

void TransferQueue::request()
{
    m_end = blockEnd();
    QVector<_RCP_VAR_PRO> rows;
    int offset = 0;
    for (std::size_t i = m_next; i < m_end; ++i) {
        appendRows(m_pieces[i], offset, rows);
        offset += m_pieces[i].area.count;
    }
    m_parts.driver.setRcpAddress(&rows);
    m_memory.raise(m_current->kind == TransferKind::Load ? BlockMemory::BlockWrite : BlockMemory::BlockRead);
}

/** The driver saves a row of several 32-bit values as its first one only: each gets a row of its own. */
void TransferQueue::appendRows(const Piece &piece, int offset, QVector<_RCP_VAR_PRO> &rows)
{
    const TagLayout &where = layout(piece);
    const int step = where.type().isDouble() ? 2 : piece.area.count;
    for (int words = 0; words < piece.area.count; words += step) {
        _RCP_VAR_PRO row = _RCP_VAR_PRO();
        row.userData = m_linkId;
        row.station = where.definition().station;
        row.regType = where.regType();
        row.startAddr = piece.area.first + words;
        row.count = step;
        row.hostOffset = offset + words;
        rows << row;
    }
    if (m_current->kind != TransferKind::Load)
        return;
    const std::vector<unsigned char> bytes = where.encode(m_current->raw[piece.row], piece.firstValue, piece.values);
    std::copy(bytes.begin(), bytes.end(), m_memory.wordBytes() + 2 * offset);
}

void TransferQueue::requestDone(const RequestEnd &done)
{
    if (!underWay())
        return;
    const std::size_t first = m_next;
    const std::size_t end = m_end;
    m_end = m_next; // none is under way
    if (retryAlone(done))
        return;
    m_next = end;
    int offset = 0;
    for (std::size_t i = first; i < end; ++i) {
        pieceDone(m_pieces[i], done, offset);
        offset += m_pieces[i].area.count;
    }
    if (!done.good() && !done.refused())
        m_silent.insert(done.area.station);
    if (done.good() && m_current->kind != TransferKind::Load)
        m_parts.tags.readGood(done.area, done.time, true);
    skipHopeless();
    noteProgress();
    if (m_next == m_pieces.size())
        finish();
}

/** Which of the rows of a block the slave refuses is found out by asking for each. */
bool TransferQueue::retryAlone(const RequestEnd &done)
{
    const std::size_t end = blockEnd();
    if (!done.refused() || end - m_next < 2)
        return false;
    for (std::size_t i = m_next; i < end; ++i) {
        m_pieces[i].alone = true;
        m_pieces[i].unheard = done.writtenUnheard;
    }
    return true;
}

void TransferQueue::pieceDone(const Piece &piece, const RequestEnd &done, int offset)
{
    RowResult &row = result(piece);
    if (done.good()) {
        row.end = RowEnd::Done;
        if (m_current->kind != TransferKind::Load)
            takeValues(piece, offset, done.time);
        return;
    }
    const bool begun = m_current->kind == TransferKind::Load && piece.firstValue > 0;
    const bool sent = done.kind != ReplyKind::PortLost || done.written || begun;
    const bool refused = done.changedNothing() && !piece.unheard;
    row.end = refused ? RowEnd::Refused : sent || piece.unheard ? RowEnd::Unconfirmed : RowEnd::NotTried;
    row.exceptionCode = refused ? done.exceptionCode : 0;
}

void TransferQueue::takeValues(const Piece &piece, int offset, TimePoint when)
{
    const TagLayout &where = layout(piece);
    std::vector<std::uint32_t> &values = m_values[piece.row];
    RowResult &row = result(piece);
    if (values.empty())
        row.value.time = when; // the oldest of them
    const std::vector<std::uint32_t> read = where.decode(m_memory.wordBytes() + 2 * offset, piece.values);
    values.insert(values.end(), read.begin(), read.end());
    if (static_cast<int>(values.size()) < where.definition().values)
        return;
    const TimePoint oldest = row.value.time;
    row.value = TagValue(m_current->layouts[piece.row], values);
    row.value.quality = Quality::Good;
    row.value.time = oldest;
    if (m_current->kind == TransferKind::Compare && values != m_current->raw[piece.row])
        row.end = RowEnd::Differs;
}

bool TransferQueue::stopAsked() const
{
    const Locked held(m_current->lock->mutex);
    return m_current->stopAsked;
}

void TransferQueue::noteProgress()
{
    const std::size_t rows = m_next < m_pieces.size() ? m_pieces[m_next].row : m_current->layouts.size();
    const Locked held(m_current->lock->mutex);
    m_current->rowsEnded = static_cast<int>(rows);
}

void TransferQueue::finish()
{
    m_result.cancelled = m_result.cancelled || (m_next < m_pieces.size() && stopAsked());
    for (std::size_t i = m_next; i < m_pieces.size(); ++i)
        abandon(m_pieces[i]);
    const TransferJobPtr job = m_current;
    m_current.reset();
    m_pieces.clear();
    m_next = 0;
    m_end = 0;
    endJob(m_parts, job, m_result);
}

void TransferQueue::portAway()
{
    if (underWay())
        return;
    while (m_current || begin())
        finish();
}

void TransferQueue::endAll(bool sent)
{
    for (; m_next < m_end; ++m_next) {
        if (sent)
            result(m_pieces[m_next]).end = RowEnd::Unconfirmed;
        else
            abandon(m_pieces[m_next]);
    }
    portAway();
}

} // namespace rtu
