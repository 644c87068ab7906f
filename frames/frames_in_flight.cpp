#include "frames/frames_in_flight.h"

#include "driver/qt_compat.h"

#include <cstring>

namespace {

const std::size_t readRequestBytes = 8;

} // namespace

FRAME_PRO &FramesInFlight::add()
{
    if (!frames.isEmpty() || sizeOf(spare) != 1) {
        static const FRAME_PRO blank = FRAME_PRO();
        frames.append(blank);
        return frames.last();
    }
    frames.swap(spare);
    FRAME_PRO &f = frames.first();
    const bool wasRead = f.frameKind != 0; // then nothing but its eight bytes was ever set
    std::memset(f.frame, 0, wasRead ? readRequestBytes : sizeof f.frame);
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
