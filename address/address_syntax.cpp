#include "address/address_syntax.h"

#include "address/register_types.h"
#include "driver/arithmetic.h"
#include "driver/qt_compat.h"

#include <QtCore/QStringList>

#include <climits>

namespace {

const int firstPastPlain = StationElements + 1;                // one-based
const int firstPastBit = (StationElements + 1) * RegisterBits; // R x 16 + B

const int longestPlainText = 5; // "65536"
const int longestBitText = 8;   // "65536.15"

int clampToInt(long long value)
{
    if (value > INT_MAX)
        return INT_MAX;
    return value < INT_MIN ? INT_MIN : static_cast<int>(value);
}

/** Start and last element inside the range? 64-bit: a sum beyond 32 bits is out of range, it never wraps. */
bool inRange(int start, int count, int lowest, int firstPast)
{
    return start >= lowest && static_cast<long long>(start) + count <= firstPast;
}

/** The bit part decides by its length: one digit for 0 to 9, two for 10 to 15. */
bool bitInNotation(int bit, int length)
{
    if (length == 1)
        return bit >= 0 && bit <= 9;
    return length == 2 && bit >= 10 && bit <= 15;
}

int checkRegisterBit(const QString &text, int &outAddress, int count)
{
    int value = 0;
    if (a2i_ddd_DD(text, value) != 1)
        return NotAnAddress;
    outAddress = value;
    if (!inRange(value, count, RegisterBits, firstPastBit))
        return AddressOutOfRange;
    outAddress = value - RegisterBits;
    return AddressValid;
}

int checkPlainRange(int &outAddress, int count)
{
    if (!inRange(outAddress, count, 1, firstPastPlain))
        return AddressOutOfRange;
    --outAddress;
    return AddressValid;
}

/** Stores the number of the text, 0 for none; the callers test further. */
bool parsePlain(const QString &text, int &outAddress)
{
    bool isNumber = false;
    outAddress = text.toInt(&isNumber, 10);
    return isNumber;
}

bool isDoubleFormat(int dataFormat)
{
    switch (dataFormat) {
    case 1:
    case 3:
    case 5:
    case 6:
    case 9:
        return true;
    default:
        return false;
    }
}

} // namespace

int a2i_ddd_DD(QString text, int &value)
{
    const QStringList parts = text.split(QLatin1Char('.'));
    if (parts.size() != 2)
        return -1;

    bool registerIsNumber = false;
    bool bitIsNumber = false;
    const int registerNumber = parts.at(0).toInt(&registerIsNumber, 10);
    const int bit = parts.at(1).toInt(&bitIsNumber, 10);
    if (!registerIsNumber || !bitIsNumber)
        return -1;
    if (!bitInNotation(bit, sizeOf(parts.at(1))))
        return -1;

    value = clampToInt(static_cast<long long>(registerNumber) * RegisterBits + bit);
    return 1;
}

int checkAddressForKind(const QString &regType, const QString &addressText, int &outAddress, int count, int objectKind)
{
    const RegisterType *type = findRegisterType(regType);
    if (type && isBitType(*type) != (objectKind == 0))
        return TypeDoesNotFitObject;
    if (addressText.contains(QLatin1Char('-')) || addressText.contains(QLatin1Char('+')))
        return NotAnAddress;
    if (!type)
        return UnknownRegisterType;
    if (type->unit == RegisterBitUnit)
        return checkRegisterBit(addressText, outAddress, count);

    if (!parsePlain(addressText, outAddress))
        return NotAnAddress;
    if (type->unit == DoubleUnit && count == 1)
        return UnsuitableDouble;
    return checkPlainRange(outAddress, count);
}

int checkAddressForFormat(const QString &regType, const QString &addressText, int &outAddress, int dataFormat,
                          int count, int accessMode)
{
    const RegisterType *type = findRegisterType(regType);
    if (type && isBitType(*type) != (dataFormat == -1))
        return TypeDoesNotFitObject;
    const bool bitNotation = type && type->unit == RegisterBitUnit;
    if (sizeOf(addressText) > (bitNotation ? longestBitText : longestPlainText))
        return AddressTextTooLong;
    if (!type)
        return UnknownRegisterType;
    if (!type->writable && (accessMode == 1 || accessMode == 2))
        return WriteToReadOnlyType;
    if (type->unit == DoubleUnit && !isDoubleFormat(dataFormat))
        return UnsuitableDouble;
    if (bitNotation)
        return checkRegisterBit(addressText, outAddress, count);

    if (!parsePlain(addressText, outAddress))
        return NotAnAddress;
    if (type->unit == DoubleUnit && dataFormat == 9 && count == 1)
        return DoubleFormatNeedsTwo;
    return checkPlainRange(outAddress, count);
}

QString textOfAddress(int address, bool asBit, NumbersBelowZero belowZero)
{
    const qint64 mask = belowZero == ShownHuge ? qint64(UINT_MAX) : -1; // of the number as unsigned
    if (!asBit)
        return QString::number(mask & wrapAdd(address, 1));
    return QString::number(mask & (address / RegisterBits + 1)) + QLatin1Char('.')
           + QString::number(mask & (address % RegisterBits));
}
