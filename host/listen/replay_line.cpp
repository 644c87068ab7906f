#include "host/listen/replay_line.h"

#include "host/listen/request_fields.h"
#include "kit/line/frame_check.h"

#include <algorithm>
#include <cstring>

namespace rtu {

namespace {

class EntryCollector : public TrafficListener
{
public:
    void onTransaction(const Transaction &transaction) override
    {
        ReplayEntry entry;
        entry.transaction = transaction;
        entry.answer = transaction.reply;
        entry.delay = transaction.firstByte - transaction.requestEnd;
        if (transaction.kind == ReplyKind::Silent && m_garbage.begin >= transaction.requestEnd) {
            entry.answer = m_garbage.bytes;
            entry.delay = m_garbage.begin - transaction.requestEnd;
        }
        m_garbage = HeardBytes();
        entries.push_back(entry);
    }

    /** Nothing came as long as there was something to hear. */
    void onOpenRequest(const Transaction &request) override { onTransaction(request); }

    void onStrayReply(const HeardBytes &reply) override { onGarbage(reply); }

    void onGarbage(const HeardBytes &garbage) override
    {
        if (m_garbage.bytes.isEmpty())
            m_garbage.begin = garbage.begin;
        m_garbage.bytes += garbage.bytes;
    }

    std::vector<ReplayEntry> entries;

private:
    HeardBytes m_garbage; ///< since the last transaction
};

void addCrc(QByteArray &frame)
{
    const unsigned int crc =
        crc16(reinterpret_cast<const unsigned char *>(frame.constData()), static_cast<std::size_t>(frame.size()));
    frame += static_cast<char>(crc & 0xFF);
    frame += static_cast<char>(crc >> 8);
}

QByteArray bitsOf(const std::vector<int> &values)
{
    QByteArray bytes((static_cast<int>(values.size()) + 7) / 8, '\0');
    for (std::size_t i = 0; i < values.size(); ++i) {
        const int position = static_cast<int>(i / 8);
        const int bits = static_cast<unsigned char>(bytes.at(position)) | (values[i] ? 1 << i % 8 : 0);
        bytes[position] = static_cast<char>(bits);
    }
    return bytes;
}

QByteArray wordsOf(const std::vector<int> &values)
{
    QByteArray bytes;
    for (int value : values) {
        bytes += static_cast<char>(value >> 8);
        bytes += static_cast<char>(value & 0xFF);
    }
    return bytes;
}

/** The reply of a slave that holds these values; empty when they are not all known. */
QByteArray replyOf(const HeardRegisters &image, const QByteArray &request)
{
    Transaction t;
    t.request = request;
    readRequest(t);
    if (!t.isRead || functionOf(t) > 4)
        return QByteArray();
    std::vector<int> values;
    for (int i = 0; i < t.count; ++i) {
        HeardPlace place;
        place.station = t.station;
        place.type = t.regType.toStdString();
        place.address = t.startAddr + i;
        const auto found = image.all().find(place);
        if (found == image.all().end() || !found->second.known)
            return QByteArray();
        values.push_back(found->second.value);
    }
    const QByteArray payload = functionOf(t) <= 2 ? bitsOf(values) : wordsOf(values);
    QByteArray reply = request.left(2) + static_cast<char>(payload.size()) + payload;
    addCrc(reply);
    return reply;
}

} // namespace

std::vector<ReplayEntry> readCapture(std::istream &in, const CaptureClock &clock, const ReaderSettings &settings)
{
    EntryCollector collector;
    TrafficReader traffic(settings, collector);
    takeCapture(in, clock, traffic);
    return collector.entries;
}

std::vector<ReplayEntry> readPastCapture(std::istream &in, const ReaderSettings &settings)
{
    EntryCollector collector;
    TrafficReader traffic(settings, collector);
    takePastCapture(in, traffic);
    return collector.entries;
}

ReplayLine::ReplayLine(const std::vector<ReplayEntry> &entries) : m_entries(entries)
{
    for (std::size_t i = 0; i < m_entries.size(); ++i)
        m_unused[m_entries[i].transaction.request].push_back(i);
    for (const ReplayEntry &entry : m_entries)
        m_shownAtEnd.note(entry.transaction);
    if (m_entries.empty())
        return;
    m_now = m_entries.front().transaction.sent;
    m_last = m_entries.back().transaction.finished;
}

void ReplayLine::moveTo(TimePoint when)
{
    m_now = std::max(m_now, when);
    m_ended = m_ended || m_now >= m_last;
}

/** Whoever polls has set its deadlines before the request, and does not know of the pause in the capture. */
void ReplayLine::jumpTo(TimePoint when)
{
    const TimePoint before = m_now;
    m_now = std::max(m_now, when);
    m_jump += m_now - before;
}

void ReplayLine::tellEnd()
{
    const std::function<void()> end = std::move(m_end);
    m_end = nullptr;
    if (end)
        end();
}

void ReplayLine::sleepUntil(TimePoint when)
{
    if (m_interrupted)
        return;
    if (m_ended)
        tellEnd();
    moveTo(when);
}

bool ReplayLine::write(const unsigned char *bytes, std::size_t size)
{
    const QByteArray request(reinterpret_cast<const char *>(bytes), static_cast<int>(size));
    m_jump = Duration(0);
    const auto unused = m_unused.find(request);
    const bool usedUp = unused != m_unused.end() && unused->second.empty();
    if (m_ended && (usedUp || !m_askedSinceEnd.insert(request).second))
        tellEnd();
    if (unused == m_unused.end() || unused->second.empty()) {
        m_answer = answerFromValues(request);
        m_answerTime = m_now;
        return true;
    }
    const ReplayEntry &entry = m_entries[unused->second.front()];
    unused->second.pop_front();
    jumpTo(entry.transaction.requestEnd);
    m_answer = entry.answer;
    m_answerTime = m_now + entry.delay;
    return true;
}

int ReplayLine::read(unsigned char *out, std::size_t room, TimePoint deadline)
{
    if (m_interrupted)
        return Interrupted;
    const TimePoint due = deadline + m_jump;
    m_jump = Duration(0);
    if (m_answer.isEmpty() || m_answerTime > std::max(due, m_now)) {
        moveTo(due);
        return DeadlinePassed;
    }
    moveTo(m_answerTime);
    const std::size_t count = std::min(room, static_cast<std::size_t>(m_answer.size()));
    std::memcpy(out, m_answer.constData(), count);
    m_answer.remove(0, static_cast<int>(count));
    return static_cast<int>(count);
}

std::size_t ReplayLine::discardInput()
{
    if (m_answerTime > m_now)
        return 0;
    const std::size_t count = static_cast<std::size_t>(m_answer.size());
    m_answer.clear();
    return count;
}

void ReplayLine::showUpTo(TimePoint when)
{
    while (m_shown < m_entries.size() && m_entries[m_shown].transaction.finished <= when)
        m_image.note(m_entries[m_shown++].transaction);
}

/** Goes on to where the capture has shown all of it; empty when it never does. */
QByteArray ReplayLine::answerFromValues(const QByteArray &request)
{
    if (replyOf(m_shownAtEnd, request).isEmpty())
        return QByteArray();
    showUpTo(m_now);
    QByteArray reply = replyOf(m_image, request);
    while (reply.isEmpty() && m_shown < m_entries.size()) {
        jumpTo(m_entries[m_shown].transaction.finished);
        showUpTo(m_now);
        reply = replyOf(m_image, request);
    }
    return reply;
}

} // namespace rtu
