/**
 * @file
 * Hosts that break the contract, each in one way, and what the checker has to
 * find in them and nothing else.
 */
#ifndef MISUSE_H
#define MISUSE_H

#include "checker/checked_host.h"

#include <vector>

namespace checked {

struct Misuse
{
    const char *findings; ///< the names expected, in alphabetical order, between blanks
    const char *what;     ///< what the host does, in CamelCase
    void (*run)(CheckedHost &host);
};

std::vector<Misuse> settingMisuses();
std::vector<Misuse> argumentMisuses();
std::vector<Misuse> recipeMisuses();
std::vector<Misuse> orderMisuses();
std::vector<Misuse> replyMisuses();

} // namespace checked

#endif
