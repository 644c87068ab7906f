#include "host/listen/capture_file.h"

#include "host/text/wall_clock.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace rtu {

namespace {

const std::uint32_t MicrosecondMagic = 0xA1B2C3D4;
const std::uint32_t NanosecondMagic = 0xA1B23C4D;
const std::uint32_t UserLinkType = 147;
const std::uint32_t SnapLength = 65535;
const std::uint32_t NanosecondsPerSecond = 1000000000;
const std::size_t FileHeaderBytes = 24;
const std::size_t RecordHeaderBytes = 16;
const std::size_t LinkTypeAt = 20;

void addNumber(std::string &out, std::uint32_t number, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        out += static_cast<char>(number >> 8 * i & 0xFF);
}

std::uint32_t littleEndian(const unsigned char *bytes)
{
    return bytes[0] | static_cast<std::uint32_t>(bytes[1]) << 8 | static_cast<std::uint32_t>(bytes[2]) << 16
           | static_cast<std::uint32_t>(bytes[3]) << 24;
}

std::uint32_t bigEndian(const unsigned char *bytes)
{
    return bytes[3] | static_cast<std::uint32_t>(bytes[2]) << 8 | static_cast<std::uint32_t>(bytes[1]) << 16
           | static_cast<std::uint32_t>(bytes[0]) << 24;
}

bool isMagic(std::uint32_t number)
{
    return number == MicrosecondMagic || number == NanosecondMagic;
}

std::size_t readBytes(std::istream &in, unsigned char *out, std::size_t size)
{
    in.read(reinterpret_cast<char *>(out), static_cast<std::streamsize>(size));
    return static_cast<std::size_t>(in.gcount());
}

} // namespace

CaptureClock::CaptureClock()
    : m_offset(std::chrono::duration_cast<Time>(std::chrono::system_clock::now().time_since_epoch())
               - std::chrono::duration_cast<Time>(SteadyClock::now().time_since_epoch()))
{
}

CaptureClock CaptureClock::ofPast(Time first)
{
    return CaptureClock(first - std::chrono::hours(1));
}

TimePoint CaptureClock::pointOf(Time time) const
{
    return TimePoint(std::chrono::duration_cast<Duration>(time - m_offset));
}

CaptureWriter::CaptureWriter(std::ostream &out, const CaptureClock &clock) : m_out(out), m_clock(clock)
{
    std::string header;
    addNumber(header, NanosecondMagic, 4);
    addNumber(header, 2, 2); // version 2.4
    addNumber(header, 4, 2);
    addNumber(header, 0, 4); // times are UTC
    addNumber(header, 0, 4);
    addNumber(header, SnapLength, 4);
    addNumber(header, UserLinkType, 4);
    m_out.write(header.data(), static_cast<std::streamsize>(header.size()));
    m_out.flush();
}

void CaptureWriter::write(const QByteArray &bytes, TimePoint time)
{
    if (bytes.isEmpty())
        return;
    const std::uint64_t sinceEpoch =
        static_cast<std::uint64_t>(std::max<std::int64_t>(0, m_clock.timeOf(time).count()));
    const std::uint32_t size = std::min(static_cast<std::uint32_t>(bytes.size()), SnapLength);
    std::string record;
    addNumber(record, static_cast<std::uint32_t>(sinceEpoch / NanosecondsPerSecond), 4);
    addNumber(record, static_cast<std::uint32_t>(sinceEpoch % NanosecondsPerSecond), 4);
    addNumber(record, size, 4);
    addNumber(record, static_cast<std::uint32_t>(bytes.size()), 4);
    record.append(bytes.constData(), size);
    m_out.write(record.data(), static_cast<std::streamsize>(record.size()));
    m_out.flush();
}

void CaptureWriter::write(const Transaction &transaction)
{
    write(transaction.request, transaction.sent);
    write(transaction.reply, transaction.finished);
}

CaptureReader::CaptureReader(std::istream &in) : m_in(in)
{
    unsigned char header[FileHeaderBytes];
    const bool whole = readBytes(m_in, header, sizeof(header)) == sizeof(header);
    m_bigEndian = whole && isMagic(bigEndian(header));
    if (!whole || !isMagic(word(header)))
        throw std::runtime_error("no capture: it does not begin as a pcap file does");
    m_nanoseconds = word(header) == NanosecondMagic;
    // The upper half may tell of check sums that the frames of other links have.
    const std::uint32_t linkType = word(header + LinkTypeAt) & 0xFFFF;
    if (linkType != UserLinkType)
        throw std::runtime_error("a capture of link type " + std::to_string(linkType)
                                 + "; Modbus RTU frames have 147 (user 0)");
}

std::uint32_t CaptureReader::word(const unsigned char *bytes) const
{
    return m_bigEndian ? bigEndian(bytes) : littleEndian(bytes);
}

bool CaptureReader::read(CaptureRecord &record)
{
    unsigned char header[RecordHeaderBytes];
    const std::size_t got = readBytes(m_in, header, sizeof(header));
    if (got == 0)
        return false;
    ++m_number;
    const std::string place = "record " + std::to_string(m_number);
    if (got < sizeof(header))
        throw std::runtime_error(place + " is cut short");
    const std::uint32_t size = word(header + 8);
    if (size > SnapLength)
        throw std::runtime_error(place + " is longer than any frame can be");
    record.time = std::chrono::seconds(word(header))
                  + std::chrono::nanoseconds(std::int64_t(word(header + 4)) * (m_nanoseconds ? 1 : 1000));
    std::vector<unsigned char> bytes(size);
    if (readBytes(m_in, bytes.data(), size) != size)
        throw std::runtime_error(place + " is cut short");
    record.bytes = QByteArray(reinterpret_cast<const char *>(bytes.data()), static_cast<int>(size));
    return true;
}

namespace {

/** Times of a capture may run backwards, when the clock of the machine was set meanwhile. */
void takeRecords(CaptureReader &reader, CaptureRecord &record, const CaptureClock &clock, TrafficReader &traffic)
{
    TimePoint latest = TimePoint::min();
    do {
        latest = std::max(latest, clock.pointOf(record.time));
        traffic.take(reinterpret_cast<const unsigned char *>(record.bytes.constData()),
                     static_cast<std::size_t>(record.bytes.size()), latest);
    } while (reader.read(record));
}

/** @param clockOf gives the clock of a capture whose first record has this time */
template <typename ClockOf>
void takeAll(std::istream &in, const ClockOf &clockOf, TrafficReader &traffic)
{
    CaptureReader reader(in);
    try {
        CaptureRecord record;
        if (reader.read(record))
            takeRecords(reader, record, clockOf(record.time), traffic);
    } catch (const std::runtime_error &) {
        traffic.finish();
        throw;
    }
    traffic.finish();
}

} // namespace

void takeCapture(std::istream &in, const CaptureClock &clock, TrafficReader &traffic)
{
    takeAll(
        in, [&clock](CaptureClock::Time) { return clock; }, traffic);
}

void takePastCapture(std::istream &in, TrafficReader &traffic)
{
    const auto clockOf = [](CaptureClock::Time first) {
        const CaptureClock clock = CaptureClock::ofPast(first);
        setTimeOfDay(clock.timeOf(TimePoint()));
        return clock;
    };
    takeAll(in, clockOf, traffic);
}

} // namespace rtu
