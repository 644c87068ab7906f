/**
 * @file
 * What a link keeps of a tag.
 */
#ifndef KIT_TAGS_TAG_RECORD_H
#define KIT_TAGS_TAG_RECORD_H

#include "kit/link/link_lock.h"
#include "kit/tags/tag_layout.h"

#include <modbus_rtu_host/tag_value.h>

#include <memory>
#include <vector>

namespace rtu {

/** A part of a tag that one request reads whole. */
struct TagPiece
{
    int firstValue = 0;
    int values = 0;
    Area area;
    Quality quality = Quality::NeverRead;
    int exceptionCode = 0;
    TimePoint time;
    bool stale = false; ///< another request brought news of a part of it
};

struct TagRecord : std::enable_shared_from_this<TagRecord>
{
    std::shared_ptr<LinkLock> lock;
    std::shared_ptr<const TagLayout> layout;
    TagValue shown; ///< guarded by the lock

    // Of the link's thread alone:
    std::vector<TagPiece> pieces;
    std::vector<std::uint32_t> written; ///< the newest value asked to be written; shown while writes are under way
    int writes = 0;                     ///< under way
    bool alone = false;                 ///< left out of the plan: its block is refused, it alone is not
    TimePoint due;                      ///< of a tag that is not in the plan
    bool hadTurn = false;               ///< of a tag alone: in this round

    /** Read by the cyclic plan. */
    bool isPlanned() const { return !alone && layout->definition().pace == Duration(0); }
};

} // namespace rtu

#endif
