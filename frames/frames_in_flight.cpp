#include "frames/frames_in_flight.h"

#include "driver/qt_compat.h"

#include <cstring>

FRAME_PRO &FramesInFlight::add()
{
    if (!frames.isEmpty() || sizeOf(spare) != 1) {
        static const FRAME_PRO blank = FRAME_PRO();
        frames.append(blank);
        return frames.last();
    }
    frames.swap(spare);
    FRAME_PRO &f = frames.first();
    const bool wasRead = f.frameKind != 0; // then no more than a read request was ever put into it
    std::memset(f.frame, 0, wasRead ? static_cast<std::size_t>(RequestBytes) : sizeof f.frame);
    f.frameLen = 0;
    f.replyLen = 0;
    f.frameKind = 0;
    f.dataLen = 0;
    f.field5 = 0;
    return f;
}

void FramesInFlight::removeFirst()
{
    if (sizeOf(frames) > 1) {
        frames.removeFirst();
        return;
    }
    spare.clear();
    frames.swap(spare);
}
