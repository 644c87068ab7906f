#include "frames/frame_queue.h"

#include "driver/qt_compat.h"

#include <cstring>

namespace {

const std::size_t readRequestBytes = 8;

} // namespace

FRAME_PRO &FrameQueue::add()
{
    if (!frames_.isEmpty() || sizeOf(spare_) != 1) {
        static const FRAME_PRO blank = FRAME_PRO();
        frames_.append(blank);
        return frames_.last();
    }
    frames_.swap(spare_);
    FRAME_PRO &f = frames_.first();
    const bool wasRead = f.frameKind != 0; // then nothing but its eight bytes was ever set
    std::memset(f.frame, 0, wasRead ? readRequestBytes : sizeof f.frame);
    f.frameLen = 0;
    f.replyLen = 0;
    f.frameKind = 0;
    f.dataLen = 0;
    f.field5 = 0;
    return f;
}

void FrameQueue::removeFirst()
{
    if (sizeOf(frames_) > 1) {
        frames_.removeFirst();
        return;
    }
    spare_.clear();
    frames_.swap(spare_);
}
