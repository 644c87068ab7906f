// The address language: validation, register types, multi-copy.
#include "model/plain_driver.h"

#include <algorithm>
#include <limits>

using plain::sum;

namespace {

bool isOneOf(const QString &regType, const char *types)
{
    return QString::fromLatin1(types).split(QLatin1Char(',')).contains(regType);
}

bool isBitObject(const QString &regType)
{
    return isOneOf(regType, "0x,1x,3x_bit,4x_bit");
}

bool isWordObject(const QString &regType)
{
    return isOneOf(regType, "3x,4x,3x_double,4x_double");
}

bool isBitInRegister(const QString &regType)
{
    return isOneOf(regType, "3x_bit,4x_bit");
}

bool isDouble(const QString &regType)
{
    return isOneOf(regType, "3x_double,4x_double");
}

// One-based number to zero-based address, judged with the last of count elements.
int plainRange(int number, int count, int *outAddress)
{
    if (number < 1)
        return 2;
    if (static_cast<long long>(number) + count > 65537)
        return 2;
    *outAddress = number - 1;
    return 0;
}

// A register number too large for the bits to be counted is out of range in any case.
int saturated(long long value)
{
    const long long largest = std::numeric_limits<int>::max();
    return static_cast<int>(std::min(std::max(value, -largest - 1), largest));
}

int bitRange(int value, int count, int *outAddress)
{
    if (value < 16)
        return 2;
    if (static_cast<long long>(value) + count > 1048592)
        return 2;
    *outAddress = value - 16;
    return 0;
}

struct Description
{
    const char *type;
    const char *notation;
    const char *lowest;
    const char *highest;
    const char *width;
    const char *writable;
};

const Description descriptions[] = {
    {"0x", "ddddd", "1", "65536", "0", "1"},
    {"1x", "ddddd", "1", "65536", "0", "0"},
    {"3x", "ddddd", "1", "65536", "1", "0"},
    {"4x", "ddddd", "1", "65536", "1", "1"},
    {"3x_bit", "ddddd.DD (DD:0~15)", "1.0", "65536.15", "0", "0"},
    {"4x_bit", "ddddd.DD (DD:0~15)", "1.0", "65536.15", "0", "1"},
    {"3x_double", "ddddd", "1", "65535", "2", "0"},
    {"4x_double", "ddddd", "1", "65535", "2", "1"},
};

} // namespace

// R.B to 16 x R + B. One digit is a bit of 0 to 9, two digits are a bit of 10 to 15.
int PlainDriver::a2i(const QString &text, int &value) const
{
    if (!text.contains(QLatin1Char('.')))
        return -1;
    if (text.count(QLatin1Char('.')) > 1)
        return -1;
    const QStringList parts = text.split(QLatin1Char('.'));
    bool registerOk = false;
    bool bitOk = false;
    const int reg = parts.at(0).toInt(&registerOk, 10);
    const int bit = parts.at(1).toInt(&bitOk, 10);
    if (!registerOk || !bitOk)
        return -1;
    const int digits = static_cast<int>(parts.at(1).size());
    if (digits >= 3)
        return -1;
    if (digits == 1 && static_cast<unsigned int>(bit) > 9u)
        return -1;
    if (digits == 2 && static_cast<unsigned int>(bit) - 10u > 5u)
        return -1;
    value = saturated(16ll * reg + bit);
    return 1;
}

int PlainDriver::checkAddrValidity(const QString &regType, const QString &text, int *outAddress, int count,
                                   int objectKind) const
{
    if (isBitObject(regType) && objectKind != 0)
        return 1;
    if (isWordObject(regType) && objectKind == 0)
        return 1;
    if (text.contains(QLatin1Char('-')))
        return 4;
    if (text.contains(QLatin1Char('+')))
        return 4;
    if (isBitInRegister(regType)) {
        int value = 0;
        if (a2i(text, value) != 1)
            return 4;
        *outAddress = value;
        return bitRange(value, count, outAddress);
    }
    if (!isOneOf(regType, "0x,1x,3x,4x,3x_double,4x_double"))
        return 3;
    bool ok = false;
    *outAddress = text.toInt(&ok, 10);
    if (!ok)
        return 4;
    if (isDouble(regType) && count == 1)
        return 5;
    return plainRange(*outAddress, count, outAddress);
}

int PlainDriver::checkAddr(const QString &regType, const QString &text, int *outAddress, int dataFormat, int count,
                           int accessMode) const
{
    if (isBitObject(regType) && dataFormat != -1)
        return 1;
    if (isWordObject(regType) && dataFormat == -1)
        return 1;
    if (text.size() > (isBitInRegister(regType) ? 8 : 5))
        return 16;
    if (isOneOf(regType, "1x,3x,3x_bit,3x_double") && (accessMode == 1 || accessMode == 2))
        return 6;
    if (isDouble(regType) && dataFormat != 1 && dataFormat != 3 && dataFormat != 5 && dataFormat != 6
        && dataFormat != 9)
        return 5;
    if (isBitInRegister(regType)) {
        int value = 0;
        if (a2i(text, value) != 1)
            return 4;
        *outAddress = value;
        return bitRange(value, count, outAddress);
    }
    if (!isOneOf(regType, "0x,1x,3x,4x,3x_double,4x_double"))
        return 3;
    bool ok = false;
    *outAddress = text.toInt(&ok, 10);
    if (!ok)
        return 4;
    if (isDouble(regType) && dataFormat == 9 && count == 1)
        return 14;
    return plainRange(*outAddress, count, outAddress);
}

unsigned int PlainDriver::getRegAddressWeight(int station, const QString &regType, int address) const
{
    int index = -1;
    for (int i = 0; i < static_cast<int>(regTypeNames.size()); ++i) {
        if (regTypeNames.at(i) == regType) {
            index = i;
            break;
        }
    }
    const unsigned int band = 5u * static_cast<unsigned int>(station) + static_cast<unsigned int>(index) + 1u;
    return 65535u * band + static_cast<unsigned int>(address);
}

int PlainDriver::getRegListByType(unsigned int requestType, QList<QString> *list) const
{
    if (requestType > 1)
        return 0;
    const char *types = requestType == 0 ? "0x,1x,3x_bit,4x_bit" : "3x,4x,3x_double,4x_double";
    const QStringList names = QString::fromLatin1(types).split(QLatin1Char(','));
    for (int i = 0; i < static_cast<int>(names.size()); ++i)
        list->append(names.at(i));
    return 1;
}

// Every type is tried in turn and each try overwrites the result of the one before.
int PlainDriver::getRegDiscription(const QString &regType, QList<QString> *list) const
{
    int result = 0;
    for (const Description &row : descriptions) {
        result = 0;
        if (regType != QLatin1String(row.type))
            continue;
        list->append(QLatin1String(row.notation));
        list->append(QLatin1String(row.lowest));
        list->append(QLatin1String(row.highest));
        list->append(QLatin1String(row.width));
        list->append(QLatin1String(row.writable));
        result = 1;
    }
    return result;
}

int PlainDriver::multiCopy(const QString &regType, int startAddress, int copies, int increment, QVector<QString> *texts,
                           QVector<int> *addresses) const
{
    if (!isBitObject(regType) && !isWordObject(regType))
        return 0;
    const int last = isBitInRegister(regType) ? 1048575 : isDouble(regType) ? 65534 : 65535;
    const char *lastText = isBitInRegister(regType) ? "65536.15" : isDouble(regType) ? "65535" : "65536";
    int result = 1;
    int address = startAddress;
    for (int k = 0; k < copies; ++k, address = sum(address, increment)) {
        if (address > last) {
            addresses->append(last);
            texts->append(QLatin1String(lastText));
            result = 2;
            continue;
        }
        addresses->append(address);
        if (isBitInRegister(regType)) {
            const unsigned int reg = static_cast<unsigned int>(sum(address / 16, 1));
            const unsigned int bit = static_cast<unsigned int>(address % 16);
            texts->append(QString::number(reg) + QLatin1Char('.') + QString::number(bit));
        } else {
            texts->append(QString::number(static_cast<unsigned int>(sum(address, 1))));
        }
    }
    return result;
}
