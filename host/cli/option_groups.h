/**
 * @file
 * The options in their groups, as --help shows them. Each group declares its options, with
 * their limits and what excludes what, and makes settings of what was typed.
 */
#ifndef RTU_HOST_OPTION_GROUPS_H
#define RTU_HOST_OPTION_GROUPS_H

#include "host/cli/options.h"

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace rtu {

/** One of the things that the program can do, where it was asked for. */
struct ModeChoice
{
    Mode mode;
    std::string subject; ///< what it is to be done with
    std::string Options::*target = nullptr;
};

using ModeChoices = std::vector<ModeChoice>;

/** Stations, registers, and what is done with them. */
struct WhatOptions
{
    void declare(CLI::App &app, Options &options);
    void settle(const CLI::App &app, Options &options) const;
    void addChoices(const CLI::App &app, ModeChoices &choices) const;

    std::string stations = "1";
    bool highWordFirst = false;
    bool conditionRead = false;
    std::string recipeRead;
    std::string recipeWrite;
    std::string recipeCompare;
};

/** The port, and how long its silences are. */
struct LineOptions
{
    void declare(CLI::App &app, Options &options);
    void settle(const CLI::App &app, Options &options) const;

    std::string parity = "even";
    std::string protocol = "rtu";
    double silenceMilliseconds = -1;
    double gapMilliseconds = -1;
    double lateGuardMilliseconds = -1;
    double broadcastMilliseconds = 100;
};

/** How long and how often. */
struct PaceOptions
{
    void declare(CLI::App &app, Options &options);
    void settle(const CLI::App &app, Options &options) const;

    int once = 0;
    double pollMilliseconds = 1000;
};

struct DriverOptions
{
    void declare(CLI::App &app, Options &options);
    void settle(const CLI::App &app, Options &options) const;

    std::string property; ///< the whole string
    std::string swapStations;
};

struct OutputOptions
{
    void declare(CLI::App &app, Options &options);
    void settle(const CLI::App &app, Options &options) const;

    std::string json; ///< the file, or what CLI11 takes for none
    std::string csv;
};

/** What needs no line. */
struct EditorOptions
{
    void declare(CLI::App &app, Options &options);
    void settle(Options &options) const;
    void addChoices(const CLI::App &app, ModeChoices &choices) const;

    std::string plan;
    bool listTypes = false;
    std::string describe;
    std::string check;
    std::string multiCopy;
};

/** Simulated slaves. */
struct SimulationOptions
{
    void declare(CLI::App &app, Options &options);
    void settle(Options &options) const;
    void addChoices(ModeChoices &choices) const;

    std::vector<std::string> serve; ///< file and port
};

/** Who is there, what others say, and captures. */
struct ListeningOptions
{
    void declare(CLI::App &app, Options &options);
    void addChoices(const CLI::App &app, ModeChoices &choices) const;

    std::string find;
    std::string listen;
};

struct OptionGroups
{
    /** Once, before anything is read: what is typed goes here and into @p options. */
    void declare(CLI::App &app, Options &options);
    /**
     * The settings that what was typed comes to.
     *
     * @throws std::invalid_argument, Misuse
     */
    void settle(const CLI::App &app, Options &options) const;

    WhatOptions what;
    LineOptions line;
    PaceOptions pace;
    DriverOptions driver;
    OutputOptions output;
    EditorOptions editor;
    SimulationOptions simulation;
    ListeningOptions listening;

private:
    void settleMode(const CLI::App &app, Options &options) const;
};

} // namespace rtu

#endif
