/**
 * @file
 * The demo: simulated slaves and a link with the driver, in scenes that end by
 * themselves. Exit status 0 only if every value agreed on both sides.
 */
#include "host/demo/scenes.h"
#include "host/commands/signal_watcher.h"
#include "host/commands/stop_target.h"

#include <unistd.h>

#include <cstdio>

namespace {

const int ExitAgreed = 0;
const int ExitFailed = 1;
const int ExitMisuse = 2;
const int ExitEnded = 130;

void printSummary(const demo::Stage &stage)
{
    std::printf("\n%d frames sent, %d given up while a slave was off, %d changes reported.\n", stage.frames,
                stage.givenUp, stage.changes);
    std::printf("%d comparisons, %d agreed: %s\n", stage.tally.compared, stage.tally.agreed,
                stage.tally.compared == stage.tally.agreed ? "everything agrees." : "NOT EVERYTHING AGREES.");
}

int play(const std::string &folder)
{
    // Before the slaves' thread, which must inherit the held-back signals; what it ends comes and goes after it.
    rtu::StopTarget target;
    const rtu::SignalWatcher watcher([&](int) {
        if (!target.stop())
            ::_exit(ExitEnded);
    });
    demo::Screen screen(demo::Screen::outputIsTerminal());
    demo::Stage stage(folder, screen);
    const rtu::StopTarget::Scope scope(target, [&stage] { stage.end(); });
    try {
        if (!stage.line->notice().empty())
            screen.say(stage.line->notice());
        demo::showPolling(stage);
        demo::showWrites(stage);
        demo::showDeadSlave(stage);
        demo::showRecipes(stage, folder);
    } catch (const demo::Ended &) {
        screen.close();
        return ExitEnded;
    }
    screen.close();
    printSummary(stage);
    return stage.tally.compared == stage.tally.agreed ? ExitAgreed : ExitFailed;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: rtu_demo FOLDER\nFOLDER has plant.sim, tags.csv and recipe.csv\n");
        return ExitMisuse;
    }
    try {
        return play(argv[1]);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "error: %s\n", error.what());
        return ExitFailed;
    }
}
