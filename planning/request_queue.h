/**
 * @file
 * What the queues of host writes and of one-off reads have in common.
 */
#ifndef REQUEST_QUEUE_H
#define REQUEST_QUEUE_H

#include "driver/modbus_rtu_records.h"

#include <QtCore/QList>

/** True when the unit names this range; its tag and data do not count. */
bool isRange(const VARIABLE &unit, int station, const QString &regType, int startAddr, int count);

/**
 * Puts a request over the last queued request for the same range, entry 0
 * spared, which may be on the line; else at the end. A queue holds 513 entries
 * at most: beyond that the newest request takes the last place.
 */
void addVarToList(QList<VARIABLE> &list, const VARIABLE &var);

/** How one range is cut into requests of at most a limit of elements. */
class RequestPieces
{
public:
    /** A limit of 0 or below cuts nothing: the range is one request, as merging has it. */
    RequestPieces(int count, int limit);

    /** Number of requests; 0 or below means none. */
    int number() const { return pieces; }

    /** First element of request @p k, counted from the start of the range. */
    int offset(int k) const;

    /** Elements of request @p k. */
    int length(int k) const { return k == pieces - 1 ? last : each; }

private:
    int pieces;
    int each;
    int last;
};

#endif
