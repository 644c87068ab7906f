#include "host/report/value_printer.h"

#include "host/tags/tag_table.h"
#include "host/text/wall_clock.h"

#include <cstdio>

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

std::string jsonString(const std::string &text)
{
    std::string result = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') {
            result += '\\';
            result += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof(escape), "\\u%04x", static_cast<unsigned int>(c));
            result += escape;
        } else {
            result += c;
        }
    }
    return result + "\"";
}

void ValuePrinter::printHeader()
{
    if (m_form == OutputForm::Csv)
        m_out << "time,station,type,address,name,value,raw,unit,status,error\n";
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
    const std::string json = !state.known ? "null" : isJsonNumber(shown) ? shown : jsonString(shown);
    m_out << "{\"time\":" << jsonString(timeStamp(now)) << ",\"station\":" << tag.station
          << ",\"type\":" << jsonString(tag.type.name)
          << ",\"address\":" << jsonString(addressText(tag.type, tag.addressOf(value)))
          << ",\"name\":" << jsonString(nameOf(tag, value)) << ",\"value\":" << json
          << ",\"raw\":" << (state.known ? jsonString(rawText(raw, tag.format)) : "null")
          << ",\"unit\":" << jsonString(tag.unit) << ",\"status\":" << jsonString(statusOf(state))
          << ",\"error\":" << jsonString(state.error) << "}\n";
}

void ValuePrinter::printCsv(const TagRange &tag, int value, std::uint32_t raw, const TagState &state, TimePoint now)
{
    m_out << timeStamp(now) << ',' << tag.station << ',' << tag.type.name << ','
          << addressText(tag.type, tag.addressOf(value)) << ',' << csvField(nameOf(tag, value)) << ','
          << (state.known ? valueText(raw, tag.format) + "," + rawText(raw, tag.format) : ",") << ','
          << csvField(tag.unit) << ',' << statusOf(state) << ',' << csvField(state.error) << '\n';
}

} // namespace rtu
