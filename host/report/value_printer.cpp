#include "host/report/value_printer.h"

#include "host/text/json.h"
#include "host/text/csv.h"
#include "host/tags/tag_table.h"
#include "host/text/wall_clock.h"

namespace rtu {

namespace {

std::string nameOf(const TagRange &tag, int value)
{
    if (tag.name.empty() || tag.values == 1)
        return tag.name;
    return tag.name + "[" + std::to_string(value) + "]";
}

std::string statusOf(const TagState &state)
{
    if (state.failed)
        return "error";
    return state.known ? "ok" : "unknown";
}

std::string padded(std::string text, std::size_t width)
{
    if (text.size() < width)
        text.append(width - text.size(), ' ');
    return text;
}

} // namespace

void ValuePrinter::printHeader()
{
    if (m_form == OutputForm::Csv)
        m_out << "time,station,type,address,name,value,raw,unit,status,error,old\n";
}

void ValuePrinter::print(const TagRange &tag, const TagState &state, TimePoint now)
{
    for (int value = 0; value < tag.values; ++value) {
        const std::uint32_t bits = state.raw[static_cast<std::size_t>(value)];
        if (m_form == OutputForm::Json)
            printJson(tag, value, bits, state, now);
        else if (m_form == OutputForm::Csv)
            printCsv(tag, value, bits, state, now);
        else
            printLine(tag, value, bits, state);
    }
}

void ValuePrinter::printLine(const TagRange &tag, int value, std::uint32_t raw, const TagState &state)
{
    std::string text = padded(std::to_string(tag.station) + ":" + tag.label(value), 16) + " ";
    if (!tag.name.empty())
        text += padded(nameOf(tag, value), 16) + " ";
    text += state.known ? valueText(raw, tag.format) + (tag.unit.empty() ? "" : " " + tag.unit) : "-";
    if (state.failed)
        text += "   error " + state.error;
    m_out << text << '\n';
}

void ValuePrinter::printJson(const TagRange &tag, int value, std::uint32_t raw, const TagState &state, TimePoint now)
{
    const std::string shown = valueText(raw, tag.format);
    Json row;
    row["time"] = timeStamp(now);
    row["station"] = tag.station;
    row["type"] = tag.type.name;
    row["address"] = addressText(tag.type, tag.addressOf(value));
    row["name"] = nameOf(tag, value);
    row["value"] = !state.known ? Json() : isJsonNumber(shown) ? Json::parse(shown) : Json(shown);
    row["raw"] = state.known ? Json(rawText(raw, tag.format)) : Json();
    row["unit"] = tag.unit;
    row["status"] = statusOf(state);
    row["error"] = state.error;
    m_out << jsonText(row) << '\n';
}

void ValuePrinter::printCsv(const TagRange &tag, int value, std::uint32_t raw, const TagState &state, TimePoint now)
{
    m_out << timeStamp(now) << ',' << tag.station << ',' << tag.type.name << ','
          << addressText(tag.type, tag.addressOf(value)) << ',' << csvField(nameOf(tag, value)) << ','
          << (state.known ? valueText(raw, tag.format) + "," + rawText(raw, tag.format) : ",") << ','
          << csvField(tag.unit) << ',' << statusOf(state) << ',' << csvField(state.error) << ",\n";
}

} // namespace rtu
