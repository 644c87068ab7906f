/**
 * @file
 * What the property string and the other arguments of intf_initProperty mean,
 * and what is wrong with them.
 */
#ifndef CHECKER_SETTINGS_H
#define CHECKER_SETTINGS_H

#include "driver/modbus_rtu_interface.h"

#include <string>
#include <vector>

namespace checker {

class Findings;

const int LastStation = 247;

struct Settings
{
    int link;
    int localOnly;
    int attempts;
    int words;                 ///< largest block and piece in registers
    std::vector<int> lowFirst; ///< stations with the low word first, of every call so far
    unsigned char *area;       ///< null when the host does no block transfers
    unsigned char *wordBuffer;
    QMutex *mutex;

    Settings() : link(0), localOnly(0), attempts(0), words(0), area(nullptr), wordBuffer(nullptr), mutex(nullptr) {}
};

/** The arguments of intf_initProperty() that are the host's. */
struct InitArguments
{
    void *area;
    void *wordBuffer;
    int *status;
    const char *property;
    QMutex *mutex;
};

/**
 * True for a call that only takes the host's objects back: all of them null and
 * an empty text.
 */
bool isRelease(const InitArguments &arguments);

/**
 * Tells what is wrong and takes the arguments over.
 *
 * @return true when the property string was complete
 */
bool applyInit(const InitArguments &arguments, Settings &settings, Findings &findings);

} // namespace checker

#endif
