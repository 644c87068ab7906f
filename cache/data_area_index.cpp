#include "cache/data_area_index.h"

#include "address/register_types.h"

namespace {

const int scanLimit = 64;
const int freeSlot = -1;
const std::size_t fewestSlots = 256;

/** A small number that tells the register types apart; equal texts give equal numbers. */
unsigned int textHash(const QString &text)
{
    const int length = sizeOf(text);
    const QChar *character = text.constData();
    unsigned int hash = static_cast<unsigned int>(length);
    for (int i = 0; i < length; ++i)
        hash = hash * 31u + character[i].unicode();
    return hash;
}

unsigned int keyHash(int station, const QString &regType, int address)
{
    unsigned int hash = static_cast<unsigned int>(address);
    hash += static_cast<unsigned int>(station) * 0x9E3779B1u;
    hash += textHash(regType) * 0x85EBCA77u;
    // Consecutive addresses are what a cache is full of. Left beside each other
    // they would run into the next group of addresses; so all bits are mixed.
    hash ^= hash >> 16;
    hash *= 0x7FEB352Du;
    hash ^= hash >> 15;
    hash *= 0x846CA68Bu;
    return hash ^ (hash >> 16);
}

unsigned int keyHashOf(const _DATA_ &area)
{
    return keyHash(area.station, area.regType, area.areaIndex);
}

/** The text of a type that the table knows, so that its areas share one buffer; else the text itself. */
QString sharedTypeText(const QString &regType)
{
    const RegisterType *type = findRegisterType(regType);
    return type ? registerTypeText(*type) : regType;
}

_DATA_ newArea(int station, const QString &regType, int address)
{
    _DATA_ area = _DATA_();
    area.station = station;
    area.regType = sharedTypeText(regType);
    area.areaIndex = address;
    return area;
}

int append(QList<_DATA_> &areas, int station, const QString &regType, int address)
{
    makeRoomForOne(areas);
    areas.append(newArea(station, regType, address));
    return sizeOf(areas) - 1;
}

} // namespace

int scanForArea(const QList<_DATA_> &areas, int station, const QString &regType, int address)
{
    const int count = sizeOf(areas);
    for (int i = 0; i < count; ++i) {
        if (hasKeys(areas.at(i), station, regType, address))
            return i;
    }
    return -1;
}

int scanOrAppend(QList<_DATA_> &areas, int station, const QString &regType, int address)
{
    const int found = scanForArea(areas, station, regType, address);
    return found >= 0 ? found : append(areas, station, regType, address);
}

DataAreaIndex::DataAreaIndex()
    : indexed(0)
    , firstArea(0)
    , lastArea(0)
    , firstHash(0)
    , lastHash(0)
    , last(-1)
    , next(-1)
    , left(-1)
{
}

int DataAreaIndex::searchOrAppend(QList<_DATA_> &areas, int station, const QString &regType, int address)
{
    const int position = search(areas, station, regType, address);
    if (position < 0) {
        append(areas, station, regType, address);
        appended(areas);
    } else {
        left = next;
        next = position + 1;
        last = position;
    }
    return last;
}

int DataAreaIndex::search(const QList<_DATA_> &areas, int station, const QString &regType, int address)
{
    if (sizeOf(areas) <= scanLimit)
        return scanForArea(areas, station, regType, address);

    if (!describes(areas))
        rebuild(areas);
    int position = -1;
    const bool consistent = probe(areas, station, regType, address, position);
    if (!consistent || (position < 0 && !endsHaveTheirKeys(areas))) {
        rebuild(areas);
        probe(areas, station, regType, address, position);
    }
    return position;
}

void DataAreaIndex::appended(const QList<_DATA_> &areas)
{
    const int count = sizeOf(areas);
    last = count - 1;
    next = count;
    if (count <= scanLimit)
        return;
    const bool onlyThisOneIsNew = indexed == count - 1 && indexed > 0 && firstArea == &areas.at(0);
    const bool fits = 3 * static_cast<std::size_t>(count) <= 2 * table.size();
    if (!onlyThisOneIsNew || !fits) {
        rebuild(areas);
        return;
    }
    insert(areas, count - 1);
    remember(areas);
}

bool DataAreaIndex::describes(const QList<_DATA_> &areas) const
{
    return indexed == sizeOf(areas) && firstArea == &areas.at(0) && lastArea == &areas.at(indexed - 1);
}

/** Asked on a miss only: a list that was cleared and filled anew can have its size and place again. */
bool DataAreaIndex::endsHaveTheirKeys(const QList<_DATA_> &areas) const
{
    return keyHashOf(areas.first()) == firstHash && keyHashOf(areas.last()) == lastHash;
}

void DataAreaIndex::rebuild(const QList<_DATA_> &areas)
{
    const int count = sizeOf(areas);
    std::size_t size = fewestSlots;
    while (2 * size < 3 * static_cast<std::size_t>(count))
        size *= 2;
    const Slot unused = {0, freeSlot};
    table.assign(size, unused);
    for (int i = 0; i < count; ++i)
        insert(areas, i);
    remember(areas);
}

void DataAreaIndex::insert(const QList<_DATA_> &areas, int position)
{
    const _DATA_ &area = areas.at(position);
    const std::size_t mask = table.size() - 1;
    const Slot slot = {keyHashOf(area), position};
    std::size_t i = slot.hash & mask;
    while (table[i].position != freeSlot)
        i = (i + 1) & mask;
    table[i] = slot;
}

void DataAreaIndex::remember(const QList<_DATA_> &areas)
{
    indexed = sizeOf(areas);
    firstArea = &areas.at(0);
    lastArea = &areas.at(indexed - 1);
    firstHash = keyHashOf(*firstArea);
    lastHash = keyHashOf(*lastArea);
}

/** Finds the position, -1 for none. False when an area no longer has the keys it was entered with. */
bool DataAreaIndex::probe(const QList<_DATA_> &areas, int station, const QString &regType, int address,
                          int &position) const
{
    const unsigned int hash = keyHash(station, regType, address);
    const std::size_t mask = table.size() - 1;
    std::size_t i = hash & mask;
    for (; table[i].position != freeSlot; i = (i + 1) & mask) {
        if (table[i].hash != hash)
            continue;
        position = table[i].position;
        const _DATA_ &area = areas.at(position);
        if (hasKeys(area, station, regType, address))
            return true;
        if (keyHashOf(area) != hash)
            return false;
    }
    position = -1;
    return true;
}
