/**
 * @file
 * The driver's editor calls on the command line.
 */
#ifndef RTU_HOST_EDITOR_CALLS_H
#define RTU_HOST_EDITOR_CALLS_H

#include "host/cli/options.h"
#include "kit/driver/register_catalog.h"

#include <ostream>

namespace rtu {

/** --list-types, --describe, --check, --multi-copy. Result: exit status. */
int runEditorCall(DriverLibrary &driver, const RegisterCatalog &catalog, const Options &options, std::ostream &out);

} // namespace rtu

#endif
