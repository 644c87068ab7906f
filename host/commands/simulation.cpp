#include "host/commands/simulation.h"

#include "host/commands/signal_watcher.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <sstream>
#include <stdexcept>

namespace rtu {

namespace {

std::string addFault(plant::Plant &plant, const std::string &text)
{
    plant::Fault fault;
    std::string error;
    if (!plant::parseFault(text, &fault, &error))
        return error;
    plant.addFault(fault);
    return std::string();
}

/** "station N on", "station N off" */
std::string switchStation(plant::Plant &plant, std::istringstream &words)
{
    int station = 0;
    std::string state;
    if (!(words >> station >> state) || (state != "on" && state != "off"))
        return "the command is written station N on, or station N off";
    std::string surplus;
    if (words >> surplus)
        return "\"" + surplus + "\" is too much";
    const std::vector<int> stations = plant.stations();
    if (std::find(stations.begin(), stations.end(), station) == stations.end())
        return "there is no station " + std::to_string(station);
    plant.setStationOn(station, state == "on");
    return std::string();
}

/** "unplug" and "replug" */
std::string movePlug(plant::Plant &plant, bool pull, bool *unplugged)
{
    std::string error;
    if (pull == *unplugged)
        return pull ? "the port is unplugged already" : "the port is plugged in";
    if (pull)
        plant.unplug();
    else
        plant.replug(&error);
    *unplugged = pull || !error.empty();
    return error;
}

/** Does what the line says; result: what is wrong with it, empty for nothing. */
std::string obeyCommand(plant::Plant &plant, const std::string &line, bool *unplugged)
{
    std::istringstream words(line);
    std::string command;
    if (!(words >> command))
        return std::string();
    if (command == "fault") {
        std::string text;
        std::getline(words >> std::ws, text);
        return addFault(plant, text);
    }
    if (command == "station")
        return switchStation(plant, words);
    if (command != "clear" && command != "unplug" && command != "replug")
        return "\"" + line + "\": commands are fault TEXT, clear, station N on|off, unplug, replug";
    std::string surplus;
    if (words >> surplus)
        return "\"" + surplus + "\" is too much";
    if (command != "clear")
        return movePlug(plant, command == "unplug", unplugged);
    plant.clearFaults();
    return std::string();
}

/** Reads commands, one a line, from a descriptor that may end at any time. */
class CommandReader
{
public:
    CommandReader(int descriptor, std::ostream &err) : m_descriptor(descriptor), m_err(err) {}

    /** The next whole line, waiting a moment for it; false when there is none. */
    bool next(std::string *line, int milliseconds)
    {
        if (takeLine(line))
            return true;
        pollfd watched = {mayRead() ? m_descriptor : -1, POLLIN, 0};
        if (::poll(&watched, 1, milliseconds) <= 0)
            return false;
        char text[512];
        const ssize_t count = ::read(m_descriptor, text, sizeof(text));
        if (count <= 0) {
            stopReading();
            return false;
        }
        m_text.append(text, static_cast<std::size_t>(count));
        if (takeLine(line))
            return true;
        // Started by something that hands in a device such as /dev/zero, it would read for ever.
        if (m_text.size() > LongestLine) {
            m_err << "what comes in as commands has no lines: none is taken any more\n" << std::flush;
            stopReading();
        }
        return false;
    }

private:
    enum { LongestLine = 4096 };

    /** Whoever reads from its terminal in the background is stopped, and with it the slaves. */
    bool mayRead() const
    {
        const pid_t foreground = ::tcgetpgrp(m_descriptor);
        return foreground < 0 || foreground == ::getpgrp();
    }

    // poll() passes over negative descriptors, so it goes on waiting.
    void stopReading()
    {
        m_descriptor = -1;
        m_text.clear();
    }

    bool takeLine(std::string *line)
    {
        const std::size_t end = m_text.find('\n');
        if (end == std::string::npos)
            return false;
        *line = m_text.substr(0, end);
        m_text.erase(0, end + 1);
        return true;
    }

    int m_descriptor;
    std::ostream &m_err;
    std::string m_text;
};

/** Answers on the port and to commands until a signal comes; false when the port went away. */
bool serveUntilSignal(plant::Plant &plant, std::ostream &err)
{
    std::atomic<bool> signalled{false};
    const SignalWatcher watcher([&](int) { signalled = true; });
    CommandReader commands(STDIN_FILENO, err);
    bool unplugged = false;
    while (!signalled && (plant.running() || unplugged)) {
        std::string line;
        if (!commands.next(&line, 100))
            continue;
        const std::string problem = obeyCommand(plant, line, &unplugged);
        if (!problem.empty())
            err << problem << '\n' << std::flush;
    }
    return signalled;
}

void printCounters(const plant::Plant &plant, std::ostream &out)
{
    for (int station : plant.stations()) {
        const plant::Counters counters = plant.counters(station);
        out << "station " << station << ": " << counters.requests << " requests, " << counters.answers << " answers, "
            << counters.exceptions << " exceptions, " << counters.faults << " faults\n";
    }
}

} // namespace

std::unique_ptr<plant::Plant> makePlant(const std::string &file, const Options &options)
{
    std::unique_ptr<plant::Plant> slaves(new plant::Plant);
    std::string error;
    if (!slaves->loadFile(file, &error))
        throw std::invalid_argument("simulated slaves: " + error);
    if (slaves->stations().empty())
        throw std::invalid_argument("simulated slaves: " + file + " describes no station");
    for (const std::string &text : options.faults) {
        plant::Fault fault;
        if (!plant::parseFault(text, &fault, &error))
            throw std::invalid_argument("--fault \"" + text + "\": " + error);
        slaves->addFault(fault);
    }
    return slaves;
}

LineParameters agreeOnPace(plant::Plant &plant, const Options &options)
{
    LineParameters line = options.line;
    plant::Line pace = plant.line();
    if (!options.bauds.empty()) {
        pace.baud = line.baud;
        pace.characterBits = line.bitsPerCharacter();
        plant.setLine(pace);
    }
    line.baud = pace.baud;
    // A pseudo-terminal takes eight plain bits; stop bits are all that is left to agree on.
    line.dataBits = 8;
    line.parity = 'N';
    line.stopBits = pace.characterBits >= 11 ? 2 : 1;
    return line;
}

namespace {

/** Starts the slaves on a port, or for "pty" and "pty:LINK" on a pseudo-terminal of their own. */
bool startServing(plant::Plant &slaves, const Options &options, std::string *error)
{
    const std::string withLink = "pty:";
    const bool link = options.port.compare(0, withLink.size(), withLink) == 0;
    if (!link && options.port != "pty")
        return slaves.serveOn(options.port, options.line, error);
    if (!options.bauds.empty())
        agreeOnPace(slaves, options);
    return slaves.start(error, link ? options.port.substr(withLink.size()) : std::string());
}

} // namespace

int serve(const Options &options, std::ostream &out, std::ostream &err)
{
    const std::unique_ptr<plant::Plant> slaves = makePlant(options.serveFile, options);
    std::string error;
    // Threads inherit the held-back signals, so the watcher must be there before the plant's thread.
    sigset_t held;
    sigfillset(&held);
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, &held, &before);
    const bool serving = startServing(*slaves, options, &error);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (!serving)
        throw std::runtime_error("cannot serve on " + options.port + ": " + error);
    if (!options.quiet)
        out << "serving " << slaves->stations().size()
            << (slaves->stations().size() == 1 ? " station on " : " stations on ")
            << (slaves->devicePath().empty() ? options.port : slaves->devicePath()) << ", Ctrl-C ends\n"
            << std::flush;
    const bool signalled = serveUntilSignal(*slaves, err);
    slaves->stop();
    if (!options.quiet)
        printCounters(*slaves, out);
    if (!signalled)
        err << "error: the port " << options.port << " is gone\n";
    return signalled ? 0 : 1;
}

} // namespace rtu
