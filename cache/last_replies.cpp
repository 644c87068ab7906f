#include "cache/last_replies.h"

#include "address/register_types.h"
#include "driver/arithmetic.h"
#include "cache/reply_bytes.h"
#include "driver/qt_compat.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace {

/** Data bytes that are kept of a reply. Slaves send no more than 250; what asks for more is answered by none. */
const int mostBytes = 256;

/** First character of a type that has one: it tells the types apart whose values are in different areas. */
unsigned char typeDigit(const QString &regType)
{
    return static_cast<unsigned char>(regType.at(0).unicode());
}

bool isCoilType(unsigned char digit)
{
    return digit == '0' || digit == '1';
}

int bytesFor(unsigned char type, int values)
{
    return replyDataBytes(isCoilType(type), values);
}

} // namespace

LastReplies::LastReplies() : first(0), placeOfSent(NoPlace), areasBefore(0), events(0) {}

bool LastReplies::isBefore(const Reply &a, const Reply &b)
{
    if (a.station != b.station)
        return a.station < b.station;
    return a.type != b.type ? a.type < b.type : a.first < b.first;
}

/** Compares as isBefore(), but by the area that a reply and those before it reach to. */
bool LastReplies::endsBefore(const Reply &a, const Reply &b)
{
    if (a.station != b.station)
        return a.station < b.station;
    return a.type != b.type ? a.type < b.type : a.reach < b.reach;
}

/** What is to be kept of the replies to this request; false when nothing is. */
bool LastReplies::replyTo(const VARIABLE &request, Reply &made)
{
    const RegisterType *type = findRegisterType(request.regType);
    if (!type || request.count < 1 || request.count > mostBytes * ByteBits
        || request.startAddr > INT_MAX - request.count)
        return false;
    made.station = request.station;
    made.first = request.startAddr;
    made.count = request.count;
    made.reach = request.startAddr + request.count - 1;
    made.data = 0;
    made.type = typeDigit(areaTypeText(*type));
    made.known = false;
    return bytesFor(made.type, made.count) <= mostBytes;
}

void LastReplies::planBuilt(const QList<VARIABLE> &requests)
{
    ++events;
    first = 0;
    placeOfSent = NoPlace;
    std::vector<Reply>().swap(replies);
    std::vector<unsigned char>().swap(bytes);
    std::vector<int>().swap(places); // set last: where memory runs out before, there are no places

    std::vector<int> requestOf; // for each reply, in the order of the plan
    for (int i = 0; i < sizeOf(requests); ++i) {
        Reply made;
        if (!replyTo(requests.at(i), made))
            continue;
        replies.push_back(made);
        requestOf.push_back(i);
    }
    orderReplies(requestOf, static_cast<std::size_t>(sizeOf(requests)));
}

void LastReplies::orderReplies(const std::vector<int> &requestOf, std::size_t requests)
{
    std::vector<int> placesOfRequests(requests, static_cast<int>(NoPlace));
    std::vector<int> order(replies.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = static_cast<int>(i);
    const std::vector<Reply> unordered(replies);
    std::sort(order.begin(), order.end(), [&unordered](int a, int b) {
        return isBefore(unordered[static_cast<std::size_t>(a)], unordered[static_cast<std::size_t>(b)]);
    });

    int size = 0;
    for (std::size_t i = 0; i < order.size(); ++i) {
        const std::size_t from = static_cast<std::size_t>(order[i]);
        Reply &reply = replies[i];
        reply = unordered[from];
        reply.data = size;
        size += bytesFor(reply.type, reply.count);
        if (i > 0 && replies[i - 1].station == reply.station && replies[i - 1].type == reply.type)
            reply.reach = std::max(reply.reach, replies[i - 1].reach);
        placesOfRequests[static_cast<std::size_t>(requestOf[from])] = static_cast<int>(i);
    }
    bytes.resize(static_cast<std::size_t>(size));
    places.swap(placesOfRequests);
}

void LastReplies::firstMovedToEnd()
{
    first = first + 1 < places.size() ? first + 1 : 0;
}

int LastReplies::placeOfFirst() const
{
    return first < places.size() ? places[first] : static_cast<int>(NoPlace);
}

void LastReplies::replyArrived(int areas)
{
    ++events;
    if (areas < areasBefore) {
        for (std::size_t i = 0; i < replies.size(); ++i)
            replies[i].known = false;
    }
    areasBefore = areas;
}

int LastReplies::placeFor(const VARIABLE &unit) const
{
    if (placeOfSent == NoPlace || unit.regType.isEmpty())
        return NoPlace;
    const Reply &reply = replies[static_cast<std::size_t>(placeOfSent)];
    const bool same = reply.station == unit.station && reply.type == typeDigit(unit.regType)
                      && reply.first == unit.startAddr && reply.count == unit.count;
    return same ? placeOfSent : static_cast<int>(NoPlace);
}

const unsigned char *LastReplies::dataAt(int place) const
{
    if (place == NoPlace)
        return 0;
    const Reply &reply = replies[static_cast<std::size_t>(place)];
    return reply.known ? bytes.data() + reply.data : 0;
}

void LastReplies::keep(int place, const unsigned char *data)
{
    Reply &reply = replies[static_cast<std::size_t>(place)];
    std::memcpy(bytes.data() + reply.data, data, static_cast<std::size_t>(bytesFor(reply.type, reply.count)));
    reply.known = true;
}

void LastReplies::forget(int station, const QString &areaType, int address, int count)
{
    if (replies.empty() || count < 1)
        return;
    const unsigned char type = typeDigit(areaType);
    const long long last = static_cast<long long>(address) + count - 1;
    // A range around the end of the 32-bit addresses is taken for all of them.
    const Reply touched = {station, 0, 0, last > INT_MAX ? INT_MIN : address, 0, type, false};
    std::vector<Reply>::iterator reply = std::lower_bound(replies.begin(), replies.end(), touched, endsBefore);
    for (; reply != replies.end() && reply->station == station && reply->type == type && reply->first <= last; ++reply)
        reply->known = false;
}
