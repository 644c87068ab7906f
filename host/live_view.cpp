#include "live_view.h"

#include "punctuality.h"
#include "poll_program.h"

#include <stdexcept>

namespace rtu {

namespace {

const int RedrawMilliseconds = 100;

} // namespace

LiveView::LiveView(DriverSession &session, Line &line, const PollSettings &settings, const Options &options,
                   plant::Plant *plant, const std::string &portName)
    : m_session(session)
    , m_line(line)
    , m_options(options)
    , m_plant(plant)
    , m_portName(portName)
    , m_loop(session.driver(), line, settings)
{
}

void LiveView::prepare(const TagSelection &selection)
{
    m_feed.reset(new LiveFeed(selection.reads, m_session.property().maxWords, m_loop.settings().timing, m_line.now()));
    m_session.driver().setChangeListener([this](const ValueChange &change) { m_feed->add(change, m_line.now()); });
    m_loop.addObserver([this](const Transaction &transaction) { m_feed->add(transaction, WriteTag); });
    m_loop.setPortObserver([this](bool open) { m_feed->setPort(open); });
    m_loop.setRoundLength(m_session.plan(selection.reads));
    m_loop.setRoundObserver([this] { return m_options.rounds == 0 || ++m_rounds < m_options.rounds; });
    for (const TagWrite &write : selection.writes)
        writeTag(m_session.driver(), write, m_session.property().maxWords, WriteTag);
}

void LiveView::run(LiveTerminal &terminal, const TagSelection &selection)
{
    prepare(selection);
    std::thread polling([this] {
        askForPunctuality();
        m_loop.run();
        m_pollingEnded = true;
    });
    show(terminal);
    m_loop.stop();
    polling.join();
    m_session.driver().setChangeListener(nullptr);
}

void LiveView::show(LiveTerminal &terminal)
{
    LiveState state(liveRows(m_feed->tags()), *this);
    LivePainter painter(*m_feed, m_portName, [this](const TagRange &tag) { return readTag(m_session.driver(), tag); });
    while (!state.quit() && !m_pollingEnded) {
        // News wait while the user types: the line is needed.
        const std::string news = state.typing() ? std::string() : m_feed->takeNews();
        if (!news.empty())
            state.setMessage(news);
        terminal.draw(painter.paint(state, terminal.rows(), terminal.columns(), m_line.now()));
        const int key = terminal.readKey(RedrawMilliseconds);
        if (key != 0)
            state.press(key);
    }
}

/** The one value of a row as a tag of its own. */
TagRange LiveView::tagOf(const LiveRow &row) const
{
    TagRange tag = m_feed->tags()[row.tag];
    tag.address = tag.addressOf(row.value);
    tag.values = 1;
    return tag;
}

std::string LiveView::refusal(const LiveRow &row)
{
    const TagRange tag = tagOf(row);
    const AddressCheck check = checkAddress(m_session.driver(), tag.type, addressText(tag.type, tag.address),
                                            tag.count(), tag.format.format, Access::Write);
    return check.result == 0 ? std::string()
                             : tag.label() + ": " + addressCheckText(check.result, tag.type.name, &tag.type);
}

std::string LiveView::currentValue(const LiveRow &row)
{
    const TagRange tag = tagOf(row);
    return valueText(readTag(m_session.driver(), tag).front(), tag.format);
}

bool LiveView::write(const LiveRow &row, const std::string &text, std::string *message)
{
    TagWrite write;
    write.tag = tagOf(row);
    try {
        write.raw.push_back(parseValue(text, write.tag.format));
    } catch (const std::invalid_argument &error) {
        *message = error.what();
        return false;
    }
    writeTag(m_session.driver(), write, m_session.property().maxWords, WriteTag);
    m_loop.wake();
    *message = "Writing " + write.tag.label() + " = " + valueText(write.raw.front(), write.tag.format);
    return true;
}

std::string LiveView::readNow(const LiveRow &row)
{
    const TagRange &tag = m_feed->tags()[row.tag];
    QList<KEY_ADDRESS> keys = keysOf(std::vector<TagRange>(1, tag), m_session.property().maxWords);
    for (int i = 0; i < keys.size(); ++i) {
        KEY_ADDRESS key = keys.at(i);
        m_session.driver().addConditionRead(&key, ConditionTag);
    }
    m_loop.wake();
    return "Reading " + std::to_string(tag.station) + ":" + tag.label();
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
