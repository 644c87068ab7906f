/**
 * @file
 * Takes the traffic of a master with its slaves apart, as bytes and their times of
 * arrival tell it.
 */
#ifndef RTU_HOST_LISTEN_TRAFFIC_READER_H
#define RTU_HOST_LISTEN_TRAFFIC_READER_H

#include "host/listen/frame_shapes.h"

#include <modbus_rtu_host/transaction.h>

#include <QtCore/QByteArray>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace rtu {

/** Bytes that arrived together: a frame, or what is none. */
struct HeardBytes
{
    QByteArray bytes;
    TimePoint begin; ///< arrival of the first byte
    TimePoint end;   ///< arrival of the last byte
};

/** What a TrafficReader tells, in the order of the line. */
class TrafficListener
{
public:
    TrafficListener() = default;
    virtual ~TrafficListener() = default;
    TrafficListener(const TrafficListener &) = delete;
    TrafficListener &operator=(const TrafficListener &) = delete;

    /** A frame with a right check sum. Told before the transaction to which it belongs. */
    virtual void onFrame(Role role, const HeardBytes &frame);
    /**
     * A request and what became of it: kind is Good (broadcasts too), Exception or
     * Silent. The times are those of arrival.
     */
    virtual void onTransaction(const Transaction &transaction) = 0;
    /** A request whose reply might still have come when there was nothing more to hear: neither answered nor silent. */
    virtual void onOpenRequest(const Transaction &request) = 0;
    /** A reply to nothing that was heard. */
    virtual void onStrayReply(const HeardBytes &reply) = 0;
    /** Bytes that belong to no frame; long garbage comes in several parts. */
    virtual void onGarbage(const HeardBytes &garbage) = 0;
};

struct ReaderSettings
{
    /**
     * A pause that no frame has inside. Far above the 1.5 characters of the protocol:
     * adapters hand over what they received late, and in lumps.
     */
    Duration gap = std::chrono::milliseconds(50);
    /** A pause after which a frame may begin, whatever stood before it. */
    Duration silence = std::chrono::microseconds(1750);
    /** Later than this nobody waits for a reply any more. */
    Duration replyTimeout = std::chrono::seconds(1);
};

/**
 * Frames are found by content: length, check sum, and the request that waits for its
 * reply. Times only end what cannot go on. So lumps do not matter: several frames in
 * one, or one frame in several.
 *
 * What nobody can tell apart: the acknowledgement of a write of one value from the
 * same request sent again within the reply time-out (taken for the acknowledgement).
 *
 * Keeps less than a kilobyte, whatever arrives. One thread.
 */
class TrafficReader
{
public:
    TrafficReader(const ReaderSettings &settings, TrafficListener &listener);

    /** @param arrived not before the time of the call before */
    void take(const unsigned char *bytes, std::size_t size, TimePoint arrived);
    /** Nothing more has arrived up to @p now: ends what has waited for too long. */
    void idle(TimePoint now);
    /** Nothing more will arrive: ends everything. */
    void finish();

private:
    enum class Look { Frame, Garbage, NeedsMore };

    /** What stands at the front of the buffer. */
    struct Found
    {
        Look look;
        Role role;
        std::size_t size; ///< of the frame
    };

    struct Arrival
    {
        std::size_t position; ///< in m_buffer, of the first byte
        TimePoint time;
    };

    const unsigned char *front() const { return m_buffer.data() + m_start; }
    std::size_t waiting() const { return m_buffer.size() - m_start; }
    TimePoint arrivalOf(std::size_t position) const;
    bool beginsAfterPause(std::size_t position) const;
    HeardBytes heard(std::size_t first, std::size_t size) const;

    void resolve(bool all);
    Found look(bool all) const;
    Found lookForReply(bool all) const;
    Found lookForShape(Role role, bool all) const;
    Found lookForCheckSum(bool all) const;
    bool endsFrame(std::size_t size) const;
    bool isRepeatedRequest() const;
    void skipByte();
    void endGarbage();
    void takeFrame(Role role, std::size_t size);
    void takeRequest(const HeardBytes &frame);
    void takeReply(const HeardBytes &frame);
    void expire(TimePoint now);
    void endUnanswered(TimePoint when);
    void endTransaction(ReplyKind kind, ReplyEnd end, TimePoint finished);
    void forget(std::size_t size);

    const ReaderSettings m_settings;
    TrafficListener &m_listener;
    std::vector<unsigned char> m_buffer; ///< garbage not yet told, then what waits
    std::vector<Arrival> m_arrivals;
    TimePoint m_latest;        ///< the line is known up to here
    std::size_t m_start = 0;   ///< in m_buffer: bytes before it are garbage
    bool m_inStep = true;      ///< a frame is known to begin at m_start, or may well
    bool m_pending = false;    ///< m_transaction waits for its reply
    Transaction m_transaction; ///< the last request
    std::uint64_t m_requests = 0;
};

} // namespace rtu

#endif
