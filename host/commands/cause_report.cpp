#include "host/commands/cause_report.h"

#include "host/text/wall_clock.h"

namespace rtu {

CauseReport::CauseReport(const Options &options, LineDiagnosis::CountErrors countErrors, std::ostream &out,
                         std::ostream &err)
    : m_options(options)
    , m_out(out)
    , m_err(err)
    , m_diagnosis(std::move(countErrors), options.removeEcho)
{
}

void CauseReport::take(const Transaction &transaction)
{
    const Diagnosis diagnosis = m_diagnosis.take(transaction);
    if (diagnosis.cause == Cause::None)
        return;
    m_err << "why: " << diagnosisText(diagnosis) << '\n';
    if (m_options.form == OutputForm::Json)
        m_out << diagnosisJson(diagnosis, timeStamp(transaction.finished)) << '\n';
}

} // namespace rtu
