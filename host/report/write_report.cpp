#include "host/report/write_report.h"

#include "host/report/value_json.h"
#include "host/text/csv.h"
#include "host/text/wall_clock.h"

namespace rtu {

namespace {

std::string endText(WriteEnd end)
{
    switch (end) {
    case WriteEnd::Acknowledged:
        return "acknowledged";
    case WriteEnd::Refused:
        return "refused";
    case WriteEnd::Unconfirmed:
        return "unconfirmed";
    case WriteEnd::Differs:
        return "reads otherwise";
    case WriteEnd::Replaced:
        return "replaced";
    case WriteEnd::Cancelled:
        return "taken back";
    case WriteEnd::Broadcast:
        return "broadcast";
    case WriteEnd::NotSent:
    case WriteEnd::KeptLocal:
        break;
    }
    return "not sent";
}

/** A long write that fails in the middle has reached the slave in part. */
WriteEnd endOf(const WriteResult &result, int value)
{
    return value < result.acknowledged && result.end != WriteEnd::Differs ? WriteEnd::Acknowledged : result.end;
}

Written writtenOf(const TagWrite &write, int value, const TagState &old, const WriteResult &result, TimePoint now)
{
    const std::size_t i = static_cast<std::size_t>(value);
    const WriteEnd end = endOf(result, value);
    const std::string error = end == WriteEnd::Acknowledged ? std::string() : result.text.toStdString();
    return Written{write.tag,
                   value,
                   write.raw[i],
                   old.known,
                   old.known ? old.raw[i] : 0,
                   endText(end),
                   result.end == WriteEnd::Acknowledged,
                   error,
                   now};
}

std::string lineOf(const Written &written, bool verified)
{
    const TagRange &tag = written.tag;
    return std::to_string(tag.station) + ":" + tag.label(written.value) + ": "
           + (written.oldKnown ? valueText(written.oldRaw, tag.format) : "?") + " -> "
           + valueText(written.raw, tag.format) + ", " + written.end
           + (verified && written.whole ? ", reads the same" : "");
}

} // namespace

std::string writeText(const TagWrite &write, const TagState &old, const WriteResult &result, bool verified)
{
    return lineOf(writtenOf(write, 0, old, result, TimePoint()), verified);
}

std::string writeError(const TagWrite &write, const WriteResult &result)
{
    switch (result.end) {
    case WriteEnd::Refused:
    case WriteEnd::NotSent:
    case WriteEnd::Differs:
        return write.tag.place() + " was not written: " + result.text.toStdString();
    case WriteEnd::Unconfirmed:
        return write.tag.place() + " may not have been written: " + result.text.toStdString();
    default:
        return std::string();
    }
}

void WriteReport::print(const TagWrite &write, const TagState &old, const WriteResult &result, TimePoint now)
{
    for (int value = 0; value < write.tag.values; ++value) {
        const Written written = writtenOf(write, value, old, result, now);
        if (m_form == OutputForm::Json)
            printJson(written);
        else if (m_form == OutputForm::Csv)
            printCsv(written);
        else
            printLine(written);
    }
}

void WriteReport::printLine(const Written &written)
{
    m_out << "-- " << lineOf(written, m_verified) << '\n';
}

void WriteReport::printJson(const Written &written)
{
    const TagRange &tag = written.tag;
    Json row;
    row["time"] = timeStamp(written.time);
    row["station"] = tag.station;
    row["type"] = tag.type.name;
    row["address"] = addressText(tag.type, tag.addressOf(written.value));
    row["name"] = tag.name;
    row["old"] = written.oldKnown ? jsonValue(written.oldRaw, tag.format) : Json();
    row["value"] = jsonValue(written.raw, tag.format);
    row["raw"] = rawText(written.raw, tag.format);
    row["unit"] = tag.unit;
    row["status"] = written.end;
    row["error"] = written.error;
    m_out << jsonText(row) << '\n';
}

void WriteReport::printCsv(const Written &written)
{
    const TagRange &tag = written.tag;
    m_out << timeStamp(written.time) << ',' << tag.station << ',' << tag.type.name << ','
          << addressText(tag.type, tag.addressOf(written.value)) << ',' << csvField(tag.name) << ','
          << valueText(written.raw, tag.format) << ',' << rawText(written.raw, tag.format) << ',' << csvField(tag.unit)
          << ',' << written.end << ',' << csvField(written.error) << ','
          << (written.oldKnown ? valueText(written.oldRaw, tag.format) : std::string()) << '\n';
}

} // namespace rtu
