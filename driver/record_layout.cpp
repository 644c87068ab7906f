// The layout of the records that cross the interface, pinned. A host is built
// from the same header, but perhaps years earlier: a member that moves breaks
// it without a word. QString is one pointer in Qt 4 and 5, three in Qt 6.

#include "driver/modbus_rtu_records.h"

#include <cstddef>

namespace {

const std::size_t textBytes = sizeof(QString);
const std::size_t textAlign = alignof(QString);
const std::size_t arrayBytes = ModbusRtuRecordBytes;

constexpr std::size_t alignUp(std::size_t offset, std::size_t alignment)
{
    return (offset + alignment - 1) / alignment * alignment;
}

static_assert(sizeof(int) == 4, "integers of the interface are 32 bits wide");
static_assert(textAlign == sizeof(void *), "a text starts with a pointer");
#if QT_VERSION < 0x060000
static_assert(textBytes == sizeof(void *), "a text is one pointer");
#else
static_assert(textBytes == 3 * sizeof(void *), "a text is three words");
#endif

// VARIABLE
const std::size_t variableText = 8;
const std::size_t variableStart = variableText + textBytes;
static_assert(offsetof(VARIABLE, userData) == 0, "VARIABLE");
static_assert(offsetof(VARIABLE, station) == 4, "VARIABLE");
static_assert(offsetof(VARIABLE, regType) == variableText, "VARIABLE");
static_assert(offsetof(VARIABLE, startAddr) == variableStart, "VARIABLE");
static_assert(offsetof(VARIABLE, count) == variableStart + 4, "VARIABLE");
static_assert(offsetof(VARIABLE, data) == variableStart + 8, "VARIABLE");
static_assert(sizeof(VARIABLE) == alignUp(variableStart + 8 + arrayBytes, textAlign), "VARIABLE");

// _RCP_VAR_PRO
const std::size_t rowStart = 8 + textBytes;
static_assert(offsetof(_RCP_VAR_PRO, userData) == 0, "_RCP_VAR_PRO");
static_assert(offsetof(_RCP_VAR_PRO, station) == 4, "_RCP_VAR_PRO");
static_assert(offsetof(_RCP_VAR_PRO, regType) == 8, "_RCP_VAR_PRO");
static_assert(offsetof(_RCP_VAR_PRO, startAddr) == rowStart, "_RCP_VAR_PRO");
static_assert(offsetof(_RCP_VAR_PRO, count) == rowStart + 4, "_RCP_VAR_PRO");
static_assert(offsetof(_RCP_VAR_PRO, hostOffset) == rowStart + 8, "_RCP_VAR_PRO");
static_assert(offsetof(_RCP_VAR_PRO, extra) == rowStart + 12, "_RCP_VAR_PRO");
static_assert(sizeof(_RCP_VAR_PRO) == rowStart + 16, "_RCP_VAR_PRO");

// KEY_ADDRESS
const std::size_t keyText = alignUp(textBytes + 12, textAlign);
const std::size_t keyStart = keyText + 2 * textBytes;
static_assert(offsetof(KEY_ADDRESS, keyText) == 0, "KEY_ADDRESS");
static_assert(offsetof(KEY_ADDRESS, field1) == textBytes, "KEY_ADDRESS");
static_assert(offsetof(KEY_ADDRESS, hostOffset) == textBytes + 4, "KEY_ADDRESS");
static_assert(offsetof(KEY_ADDRESS, station) == textBytes + 8, "KEY_ADDRESS");
static_assert(offsetof(KEY_ADDRESS, regType) == keyText, "KEY_ADDRESS");
static_assert(offsetof(KEY_ADDRESS, text2) == keyText + textBytes, "KEY_ADDRESS");
static_assert(offsetof(KEY_ADDRESS, startAddr) == keyStart, "KEY_ADDRESS");
static_assert(offsetof(KEY_ADDRESS, field7) == keyStart + 4, "KEY_ADDRESS");
static_assert(offsetof(KEY_ADDRESS, count) == keyStart + 8, "KEY_ADDRESS");
static_assert(offsetof(KEY_ADDRESS, data) == keyStart + 12, "KEY_ADDRESS");
static_assert(sizeof(KEY_ADDRESS) == alignUp(keyStart + 12 + arrayBytes, textAlign), "KEY_ADDRESS");

// FRAME_PRO
const std::size_t frameVar = alignUp(arrayBytes + 20, textAlign);
static_assert(offsetof(FRAME_PRO, frame) == 0, "FRAME_PRO");
static_assert(offsetof(FRAME_PRO, frameLen) == arrayBytes, "FRAME_PRO");
static_assert(offsetof(FRAME_PRO, replyLen) == arrayBytes + 4, "FRAME_PRO");
static_assert(offsetof(FRAME_PRO, frameKind) == arrayBytes + 8, "FRAME_PRO");
static_assert(offsetof(FRAME_PRO, dataLen) == arrayBytes + 12, "FRAME_PRO");
static_assert(offsetof(FRAME_PRO, field5) == arrayBytes + 16, "FRAME_PRO");
static_assert(offsetof(FRAME_PRO, var) == frameVar, "FRAME_PRO");
static_assert(sizeof(FRAME_PRO) == frameVar + sizeof(VARIABLE), "FRAME_PRO");

// The same in plain numbers for the panels of today, so that a mistake in the
// sums above cannot hide a move.
#if QT_VERSION < 0x060000
#if defined(__LP64__)
static_assert(sizeof(VARIABLE) == 1048 && offsetof(VARIABLE, data) == 24, "64-bit VARIABLE");
static_assert(sizeof(_RCP_VAR_PRO) == 32 && offsetof(_RCP_VAR_PRO, startAddr) == 16, "64-bit _RCP_VAR_PRO");
static_assert(sizeof(KEY_ADDRESS) == 1080 && offsetof(KEY_ADDRESS, data) == 52, "64-bit KEY_ADDRESS");
static_assert(sizeof(FRAME_PRO) == 2096 && offsetof(FRAME_PRO, var) == 1048, "64-bit FRAME_PRO");
#else
static_assert(sizeof(VARIABLE) == 1044 && offsetof(VARIABLE, data) == 20, "32-bit VARIABLE");
static_assert(sizeof(_RCP_VAR_PRO) == 28 && offsetof(_RCP_VAR_PRO, startAddr) == 12, "32-bit _RCP_VAR_PRO");
static_assert(sizeof(KEY_ADDRESS) == 1060 && offsetof(KEY_ADDRESS, data) == 36, "32-bit KEY_ADDRESS");
static_assert(sizeof(FRAME_PRO) == 2088 && offsetof(FRAME_PRO, var) == 1044, "32-bit FRAME_PRO");
#endif
#endif

} // namespace
