/**
 * @file
 * One range of registers or bits in a call, and the rules for it.
 */
#ifndef CHECKER_REQUESTS_H
#define CHECKER_REQUESTS_H

#include "checker/entry_point.h"
#include "checker/settings.h"

#include "address/register_types.h"

#include <string>

namespace checker {

class Findings;

/** The range that a call, or one of its keys or rows, is about. */
struct Request
{
    EntryPoint call;
    int index; ///< among the keys or rows of the call, -1 when there is just one
    int station;
    std::string typeName;
    const RegisterType *type; ///< null for an unknown one
    int address;              ///< zero-based, in the type's own unit
    int count;
    int field7;                 ///< of one-off reads
    int tag;                    ///< of one-off reads
    int hostOffset;             ///< of recipe rows, in words
    const unsigned char *bytes; ///< of writes
};

Request requestOf(EntryPoint call, int station, const QString &type, int address, int count);

/** Tells every rule that the request breaks. */
void checkRequest(const Request &request, const Settings &settings, Findings &findings);

/** Registers from the first to the last that the range has to do with; 0 for coils and unknown types. */
int registersSpanned(const Request &request);

} // namespace checker

#endif
