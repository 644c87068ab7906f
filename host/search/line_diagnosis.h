/**
 * @file
 * Watches the requests of a line and says why they are given up: once for each cause
 * and station.
 */
#ifndef RTU_HOST_SEARCH_LINE_DIAGNOSIS_H
#define RTU_HOST_SEARCH_LINE_DIAGNOSIS_H

#include "host/search/line_cause.h"

#include <functional>
#include <map>
#include <set>
#include <tuple>

namespace rtu {

class LineDiagnosis
{
public:
    /** What the port has counted since it is there. */
    using CountErrors = std::function<LineErrors()>;

    /** @param echoKnown the user has said that requests come back: no news */
    explicit LineDiagnosis(CountErrors countErrors, bool echoKnown = false);

    /**
     * To be told every transaction, in order.
     *
     * @return Cause::None unless there is something that has not been said yet
     */
    Diagnosis take(const Transaction &transaction);

private:
    using Key = std::tuple<int, Cause, int>; ///< station, cause, exception code

    Diagnosis judge(const Transaction &transaction, const LineSigns &signs) const;
    Cause causeOf(const Transaction &transaction, const LineSigns &signs) const;
    std::string textOf(const Diagnosis &diagnosis, const Transaction &transaction, const LineSigns &signs) const;
    LineErrors errorsSinceStart() const;

    const CountErrors m_countErrors;
    const LineErrors m_errorsAtStart;
    const bool m_echoKnown;
    std::map<int, LineSigns> m_signs; ///< of the request that is being tried, by station
    std::set<Key> m_said;
    bool m_anybodyAnswered = false;
};

} // namespace rtu

#endif
