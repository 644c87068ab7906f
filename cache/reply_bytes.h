/**
 * @file
 * The bytes of a reply, read with the rule that whatever lies outside is 0.
 */
#ifndef REPLY_BYTES_H
#define REPLY_BYTES_H

#include "address/register_types.h"
#include "driver/arithmetic.h"
#include "driver/qt_compat.h"

#include <QtCore/QByteArray>

/** Data bytes that a reply has for this many coils or registers. */
inline int replyDataBytes(bool coils, int values)
{
    return coils ? divideUp(values, ByteBits) : wrapMul(values, 2);
}

/** Coils, or registers, that a reply brings, from FRAME_PRO::dataLen: coils are counted there, of registers the bytes. */
inline int replyValueCount(const RegisterType &type, int dataLen)
{
    return type.unit == CoilUnit ? dataLen : dataLen / 2;
}

class ReplyBytes
{
public:
    /** @param dataStart position of the first data byte: 3 in the replies to reads */
    ReplyBytes(const QByteArray &received, int dataStart)
        : bytes(received) // shares the buffer, so that it stays as it is during callbacks
        , start(dataStart)
    {
    }

    /** Data byte @p offset, counted from the first data byte. */
    int byteAt(long long offset) const
    {
        const long long position = start + offset;
        if (position < 0 || position >= bytes.size())
            return 0;
        return static_cast<unsigned char>(bytes.constData()[position]);
    }

    /** Register @p index counted from the first data byte; high byte first. */
    int registerAt(long long index) const { return byteAt(2 * index) << 8 | byteAt(2 * index + 1); }

    /** The data bytes, as many as size() says. */
    const unsigned char *data() const { return reinterpret_cast<const unsigned char *>(bytes.constData()) + start; }

    /** Data bytes from the first one to the end of the reply. */
    int size() const { return start < 0 || start > sizeOf(bytes) ? 0 : sizeOf(bytes) - start; }

private:
    const QByteArray bytes;
    const int start;
};

#endif
