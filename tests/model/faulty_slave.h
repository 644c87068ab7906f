/**
 * @file
 * A slave for comparing drivers: remembers what was written, answers reads from
 * it, and misbehaves on request.
 */
#ifndef MODEL_FAULTY_SLAVE_H
#define MODEL_FAULTY_SLAVE_H

#include "support/random.h"
#include "support/scripted_slave.h"

#include "driver/modbus_rtu_records.h"

#include <QtCore/QByteArray>

#include <map>

namespace model {

class FaultySlave
{
public:
    /** What arrives after @p request: mostly the right answer, and on a calm line nearly always the last one again. */
    QByteArray reply(support::Random &random, const FRAME_PRO &request, bool calm);

    /** What went on in the last reply, for the trace. */
    const char *lastKind = "";

private:
    QByteArray goodReply(const FRAME_PRO &request);
    void moveSomething(support::Random &random, const FRAME_PRO &request);

    std::map<int, support::SlaveTables> stations;
    QByteArray previous; ///< the last good reply, for late ones
};

} // namespace model

#endif
