/**
 * @file
 * The queues of host writes and of condition reads: what they have in common.
 */
#ifndef REQUEST_QUEUE_H
#define REQUEST_QUEUE_H

#include "driver/modbus_rtu_records.h"
#include "driver/qt_compat.h"
#include "driver/record_copy.h"

#include <QtCore/QList>

/** Position of the last entry of a full queue, which holds 513. */
enum { LastQueuePlace = 512 };

/** True when the unit names this range; its tag and data do not count. */
bool isRange(const VARIABLE &unit, int station, const QString &regType, int startAddr, int count);

/** True when both units name the same range. */
inline bool isSameRange(const VARIABLE &a, const VARIABLE &b)
{
    return isRange(a, b.station, b.regType, b.startAddr, b.count);
}

/**
 * Puts a request over the last queued request for the same range, entry 0
 * spared, which may be on the line; else at the end. A queue holds 513 entries
 * at most: beyond that the newest request takes the last place.
 */
void addVarToList(QList<VARIABLE> &list, const VARIABLE &var);

/**
 * The requests that one range is cut into: q = count / limit of limit elements
 * each and a last one of the rest, in signed 32-bit division toward zero. So a
 * negative limit can give none, or requests of negative counts. A limit of 0
 * divides nothing: the range stays one request.
 */
class RequestPieces
{
public:
    /** What the pieces are turned into after the cut. */
    enum Unit {
        Elements,       ///< nothing: they are asked for as they are
        BitsAsRegisters ///< registers: start / 16, and the number of bits rounded up to whole registers
    };

    RequestPieces(int startAddr, int count, int limit, Unit unit = Elements);

    /** The whole range as one request, whatever its count. */
    static RequestPieces uncut(int startAddr, int count, Unit unit);

    /** Number of requests; 0 or below means none. */
    int number() const { return pieces; }

    /** First element of request @p k, counted from the start of the range, before it is turned into registers. */
    int offset(int k) const;

    /** First element of request @p k. */
    int startOf(int k) const;

    /** Elements of request @p k; may be negative. */
    int countOf(int k) const;

    /** The last request from number @p from on that asks for this range, or -1. */
    int lastWith(int startAddr, int count, int from) const;

private:
    int lastStartingWithin(long long lowest, long long highest, int from) const;
    int lengthOf(int k) const { return k == pieces - 1 ? last : each; }

    int start;
    Unit unit;
    int pieces;
    int each; ///< elements of every request but the last
    int last; ///< elements of the last request
};

/**
 * Queues the pieces as addVarToList() would one after the other, without going
 * along those of a long range that leave no trace. @p unit is left as the last piece.
 *
 * @param unit station, type and tag of every piece
 * @param fill called as fill(unit, k) to put the payload of piece k into the unit
 */
template <typename Fill>
void addPiecesToList(QList<VARIABLE> &list, const RequestPieces &pieces, VARIABLE &unit, const Fill &fill);

// --- what follows is the template's ---------------------------------------------------

/** Position of a queued request for the same range between the head and the last place, or -1. */
int queuedBetween(const QList<VARIABLE> &list, const VARIABLE &unit);

template <typename Fill>
void makePiece(const RequestPieces &pieces, VARIABLE &unit, const Fill &fill, int k)
{
    unit.startAddr = pieces.startOf(k);
    unit.count = pieces.countOf(k);
    fill(unit, k);
}

/**
 * The pieces from @p from on into a full queue: each goes over its equal where
 * there is one; all others share the last place, which the last of them keeps.
 */
template <typename Fill>
void addPiecesToFullList(QList<VARIABLE> &list, const RequestPieces &pieces, VARIABLE &unit, const Fill &fill, int from)
{
    for (int i = 1; i < LastQueuePlace; ++i) {
        const VARIABLE &queued = list.at(i);
        if (queued.station != unit.station || queued.regType != unit.regType)
            continue;
        const int k = pieces.lastWith(queued.startAddr, queued.count, from);
        if (k < 0)
            continue;
        makePiece(pieces, unit, fill, k);
        copyUnit(list[i], unit);
    }
    for (int k = pieces.number() - 1; k >= from; --k) {
        makePiece(pieces, unit, fill, k);
        if (queuedBetween(list, unit) >= 0)
            continue;
        copyUnit(list[LastQueuePlace], unit);
        return;
    }
}

template <typename Fill>
void addPiecesToList(QList<VARIABLE> &list, const RequestPieces &pieces, VARIABLE &unit, const Fill &fill)
{
    int k = 0;
    for (; k < pieces.number() && sizeOf(list) <= LastQueuePlace; ++k) {
        makePiece(pieces, unit, fill, k);
        addVarToList(list, unit);
    }
    if (k >= pieces.number())
        return;
    addPiecesToFullList(list, pieces, unit, fill, k);
    makePiece(pieces, unit, fill, pieces.number() - 1);
}

#endif
