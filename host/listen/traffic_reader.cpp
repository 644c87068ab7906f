#include "host/listen/traffic_reader.h"

#include "host/listen/request_fields.h"
#include "kit/line/frame_bytes.h"
#include "kit/line/frame_check.h"

#include <algorithm>

namespace rtu {

namespace {

/** More than a frame at a time would only make the buffer longer. */
const std::size_t LargestPart = LongestFrame;

const unsigned char *bytesOf(const QByteArray &array)
{
    return reinterpret_cast<const unsigned char *>(array.constData());
}

bool isBitRead(int function)
{
    return function == 1 || function == 2;
}

} // namespace

void TrafficListener::onFrame(Role, const HeardBytes &) {}

TrafficReader::TrafficReader(const ReaderSettings &settings, TrafficListener &listener)
    : m_settings(settings)
    , m_listener(listener)
{
}

void TrafficReader::take(const unsigned char *bytes, std::size_t size, TimePoint arrived)
{
    idle(arrived);
    m_latest = arrived;
    while (size > 0) {
        const std::size_t part = std::min(size, LargestPart);
        m_arrivals.push_back({m_buffer.size(), arrived});
        m_buffer.insert(m_buffer.end(), bytes, bytes + part);
        bytes += part;
        size -= part;
        resolve(false);
    }
}

void TrafficReader::idle(TimePoint now)
{
    if (!m_buffer.empty() && now - m_arrivals.back().time >= m_settings.gap)
        resolve(true);
    expire(now);
    m_latest = std::max(m_latest, now);
}

void TrafficReader::finish()
{
    resolve(true);
    if (!m_pending)
        return;
    m_pending = false;
    m_transaction.firstByte = m_transaction.requestEnd;
    m_transaction.finished = std::max(m_latest, m_transaction.requestEnd);
    m_transaction.kind = ReplyKind::Silent;
    m_listener.onOpenRequest(m_transaction);
}

TimePoint TrafficReader::arrivalOf(std::size_t position) const
{
    const auto after = std::upper_bound(m_arrivals.begin(), m_arrivals.end(), position,
                                        [](std::size_t p, const Arrival &arrival) { return p < arrival.position; });
    return (after - 1)->time;
}

bool TrafficReader::beginsAfterPause(std::size_t position) const
{
    return position > 0 && arrivalOf(position) - arrivalOf(position - 1) >= m_settings.silence;
}

HeardBytes TrafficReader::heard(std::size_t first, std::size_t size) const
{
    HeardBytes result;
    result.bytes = QByteArray(reinterpret_cast<const char *>(m_buffer.data() + first), static_cast<int>(size));
    result.begin = arrivalOf(first);
    result.end = arrivalOf(first + size - 1);
    return result;
}

/** @param all nothing more belongs to what is there */
void TrafficReader::resolve(bool all)
{
    while (waiting() > 0) {
        expire(arrivalOf(m_start));
        const Found found = look(all);
        if (found.look == Look::NeedsMore)
            break;
        if (found.look == Look::Garbage) {
            skipByte();
            continue;
        }
        endGarbage();
        takeFrame(found.role, found.size);
    }
    if (all) {
        endGarbage();
        m_inStep = true;
    }
}

/**
 * The reply that is waited for goes first: bytes inside it must not be taken for a
 * frame of their own. Frames that are whole go before those that may become whole.
 */
TrafficReader::Found TrafficReader::look(bool all) const
{
    const Found reply = lookForReply(all);
    if (reply.look != Look::Garbage)
        return reply;
    const Found asRequest = lookForShape(Role::Request, all);
    const Found asReply = asRequest.look == Look::Frame ? asRequest : lookForShape(Role::Reply, all);
    if (asReply.look == Look::Frame)
        return asReply;
    const Found bySum = lookForCheckSum(all);
    if (bySum.look == Look::Frame)
        return bySum;
    const bool needsMore =
        asRequest.look == Look::NeedsMore || asReply.look == Look::NeedsMore || bySum.look == Look::NeedsMore;
    return {needsMore ? Look::NeedsMore : Look::Garbage, Role::Request, 0};
}

/** The reply that the last request asks for, and no other. */
TrafficReader::Found TrafficReader::lookForReply(bool all) const
{
    const Found none = {Look::Garbage, Role::Reply, 0};
    if (!m_pending || waiting() < 2)
        return none;
    const QByteArray &request = m_transaction.request;
    if (!canAnswer(bytesOf(request), static_cast<std::size_t>(request.size()), front(), waiting()))
        return none;
    const FrameLength length = frameLength(Role::Reply, front(), waiting());
    if (length.kind == FrameLength::TooEarly || (length.kind == FrameLength::Known && waiting() < length.bytes))
        return all ? none : Found{Look::NeedsMore, Role::Reply, 0};
    if (length.kind != FrameLength::Known || !endsFrame(length.bytes) || isRepeatedRequest())
        return none;
    return {Look::Frame, Role::Reply, length.bytes};
}

/**
 * A reply of three bytes of coils is as long as its request. That it has the very
 * same bytes is less likely than that the request was sent again.
 */
bool TrafficReader::isRepeatedRequest() const
{
    const std::size_t size = static_cast<std::size_t>(m_transaction.request.size());
    return isBitRead(front()[1]) && waiting() >= size
           && std::equal(front(), front() + size, bytesOf(m_transaction.request));
}

TrafficReader::Found TrafficReader::lookForShape(Role role, bool all) const
{
    const Found none = {Look::Garbage, role, 0};
    const FrameLength length = frameLength(role, front(), waiting());
    const bool open =
        length.kind == FrameLength::TooEarly || (length.kind == FrameLength::Known && waiting() < length.bytes);
    if (open)
        return all ? none : Found{Look::NeedsMore, role, 0};
    if (length.kind != FrameLength::Known || !endsFrame(length.bytes))
        return none;
    if (!m_inStep && !isPlausible(role, front(), length.bytes))
        return none;
    return {Look::Frame, role, length.bytes};
}

/**
 * The end of a frame of unknown length is where the check sum is right first. Among
 * so many places chance would find one in garbage often, so the begin must be known.
 */
TrafficReader::Found TrafficReader::lookForCheckSum(bool all) const
{
    const Found none = {Look::Garbage, Role::Request, 0};
    if (!m_inStep || frameLength(Role::Request, front(), waiting()).kind != FrameLength::Untold)
        return none;
    const std::size_t most = std::min<std::size_t>(waiting(), LongestFrame);
    const std::size_t size = firstCrcEnd(front(), most, ShortestFrame);
    if (size > 0) {
        const bool answers = m_pending && canAnswer(bytesOf(m_transaction.request), ShortestFrame, front(), 2);
        return {Look::Frame, answers ? Role::Reply : Role::Request, size};
    }
    return all || most == LongestFrame ? none : Found{Look::NeedsMore, Role::Request, 0};
}

bool TrafficReader::endsFrame(std::size_t size) const
{
    return waiting() >= size && endsWithCrc(front(), size);
}

void TrafficReader::skipByte()
{
    ++m_start;
    m_inStep = waiting() > 0 && beginsAfterPause(m_start);
    if (m_start >= LongestFrame)
        endGarbage();
}

void TrafficReader::endGarbage()
{
    if (m_start == 0)
        return;
    const HeardBytes garbage = heard(0, m_start);
    forget(m_start);
    m_start = 0;
    m_listener.onGarbage(garbage);
}

/** Drops the first bytes of the buffer. */
void TrafficReader::forget(std::size_t size)
{
    m_buffer.erase(m_buffer.begin(), m_buffer.begin() + static_cast<std::ptrdiff_t>(size));
    std::vector<Arrival> kept;
    for (std::size_t i = 0; i < m_arrivals.size(); ++i) {
        const std::size_t end = i + 1 < m_arrivals.size() ? m_arrivals[i + 1].position : m_buffer.size() + size;
        if (end > size)
            kept.push_back({m_arrivals[i].position > size ? m_arrivals[i].position - size : 0, m_arrivals[i].time});
    }
    m_arrivals.swap(kept);
}

void TrafficReader::takeFrame(Role role, std::size_t size)
{
    const HeardBytes frame = heard(0, size);
    forget(size);
    m_inStep = true;
    m_listener.onFrame(role, frame);
    if (role == Role::Request)
        takeRequest(frame);
    else
        takeReply(frame);
}

void TrafficReader::takeRequest(const HeardBytes &frame)
{
    if (m_pending)
        endUnanswered(std::min(frame.begin, m_transaction.requestEnd + m_settings.replyTimeout));
    Transaction &t = m_transaction;
    t = Transaction();
    t.number = ++m_requests;
    t.request = frame.bytes;
    t.sent = frame.begin;
    t.requestEnd = frame.end;
    readRequest(t);
    m_pending = t.station != 0;
    if (!m_pending)
        endTransaction(ReplyKind::Good, ReplyEnd::NoneExpected, frame.end);
}

void TrafficReader::takeReply(const HeardBytes &frame)
{
    Transaction &t = m_transaction;
    const bool answers = m_pending
                         && canAnswer(bytesOf(t.request), static_cast<std::size_t>(t.request.size()),
                                      bytesOf(frame.bytes), static_cast<std::size_t>(frame.bytes.size()));
    if (!answers) {
        m_listener.onStrayReply(frame);
        return;
    }
    t.reply = frame.bytes;
    t.firstByte = frame.begin;
    const bool exception = (bytesOf(frame.bytes)[1] & ExceptionFlag) != 0;
    if (exception)
        t.exceptionCode = bytesOf(frame.bytes)[2];
    endTransaction(exception ? ReplyKind::Exception : ReplyKind::Good,
                   exception ? ReplyEnd::Exception : ReplyEnd::Complete, frame.end);
}

/** Bytes that wait have arrived in time when their first one has, whenever they turn out to be a reply. */
void TrafficReader::expire(TimePoint now)
{
    const TimePoint when = waiting() > 0 ? arrivalOf(m_start) : now;
    if (m_pending && when - m_transaction.requestEnd > m_settings.replyTimeout)
        endUnanswered(m_transaction.requestEnd + m_settings.replyTimeout);
}

void TrafficReader::endUnanswered(TimePoint when)
{
    m_transaction.firstByte = m_transaction.requestEnd;
    endTransaction(ReplyKind::Silent, ReplyEnd::TimedOut, when);
}

void TrafficReader::endTransaction(ReplyKind kind, ReplyEnd end, TimePoint finished)
{
    m_pending = false;
    m_transaction.kind = kind;
    m_transaction.end = end;
    m_transaction.finished = finished;
    m_transaction.verdict = kind == ReplyKind::Good ? VerdictGood : VerdictSendAgain;
    m_listener.onTransaction(m_transaction);
}

} // namespace rtu
