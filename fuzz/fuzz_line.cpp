// Whatever arrives on a line after a request, in pieces and at times of the input's
// choice: collecting a reply ends in time, keeps inside what arrived and calls only
// that a reply which is one. The same bytes as a library's file: what it needs is read
// without leaving it.

#include "fuzz_host.h"
#include "reply_rules.h"

#include "kit/driver/elf_needs.h"
#include "kit/line/frame_check.h"
#include "kit/line/reply_collector.h"
#include "support/virtual_line.h"

#include <fuzzer/FuzzedDataProvider.h>

namespace {

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
    fuzz::requireReplyRules(transaction, arrayOf(arrived), removeEcho);
    fuzz::require(transaction.end != rtu::ReplyEnd::PortLost, "a line was lost that was not");
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
