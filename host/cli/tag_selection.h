/**
 * @file
 * What the command line wants read and written.
 */
#ifndef RTU_HOST_TAG_SELECTION_H
#define RTU_HOST_TAG_SELECTION_H

#include "host/cli/options.h"
#include "host/tags/tag.h"

namespace rtu {

/**
 * Puts -t and -r, the tag file and the arguments together.
 *
 * @throws std::invalid_argument that names the argument and says what would be right
 */
TagSelection selectTags(DriverLibrary &driver, const RegisterCatalog &catalog, const Options &options);

} // namespace rtu

#endif
