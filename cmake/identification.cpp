/**
 * @file
 * Puts the version into the library file: it exports the entry points and
 * nothing else, so the version is a text that `strings` or `what` finds there.
 */
#include "version.h"

namespace {
__attribute__((used)) const char identification[] = "@(#)modbus_rtu_master " MODBUS_RTU_VERSION_TEXT;
}
