/**
 * @file
 * Helpers over data areas: bits, shown values, and the walk along consecutive
 * areas.
 */
#ifndef DATA_AREAS_H
#define DATA_AREAS_H

#include "driver/modbus_rtu_master.h"
#include "driver/qt_compat.h"

#include <cstddef>

/**
 * @p value with bit @p bit set (@p on nonzero) or cleared. Only the low 8 bits
 * of the bit number are looked at; numbers from 32 on leave the value unchanged.
 */
int _setBitValue(int value, int bit, int on);

/** The 16 bits of an area value that hold a register. */
inline int registerOf(int areaValue)
{
    return areaValue & 0xFFFF;
}

/** The 8 bits of an area value that hold a coil. */
inline int coilOf(int areaValue)
{
    return areaValue & 0xFF;
}

/** Stores a register in an area value; only bytes 0 and 1 are the cache's. */
inline void storeRegister(int &areaValue, int registerValue)
{
    areaValue = (areaValue & ~0xFFFF) | (registerValue & 0xFFFF);
}

/** Stores a coil in an area value. */
inline void storeCoil(int &areaValue, int coilValue)
{
    areaValue = (areaValue & ~0xFF) | (coilValue & 0xFF);
}

/** The value that the host sees: the written one while the area is flagged so, else the one read. */
inline int shownValue(const _DATA_ &area)
{
    return area.writtenFlag ? area.writtenValue : area.readValue;
}

/**
 * Walks the areas of one station and type. Areas of consecutive addresses mostly
 * lie beside each other in the cache, in the order in which they were first
 * asked for; so the next one is tried before it is searched for. Two such runs
 * are followed at once: monitor flags create the coil areas at multiples of 8
 * ahead of the ones between them.
 */
class AreaWalker
{
public:
    /** @param areaType outlives the walker */
    AreaWalker(Modbus_rtu_master &master, int station, const QString &areaType);

    /** The area at @p areaIndex, created if absent. Valid until the next look-up or callback. */
    _DATA_ &at(int areaIndex)
    {
        // One comparison for both ends: a negative position is a large unsigned one.
        if (static_cast<unsigned int>(position) < static_cast<unsigned int>(sizeOf(areas))) {
            _DATA_ &area = areas[position];
            if (hasKeys(area, station, areaType, areaIndex))
                return area;
        }
        return locate(areaIndex);
    }

    /** Position in the cache of the area last visited, or of the one expected next. */
    int where() const { return position; }

    /** Where the areas probably are, from an earlier walk; guesses that are wrong cost a comparison. */
    void expectAt(int likely, int alsoLikely)
    {
        position = likely;
        otherPosition = alsoLikely;
    }

    /** Says that the area last visited is done with: the one beside it is expected next. */
    void advance() { ++position; }

    /**
     * Goes along registers whose areas exist and hold what the reply says,
     * clearing their error flags; result: how many.
     * @param wire two bytes a register, high byte first
     */
    int passUnchangedRegisters(int areaIndex, const unsigned char *wire, int count);

    /**
     * The same for coils.
     * @param packed eight coils a byte, the first in bit 0
     * @param firstBit position of the first coil in @p packed
     */
    int passUnchangedCoils(int areaIndex, const unsigned char *packed, int firstBit, int count);

    const int station;
    const QString &areaType;

private:
    AreaWalker(const AreaWalker &);
    AreaWalker &operator=(const AreaWalker &);

    bool isAt(int candidate, int areaIndex) const
    {
        return static_cast<unsigned int>(candidate) < static_cast<unsigned int>(sizeOf(areas))
               && hasKeys(areas.at(candidate), station, areaType, areaIndex);
    }

    _DATA_ &locate(int areaIndex);

    template <typename SameValue>
    int passUnchanged(int areaIndex, std::size_t firstElement, int count, SameValue sameValue);

    Modbus_rtu_master &owner;
    QList<_DATA_> &areas;
    int position;      ///< of the area last visited, or of the one expected next
    int otherPosition; ///< the same in the other run
};

#endif
