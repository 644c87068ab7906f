#include "host/tags/tag_table.h"

#include "host/text/numbers.h"
#include "host/text/csv.h"
#include "host/text/text_width.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace rtu {

namespace {

enum Column { Name, Station, Type, Address, Count, FormatColumn, Scale, Unit, Values, ColumnCount };

const char *const columnNames[ColumnCount] = {"name",   "station", "type", "address", "count",
                                              "format", "scale",   "unit", "values"};

using Columns = std::array<int, ColumnCount>; ///< position of each column in a line, -1 for none

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

const char *const *findColumn(const std::string &name)
{
    return std::find(std::begin(columnNames), std::end(columnNames), lowered(name));
}

/** A line with the names of columns, not a tag: that would have a register type. */
bool namesColumns(const RegisterCatalog &catalog, const std::vector<std::string> &fields)
{
    const auto isName = [](const std::string &field) { return findColumn(field) != std::end(columnNames); };
    const auto isType = [&](const std::string &field) { return catalog.find(field) != nullptr; };
    return std::any_of(fields.begin(), fields.end(), isName) && std::none_of(fields.begin(), fields.end(), isType);
}

Columns readColumns(const std::vector<std::string> &fields)
{
    Columns columns;
    columns.fill(-1);
    for (std::size_t position = 0; position < fields.size(); ++position) {
        if (fields[position].empty())
            continue;
        const char *const *found = findColumn(fields[position]);
        if (found == std::end(columnNames))
            throw std::invalid_argument(
                "unknown column \"" + fields[position]
                + "\"; there are name, station, type, address, count, format, scale, unit, values");
        int &column = columns[static_cast<std::size_t>(found - std::begin(columnNames))];
        if (column >= 0)
            throw std::invalid_argument("the column " + lowered(fields[position]) + " is there twice");
        column = static_cast<int>(position);
    }
    if (columns[Type] < 0 || columns[Address] < 0)
        throw std::invalid_argument("the columns type and address are needed");
    return columns;
}

/** Empty fields behind the last column do no harm; spreadsheets leave them. */
void refuseFurtherFields(const std::vector<std::string> &fields, const Columns &columns)
{
    const int last = *std::max_element(columns.begin(), columns.end());
    for (std::size_t i = static_cast<std::size_t>(last) + 1; i < fields.size(); ++i) {
        if (!fields[i].empty())
            throw std::invalid_argument("\"" + fields[i] + "\" stands behind the last column");
    }
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
    double scale = 0;
    if (!readNumber(text, &scale) || !(scale != 0.0 && scale - scale == 0.0))
        throw std::invalid_argument("the scale \"" + text + "\" must be a number other than 0, such as 0.1");
    return scale;
}

TagRange tagFrom(DriverLibrary &driver, const RegisterCatalog &catalog, const std::vector<std::string> &fields,
                 const Columns &columns)
{
    refuseFurtherFields(fields, columns);
    const std::string typeName = fieldOf(fields, columns, Type);
    const RegisterType *type = catalog.find(typeName);
    if (typeName.empty())
        throw std::invalid_argument("the register type is missing; there are " + catalog.names());
    if (!type)
        throw std::invalid_argument("unknown register type \"" + typeName + "\"; there are " + catalog.names());
    TagRange tag;
    tag.type = *type;
    tag.name = fieldOf(fields, columns, Name);
    tag.unit = fieldOf(fields, columns, Unit);
    const std::string station = fieldOf(fields, columns, Station);
    tag.station = station.empty() ? 1 : parseNumber(station, 1, HighestStation, "station");
    const std::string count = fieldOf(fields, columns, Count);
    tag.values = count.empty() ? 1 : parseNumber(count, 1, 65536, "count");
    tag.format.width = type->width;
    tag.format.format = formatFromName(fieldOf(fields, columns, FormatColumn), *type);
    tag.format.scale = scaleFrom(fieldOf(fields, columns, Scale));
    if (tag.format.scale != 1.0 && !tag.format.isNumber())
        throw std::invalid_argument("a scale does not go with the format "
                                    + formatName(tag.format.format, tag.format.width));
    const std::string address = fieldOf(fields, columns, Address);
    if (address.empty())
        throw std::invalid_argument("the address is missing");
    setAddress(driver, tag, address, Access::Read);
    return tag;
}

/** What spreadsheets make of the file when they are left to themselves. */
void refuseForeignText(const std::string &line)
{
    if (!isUtf8(line))
        throw std::invalid_argument("the text is not UTF-8; save the file in that encoding");
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\r'; };
    if (std::any_of(line.begin(), line.end(), isControl))
        throw std::invalid_argument("the line has control characters; is this a text file?");
    if (line.find(';') != std::string::npos && line.find(',') == std::string::npos)
        throw std::invalid_argument("fields are separated by commas, not by semicolons");
}

const std::string ByteOrderMark = "\xEF\xBB\xBF"; // some programs put it in front of UTF-8

} // namespace

std::vector<TagRow> readTagRows(DriverLibrary &driver, const RegisterCatalog &catalog, std::istream &in,
                                const std::string &source)
{
    std::vector<TagRow> rows;
    Columns columns = usualColumns();
    bool first = true;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        if (number == 1 && line.compare(0, ByteOrderMark.size(), ByteOrderMark) == 0)
            line.erase(0, ByteOrderMark.size());
        if (trimmed(line).empty() || trimmed(line)[0] == '#')
            continue;
        const std::string place = source + ":" + std::to_string(number);
        try {
            refuseForeignText(line);
            const std::vector<std::string> fields = splitCsv(line);
            if (first && namesColumns(catalog, fields))
                columns = readColumns(fields);
            else
                rows.push_back(
                    TagRow{tagFrom(driver, catalog, fields, columns), fieldOf(fields, columns, Values), place});
        } catch (const std::invalid_argument &error) {
            throw std::invalid_argument(place + ": " + error.what());
        }
        first = false;
    }
    return rows;
}

std::vector<TagRange> readTagTable(DriverLibrary &driver, const RegisterCatalog &catalog, std::istream &in,
                                   const std::string &source)
{
    std::vector<TagRange> tags;
    for (const TagRow &row : readTagRows(driver, catalog, in, source))
        tags.push_back(row.tag);
    return tags;
}

std::ifstream openTable(const std::string &path, const std::string &what)
{
    errno = 0;
    std::ifstream in(path);
    in.peek(); // a folder opens, but cannot be read
    if (!in.is_open() || in.bad())
        throw std::invalid_argument("cannot read the " + what + " " + path + ": " + std::strerror(errno));
    in.clear();
    return in;
}

std::vector<TagRange> readTagFile(DriverLibrary &driver, const RegisterCatalog &catalog, const std::string &path)
{
    std::ifstream in = openTable(path, "tag file");
    std::vector<TagRange> tags = readTagTable(driver, catalog, in, path);
    if (tags.empty())
        throw std::invalid_argument("the tag file " + path + " has no tags");
    return tags;
}

} // namespace rtu
