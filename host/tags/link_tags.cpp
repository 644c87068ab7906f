#include "host/tags/link_tags.h"

namespace rtu {

TagDefinition definitionOf(const TagRange &tag)
{
    TagDefinition definition(tag.station, QString::fromStdString(tag.label()));
    definition.values = tag.values;
    definition.wordOrder = tag.format.lowWordFirst ? WordOrder::LowFirst : WordOrder::HighFirst;
    return definition;
}

std::vector<double> numbersOf(const std::vector<std::uint32_t> &raw)
{
    return std::vector<double>(raw.begin(), raw.end());
}

TagRange singleValue(const TagRange &tag, int value)
{
    TagRange single = tag;
    single.address = tag.addressOf(value);
    single.values = 1;
    return single;
}

} // namespace rtu
