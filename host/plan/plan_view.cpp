#include "host/plan/plan_view.h"

#include "kit/line/frame_check.h"
#include "host/text/numbers.h"
#include "host/text/json.h"
#include "host/tags/link_tags.h"
#include "host/text/wall_clock.h"

#include <algorithm>
#include <cstring>
#include <set>

namespace rtu {

namespace {

const int MostRegisters = 125;
const int MostBits = 2000;
const int MostLinkWords = 120; ///< a link cuts tags at that
const std::size_t TagsShown = 4;

PlanBlock blockOf(const FRAME_PRO &frame)
{
    PlanBlock block;
    block.station = frame.var.station;
    block.type = frame.var.regType.toStdString();
    block.start = frame.var.startAddr;
    block.count = frame.var.count;
    block.requestBytes = frame.frameLen;
    block.replyBytes = frame.replyLen;
    block.used.assign(static_cast<std::size_t>(std::max(0, block.count)), false);
    return block;
}

/** A reply that the driver takes for good, so that it goes on to the next request. */
QByteArray emptyReply(const FRAME_PRO &frame)
{
    QByteArray reply(frame.replyLen, '\0');
    if (reply.size() < 5)
        return reply;
    reply[0] = static_cast<char>(frame.frame[0]);
    reply[1] = static_cast<char>(frame.frame[1]);
    reply[2] = static_cast<char>(reply.size() - 5);
    const std::size_t size = static_cast<std::size_t>(reply.size()) - 2;
    const unsigned int crc = crc16(reinterpret_cast<const unsigned char *>(reply.constData()), size);
    reply[reply.size() - 2] = static_cast<char>(crc & 0xFF);
    reply[reply.size() - 1] = static_cast<char>(crc >> 8);
    return reply;
}

/** The type that the plan reads a tag by: bits of registers become whole registers. */
std::string readType(const RegisterType &type)
{
    return type.bitInRegister ? type.name.substr(0, type.name.find('_')) : type.name;
}

void configure(DriverLibrary &driver, const DriverProperty &property)
{
    int status = 0;
    driver.initProperty(nullptr, 0, nullptr, &status, property.text().c_str(), nullptr);
}

bool reachesInto(const PlanBlock &left, const PlanBlock &right)
{
    return left.start < right.start + right.count && right.start < left.start + left.count;
}

std::string padded(const std::string &text, int width)
{
    std::string result = text;
    const std::size_t size = static_cast<std::size_t>(std::abs(width));
    if (result.size() < size)
        result.insert(width < 0 ? result.size() : 0, size - result.size(), ' ');
    return result;
}

/** Three digits, be it hundreds or hundredths. */
std::string roundsText(double rounds)
{
    return fixed(rounds, rounds < 1 ? 3 : rounds < 100 ? 1 : 0);
}

std::string attemptsText(int attempts)
{
    return attempts > 1 ? std::to_string(attempts) + " attempts" : "1 attempt";
}

} // namespace

std::string PlanBlock::rangeText() const
{
    const std::string first = type + std::to_string(start + 1);
    return count > 1 ? first + ".." + std::to_string(start + count) : first;
}

PlanView::PlanView(DriverLibrary &driver, const RegisterCatalog &catalog, const DriverProperty &property,
                   const std::vector<TagRange> &tags, const PlanCosts &costs)
    : m_tags(tags)
    , m_costs(costs)
{
    WatchedTags watched(driver, std::max(2, std::min(property.maxWords, MostLinkWords)), nullptr);
    for (const TagRange &tag : tags) {
        const std::shared_ptr<TagRecord> record = std::make_shared<TagRecord>();
        record->layout = std::make_shared<TagLayout>(driver, catalog, definitionOf(tag), TagUse::Read);
        watched.add(record);
    }
    QList<KEY_ADDRESS> keys = watched.planKeys();
    configure(driver, property);
    readPlan(driver, driver.addrMerge(&keys));
    configure(driver, property);
    placeTags(watched);
}

void PlanView::readPlan(DriverLibrary &driver, int frames)
{
    FRAME_PRO frame;
    for (int i = 0; i < frames && driver.getSendFrame(&frame) == 1; ++i) {
        m_blocks.push_back(blockOf(frame));
        QByteArray reply = emptyReply(frame);
        QString information;
        driver.dealRcvFrame(&reply, &information);
    }
}

void PlanView::placeTags(const WatchedTags &watched)
{
    for (std::size_t tag = 0; tag < m_tags.size(); ++tag) {
        for (const TagPiece &piece : watched.records()[tag]->pieces) {
            for (PlanBlock &block : m_blocks)
                place(block, readType(m_tags[tag].type), piece.area, tag);
        }
    }
    for (PlanBlock &block : m_blocks)
        block.unused = static_cast<int>(std::count(block.used.begin(), block.used.end(), false));
}

void PlanView::place(PlanBlock &block, const std::string &type, const Area &area, std::size_t tag) const
{
    const bool inside = area.first >= block.start && area.end() <= block.start + block.count;
    if (area.station != block.station || type != block.type || !inside)
        return;
    block.tags.push_back(PlannedTag{tag, area.first - block.start, area.count});
    std::fill_n(block.used.begin() + (area.first - block.start), area.count, true);
}

Duration PlanView::lineTime(const PlanBlock &block) const
{
    return m_costs.timing.characters(static_cast<std::size_t>(block.requestBytes + block.replyBytes))
           + 2 * m_costs.timing.silence();
}

Duration PlanView::roundTime() const
{
    Duration time(0);
    for (const PlanBlock &block : m_blocks)
        time += lineTime(block);
    return time;
}

Duration PlanView::deadTime(int station) const
{
    const auto first = std::find_if(m_blocks.begin(), m_blocks.end(),
                                    [station](const PlanBlock &block) { return block.station == station; });
    if (first == m_blocks.end())
        return Duration(0);
    const Duration attempt = m_costs.timing.silence()
                             + m_costs.timing.characters(static_cast<std::size_t>(first->requestBytes))
                             + m_costs.replyTimeout;
    return attempt * std::max(1, m_costs.attempts);
}

std::vector<int> PlanView::stations() const
{
    std::set<int> stations;
    for (const PlanBlock &block : m_blocks)
        stations.insert(block.station);
    return std::vector<int>(stations.begin(), stations.end());
}

std::vector<std::string> PlanView::warnings() const
{
    std::vector<std::string> warnings;
    for (const PlanBlock &block : m_blocks) {
        const int most = block.ofBits() ? MostBits : MostRegisters;
        if (block.count > most)
            warnings.push_back("station " + std::to_string(block.station) + ", " + block.rangeText() + ": "
                               + std::to_string(block.count) + (block.ofBits() ? " bits" : " registers")
                               + " in one request; the protocol ends at " + std::to_string(most));
    }
    warnOfDoubleReading(warnings);
    return warnings;
}

/** The driver never joins "4x" with "4x_double", so registers of both are read twice a round. */
void PlanView::warnOfDoubleReading(std::vector<std::string> &warnings) const
{
    for (const PlanBlock &words : m_blocks) {
        for (const PlanBlock &doubles : m_blocks) {
            if (words.station != doubles.station || doubles.type != words.type + "_double"
                || !reachesInto(words, doubles))
                continue;
            PlanBlock shared = words;
            shared.start = std::max(words.start, doubles.start);
            shared.count = std::min(words.start + words.count, doubles.start + doubles.count) - shared.start;
            warnings.push_back("station " + std::to_string(words.station) + ", " + shared.rangeText()
                               + ": read twice a round, as " + words.type + " and as " + doubles.type);
        }
    }
}

std::string tagNames(const PlanView &plan, const PlanBlock &block)
{
    std::set<std::size_t> tags; // a long tag may be in the block with several of its parts
    for (const PlannedTag &planned : block.tags)
        tags.insert(planned.tag);
    std::string text;
    std::size_t shown = 0;
    for (std::size_t index : tags) {
        const TagRange &tag = plan.tags()[index];
        if (shown++ < TagsShown)
            text += (text.empty() ? "" : ", ") + (tag.name.empty() ? tag.rangeLabel() : tag.name);
    }
    if (tags.size() > TagsShown)
        text += " and " + std::to_string(tags.size() - TagsShown) + " more";
    return text;
}

std::string requestsText(const PlanView &plan)
{
    const std::size_t requests = plan.blocks().size();
    return std::to_string(requests) + (requests == 1 ? " request" : " requests");
}

namespace {

/** What the joining of neighbours costs. */
std::string unusedText(const PlanView &plan)
{
    int unused = 0;
    int all = 0;
    for (const PlanBlock &block : plan.blocks()) {
        unused += block.unused;
        all += block.count;
    }
    if (unused == 0)
        return std::string();
    return "Read for nothing: " + std::to_string(unused) + " of " + std::to_string(all) + " registers and bits\n";
}

} // namespace

std::string planText(const PlanView &plan)
{
    std::string text = "  # station  registers or bits     count  unused  bytes out+in  line time  tags\n";
    int out = 0;
    int in = 0;
    for (std::size_t i = 0; i < plan.blocks().size(); ++i) {
        const PlanBlock &block = plan.blocks()[i];
        out += block.requestBytes;
        in += block.replyBytes;
        text += padded(std::to_string(i + 1), 3) + padded(std::to_string(block.station), 8) + "  "
                + padded(block.rangeText(), -19) + padded(std::to_string(block.count), 7)
                + padded(std::to_string(block.unused), 8)
                + padded(std::to_string(block.requestBytes) + "+" + std::to_string(block.replyBytes), 14)
                + padded(durationText(plan.lineTime(block)), 11) + "  " + tagNames(plan, block) + "\n";
    }
    const Duration round = plan.roundTime();
    text += "A round: " + requestsText(plan) + ", " + std::to_string(out) + "+" + std::to_string(in) + " bytes, "
            + durationText(round) + " on "
            + (plan.costs().line.baud > 0 ? lineName(plan.costs().line) : "an unpaced line");
    if (round > Duration(0))
        text += ", at best " + roundsText(1 / toSeconds(round)) + " rounds a second";
    text += "\n" + unusedText(plan);
    for (int station : plan.stations())
        text += "Station " + std::to_string(station) + " dead: " + durationText(plan.deadTime(station)) + " once ("
                + attemptsText(plan.costs().attempts) + " x " + durationText(plan.costs().replyTimeout)
                + " time-out), then a twentieth of the line at most\n";
    for (const std::string &warning : plan.warnings())
        text += "Warning: " + warning + "\n";
    return text;
}

std::string planJson(const PlanView &plan)
{
    Json blocks = Json::array();
    for (const PlanBlock &block : plan.blocks()) {
        Json tags = Json::array();
        for (const PlannedTag &planned : block.tags)
            tags.push_back(plan.tags()[planned.tag].label());
        blocks.push_back({{"station", block.station},
                          {"type", block.type},
                          {"first", block.start + 1},
                          {"count", block.count},
                          {"unused", block.unused},
                          {"request_bytes", block.requestBytes},
                          {"reply_bytes", block.replyBytes},
                          {"line_ms", jsonNumber(1e3 * toSeconds(plan.lineTime(block)), 3)},
                          {"tags", tags}});
    }
    Json dead = Json::object();
    for (int station : plan.stations())
        dead[std::to_string(station)] = jsonNumber(1e3 * toSeconds(plan.deadTime(station)), 3);
    return jsonText({{"blocks", blocks},
                     {"round_ms", jsonNumber(1e3 * toSeconds(plan.roundTime()), 3)},
                     {"dead_station_ms", dead},
                     {"warnings", plan.warnings()}});
}

} // namespace rtu
