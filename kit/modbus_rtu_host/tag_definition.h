/**
 * @file
 * What the caller says about a tag.
 */
#ifndef MODBUS_RTU_HOST_TAG_DEFINITION_H
#define MODBUS_RTU_HOST_TAG_DEFINITION_H

#include <modbus_rtu_host/export.h>
#include <modbus_rtu_host/line.h>
#include <modbus_rtu_host/tag_format.h>

#include <QtCore/QString>

namespace rtu {

/** One value of a station, or several in a row, with a name and a format. */
struct MODBUS_RTU_HOST_EXPORT TagDefinition
{
    TagDefinition() = default;
    /** @param where a register type and an address as an author types them, such as "4x100" */
    TagDefinition(int slave, const QString &where, TagFormat how = TagFormat::Usual);

    QString name;    ///< the caller's; may be empty
    int station = 1; ///< 1 to 247; 0 (all slaves) for writes of "0x", "4x" and "4x_double"
    /**
     * Register type and one-based address: "0x1", "1x1", "3x1", "4x100",
     * "3x_bit7.0", "4x_bit7.15" (register.bit), "3x_double5", "4x_double5".
     */
    QString address;
    int values = 1; ///< in a row: bits, registers, or 32-bit values
    TagFormat format = TagFormat::Usual;
    WordOrder wordOrder = WordOrder::HighFirst; ///< of 32-bit values
    double scale = 1.0;                         ///< number = scale x stored value; not 0
    QString unit;                               ///< the caller's
    /** Read once in this time, at most a year; 0: in every round. */
    Duration pace{0};
};

} // namespace rtu

#endif
