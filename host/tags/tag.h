/**
 * @file
 * A tag: some consecutive values of one station with a name and a format.
 */
#ifndef RTU_HOST_TAG_H
#define RTU_HOST_TAG_H

#include "kit/driver/driver_library.h"
#include "kit/driver/register_catalog.h"
#include "host/tags/value_format.h"

#include <QtCore/QList>
#include <QtCore/QString>

#include <string>
#include <vector>

namespace rtu {

struct TagRange
{
    std::string name; ///< may be empty
    int station = 1;
    RegisterType type;
    int address = 0; ///< zero-based, as the driver counts
    int values = 1;  ///< consecutive values
    ValueFormat format;
    std::string unit;

    QString qtType() const { return QString::fromStdString(type.name); }
    /** The driver's count: bits or registers. */
    int count() const { return values * type.unitsPerValue(); }
    int addressOf(int value) const { return address + value * type.unitsPerValue(); }
    /** "4x100", one-based. */
    std::string label(int value = 0) const { return type.name + addressText(type, addressOf(value)); }
    /** "4x100..109", or as label() for a single value. */
    std::string rangeLabel() const
    {
        return values > 1 ? label() + ".." + addressText(type, addressOf(values - 1)) : label();
    }
    /** "7:4x100..109" */
    std::string place() const { return std::to_string(station) + ":" + rangeLabel(); }
};

/** A write given on the command line. */
struct TagWrite
{
    TagRange tag;
    std::vector<std::uint32_t> raw; ///< one a value
};

/** What is to be read and written. */
struct TagSelection
{
    std::vector<TagRange> reads;
    std::vector<TagWrite> writes;
};

/** What the driver says about an address text; 0 is fine. */
struct AddressCheck
{
    int result = 0;
    int address = 0;
};

/** Stations beyond are reserved (Modbus over serial line V1.02, 2.2). */
const int HighestStation = 247;

enum class Access { Read, Write };

/** Both checks of the driver: the object's kind first, then format and access. */
AddressCheck checkAddress(DriverLibrary &driver, const RegisterType &type, const std::string &text, int count,
                          Format format, Access access);

/** The result code of the driver's address checks in words, and what would be right. */
std::string addressCheckText(int result, const std::string &typeName, const RegisterType *type);

/** An address as the driver takes it, which knows no other notation of numbers: "100" for "0x64". */
std::string inDecimals(const std::string &text);

/**
 * Sets the address of a tag, its type, format and number of values being set.
 *
 * @throws std::invalid_argument with the driver's reason
 */
void setAddress(DriverLibrary &driver, TagRange &tag, const std::string &text, Access access);

/**
 * Reads the driver's notation: TYPEaddress[..LAST][:FORMAT][@STATIONS], such as
 * 4x100, 4x1..10:hex, 4x_bit3.5@2, 4x_double7:float@1,3.
 *
 * @param stations used where the text names none
 * @param values number of values where the text has no range
 * @return one tag for each station
 * @throws std::invalid_argument
 */
std::vector<TagRange> parseTags(DriverLibrary &driver, const RegisterCatalog &catalog, const std::string &text,
                                const std::vector<int> &stations, int values);

/** Reads one number. @throws std::invalid_argument */
int parseNumber(const std::string &text, int lowest, int highest, const std::string &what);

/** Reads "1,3,5-7" or "1,3,5:7". @throws std::invalid_argument */
std::vector<int> parseNumberList(const std::string &text, int lowest, int highest, const std::string &what);

} // namespace rtu

#endif
