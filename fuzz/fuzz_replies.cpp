// Replies of any content and length to the requests of arbitrary plans. What a
// good reply says must then be what the host reads.

#include "fuzz_host.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdio>

namespace {

using fuzz::Host;
using fuzz::require;

const int retryLimits[] = {3, 1, 0, 2};
const int blockLimits[] = {40, 125, 8, 600, 0, -1};

// Long blocks are worth a try and cost a thousand short ones: the calls of an input
// are for so many elements in all, and for few each when those are used up. One block
// is longer than the largest limit, and the cache grows beyond what is scanned.
const int elementsAnInput = 800;
const int smallCount = 20;

// A plan pays when it is polled: long after it was made, and the less the longer its replies are.
const int mostRounds = 255;
const int roundsBetween = 5; // two things that the screens ask for
const int repeatedBytes = 8000;

/** An input, and how many elements its calls may still be for. */
class Input : public FuzzedDataProvider
{
public:
    Input(const std::uint8_t *bytes, std::size_t size) : FuzzedDataProvider(bytes, size), room(elementsAnInput) {}

    /** As many of @p count elements as there are still to be had. */
    int granted(int count)
    {
        const int taken = std::min(count, std::max(room, smallCount));
        room -= std::max(taken, 0);
        return taken;
    }

private:
    int room;
};

void initialise(Host &host, Input &input)
{
    char property[64];
    std::snprintf(property, sizeof property, "1#0#0#%d#%d#%d_2", input.PickValueInArray(retryLimits),
                  input.PickValueInArray(blockLimits), input.ConsumeIntegralInRange(0, 1));
    host.initProperty(property);
    host.useCallBack(input.ConsumeBool());
}

int stationFrom(Input &input)
{
    return (1 + input.ConsumeIntegralInRange(0, 3)) % 4; // no frames for station 0
}

int addressFrom(Input &input)
{
    return input.ConsumeBool() ? input.ConsumeIntegralInRange(0, 40) : input.ConsumeIntegralInRange(-40, 0x100010);
}

/** Where an input has ended, its numbers are the least there are: also then a block of some elements. */
int countFrom(Input &input)
{
    if (input.ConsumeIntegralInRange(0, 7) < 7)
        return input.granted(smallCount - input.ConsumeIntegralInRange(0, smallCount + 1));
    return input.granted(input.ConsumeIntegralInRange(-30, 2100));
}

QString typeFrom(Input &input)
{
    return fuzz::typeText(input.ConsumeIntegralInRange(0u, 9u));
}

void plan(Input &input)
{
    QList<KEY_ADDRESS> keys;
    for (int n = input.PickValueInArray({2, 1, 3, 4, 5, 6, 0}); n > 0; --n) {
        KEY_ADDRESS key = KEY_ADDRESS();
        key.station = stationFrom(input);
        key.regType = typeFrom(input);
        key.startAddr = addressFrom(input);
        key.count = countFrom(input);
        key.field7 = input.ConsumeBool() ? -1 : 1;
        if (input.ConsumeBool())
            intf_addConditionRead(&key, n);
        else
            keys << key;
    }
    intf_addrMerge(&keys);
}

void registerRecipe(Host &host, Input &input)
{
    QVector<_RCP_VAR_PRO> rows;
    for (int n = input.ConsumeIntegralInRange(0, 3); n > 0; --n) {
        _RCP_VAR_PRO row = _RCP_VAR_PRO();
        row.userData = 1;
        row.station = stationFrom(input);
        row.regType = typeFrom(input);
        row.startAddr = addressFrom(input);
        row.count = countFrom(input);
        row.hostOffset = input.ConsumeIntegralInRange(0, Host::RecipeWords - 2100);
        rows << row;
    }
    intf_setRcpAddress(&rows);
    host.memory.raise(support::HostMemory::BlockReadRequest, input.ConsumeBool());
    host.memory.raise(support::HostMemory::BlockWriteRequest, input.ConsumeBool());
}

bool isPlainRead(const FRAME_PRO &frame, const char *type)
{
    return frame.frame[1] <= 4 && frame.var.regType == QLatin1String(type);
}

/** Where the host wrote nothing, it must see what the slave sent. */
void requireSeen(Host &host, const QByteArray &reply)
{
    const FRAME_PRO &frame = host.lastFrame;
    const int count = frame.var.count;
    if (count < 1 || count > 2100)
        return;
    const unsigned char *data = reinterpret_cast<const unsigned char *>(reply.constData()) + 3;
    if (isPlainRead(frame, "3x")) {
        const std::vector<unsigned char> seen =
            host.getData(frame.var.station, frame.var.regType, frame.var.startAddr, count);
        for (int i = 0; i < 2 * count; ++i)
            require(seen[static_cast<size_t>(i)] == data[i ^ 1], "registers of a good reply");
    }
    if (isPlainRead(frame, "1x")) {
        const std::vector<unsigned char> seen =
            host.getData(frame.var.station, frame.var.regType, frame.var.startAddr, count);
        for (int i = 0; i < count; ++i)
            require(seen[static_cast<size_t>(i)] == (data[i / 8] >> i % 8 & 1), "inputs of a good reply");
    }
}

/** Hands over the reply; @p seen: what it says must then be what the host reads. */
void deal(Host &host, const QByteArray &reply, bool seen)
{
    const int state = driver.sendState;
    const bool read = state == CyclicReadSent || state == ConditionReadSent;
    if (host.deal(reply) == ReplyAccepted && read && seen)
        requireSeen(host, reply);
    host.check();
}

/** Goes on polling: the slaves say what they said before, but for a byte now and then. */
void repeat(Host &host, std::vector<unsigned char> content, Input &input, bool seen)
{
    fuzz::Noise noise(input.ConsumeIntegral<std::uint16_t>());
    const int changing = input.ConsumeIntegralInRange(0, 3); // one reply of so many, or none
    int bytes = repeatedBytes;
    for (int rounds = input.ConsumeIntegralInRange(0, mostRounds); rounds > 0 && bytes > 0; --rounds) {
        if (rounds % roundsBetween == 0)
            host.askForSomething(noise);
        if (!host.nextFrame())
            return;
        if (changing != 0 && rounds % changing == 0 && !content.empty())
            content[static_cast<std::size_t>(rounds) % content.size()] ^= noise.byte();
        const QByteArray reply = host.wholeReply(content);
        bytes -= static_cast<int>(reply.size());
        deal(host, reply, seen);
    }
}

QByteArray replyFrom(Host &host, Input &input, const std::vector<unsigned char> &content)
{
    QByteArray reply = host.wholeReply(content);
    const int size = static_cast<int>(reply.size());
    switch (input.ConsumeIntegralInRange(0, 7)) {
    case 0:
        return QByteArray(reinterpret_cast<const char *>(content.data()), static_cast<int>(content.size()));
    case 1:
        return QByteArray();
    case 2:
        return reply.left(input.ConsumeIntegralInRange(0, size));
    case 3:
        if (size > 0)
            reply[input.ConsumeIntegralInRange(0, size - 1)] = static_cast<char>(input.ConsumeIntegral<char>());
        return reply;
    default:
        return reply;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    Input input(bytes, size);
    Host host;
    initialise(host, input);
    plan(input);
    registerRecipe(host, input);
    bool written = false; // then the host sees what was written, until the slave says something new
    while (input.remaining_bytes() > 0) {
        if (input.ConsumeIntegralInRange(0, 15) == 0) {
            const QString type = typeFrom(input);
            host.setData(stationFrom(input), type, addressFrom(input), countFrom(input), 1, 5);
            written = written || type.startsWith(QLatin1Char('1')) || type.startsWith(QLatin1Char('3'));
        }
        if (!host.nextFrame())
            host.memory.raise(support::HostMemory::BlockReadRequest,
                              0); // blocks that cannot be asked for would be waited for in vain
        const std::vector<unsigned char> content =
            input.ConsumeBytes<unsigned char>(input.ConsumeIntegralInRange(0u, 40u));
        deal(host, replyFrom(host, input, content), !written);
        repeat(host, content, input, !written);
    }
    host.checkCache();
    return 0;
}
