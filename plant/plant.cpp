#include "plant/plant.h"

#include "plant/faults.h"
#include "plant/line_thread.h"
#include "plant/sim_file.h"
#include "plant/station.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <mutex>
#include <sstream>

namespace plant {

class Plant::Core
{
public:
    Station &station(int number)
    {
        std::unique_ptr<Station> &place = stations[number];
        if (!place)
            place = std::make_unique<Station>(number);
        return *place;
    }

    /** The station as its values stand now, or null. */
    Station *moved(int number)
    {
        const auto found = stations.find(number);
        if (found == stations.end())
            return nullptr;
        found->second->tables.moveTo(motionClock.elapsed());
        return found->second.get();
    }

    std::vector<Outgoing> handle(const Bytes &request);
    bool launch(std::string *error);

    mutable std::mutex mutex; ///< over everything down to `recorded`
    std::map<int, std::unique_ptr<Station>> stations;
    Faults faults;
    Line line;
    MotionClock motionClock;
    bool recording = false;
    std::vector<Bytes> recorded;

    Port port;
    std::string link;
    std::unique_ptr<LineThread> thread;

private:
    bool isHeard(int address) const;
    Bytes answerOf(Station &asked, const Bytes &request, const Mishaps &mishaps);
};

bool Plant::Core::isHeard(int address) const
{
    for (const auto &[number, asked] : stations) {
        if (asked->on && (address == number || address == MODBUS_BROADCAST_ADDRESS))
            return true;
    }
    return false;
}

Bytes Plant::Core::answerOf(Station &asked, const Bytes &request, const Mishaps &mishaps)
{
    ++asked.counters.requests;
    if (mishaps.any)
        ++asked.counters.faults;
    if (mishaps.unheard)
        return Bytes();
    asked.tables.moveTo(motionClock.elapsed());
    const bool refused = mishaps.exception != 0 && request[0] != MODBUS_BROADCAST_ADDRESS;
    Bytes answer =
        refused ? asked.exceptionAnswer(request, static_cast<unsigned>(mishaps.exception)) : asked.answer(request);
    if (answer.empty())
        return answer;
    ++asked.counters.answers;
    if (answer[1] & 0x80)
        ++asked.counters.exceptions;
    for (ArmedFault *fault : mishaps.onAnswer)
        spoil(answer, *fault);
    return answer;
}

std::vector<Outgoing> Plant::Core::handle(const Bytes &request)
{
    const std::lock_guard<std::mutex> lock(mutex);
    if (recording)
        recorded.push_back(request);
    const int address = request[0];
    const Mishaps mishaps = faults.strike(address, request[1], isHeard(address));
    std::vector<Outgoing> outgoing;
    if (mishaps.echo)
        outgoing.push_back(Outgoing{request, std::chrono::nanoseconds(0), true});
    for (const auto &[number, asked] : stations) {
        if (!asked->on || (address != number && address != MODBUS_BROADCAST_ADDRESS))
            continue;
        const Bytes answer = answerOf(*asked, request, mishaps);
        if (!answer.empty())
            outgoing.push_back(Outgoing{answer, asked->turnaround + mishaps.late, false});
    }
    return outgoing;
}

bool Plant::Core::launch(std::string *error)
{
    try {
        thread = std::make_unique<LineThread>(
            port,
            [this] {
                const std::lock_guard<std::mutex> lock(mutex);
                return line;
            },
            [this](const Bytes &request) { return handle(request); });
    } catch (const std::exception &failure) {
        if (error)
            *error = failure.what();
        port.close();
        return false;
    }
    return true;
}

// --- description ------------------------------------------------------------------

Plant::Plant() : core(new Core) {}

Plant::~Plant()
{
    stop();
}

bool Plant::loadFile(const std::string &path, std::string *error)
{
    std::ifstream file(path);
    std::ostringstream text;
    if (file)
        text << file.rdbuf();
    if (!file) {
        if (error)
            *error = path + ": " + std::strerror(errno);
        return false;
    }
    return loadText(text.str(), path, error);
}

bool Plant::loadText(const std::string &text, const std::string &name, std::string *error)
{
    return readSimulation(text, name, *this, error);
}

void Plant::setLine(const Line &line)
{
    const std::lock_guard<std::mutex> lock(core->mutex);
    core->line = line;
}

Line Plant::line() const
{
    const std::lock_guard<std::mutex> lock(core->mutex);
    return core->line;
}

void Plant::addStation(int station)
{
    const std::lock_guard<std::mutex> lock(core->mutex);
    core->station(station);
}

std::vector<int> Plant::stations() const
{
    const std::lock_guard<std::mutex> lock(core->mutex);
    std::vector<int> numbers;
    for (const auto &entry : core->stations)
        numbers.push_back(entry.first);
    return numbers;
}

void Plant::setTurnaround(int station, std::chrono::nanoseconds delay)
{
    const std::lock_guard<std::mutex> lock(core->mutex);
    core->station(station).turnaround = delay;
}

void Plant::define(int station, Table table, int first, int count, std::uint16_t value)
{
    const std::lock_guard<std::mutex> lock(core->mutex);
    Tables &tables = core->station(station).tables;
    tables.define(table, first, count, true);
    for (int address = first; address < first + count; ++address)
        tables.setValue(table, address, value);
}

void Plant::makeHole(int station, Table table, int first, int count)
{
    const std::lock_guard<std::mutex> lock(core->mutex);
    core->station(station).tables.define(table, first, count, false);
}

void Plant::setMotion(int station, Table table, int address, const Motion &motion, int registers)
{
    const std::lock_guard<std::mutex> lock(core->mutex);
    Tables &tables = core->station(station).tables;
    tables.define(table, address, registers, true);
    tables.setMotion(table, address, motion, registers);
}

// --- running ------------------------------------------------------------------------

bool Plant::start(std::string *error, const std::string &link)
{
    stop();
    core->link = link;
    return core->port.openPair(link, error) && core->launch(error);
}

std::string Plant::devicePath() const
{
    return core->port.masterPath();
}

bool Plant::serveOn(const std::string &port, const rtu::LineParameters &parameters, std::string *error)
{
    stop();
    return core->port.openExisting(port, parameters, error) && core->launch(error);
}

void Plant::stop()
{
    core->thread.reset();
    core->port.close();
}

bool Plant::running() const
{
    return core->thread && core->thread->alive();
}

void Plant::unplug()
{
    stop();
}

bool Plant::replug(std::string *error)
{
    return start(error, core->link);
}

// --- at run time ----------------------------------------------------------------------

void Plant::setStationOn(int station, bool on)
{
    const std::lock_guard<std::mutex> lock(core->mutex);
    core->station(station).on = on;
}

bool Plant::stationIsOn(int station) const
{
    const std::lock_guard<std::mutex> lock(core->mutex);
    const auto found = core->stations.find(station);
    return found != core->stations.end() && found->second->on;
}

void Plant::addFault(const Fault &fault)
{
    const std::lock_guard<std::mutex> lock(core->mutex);
    core->faults.add(fault);
}

void Plant::clearFaults()
{
    const std::lock_guard<std::mutex> lock(core->mutex);
    core->faults.clear();
}

std::uint16_t Plant::peek(int station, Table table, int address) const
{
    const std::lock_guard<std::mutex> lock(core->mutex);
    Station *asked = core->moved(station);
    return asked ? asked->tables.value(table, address) : static_cast<std::uint16_t>(0);
}

void Plant::poke(int station, Table table, int address, std::uint16_t value)
{
    const std::lock_guard<std::mutex> lock(core->mutex);
    if (Station *asked = core->moved(station))
        asked->tables.setValue(table, address, value);
}

std::uint32_t Plant::peekDouble(int station, Table table, int address) const
{
    const std::lock_guard<std::mutex> lock(core->mutex);
    Station *asked = core->moved(station);
    if (!asked)
        return 0;
    const std::uint32_t high = asked->tables.value(table, address);
    return high << 16 | asked->tables.value(table, address + 1);
}

void Plant::pokeDouble(int station, Table table, int address, std::uint32_t value)
{
    const std::lock_guard<std::mutex> lock(core->mutex);
    Station *asked = core->moved(station);
    if (!asked)
        return;
    asked->tables.setValue(table, address, static_cast<std::uint16_t>(value >> 16));
    asked->tables.setValue(table, address + 1, static_cast<std::uint16_t>(value & 0xFFFF));
}

void Plant::holdMotion(bool hold)
{
    const std::lock_guard<std::mutex> lock(core->mutex);
    core->motionClock.hold(hold);
}

Counters Plant::counters(int station) const
{
    const std::lock_guard<std::mutex> lock(core->mutex);
    const auto found = core->stations.find(station);
    return found == core->stations.end() ? Counters() : found->second->counters;
}

std::vector<Outgoing> Plant::answer(const std::vector<std::uint8_t> &request)
{
    return core->handle(request);
}

Traffic Plant::traffic() const
{
    return core->thread ? core->thread->traffic() : Traffic();
}

void Plant::sendWaiting()
{
    if (core->thread)
        core->thread->sendWaiting();
}

void Plant::recordRequests(bool record)
{
    const std::lock_guard<std::mutex> lock(core->mutex);
    core->recording = record;
    core->recorded.clear();
}

std::vector<std::vector<std::uint8_t>> Plant::requests() const
{
    const std::lock_guard<std::mutex> lock(core->mutex);
    return core->recorded;
}

} // namespace plant
