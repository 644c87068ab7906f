/**
 * @file
 * The bytes of a frame as numbers.
 */
#ifndef KIT_LINE_FRAME_BYTES_H
#define KIT_LINE_FRAME_BYTES_H

#include <QtCore/QByteArray>

namespace rtu {

/** A slave that refuses answers with the function and this bit. */
const int ExceptionFlag = 0x80;
/** Station, function, code, check sum. */
const int ExceptionReplyBytes = 5;

/** 0 behind the end: replies break off anywhere. */
inline int byteAt(const QByteArray &bytes, int position)
{
    return position < bytes.size() ? static_cast<unsigned char>(bytes.at(position)) : 0;
}

/** Two bytes, the high one in front. */
inline int wordAt(const QByteArray &bytes, int position)
{
    return byteAt(bytes, position) * 256 + byteAt(bytes, position + 1);
}

} // namespace rtu

#endif
