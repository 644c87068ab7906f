/**
 * @file
 * The options in their groups, as --help shows them.
 */
#ifndef RTU_HOST_OPTION_GROUPS_H
#define RTU_HOST_OPTION_GROUPS_H

#include "host/cli/options.h"

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace rtu {

/** What CLI11 has read and needs a second look. */
struct RawOptions
{
    std::string stations = "1";
    std::string parity = "even";
    std::string protocol = "rtu";
    int once = 0;
    std::string json; ///< the file, or what CLI11 takes for none
    std::string csv;
    bool highWordFirst = false;
    std::string rawProperty;
    std::string swapStations;
    std::string plan;
    std::string recipeRead;
    std::string recipeWrite;
    std::string recipeCompare;
    bool conditionRead = false;
    bool listTypes = false;
    std::string describe;
    std::string check;
    std::string multiCopy;
    std::vector<std::string> serve;
    std::string listen;
    std::string find;
    std::vector<std::string> arguments;
    double pollMilliseconds = 1000;
    double silenceMilliseconds = -1;
    double gapMilliseconds = -1;
    double lateGuardMilliseconds = -1;
    double broadcastMilliseconds = 100;
};

/** Declares every option, its limits and what excludes what; the two structs get what is typed. */
void addOptionGroups(CLI::App &app, Options &options, RawOptions &raw);

} // namespace rtu

#endif
