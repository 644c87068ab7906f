/**
 * @file
 * A slave for comparing drivers: remembers what was written, answers reads from
 * it, and misbehaves on request.
 */
#ifndef MODEL_FAULTY_SLAVE_H
#define MODEL_FAULTY_SLAVE_H

#include "support/random.h"

#include "driver/modbus_rtu_records.h"

#include <QtCore/QByteArray>

#include <map>
#include <tuple>

namespace model {

class FaultySlave
{
public:
    /** What arrives after @p request: mostly the right answer, and on a calm line nearly always the last one again. */
    QByteArray reply(support::Random &random, const FRAME_PRO &request, bool calm);

    /** What went on in the last reply, for the trace. */
    const char *lastKind = "";

private:
    typedef std::tuple<int, int, int> Place; ///< station byte, 0 coil or 1 register, address

    QByteArray goodReply(const FRAME_PRO &request);
    void execute(const FRAME_PRO &request);
    void moveSomething(support::Random &random, const FRAME_PRO &request);

    std::map<Place, int> memory;
    QByteArray previous; ///< the last good reply, for late ones
};

} // namespace model

#endif
