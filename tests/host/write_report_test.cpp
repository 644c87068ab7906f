#include "driver_test.h"

#include "host/report/write_report.h"

namespace {

using namespace test_host;
using rtu::WriteEnd;

class WriteErrors : public DriverTest
{
protected:
    std::string error(WriteEnd end)
    {
        rtu::WriteResult result;
        result.end = end;
        result.text = "why";
        return rtu::writeError(rtu::TagWrite{tag("4x5..6"), {1, 2}}, result);
    }
};

TEST_F(WriteErrors, AreTold)
{
    for (WriteEnd end : {WriteEnd::Refused, WriteEnd::NotSent, WriteEnd::Differs})
        EXPECT_EQ("1:4x5..6 was not written: why", error(end)) << static_cast<int>(end);
    EXPECT_EQ("1:4x5..6 may not have been written: why", error(WriteEnd::Unconfirmed));
}

TEST_F(WriteErrors, AreNotWhatTheUserWanted)
{
    for (WriteEnd end :
         {WriteEnd::Acknowledged, WriteEnd::Broadcast, WriteEnd::KeptLocal, WriteEnd::Replaced, WriteEnd::Cancelled})
        EXPECT_EQ("", error(end)) << static_cast<int>(end);
}

} // namespace
