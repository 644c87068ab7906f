/**
 * @file
 * Tags in a CSV file: name, station, type, address, count, format, scale, unit.
 */
#ifndef RTU_HOST_TAG_TABLE_H
#define RTU_HOST_TAG_TABLE_H

#include "host/tags/tag.h"

#include <fstream>
#include <istream>
#include <string>
#include <vector>

namespace rtu {

/**
 * Reads a tag table. The first line may name the columns, then in any order and
 * with only type and address required, or address alone where it is written 4x100;
 * without such a line the columns are those above. Fields are separated by commas,
 * semicolons or tabs. Empty lines and lines that begin with "#" are skipped.
 *
 * @param source name of the file, for messages
 * @throws std::invalid_argument "file:line: what is wrong", a line for each fault
 */
std::vector<TagRange> readTagTable(DriverLibrary &driver, const RegisterCatalog &catalog, std::istream &in,
                                   const std::string &source);

/** A line of a recipe file: a tag, and its values in a further column. */
struct TagRow
{
    TagRange tag;
    std::string values; ///< as typed, separated by blanks; empty when the file has none
    std::string place;  ///< "file:line", for messages
};

/** As readTagTable(), with the column "values". */
std::vector<TagRow> readTagRows(DriverLibrary &driver, const RegisterCatalog &catalog, std::istream &in,
                                const std::string &source);

/** Opens a table. @param what names the file in the message @throws std::invalid_argument */
std::ifstream openTable(const std::string &path, const std::string &what);

/** readTagTable() from a file, which must have a tag. */
std::vector<TagRange> readTagFile(DriverLibrary &driver, const RegisterCatalog &catalog, const std::string &path);

} // namespace rtu

#endif
