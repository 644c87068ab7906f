/**
 * @file
 * Arguments for random calls, biased towards collisions: few stations, small
 * address ranges, counts around the limits.
 */
#ifndef MODEL_GENERATORS_H
#define MODEL_GENERATORS_H

#include "support/random.h"

#include "driver/modbus_rtu_records.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <vector>

namespace model {

using support::Random;

/** How far apart the addresses are: narrow ones collide, wide ones fill the queues. Calm: narrow, in a steady plant. */
enum Spread { Narrow, Wide, Calm };

int station(Random &random);

/** One of the eight register types, seldom something else. */
QString regType(Random &random);
bool isBitInRegister(const QString &regType);

int address(Random &random, const QString &regType, Spread spread);
int count(Random &random);

/** A count that is large only now and then, for calls that cost by element. */
int moderateCount(Random &random);

/** Bytes that a host hands over with a write: exactly as many as are asked for. */
std::vector<unsigned char> hostBytes(Random &random, const QString &regType, int count);

/** Size in bytes of what a host hands over or gets for @p count elements. */
int hostByteCount(const QString &regType, int count);

KEY_ADDRESS key(Random &random, Spread spread);
QList<KEY_ADDRESS> keys(Random &random, Spread spread);
QVector<_RCP_VAR_PRO> recipeRows(Random &random, int linkId);

/** Words of the host buffer that recipeRows() may refer to. */
enum { HostWords = 8192 };

/** "#"-separated settings, sometimes short, sometimes garbage; null when isNull() holds. */
QByteArray propertyString(Random &random);

QString addressText(Random &random);

} // namespace model

#endif
