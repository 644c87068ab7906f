#include "property/cache_shadow.h"

#include "support/unit_text.h"

#include <algorithm>

namespace property {

namespace {

bool typeIs(const QString &regType, const char *name)
{
    return regType == QLatin1String(name);
}

int wordAt(const unsigned char *bytes)
{
    return bytes[0] + 256 * bytes[1];
}

} // namespace

CacheShadow::CacheShadow(Findings &found) : findings(found) {}

void CacheShadow::reset(int link)
{
    states.clear();
    uncertainPlaces.clear();
    plan.clear();
    linkId = link;
}

void CacheShadow::setPlan(const support::Keys &keys)
{
    plan = keys;
}

std::vector<CacheShadow::Place> CacheShadow::each(const PlaceRun &run)
{
    std::vector<Place> places;
    for (int i = run.first; i <= run.last; ++i)
        places.push_back(Place(run.station, run.area, i));
    return places;
}

// What intf_getData() shows.
int CacheShadow::shown(const Place &place)
{
    const char type[] = {std::get<1>(place), 'x', '\0'};
    QString regType = QLatin1String(type);
    unsigned char bytes[2] = {0, 0};
    intf_getData(std::get<0>(place), &regType, std::get<2>(place), 1, bytes);
    return wordAt(bytes);
}

bool CacheShadow::isCertain(const Place &place)
{
    const State &state = states[place];
    return !state.uncertain && !state.lost;
}

void CacheShadow::spoil(const PlaceRun &run)
{
    for (const Place &place : each(run)) {
        states[place].uncertain = true;
        uncertainPlaces.insert(place);
    }
}

void CacheShadow::lose(const PlaceRun &run)
{
    for (const Place &place : each(run))
        states[place].lost = true;
}

// --- host writes ----------------------------------------------------------------------

void CacheShadow::hostWrote(const VARIABLE &request, const std::vector<UnitRange> &queuedBefore, int pieceLimit,
                            bool reachesSlave)
{
    const PlaceRun own = placesOf(request);
    if (!reachesSlave) {
        lose(own);
        return;
    }
    const bool split = request.count > pieceLimit && !typeIs(request.regType, "0x");
    // The halves of a value, or two bits of a register, in two requests complete one after the other.
    if (split && !typeIs(request.regType, "4x")) {
        lose(own);
        return;
    }
    for (const UnitRange &unit : queuedBefore) {
        const PlaceRun queued = placesOf(unit);
        if (!queued.overlaps(own))
            continue;
        spoil(queued);
        spoil(own);
    }
}

void CacheShadow::replaced(const UnitRange &unit, bool samePlace)
{
    if (samePlace)
        spoil(placesOf(unit));
    else
        lose(placesOf(unit));
}

// Nothing is outstanding any more, but what the cache took over has to be read to be known.
void CacheShadow::queueRanEmpty()
{
    for (const Place &place : uncertainPlaces) {
        states[place].uncertain = false;
        states[place].known = false;
    }
    uncertainPlaces.clear();
}

int CacheShadow::writtenValue(const VARIABLE &unit, const Place &place)
{
    const int offset = std::get<2>(place) - unit.startAddr;
    if (typeIs(unit.regType, "0x"))
        return unit.data[offset];
    if (typeIs(unit.regType, "4x"))
        return wordAt(unit.data + 2 * offset);
    if (typeIs(unit.regType, "4x_double"))
        return wordAt(unit.data + 2 * (offset % 2 == 0 ? offset + 1 : offset - 1));
    // Bits: the rest of the register is what it was.
    int value = states[place].confirmed;
    for (int i = 0; i < unit.count; ++i) {
        if ((unit.startAddr + i) / 16 != std::get<2>(place))
            continue;
        const int mask = 1 << ((unit.startAddr + i) % 16);
        value = unit.data[i] == 1 ? value | mask : value & ~mask;
    }
    return value;
}

void CacheShadow::writeAccepted(const VARIABLE &unit)
{
    const bool bits = typeIs(unit.regType, "4x_bit");
    for (const Place &place : each(placesOf(unit))) {
        if (!isCertain(place))
            continue;
        State &state = states[place];
        if (bits && !state.known)
            continue;
        const int expected = writtenValue(unit, place);
        state.confirmed = expected;
        state.known = true;
        ++confirmedWrites;
        if (shown(place) != expected)
            findings.add("acknowledged write " + support::unitText(unit) + ": element "
                         + std::to_string(std::get<2>(place)) + " shows " + std::to_string(shown(place))
                         + " instead of " + std::to_string(expected));
    }
}

// --- rolling back ---------------------------------------------------------------------

void CacheShadow::writeGivenUp(const VARIABLE &unit, const support::Changes &changes)
{
    if (typeIs(unit.regType, "4x_bit")) {
        const support::Change expected = {linkId, unit.station, unit.regType, unit.startAddr};
        if (std::count(changes.begin(), changes.end(), expected) < unit.count)
            findings.add("given-up write " + support::unitText(unit) + " was not reported for every bit");
    }
    for (const Place &place : each(placesOf(unit))) {
        if (!isCertain(place) || !states[place].known)
            continue;
        ++rolledBack;
        if (shown(place) != states[place].confirmed)
            findings.add("given-up write " + support::unitText(unit) + ": element " + std::to_string(std::get<2>(place))
                         + " shows " + std::to_string(shown(place)) + " instead of "
                         + std::to_string(states[place].confirmed));
        checkReported(unit, place, changes);
    }
}

bool CacheShadow::isWatched(const Place &place, const char *regType) const
{
    for (int i = 0; i < static_cast<int>(plan.size()); ++i) {
        const KEY_ADDRESS &key = plan.at(i);
        if (key.station != std::get<0>(place) || !typeIs(key.regType, regType))
            continue;
        if (std::get<2>(place) >= key.startAddr && std::get<2>(place) < key.startAddr + key.count)
            return true;
    }
    return false;
}

// Every coil is reported, every watched register that now shows another value.
void CacheShadow::checkReported(const VARIABLE &unit, const Place &place, const support::Changes &changes)
{
    if (typeIs(unit.regType, "4x_bit"))
        return;
    const bool coil = typeIs(unit.regType, "0x");
    if (!coil && (writtenValue(unit, place) == states[place].confirmed || !isWatched(place, "4x")))
        return;
    const support::Change expected = {linkId, unit.station, QLatin1String(coil ? "0x" : "4x"), std::get<2>(place)};
    if (std::find(changes.begin(), changes.end(), expected) == changes.end())
        findings.add("given-up write " + support::unitText(unit) + " was not reported for element "
                     + std::to_string(std::get<2>(place)));
}

// --- reads ----------------------------------------------------------------------------

void CacheShadow::readAccepted(const FRAME_PRO &request, const QByteArray &reply)
{
    static const char areas[] = {'?', '0', '1', '4', '3'}; // by function code
    const int function = request.frame[1];
    const int start = request.frame[2] * 256 + request.frame[3];
    const int count = request.frame[4] * 256 + request.frame[5];
    const unsigned char *data = reinterpret_cast<const unsigned char *>(reply.constData()) + 3;
    for (int i = 0; i < count; ++i) {
        State &state = states[Place(request.var.station, areas[function], start + i)];
        state.confirmed = function <= 2 ? (data[i / 8] >> (i % 8)) & 1 : data[2 * i] * 256 + data[2 * i + 1];
        state.known = true;
    }
}

bool CacheShadow::isPending(const Place &place, const QList<VARIABLE> &queued)
{
    for (int i = 0; i < static_cast<int>(queued.size()); ++i) {
        const PlaceRun run = placesOf(queued.at(i));
        if (run.station == std::get<0>(place) && run.area == std::get<1>(place) && run.holds(std::get<2>(place)))
            return true;
    }
    return false;
}

void CacheShadow::checkReadOut(int station, const QString &regType, int address, int count,
                               const QList<VARIABLE> &queued)
{
    for (const Place &place : each(placesOf(station, regType, address, count))) {
        if (!isCertain(place) || !states[place].known || isPending(place, queued))
            continue;
        ++comparedReadOuts;
        if (shown(place) != states[place].confirmed)
            findings.add("element " + std::to_string(std::get<2>(place)) + " of area "
                         + std::string(1, std::get<1>(place)) + ", station " + std::to_string(station) + ", shows "
                         + std::to_string(shown(place)) + " instead of " + std::to_string(states[place].confirmed));
    }
}

} // namespace property
