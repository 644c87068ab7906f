/**
 * @file
 * What a host may expect the cache to show, kept from outside: values that the
 * slaves confirmed, values that were written, and where neither can be told.
 *
 * A place is a coil, an input or a register of a station. Two host writes that
 * overlap while one is still queued make a place uncertain until the queue is
 * empty and the place is read again; a write that was pushed out of a full
 * queue, or that goes nowhere but into the cache, makes it uncertain for good.
 */
#ifndef PROPERTY_CACHE_SHADOW_H
#define PROPERTY_CACHE_SHADOW_H

#include "property/findings.h"
#include "property/unit_range.h"
#include "support/driver_fixture.h"

#include <map>
#include <set>
#include <tuple>
#include <vector>

namespace property {

class CacheShadow
{
public:
    explicit CacheShadow(Findings &findings);

    /** The cache was emptied. */
    void reset(int linkId);

    /** The host watches these from now on. */
    void setPlan(const support::Keys &keys);

    /** A host write, its request unit whole; @p queuedBefore is the write queue before the call. */
    void hostWrote(const VARIABLE &request, const std::vector<UnitRange> &queuedBefore, int pieceLimit,
                   bool reachesSlave);

    /** A queued unit was overwritten by a newer one, of the same place or because the queue is full. */
    void replaced(const UnitRange &unit, bool samePlace);

    void queueRanEmpty();

    /** The driver accepted this reply to a read. */
    void readAccepted(const FRAME_PRO &request, const QByteArray &reply);

    /** The driver took the write as done: the cache must show it. */
    void writeAccepted(const VARIABLE &unit);

    /** The driver gave the write up: the cache must show what it was before, and the host must know. */
    void writeGivenUp(const VARIABLE &unit, const support::Changes &changes);

    /** Places that the read-out of the host must show as confirmed. */
    void checkReadOut(int station, const QString &regType, int address, int count, const QList<VARIABLE> &queued);

    int confirmedWrites = 0;  ///< places compared after an acknowledgement
    int rolledBack = 0;       ///< places compared after a write was given up
    int comparedReadOuts = 0; ///< places compared on a read-out

private:
    typedef std::tuple<int, char, int> Place; ///< station, area '0' '1' '3' '4', index

    struct State
    {
        int confirmed = 0; ///< a new cache shows 0
        bool known = true;
        bool uncertain = false;
        bool lost = false;
    };

    /** The single places of a run. */
    static std::vector<Place> each(const PlaceRun &run);
    static int shown(const Place &place);
    bool isCertain(const Place &place);
    static bool isPending(const Place &place, const QList<VARIABLE> &queued);
    void spoil(const PlaceRun &run);
    void lose(const PlaceRun &run);
    int writtenValue(const VARIABLE &unit, const Place &place);
    bool isWatched(const Place &place, const char *regType) const;
    void checkReported(const VARIABLE &unit, const Place &place, const support::Changes &changes);

    Findings &findings;
    std::map<Place, State> states;
    std::set<Place> uncertainPlaces;
    support::Keys plan;
    int linkId = 0;
};

} // namespace property

#endif
