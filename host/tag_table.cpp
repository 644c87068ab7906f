#include "tag_table.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <stdexcept>

namespace rtu {

namespace {

enum Column { Name, Station, Type, Address, Count, FormatColumn, Scale, Unit, Values, ColumnCount };

const char *const columnNames[ColumnCount] = {"name",   "station", "type", "address", "count",
                                              "format", "scale",   "unit", "values"};

using Columns = std::array<int, ColumnCount>; ///< position of each column in a line, -1 for none

std::string trimmed(const std::string &text)
{
    const std::size_t begin = text.find_first_not_of(" \t\r");
    if (begin == std::string::npos)
        return std::string();
    return text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

std::string lowered(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 'a' - 'A') : c; });
    return text;
}

Columns usualColumns()
{
    Columns columns;
    for (int i = 0; i < ColumnCount; ++i)
        columns[static_cast<std::size_t>(i)] = i;
    return columns;
}

bool namesColumns(const std::vector<std::string> &fields)
{
    return std::any_of(fields.begin(), fields.end(),
                       [](const std::string &field) { return lowered(field) == "address"; });
}

Columns readColumns(const std::vector<std::string> &fields)
{
    Columns columns;
    columns.fill(-1);
    for (std::size_t position = 0; position < fields.size(); ++position) {
        const auto found = std::find(std::begin(columnNames), std::end(columnNames), lowered(fields[position]));
        if (found == std::end(columnNames))
            throw std::invalid_argument(
                "unknown column \"" + fields[position]
                + "\"; there are name, station, type, address, count, format, scale, unit, values");
        columns[static_cast<std::size_t>(found - std::begin(columnNames))] = static_cast<int>(position);
    }
    if (columns[Type] < 0)
        throw std::invalid_argument("the columns type and address are needed");
    return columns;
}

std::string fieldOf(const std::vector<std::string> &fields, const Columns &columns, Column column)
{
    const int position = columns[column];
    return position >= 0 && static_cast<std::size_t>(position) < fields.size()
               ? fields[static_cast<std::size_t>(position)]
               : std::string();
}

double scaleFrom(const std::string &text)
{
    if (text.empty())
        return 1.0;
    std::size_t used = 0;
    double scale = 0;
    try {
        scale = std::stod(text, &used);
    } catch (const std::exception &) {
        used = 0;
    }
    if (used != text.size() || !(scale != 0.0 && scale - scale == 0.0))
        throw std::invalid_argument("the scale \"" + text + "\" must be a number other than 0, such as 0.1");
    return scale;
}

Tag tagFrom(DriverLibrary &driver, const RegisterCatalog &catalog, const std::vector<std::string> &fields,
            const Columns &columns)
{
    const std::string typeName = fieldOf(fields, columns, Type);
    const RegisterType *type = catalog.find(typeName);
    if (!type)
        throw std::invalid_argument("unknown register type \"" + typeName + "\"; there are " + catalog.names());
    Tag tag;
    tag.type = *type;
    tag.name = fieldOf(fields, columns, Name);
    tag.unit = fieldOf(fields, columns, Unit);
    const std::string station = fieldOf(fields, columns, Station);
    tag.station = station.empty() ? 1 : parseNumberList(station, 1, 255, "station").front();
    const std::string count = fieldOf(fields, columns, Count);
    tag.values = count.empty() ? 1 : parseNumberList(count, 1, 65536, "count").front();
    tag.format.width = type->width;
    tag.format.format = formatFromName(fieldOf(fields, columns, FormatColumn), *type);
    tag.format.scale = scaleFrom(fieldOf(fields, columns, Scale));
    setAddress(driver, tag, fieldOf(fields, columns, Address), Access::Read);
    return tag;
}

} // namespace

std::vector<std::string> splitCsv(const std::string &line)
{
    std::vector<std::string> fields(1);
    bool quoted = false;
    bool wasQuoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        std::string &field = fields.back();
        if (c == '"' && quoted && i + 1 < line.size() && line[i + 1] == '"') {
            field += line[++i];
        } else if (c == '"' && (quoted || trimmed(field).empty())) {
            quoted = !quoted;
            if (quoted)
                field.clear();
            wasQuoted = true;
        } else if (c == ',' && !quoted) {
            if (!wasQuoted)
                field = trimmed(field);
            wasQuoted = false;
            fields.emplace_back();
        } else if (quoted || !wasQuoted) {
            field += c;
        }
    }
    if (!wasQuoted)
        fields.back() = trimmed(fields.back());
    return fields;
}

std::string csvField(const std::string &text)
{
    if (text.find_first_of(",\"\n") == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (char c : text)
        quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

std::vector<TagRow> readTagRows(DriverLibrary &driver, const RegisterCatalog &catalog, std::istream &in,
                                const std::string &source)
{
    std::vector<TagRow> rows;
    Columns columns = usualColumns();
    bool first = true;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        if (trimmed(line).empty() || trimmed(line)[0] == '#')
            continue;
        try {
            const std::vector<std::string> fields = splitCsv(line);
            if (first && namesColumns(fields))
                columns = readColumns(fields);
            else
                rows.push_back(TagRow{tagFrom(driver, catalog, fields, columns), fieldOf(fields, columns, Values)});
        } catch (const std::invalid_argument &error) {
            throw std::invalid_argument(source + ":" + std::to_string(number) + ": " + error.what());
        }
        first = false;
    }
    return rows;
}

std::vector<Tag> readTagTable(DriverLibrary &driver, const RegisterCatalog &catalog, std::istream &in,
                              const std::string &source)
{
    std::vector<Tag> tags;
    for (const TagRow &row : readTagRows(driver, catalog, in, source))
        tags.push_back(row.tag);
    return tags;
}

std::vector<Tag> readTagFile(DriverLibrary &driver, const RegisterCatalog &catalog, const std::string &path)
{
    std::ifstream in(path);
    if (!in)
        throw std::invalid_argument("cannot read the tag file " + path);
    return readTagTable(driver, catalog, in, path);
}

} // namespace rtu
