#include "frames/crc.h"

#include <cstdint>

namespace {

enum { Slices = 16 };

/**
 * Row 0 is the effect of one byte on the CRC, row k that of a byte with k more
 * bytes behind it. Sixteen bytes are then folded in with sixteen look-ups that
 * do not wait for each other: 2.5 instructions a byte instead of 7.
 */
struct CrcTables
{
    std::uint16_t rows[Slices][256];

    CrcTables()
    {
        for (unsigned int byte = 0; byte < 256; ++byte) {
            unsigned int crc = byte;
            for (int bit = 0; bit < 8; ++bit)
                crc = crc & 1u ? crc >> 1 ^ 0xA001u : crc >> 1;
            rows[0][byte] = static_cast<std::uint16_t>(crc);
        }
        for (int row = 1; row < Slices; ++row) {
            for (unsigned int byte = 0; byte < 256; ++byte) {
                const unsigned int before = rows[row - 1][byte];
                rows[row][byte] = static_cast<std::uint16_t>(before >> 8 ^ rows[0][before & 0xFFu]);
            }
        }
    }
};

const CrcTables &tables()
{
    static const CrcTables instance;
    return instance;
}

/** The look-ups of rows Row to 0, for the bytes from @p rest on, spelled out whatever the optimisation level. */
template <int Row>
struct Fold
{
    static std::uint16_t of(std::uint16_t crc, const CrcTables &table, const unsigned char *rest)
    {
        crc ^= table.rows[Row][*rest];
        return Fold<Row - 1>::of(crc, table, rest + 1);
    }
};

template <>
struct Fold<-1>
{
    static std::uint16_t of(std::uint16_t crc, const CrcTables &, const unsigned char *) { return crc; }
};

/** Folds Count bytes into the CRC at once. */
template <int Count>
unsigned int foldSlice(unsigned int crc, const CrcTables &table, const unsigned char *bytes)
{
    crc ^= static_cast<unsigned int>(bytes[0] | bytes[1] << 8);
    std::uint16_t folded = table.rows[Count - 1][crc & 0xFFu];
    folded ^= table.rows[Count - 2][crc >> 8];
    return Fold<Count - 3>::of(folded, table, bytes + 2);
}

} // namespace

unsigned int modbusCrc16(const unsigned char *bytes, int length)
{
    const CrcTables &table = tables();
    unsigned int crc = 0xFFFFu;
    for (; length >= Slices; length -= Slices, bytes += Slices)
        crc = foldSlice<Slices>(crc, table, bytes);
    for (; length >= 4; length -= 4, bytes += 4)
        crc = foldSlice<4>(crc, table, bytes);
    for (; length > 0; --length, ++bytes)
        crc = crc >> 8 ^ table.rows[0][(crc ^ *bytes) & 0xFFu];
    return crc;
}

void appendCrc(unsigned char *bytes, int length)
{
    const unsigned int crc = modbusCrc16(bytes, length);
    bytes[length] = static_cast<unsigned char>(crc & 0xFFu);
    bytes[length + 1] = static_cast<unsigned char>(crc >> 8);
}

QString toHexString(const unsigned char *bytes, int n)
{
    static const char digits[] = "0123456789abcdef";
    QString text;
    for (int i = 0; i < n; ++i) {
        text += QLatin1Char(digits[bytes[i] >> 4]);
        text += QLatin1Char(digits[bytes[i] & 0x0F]);
        text += QLatin1Char(' ');
    }
    return text;
}
