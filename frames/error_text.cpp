#include "driver/modbus_rtu_master.h"

#include "address/address_syntax.h"
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

} // namespace

QString Modbus_rtu_master::getErrorInfo(const QByteArray &received, const QString &regType, int startAddr, int station,
                                        int count) const
{
    // As a project author types it: registers one-based, bits zero-based.
    const QString address = regType + textOfAddress(startAddr, regType.endsWith(QLatin1String("_bit")), ShownNegative);
    const QString pattern = QString::fromLatin1(sendState == WriteSent ? "W,%1#%2(%3)" : "R,%1#%2(%3)");
    return pattern.arg(QString::number(station), address, QString::number(count)) + exceptionSuffix(received);
}
