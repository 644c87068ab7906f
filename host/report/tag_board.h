/**
 * @file
 * The tags of a link as they are shown: values, how fresh and how good they are,
 * when they changed and what went wrong.
 */
#ifndef RTU_HOST_TAG_BOARD_H
#define RTU_HOST_TAG_BOARD_H

#include "host/tags/tag.h"

#include <modbus_rtu_host/link.h>

#include <mutex>
#include <string>
#include <vector>

namespace rtu {

struct TagState
{
    std::vector<std::uint32_t> raw; ///< stored bits, one a value
    bool known = false;             ///< read at least once
    TimePoint read;                 ///< when the oldest of the replies that brought the values arrived
    bool failed = false;            ///< the last read of some of the values was refused or not answered
    std::string error;              ///< what went wrong, where something did
};

/** Made before the link runs, and not asked for anything new by it once it is gone. */
class TagBoard
{
public:
    /** Has the link watch the tags. @throws std::invalid_argument when it refuses one */
    TagBoard(Link &link, Line &line, const std::vector<TagRange> &tags);
    TagBoard(const TagBoard &) = delete;
    TagBoard &operator=(const TagBoard &) = delete;

    // From any thread:
    const std::vector<TagRange> &tags() const { return m_tags; }
    const Tag &handle(std::size_t tag) const { return m_handles[tag]; }
    TagState state(std::size_t tag) const;
    /** When the value was last seen to change; TimePoint() for never. @param value zero-based */
    TimePoint changed(std::size_t tag, int value) const;

private:
    void noteChange(const TagChange &change);
    void noteRead(const Transaction &transaction);

    Line &m_line;
    std::vector<TagRange> m_tags;
    std::vector<Tag> m_handles;
    mutable std::mutex m_mutex;
    std::vector<std::vector<TimePoint>> m_changed; ///< guarded, as what follows
    std::vector<std::string> m_errors;             ///< of each tag, the last one
};

} // namespace rtu

#endif
