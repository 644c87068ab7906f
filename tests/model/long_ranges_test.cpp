/**
 * Ranges of far more requests than a queue holds: what is left in the queue is
 * worked out by the driver and walked by the plain one.
 */
#include "model/generators.h"
#include "model/plain_driver.h"
#include "model/state_comparison.h"
#include "support/driver_reset.h"

#include <gtest/gtest.h>

namespace {

using model::Random;

class LongRanges : public ::testing::Test
{
protected:
    LongRanges() { support::resetDriver(); }
    ~LongRanges() override { support::resetDriver(); }

    void setLimit(int limit)
    {
        const QByteArray property = "1#0#0#3#" + QByteArray::number(limit);
        int status = 0;
        intf_initProperty(nullptr, 0, nullptr, &status, property.constData(), nullptr);
        plain.initProperty(nullptr, 0, nullptr, &status, property.constData(), false);
    }

    void conditionRead(const KEY_ADDRESS &asked, int tag)
    {
        KEY_ADDRESS key = asked;
        intf_addConditionRead(&key, tag);
        plain.addConditionRead(asked, tag);
    }

    void write(QString type, int address, int count, std::vector<unsigned char> &bytes, int tag)
    {
        intf_setData(1, &type, address, count, bytes.data(), tag);
        plain.setData(1, type, address, count, bytes.data(), tag);
    }

    PlainDriver plain;
};

int limitOf(Random &random)
{
    return random.pick({1, 1, 2, 3, 5, 7, 15, 16, 17, 31, 33, -1, -2, -7});
}

TEST_F(LongRanges, OfConditionReadsLeaveTheSameQueue)
{
    Random random(static_cast<std::uint32_t>(support::environmentNumber("MODBUS_SEED", 20240601)));
    for (int round = 0; round < 60; ++round) {
        setLimit(limitOf(random));
        std::string calls;
        for (int i = 0; i < 4; ++i) {
            KEY_ADDRESS key = model::key(random, model::Narrow);
            key.station = random.pick({1, 1, 1, 2});
            key.startAddr = random.pick({0, 3, 500, -700, -20000, 2147483647 - 9000, random.between(-400, 400)});
            key.count = random.chance(60) ? random.between(1, 22000) : random.between(-30, 900);
            calls += model::text(key.regType) + " " + std::to_string(key.startAddr) + "+" + std::to_string(key.count)
                     + " format " + std::to_string(key.field7) + ", ";
            conditionRead(key, random.below(1000));
        }
        ASSERT_EQ(model::stateDifference(plain), std::string())
            << "limit " << plain.maxReadWords << ": " << calls << "round " << round;
    }
}

TEST_F(LongRanges, OfWritesLeaveTheSameQueue)
{
    Random random(static_cast<std::uint32_t>(support::environmentNumber("MODBUS_SEED", 20240601)));
    for (int round = 0; round < 40; ++round) {
        setLimit(limitOf(random));
        std::string calls;
        for (int i = 0; i < 4; ++i) {
            const QString type = QLatin1String(random.pick({"4x", "4x", "4x_double", "4x_bit"}));
            const int address = random.pick({0, 3, 300, -500, 2147483647 - 900, random.between(-400, 400)});
            const int count = random.chance(40) ? random.between(1, 3000) : random.between(-6000, 30);
            std::vector<unsigned char> bytes(static_cast<size_t>(2 * std::max(1, count)));
            for (unsigned char &byte : bytes)
                byte = random.byte();
            calls += model::text(type) + " " + std::to_string(address) + "+" + std::to_string(count) + ", ";
            write(type, address, count, bytes, random.below(1000));
        }
        ASSERT_EQ(model::stateDifference(plain), std::string())
            << "limit " << plain.maxReadWords << ": " << calls << "round " << round;
    }
}

} // namespace
