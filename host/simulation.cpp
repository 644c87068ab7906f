#include "simulation.h"

#include "signal_watcher.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stdexcept>

namespace rtu {

namespace {

plant::PortSettings portSettings(const LineParameters &line)
{
    plant::PortSettings settings;
    settings.baud = line.baud;
    settings.dataBits = line.dataBits;
    settings.parity = line.parity;
    settings.stopBits = line.stopBits;
    return settings;
}

/** Waits for a signal or for the port to go away; true for a signal. */
bool waitForEnd(const plant::Plant &plant)
{
    std::mutex mutex;
    std::condition_variable ended;
    bool signalled = false;
    const SignalWatcher watcher([&](int) {
        const std::lock_guard<std::mutex> lock(mutex);
        signalled = true;
        ended.notify_all();
    });
    std::unique_lock<std::mutex> lock(mutex);
    while (!signalled && plant.running())
        ended.wait_for(lock, std::chrono::milliseconds(200));
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
        throw std::invalid_argument(error);
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
    if (options.baudGiven) {
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
    const std::string pty = "pty";
    if (options.port.compare(0, pty.size(), pty) != 0)
        return slaves.serveOn(options.port, portSettings(options.line), error);
    if (options.baudGiven)
        agreeOnPace(slaves, options);
    const bool link = options.port.size() > pty.size() && options.port[pty.size()] == ':';
    return slaves.start(error, link ? options.port.substr(pty.size() + 1) : std::string());
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
        throw std::runtime_error(error);
    if (!options.quiet)
        out << "serving " << slaves->stations().size() << " stations on "
            << (slaves->devicePath().empty() ? options.port : slaves->devicePath()) << ", Ctrl-C ends\n"
            << std::flush;
    const bool signalled = waitForEnd(*slaves);
    slaves->stop();
    if (!options.quiet)
        printCounters(*slaves, out);
    if (!signalled)
        err << "error: the port " << options.port << " is gone\n";
    return signalled ? 0 : 1;
}

} // namespace rtu
