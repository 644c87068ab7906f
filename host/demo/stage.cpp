#include "stage.h"

#include "tag_table.h"

#include <algorithm>

namespace demo {

namespace {

/** Reply time-out of the demo: slaves answer within milliseconds, a dead one shall not hold the show up. */
const rtu::Duration ReplyTimeout = std::chrono::milliseconds(250);
/** A round that lost frames on a busy machine is polled again this often. */
const int MostRounds = 5;

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
    , session(driver)
    , tags(rtu::readTagFile(driver, catalog, folder + "/tags.csv"))
{
    std::string error;
    if (!slaves.loadFile(folder + "/plant.sim", &error) || !slaves.start(&error))
        throw std::runtime_error(error);
    line.reset(new rtu::SerialLine(slaves.devicePath(), parametersFor(slaves.line())));
    line->open();
    rtu::PollSettings settings;
    settings.timing = rtu::LineTiming(line->parameters());
    settings.replyTimeout = ReplyTimeout;
    settings.lateReplyGuard = ReplyTimeout;
    loop.reset(new rtu::PollLoop(driver, *line, settings));
    loop->addObserver([this](const rtu::Transaction &transaction) {
        ++frames;
        if (transaction.verdict == rtu::VerdictGivenUp) {
            ++givenUp;
            lastError = transaction.information.toStdString();
        }
        m_last = transaction;
    });
    driver.setChangeListener([this](const rtu::ValueChange &) { ++changes; });
    configure(rtu::DriverProperty());
}

void Stage::configure(const rtu::DriverProperty &property)
{
    session.configure(property);
    m_round = session.plan(tags);
}

const rtu::Transaction &Stage::step()
{
    switch (loop->step()) {
    case rtu::StepResult::Done:
        return m_last;
    case rtu::StepResult::Stopped:
        throw Ended();
    case rtu::StepResult::NoPort:
        throw std::runtime_error("the port " + line->name() + " is gone");
    case rtu::StepResult::Idle:
        break;
    }
    throw std::runtime_error("the driver has nothing to send");
}

bool Stage::cyclicReadDone() const
{
    return m_last.tag == rtu::CyclicTag && m_last.isRead && m_last.verdict != rtu::VerdictSendAgain;
}

void Stage::pollFor(rtu::Duration time)
{
    const rtu::TimePoint end = line->now() + time;
    while (line->now() < end)
        step();
}

/** Steps until a whole round of the plan has passed in one piece, with nothing queued in between. */
void Stage::pollRound()
{
    for (int polled = 0; polled < m_round;) {
        step();
        if (cyclicReadDone())
            ++polled;
        else if (m_last.tag != rtu::CyclicTag)
            polled = 0;
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

void Stage::finishBlockTransfer()
{
    while (session.blockTransferPending())
        step();
}

void Stage::showAll()
{
    pollOnce();
    std::vector<Row> rows = {{"name", "where", "driver's cache", "slave holds", ""}};
    for (const rtu::TagRange &each : tags)
        rows.push_back(compare(each));
    screen.table(rows);
    slaves.holdMotion(false);
}

Row Stage::compare(const rtu::TagRange &each)
{
    const std::uint32_t cached = readTag(driver, each).front();
    const std::uint32_t there = held(each);
    Row row = {each.name, std::to_string(each.station) + ":" + each.label(), cell(cached, each), cell(there, each)};
    if (!slaves.stationIsOn(each.station))
        row.push_back("no answer");
    else
        row.push_back(tally.count(cached == there) ? "agree" : "DIFFERENT");
    return row;
}

const rtu::TagRange &Stage::tag(const std::string &name) const
{
    for (const rtu::TagRange &each : tags) {
        if (each.name == name)
            return each;
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
