#include "host/live/live_table.h"

#include "host/text/text_width.h"

#include <algorithm>

namespace rtu {

namespace {

const int ShortName = 8;
const int ShortestName = 4;
const int ShortValue = 18; ///< 16 binary digits
const int UsualValue = 11; ///< a 32-bit number with its sign; few scaled ones take more
const int ShortestValue = 8;
const int LongestUnit = 12;

/** The longest text that values of this format have. */
int valueWidth(const ValueFormat &format)
{
    const bool wide = format.width == 2;
    switch (format.format) {
    case Format::Bit:
        return 1;
    case Format::Hex:
        return wide ? 10 : 6;
    case Format::Binary:
        return wide ? 34 : 18;
    case Format::Float:
        return 15; // -1.17549435e-38
    default:
        return format.scale != 1.0 ? 15 : wide ? 11 : 6;
    }
}

void widen(int &width, int needed)
{
    width = std::max(width, needed);
}

/** Takes from a column what the table is too wide, down to its least width. */
void narrow(const TableLayout &layout, int &width, int least, int columns)
{
    const int surplus = layout.width() - columns;
    if (surplus > 0)
        width = std::max(std::min(width, least), width - surplus);
}

void leaveOut(const TableLayout &layout, int &width, int columns)
{
    if (layout.width() > columns)
        width = 0;
}

} // namespace

int TableLayout::width() const
{
    const int unitAndGap = unit > 0 ? unit + 1 : 0;
    const int rawAndGap = raw > 0 ? raw + 1 : 0;
    return 1 + name + 1 + address + 1 + value + unitAndGap + rawAndGap + age + mark;
}

std::string valueName(const TagRange &tag, int value)
{
    return tag.values > 1 && !tag.name.empty() ? tag.name + "[" + std::to_string(value) + "]" : tag.name;
}

TableLayout tableLayout(const std::vector<TagRange> &tags, int columns)
{
    TableLayout layout;
    for (const TagRange &tag : tags) {
        widen(layout.name, textWidth(valueName(tag, tag.values - 1)));
        widen(layout.address, textWidth(std::to_string(tag.station) + ":" + tag.label(tag.values - 1)));
        widen(layout.value, valueWidth(tag.format));
        widen(layout.unit, std::min(textWidth(tag.unit), LongestUnit));
        widen(layout.raw, tag.type.isDouble() ? 10 : 0);
    }
    const int wholeName = layout.name;
    const int wholeUnit = layout.unit;
    narrow(layout, layout.name, ShortName, columns);
    narrow(layout, layout.value, ShortValue, columns);
    leaveOut(layout, layout.raw, columns);
    narrow(layout, layout.name, ShortestName, columns);
    leaveOut(layout, layout.mark, columns);
    narrow(layout, layout.value, UsualValue, columns);
    leaveOut(layout, layout.unit, columns);
    leaveOut(layout, layout.age, columns);
    narrow(layout, layout.value, ShortestValue, columns);
    // A column that was left out may have left more than was needed.
    if (layout.width() + wholeUnit < columns)
        layout.unit = wholeUnit;
    layout.name += std::max(0, std::min(wholeName - layout.name, columns - layout.width()));
    return layout;
}

} // namespace rtu
