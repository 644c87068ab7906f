#include "host/report/records.h"

#include "host/text/csv.h"
#include "host/text/json.h"
#include "host/text/wall_clock.h"

namespace rtu {

namespace {

const char *wordOf(LineChange change)
{
    switch (change) {
    case LineChange::Lost:
        return "lost";
    case LineChange::Silent:
        return "silent";
    default:
        return "back";
    }
}

std::string statusOf(const LineEvent &event)
{
    return std::string(event.station == 0 ? "port " : "station ") + wordOf(event.change);
}

std::string eventLine(const LineEvent &event)
{
    const std::string what = event.station == 0 ? "port " : "station " + std::to_string(event.station) + " ";
    return "-- " + timeOfDay(event.time) + " " + what + wordOf(event.change);
}

/** The columns of a value, so that one reader takes both; what an event has none of is empty. */
std::string eventCsv(const LineEvent &event)
{
    return timeStamp(event.time) + "," + (event.station > 0 ? std::to_string(event.station) : "") + ",,,,,,,"
           + statusOf(event) + "," + csvField(event.error) + ",";
}

std::string eventJson(const LineEvent &event)
{
    return jsonText({{"time", timeStamp(event.time)},
                     {"station", event.station > 0 ? Json(event.station) : Json()},
                     {"type", nullptr},
                     {"address", nullptr},
                     {"name", ""},
                     {"value", nullptr},
                     {"raw", nullptr},
                     {"unit", ""},
                     {"status", statusOf(event)},
                     {"error", event.error}});
}

} // namespace

void Records::printHeader()
{
    m_values.printHeader();
}

void Records::beginReply(TimePoint time)
{
    if (m_timed && m_form == OutputForm::Lines)
        m_out << "-- " << timeOfDay(time) << '\n';
}

void Records::printValues(const TagRange &tag, const ValueSpan &values, const TagState &state, TimePoint time)
{
    m_values.print(tag, values, state, time);
}

void Records::printWrite(const TagWrite &write, const TagState &old, const WriteResult &result, TimePoint time)
{
    if (!m_quiet || m_form != OutputForm::Lines)
        m_writes.print(write, old, result, time);
}

void Records::printEvent(const LineEvent &event)
{
    if (m_form == OutputForm::Json)
        m_out << eventJson(event) << '\n';
    else if (m_form == OutputForm::Csv)
        m_out << eventCsv(event) << '\n';
    else if (!m_quiet)
        m_out << eventLine(event) << '\n';
}

} // namespace rtu
