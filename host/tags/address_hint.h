/**
 * @file
 * What may have been meant by an address that is none.
 */
#ifndef RTU_HOST_ADDRESS_HINT_H
#define RTU_HOST_ADDRESS_HINT_H

#include "kit/driver/register_catalog.h"

#include <string>

namespace rtu {

/**
 * "did you mean 4x_bit3.5: one digit below 10", with a "; " in front to put behind the
 * reason of a refusal; empty where nothing comes to mind.
 *
 * @param text as typed, "4x_bit3.05"
 */
std::string addressHint(const RegisterCatalog &catalog, const std::string &text);

/** "4x100", and whatever else begins with a table of the driver: asked before a driver is there. */
bool beginsWithTable(const std::string &text);

/** "4x100" for 40100 or 400100, as other tools count; empty for other numbers. */
std::string fromNumberedTables(const std::string &text);

} // namespace rtu

#endif
