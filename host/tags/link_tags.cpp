#include "host/tags/link_tags.h"

namespace rtu {

TagSpec specOf(const TagRange &tag)
{
    TagSpec spec(tag.station, QString::fromStdString(tag.label()));
    spec.values = tag.values;
    spec.wordOrder = tag.format.lowWordFirst ? WordOrder::LowFirst : WordOrder::HighFirst;
    return spec;
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
