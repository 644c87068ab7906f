#include "host/listen/listen_output.h"

#include "host/text/numbers.h"

namespace rtu {

ListenOutput::ListenOutput(std::ostream &out, HeardForm form, const RegisterNames &names, const LineTiming &timing)
    : m_out(out)
    , m_form(form)
    , m_names(names)
    , m_statistics(timing)
{
}

/** Each line at once: whoever listens waits for the next one. */
void ListenOutput::print(const std::string &text)
{
    m_out << text << '\n' << std::flush;
}

void ListenOutput::onFrame(Role, const HeardBytes &frame)
{
    if (m_capture)
        m_capture->write(frame.bytes, frame.end);
}

void ListenOutput::onTransaction(const Transaction &transaction)
{
    m_registers.note(transaction);
    m_statistics.note(transaction);
    if (m_form == HeardForm::Json)
        print(heardJson(transaction, m_names));
    if (m_form != HeardForm::Lines)
        return;
    for (const std::string &line : heardLines(transaction, m_names))
        print(line);
}

void ListenOutput::onOpenRequest(const Transaction &request)
{
    m_registers.note(request);
    m_statistics.noteOpen(request);
    if (m_form == HeardForm::Json)
        print(openJson(request, m_names));
    if (m_form == HeardForm::Lines)
        print(openLine(request, m_names));
}

void ListenOutput::onStrayReply(const HeardBytes &reply)
{
    ++m_strays;
    if (m_form != HeardForm::Nothing)
        print(m_form == HeardForm::Json ? strayJson(reply) : strayLine(reply));
}

void ListenOutput::onGarbage(const HeardBytes &garbage)
{
    m_garbageBytes += static_cast<std::uint64_t>(garbage.bytes.size());
    if (m_capture)
        m_capture->write(garbage.bytes, garbage.end);
    if (m_form != HeardForm::Nothing)
        print(m_form == HeardForm::Json ? garbageJson(garbage) : garbageLine(garbage));
}

std::string ListenOutput::summary() const
{
    const HeardStatistics::Counts &all = m_statistics.total();
    std::string text = quantity(all.good + all.exceptions + all.silent, "transaction") + ": " + all.text();
    if (all.open > 0)
        text += "; " + quantity(all.open, "request") + " still open";
    if (m_strays > 0)
        text += "; " + quantity(m_strays, "reply", "replies") + " to nothing that was heard";
    if (m_garbageBytes > 0)
        text += "; " + quantity(m_garbageBytes, "byte") + " of no frame";
    return text;
}

} // namespace rtu
