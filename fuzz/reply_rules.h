/**
 * @file
 * What must hold of a collected reply, whatever has arrived.
 */
#ifndef REPLY_RULES_H
#define REPLY_RULES_H

#include <modbus_rtu_host/transaction.h>

namespace fuzz {

/** @param arrived everything since the request, in order */
void requireReplyRules(const rtu::Transaction &transaction, const QByteArray &arrived, bool removeEcho);

} // namespace fuzz

#endif
