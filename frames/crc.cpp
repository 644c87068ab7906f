#include "frames/crc.h"

#include <cstdint>

namespace {

/**
 * The effect of a byte on the CRC, with one more byte behind it and with none.
 * More rows would save instructions, but take the room of the data in the cache
 * of a panel's processor.
 */
struct CrcTable
{
    std::uint16_t before[256];
    std::uint16_t last[256];

    CrcTable()
    {
        for (unsigned int byte = 0; byte < 256; ++byte) {
            unsigned int crc = byte;
            for (int bit = 0; bit < 8; ++bit)
                crc = crc & 1u ? crc >> 1 ^ 0xA001u : crc >> 1;
            last[byte] = static_cast<std::uint16_t>(crc);
        }
        for (unsigned int byte = 0; byte < 256; ++byte)
            before[byte] = static_cast<std::uint16_t>(last[byte] >> 8 ^ last[last[byte] & 0xFFu]);
    }
};

} // namespace

unsigned int modbusCrc16(const unsigned char *bytes, int length)
{
    static const CrcTable effect;
    unsigned int crc = 0xFFFFu;
    for (; length >= 2; length -= 2, bytes += 2) {
        crc ^= static_cast<unsigned int>(bytes[0] | bytes[1] << 8);
        crc = static_cast<unsigned int>(effect.before[crc & 0xFFu] ^ effect.last[crc >> 8]);
    }
    if (length > 0)
        crc = crc >> 8 ^ effect.last[(crc ^ *bytes) & 0xFFu];
    return crc;
}

void appendCrc(unsigned char *bytes, int length)
{
    const unsigned int crc = modbusCrc16(bytes, length);
    bytes[length] = static_cast<unsigned char>(crc & 0xFFu);
    bytes[length + 1] = static_cast<unsigned char>(crc >> 8);
}
