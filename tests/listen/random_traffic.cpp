#include "listen/random_traffic.h"

#include "kit/line/frame_check.h"
#include "listen/heard_traffic.h"

#include <algorithm>

namespace listen_test {

namespace {

const int VendorFunction = 100;
const rtu::Duration LongestHold = std::chrono::milliseconds(30);
const std::size_t LongestFrame = 256;

void addWord(Bytes &bytes, int value)
{
    bytes.push_back(static_cast<unsigned char>(value >> 8));
    bytes.push_back(static_cast<unsigned char>(value & 0xFF));
}

/** Whether a check sum is right by chance in front of the end of @p bytes. */
bool hasEarlyEnd(const unsigned char *bytes, std::size_t size)
{
    return size > 4 && rtu::firstCrcEnd(bytes, size - 1, 4) > 0;
}

class Generator
{
public:
    explicit Generator(support::Random &random) : m_random(random) {}

    Traffic make(int transactions);

private:
    struct Exchange
    {
        Bytes request;
        Bytes reply;
    };

    struct TimedByte
    {
        rtu::TimePoint time;
        unsigned char value;
        bool garbage;
    };

    Exchange exchange();
    void addData(Bytes &bytes, int count);
    Exchange read(int station, int function);
    Exchange write(int station, int function);
    Exchange other(int station, int function);
    void begin();
    void transmit(const Bytes &bytes, bool garbage = false);
    void makeNoise();
    void pause(int lowest, int highest) { m_now += std::chrono::microseconds(m_random.between(lowest, highest)); }
    void cutIntoLumps();
    void judgeChance();

    support::Random &m_random;
    Traffic m_traffic;
    std::vector<TimedByte> m_bytes;
    rtu::TimePoint m_now{std::chrono::seconds(5000)};
    rtu::Duration m_character{0};
    Exchange m_last;
    bool m_lastWasLost = false;
    bool m_noisy = false; ///< the last thing on the line was garbage
};

Traffic Generator::make(int transactions)
{
    m_character = std::chrono::nanoseconds(11000000000LL / m_random.pick({1200, 9600, 19200, 115200}));
    for (int i = 0; i < transactions; ++i)
        begin();
    if (m_lastWasLost) // nobody hears when its time is up
        m_traffic.transactions.back() = "open " + hexOf(m_last.request);
    cutIntoLumps();
    judgeChance();
    return m_traffic;
}

void Generator::addData(Bytes &bytes, int count)
{
    for (int i = 0; i < count; ++i)
        bytes.push_back(m_random.chance(50) ? m_random.byte() : static_cast<unsigned char>(m_random.below(4)));
}

Generator::Exchange Generator::read(int station, int function)
{
    const bool bits = function <= 2;
    const int count = m_random.chance(70) ? m_random.between(1, 30) : m_random.between(1, bits ? 2000 : 125);
    const int payload = bits ? (count + 7) / 8 : 2 * count;
    Bytes request = {static_cast<unsigned char>(station), static_cast<unsigned char>(function)};
    Bytes reply = request;
    addWord(request, m_random.below(60000));
    addWord(request, count);
    reply.push_back(static_cast<unsigned char>(payload));
    addData(reply, payload);
    return {request, reply};
}

Generator::Exchange Generator::write(int station, int function)
{
    Bytes request = {static_cast<unsigned char>(station), static_cast<unsigned char>(function)};
    addWord(request, m_random.below(60000));
    if (function <= 6) {
        addWord(request, function == 5 ? m_random.pick({0, 0xFF00}) : m_random.below(65536));
        return {request, request};
    }
    const int count = m_random.between(1, function == 15 ? 300 : 123);
    const int payload = function == 15 ? (count + 7) / 8 : 2 * count;
    addWord(request, count);
    const Bytes reply = request;
    request.push_back(static_cast<unsigned char>(payload));
    addData(request, payload);
    return {request, reply};
}

/** Functions that are neither plain reads nor plain writes, a vendor's own among them. */
Generator::Exchange Generator::other(int station, int function)
{
    Bytes request = {static_cast<unsigned char>(station), static_cast<unsigned char>(function)};
    Bytes reply = request;
    if (function == 22) {
        addData(request, 6);
        return {request, request};
    }
    if (function == 7) {
        addData(reply, 1);
    } else if (function == 17) {
        const int count = m_random.between(1, 40);
        reply.push_back(static_cast<unsigned char>(count));
        addData(reply, count);
    } else {
        addData(request, m_random.between(0, 30));
        addData(reply, m_random.between(0, 30));
    }
    return {request, reply};
}

/** One that can be told apart from the reply that the one before did not get. */
Generator::Exchange Generator::exchange()
{
    for (;;) {
        const int station = m_random.between(1, m_random.pick({3, 247}));
        const int function = m_random.pick({1, 2, 3, 3, 4, 5, 6, 15, 16, 7, 17, 22, VendorFunction});
        if (function == VendorFunction && m_noisy)
            continue; // its begin cannot be seen behind garbage
        if (m_lastWasLost && m_last.request[0] == station && m_last.request[1] == function)
            continue;
        Exchange result = function <= 4                                       ? read(station, function)
                          : function <= 6 || function == 15 || function == 16 ? write(station, function)
                                                                              : other(station, function);
        if (m_random.chance(10))
            result.reply = {static_cast<unsigned char>(station), static_cast<unsigned char>(function | 0x80),
                            static_cast<unsigned char>(m_random.between(1, 11))};
        result.request = test_line::withCrc(result.request);
        result.reply = test_line::withCrc(result.reply);
        if (!hasEarlyEnd(result.request.data(), result.request.size())
            && !hasEarlyEnd(result.reply.data(), result.reply.size()))
            return result;
    }
}

void Generator::transmit(const Bytes &bytes, bool garbage)
{
    for (unsigned char byte : bytes) {
        m_bytes.push_back({m_now, byte, garbage});
        m_now += m_character;
    }
    m_noisy = garbage;
}

void Generator::makeNoise()
{
    Bytes noise;
    for (int i = m_random.between(1, 12); i > 0; --i)
        noise.push_back(m_random.byte());
    transmit(noise, true);
    m_traffic.garbage.insert(m_traffic.garbage.end(), noise.begin(), noise.end());
}

void Generator::begin()
{
    if (m_random.chance(10))
        makeNoise();
    const bool again = m_lastWasLost && m_last.request[1] <= 4 && m_random.chance(50);
    const Exchange now = again ? m_last : exchange();
    transmit(now.request);
    pause(1000, 30000);
    const bool vendor = now.request[1] == VendorFunction;
    if (!vendor && m_random.chance(5))
        makeNoise();
    m_last = now;
    m_lastWasLost = m_random.chance(15);
    if (m_lastWasLost) {
        m_traffic.transactions.push_back("silent " + hexOf(now.request));
        pause(100000, m_random.pick({900000, 2000000}));
        return;
    }
    transmit(now.reply);
    const bool exception = (now.reply[1] & 0x80) != 0;
    m_traffic.transactions.push_back((exception ? "exception " : "good ") + hexOf(now.request) + ">"
                                     + hexOf(now.reply));
    pause(1000, m_random.pick({5000, 300000}));
}

/** As an adapter hands bytes over: together, and some time after the last of them. */
void Generator::cutIntoLumps()
{
    rtu::TimePoint before = m_bytes.front().time;
    std::size_t next = 0;
    while (next < m_bytes.size()) {
        const rtu::Duration hold = LongestHold * m_random.below(100) / 100;
        TimedLump lump;
        const rtu::TimePoint first = m_bytes[next].time;
        while (next < m_bytes.size() && m_bytes[next].time - first <= hold)
            lump.bytes.push_back(m_bytes[next++].value);
        lump.arrived = std::max(before, first + hold);
        before = lump.arrived;
        m_traffic.lumps.push_back(lump);
    }
}

void Generator::judgeChance()
{
    Bytes all;
    for (const TimedByte &byte : m_bytes)
        all.push_back(byte.value);
    for (std::size_t i = 0; i < m_bytes.size(); ++i) {
        if (m_bytes[i].garbage && hasEarlyEnd(all.data() + i, std::min(LongestFrame + 1, all.size() - i)))
            m_traffic.knowable = false;
    }
}

} // namespace

Traffic randomTraffic(support::Random &random, int transactions)
{
    return Generator(random).make(transactions);
}

} // namespace listen_test
