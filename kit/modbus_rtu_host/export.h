/**
 * @file
 * Marks what the shared library offers; everything else stays inside it.
 */
#ifndef MODBUS_RTU_HOST_EXPORT_H
#define MODBUS_RTU_HOST_EXPORT_H

#define MODBUS_RTU_HOST_EXPORT __attribute__((visibility("default")))

#endif
