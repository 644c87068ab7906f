// Captures, read by Wireshark's own dissector of Modbus RTU.

#include "host/listen/capture_file.h"
#include "host/listen/listen_output.h"
#include "support/frames.h"
#include "support/run_program.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <fstream>
#include <sstream>

namespace {

using test_line::array;
using test_line::Bytes;
using test_line::frame;
using test_line::milliseconds;

const rtu::CaptureClock Clock(std::chrono::seconds(1700000000));

const std::vector<std::string> Frames = {
    "01 03 00 6B 00 03",
    "01 03 06 02 2B 00 00 00 64",
    "02 04 00 08 00 01",
    "02 84 02",
    "07 10 00 01 00 02 04 00 0A 01 02",
    "07 10 00 01 00 02",
    "07 01 00 13 00 13",
    "07 01 03 CD 6B 05",
};

/** Time, unit, function, exception, first address, count of words, of bits, values of registers. */
const std::vector<std::string> Dissected = {
    "1700000000.010000000|1|3||107|3||", "1700000000.020000000|1|3|||||555,0,100", "1700000000.030000000|2|4||8|1||",
    "1700000000.040000000|2|4|2||||",    "1700000000.050000000|7|16||1|2||10,258", "1700000000.060000000|7|16||1|2||",
    "1700000000.070000000|7|1||19||19|", "1700000000.080000000|7|1|||||",
};

class Wireshark : public testing::Test
{
protected:
    Wireshark() : m_path(testing::TempDir() + "wireshark_test_" + std::to_string(::getpid()) + ".pcap") {}
    ~Wireshark() override { ::unlink(m_path.c_str()); }

    std::vector<std::string> dissected(const std::string &capture)
    {
        std::ofstream(m_path, std::ios::binary) << capture;
        const support::Outcome outcome =
            support::run(TSHARK " -n -r " + m_path
                         + " -o 'uat:user_dlts:\"User 0 (DLT=147)\",\"mbrtu\",\"0\",\"\",\"0\",\"\"' -T fields"
                           " -E separator='|' -e frame.time_epoch -e mbrtu.unit_id -e modbus.func_code"
                           " -e modbus.exception_code -e modbus.reference_num -e modbus.word_cnt -e modbus.bit_cnt"
                           " -e modbus.regval_uint16");
        std::vector<std::string> lines;
        std::istringstream text(outcome.output);
        for (std::string line; std::getline(text, line);) {
            if (line.compare(0, 7, "Running") != 0) // as root, which it warns of
                lines.push_back(line);
        }
        return lines;
    }

private:
    const std::string m_path;
};

TEST_F(Wireshark, ReadsWhatWasListenedTo)
{
    std::ostringstream out;
    std::ostringstream capture;
    rtu::CaptureWriter writer(capture, Clock);
    rtu::ListenOutput output(out, rtu::HeardForm::Nothing, rtu::RegisterNames());
    output.setCapture(&writer);
    rtu::TrafficReader reader(rtu::ReaderSettings(), output);
    rtu::TimePoint now;
    for (const std::string &text : Frames) {
        const Bytes bytes = frame(text);
        reader.take(bytes.data(), bytes.size(), now += milliseconds(10));
    }
    reader.finish();
    EXPECT_EQ(Dissected, dissected(capture.str()));
}

TEST_F(Wireshark, ReadsWhatWasPolled)
{
    std::ostringstream capture;
    rtu::CaptureWriter writer(capture, Clock);
    rtu::TimePoint now;
    for (std::size_t i = 0; i < Frames.size(); i += 2) {
        rtu::Transaction t;
        t.request = array(frame(Frames[i]));
        t.reply = array(frame(Frames[i + 1]));
        t.sent = now += milliseconds(10);
        t.finished = now += milliseconds(10);
        writer.write(t);
    }
    EXPECT_EQ(Dissected, dissected(capture.str()));
}

} // namespace
