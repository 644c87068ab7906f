#include "line.h"

#include <algorithm>

namespace soak {

namespace {

// 19200 baud, 11 bits a character.
const long long characterTime = 573;
const long long silence = characterTime * 7 / 2;
const long long turnaround = 4000;
const long long replyTimeout = 150000;
const long long longestLateness = 400000; // beyond the time-out

/** Whether a reply can be one to this request: station, function, and what else it repeats of the request. */
bool belongsTo(const QByteArray &reply, const QByteArray &request)
{
    if (reply.size() < 2 || reply.at(0) != request.at(0) || byteAt(reply, 1) % 0x80 != byteAt(request, 1))
        return false;
    if (byteAt(reply, 1) > 4 && reply.size() == 8)
        return reply.left(6) == request.left(6);
    return true;
}

} // namespace

Line::Line(Plant &slaves, const Precautions &hostPrecautions, std::uint32_t seed)
    : plant(slaves)
    , precautions(hostPrecautions)
    , random(seed)
    , faulty(true)
    , offStation(0)
    , time(0)
    , struck()
    , droppedReplies(0)
{
}

Fault Line::chooseFault()
{
    if (!faulty)
        return NoFault;
    const int number = random.below(100);
    const Fault fault = number < FaultKinds - 1 ? static_cast<Fault>(number + 1) : NoFault;
    ++struck[fault];
    return fault;
}

QByteArray Line::exchange(const QByteArray &request)
{
    time += silence + characterTime * static_cast<long long>(request.size());
    send(request);
    const QByteArray reply = receive(request, time + replyTimeout);
    if (reply.isEmpty() && precautions.drain)
        drainUntil(time + longestLateness);
    return reply;
}

/** The slaves' part: what arrives at the host, and when. */
void Line::send(const QByteArray &request)
{
    if (byteAt(request, 0) == offStation)
        return;
    const Fault fault = chooseFault();
    if (fault == Lost && random.below(2) == 0)
        return; // the request itself is lost
    if (fault == WrongStation) {
        const QByteArray reply = plant.answerOfOther(request);
        arrive(time + turnaround + characterTime * static_cast<long long>(reply.size()), reply);
        return;
    }
    QByteArray reply = plant.answer(request);
    if (fault == Lost)
        return;
    if (fault == Corrupted)
        reply = corrupted(reply);
    if (fault == Truncated)
        reply = reply.left(1 + random.below(static_cast<int>(reply.size()) - 1));
    long long when = time + turnaround + characterTime * static_cast<long long>(reply.size());
    if (fault == Late)
        when = time + replyTimeout + 1 + static_cast<long long>(random.next() % (longestLateness - 1));
    arrive(when, reply);
}

void Line::arrive(long long when, const QByteArray &bytes)
{
    const Arrival arrival = {when, bytes};
    const auto later =
        std::find_if(arrivals.begin(), arrivals.end(), [when](const Arrival &other) { return other.when > when; });
    arrivals.insert(later, arrival);
}

/** One to three bits: what a CRC of 16 bits always finds in replies of this length. */
QByteArray Line::corrupted(QByteArray bytes)
{
    const int bits = 8 * static_cast<int>(bytes.size());
    const int first = random.below(bits);
    for (int i = 0; i <= random.below(3); ++i) {
        const int bit = (first + i * 5) % bits;
        const int at = bit / 8;
        bytes[at] = static_cast<char>(bytes.at(at) ^ 1 << bit % 8);
    }
    return bytes;
}

QByteArray Line::receive(const QByteArray &request, long long deadline)
{
    while (!arrivals.empty() && arrivals.front().when <= deadline) {
        const Arrival arrival = arrivals.front();
        arrivals.pop_front();
        time = std::max(time, arrival.when);
        if (!precautions.check || belongsTo(arrival.bytes, request))
            return arrival.bytes;
        ++droppedReplies;
    }
    time = deadline;
    return QByteArray();
}

void Line::drainUntil(long long until)
{
    while (!arrivals.empty() && arrivals.front().when <= until) {
        arrivals.pop_front();
        ++droppedReplies;
    }
    time = until;
}

} // namespace soak
