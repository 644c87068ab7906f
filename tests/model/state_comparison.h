/**
 * @file
 * Compares the real driver object with the plain one, member by member.
 */
#ifndef MODEL_STATE_COMPARISON_H
#define MODEL_STATE_COMPARISON_H

#include "model/plain_driver.h"

#include <string>

namespace model {

/** Both numbers when they differ, else an empty text. */
std::string unequal(const char *what, long long real, long long plain);

/** What is specified of two request units; payload bytes only as far as they are meant. */
std::string unitDifference(const VARIABLE &real, const VARIABLE &plain, int payloadBytes);

/** Bytes of VARIABLE::data that mean something while a transaction is in @p sendState. */
int payloadBytes(const VARIABLE &unit, int sendState);

/** The request bytes, the counts and the unit of two frames. */
std::string frameDifference(const FRAME_PRO &real, const FRAME_PRO &plain, int sendState);

/** The first member in which the global driver differs from @p plain, empty when there is none. */
std::string stateDifference(const PlainDriver &plain);

std::string text(const QString &value);
std::string text(const VARIABLE &unit);
std::string text(const unsigned char *bytes, int length);

} // namespace model

#endif
