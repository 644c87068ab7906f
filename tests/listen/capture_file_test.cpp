#include "host/listen/capture_file.h"
#include "support/frames.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

namespace {

using test_line::array;
using test_line::frame;
using test_line::hex;
using test_line::milliseconds;

const rtu::CaptureClock::Time Day(1700000000123456789LL); // 2023-11-14 22:13:20.123456789 UTC

std::string textOf(const std::string &hexBytes)
{
    const test_line::Bytes bytes = hex(hexBytes);
    return std::string(bytes.begin(), bytes.end());
}

TEST(CaptureFile, IsAClassicPcapFileOfTheUsersFirstLinkType)
{
    std::ostringstream out;
    rtu::CaptureWriter writer(out, rtu::CaptureClock(Day));
    writer.write(array(hex("01 02 03")), rtu::TimePoint());
    EXPECT_EQ(textOf("4D 3C B2 A1 02 00 04 00 00 00 00 00 00 00 00 00 FF FF 00 00 93 00 00 00 "
                     "00 F1 53 65 15 CD 5B 07 03 00 00 00 03 00 00 00 01 02 03"),
              out.str());
}

TEST(CaptureFile, HasBothDirectionsOfATransactionWithTheirTimes)
{
    rtu::Transaction t;
    t.request = array(frame("01 03 00 00 00 01"));
    t.reply = array(frame("01 03 02 00 07"));
    t.sent = rtu::TimePoint(milliseconds(1));
    t.finished = rtu::TimePoint(milliseconds(12));
    std::stringstream file;
    rtu::CaptureWriter(file, rtu::CaptureClock(Day)).write(t);
    rtu::CaptureReader reader(file);
    rtu::CaptureRecord record;
    ASSERT_TRUE(reader.read(record));
    EXPECT_EQ(t.request, record.bytes);
    EXPECT_EQ(Day + milliseconds(1), record.time);
    ASSERT_TRUE(reader.read(record));
    EXPECT_EQ(t.reply, record.bytes);
    EXPECT_EQ(t.finished, rtu::CaptureClock(Day).pointOf(record.time));
    EXPECT_FALSE(reader.read(record));
}

TEST(CaptureFile, OfARequestWithoutReplyHasTheRequestAlone)
{
    rtu::Transaction t;
    t.request = array(frame("01 03 00 00 00 01"));
    std::ostringstream out;
    rtu::CaptureWriter(out, rtu::CaptureClock(Day)).write(t);
    EXPECT_EQ(24u + 16u + 8u, out.str().size());
}

struct Foreign
{
    const char *name;
    const char *bytes;
    std::chrono::nanoseconds time;
};

class CaptureOfOthers : public testing::TestWithParam<Foreign>
{
};

TEST_P(CaptureOfOthers, IsRead)
{
    std::istringstream in(textOf(GetParam().bytes));
    rtu::CaptureReader reader(in);
    rtu::CaptureRecord record;
    ASSERT_TRUE(reader.read(record));
    EXPECT_EQ(GetParam().time, record.time);
    EXPECT_EQ(array(hex("AA BB")), record.bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Files, CaptureOfOthers,
    testing::Values(Foreign{"microseconds, low byte first",
                            "D4 C3 B2 A1 02 00 04 00 00 00 00 00 00 00 00 00 00 00 04 00 93 00 00 00 "
                            "02 00 00 00 05 00 00 00 02 00 00 00 02 00 00 00 AA BB",
                            std::chrono::nanoseconds(2000005000)},
                    Foreign{"microseconds, high byte first",
                            "A1 B2 C3 D4 00 02 00 04 00 00 00 00 00 00 00 00 00 04 00 00 00 00 00 93 "
                            "00 00 00 02 00 00 00 05 00 00 00 02 00 00 00 02 AA BB",
                            std::chrono::nanoseconds(2000005000)},
                    Foreign{"nanoseconds, high byte first",
                            "A1 B2 3C 4D 00 02 00 04 00 00 00 00 00 00 00 00 00 04 00 00 00 00 00 93 "
                            "00 00 00 02 00 00 00 05 00 00 00 02 00 00 00 02 AA BB",
                            std::chrono::nanoseconds(2000000005)}));

struct Bad
{
    const char *name;
    const char *bytes;
    const char *reason;
};

class BadCapture : public testing::TestWithParam<Bad>
{
};

TEST_P(BadCapture, IsRefusedWithTheReason)
{
    std::istringstream in(textOf(GetParam().bytes));
    try {
        rtu::CaptureReader reader(in);
        rtu::CaptureRecord record;
        while (reader.read(record)) {
        }
        ADD_FAILURE() << "was read";
    } catch (const std::runtime_error &error) {
        EXPECT_STREQ(GetParam().reason, error.what());
    }
}

#define GOOD_HEADER "4D 3C B2 A1 02 00 04 00 00 00 00 00 00 00 00 00 FF FF 00 00 93 00 00 00 "

INSTANTIATE_TEST_SUITE_P(
    Files, BadCapture,
    testing::Values(Bad{"nothing", "", "no capture: it does not begin as a pcap file does"},
                    Bad{"a header cut short", "4D 3C B2 A1 02 00", "no capture: it does not begin as a pcap file does"},
                    Bad{"another file", "7F 45 4C 46 02 01 01 00 00 00 00 00 00 00 00 00 03 00 3E 00 01 00 00 00",
                        "no capture: it does not begin as a pcap file does"},
                    Bad{"of a network", "4D 3C B2 A1 02 00 04 00 00 00 00 00 00 00 00 00 FF FF 00 00 01 00 00 00",
                        "a capture of link type 1; Modbus RTU frames have 147 (user 0)"},
                    Bad{"a record's header cut short", GOOD_HEADER "00 00 00", "record 1 is cut short"},
                    Bad{"a record cut short", GOOD_HEADER "00 00 00 00 00 00 00 00 02 00 00 00 02 00 00 00 AA",
                        "record 1 is cut short"},
                    Bad{"a record of four gigabytes", GOOD_HEADER "00 00 00 00 00 00 00 00 FF FF FF FF FF FF FF FF AA",
                        "record 1 is longer than any frame can be"}));

} // namespace
