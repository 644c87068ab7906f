/**
 * @file
 * Says while polling why a station gives no good replies.
 */
#ifndef RTU_HOST_CAUSE_REPORT_H
#define RTU_HOST_CAUSE_REPORT_H

#include "host/cli/options.h"
#include "host/search/line_diagnosis.h"

#include <ostream>

namespace rtu {

class CauseReport
{
public:
    CauseReport(const Options &options, LineDiagnosis::CountErrors countErrors, std::ostream &out, std::ostream &err);

    /** To be told every transaction that the user has asked for. Each cause is said once. */
    void take(const Transaction &transaction);

private:
    const Options &m_options;
    std::ostream &m_out;
    std::ostream &m_err;
    LineDiagnosis m_diagnosis;
};

} // namespace rtu

#endif
