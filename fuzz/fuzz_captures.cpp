// Whatever a capture's file holds, and whatever arrives on a line that is listened to,
// in pieces and at times of the input's choice: reading ends, every byte is told once
// and in order, frames have their check sum, and memory stays small.

#include "fuzz_host.h"

#include "host/listen/capture_file.h"
#include "host/listen/traffic_reader.h"
#include "kit/line/frame_check.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <sstream>
#include <stdexcept>

namespace {

using fuzz::require;

class Judge : public rtu::TrafficListener
{
public:
    void onFrame(rtu::Role, const rtu::HeardBytes &frame) override
    {
        const auto *bytes = reinterpret_cast<const unsigned char *>(frame.bytes.constData());
        require(rtu::endsWithCrc(bytes, static_cast<std::size_t>(frame.bytes.size())), "a frame without check sum");
        require(frame.bytes.size() <= rtu::LongestFrame, "a frame too long");
        add(frame);
    }

    void onTransaction(const rtu::Transaction &t) override
    {
        require(t.sent <= t.requestEnd && t.requestEnd <= t.finished, "times out of order");
        require((t.kind == rtu::ReplyKind::Silent || t.station == 0) == t.reply.isEmpty(), "an end that cannot be");
    }

    void onOpenRequest(const rtu::Transaction &t) override
    {
        require(t.sent <= t.requestEnd && t.requestEnd <= t.finished, "times out of order");
        require(t.reply.isEmpty(), "an answered request left open");
    }

    void onStrayReply(const rtu::HeardBytes &) override {}
    void onGarbage(const rtu::HeardBytes &garbage) override
    {
        require(garbage.bytes.size() <= rtu::LongestFrame, "garbage held back");
        add(garbage);
    }

    QByteArray told;

private:
    void add(const rtu::HeardBytes &heard)
    {
        require(heard.begin <= heard.end && m_last <= heard.begin, "times out of order");
        m_last = heard.end;
        told += heard.bytes;
    }

    rtu::TimePoint m_last;
};

void readCapture(const std::string &file)
{
    std::istringstream in(file);
    Judge judge;
    QByteArray all;
    rtu::TrafficReader traffic(rtu::ReaderSettings(), judge);
    const rtu::CaptureClock clock((rtu::CaptureClock::Time()));
    rtu::TimePoint latest;
    try {
        rtu::CaptureReader reader(in);
        for (rtu::CaptureRecord record; reader.read(record);) {
            latest = std::max(latest, clock.pointOf(record.time));
            traffic.take(reinterpret_cast<const unsigned char *>(record.bytes.constData()),
                         static_cast<std::size_t>(record.bytes.size()), latest);
            all += record.bytes;
        }
    } catch (const std::runtime_error &) {
        // What stood in front of it is told all the same.
    }
    traffic.finish();
    require(judge.told == all, "bytes lost, doubled or out of order");
}

void listen(FuzzedDataProvider &input)
{
    Judge judge;
    QByteArray all;
    rtu::TrafficReader traffic(rtu::ReaderSettings(), judge);
    rtu::TimePoint now(std::chrono::seconds(1000));
    while (input.remaining_bytes() > 0) {
        now += std::chrono::milliseconds(input.PickValueInArray({0, 0, 0, 1, 4, 20, 60, 500, 1100}));
        const std::string piece = input.ConsumeBytesAsString(input.ConsumeIntegralInRange<std::size_t>(1, 300));
        traffic.take(reinterpret_cast<const unsigned char *>(piece.data()), piece.size(), now);
        all += QByteArray(piece.data(), static_cast<int>(piece.size()));
        if (input.ConsumeBool())
            traffic.idle(now += std::chrono::milliseconds(30));
    }
    traffic.finish();
    require(judge.told == all, "bytes lost, doubled or out of order");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    readCapture(std::string(reinterpret_cast<const char *>(data), size));
    FuzzedDataProvider input(data, size);
    listen(input);
    return 0;
}
