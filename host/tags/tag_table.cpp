#include "host/tags/tag_table.h"

#include "host/tags/address_hint.h"
#include "host/text/csv.h"
#include "host/text/letters.h"
#include "host/text/numbers.h"
#include "host/text/text_width.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <map>
#include <numeric>
#include <stdexcept>

namespace rtu {

namespace {

enum Column { Name, Station, Type, Address, Count, FormatColumn, Scale, Unit, Values, ColumnCount };

const char *const columnNames[ColumnCount] = {"name",   "station", "type", "address", "count",
                                              "format", "scale",   "unit", "values"};

struct Columns
{
    std::array<int, ColumnCount> position; ///< of each column in a line, -1 for none
    std::size_t count = 0;                 ///< in a line, those with remarks included
};

Columns usualColumns()
{
    Columns columns;
    std::iota(columns.position.begin(), columns.position.end(), 0);
    columns.count = ColumnCount;
    return columns;
}

enum { SkippedColumn = -2, UnknownColumn = -1 };

/** What other tools call the columns. */
const std::map<std::string, int> &foreignNames()
{
    static const std::map<std::string, int> names = {
        {"tag", Name},
        {"tag name", Name},
        {"tagname", Name},
        {"symbol", Name},
        {"label", Name},
        {"slave", Station},
        {"slave id", Station},
        {"unit id", Station},
        {"device", Station},
        {"node", Station},
        {"device id", Station},
        {"register type", Type},
        {"table", Type},
        {"area", Type},
        {"register", Address},
        {"addr", Address},
        {"reg", Address},
        {"quantity", Count},
        {"length", Count},
        {"size", Count},
        {"data type", FormatColumn},
        {"datatype", FormatColumn},
        {"data format", FormatColumn},
        {"factor", Scale},
        {"multiplier", Scale},
        {"scaling", Scale},
        {"gain", Scale},
        {"units", Unit},
        {"engineering unit", Unit},
        {"eu", Unit},
        {"value", Values},
        {"comment", SkippedColumn},
        {"description", SkippedColumn},
        {"remark", SkippedColumn},
        {"notes", SkippedColumn},
    };
    return names;
}

/** The place of a column, or one of the two above. */
int findColumn(const std::string &name)
{
    const char *const *own = std::find(std::begin(columnNames), std::end(columnNames), lowered(name));
    if (own != std::end(columnNames))
        return static_cast<int>(own - std::begin(columnNames));
    std::string words = lowered(name);
    std::replace(words.begin(), words.end(), '_', ' ');
    const auto foreign = foreignNames().find(words);
    return foreign == foreignNames().end() ? UnknownColumn : foreign->second;
}

/** Counted from 0 by some tools and from 1 by others: a file that says so is not guessed at. */
std::string explained(const std::string &column)
{
    if (lowered(column).find("offset") == std::string::npos)
        return std::string();
    return "; offsets count from 0: add 1 and call the column address";
}

/** A line with the names of columns, not a tag: that would have a register type. */
bool namesColumns(const RegisterCatalog &catalog, const std::vector<std::string> &fields)
{
    const auto isName = [](const std::string &field) { return findColumn(field) != UnknownColumn; };
    const auto isType = [&](const std::string &field) { return catalog.find(field) != nullptr; };
    return std::any_of(fields.begin(), fields.end(), isName) && std::none_of(fields.begin(), fields.end(), isType);
}

Columns readColumns(const std::vector<std::string> &fields)
{
    Columns columns;
    columns.position.fill(-1);
    for (std::size_t position = 0; position < fields.size(); ++position) {
        if (fields[position].empty())
            continue;
        columns.count = position + 1;
        const int found = findColumn(fields[position]);
        if (found == SkippedColumn)
            continue;
        if (found == UnknownColumn)
            throw std::invalid_argument(
                "unknown column \"" + fields[position]
                + "\"; there are name, station, type, address, count, format, scale, unit, values"
                + explained(fields[position]));
        int &column = columns.position[static_cast<std::size_t>(found)];
        if (column >= 0)
            throw std::invalid_argument("the column " + lowered(fields[position]) + " is there twice");
        column = static_cast<int>(position);
    }
    if (columns.position[Address] < 0)
        throw std::invalid_argument("the columns type and address are needed");
    return columns;
}

/** Empty fields behind the last column do no harm; spreadsheets leave them. */
void refuseFurtherFields(const std::vector<std::string> &fields, const Columns &columns)
{
    for (std::size_t i = columns.count; i < fields.size(); ++i) {
        if (!fields[i].empty())
            throw std::invalid_argument("\"" + fields[i] + "\" stands behind the last column");
    }
}

std::string fieldOf(const std::vector<std::string> &fields, const Columns &columns, Column column)
{
    const int position = columns.position[column];
    return position >= 0 && static_cast<std::size_t>(position) < fields.size()
               ? fields[static_cast<std::size_t>(position)]
               : std::string();
}

/** Where commas separate no fields, they may stand for the decimal point. */
double scaleFrom(std::string text)
{
    if (text.empty())
        return 1.0;
    std::replace(text.begin(), text.end(), ',', '.');
    double scale = 0;
    if (!readNumber(text, &scale) || !(scale != 0.0 && scale - scale == 0.0))
        throw std::invalid_argument("the scale \"" + text + "\" must be a number other than 0, such as 0.1");
    return scale;
}

Format formatFrom(const RegisterCatalog &catalog, const RegisterType &type, const std::string &address,
                  const std::string &name)
{
    try {
        return formatFromName(name, type);
    } catch (const std::invalid_argument &error) {
        throw std::invalid_argument(error.what() + addressHint(catalog, type.name + address + ":" + name));
    }
}

TagRange tagFrom(DriverLibrary &driver, const RegisterCatalog &catalog, const std::vector<std::string> &fields,
                 const Columns &columns)
{
    refuseFurtherFields(fields, columns);
    std::string typeName = fieldOf(fields, columns, Type);
    std::string address = fieldOf(fields, columns, Address);
    if (const RegisterType *inAddress = typeName.empty() ? catalog.prefixOf(address) : nullptr) { // "4x100"
        typeName = inAddress->name;
        address.erase(0, typeName.size());
    }
    const RegisterType *type = catalog.find(typeName);
    if (typeName.empty())
        throw std::invalid_argument("the register type is missing; there are " + catalog.names()
                                    + addressHint(catalog, address));
    if (!type)
        throw std::invalid_argument("unknown register type \"" + typeName + "\"; there are " + catalog.names()
                                    + addressHint(catalog, typeName + address));
    TagRange tag;
    tag.type = *type;
    tag.name = fieldOf(fields, columns, Name);
    tag.unit = fieldOf(fields, columns, Unit);
    const std::string station = fieldOf(fields, columns, Station);
    tag.station = station.empty() ? 1 : parseNumber(station, 1, HighestStation, "station");
    const std::string count = fieldOf(fields, columns, Count);
    tag.values = count.empty() ? 1 : parseNumber(count, 1, 65536, "count");
    tag.format.width = type->width;
    tag.format.format = formatFrom(catalog, *type, address, fieldOf(fields, columns, FormatColumn));
    tag.format.scale = scaleFrom(fieldOf(fields, columns, Scale));
    if (tag.format.scale != 1.0 && !tag.format.isNumber())
        throw std::invalid_argument("a scale does not go with the format "
                                    + formatName(tag.format.format, tag.format.width));
    if (address.empty())
        throw std::invalid_argument("the address is missing");
    try {
        setAddress(driver, tag, address, Access::Read);
    } catch (const std::invalid_argument &error) {
        throw std::invalid_argument(error.what() + addressHint(catalog, typeName + address));
    }
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
}

/** No field of it is a number: a line with names, if not with those that are known here. */
bool headerLike(const std::string &line, char separator)
{
    return line.find_first_of("0123456789") == std::string::npos && line.find(separator) != std::string::npos;
}

/** Empty, a remark, or separators alone, as spreadsheets leave them. */
bool saysNothing(const std::string &line)
{
    const bool separatorsAlone = line.find_first_not_of(" \t\r,;") == std::string::npos;
    return separatorsAlone || trimmed(line)[0] == '#';
}

/** Told of a first line that has no tag, and may not have been meant to be one. */
const char *const AboutColumns = "; if this line names the columns, they are name, station, type, address, count, "
                                 "format, scale, unit, values";

const std::string ByteOrderMark = "\xEF\xBB\xBF"; // some programs put it in front of UTF-8

} // namespace

std::vector<TagRow> readTagRows(DriverLibrary &driver, const RegisterCatalog &catalog, std::istream &in,
                                const std::string &source)
{
    std::vector<TagRow> rows;
    std::string faults;
    Columns columns = usualColumns();
    char separator = 0; // the first line tells
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        if (number == 1 && line.compare(0, ByteOrderMark.size(), ByteOrderMark) == 0)
            line.erase(0, ByteOrderMark.size());
        if (saysNothing(line))
            continue;
        const std::string place = source + ":" + std::to_string(number);
        const bool first = separator == 0;
        if (first)
            separator = separatorOf(line);
        try {
            refuseForeignText(line);
            const std::vector<std::string> fields = splitCsv(line, separator);
            const bool header = first && namesColumns(catalog, fields);
            if (header)
                columns = readColumns(fields);
            else
                rows.push_back(
                    TagRow{tagFrom(driver, catalog, fields, columns), fieldOf(fields, columns, Values), place});
        } catch (const std::invalid_argument &error) {
            const std::string reason = error.what();
            const bool header = first && rows.empty() && headerLike(line, separator);
            const bool told = reason.find("column") != std::string::npos;
            faults += (faults.empty() ? "" : "\n") + place + ": " + reason + (header && !told ? AboutColumns : "");
            if (header)
                break; // what the columns are is not known
        }
    }
    if (!faults.empty())
        throw std::invalid_argument(faults);
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
