/**
 * @file
 * Captures: frames with their times in the classic pcap format, link type 147 (the
 * first of those left to users), which Wireshark reads with its Modbus RTU dissector.
 */
#ifndef RTU_HOST_LISTEN_CAPTURE_FILE_H
#define RTU_HOST_LISTEN_CAPTURE_FILE_H

#include "host/listen/traffic_reader.h"

#include <chrono>
#include <cstdint>
#include <istream>
#include <ostream>
#include <vector>

namespace rtu {

/** A time of day of the line's clock. Both clocks are looked at once, so that distances in a capture are true. */
class CaptureClock
{
public:
    using Time = std::chrono::nanoseconds; ///< since 1970-01-01 00:00 UTC

    CaptureClock();
    explicit CaptureClock(Time atOrigin) : m_offset(atOrigin) {}

    /**
     * Of a capture that begins at @p first, however long ago that was: its times lie behind the
     * origin, which stands for "never" in many places.
     */
    static CaptureClock ofPast(Time first);

    Time timeOf(TimePoint time) const { return time.time_since_epoch() + m_offset; }
    TimePoint pointOf(Time time) const;

private:
    Time m_offset; ///< time of day when the line's clock shows 0
};

/** One frame, or what came in the place of one. */
struct CaptureRecord
{
    CaptureClock::Time time{0}; ///< since 1970
    QByteArray bytes;
};

/** Whoever reads the other end of a pipe gets each frame at once: nothing is held back. */
class CaptureWriter
{
public:
    /** Writes the file's header. */
    CaptureWriter(std::ostream &out, const CaptureClock &clock);

    void write(const QByteArray &bytes, TimePoint time);
    /** The request when it was sent, and what came back, when it was complete. */
    void write(const Transaction &transaction);
    /** False: the disk is full, or nobody reads the pipe any more. */
    bool good() const { return m_out.good(); }

private:
    std::ostream &m_out;
    CaptureClock m_clock;
};

class CaptureReader
{
public:
    /**
     * Reads the file's header: either byte order, times in microseconds or nanoseconds.
     *
     * @throws std::runtime_error that says what is wrong with the file
     */
    explicit CaptureReader(std::istream &in);

    /**
     * @return false: the file has ended
     * @throws std::runtime_error when it ends within a record, or a record is longer than any frame can be
     */
    bool read(CaptureRecord &record);

private:
    std::uint32_t word(const unsigned char *bytes) const;

    std::istream &m_in;
    bool m_bigEndian = false;
    bool m_nanoseconds = false;
    std::uint32_t m_number = 0; ///< of the record, from 1
};

/**
 * Hands a whole capture to @p traffic, as if it arrived now, and finishes it.
 *
 * @throws std::runtime_error as CaptureReader does; what stood in front of the fault has been told
 */
void takeCapture(std::istream &in, const CaptureClock &clock, TrafficReader &traffic);

/** The same by CaptureClock::ofPast(). From then on times of day are printed as those of the capture. */
void takePastCapture(std::istream &in, TrafficReader &traffic);

} // namespace rtu

#endif
