#include "host/live/live_view.h"

#include "host/live/live_table.h"
#include "host/live/row_order.h"
#include "host/report/write_report.h"
#include "host/tags/link_tags.h"

#include <algorithm>
#include <stdexcept>

namespace rtu {

namespace {

const int RedrawMilliseconds = 100;

/** "1:4x211: 7 -> -12, acknowledged", and why where it was not. */
std::string endText(const TagWrite &write, const TagState &old, const WriteResult &result, bool verified)
{
    const std::string text = writeText(write, old, result, verified);
    const bool well = result.end == WriteEnd::Acknowledged || result.text.isEmpty();
    return well ? text : text + ": " + result.text.toStdString();
}

} // namespace

LiveView::LiveView(Link &link, Line &line, DriverLibrary &driver, int rounds, plant::Plant *plant,
                   const std::string &portName)
    : m_link(link)
    , m_line(line)
    , m_driver(driver)
    , m_roundsWanted(rounds)
    , m_plant(plant)
    , m_portName(portName)
{
}

void LiveView::prepare(const TagSelection &selection)
{
    m_feed.reset(new LiveFeed(m_link, m_line, selection.reads));
    m_link.onRound([this] { finishRound(); });
    m_feed->remark(m_told);
    if (m_recorder)
        m_recorder->watch(m_feed->board());
    for (const TagWrite &write : selection.writes)
        m_link.write(definitionOf(write.tag), numbersOf(write.raw), tellingTheEndOf(write, TagState()));
}

void LiveView::tell(const std::string &text)
{
    if (m_feed)
        m_feed->remark(text);
    else
        m_told = text;
}

void LiveView::finishRound()
{
    if (m_roundsWanted == 0 || ++m_rounds < m_roundsWanted)
        return;
    m_link.stop();
    m_ended = true;
}

WriteOptions LiveView::tellingTheEndOf(const TagWrite &write, const TagState &old)
{
    WriteOptions options;
    options.readBack = m_verify;
    options.done = [this, write, old](const WriteResult &result) {
        m_feed->noteEnd(endText(write, old, result, m_verify));
        const std::string error = writeError(write, result);
        if (!error.empty())
            m_writeErrors.push_back(error);
        if (m_recorder)
            m_recorder->printWrite(write, old, result, result.time == TimePoint() ? m_line.now() : result.time);
    };
    return options;
}

/** Of the one value alone. */
TagState LiveView::stateOf(const LiveRow &row) const
{
    TagState state = m_feed->board().state(row.tag);
    state.raw.assign(1, state.raw[static_cast<std::size_t>(row.value)]);
    return state;
}

void LiveView::run(LiveTerminal &terminal, const TagSelection &selection)
{
    prepare(selection);
    m_link.start();
    show(terminal);
    m_link.stop();
}

void LiveView::show(LiveTerminal &terminal)
{
    LiveState state(liveRows(m_feed->tags()), *this);
    LivePainter painter(*m_feed, m_portName);
    while (!state.quit() && !m_ended) {
        showNews(state);
        terminal.draw(painter.paint(state, terminal.rows(), terminal.columns(), m_line.now()));
        const int key = terminal.readKey(RedrawMilliseconds);
        if (key != 0)
            state.press(key);
    }
}

/** They wait while the user types, who needs the line; remarks wait for the next key where its answer stands. */
void LiveView::showNews(LiveState &state)
{
    if (state.typing())
        return;
    const std::string news = m_feed->takeNews();
    if (!news.empty())
        state.setMessage(news);
    if (!state.takesRemark())
        return;
    const std::string remark = m_feed->takeRemark();
    if (!remark.empty())
        state.setRemark(remark);
}

TagRange LiveView::tagOf(const LiveRow &row) const
{
    return singleValue(m_feed->tags()[row.tag], row.value);
}

std::string LiveView::refusal(const LiveRow &row)
{
    const TagRange tag = tagOf(row);
    const AddressCheck check = checkAddress(m_driver, tag.type, addressText(tag.type, tag.address), tag.count(),
                                            tag.format.format, Access::Write);
    return check.result == 0 ? std::string()
                             : tag.label() + ": " + addressCheckText(check.result, tag.type.name, &tag.type);
}

std::string LiveView::currentValue(const LiveRow &row)
{
    const TagState state = stateOf(row);
    return state.known ? valueText(state.raw.front(), m_feed->tags()[row.tag].format) : std::string();
}

bool LiveView::write(const LiveRow &row, const std::string &text, std::string *message)
{
    const TagRange tag = tagOf(row);
    std::vector<std::uint32_t> raw;
    try {
        raw.push_back(parseValue(text, tag.format));
    } catch (const std::invalid_argument &error) {
        *message = error.what();
        return false;
    }
    send(row, raw.front());
    *message = "Writing " + m_writes.back().text;
    return true;
}

void LiveView::send(const LiveRow &row, std::uint32_t raw)
{
    const TagRange tag = tagOf(row);
    const std::vector<double> numbers = numbersOf({raw});
    // Recorded as the tag is defined, however it is shown just now.
    TagRange defined = singleValue(m_feed->board().tags()[row.tag], row.value);
    defined.name = valueName(m_feed->board().tags()[row.tag], row.value);
    const WriteOptions options = tellingTheEndOf(TagWrite{defined, {raw}}, stateOf(row));
    const Write write = m_feed->tags()[row.tag].values == 1
                            ? m_link.write(m_feed->board().handle(row.tag), numbers, options)
                            : m_link.write(definitionOf(tag), numbers, options);
    m_writes.push_back(SentWrite{
        row, raw, std::to_string(tag.station) + ":" + tag.label() + " = " + valueText(raw, tag.format), write});
}

std::string LiveView::toggle(const LiveRow &row)
{
    const TagRange tag = tagOf(row);
    if (!tag.type.isBit())
        return std::to_string(tag.station) + ":" + tag.label() + " is no bit: Enter changes it";
    const std::string reason = refusal(row);
    if (!reason.empty())
        return reason;
    const SentWrite *under = lastUnder(row);
    const TagState state = stateOf(row); // after that: it has what a write that has ended left
    if (!under && !state.known)
        return tag.label() + " has not been read yet: Enter writes a value";
    send(row, (under ? under->raw : state.raw.front()) ? 0 : 1);
    return "Writing " + m_writes.back().text;
}

/** The last write of the value that is under way, which the value shown may not tell yet; null for none. */
const LiveView::SentWrite *LiveView::lastUnder(const LiveRow &row) const
{
    const auto found = std::find_if(m_writes.rbegin(), m_writes.rend(), [&](const SentWrite &sent) {
        return sent.row.tag == row.tag && sent.row.value == row.value && !sent.write.ended();
    });
    return found == m_writes.rend() ? nullptr : &*found;
}

std::vector<std::string> LiveView::waitingWrites()
{
    const auto ended = [](const SentWrite &sent) { return sent.write.ended(); };
    m_writes.erase(std::remove_if(m_writes.begin(), m_writes.end(), ended), m_writes.end());
    std::vector<std::string> texts;
    for (const SentWrite &sent : m_writes)
        texts.push_back(sent.text);
    return texts;
}

std::string LiveView::cancelWrites()
{
    std::vector<SentWrite> left;
    for (SentWrite &sent : m_writes) {
        if (!sent.write.cancel())
            left.push_back(sent);
    }
    const std::size_t cancelled = m_writes.size() - left.size();
    m_writes.swap(left);
    return cancelled == 0 ? "No write waits to be sent" : std::to_string(cancelled) + " taken back";
}

std::string LiveView::readNow(const LiveRow &row)
{
    const TagRange &tag = m_feed->tags()[row.tag];
    m_link.read(definitionOf(tag));
    return "Reading " + std::to_string(tag.station) + ":" + tag.label();
}

std::string LiveView::rowText(const LiveRow &row)
{
    const TagRange &tag = m_feed->tags()[row.tag];
    return valueName(tag, row.value) + " " + std::to_string(tag.station) + ":" + tag.label(row.value);
}

std::vector<LiveRow> LiveView::ordered(RowOrder order)
{
    return orderedRows(order, m_feed->board());
}

std::string LiveView::changeFormat(const LiveRow &row)
{
    const TagRange &tag = m_feed->tags()[row.tag];
    if (tag.type.isBit())
        return rowText(row) + " is a bit: 0 or 1";
    m_feed->setFormat(row.tag, nextFormat(tag.format));
    return rowText(row) + " as " + formatName(tag.format.format, tag.format.width);
}

bool LiveView::addFault(const std::string &text, std::string *message)
{
    plant::Fault fault;
    if (!plant::parseFault(text, &fault, message))
        return false;
    m_plant->addFault(fault);
    *message = "Fault added: " + text;
    return true;
}

std::string LiveView::clearFaults()
{
    m_plant->clearFaults();
    return "No faults any more";
}

std::string LiveView::switchStation(const LiveRow &row)
{
    const int station = m_feed->tags()[row.tag].station;
    const bool on = !m_plant->stationIsOn(station);
    m_plant->setStationOn(station, on);
    return "Station " + std::to_string(station) + (on ? " is on" : " is off");
}

std::string LiveView::pullPlug()
{
    std::string error;
    if (!m_unplugged)
        m_plant->unplug();
    else if (!m_plant->replug(&error))
        return error;
    m_unplugged = !m_unplugged;
    return m_unplugged ? "The plug is pulled" : "The plug is in again";
}

} // namespace rtu
