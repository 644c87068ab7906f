/**
 * @file
 * A driver to measure: configured, with caches and plans of any size.
 */
#ifndef PLANT_KEYS_H
#define PLANT_KEYS_H

#include "driver/modbus_rtu_interface.h"

/** Configures the driver anew; the host area, mutex and callback are the benchmark's. */
void initialiseDriver(int maxReadWords);

/** Creates this many areas of input registers, from station 100 on. */
void cacheAreas(int areas);

/** Number of value reports since the start. */
long reportsSoFar();

/** Keys as a project has them: all types, 50 stations, in no order, some neighbours, some gaps. */
QList<KEY_ADDRESS> scatteredKeys(int count);

/** Recipe rows in the same manner. */
QVector<_RCP_VAR_PRO> scatteredRows(int count);

#endif
