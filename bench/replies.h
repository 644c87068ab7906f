/**
 * @file
 * Replies of a slave, for measurements: right in every byte.
 */
#ifndef BENCH_REPLIES_H
#define BENCH_REPLIES_H

#include <QtCore/QByteArray>

#include <vector>

/** @p count values that start at @p firstValue and go up by one. */
std::vector<int> registerRun(int firstValue, int count);

/** Reply with these registers. */
QByteArray registerReply(int station, int function, const std::vector<int> &values);

/** Reply with @p count coils, eight of them in each byte @p pattern. */
QByteArray coilReply(int station, int function, int count, int pattern);

#endif
