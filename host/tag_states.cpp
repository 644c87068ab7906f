#include "tag_states.h"

#include "driver_session.h"

#include <algorithm>
#include <tuple>

namespace rtu {

namespace {

/** "4x_double" and "4x_bit" live in the registers of "4x". */
std::string areaOf(const QString &regType)
{
    const std::string text = regType.toStdString();
    return text.substr(0, text.find('_'));
}

bool isBitOfRegister(const QString &regType)
{
    return regType.endsWith(QLatin1String("_bit"));
}

} // namespace

TagStates::Piece TagStates::pieceOf(const KEY_ADDRESS &key, std::size_t tag)
{
    Piece piece;
    piece.station = key.station;
    piece.area = areaOf(key.regType);
    piece.first = key.startAddr;
    piece.count = key.count;
    piece.tag = tag;
    if (isBitOfRegister(key.regType)) {
        piece.first = key.startAddr / 16;
        piece.count = (key.startAddr % 16 + key.count + 15) / 16;
    }
    return piece;
}

bool TagStates::before(const Piece &left, const Piece &right)
{
    return std::tie(left.station, left.area, left.first) < std::tie(right.station, right.area, right.first);
}

TagStates::TagStates(const std::vector<TagRange> &tags, int maxWords) : m_piecesOfTag(tags.size()), m_tags(tags)
{
    for (std::size_t tag = 0; tag < tags.size(); ++tag) {
        const QList<KEY_ADDRESS> keys = keysOf(std::vector<TagRange>(1, tags[tag]), maxWords);
        for (int i = 0; i < keys.size(); ++i)
            m_pieces.push_back(pieceOf(keys.at(i), tag));
        m_changed.emplace_back(static_cast<std::size_t>(tags[tag].values));
        m_tagsOfType[std::make_pair(tags[tag].station, tags[tag].type.name)].push_back(tag);
    }
    std::stable_sort(m_pieces.begin(), m_pieces.end(), before);
    for (std::size_t i = 0; i < m_pieces.size(); ++i) {
        m_piecesOfTag[m_pieces[i].tag].push_back(i);
        int &longest = m_longest[std::make_pair(m_pieces[i].station, m_pieces[i].area)];
        longest = std::max(longest, m_pieces[i].count);
    }
}

void TagStates::add(const Transaction &t)
{
    // The read half of a bit write only serves the write; the cache does not take its values.
    const bool judged = t.verdict == VerdictGood || t.verdict == VerdictGivenUp;
    if (!t.isRead || !judged || isBitOfRegister(t.regType))
        return;
    const std::lock_guard<std::mutex> lock(m_mutex);
    Piece range;
    range.station = t.station;
    range.area = areaOf(t.regType);
    const auto longest = m_longest.find(std::make_pair(range.station, range.area));
    if (longest == m_longest.end())
        return;
    range.first = t.startAddr - longest->second; // no piece that begins earlier reaches into the range
    for (auto piece = std::lower_bound(m_pieces.begin(), m_pieces.end(), range, before);
         piece != m_pieces.end() && piece->station == range.station && piece->area == range.area
         && piece->first < t.startAddr + t.count;
         ++piece) {
        const bool inside = piece->first >= t.startAddr && piece->first + piece->count <= t.startAddr + t.count;
        const bool overlaps = piece->first + piece->count > t.startAddr;
        if (t.good() ? inside : overlaps)
            update(*piece, t);
    }
}

void TagStates::update(Piece &piece, const Transaction &t)
{
    piece.failed = !t.good();
    piece.error = t.good() ? std::string() : t.information.toStdString();
    if (!t.good())
        return;
    if (piece.known) {
        m_ages.add(t.finished - piece.read);
        m_agesOfStation[piece.station].add(t.finished - piece.read);
    }
    piece.known = true;
    piece.read = t.finished;
}

void TagStates::add(const ValueChange &change, TimePoint when)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto tags = m_tagsOfType.find(std::make_pair(change.station, change.regType.toStdString()));
    if (tags == m_tagsOfType.end())
        return;
    ++m_changes;
    for (std::size_t index : tags->second) {
        const TagRange &tag = m_tags[index];
        const int offset = change.address - tag.address;
        if (offset >= 0 && offset < tag.count())
            m_changed[index][static_cast<std::size_t>(offset / tag.type.unitsPerValue())] = when;
    }
}

TagState TagStates::state(std::size_t tag) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    TagState state;
    state.known = true;
    state.read = TimePoint::max();
    for (std::size_t index : m_piecesOfTag[tag]) {
        const Piece &piece = m_pieces[index];
        state.known = state.known && piece.known;
        state.read = std::min(state.read, piece.read);
        if (piece.failed && !state.failed) {
            state.failed = true;
            state.error = piece.error;
        }
    }
    return state;
}

TimePoint TagStates::changed(std::size_t tag, int value) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_changed[tag][static_cast<std::size_t>(value)];
}

std::uint64_t TagStates::changes() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_changes;
}

Quantiles TagStates::ages() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_ages;
}

Quantiles TagStates::ages(int station) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_agesOfStation.find(station);
    return found == m_agesOfStation.end() ? Quantiles() : found->second;
}

} // namespace rtu
