/**
 * @file
 * A tag that a link keeps up to date.
 */
#ifndef MODBUS_RTU_HOST_TAG_H
#define MODBUS_RTU_HOST_TAG_H

#include <modbus_rtu_host/export.h>
#include <modbus_rtu_host/tag_definition.h>
#include <modbus_rtu_host/tag_value.h>

#include <memory>

namespace rtu {

struct TagRecord;

/**
 * A handle: copies mean the same tag. It may outlive its link, and then shows the
 * last value. Every call from any thread.
 */
class MODBUS_RTU_HOST_EXPORT Tag
{
public:
    /** No tag; Link::addTag() gives real ones. */
    Tag();
    explicit Tag(std::shared_ptr<TagRecord> record);
    Tag(const Tag &other);
    Tag &operator=(const Tag &other);
    ~Tag();

    bool isNull() const { return !m_record; }
    TagDefinition definition() const;
    TagValue value() const;

    bool operator==(const Tag &other) const { return m_record == other.m_record; }
    bool operator!=(const Tag &other) const { return m_record != other.m_record; }
    /** Some order, the same as long as the tags live: for containers. */
    bool operator<(const Tag &other) const { return m_record < other.m_record; }

private:
    friend class Link;
    std::shared_ptr<TagRecord> m_record;
};

} // namespace rtu

#endif
