/**
 * @file
 * Replies of a slave, for measurements: right in every byte.
 */
#ifndef BENCH_REPLIES_H
#define BENCH_REPLIES_H

#include <QtCore/QByteArray>

/** Reply with @p count registers that start at @p firstValue and go up by one. */
QByteArray registerReply(int station, int function, int count, int firstValue);

/** Reply with @p count coils, eight of them in each byte @p pattern. */
QByteArray coilReply(int station, int function, int count, int pattern);

#endif
