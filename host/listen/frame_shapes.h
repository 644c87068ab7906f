/**
 * @file
 * How long Modbus RTU frames are and what can stand in them, by function code
 * (Modbus application protocol V1.1b3, section 6).
 */
#ifndef RTU_HOST_LISTEN_FRAME_SHAPES_H
#define RTU_HOST_LISTEN_FRAME_SHAPES_H

#include <cstddef>

namespace rtu {

enum class Role { Request, Reply };

enum { ShortestFrame = 4, LongestFrame = 256 };

/** What the first bytes of a frame tell about its length. */
struct FrameLength
{
    enum Kind {
        Known,
        TooEarly, ///< more bytes are needed to tell
        Untold,   ///< only the check sum tells where such a frame ends
        Impossible
    };

    Kind kind = Impossible;
    std::size_t bytes = 0; ///< with Known: station and check sum included
};

/** @param bytes the first @p size bytes of what may be a frame, the station in front */
FrameLength frameLength(Role role, const unsigned char *bytes, std::size_t size);

/**
 * Whether a frame of known length and right check sum is one that the protocol
 * allows. Where frames begin is not known after garbage: bytes that merely look like
 * a frame are rarer when they must make sense as well.
 */
bool isPlausible(Role role, const unsigned char *frame, std::size_t size);

/**
 * Whether @p reply answers @p request as far as its bytes go: station, function, and
 * byte count or echoed fields. An exception reply does when station and function fit.
 *
 * @param request a whole frame
 * @param size bytes of the reply that are there, two or more
 */
bool canAnswer(const unsigned char *request, std::size_t requestSize, const unsigned char *reply, std::size_t size);

} // namespace rtu

#endif
