#include "support/records.h"

#include <algorithm>

namespace support {

QByteArray bytes(const char *hex)
{
    return QByteArray::fromHex(hex);
}

std::vector<unsigned char> payload(const char *hex)
{
    const QByteArray content = bytes(hex);
    return std::vector<unsigned char>(content.constBegin(), content.constEnd());
}

VARIABLE variable(int station, const char *regType, int startAddr, int count, const std::vector<unsigned char> &data)
{
    VARIABLE unit = VARIABLE();
    unit.station = station;
    unit.regType = QString::fromLatin1(regType);
    unit.startAddr = startAddr;
    unit.count = count;
    std::copy(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(std::min(data.size(), sizeof unit.data)),
              unit.data);
    return unit;
}

KEY_ADDRESS key(int station, const char *regType, int startAddr, int count, int dataFormat)
{
    KEY_ADDRESS result = KEY_ADDRESS();
    result.station = station;
    result.regType = QString::fromLatin1(regType);
    result.startAddr = startAddr;
    result.count = count;
    result.field7 = dataFormat;
    return result;
}

_RCP_VAR_PRO row(int link, int station, const char *regType, int startAddr, int count, int hostOffset, int extra)
{
    _RCP_VAR_PRO result = _RCP_VAR_PRO();
    result.userData = link;
    result.station = station;
    result.regType = QString::fromLatin1(regType);
    result.startAddr = startAddr;
    result.count = count;
    result.hostOffset = hostOffset;
    result.extra = extra;
    return result;
}

} // namespace support
