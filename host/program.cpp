#include "program.h"

#include "editor_calls.h"
#include "options.h"
#include "poll_program.h"
#include "serial_line.h"
#include "signal_watcher.h"
#include "simulation.h"

#include <unistd.h>

#include <atomic>
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
            if (!m_plant->start(&error))
                throw std::runtime_error(error);
            device = m_plant->devicePath();
        }
        m_line.reset(new SerialLine(device, parameters));
        m_line->open();
        if (!m_line->notice().empty() && !options.quiet)
            err << m_line->notice() << '\n';
    }

    SerialLine &line() { return *m_line; }
    plant::Plant *plant() { return m_plant.get(); }

private:
    std::unique_ptr<plant::Plant> m_plant;
    std::unique_ptr<SerialLine> m_line;
};

class Program
{
public:
    Program(const Options &options, std::ostream &out, std::ostream &err)
        : m_options(options), m_out(out), m_err(err), m_driver(options.driverPath), m_catalog(m_driver),
          m_session(m_driver)
    {
    }

    int run()
    {
        switch (m_options.mode) {
        case Mode::Describe:
        case Mode::Check:
        case Mode::MultiCopy:
        case Mode::ListTypes:
            return misuseIfInvalid([this] { return runEditorCall(m_driver, m_catalog, m_options, m_out); });
        default:
            return runOnLine();
        }
    }

private:
    /** What a bad address or value on the command line throws is misuse. */
    template <typename Call> auto misuseIfInvalid(Call call) -> decltype(call())
    {
        try {
            return call();
        } catch (const std::invalid_argument &error) {
            throw Misuse(error.what());
        }
    }

    TagSelection selectNamedTags()
    {
        const bool recipe = m_options.mode == Mode::RecipeRead || m_options.mode == Mode::RecipeWrite;
        const bool nothingNamed = m_options.arguments.empty() && m_options.tagFile.empty()
                                  && !m_options.typeOrReferenceGiven;
        if (recipe && nothingNamed)
            return TagSelection(); // the recipe file names the registers
        TagSelection selection = selectTags(m_driver, m_catalog, m_options);
        if (m_options.mode != Mode::Poll && !selection.writes.empty())
            throw std::invalid_argument("values to write do not go with this option");
        return selection;
    }

    int runOnLine()
    {
        const TagSelection selection = misuseIfInvalid([this] { return selectNamedTags(); });
        std::atomic<PollProgram *> program{nullptr};
        bool ending = false;
        // Before the slaves' thread and the line: every thread must inherit the held-back signals.
        const SignalWatcher watcher([&](int signal) {
            if (ending || !program.load())
                ::_exit(128 + signal);
            ending = true;
            program.load()->loop().stop();
        });
        LineSource source(m_options, m_err);
        m_session.configure(m_options.property);
        PollProgram polling(m_session, source.line(), pollSettings(m_options, source.line().parameters()), m_options,
                            m_out, m_err);
        program = &polling;
        switch (m_options.mode) {
        case Mode::ConditionRead:
            return polling.readOnce(selection.reads);
        case Mode::RecipeRead:
            return polling.transferRecipe(selection.reads, false);
        case Mode::RecipeWrite:
            return polling.transferRecipe(selection.reads, true);
        default:
            return polling.poll(selection);
        }
    }

    const Options &m_options;
    std::ostream &m_out;
    std::ostream &m_err;
    DriverLibrary m_driver;
    RegisterCatalog m_catalog;
    DriverSession m_session;
};

int runMode(const Options &options, std::ostream &out, std::ostream &err)
{
    if (options.mode == Mode::Nothing)
        return options.exitStatus;
    if (options.mode == Mode::Serve)
        return serve(options, out, err);
    return Program(options, out, err).run();
}

} // namespace

int runProgram(int argc, const char *const *argv, std::ostream &out, std::ostream &err)
{
    try {
        return runMode(parseOptions(argc, argv), out, err);
    } catch (const Misuse &error) {
        err << "rtuhost: " << error.what() << '\n';
        return ExitMisuse;
    } catch (const std::exception &error) {
        err << "rtuhost: " << error.what() << '\n';
        return ExitErrors;
    }
}

} // namespace rtu
