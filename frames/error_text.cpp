#include "driver/modbus_rtu_master.h"

#include "address/register_types.h"
#include "driver/arithmetic.h"
#include "driver/qt_compat.h"

namespace {

enum { ExceptionReplyBytes = 5 };

/**
 * A note for replies of an exception's length. The code shown is the function
 * code without its exception flag, and only odd function codes are noted.
 */
QString exceptionSuffix(const QByteArray &received)
{
    if (sizeOf(received) != ExceptionReplyBytes)
        return QString();
    const int function = static_cast<unsigned char>(received.at(1));
    if ((function & 1) == 0)
        return QString();
    return QString::fromLatin1(",error code:%1").arg(function & 0x7F);
}

/** Register numbers one-based, bit numbers zero-based, as a project author types them. */
QString addressText(const QString &regType, int startAddr)
{
    if (!regType.endsWith(QLatin1String("_bit")))
        return regType + QString::number(wrapAdd(startAddr, 1));
    return regType + QString::number(startAddr / RegisterBits + 1) + QLatin1Char('.')
           + QString::number(startAddr % RegisterBits);
}

} // namespace

QString Modbus_rtu_master::getErrorInfo(const QByteArray &received, const QString &regType, int startAddr, int station,
                                        int count) const
{
    const QString pattern = QString::fromLatin1(sendState == WriteSent ? "W,%1#%2(%3)" : "R,%1#%2(%3)");
    return pattern.arg(QString::number(station), addressText(regType, startAddr), QString::number(count))
           + exceptionSuffix(received);
}
