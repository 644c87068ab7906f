#include "host/commands/listen_program.h"

#include "host/commands/capture_output.h"
#include "host/commands/heard_records.h"
#include "host/commands/record_files.h"
#include "host/listen/listen_loop.h"
#include "host/listen/listen_output.h"
#include "kit/line/make_line.h"
#include "host/live/listen_view.h"
#include "host/live/live_terminal.h"
#include "host/commands/signal_watcher.h"
#include "host/search/port_trouble.h"
#include "host/tags/tag_table.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <mutex>
#include <stdexcept>

namespace rtu {

namespace {

const Duration RedrawInterval = std::chrono::milliseconds(200);

/** Names by register; a 32-bit tag names its first one. Bits of registers are looked at as a whole here. */
RegisterNames registerNames(const Options &options)
{
    RegisterNames names;
    if (options.tagFile.empty())
        return names;
    DriverLibrary driver(options.driverPath);
    const RegisterCatalog catalog(driver);
    for (const TagRange &tag : readTagFile(driver, catalog, options.tagFile)) {
        for (int value = 0; value < tag.values && !tag.name.empty(); ++value) {
            HeardPlace place;
            place.station = tag.station;
            place.type = tag.type.name.substr(0, 2);
            place.address = tag.addressOf(value) / (tag.type.name.find("_bit") != std::string::npos ? 16 : 1);
            names.emplace(place, tag.values > 1 ? tag.name + "[" + std::to_string(value) + "]" : tag.name);
        }
    }
    return names;
}

ReaderSettings readerSettings(const Options &options, const LineTiming &timing)
{
    ReaderSettings settings;
    settings.gap = timing.replyGap();
    if (options.replyGap >= 0)
        settings.gap = std::chrono::duration_cast<Duration>(std::chrono::duration<double>(options.replyGap));
    settings.silence = std::max(settings.silence, timing.silence());
    settings.replyTimeout = std::chrono::duration_cast<Duration>(std::chrono::duration<double>(options.replyTimeout));
    return settings;
}

HeardForm formOf(const Options &options)
{
    if (options.quiet || isCapturePipe(options.captureFile))
        return HeardForm::Nothing;
    return options.form == OutputForm::Json ? HeardForm::Json : HeardForm::Lines;
}

bool wantsTable(const Options &options)
{
    const bool lines = options.plain || options.trace || formOf(options) != HeardForm::Lines;
    return ::isatty(STDIN_FILENO) && ::isatty(STDOUT_FILENO) && !lines;
}

void printSummary(const Options &options, const ListenOutput &output, std::ostream &out, std::ostream &err)
{
    if (formOf(options) == HeardForm::Lines)
        out << output.summary() << '\n';
    if (!options.printStatistics)
        return;
    // A capture in a pipe has standard output for itself.
    std::ostream &to = isCapturePipe(options.captureFile) ? err : out;
    if (options.form == OutputForm::Json) {
        to << output.statistics().json() << '\n';
        return;
    }
    for (const std::string &line : output.statistics().lines())
        to << line << '\n';
}

/** The table of registers, drawn between reads. */
class Table
{
public:
    Table(LiveTerminal &terminal, const std::string &port, const RegisterNames &names, const ListenOutput &heard)
        : m_terminal(terminal)
        , m_view(port, names)
        , m_heard(heard)
    {
    }

    void notePort(bool open) { m_view.notePort(open); }

    /** @return false: end */
    bool show(TimePoint now)
    {
        bool keyed = false;
        for (int key = m_terminal.readKey(0); key != 0; key = m_terminal.readKey(0)) {
            keyed = true;
            if (!m_view.takeKey(key))
                return false;
        }
        if (!keyed && now < m_nextDraw)
            return true;
        m_nextDraw = now + RedrawInterval;
        m_terminal.draw(m_view.screen(m_heard, now, m_terminal.rows(), m_terminal.columns()));
        return true;
    }

private:
    LiveTerminal &m_terminal;
    ListenView m_view;
    const ListenOutput &m_heard;
    TimePoint m_nextDraw;
};

std::ifstream openCapture(const Options &options)
{
    std::ifstream file(options.replayFile, std::ios::binary);
    if (!file)
        throw std::invalid_argument("cannot read " + options.replayFile);
    return file;
}

/** Held by the thread that listens; stop() is for the one that waits for signals. */
class Listening
{
public:
    Listening(const Options &options, std::ostream &out, std::ostream &err)
        : m_options(options)
        , m_out(out)
        , m_err(err)
        , m_names(registerNames(options))
        , m_watcher([this](int signal) { end(signal); })
        , m_line(makeLine(options.port, options.line))
    {
        openPort(*m_line);
        if (!m_line->notice().empty() && !options.quiet)
            err << m_line->notice() << '\n';
        if (!options.captureFile.empty())
            m_capture.reset(new CaptureOutput(options.captureFile, out));
        m_files.reset(new RecordFiles(options, [this](const std::string &text) { tell(text); }));
    }

    int run()
    {
        if (wantsTable(m_options))
            m_terminal.reset(new LiveTerminal);
        const bool table = m_terminal && m_terminal->usable();
        ListenOutput output(m_out, table ? HeardForm::Nothing : formOf(m_options), m_names, m_line->timing());
        if (m_capture)
            output.setCapture(&m_capture->writer());
        std::unique_ptr<Table> view;
        if (table)
            view.reset(new Table(*m_terminal, m_line->name() + ", " + lineName(m_line->parameters()), m_names, output));
        listen(output, view.get());
        m_terminal.reset();
        printSummary(m_options, output, m_out, m_err);
        if (!captureProblem().empty())
            m_err << "error: " << captureProblem() << '\n';
        if (m_files->incomplete())
            m_err << "error: rows are missing in the records\n";
        if (m_lostPort && (table || m_options.quiet))
            m_err << "error: the port was away in between\n";
        return captureProblem().empty() && !m_files->incomplete() && !m_lostPort ? 0 : 1;
    }

private:
    /** Not across the table, which says at its end what is missing. */
    void tell(const std::string &text)
    {
        if (!m_terminal)
            m_err << text << '\n';
    }

    void listen(ListenOutput &output, Table *view)
    {
        HeardRecords records(output, m_names);
        m_files->addTo(records);
        TrafficReader reader(readerSettings(m_options, m_line->timing()), records);
        ListenLoop loop(*m_line, reader);
        loop.onTick([&](TimePoint now) {
            const bool unread = !m_out || (isCapturePipe(m_options.captureFile) && !captureProblem().empty());
            if (unread || (view && !view->show(now)))
                loop.stop();
        });
        loop.onPort([&](bool open) {
            m_lostPort = m_lostPort || !open;
            records.notePort(open, m_line->now());
            if (view)
                view->notePort(open);
            else if (!m_options.quiet)
                m_err << (open ? "the port is back" : "the port is gone, waiting for it") << '\n';
        });
        setLoop(&loop);
        loop.run();
        setLoop(nullptr);
    }

    std::string captureProblem() const { return m_capture ? m_capture->problem() : std::string(); }

    void setLoop(ListenLoop *loop)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_loop = loop;
    }

    /** The first signal ends in good order, the next at once. */
    void end(int signal)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_ending || !m_loop) {
            LiveTerminal::restoreNow();
            ::_exit(128 + signal);
        }
        m_ending = true;
        m_loop->stop();
    }

    const Options &m_options;
    std::ostream &m_out;
    std::ostream &m_err;
    const RegisterNames m_names;
    std::mutex m_mutex;
    ListenLoop *m_loop = nullptr;
    bool m_ending = false;
    bool m_lostPort = false;       ///< also where it came back
    const SignalWatcher m_watcher; ///< threads inherit the held-back signals: before all others
    const std::unique_ptr<PortLine> m_line;
    std::unique_ptr<CaptureOutput> m_capture;
    std::unique_ptr<RecordFiles> m_files;
    std::unique_ptr<LiveTerminal> m_terminal;
};

} // namespace

int listenIn(const Options &options, std::ostream &out, std::ostream &err)
{
    return Listening(options, out, err).run();
}

std::vector<ReplayEntry> readCaptureFile(const Options &options)
{
    std::ifstream file = openCapture(options);
    try {
        return readPastCapture(file, readerSettings(options, LineTiming(options.line)));
    } catch (const std::runtime_error &error) {
        throw std::runtime_error(options.replayFile + ": " + error.what());
    }
}

int tellCapture(const Options &options, std::ostream &out, std::ostream &err)
{
    std::ifstream file = openCapture(options);
    ListenOutput output(out, formOf(options), RegisterNames(), LineTiming(options.line));
    TrafficReader traffic(readerSettings(options, LineTiming(options.line)), output);
    try {
        takePastCapture(file, traffic);
    } catch (const std::runtime_error &error) {
        throw std::runtime_error(options.replayFile + ": " + error.what());
    }
    printSummary(options, output, out, err);
    return 0;
}

} // namespace rtu
