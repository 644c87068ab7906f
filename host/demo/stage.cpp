#include "host/demo/stage.h"

#include "host/tags/link_tags.h"
#include "host/tags/tag_table.h"

#include "kit/line/make_line.h"

#include <algorithm>

namespace demo {

namespace {

/** Reply time-out of the demo: slaves answer within milliseconds, a dead one shall not hold the show up. */
const rtu::Duration ReplyTimeout = std::chrono::milliseconds(250);
/** A round that lost frames on a busy machine is polled again this often. */
const int MostRounds = 5;
/** A dead slave is asked this often; the show must go on. */
const rtu::Duration QuestionInterval = std::chrono::milliseconds(500);
/** A slave that does not come back for so long never will. */
const rtu::Duration Patience = std::chrono::seconds(60);

plant::Table tableOf(const rtu::RegisterType &type)
{
    switch (type.name.at(0)) {
    case '0':
        return plant::Table::Coils;
    case '1':
        return plant::Table::DiscreteInputs;
    case '3':
        return plant::Table::InputRegisters;
    default:
        return plant::Table::HoldingRegisters;
    }
}

rtu::LineParameters parametersFor(const plant::Line &line)
{
    rtu::LineParameters parameters;
    parameters.baud = line.baud;
    parameters.parity = 'N';
    parameters.stopBits = line.characterBits - 9;
    return parameters;
}

} // namespace

bool Tally::count(bool same)
{
    ++compared;
    if (same)
        ++agreed;
    return same;
}

std::string cell(std::uint32_t raw, const rtu::TagRange &tag)
{
    std::string text = valueText(raw, tag.format);
    if (!tag.unit.empty())
        text += " " + tag.unit;
    return text;
}

Stage::Stage(const std::string &folder, Screen &shownOn)
    : screen(shownOn)
    , catalog(driver)
    , tags(rtu::readTagFile(driver, catalog, folder + "/tags.csv"))
{
    std::string error;
    if (!slaves.loadFile(folder + "/plant.sim", &error) || !slaves.start(&error))
        throw std::runtime_error(error);
    std::unique_ptr<rtu::PortLine> port = rtu::makeLine(slaves.devicePath(), parametersFor(slaves.line()));
    port->open();
    line = port.get();
    rtu::LinkSettings settings;
    settings.parameters = port->parameters();
    settings.driver = QString::fromStdString(driver.path());
    settings.replyTimeout = ReplyTimeout;
    settings.lateReplyGuard = ReplyTimeout;
    settings.questionInterval = QuestionInterval;
    link.reset(new rtu::Link(settings, std::move(port)));
    link->onTransaction([this](const rtu::Transaction &transaction) {
        ++frames;
        if (transaction.verdict != rtu::VerdictGivenUp)
            return;
        ++givenUp;
        lastError = transaction.information.toStdString();
    });
    link->onChange([this](const rtu::TagChange &) { ++changes; });
    link->onRound([this] { ++m_rounds; });
    for (const rtu::TagRange &each : tags)
        m_handles.push_back(link->addTag(rtu::definitionOf(each)));
}

void Stage::step()
{
    switch (link->step()) {
    case rtu::LinkStep::Done:
        return;
    case rtu::LinkStep::Stopped:
        throw Ended();
    case rtu::LinkStep::NoPort:
        throw std::runtime_error("the port " + line->name() + " is gone");
    case rtu::LinkStep::Idle:
        line->sleepUntil(std::min(link->nextStep(), line->now() + ReplyTimeout));
    }
}

void Stage::pollFor(rtu::Duration time)
{
    const rtu::TimePoint end = line->now() + time;
    while (line->now() < end)
        step();
}

/** The round that is under way, and a whole one. */
void Stage::pollRound()
{
    for (const int enough = m_rounds + 2; m_rounds < enough;)
        step();
}

void Stage::awaitStation(int station)
{
    const rtu::TimePoint end = line->now() + Patience;
    while (link->statistics().stations[station].silent) {
        if (line->now() > end)
            throw std::runtime_error("station " + std::to_string(station) + " does not come back");
        step();
    }
}

bool Stage::allSlavesOn() const
{
    const std::vector<int> stations = slaves.stations();
    return std::all_of(stations.begin(), stations.end(), [this](int station) { return slaves.stationIsOn(station); });
}

void Stage::pollOnce()
{
    slaves.holdMotion(true);
    for (int round = 0; round < MostRounds; ++round) {
        const int before = givenUp;
        pollRound();
        if (givenUp == before || !allSlavesOn())
            return;
    }
}

void Stage::showAll()
{
    pollOnce();
    std::vector<Row> rows = {{"name", "where", "polled", "slave holds", ""}};
    for (std::size_t i = 0; i < tags.size(); ++i)
        rows.push_back(compare(i));
    screen.table(rows);
    slaves.holdMotion(false);
}

Row Stage::compare(std::size_t tag)
{
    const rtu::TagRange &each = tags[tag];
    const std::uint32_t here = polled(tag);
    const std::uint32_t there = held(each);
    Row row = {each.name, std::to_string(each.station) + ":" + each.label(), cell(here, each), cell(there, each)};
    if (!slaves.stationIsOn(each.station))
        row.push_back("no answer");
    else
        row.push_back(tally.count(here == there) ? "agree" : "DIFFERENT");
    return row;
}

std::size_t Stage::find(const std::string &name) const
{
    for (std::size_t i = 0; i < tags.size(); ++i) {
        if (tags[i].name == name)
            return i;
    }
    throw std::runtime_error("tags.csv has no tag \"" + name + "\"");
}

std::uint32_t Stage::held(const rtu::TagRange &each, int value) const
{
    const plant::Table table = tableOf(each.type);
    const int address = each.addressOf(value);
    if (each.type.isDouble())
        return slaves.peekDouble(each.station, table, address);
    if (each.type.bitInRegister)
        return slaves.peek(each.station, table, address / 16) >> (address % 16) & 1;
    return slaves.peek(each.station, table, address);
}

} // namespace demo
