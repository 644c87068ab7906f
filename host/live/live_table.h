/**
 * @file
 * How wide the columns of the tag table are in the live view.
 */
#ifndef RTU_HOST_LIVE_TABLE_H
#define RTU_HOST_LIVE_TABLE_H

#include "host/tags/tag.h"

#include <string>
#include <vector>

namespace rtu {

/** Widths in columns of the screen; 0 leaves a column of the table out. */
struct TableLayout
{
    int name = 4;
    int address = 7;
    int value = 8;
    int unit = 4;
    int raw = 6;
    int age = 9;
    int mark = 7; ///< 0: a sign in front of the name instead

    /** Everything together, with the gaps between. */
    int width() const;
};

/**
 * As wide as the tags need. Where the screen has less, long names are cut first
 * and 32 binary digits, then the raw value goes, the mark becomes a sign, then unit
 * and age go; the value itself stays longest. The unit comes back where the age
 * has left room for it.
 */
TableLayout tableLayout(const std::vector<TagRange> &tags, int columns);

/** Name of one value of a tag, with its index where there are several. */
std::string valueName(const TagRange &tag, int value);

} // namespace rtu

#endif
