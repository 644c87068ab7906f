/**
 * @file
 * A run of coils, inputs or registers of one station: where the driver keeps what a
 * request reads or writes.
 */
#ifndef KIT_TAGS_AREA_H
#define KIT_TAGS_AREA_H

#include <QtCore/QString>

namespace rtu {

struct Area
{
    int station = 0;
    char table = '4'; ///< first character of the register type: '0', '1', '3' or '4'
    int first = 0;    ///< zero-based coil, input or register
    int count = 0;

    int end() const { return first + count; }
    bool isBits() const { return table < '2'; }
    /** "0x", "1x", "3x" or "4x" */
    QString regType() const { return QString(QLatin1Char(table)) + QLatin1Char('x'); }
    bool sameTable(const Area &other) const { return station == other.station && table == other.table; }
    bool covers(const Area &other) const { return sameTable(other) && first <= other.first && other.end() <= end(); }
    bool overlaps(const Area &other) const { return sameTable(other) && first < other.end() && other.first < end(); }
};

/**
 * The area that a request of the driver covers.
 *
 * @param count bits of the bit-in-register types too
 */
inline Area areaOf(int station, const QString &regType, int startAddr, int count)
{
    Area area;
    area.station = station;
    area.table = regType.isEmpty() ? '4' : static_cast<char>(regType.at(0).unicode());
    area.first = startAddr;
    area.count = count;
    if (regType.endsWith(QLatin1String("_bit"))) {
        area.first = startAddr / 16;
        area.count = (startAddr % 16 + count + 15) / 16;
    }
    return area;
}

} // namespace rtu

#endif
