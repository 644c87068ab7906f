#include "host/report/transfer_report.h"

#include "host/report/trace.h"
#include "host/report/value_json.h"
#include "host/text/csv.h"
#include "host/text/wall_clock.h"

#include <algorithm>

namespace rtu {

namespace {

using Raw = std::vector<std::uint32_t>;

std::string rowText(const RowResult &row)
{
    switch (row.end) {
    case RowEnd::Refused:
        return "refused with exception " + std::to_string(row.exceptionCode);
    case RowEnd::Unconfirmed:
        return "no answer";
    case RowEnd::Done:
        return "taken by the slave";
    default:
        return "not tried";
    }
}

const char *outcomeOf(RowEnd end, TransferKind kind)
{
    switch (end) {
    case RowEnd::Done:
        return kind == TransferKind::Read ? "read" : kind == TransferKind::Write ? "written" : "same";
    case RowEnd::Differs:
        return "differs";
    case RowEnd::Refused:
        return "refused";
    case RowEnd::Unconfirmed:
        return "unconfirmed";
    default:
        return "not tried";
    }
}

/** Empty for what came to its end. */
std::string causeOf(const RowResult &row, bool stopped)
{
    switch (row.end) {
    case RowEnd::Refused:
        return exceptionText(row.exceptionCode);
    case RowEnd::Unconfirmed:
        return "no answer";
    case RowEnd::NotTried:
        return stopped ? "the transfer was stopped, or its station is silent" : "its station is silent";
    default:
        return std::string();
    }
}

/** One row as programs read it. What nobody knows is empty. */
struct RowFacts
{
    RowFacts(const Recipe &recipe, const TransferResult &result, TransferKind kind, std::size_t row)
        : tag(recipe.tags[row])
        , outcome(outcomeOf(result.rows[row].end, kind))
        , cause(causeOf(result.rows[row], result.cancelled))
    {
        const RowResult &ended = result.rows[row];
        const bool known = kind != TransferKind::Write && (ended.end == RowEnd::Done || ended.end == RowEnd::Differs);
        const Raw held = known ? ended.value.raw() : Raw();
        time = known ? timeStamp(ended.value.time) : std::string();
        values = kind == TransferKind::Read ? held : recipe.values[row];
        slave = kind == TransferKind::Compare ? held : Raw();
    }

    const TagRange &tag;
    std::string time;
    std::string outcome;
    std::string cause;
    Raw values; ///< of the file, as it is now
    Raw slave;  ///< compared with them
};

Json orNull(const std::string &text)
{
    return text.empty() ? Json() : Json(text);
}

Json jsonValues(const Raw &raw, const ValueFormat &format)
{
    Json values = Json::array();
    for (const std::uint32_t each : raw)
        values.push_back(jsonValue(each, format));
    return raw.empty() ? Json() : values;
}

Json jsonRow(std::size_t number, const RowFacts &row)
{
    const TagRange &tag = row.tag;
    return {{"time", orNull(row.time)},
            {"row", number},
            {"station", tag.station},
            {"type", tag.type.name},
            {"address", addressText(tag.type, tag.address)},
            {"count", tag.values},
            {"name", tag.name},
            {"outcome", row.outcome},
            {"cause", orNull(row.cause)},
            {"values", jsonValues(row.values, tag.format)},
            {"slave", jsonValues(row.slave, tag.format)},
            {"unit", tag.unit}};
}

std::string csvRow(std::size_t number, const RowFacts &row)
{
    const TagRange &tag = row.tag;
    return row.time + ',' + std::to_string(number) + ',' + std::to_string(tag.station) + ',' + tag.type.name + ','
           + addressText(tag.type, tag.address) + ',' + std::to_string(tag.values) + ',' + csvField(tag.name) + ','
           + row.outcome + ',' + csvField(row.cause) + ',' + valuesText(tag, row.values) + ','
           + valuesText(tag, row.slave) + ',' + csvField(tag.unit);
}

std::ptrdiff_t countOf(const TransferResult &result, RowEnd end)
{
    return std::count_if(result.rows.begin(), result.rows.end(),
                         [end](const RowResult &row) { return row.end == end; });
}

} // namespace

TransferReport::TransferReport(std::ostream &out, std::ostream &err, OutputForm form, const std::string &file,
                               bool quiet)
    : m_out(out)
    , m_err(err)
    , m_form(form)
    , m_file(file)
    , m_quiet(quiet)
{
}

void TransferReport::print(const Recipe &recipe, const TransferResult &result, TransferKind kind)
{
    if (kind != TransferKind::Compare && !result.complete())
        m_err << "error: the recipe was not transferred whole\n";
    if (m_form == OutputForm::Json)
        printJson(recipe, result, kind);
    else if (m_form == OutputForm::Csv)
        printCsv(recipe, result, kind);
    else
        printLines(recipe, result, kind);
}

void TransferReport::printLines(const Recipe &recipe, const TransferResult &result, TransferKind kind)
{
    for (std::size_t i = 0; i < result.rows.size(); ++i) {
        const RowResult &row = result.rows[i];
        const bool done = row.end == RowEnd::Done || row.end == RowEnd::Differs;
        if (!done)
            m_err << "error: " << recipe.tags[i].place() << ": " << rowText(row) << '\n';
        else if (kind == TransferKind::Compare)
            printComparison(recipe.tags[i], recipe.values[i], row);
        else if (kind == TransferKind::Write && !result.complete())
            m_err << recipe.tags[i].place() << ": " << rowText(row) << '\n';
    }
}

void TransferReport::printComparison(const TagRange &tag, const Raw &values, const RowResult &row)
{
    if (row.end == RowEnd::Done && m_quiet)
        return;
    m_out << tag.place() << (tag.name.empty() ? "" : " " + tag.name) << ": ";
    if (row.end == RowEnd::Done)
        m_out << "same\n";
    else
        m_out << "differs: " << valuesText(tag, values) << " in the file, " << valuesText(tag, row.value.raw())
              << " in the slave\n";
}

void TransferReport::printJson(const Recipe &recipe, const TransferResult &result, TransferKind kind)
{
    for (std::size_t i = 0; i < result.rows.size(); ++i)
        m_out << jsonText(jsonRow(i + 1, RowFacts(recipe, result, kind, i))) << '\n';
    const std::ptrdiff_t done = countOf(result, RowEnd::Done);
    const std::ptrdiff_t differs = countOf(result, RowEnd::Differs);
    const Json summary = {{"file", m_file},
                          {"rows", result.rows.size()},
                          {"done", done},
                          {"differs", differs},
                          {"failed", static_cast<std::ptrdiff_t>(result.rows.size()) - done - differs},
                          {"complete", result.complete()},
                          {"stopped", result.cancelled}};
    m_out << jsonText({{"recipe", summary}}) << '\n';
}

void TransferReport::printCsv(const Recipe &recipe, const TransferResult &result, TransferKind kind)
{
    m_out << "time,row,station,type,address,count,name,outcome,cause,values,slave,unit\n";
    for (std::size_t i = 0; i < result.rows.size(); ++i)
        m_out << csvRow(i + 1, RowFacts(recipe, result, kind, i)) << '\n';
}

} // namespace rtu
