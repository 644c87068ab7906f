/**
 * @file
 * Stands in the place of the kernel's port: a pseudo-terminal is opened, and what a
 * serial port would do with it is scripted.
 */
#ifndef TESTS_KIT_SCRIPTED_PORT_H
#define TESTS_KIT_SCRIPTED_PORT_H

#include <termios.h>

namespace test_line {

struct ScriptedPort
{
    enum { AsAsked = -2, NoRate = -3 };

    bool pseudoTerminal = false;
    int openError = 0;         ///< EBUSY: another program has it for itself
    int lockError = 0;         ///< EWOULDBLOCK: another program has it; 0: none has
    tcflag_t missingFlags = 0; ///< of c_cflag: accepted and not kept
    bool refusesSettings = false;
    bool readsOnce = false; ///< its settings can be read once, then it is gone
    int baudRate = AsAsked; ///< what it makes of any rate; -1: it refuses
    bool hasDirectionControl = true;
    bool countsErrors = true;
    int framingErrors = 0;
    int parityErrors = 0;

    // What it was asked to do.
    bool exclusive = false;
    bool sendsDirection = false;
    bool invertsDirection = false;
    bool lowLatency = false;
    int askedBaud = NoRate;
    termios settings = termios();

    int reads = 0;
};

/** The port that the next open finds. */
extern ScriptedPort scriptedPort;

} // namespace test_line

#endif
