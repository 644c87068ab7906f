// Whatever arrives on a line after a request, in pieces and at times of the input's
// choice: collecting a reply ends in time, keeps inside what arrived and calls only
// that a reply which is one. The same bytes as a library's file: what it needs is read
// without leaving it.

#include "fuzz_host.h"

#include "kit/driver/elf_needs.h"
#include "kit/line/frame_check.h"
#include "kit/line/reply_collector.h"
#include "support/virtual_line.h"

#include <fuzzer/FuzzedDataProvider.h>

namespace {

using fuzz::require;
using test_line::Bytes;
using test_line::VirtualLine;

const rtu::Duration ReplyTimeout = std::chrono::milliseconds(200);

QByteArray arrayOf(const Bytes &bytes)
{
    return QByteArray(reinterpret_cast<const char *>(bytes.data()), static_cast<int>(bytes.size()));
}

/** Schedules pieces of the input; result: all of them in order. */
Bytes scheduleArrivals(FuzzedDataProvider &input, VirtualLine &line, const Bytes &request)
{
    Bytes all;
    rtu::Duration delay(0);
    if (input.ConsumeBool()) {
        line.receive(delay, request);
        all = request;
    }
    while (input.remaining_bytes() > 0) {
        delay += std::chrono::microseconds(input.ConsumeIntegralInRange(0, 70000));
        const Bytes piece = input.ConsumeBytes<unsigned char>(input.ConsumeIntegralInRange<std::size_t>(1, 300));
        line.receive(delay, piece);
        all.insert(all.end(), piece.begin(), piece.end());
    }
    return all;
}

void checkReply(const rtu::Transaction &transaction, const Bytes &arrived, bool removeEcho)
{
    const QByteArray all = arrayOf(arrived);
    const int skipped = transaction.echoRemoved ? transaction.request.size() : 0;
    require(removeEcho || !transaction.echoRemoved, "an echo was removed unasked");
    require(all.mid(skipped, transaction.reply.size()) == transaction.reply, "the reply is not what arrived");
    const unsigned char *bytes = reinterpret_cast<const unsigned char *>(transaction.reply.constData());
    switch (transaction.end) {
    case rtu::ReplyEnd::Complete:
        require(transaction.reply.size() >= transaction.expectedReply, "complete and too short");
        break;
    case rtu::ReplyEnd::Exception:
        require(transaction.reply.size() >= 5 && rtu::endsWithCrc(bytes, 5), "no exception reply");
        break;
    case rtu::ReplyEnd::TimedOut:
        require(transaction.reply.isEmpty(), "timed out with a reply");
        break;
    case rtu::ReplyEnd::Silence:
        require(!transaction.reply.isEmpty(), "silence after nothing");
        break;
    default:
        fuzz::fail("an end that cannot be");
    }
}

void collect(FuzzedDataProvider &input)
{
    rtu::LineParameters parameters;
    parameters.baud = input.PickValueInArray({0, 300, 9600, 19200, 115200});
    const bool removeEcho = input.ConsumeBool();
    VirtualLine line;
    rtu::ReplyCollector collector(line, rtu::LineTiming(parameters), ReplyTimeout, removeEcho);
    rtu::Transaction transaction;
    const Bytes request = input.ConsumeBytes<unsigned char>(input.ConsumeIntegralInRange<std::size_t>(4, 16));
    transaction.request = arrayOf(request);
    transaction.expectedReply = input.ConsumeIntegralInRange(0, 256);
    transaction.requestEnd = line.now();
    const Bytes arrived = scheduleArrivals(input, line, request);
    collector.collect(transaction);
    checkReply(transaction, arrived, removeEcho);
    rtu::describeMismatch(transaction.request, transaction.reply);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    rtu::neededLibraries(std::string(reinterpret_cast<const char *>(data), size));
    FuzzedDataProvider input(data, size);
    collect(input);
    return 0;
}
