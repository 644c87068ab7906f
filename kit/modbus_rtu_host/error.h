/**
 * @file
 * The one exception of the host kit.
 */
#ifndef MODBUS_RTU_HOST_ERROR_H
#define MODBUS_RTU_HOST_ERROR_H

#include <modbus_rtu_host/export.h>

#include <QtCore/QString>

#include <stdexcept>

namespace rtu {

/**
 * Thrown for what the caller did wrong and for what cannot be opened. Its text
 * says what is wrong and what would be right. What happens on a line is never an
 * exception: it comes as a result.
 */
class MODBUS_RTU_HOST_EXPORT Error : public std::runtime_error
{
public:
    explicit Error(const QString &text);
    ~Error() noexcept override;

    /** The text that what() gives as UTF-8. */
    QString text() const;
};

} // namespace rtu

#endif
