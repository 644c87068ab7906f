#include "host/search/line_diagnosis.h"

#include "host/report/trace.h"
#include "kit/line/frame_check.h"

namespace rtu {

LineDiagnosis::LineDiagnosis(CountErrors countErrors, bool echoKnown)
    : m_countErrors(std::move(countErrors))
    , m_errorsAtStart(m_countErrors())
    , m_echoKnown(echoKnown)
{
}

Diagnosis LineDiagnosis::take(const Transaction &t)
{
    if (t.end == ReplyEnd::NoneExpected || t.kind == ReplyKind::PortLost)
        return Diagnosis();
    LineSigns &signs = m_signs[t.station];
    signs.note(t);
    m_anybodyAnswered = m_anybodyAnswered || t.good() || t.kind == ReplyKind::Exception;
    if (t.verdict == VerdictSendAgain)
        return Diagnosis();
    const Diagnosis diagnosis = judge(t, signs);
    signs = LineSigns();
    const bool isNew = m_said.emplace(t.station, diagnosis.cause, diagnosis.exceptionCode).second;
    return isNew ? diagnosis : Diagnosis();
}

Diagnosis LineDiagnosis::judge(const Transaction &t, const LineSigns &signs) const
{
    Diagnosis diagnosis;
    diagnosis.cause = causeOf(t, signs);
    if (diagnosis.cause == Cause::None)
        return diagnosis;
    diagnosis.station = t.station;
    diagnosis.attempts = t.attempt;
    diagnosis.exceptionCode = t.exceptionCode;
    diagnosis.errors = errorsSinceStart();
    diagnosis.text = textOf(diagnosis, t, signs);
    return diagnosis;
}

Cause LineDiagnosis::causeOf(const Transaction &t, const LineSigns &signs) const
{
    if (t.verdict != VerdictGivenUp)
        return t.good() && signs.echoes > 0 && !m_echoKnown ? Cause::EchoDropped : Cause::None;
    if (t.kind == ReplyKind::Exception)
        return Cause::Exception;
    const Cause cause = signs.cause();
    if (cause == Cause::Stray) // a link listens for late replies before it asks again
        return Cause::Late;
    return cause == Cause::Silent && m_anybodyAnswered ? Cause::StationSilent : cause;
}

std::string LineDiagnosis::textOf(const Diagnosis &diagnosis, const Transaction &t, const LineSigns &signs) const
{
    const std::string text = causeText(diagnosis.cause);
    switch (diagnosis.cause) {
    case Cause::Exception:
        if (isGatewaySilence(t.exceptionCode))
            return "a gateway answers in its place, " + replyMeaning(t) + ": " + exceptionAdvice(t.exceptionCode);
        return text + ", " + replyMeaning(t) + ": " + exceptionAdvice(t.exceptionCode);
    case Cause::OtherStation:
    case Cause::OtherFunction:
        return signs.foreignAnswer + ": " + text;
    case Cause::Garbage:
        return text + " (--find tries the usual ones)";
    default:
        return text;
    }
}

LineErrors LineDiagnosis::errorsSinceStart() const
{
    LineErrors errors = m_countErrors();
    errors.known = errors.known && m_errorsAtStart.known;
    errors.framing -= m_errorsAtStart.framing;
    errors.parity -= m_errorsAtStart.parity;
    return errors;
}

} // namespace rtu
