/**
 * @file
 * Rows about a line on one stream: values, writes, and what happens to port and stations.
 */
#ifndef RTU_HOST_RECORDS_H
#define RTU_HOST_RECORDS_H

#include "host/report/line_event.h"
#include "host/report/write_report.h"

namespace rtu {

class Records
{
public:
    /** @param verified acknowledged writes were read back as well */
    Records(std::ostream &out, OutputForm form, bool verified)
        : m_out(out)
        , m_form(form)
        , m_values(out, form)
        , m_writes(out, form, verified)
    {
    }

    /** In lines for people, the time stands above the values that came then. */
    void setTimed(bool timed) { m_timed = timed; }
    /** Lines for people are values alone. */
    void setQuiet(bool quiet) { m_quiet = quiet; }

    void printHeader();
    void beginReply(TimePoint time);
    void printValues(const TagRange &tag, const ValueSpan &values, const TagState &state, TimePoint time);
    void printWrite(const TagWrite &write, const TagState &old, const WriteResult &result, TimePoint time);
    void printEvent(const LineEvent &event);
    void flush() { m_out.flush(); }

private:
    std::ostream &m_out;
    const OutputForm m_form;
    ValuePrinter m_values;
    WriteReport m_writes;
    bool m_timed = false;
    bool m_quiet = false;
};

} // namespace rtu

#endif
