/**
 * @file
 * Bytes as text.
 */
#ifndef HEX_TEXT_H
#define HEX_TEXT_H

#include <QtCore/QString>

/** Each byte as two lowercase hexadecimal digits and a space; empty for @p n of 0 or below. */
QString toHexString(const unsigned char *bytes, int n);

#endif
