/**
 * @file
 * Where everything that is heard goes: lines or JSON, a capture, the table of registers.
 */
#ifndef RTU_HOST_LISTEN_LISTEN_OUTPUT_H
#define RTU_HOST_LISTEN_LISTEN_OUTPUT_H

#include "host/listen/capture_file.h"
#include "host/listen/heard_statistics.h"
#include "host/listen/heard_text.h"

#include <ostream>

namespace rtu {

enum class HeardForm { Lines, Json, Nothing };

class ListenOutput : public TrafficListener
{
public:
    /** @param timing of the line, for its share of it that each station takes */
    ListenOutput(std::ostream &out, HeardForm form, const RegisterNames &names,
                 const LineTiming &timing = LineTiming());

    /** Frames and garbage go there as well, until it fails. nullptr: nowhere. */
    void setCapture(CaptureWriter *capture) { m_capture = capture; }

    void onFrame(Role role, const HeardBytes &frame) override;
    void onTransaction(const Transaction &transaction) override;
    void onOpenRequest(const Transaction &request) override;
    void onStrayReply(const HeardBytes &reply) override;
    void onGarbage(const HeardBytes &garbage) override;

    const HeardStatistics &statistics() const { return m_statistics; }
    const HeardRegisters &registers() const { return m_registers; }
    /** "120 transactions: 118 good, 1 exception, 1 without a reply; 1 request still open" */
    std::string summary() const;

private:
    void print(const std::string &text);

    std::ostream &m_out;
    const HeardForm m_form;
    const RegisterNames m_names;
    CaptureWriter *m_capture = nullptr;
    HeardRegisters m_registers;
    HeardStatistics m_statistics;
    std::uint64_t m_strays = 0;
    std::uint64_t m_garbageBytes = 0;
};

} // namespace rtu

#endif
