/**
 * @file
 * Taking frames into and out of the transaction in flight without asking the
 * allocator for two kilobytes every time: the last frame of a transaction stands
 * by for the next one.
 */
#ifndef FRAMES_IN_FLIGHT_H
#define FRAMES_IN_FLIGHT_H

#include "driver/modbus_rtu_records.h"

#include <QtCore/QList>

/** Bytes of read requests, single writes and the echoes of writes, CRC included. */
enum { RequestBytes = 8 };

class FramesInFlight
{
public:
    /** @param standby keeps at most one frame while @p transaction is empty */
    FramesInFlight(QList<FRAME_PRO> &transaction, QList<FRAME_PRO> &standby) : frames(transaction), spare(standby) {}

    /** A frame at the end of the queue, every byte and count of it zero; its unit is left to be filled. */
    FRAME_PRO &add();

    /** Removes the first frame, if there is one. */
    void removeFirst();

private:
    QList<FRAME_PRO> &frames;
    QList<FRAME_PRO> &spare;
};

#endif
