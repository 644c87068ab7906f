/**
 * @file
 * Where the areas of a cache list are: a hash over the keys of the areas.
 *
 * The list itself stays the plain list it is; the index holds positions only
 * and compares keys in the list. A short list is scanned, which costs less than
 * a hash would and needs no upkeep.
 *
 * Areas of consecutive addresses mostly lie beside each other, in the order in
 * which they were first asked for, and are mostly asked for in that order again:
 * so the area found last and the one behind it are tried before any search. Coil
 * areas at multiples of 8 lie apart from the ones between, because monitor flags
 * create them first; so the area that was expected before the last search is
 * tried as well.
 */
#ifndef DATA_AREA_INDEX_H
#define DATA_AREA_INDEX_H

#include "driver/modbus_rtu_records.h"
#include "driver/qt_compat.h"

#include <QtCore/QList>

#include <vector>

/** True when the area has these keys; the integers are compared first. */
inline bool hasKeys(const _DATA_ &area, int station, const QString &regType, int address)
{
    return area.areaIndex == address && area.station == station
           && (sharesText(area.regType, regType) || area.regType == regType);
}

/** Position of the first area with these keys, by walking the list; -1 when there is none. */
int scanForArea(const QList<_DATA_> &areas, int station, const QString &regType, int address);

/** The same, with the area appended, all but its keys zero, where there is none. */
int scanOrAppend(QList<_DATA_> &areas, int station, const QString &regType, int address);

class DataAreaIndex
{
public:
    DataAreaIndex();

    /**
     * Position of the area with these keys; one that is missing is appended, all
     * but its keys zero.
     *
     * Areas that were added to, removed from or moved in the list since the last
     * call are noticed by the list's size, by the place and keys of its first and
     * last area, or by a found position whose keys no longer fit; the index is
     * then built anew. What cannot be noticed is a key changed in place to one
     * that was not there before, between the ends of a list of more than 64 areas.
     */
    int findOrAppend(QList<_DATA_> &areas, int station, const QString &regType, int address)
    {
        if (isAt(areas, next, station, regType, address))
            return last = next++;
        if (isAt(areas, last, station, regType, address))
            return last;
        if (isAt(areas, left, station, regType, address))
            return last = left++;
        return searchOrAppend(areas, station, regType, address);
    }

private:
    struct Slot
    {
        unsigned int hash;
        int position; ///< in the list; -1 when the slot is free
    };

    /** False as well when the type is another text of the same name. */
    static bool isAt(const QList<_DATA_> &areas, int position, int station, const QString &regType, int address)
    {
        // One comparison for both ends: a negative position is a large unsigned one.
        if (static_cast<unsigned int>(position) >= static_cast<unsigned int>(sizeOf(areas)))
            return false;
        const _DATA_ &area = areas.at(position);
        return area.areaIndex == address && area.station == station && sharesText(area.regType, regType);
    }

    int searchOrAppend(QList<_DATA_> &areas, int station, const QString &regType, int address);
    int search(const QList<_DATA_> &areas, int station, const QString &regType, int address);
    void appended(const QList<_DATA_> &areas);
    bool describes(const QList<_DATA_> &areas) const;
    bool endsHaveTheirKeys(const QList<_DATA_> &areas) const;
    void rebuild(const QList<_DATA_> &areas);
    void insert(const QList<_DATA_> &areas, int position);
    void remember(const QList<_DATA_> &areas);
    bool probe(const QList<_DATA_> &areas, int station, const QString &regType, int address, int &position) const;

    std::vector<Slot> table; ///< open addressing, a power of two long, at most two thirds full
    int indexed;             ///< how many areas of the list are in the slots
    const _DATA_ *firstArea; ///< the ends of the list as last seen
    const _DATA_ *lastArea;
    unsigned int firstHash; ///< the keys at the ends, hashed
    unsigned int lastHash;
    // Guesses: positions, of which any may lie outside the list.
    int last; ///< the area found last
    int next; ///< the one behind it
    int left; ///< the one that was expected when the last search found another
};

#endif
