/**
 * @file
 * What an editor shows of the register types: the types that fit an object, and
 * how each type's addresses are written and bounded.
 */
#ifndef DESCRIPTIONS_H
#define DESCRIPTIONS_H

#include <QtCore/QList>
#include <QtCore/QString>

/**
 * Appends the type names for a bit object (0) or a word object (1).
 * @return 1, or 0 with nothing appended for any other request
 */
int listRegisterTypes(unsigned int requestType, QList<QString> &list);

/**
 * Appends notation, lowest address, highest address, width and writable flag of
 * a known type; nothing for an unknown one.
 * @return 1 for "4x_double", 0 otherwise; hosts judge by the list having grown
 */
int describeRegisterType(const QString &regType, QList<QString> &list);

#endif
