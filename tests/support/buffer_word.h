// Words of the buffer that recipes are taken from and stored in.
#ifndef BUFFER_WORD_H
#define BUFFER_WORD_H

#include <QtCore/QtEndian>

namespace support {

/** @p value as it stands in the buffer, low byte first on every machine; and the other way round. */
inline unsigned short bufferWord(int value)
{
    return qToLittleEndian(static_cast<quint16>(value));
}

} // namespace support

#endif
