#include "host/commands/heard_records.h"

#include "host/listen/request_fields.h"
#include "host/report/trace.h"

namespace rtu {

/** A row for each register or coil. */
void HeardRecords::onTransaction(const Transaction &t)
{
    m_next.onTransaction(t);
    if (t.regType.isEmpty() || m_records.empty())
        return;
    const std::vector<int> values = valuesOf(t);
    for (int offset = 0; offset < t.count; ++offset) {
        const std::size_t i = static_cast<std::size_t>(offset);
        const TagRange tag = tagAt(t, offset);
        const int *const value = i < values.size() ? &values[i] : nullptr;
        if (value && !t.isRead)
            printWritten(tag, t, *value);
        else
            printValue(tag, t, value);
    }
    for (Records *records : m_records)
        records->flush();
}

void HeardRecords::notePort(bool open, TimePoint now)
{
    for (Records *records : m_records) {
        records->printEvent(LineEvent{now, 0, open ? LineChange::Back : LineChange::Lost, std::string()});
        records->flush();
    }
}

TagRange HeardRecords::tagAt(const Transaction &t, int offset) const
{
    TagRange tag;
    tag.station = t.station;
    tag.type.name = t.regType.toStdString();
    tag.type.width = tag.type.name == "0x" || tag.type.name == "1x" ? 0 : 1;
    tag.address = t.startAddr + offset;
    tag.format.width = tag.type.width;
    tag.format.format = formatFromName("", tag.type);
    HeardPlace place;
    place.station = t.station;
    place.type = tag.type.name;
    place.address = tag.address;
    const auto name = m_names.find(place);
    if (name != m_names.end())
        tag.name = name->second;
    return tag;
}

/** @param value null: an exception or no reply, to a read or a write */
void HeardRecords::printValue(const TagRange &tag, const Transaction &t, const int *value)
{
    TagState state;
    state.known = value != nullptr;
    state.failed = !state.known;
    state.raw.assign(1, value ? static_cast<std::uint32_t>(*value) : 0);
    if (state.failed)
        state.error = t.kind == ReplyKind::Silent ? "no reply" : replyMeaning(t);
    for (Records *records : m_records)
        records->printValues(tag, ValueSpan{0, 1}, state, t.finished);
}

void HeardRecords::printWritten(const TagRange &tag, const Transaction &t, int value)
{
    WriteResult result;
    result.time = t.finished;
    result.end = t.end == ReplyEnd::NoneExpected ? WriteEnd::Broadcast : WriteEnd::Acknowledged;
    result.acknowledged = 1;
    const TagWrite write{tag, {static_cast<std::uint32_t>(value)}};
    for (Records *records : m_records)
        records->printWrite(write, TagState(), result, t.finished);
}

} // namespace rtu
