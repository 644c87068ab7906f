#include "host/listen/frame_shapes.h"

#include "kit/line/frame_bytes.h"

#include <algorithm>
#include <iterator>

namespace rtu {

namespace {

/** A frame of @c fixed bytes, and as many more as a byte count in it says. */
struct Shape
{
    int function;
    std::size_t fixed;
    std::size_t countAt;   ///< position of the byte count; 0: there is none
    std::size_t countSize; ///< bytes of the byte count
};

const Shape requestShapes[] = {
    {1, 8, 0, 0},  {2, 8, 0, 0},  {3, 8, 0, 0},   {4, 8, 0, 0},    {5, 8, 0, 0},  {6, 8, 0, 0},
    {7, 4, 0, 0},  {11, 4, 0, 0}, {12, 4, 0, 0},  {15, 9, 6, 1},   {16, 9, 6, 1}, {17, 4, 0, 0},
    {20, 5, 2, 1}, {21, 5, 2, 1}, {22, 10, 0, 0}, {23, 13, 10, 1}, {24, 6, 0, 0},
};

const Shape replyShapes[] = {
    {1, 5, 2, 1},  {2, 5, 2, 1},  {3, 5, 2, 1},   {4, 5, 2, 1},  {5, 8, 0, 0},  {6, 8, 0, 0},
    {7, 5, 0, 0},  {11, 8, 0, 0}, {12, 5, 2, 1},  {15, 8, 0, 0}, {16, 8, 0, 0}, {17, 5, 2, 1},
    {20, 5, 2, 1}, {21, 5, 2, 1}, {22, 10, 0, 0}, {23, 5, 2, 1}, {24, 6, 2, 2},
};

const int HighestStation = 247;
const int HighestException = 11;
const int MostBitsRead = 2000;
const int MostRegistersRead = 125;
const int MostBitsWritten = 1968;
const int MostRegistersWritten = 123;
const int Addresses = 65536;

int rawWord(const unsigned char *bytes, std::size_t position)
{
    return bytes[position] * 256 + bytes[position + 1];
}

int bytesOfBits(int bits)
{
    return (bits + 7) / 8;
}

const Shape *shapeOf(Role role, int function)
{
    const Shape *const begin = role == Role::Request ? std::begin(requestShapes) : std::begin(replyShapes);
    const Shape *const end = role == Role::Request ? std::end(requestShapes) : std::end(replyShapes);
    const Shape *const found = std::find_if(begin, end, [=](const Shape &s) { return s.function == function; });
    return found == end ? nullptr : found;
}

FrameLength known(std::size_t bytes)
{
    FrameLength length;
    length.kind = bytes <= LongestFrame ? FrameLength::Known : FrameLength::Impossible;
    length.bytes = bytes;
    return length;
}

FrameLength unknown(FrameLength::Kind kind)
{
    FrameLength length;
    length.kind = kind;
    return length;
}

bool fitsTable(const unsigned char *frame, int most)
{
    const int count = rawWord(frame, 4);
    return count >= 1 && count <= most && rawWord(frame, 2) + count <= Addresses;
}

bool isPlausibleRequest(const unsigned char *frame)
{
    switch (frame[1]) {
    case 1:
    case 2:
        return fitsTable(frame, MostBitsRead);
    case 3:
    case 4:
        return fitsTable(frame, MostRegistersRead);
    case 5:
        return frame[5] == 0 && (frame[4] == 0 || frame[4] == 0xFF);
    case 15:
        return fitsTable(frame, MostBitsWritten) && frame[6] == bytesOfBits(rawWord(frame, 4));
    case 16:
        return fitsTable(frame, MostRegistersWritten) && frame[6] == 2 * rawWord(frame, 4);
    case 23:
        return fitsTable(frame, MostRegistersRead) && frame[10] == 2 * rawWord(frame, 8);
    default:
        return true;
    }
}

bool isPlausibleReply(const unsigned char *frame)
{
    switch (frame[1]) {
    case 1:
    case 2:
        return frame[2] >= 1 && frame[2] <= bytesOfBits(MostBitsRead);
    case 3:
    case 4:
    case 23:
        return frame[2] >= 2 && frame[2] % 2 == 0 && frame[2] <= 2 * MostRegistersRead;
    case 5:
        return isPlausibleRequest(frame);
    case 15:
        return fitsTable(frame, MostBitsWritten);
    case 16:
        return fitsTable(frame, MostRegistersWritten);
    default:
        return true;
    }
}

/** Number of bytes at the front of a reply, behind the function, that repeat the request. */
std::size_t repeatedBytes(int function)
{
    switch (function) {
    case 5:
    case 6:
    case 15:
    case 16:
        return 4;
    case 22:
        return 6;
    case 8:
        return 2; // the sub-function
    default:
        return 0;
    }
}

/** The byte count that a good reply has; below 0: the request does not tell. */
int expectedByteCount(const unsigned char *request, std::size_t size)
{
    if (size < 8)
        return -1;
    switch (request[1]) {
    case 1:
    case 2:
        return bytesOfBits(rawWord(request, 4)) & 0xFF;
    case 3:
    case 4:
    case 23:
        return 2 * rawWord(request, 4) & 0xFF;
    default:
        return -1;
    }
}

} // namespace

FrameLength frameLength(Role role, const unsigned char *bytes, std::size_t size)
{
    if (size < 2)
        return unknown(FrameLength::TooEarly);
    const int function = bytes[1];
    if (function == 0)
        return unknown(FrameLength::Impossible);
    if (function & ExceptionFlag)
        return role == Role::Reply ? known(ExceptionReplyBytes) : unknown(FrameLength::Impossible);
    const Shape *shape = shapeOf(role, function);
    if (!shape)
        return unknown(FrameLength::Untold);
    if (shape->countAt == 0)
        return known(shape->fixed);
    if (size < shape->countAt + shape->countSize)
        return unknown(FrameLength::TooEarly);
    const int count = shape->countSize == 1 ? bytes[shape->countAt] : rawWord(bytes, shape->countAt);
    return known(shape->fixed + static_cast<std::size_t>(count));
}

bool isPlausible(Role role, const unsigned char *frame, std::size_t size)
{
    if (frame[0] > HighestStation || size < ShortestFrame)
        return false;
    if (frame[1] & ExceptionFlag) {
        const bool knownFunction = shapeOf(Role::Request, frame[1] & ~ExceptionFlag) != nullptr;
        return knownFunction && frame[0] > 0 && frame[2] >= 1 && frame[2] <= HighestException;
    }
    return role == Role::Request ? isPlausibleRequest(frame) : frame[0] > 0 && isPlausibleReply(frame);
}

bool canAnswer(const unsigned char *request, std::size_t requestSize, const unsigned char *reply, std::size_t size)
{
    if (reply[0] != request[0] || (reply[1] & ~ExceptionFlag) != request[1])
        return false;
    if (reply[1] & ExceptionFlag)
        return true;
    const int byteCount = expectedByteCount(request, requestSize);
    if (byteCount >= 0 && size > 2 && reply[2] != byteCount)
        return false;
    const std::size_t end = std::min({2 + repeatedBytes(request[1]), size, requestSize});
    return std::equal(request + 2, request + end, reply + 2);
}

} // namespace rtu
