#include "host/commands/program.h"

#include "host/commands/capture_output.h"
#include "host/commands/editor_calls.h"
#include "host/commands/listen_program.h"
#include "host/cli/link_setup.h"
#include "host/listen/replay_line.h"
#include "host/live/live_view.h"
#include "host/cli/options.h"
#include "host/plan/plan_view.h"
#include "host/commands/poll_program.h"
#include "host/commands/probe_program.h"
#include "host/commands/record_files.h"
#include "host/tags/recipe.h"
#include "host/report/statistics.h"
#include "host/report/trace.h"
#include "host/commands/stop_target.h"
#include "kit/line/make_line.h"
#include "host/commands/search_program.h"
#include "host/search/port_trouble.h"
#include "host/commands/signal_watcher.h"
#include "host/commands/simulation.h"
#include "host/text/output_path.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace rtu {

namespace {

/** The far end of the line: a port, or simulated slaves behind a pseudo-terminal. */
class LineSource
{
public:
    LineSource(const Options &options, std::ostream &err)
    {
        LineParameters parameters = options.line;
        std::string device = options.port;
        if (!options.simFile.empty()) {
            m_plant = makePlant(options.simFile, options);
            parameters = agreeOnPace(*m_plant, options);
            std::string error;
            // By a link the port has the same name again after the plug was pulled and put in.
            if (!m_plant->start(&error, "/tmp/rtuhost-" + std::to_string(::getpid())))
                throw std::runtime_error(error);
            device = m_plant->devicePath();
        }
        m_owned = makeLine(device, parameters);
        m_line = m_owned.get();
        openPort(*m_line);
        if (!m_line->notice().empty() && !options.quiet)
            err << m_line->notice() << '\n';
    }

    /** As long as the link, once it has been handed over. */
    PortLine &line() { return *m_line; }
    std::unique_ptr<Line> takeLine() { return std::move(m_owned); }
    plant::Plant *plant() { return m_plant.get(); }

private:
    std::unique_ptr<plant::Plant> m_plant;
    std::unique_ptr<PortLine> m_owned;
    PortLine *m_line = nullptr;
};

std::string optionOf(Mode mode)
{
    switch (mode) {
    case Mode::ConditionRead:
        return "--condition-read";
    case Mode::RecipeRead:
        return "--recipe-read";
    case Mode::Replay:
        return "--replay";
    case Mode::Probe:
        return "--probe";
    default:
        return "--plan";
    }
}

std::string fileName(const std::string &path)
{
    return path.substr(path.rfind('/') + 1);
}

/** What a link refuses is a matter of the command line. */
std::unique_ptr<Link> makeLink(const LinkSettings &settings, std::unique_ptr<Line> line)
{
    try {
        return std::unique_ptr<Link>(new Link(settings, std::move(line)));
    } catch (const Error &error) {
        throw std::invalid_argument(error.what());
    }
}

DriverLibrary loadDriver(const std::string &path)
{
    try {
        return DriverLibrary(path);
    } catch (const std::runtime_error &error) {
        throw std::runtime_error(std::string(error.what()) + "; name the library with --driver PATH");
    }
}

void refuseWithoutValues(const Recipe &recipe)
{
    for (std::size_t i = 0; i < recipe.tags.size(); ++i) {
        if (recipe.values[i].empty())
            throw std::invalid_argument(recipe.tags[i].label() + " has no values to compare with");
    }
}

class Program
{
public:
    Program(const Options &options, std::ostream &out, std::ostream &err)
        : m_options(options)
        , m_out(out)
        , m_err(err)
        , m_driver(loadDriver(options.driverPath))
        , m_catalog(m_driver)
    {
    }

    int run()
    {
        switch (m_options.mode) {
        case Mode::Describe:
        case Mode::Check:
        case Mode::MultiCopy:
        case Mode::ListTypes:
            return runEditorCall(m_driver, m_catalog, m_options, m_out);
        case Mode::Plan:
            return showPlan();
        case Mode::Replay:
            return replay();
        case Mode::Probe:
            return probe();
        default:
            return runOnLine();
        }
    }

private:
    bool movesRecipe() const
    {
        return m_options.mode == Mode::RecipeRead || m_options.mode == Mode::RecipeWrite
               || m_options.mode == Mode::RecipeCompare;
    }

    TagSelection selectNamedTags()
    {
        const bool recipe = movesRecipe();
        const bool nothingNamed =
            m_options.arguments.empty() && m_options.tagFile.empty() && !m_options.typeOrReferenceGiven;
        if (recipe && nothingNamed)
            return TagSelection(); // the recipe file names the registers
        TagSelection selection = selectTags(m_driver, m_catalog, m_options);
        if (m_options.mode != Mode::Poll && !selection.writes.empty())
            throw std::invalid_argument("values to write do not go with " + optionOf(m_options.mode));
        return selection;
    }

    /** The registers named, or those of the recipe file. Judged before any port is opened. */
    Recipe chosenRecipe(const std::vector<TagRange> &tags)
    {
        const bool write = m_options.mode == Mode::RecipeWrite;
        if (write || tags.empty()) {
            const Recipe recipe =
                readRecipeFile(m_driver, m_catalog, m_options.recipeFile, write ? Access::Write : Access::Read);
            if (m_options.mode == Mode::RecipeCompare)
                refuseWithoutValues(recipe);
            return recipe;
        }
        Recipe recipe;
        recipe.tags = tags;
        refuseUnfit(recipe, Access::Read);
        return recipe;
    }

    PlanView planOf(const std::vector<TagRange> &tags, const LineParameters &line)
    {
        const LinkSettings settings = linkSettings(m_options, line, LineTiming(line), m_driver.path());
        PlanCosts costs;
        costs.timing = LineTiming(line);
        if (settings.silence >= Duration(0))
            costs.timing.setSilence(settings.silence);
        costs.line = line;
        costs.replyTimeout = settings.replyTimeout;
        costs.attempts = m_options.property.attempts;
        DriverProperty property = m_options.property;
        if (settings.maxWords != property.maxWords) { // planned as it is used
            property.raw.clear();
            property.maxWords = settings.maxWords;
        }
        return PlanView(m_driver, m_catalog, property, tags, costs);
    }

    int showPlan()
    {
        const TagSelection selection = selectNamedTags();
        const bool simulated = !m_options.simFile.empty();
        const LineParameters line =
            simulated ? agreeOnPace(*makePlant(m_options.simFile, m_options), m_options) : m_options.line;
        tellBlockLength(linkSettings(m_options, line, LineTiming(line), m_driver.path()));
        const PlanView plan = planOf(selection.reads, line);
        if (m_options.planPicture.empty() || !m_options.quiet)
            m_out << (m_options.form == OutputForm::Json ? planJson(plan) + "\n" : planText(plan));
        if (m_options.planPicture.empty())
            return ExitGood;
        std::ofstream file(m_options.planPicture);
        file << planPicture(plan);
        file.close();
        if (!file)
            throw std::runtime_error("cannot write " + m_options.planPicture);
        return ExitGood;
    }

    /** A screen where there is one, unless the output is for other programs or soon over. */
    bool wantsLiveView() const
    {
        const bool terminal = ::isatty(STDIN_FILENO) && ::isatty(STDOUT_FILENO);
        const bool lines = m_options.plain || m_options.quiet || m_options.trace || m_options.rounds > 0
                           || m_options.form != OutputForm::Lines;
        const bool screen = terminal && !isCapturePipe(m_options.captureFile);
        return m_options.mode == Mode::Poll && screen && (m_options.live || !lines);
    }

    bool showsLive(const TagSelection &selection) const { return wantsLiveView() && !selection.reads.empty(); }

    /** Before anybody else hears of them: the frames stand above the values that they brought. */
    void trace(Link &link)
    {
        if (!m_options.trace)
            return;
        // Values on standard output are for other programs in these forms; the trace is for people.
        const bool apart = m_options.form != OutputForm::Lines || isCapturePipe(m_options.captureFile);
        std::ostream &out = apart ? m_err : m_out;
        link.onTransaction([&out](const Transaction &transaction) {
            for (const TraceLine &line : traceLines(transaction))
                out << traceText(line) << '\n';
            out.flush();
        });
    }

    /** Where -t is typed from habit: other masters begin with the low word. */
    void tellWordOrder(const TagSelection &selection)
    {
        const bool habit = m_options.typeText.find(':') != std::string::npos && !m_options.wordOrderGiven;
        const auto isLong = [](const TagRange &tag) { return tag.format.width == 2; };
        const bool any = std::any_of(selection.reads.begin(), selection.reads.end(), isLong)
                         || std::any_of(selection.writes.begin(), selection.writes.end(),
                                        [&](const TagWrite &write) { return isLong(write.tag); });
        if (habit && any && !m_options.quiet)
            m_err << "32-bit values have the high word first here (-B says so); mbpoll without -B has the low word "
                     "first: --low-word-first\n";
    }

    void tellBlockLength(const LinkSettings &settings)
    {
        if (settings.maxWords != m_options.property.maxWords && !m_options.quiet)
            m_err << "--max-words " << m_options.property.maxWords << " would tear 32-bit values: using "
                  << settings.maxWords << '\n';
    }

    int runOnLine()
    {
        const TagSelection selection = selectNamedTags();
        tellWordOrder(selection);
        Recipe recipe;
        if (movesRecipe())
            recipe = chosenRecipe(selection.reads);
        // Before the slaves' thread and the line: every thread must inherit the held-back signals.
        const SignalWatcher watcher([this](int signal) { end(signal); });
        LineSource source(m_options, m_err);
        const LinkSettings settings =
            linkSettings(m_options, source.line().parameters(), source.line().timing(), m_driver.path());
        tellBlockLength(settings);
        std::unique_ptr<Link> link = makeLink(settings, source.takeLine());
        openCapture(*link);
        RecordFiles files(m_options, [this](const std::string &text) { m_err << text << '\n'; });
        if (!showsLive(selection))
            trace(*link);
        LineRecorder recorder(*link, source.line());
        files.addTo(recorder);
        const int status = runLink(source, link, recorder, files, selection, recipe);
        return statusAfterFiles(files, status);
    }

    /** Ends the link before what it calls back goes. */
    int runLink(LineSource &source, std::unique_ptr<Link> &link, LineRecorder &recorder, RecordFiles &files,
                const TagSelection &selection, const Recipe &recipe)
    {
        if (showsLive(selection)) {
            std::unique_ptr<LiveTerminal> terminal(new LiveTerminal);
            if (terminal->usable())
                return showLive(source, link, recorder, files, selection, std::move(terminal));
        }
        // A capture in a pipe has standard output for itself.
        std::ostream &out = isCapturePipe(m_options.captureFile) ? m_err : m_out;
        PortLine &line = source.line();
        const LineParameters parameters = line.parameters();
        CauseReport causes(
            m_options, [&line] { return line.errors(); }, out, m_err);
        PollProgram polling(*link, line, recorder, causes, m_options, out, m_err);
        if (isCapturePipe(m_options.captureFile))
            polling.endWith(*m_capture);
        int status = ExitGood;
        {
            const StopTarget::Scope scope(m_stopTarget, [&polling] { polling.interrupt(); });
            status = runPolling(polling, selection, recipe, parameters);
        }
        link.reset();
        return status;
    }

    /** Every frame of the link goes there as well, when somebody asked for it. */
    void openCapture(Link &link)
    {
        if (m_options.captureFile.empty())
            return;
        m_capture.reset(new CaptureOutput(m_options.captureFile, m_out));
        CaptureWriter &writer = m_capture->writer();
        link.onTransaction([&writer](const Transaction &transaction) { writer.write(transaction); });
    }

    int statusAfterFiles(const RecordFiles &files, int status)
    {
        const std::string problem = m_capture ? m_capture->problem() : std::string();
        if (!problem.empty())
            m_err << "error: " << problem << '\n';
        if (files.incomplete())
            m_err << "error: rows are missing in the records\n";
        const bool whole = problem.empty() && !files.incomplete();
        return status == ExitGood && !whole ? ExitErrors : status;
    }

    /** The tags are polled as on a line, and get what was answered then. */
    int replay()
    {
        const TagSelection selection = selectNamedTags();
        const SignalWatcher watcher([this](int signal) { end(signal); });
        LineParameters line;
        line.baud = 0; // the capture's times are true without a pace
        std::unique_ptr<ReplayLine> made(new ReplayLine(readCaptureFile(m_options)));
        ReplayLine &past = *made;
        std::unique_ptr<Link> link =
            makeLink(linkSettings(m_options, line, LineTiming(line), m_driver.path()), std::move(made));
        RecordFiles files(m_options, [this](const std::string &text) { m_err << text << '\n'; });
        trace(*link);
        LineRecorder recorder(*link, past);
        files.addTo(recorder);
        CauseReport causes(
            m_options, [] { return LineErrors(); }, m_out, m_err);
        PollProgram polling(*link, past, recorder, causes, m_options, m_out, m_err);
        past.onEnd([&polling] { polling.stop(); });
        int status = ExitGood;
        {
            const StopTarget::Scope scope(m_stopTarget, [&polling] { polling.stop(); });
            status = polling.poll(selection, planOf(selection.reads, line).blocks().size());
        }
        link.reset();
        return statusAfterFiles(files, status);
    }

    int probe()
    {
        const TagRange range = probeRange();
        const SignalWatcher watcher([this](int signal) { end(signal); });
        LineSource source(m_options, m_err);
        return probeStation(m_options, source.line(), range, m_stopTarget, m_out, m_err);
    }

    TagRange probeRange()
    {
        if (m_options.arguments.empty() && !m_options.typeOrReferenceGiven)
            return parseTags(m_driver, m_catalog, "4x1..120", m_options.stations, 1).front();
        const TagSelection selection = selectNamedTags();
        if (selection.reads.size() != 1)
            throw std::invalid_argument("--probe looks through one range, such as 4x1..500");
        const TagRange range = selection.reads.front();
        if (range.type.name.size() != 2)
            throw std::invalid_argument("--probe looks through registers, coils or discrete inputs: write the range as "
                                        + range.type.name.substr(0, 2) + "1..120");
        return range;
    }

    int runPolling(PollProgram &polling, const TagSelection &selection, const Recipe &recipe,
                   const LineParameters &line)
    {
        switch (m_options.mode) {
        case Mode::ConditionRead:
            return polling.readOnce(selection.reads);
        case Mode::RecipeRead:
            return polling.transferRecipe(recipe, false);
        case Mode::RecipeWrite:
            return polling.transferRecipe(recipe, true);
        case Mode::RecipeCompare:
            return polling.compareRecipe(recipe);
        default:
            return polling.poll(selection, planOf(selection.reads, line).blocks().size());
        }
    }

    int showLive(LineSource &source, std::unique_ptr<Link> &link, LineRecorder &recorder, RecordFiles &files,
                 const TagSelection &selection, std::unique_ptr<LiveTerminal> terminal)
    {
        const std::string port =
            source.plant() ? "simulated slaves of " + fileName(m_options.simFile) : source.line().name();
        const std::string name = port + ", " + lineName(source.line().parameters());
        LiveView view(*link, source.line(), m_driver, m_options.rounds, source.plant(), name);
        view.setVerify(m_options.verify);
        view.setRecorder(recorder);
        files.setTeller([&view](const std::string &text) { view.tell(text); });
        PortLine &opened = source.line();
        LineDiagnosis diagnosis([&opened] { return opened.errors(); }, m_options.removeEcho);
        link->onTransaction([&](const Transaction &transaction) {
            if (!transaction.isRead) // how writes end is told by the view
                return;
            const Diagnosis why = diagnosis.take(transaction);
            if (why.cause != Cause::None)
                view.tell(diagnosisText(why));
        });
        bool portLost = false; // on the link's thread, until the view has stopped it
        link->onPort([&portLost](bool open) { portLost = portLost || !open; });
        {
            const StopTarget::Scope scope(m_stopTarget, [&view] { view.stop(); });
            view.run(*terminal, selection);
        }
        terminal.reset();
        files.setTeller([this](const std::string &text) { m_err << text << '\n'; });
        const LinkStatistics statistics = link->statistics();
        link.reset();
        if (m_options.printStatistics) {
            for (const std::string &line : statisticsLines(statistics))
                m_out << line << '\n';
        } else if (!m_options.quiet) {
            m_out << "-- " << trafficText(statistics) << '\n';
        }
        for (const std::string &error : view.writeErrors())
            m_err << "error: " << error << '\n';
        const bool good = statistics.total.giveUps == 0 && !portLost && view.writeErrors().empty();
        return good ? ExitGood : ExitErrors;
    }

    /** The first signal ends in good order, the next at once. */
    void end(int signal)
    {
        if (m_stopTarget.stop())
            return;
        LiveTerminal::restoreNow();
        ::_exit(128 + signal);
    }

    const Options &m_options;
    std::ostream &m_out;
    std::ostream &m_err;
    DriverLibrary m_driver; ///< judges addresses and makes plans; a link has its own
    RegisterCatalog m_catalog;
    StopTarget m_stopTarget;
    std::unique_ptr<CaptureOutput> m_capture; ///< outlives the link that writes to it
};

/** What took a day to record is not to be lost by the same command given again. */
void refuseExisting(const std::string &path)
{
    struct stat info;
    if (!path.empty() && ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode))
        throw Misuse(path + " exists already: --force overwrites it");
}

bool namesTags(const Options &options)
{
    return !options.arguments.empty() || !options.tagFile.empty() || options.typeOrReferenceGiven;
}

void refuseDevices(const Options &options)
{
    const bool pipe = isCapturePipe(options.captureFile);
    for (const std::string &path :
         {options.planPicture, options.recordFile, options.logFile, pipe ? std::string() : options.captureFile,
          options.mode == Mode::RecipeRead ? options.recipeFile : std::string()})
        refuseDevice(path);
}

void refuseExistingFiles(const Options &options)
{
    refuseDevices(options);
    if (options.force)
        return;
    refuseExisting(options.planPicture);
    refuseExisting(options.recordFile);
    if (!isCapturePipe(options.captureFile))
        refuseExisting(options.captureFile);
    // A recipe file that names its registers itself is there to be filled.
    if (options.mode == Mode::RecipeRead && namesTags(options))
        refuseExisting(options.recipeFile);
}

int runMode(const Options &options, std::ostream &out, std::ostream &err)
{
    if (options.mode == Mode::Nothing)
        return options.exitStatus;
    refuseExistingFiles(options);
    if (options.mode == Mode::Serve)
        return serve(options, out, err);
    if (options.mode == Mode::Listen)
        return listenIn(options, out, err);
    if (options.mode == Mode::Find)
        return findStations(options, out, err);
    if (options.mode == Mode::Replay && !namesTags(options))
        return tellCapture(options, out, err);
    return Program(options, out, err).run();
}

/** What reads objects learns from one why there are no others. */
int runTold(const Options &options, std::ostream &out, std::ostream &err)
{
    try {
        return runMode(options, out, err);
    } catch (const PortTrouble &trouble) {
        if (options.form == OutputForm::Json)
            out << diagnosisJson(trouble.diagnosis()) << '\n' << std::flush;
        throw;
    }
}

/** Whoever reads standard output has seen enough: no reason to complain. */
bool readerIsGone()
{
    pollfd output = {STDOUT_FILENO, POLLOUT, 0};
    return ::poll(&output, 1, 0) > 0 && (output.revents & POLLERR) != 0;
}

/** Output that is lost is an error, be it a full disk or a reader that has left. */
int statusAfterOutput(int status, std::ostream &out, std::ostream &err)
{
    out.flush();
    if (out)
        return status;
    if (!readerIsGone())
        err << "rtuhost: cannot write to standard output\n";
    return status == ExitGood ? ExitErrors : status;
}

} // namespace

int runProgram(int argc, const char *const *argv, std::ostream &out, std::ostream &err)
{
    try {
        return statusAfterOutput(runTold(parseOptions(argc, argv), out, err), out, err);
    } catch (const Misuse &error) {
        err << "rtuhost: " << error.what() << '\n';
        return ExitMisuse;
    } catch (const std::invalid_argument &error) { // a bad address, value or file
        err << "rtuhost: " << error.what() << '\n';
        return ExitMisuse;
    } catch (const std::exception &error) {
        err << "rtuhost: " << error.what() << '\n';
        return ExitErrors;
    }
}

} // namespace rtu
