/**
 * @file
 * What a tag holds: never a bare number.
 */
#ifndef MODBUS_RTU_HOST_TAG_VALUE_H
#define MODBUS_RTU_HOST_TAG_VALUE_H

#include <modbus_rtu_host/export.h>
#include <modbus_rtu_host/line.h>
#include <modbus_rtu_host/quality.h>

#include <QtCore/QString>

#include <cstdint>
#include <memory>
#include <vector>

namespace rtu {

class TagLayout;

/** A value with its time and quality. A copy stays as it is, whatever the tag does. */
class MODBUS_RTU_HOST_EXPORT TagValue
{
public:
    TagValue();
    TagValue(std::shared_ptr<const TagLayout> layout, std::vector<std::uint32_t> raw);
    TagValue(const TagValue &other);
    TagValue(TagValue &&other) noexcept;
    TagValue &operator=(const TagValue &other);
    TagValue &operator=(TagValue &&other) noexcept;
    ~TagValue();

    /** Values in a row; 0 only for a TagValue that no link made. */
    int count() const;

    /** One value in its format, times the scale; 0 where @p index does not exist. @param index zero-based */
    double number(int index = 0) const;

    /** All values as people read them, with a blank between; without the unit. */
    QString text() const;

    /** The stored bits, one entry a value; 32-bit values in the tag's word order already. */
    const std::vector<std::uint32_t> &raw() const;

    Quality quality = Quality::NeverRead;
    int exceptionCode = 0; ///< with Quality::Refused: the slave's exception code
    /** When the reply that brought the value arrived; for several, the oldest. The line's clock. */
    TimePoint time;

    bool good() const { return quality == Quality::Good; }

private:
    std::shared_ptr<const TagLayout> m_layout;
    std::vector<std::uint32_t> m_raw;
};

} // namespace rtu

#endif
