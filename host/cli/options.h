/**
 * @file
 * The command line.
 */
#ifndef RTU_HOST_OPTIONS_H
#define RTU_HOST_OPTIONS_H

#include "host/tags/driver_property.h"
#include "kit/line/line_timing.h"
#include "host/report/value_printer.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace rtu {

/** What the program is to do. */
enum class Mode {
    Poll,
    ConditionRead,
    RecipeRead,
    RecipeWrite,
    RecipeCompare,
    Plan,
    ListTypes,
    Describe,
    Check,
    MultiCopy,
    Serve,
    Listen,
    Find,
    Probe,
    Replay, ///< a capture instead of a line
    Nothing ///< help or version were asked for and given
};

struct Options
{
    Mode mode = Mode::Poll;

    std::string driverPath;
    std::string port;
    std::string simFile;             ///< simulated slaves in place of a port
    std::vector<std::string> faults; ///< of the simulated slaves
    std::vector<int> bauds;          ///< as given; --find alone takes several
    bool parityGiven = false;
    bool stopBitsGiven = false;
    bool stationsGiven = false;
    bool timeoutGiven = false;
    LineParameters line;
    int probeStation = 0;

    std::vector<int> stations = std::vector<int>(1, 1);
    bool typeOrReferenceGiven = false;
    std::string typeText = "4";
    std::string referenceText = "1";
    bool zeroBased = false;
    int values = 1;
    bool lowWordFirst = false;
    bool wordOrderGiven = false;
    std::string tagFile;
    std::vector<std::string> arguments; ///< addresses and values after the port

    DriverProperty property;

    double pollInterval = 1.0; ///< all times in seconds
    double replyTimeout = 1.0;
    double silence = -1; ///< below 0: by the baud rate
    double replyGap = -1;
    double lateGuard = -1; ///< below 0: as long as the reply time-out
    double broadcastDelay = 0.1;
    int rounds = 0; ///< 0: for ever
    bool removeEcho = false;

    OutputForm form = OutputForm::Lines; ///< of standard output
    std::string recordFile;              ///< of --json=FILE and --csv=FILE; written anew
    OutputForm recordForm = OutputForm::Json;
    std::string logFile; ///< appended to
    OutputForm logForm = OutputForm::Csv;
    bool trace = false;
    bool quiet = false;
    bool printStatistics = false;
    bool live = false;  ///< live view asked for
    bool plain = false; ///< live view refused

    bool verify = false; ///< writes are read back
    bool force = false;  ///< files that exist are overwritten

    std::string planPicture; ///< SVG file of --plan
    std::string recipeFile;
    std::string subject; ///< of --check, --describe, --multi-copy
    int copies = 10;
    int step = 1;
    std::string serveFile;
    std::string captureFile; ///< written; "-": standard output
    std::string replayFile;  ///< a capture that is read

    int exitStatus = 0; ///< of Mode::Nothing
};

/** A command line that makes no sense; what() says what would be right. */
class Misuse : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/**
 * Reads the command line. Prints help and version itself.
 *
 * @throws Misuse
 */
Options parseOptions(int argc, const char *const *argv);

/** Everything that --help prints. */
std::string helpText();

} // namespace rtu

#endif
