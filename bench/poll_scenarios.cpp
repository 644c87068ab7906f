#include "bench/poll_scenarios.h"

#include "bench/peer_scenarios.h"
#include "bench/plant_keys.h"
#include "bench/replies.h"

#include <functional>
#include <map>

namespace {

/** Polls one block of the driver with replies that take turns. */
class DriverPoll : public Scenario
{
public:
    DriverPoll(const char *regType, int count, const std::vector<QByteArray> &replies, int otherAreas)
        : replies_(replies)
        , count_(count)
    {
        initialiseDriver(2000);
        cacheAreas(otherAreas);
        QList<KEY_ADDRESS> keys;
        keys << planKey(1, regType, 0, count);
        intf_addrMerge(&keys);
        for (std::size_t i = 0; i < 2 * replies_.size(); ++i)
            step(); // first reading
    }

    bool step() override
    {
        if (intf_getSendFrame(&frame_) != 1)
            return false;
        QByteArray &reply = replies_[next_];
        next_ = next_ + 1 < replies_.size() ? next_ + 1 : 0;
        return intf_dealRcvFrame(&reply, &information_) == 1;
    }

    int elements() const override { return count_; }

    int lineBytes() const override { return frame_.frameLen + frame_.replyLen; }

private:
    std::vector<QByteArray> replies_;
    int count_;
    std::size_t next_ = 0;
    FRAME_PRO frame_ = FRAME_PRO();
    QString information_;
};

/** Builds the cyclic plan of a scattered project over and over. */
class Planning : public Scenario
{
public:
    explicit Planning(int keys) : keys_(scatteredKeys(keys))
    {
        initialiseDriver(100);
        intf_addrMerge(&keys_); // creates the areas
    }

    bool step() override { return intf_addrMerge(&keys_) > 0; }

    int elements() const override { return static_cast<int>(keys_.size()); }

    int lineBytes() const override { return 0; }

private:
    QList<KEY_ADDRESS> keys_;
};

/** Reads one register after the other out of a cache of this size, far apart. */
class LookUp : public Scenario
{
public:
    explicit LookUp(int areas) : areas_(areas), type_(QLatin1String("3x"))
    {
        initialiseDriver(100);
        cacheAreas(areas);
    }

    bool step() override
    {
        area_ = (area_ + 7919) % areas_;
        unsigned char out[2];
        return intf_getData(100 + area_ / 65536, &type_, area_ % 65536, 1, out) == 1;
    }

    int elements() const override { return 1; }

    int lineBytes() const override { return 0; }

private:
    int areas_;
    int area_ = 0;
    QString type_;
};

std::vector<QByteArray> steadyRegisters()
{
    return {registerReply(1, 3, 125, 0x1234)};
}

std::vector<QByteArray> fewRegisters()
{
    return {registerReply(1, 3, 25, 0x1234)};
}

std::vector<QByteArray> movingRegisters()
{
    return {registerReply(1, 3, 125, 0x1234), registerReply(1, 3, 125, 0x4321)};
}

std::vector<QByteArray> steadyCoils()
{
    return {coilReply(1, 1, 2000, 0x5A)};
}

std::vector<QByteArray> movingCoils()
{
    return {coilReply(1, 1, 2000, 0x5A), coilReply(1, 1, 2000, 0xA5)};
}

using Maker = std::function<std::unique_ptr<Scenario>()>;

Maker planning(int keys)
{
    return [=] { return std::unique_ptr<Scenario>(new Planning(keys)); };
}

Maker lookUp(int areas)
{
    return [=] { return std::unique_ptr<Scenario>(new LookUp(areas)); };
}

Maker driverPoll(const char *regType, int count, std::vector<QByteArray> (*replies)(), int otherAreas)
{
    return [=] { return std::unique_ptr<Scenario>(new DriverPoll(regType, count, replies(), otherAreas)); };
}

const std::map<std::string, Maker> &makers()
{
    static const std::map<std::string, Maker> table = {
        {"registers_unchanged", driverPoll("4x", 125, steadyRegisters, 0)},
        {"registers_unchanged_few", driverPoll("4x", 25, fewRegisters, 0)},
        {"registers_unchanged_500k", driverPoll("4x", 125, steadyRegisters, 500000)},
        {"registers_changed", driverPoll("4x", 125, movingRegisters, 0)},
        {"registers_changed_500k", driverPoll("4x", 125, movingRegisters, 500000)},
        {"coils_unchanged", driverPoll("0x", 2000, steadyCoils, 0)},
        {"coils_changed", driverPoll("0x", 2000, movingCoils, 0)},
        {"plan_10k_keys", planning(10000)},
        {"plan_20k_keys", planning(20000)},
        {"plan_100k_keys", planning(100000)},
        {"look_up_100", lookUp(100)},
        {"look_up_500k", lookUp(500000)},
        {"libmodbus_registers", [] { return libmodbusRegisters(); }},
        {"libmodbus_coils", [] { return libmodbusCoils(); }},
        {"socket_pair_alone", [] { return socketPairAlone(); }},
#ifdef MODBUS_BENCH_QT_SERIALBUS
        {"qt_serialbus_registers", [] { return qtSerialBusRegisters(); }},
#endif
    };
    return table;
}

} // namespace

std::vector<std::string> scenarioNames()
{
    std::vector<std::string> names;
    for (const auto &entry : makers())
        names.push_back(entry.first);
    return names;
}

std::unique_ptr<Scenario> makeScenario(const std::string &name)
{
    const auto found = makers().find(name);
    return found == makers().end() ? nullptr : found->second();
}
