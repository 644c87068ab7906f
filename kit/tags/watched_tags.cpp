#include "kit/tags/watched_tags.h"

#include <algorithm>

namespace rtu {

namespace {

TagValue valueOf(const TagRecord &record, const std::vector<std::uint32_t> &raw)
{
    TagValue value(record.layout, raw);
    const TagPiece *worst = &record.pieces.front();
    value.time = worst->time;
    for (const TagPiece &piece : record.pieces) {
        if (piece.quality > worst->quality)
            worst = &piece;
        value.time = std::min(value.time, piece.time);
    }
    value.quality = worst->quality;
    value.exceptionCode = worst->exceptionCode;
    if (record.writes > 0)
        value.quality = Quality::Unconfirmed;
    return value;
}

bool differ(const TagValue &left, const TagValue &right)
{
    return left.quality != right.quality || left.exceptionCode != right.exceptionCode || left.raw() != right.raw();
}

} // namespace

int valuesPerRequest(const RegisterType &type, int maxWords)
{
    if (type.bitInRegister)
        return (maxWords - 1) * 16; // the first bit may be anywhere in its register
    return type.isBit() ? 8 * maxWords : maxWords / type.unitsPerValue();
}

WatchedTags::WatchedTags(DriverLibrary &driver, int maxWords, ChangeListener listener)
    : m_driver(driver)
    , m_maxWords(maxWords)
    , m_listener(std::move(listener))
{
}

void WatchedTags::cut(TagRecord &record) const
{
    const int most = valuesPerRequest(record.layout->type(), m_maxWords);
    const int values = record.layout->definition().values;
    for (int first = 0; first < values; first += most) {
        TagPiece piece;
        piece.firstValue = first;
        piece.values = std::min(most, values - first);
        piece.area = record.layout->area(first, piece.values);
        record.pieces.push_back(piece);
    }
}

void WatchedTags::add(const TagRecordPtr &record)
{
    cut(*record);
    m_records.push_back(record);
    m_indexed = false;
}

void WatchedTags::remove(const TagRecordPtr &record)
{
    m_records.erase(std::remove(m_records.begin(), m_records.end(), record), m_records.end());
    m_indexed = false;
}

/** Done when it is next needed: a screen brings and takes its tags by the hundred. */
void WatchedTags::updateIndex()
{
    if (m_indexed)
        return;
    m_indexed = true;
    m_places.clear();
    m_longest = 0;
    for (const TagRecordPtr &record : m_records) {
        for (std::size_t i = 0; i < record->pieces.size(); ++i) {
            const Area &area = record->pieces[i].area;
            Place place;
            place.first = area.first;
            place.record = record;
            place.piece = i;
            m_longest = std::max(m_longest, area.count);
            m_places[TableKey(area.station, area.table)].push_back(place);
        }
    }
    for (auto &table : m_places)
        std::stable_sort(table.second.begin(), table.second.end(),
                         [](const Place &left, const Place &right) { return left.first < right.first; });
}

/** What came by chance before the driver watched a place told nothing of changes: the next read is looked at. */
QList<KEY_ADDRESS> WatchedTags::planKeys()
{
    QList<KEY_ADDRESS> keys;
    for (const TagRecordPtr &record : m_records) {
        const TagLayout &layout = *record->layout;
        if (!record->isPlanned())
            continue;
        for (TagPiece &piece : record->pieces) {
            piece.stale = true;
            KEY_ADDRESS key = KEY_ADDRESS();
            key.station = layout.definition().station;
            key.regType = layout.regType();
            key.startAddr = layout.addressOf(piece.firstValue);
            key.count = piece.values * layout.type().unitsPerValue();
            keys << key;
        }
    }
    return keys;
}

/** Calls action(record, piece) for each piece that has something in the area. */
template <typename Action>
void WatchedTags::forPieces(const Area &area, Action action)
{
    updateIndex();
    const auto table = m_places.find(TableKey(area.station, area.table));
    if (table == m_places.end())
        return;
    auto place = std::lower_bound(table->second.begin(), table->second.end(), area.first - m_longest,
                                  [](const Place &left, int first) { return left.first < first; });
    for (; place != table->second.end() && place->first < area.end(); ++place) {
        TagPiece &piece = place->record->pieces[place->piece];
        if (area.overlaps(piece.area))
            action(*place->record, piece);
    }
}

/** The same for those that lie whole in the area, as a piece does in the block that reads it. */
template <typename Action>
void WatchedTags::forCovered(const Area &area, Action action)
{
    forPieces(area, [&](TagRecord &record, TagPiece &piece) {
        if (area.covers(piece.area))
            action(record, piece);
    });
}

std::vector<TagRecordPtr> WatchedTags::inArea(const Area &area)
{
    std::vector<TagRecordPtr> found;
    forPieces(area, [&](TagRecord &record, const TagPiece &) {
        const TagRecordPtr shared = record.shared_from_this();
        if (std::find(found.begin(), found.end(), shared) == found.end())
            found.push_back(shared);
    });
    return found;
}

void WatchedTags::readGood(const Area &area, TimePoint when, bool changed)
{
    forPieces(area, [&](TagRecord &record, TagPiece &piece) {
        if (!area.covers(piece.area)) { // shown when it is read whole: half of a value is none
            piece.stale = piece.stale || changed;
            return;
        }
        // The driver reports changes of what is planned alone.
        const bool news = changed || piece.stale || piece.quality != Quality::Good || !record.isPlanned();
        piece.stale = false;
        piece.quality = Quality::Good;
        piece.exceptionCode = 0;
        piece.time = when;
        if (news)
            show(record, true);
        else
            touch(record);
    });
}

void WatchedTags::mark(TagPiece &piece, Quality quality, int exceptionCode)
{
    piece.quality = quality;
    piece.exceptionCode = exceptionCode;
}

void WatchedTags::readRefused(const Area &area, int exceptionCode, bool (*asked)(const TagRecord &))
{
    forCovered(area, [&](TagRecord &record, TagPiece &piece) {
        if (!piece.area.covers(area) && !asked(record))
            return;
        mark(piece, Quality::Refused, exceptionCode);
        show(record, false);
    });
}

void WatchedTags::readSilent(const Area &area)
{
    forCovered(area, [&](TagRecord &record, TagPiece &piece) {
        mark(piece, Quality::StationSilent, 0);
        show(record, false);
    });
}

void WatchedTags::recordSilent(const TagRecordPtr &record)
{
    for (TagPiece &piece : record->pieces)
        mark(piece, Quality::StationSilent, 0);
    show(*record, false);
}

void WatchedTags::stationSilent(int station)
{
    for (const TagRecordPtr &record : m_records) {
        if (record->layout->definition().station == station)
            recordSilent(record);
    }
}

void WatchedTags::allSilent()
{
    for (const TagRecordPtr &record : m_records)
        recordSilent(record);
}

void WatchedTags::showWritten(const TagRecordPtr &record, const std::vector<std::uint32_t> &raw)
{
    ++record->writes;
    record->written = raw;
    show(*record, false);
}

void WatchedTags::writeEnded(const TagRecordPtr &record, bool acknowledged, bool unconfirmed, TimePoint when)
{
    --record->writes;
    for (TagPiece &piece : record->pieces) {
        if (acknowledged)
            piece.time = when;
        if (acknowledged || unconfirmed)
            mark(piece, acknowledged ? Quality::Good : Quality::Unconfirmed, 0);
    }
    if (record->writes > 0)
        return; // a newer one is shown
    show(*record, true);
}

void WatchedTags::refresh(const Area &area)
{
    for (const TagRecordPtr &record : inArea(area))
        show(*record, true);
}

void WatchedTags::writeHanded(const Area &area)
{
    m_writing = true;
    m_writtenArea = area;
    refresh(area);
}

void WatchedTags::writeLeft(const Area &area, bool unconfirmed)
{
    m_writing = false;
    forPieces(area, [unconfirmed](const TagRecord &, TagPiece &piece) {
        if (unconfirmed && piece.quality == Quality::Good)
            piece.quality = Quality::Unconfirmed;
    });
    refresh(area);
}

bool WatchedTags::isBeingWritten(const TagRecord &record) const
{
    return m_writing && std::any_of(record.pieces.begin(), record.pieces.end(), [this](const TagPiece &piece) {
               return m_writtenArea.overlaps(piece.area);
           });
}

/** The same value came again: only the time moves on. */
void WatchedTags::touch(TagRecord &record)
{
    TimePoint oldest = record.pieces.front().time;
    for (const TagPiece &piece : record.pieces)
        oldest = std::min(oldest, piece.time);
    const Locked held(record.lock->mutex);
    record.shown.time = oldest;
}

/** Brings what callers see up to date, and reports it where it differs. */
void WatchedTags::show(TagRecord &record, bool readCache)
{
    const std::vector<std::uint32_t> raw = record.writes > 0 ? record.written
                                           : readCache       ? cachedValues(m_driver, *record.layout)
                                                             : record.shown.raw();
    TagChange change;
    change.after = valueOf(record, raw);
    if (change.after.quality == Quality::Good && isBeingWritten(record))
        change.after.quality = Quality::Unconfirmed;
    {
        const Locked held(record.lock->mutex);
        change.before = record.shown;
        record.shown = change.after;
    }
    if (!differ(change.before, change.after))
        return;
    change.tag = Tag(record.shared_from_this());
    m_listener(change);
}

} // namespace rtu
