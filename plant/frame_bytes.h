/**
 * @file
 * Request frames as a slave hears them: check sum and framing.
 *
 * The check sum is written out here on purpose instead of shared with the
 * master under test: two implementations that agree say more than one.
 */
#ifndef RTU_PLANT_FRAME_BYTES_H
#define RTU_PLANT_FRAME_BYTES_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace plant {

using Bytes = std::vector<std::uint8_t>;

std::uint16_t checkSum(const std::uint8_t *bytes, std::size_t size);

/** Replaces the last two bytes by the check sum of those before. */
void renewCheckSum(Bytes &frame);

/** True when the last two bytes are the check sum of those before. */
bool checkSumIsRight(const std::uint8_t *frame, std::size_t size);

/** Picks requests out of the bytes that arrive. */
class RequestReader
{
public:
    void append(const std::uint8_t *bytes, std::size_t size) { m_bytes.insert(m_bytes.end(), bytes, bytes + size); }
    bool empty() const { return m_bytes.empty(); }

    /**
     * Takes the next request with a right check sum; noise before it is dropped.
     *
     * @param lineIsQuiet nothing more is coming: what is no request by now is
     *        dropped. Only then can a request of unknown function end.
     */
    bool take(bool lineIsQuiet, Bytes *request);

private:
    Bytes m_bytes;
};

} // namespace plant

#endif
