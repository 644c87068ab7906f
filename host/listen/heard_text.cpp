#include "host/listen/heard_text.h"

#include "host/listen/request_fields.h"
#include "host/report/trace.h"
#include "host/text/text_width.h"
#include "host/text/wall_clock.h"
#include "kit/line/frame_bytes.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace rtu {

namespace {

using Json = nlohmann::ordered_json;

const std::size_t LongestNames = 60;

HeardPlace placeOf(const Transaction &t, int offset)
{
    HeardPlace place;
    place.station = t.station;
    place.type = t.regType.toStdString();
    place.address = t.startAddr + offset;
    return place;
}

/** The names of the registers that have one, in the order of the registers. */
std::vector<std::string> namesIn(const Transaction &t, const RegisterNames &names)
{
    std::vector<std::string> found;
    for (auto name = names.lower_bound(placeOf(t, 0)); name != names.end() && name->first < placeOf(t, t.count); ++name)
        found.push_back(name->second);
    return found;
}

std::string namesText(const Transaction &t, const RegisterNames &names)
{
    std::string text;
    for (const std::string &name : namesIn(t, names)) {
        if (text.size() > LongestNames)
            return text + ", ...";
        text += (text.empty() ? "  (" : ", ") + name;
    }
    return text.empty() ? text : text + ")";
}

const char *answerText(const Transaction &t)
{
    if (t.kind == ReplyKind::Exception)
        return "exception";
    if (t.kind == ReplyKind::Silent)
        return "silent";
    return t.end == ReplyEnd::NoneExpected ? "broadcast" : "good";
}

std::string toldJson(const Transaction &t, const RegisterNames &names, const char *answer)
{
    Json json;
    json["time"] = timeStamp(t.finished);
    json["station"] = t.station;
    json["function"] = functionOf(t);
    const bool places = !t.regType.isEmpty();
    json["type"] = places ? Json(t.regType.toStdString()) : Json();
    json["address"] = places ? Json(t.startAddr + 1) : Json();
    json["count"] = places ? Json(t.count) : Json();
    const std::vector<int> values = valuesOf(t);
    json["values"] = values.empty() ? Json() : Json(values);
    const std::vector<std::string> found = namesIn(t, names);
    json["names"] = found.empty() ? Json() : Json(found);
    json["exception"] = t.kind == ReplyKind::Exception ? Json(t.exceptionCode) : Json();
    json["answer"] = answer;
    const auto delay = std::chrono::duration_cast<std::chrono::microseconds>(t.firstByte - t.requestEnd);
    json["reply_ms"] = t.reply.isEmpty() ? Json() : Json(static_cast<double>(delay.count()) / 1000);
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/** Functions that the driver does not send have no words of their own in its trace. */
bool isOrdinary(const Transaction &t)
{
    return !t.regType.isEmpty() && functionOf(t) <= 16;
}

std::string answeredText(const Transaction &t)
{
    const std::vector<int> values = valuesOf(t);
    std::string text = "answered";
    for (std::size_t i = 0; i < values.size(); ++i)
        text += (i ? " " : ": ") + std::to_string(values[i]);
    return text;
}

const int PlaceWidth = 14;
const int NumberWidth = 8;
const int LongestName = 24;
const int ShortestName = 6;

/** Columns of the table of registers; 0 leaves one out. */
struct TableShape
{
    int name = 0;
    int asked = NumberWidth + 1;
    int every = NumberWidth + 2;

    int width() const { return PlaceWidth + name + 2 * NumberWidth + 1 + asked + every; }
};

/** Register, value and age stay; where there are names, they are worth more than how often each is asked for. */
TableShape tableShape(int columns, bool named)
{
    TableShape shape;
    const int least = named ? ShortestName : 0;
    if (shape.width() + least > columns)
        shape.every = 0;
    if (shape.width() + least > columns)
        shape.asked = 0;
    if (named)
        shape.name = std::max(0, std::min(LongestName, columns - shape.width()));
    return shape;
}

} // namespace

std::vector<std::string> heardLines(const Transaction &transaction, const RegisterNames &names)
{
    std::vector<TraceLine> lines = traceLines(transaction);
    lines.front().meaning += namesText(transaction, names);
    for (TraceLine &line : lines)
        line.verdict.clear(); // nobody judges here but the master, whose mind is not known
    if (transaction.kind == ReplyKind::Good && !transaction.reply.isEmpty() && !isOrdinary(transaction))
        lines.back().meaning = answeredText(transaction);
    std::vector<std::string> texts;
    texts.reserve(lines.size());
    for (const TraceLine &line : lines)
        texts.push_back(traceText(line));
    return texts;
}

std::string openLine(const Transaction &request, const RegisterNames &names)
{
    return heardLines(request, names).front();
}

std::string garbageLine(const HeardBytes &garbage)
{
    const int size = static_cast<int>(garbage.bytes.size());
    return timeOfDay(garbage.end) + " ?  " + hexText(garbage.bytes) + "  " + std::to_string(size)
           + (size == 1 ? " byte" : " bytes") + " of no frame";
}

std::string strayLine(const HeardBytes &reply)
{
    return timeOfDay(reply.end) + " <" + std::to_string(byteAt(reply.bytes, 0)) + "  " + hexText(reply.bytes)
           + "  a reply to nothing that was heard";
}

std::string heardJson(const Transaction &transaction, const RegisterNames &names)
{
    return toldJson(transaction, names, answerText(transaction));
}

std::string openJson(const Transaction &request, const RegisterNames &names)
{
    return toldJson(request, names, "open");
}

std::string strayJson(const HeardBytes &reply)
{
    Json json;
    json["time"] = timeStamp(reply.end);
    json["station"] = byteAt(reply.bytes, 0);
    json["function"] = byteAt(reply.bytes, 1) & ~ExceptionFlag;
    json["exception"] = byteAt(reply.bytes, 1) & ExceptionFlag ? Json(byteAt(reply.bytes, 2)) : Json();
    json["answer"] = "stray";
    json["bytes"] = hexText(reply.bytes);
    return json.dump();
}

std::string garbageJson(const HeardBytes &garbage)
{
    Json json;
    json["time"] = timeStamp(garbage.end);
    json["answer"] = "garbage";
    json["bytes"] = hexText(garbage.bytes);
    return json.dump();
}

std::vector<std::string> registerTable(const HeardRegisters &registers, const RegisterNames &names, TimePoint now,
                                       int columns)
{
    const TableShape shape = tableShape(columns, !names.empty());
    const auto row = [&](const std::string &place, const std::string &name, const std::string &value,
                         const std::string &age, const std::string &asked, const std::string &every) {
        return clippedText(leftAligned(place, PlaceWidth) + leftAligned(name, shape.name)
                               + rightAligned(value, NumberWidth) + " " + rightAligned(age, NumberWidth)
                               + rightAligned(asked, shape.asked) + rightAligned(every, shape.every),
                           std::max(columns, 1));
    };
    std::vector<std::string> lines;
    lines.push_back(row("register", "name", "value", "age", "asked", "every"));
    for (const auto &entry : registers.all()) {
        const HeardRegister &heard = entry.second;
        const auto name = names.find(entry.first);
        lines.push_back(row(entry.first.label(), name == names.end() ? "" : name->second,
                            heard.known ? std::to_string(heard.value) : "-",
                            heard.known ? durationText(now - heard.time) : "-", std::to_string(heard.asked),
                            heard.interval > Duration(0) ? durationText(heard.interval) : "-"));
    }
    return lines;
}

} // namespace rtu
