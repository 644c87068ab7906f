#include <modbus_rtu_host/tag.h>

#include "kit/tags/tag_record.h"

namespace rtu {

TagDefinition::TagDefinition(int slave, const QString &where, TagFormat how)
    : station(slave)
    , address(where)
    , format(how)
{
}

TagValue::TagValue() = default;
TagValue::TagValue(std::shared_ptr<const TagLayout> layout, std::vector<std::uint32_t> raw)
    : m_layout(std::move(layout))
    , m_raw(std::move(raw))
{
}
TagValue::TagValue(const TagValue &other) = default;
TagValue::TagValue(TagValue &&other) noexcept = default;
TagValue &TagValue::operator=(const TagValue &other) = default;
TagValue &TagValue::operator=(TagValue &&other) noexcept = default;
TagValue::~TagValue() = default;

int TagValue::count() const
{
    return static_cast<int>(m_raw.size());
}

double TagValue::number(int index) const
{
    return index >= 0 && index < count() ? m_layout->number(m_raw[static_cast<std::size_t>(index)]) : 0.0;
}

QString TagValue::text() const
{
    return m_layout ? m_layout->text(m_raw) : QString();
}

const std::vector<std::uint32_t> &TagValue::raw() const
{
    return m_raw;
}

Tag::Tag() = default;
Tag::Tag(std::shared_ptr<TagRecord> record) : m_record(std::move(record)) {}
Tag::Tag(const Tag &other) = default;
Tag &Tag::operator=(const Tag &other) = default;
Tag::~Tag() = default;

TagDefinition Tag::definition() const
{
    return m_record ? m_record->layout->definition() : TagDefinition();
}

TagValue Tag::value() const
{
    if (!m_record)
        return TagValue();
    const Locked held(m_record->lock->mutex);
    return m_record->shown;
}

} // namespace rtu
