#include "driver_test.h"

namespace {

using namespace test_host;

class ValueChanges : public DriverTest
{
};

TEST_F(ValueChanges, ReachTheListener)
{
    std::vector<rtu::ValueChange> changes;
    driver.setChangeListener([&](const rtu::ValueChange &change) { changes.push_back(change); });
    rtu::DriverProperty property;
    property.linkId = 7;
    session.configure(property);
    session.plan(std::vector<rtu::TagRange>(1, tag("4x5@3")));
    rtu::TagWrite write;
    write.tag = tag("4x5@3");
    write.raw.push_back(9);
    rtu::writeTag(driver, write, 120, 1);
    ASSERT_EQ(1u, changes.size());
    EXPECT_EQ(7, changes[0].linkId);
    EXPECT_EQ(3, changes[0].station);
    EXPECT_EQ("4x", changes[0].regType.toStdString());
    EXPECT_EQ(4, changes[0].address);
}

} // namespace
