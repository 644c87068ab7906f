#include "host/report/trace.h"

#include "host/text/numbers.h"
#include "host/text/wall_clock.h"
#include "kit/line/frame_bytes.h"
#include "kit/line/frame_check.h"

#include <algorithm>

namespace rtu {

namespace {

const int ValuesShown = 16;

struct FunctionText
{
    int code;
    const char *action;
    const char *table; ///< as the driver writes addresses of that table
};

const FunctionText functionTexts[] = {
    {1, "read coils", "0x"},           {2, "read discrete inputs", "1x"}, {3, "read holding registers", "4x"},
    {4, "read input registers", "3x"}, {5, "write coil", "0x"},           {6, "write register", "4x"},
    {15, "write coils", "0x"},         {16, "write registers", "4x"},
};

const char *const exceptionTexts[] = {
    "",
    "illegal function",
    "illegal data address",
    "illegal data value",
    "slave device failure",
    "acknowledge",
    "slave device busy",
    "negative acknowledge",
    "memory parity error",
    "",
    "gateway path unavailable",
    "gateway target did not respond",
};

const FunctionText *functionText(int code)
{
    for (const FunctionText &text : functionTexts) {
        if (text.code == code)
            return &text;
    }
    return nullptr;
}

std::string rangeText(const char *table, int address, int count)
{
    const std::string first = table + std::to_string(address + 1);
    return count > 1 ? first + ".." + std::to_string(address + count) : first;
}

bool crcIsRight(const QByteArray &frame)
{
    return endsWithCrc(reinterpret_cast<const unsigned char *>(frame.constData()),
                       static_cast<std::size_t>(frame.size()));
}

std::string bitValues(const QByteArray &bytes, int first, int count)
{
    std::string text;
    for (int i = 0; i < std::min(count, 4 * ValuesShown); ++i)
        text += byteAt(bytes, first + i / 8) >> i % 8 & 1 ? '1' : '0';
    return text + (count > 4 * ValuesShown ? " ..." : "");
}

std::string wordValues(const QByteArray &bytes, int first, int count)
{
    std::string text;
    for (int i = 0; i < std::min(count, ValuesShown); ++i)
        text += (i ? " " : "") + std::to_string(wordAt(bytes, first + 2 * i));
    return text + (count > ValuesShown ? " ..." : "");
}

std::string readReplyMeaning(const Transaction &t)
{
    const bool bits = byteAt(t.request, 1) <= 2;
    const int payload = static_cast<int>(t.reply.size()) - 5;
    const int count = std::min(wordAt(t.request, 4), bits ? payload * 8 : payload / 2);
    const std::string size = quantity(static_cast<std::uint64_t>(std::max(count, 0)), bits ? "bit" : "register");
    return size + ": " + (bits ? bitValues(t.reply, 3, count) : wordValues(t.reply, 3, count));
}

std::string goodReplyMeaning(const Transaction &t)
{
    return t.isRead ? readReplyMeaning(t) : "written";
}

std::string missingReplyMeaning(const Transaction &t)
{
    switch (t.end) {
    case ReplyEnd::NoneExpected:
        return "broadcast, no reply expected";
    case ReplyEnd::PortLost:
        return "the port is gone";
    case ReplyEnd::Interrupted:
        return "interrupted";
    default:
        return "no reply within " + durationText(t.finished - t.requestEnd);
    }
}

} // namespace

std::string exceptionText(int code)
{
    const std::string text = "exception " + std::to_string(code);
    const bool known = code >= 0 && code < static_cast<int>(sizeof(exceptionTexts) / sizeof(exceptionTexts[0]));
    return known && exceptionTexts[code][0] ? text + ": " + exceptionTexts[code] : text;
}

std::string hexText(const QByteArray &bytes)
{
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    for (int i = 0; i < bytes.size(); ++i) {
        if (i)
            text += ' ';
        text += digits[byteAt(bytes, i) >> 4];
        text += digits[byteAt(bytes, i) & 0xF];
    }
    return text;
}

std::string requestMeaning(const QByteArray &request)
{
    const int code = byteAt(request, 1);
    const FunctionText *text = functionText(code);
    if (!text)
        return "function " + std::to_string(code);
    const bool single = code == 5 || code == 6;
    const std::string meaning =
        text->action + std::string(" ") + rangeText(text->table, wordAt(request, 2), single ? 1 : wordAt(request, 4));
    switch (code) {
    case 5:
        return meaning + (byteAt(request, 4) ? " on" : " off");
    case 6:
        return meaning + " = " + std::to_string(wordAt(request, 4));
    case 15:
        return meaning + " = " + bitValues(request, 7, wordAt(request, 4));
    case 16:
        return meaning + " = " + wordValues(request, 7, wordAt(request, 4));
    default:
        return meaning;
    }
}

std::string replyMeaning(const Transaction &t)
{
    if (t.reply.isEmpty())
        return missingReplyMeaning(t);
    if (t.good())
        return goodReplyMeaning(t);
    if (t.end == ReplyEnd::Exception)
        return exceptionText(byteAt(t.reply, 2));
    if (t.kind == ReplyKind::Foreign)
        return describeMismatch(t.request, t.reply);
    if (t.reply.size() != t.expectedReply)
        return quantity(static_cast<std::uint64_t>(t.reply.size()), "byte") + " instead of "
               + std::to_string(t.expectedReply);
    return crcIsRight(t.reply) ? "refused" : "wrong CRC";
}

std::string verdictText(const Transaction &t)
{
    switch (t.verdict) {
    case VerdictGood:
        return "good";
    case VerdictSendAgain:
        return "bad, send again";
    case VerdictGivenUp:
        return "given up: " + t.information.toStdString();
    default:
        return "nothing pending";
    }
}

std::vector<TraceLine> traceLines(const Transaction &t)
{
    TraceLine line;
    line.time = t.sent;
    line.station = t.station;
    line.bytes = hexText(t.request);
    line.meaning = requestMeaning(t.request) + (t.attempt > 1 ? ", attempt " + std::to_string(t.attempt) : "");
    std::vector<TraceLine> lines(1, line);
    line.time = t.finished;
    line.direction = '<';
    line.bytes = hexText(t.reply);
    line.meaning = replyMeaning(t);
    line.verdict = verdictText(t);
    line.bad = !t.good();
    lines.push_back(line);
    if (t.warning.isEmpty())
        return lines;
    line.direction = '!';
    line.bytes.clear();
    line.meaning = "warning: accepted although " + t.warning.toStdString();
    line.verdict.clear();
    line.bad = true;
    lines.push_back(line);
    return lines;
}

std::string traceText(const TraceLine &line)
{
    std::string text = timeOfDay(line.time) + " " + line.direction + std::to_string(line.station);
    if (!line.bytes.empty())
        text += "  " + line.bytes;
    text += "  " + line.meaning;
    return line.verdict.empty() ? text : text + "  [" + line.verdict + "]";
}

} // namespace rtu
