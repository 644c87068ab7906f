/**
 * @file
 * Address stepping for screen objects that are copied many times.
 */
#ifndef MULTI_COPY_H
#define MULTI_COPY_H

#include <QtCore/QString>
#include <QtCore/QVector>

/**
 * Appends the address and the address text of each copy; both outputs may be
 * null. Copies past the last address of the type are set to it; at most 1048576
 * copies (every bit of every register) are made in one call, but the result
 * speaks for all that were asked for.
 *
 * @param startAddress zero-based
 * @param increment step between copies, in bits for the bit-in-register types
 * @return 0 unknown type (nothing appended), 1 all inside, 2 at least one clamped
 */
int multiCopy(const QString &regType, int startAddress, int copies, int increment, QVector<QString> *texts,
              QVector<int> *addresses);

#endif
