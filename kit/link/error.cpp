#include <modbus_rtu_host/error.h>

namespace rtu {

Error::Error(const QString &text) : std::runtime_error(text.toUtf8().constData()) {}

Error::~Error() noexcept = default;

QString Error::text() const
{
    return QString::fromUtf8(what());
}

} // namespace rtu
