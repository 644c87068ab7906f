/**
 * @file
 * The names that QML knows the classes by.
 */
#ifndef QUICK_REGISTER_TYPES_H
#define QUICK_REGISTER_TYPES_H

namespace quick {

/** @param uri of the module: "ModbusRtu" */
void registerTypes(const char *uri);

} // namespace quick

#endif
