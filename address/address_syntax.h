/**
 * @file
 * The address texts of the register types: parsing and validation.
 *
 * Plain decimal notation N, 1 to 65536, for all types but the bit-in-register
 * types, which are written R.B with the register R from 1 to 65536 and the bit
 * B from 0 to 15. Results are zero-based: N - 1, or (R - 1) x 16 + B.
 *
 * All functions are pure and may be called from any thread.
 */
#ifndef ADDRESS_SYNTAX_H
#define ADDRESS_SYNTAX_H

#include <QtCore/QString>

/** Results of the two checks; the numbers are the interface's. */
enum AddressCheck {
    AddressValid = 0,
    TypeDoesNotFitObject = 1,
    AddressOutOfRange = 2,
    UnknownRegisterType = 3,
    NotAnAddress = 4,
    UnsuitableDouble = 5,
    WriteToReadOnlyType = 6,
    DoubleFormatNeedsTwo = 14,
    AddressTextTooLong = 16
};

/**
 * Parses the register.bit notation. Bits below 10 are written with one digit
 * ("7.5", not "7.05").
 *
 * @param value R x 16 + B, held at the 32-bit limits for registers beyond them;
 *        unchanged on failure
 * @return 1, or -1 when the text is not in the notation
 */
int a2i_ddd_DD(QString text, int &value);

/**
 * Checks an address for a bit object (@p objectKind 0) or a word object.
 *
 * @param outAddress zero-based address on AddressValid; meaningless otherwise
 * @return an AddressCheck value
 */
int checkAddressForKind(const QString &regType, const QString &addressText, int &outAddress, int count, int objectKind);

/**
 * Checks an address for an object with a data format (-1: a bit object without
 * format) and an access mode (1 and 2 write).
 *
 * @param outAddress zero-based address on AddressValid; meaningless otherwise
 * @return an AddressCheck value
 */
int checkAddressForFormat(const QString &regType, const QString &addressText, int &outAddress, int dataFormat,
                          int count, int accessMode);

/** How addresses below zero are shown: negative, or huge, so that they look like no valid address. */
enum NumbersBelowZero { ShownNegative, ShownHuge };

/** The text of a zero-based address: N, or R.B of a bit in a register. */
QString textOfAddress(int address, bool asBit, NumbersBelowZero belowZero);

#endif
