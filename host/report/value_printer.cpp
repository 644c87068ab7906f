#include "host/report/value_printer.h"

#include "host/report/value_json.h"
#include "host/text/csv.h"
#include "host/text/text_width.h"
#include "host/text/wall_clock.h"

#include <algorithm>

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

/** "65535 (-1)" */
std::string bothReadings(std::uint32_t raw, const ValueFormat &format)
{
    const std::string other = signedReading(raw, format);
    return valueText(raw, format) + (other.empty() ? "" : " (" + other + ")");
}

std::string padded(const std::string &text, int width)
{
    return leftAligned(text, std::max(width, textWidth(text)));
}

/** A read that failed has brought no value, whatever was there before. */
bool hasValue(const TagState &state)
{
    return state.known && !state.failed;
}

} // namespace

void ValuePrinter::printHeader()
{
    if (m_form == OutputForm::Csv)
        m_out << "time,station,type,address,name,value,raw,unit,status,error,old\n";
}

void ValuePrinter::print(const TagRange &tag, const ValueSpan &values, const TagState &state, TimePoint time)
{
    for (int value = values.first; value < values.end(); ++value) {
        const std::uint32_t bits = state.raw[static_cast<std::size_t>(value)];
        if (m_form == OutputForm::Json)
            printJson(tag, value, bits, state, time);
        else if (m_form == OutputForm::Csv)
            printCsv(tag, value, bits, state, time);
        else
            printLine(tag, value, bits, state);
    }
}

void ValuePrinter::printLine(const TagRange &tag, int value, std::uint32_t raw, const TagState &state)
{
    std::string text = padded(std::to_string(tag.station) + ":" + tag.label(value), 16) + " ";
    if (!tag.name.empty())
        text += padded(nameOf(tag, value), 16) + " ";
    text += hasValue(state) ? bothReadings(raw, tag.format) + (tag.unit.empty() ? "" : " " + tag.unit) : "-";
    if (state.failed)
        text += "   error " + state.error;
    else if (!state.error.empty())
        text += "   " + state.error;
    m_out << text << '\n';
}

void ValuePrinter::printJson(const TagRange &tag, int value, std::uint32_t raw, const TagState &state, TimePoint time)
{
    Json row;
    row["time"] = timeStamp(time);
    row["station"] = tag.station;
    row["type"] = tag.type.name;
    row["address"] = addressText(tag.type, tag.addressOf(value));
    row["name"] = nameOf(tag, value);
    row["value"] = hasValue(state) ? jsonValue(raw, tag.format) : Json();
    row["raw"] = hasValue(state) ? Json(rawText(raw, tag.format)) : Json();
    row["unit"] = tag.unit;
    row["status"] = statusOf(state);
    row["error"] = state.error;
    m_out << jsonText(row) << '\n';
}

void ValuePrinter::printCsv(const TagRange &tag, int value, std::uint32_t raw, const TagState &state, TimePoint time)
{
    m_out << timeStamp(time) << ',' << tag.station << ',' << tag.type.name << ','
          << addressText(tag.type, tag.addressOf(value)) << ',' << csvField(nameOf(tag, value)) << ','
          << (hasValue(state) ? valueText(raw, tag.format) + "," + rawText(raw, tag.format) : ",") << ','
          << csvField(tag.unit) << ',' << statusOf(state) << ',' << csvField(state.error) << ",\n";
}

} // namespace rtu
