#include "bench/poll_scenarios.h"

#include "bench/peer_scenarios.h"
#include "bench/plant_keys.h"
#include "bench/polled_blocks.h"

#include <functional>
#include <map>

namespace {

/** Polls blocks given in the order of the plan, each as a request of its own. */
class DriverPoll final : public Scenario
{
public:
    DriverPoll(const std::vector<PolledBlock> &blocks, int otherAreas)
    {
        initialiseDriver(1); // so short that no two blocks are joined
        cacheAreas(otherAreas);
        QList<KEY_ADDRESS> keys;
        for (const PolledBlock &block : blocks) {
            keys << block.key;
            slaves_.push_back(Slave{block.replies, 0});
            elements_ += block.key.count;
        }
        ready_ = intf_addrMerge(&keys) == stepsARound() && readAll();
    }

    bool step() override
    {
        if (!ready_ || intf_getSendFrame(&frame_) != 1)
            return false;
        Slave &slave = slaves_[asked_];
        asked_ = asked_ + 1 < slaves_.size() ? asked_ + 1 : 0;
        QByteArray &reply = slave.replies[slave.next];
        slave.next = slave.next + 1 < slave.replies.size() ? slave.next + 1 : 0;
        return intf_dealRcvFrame(&reply, &information_) == 1;
    }

    int stepsARound() const override { return static_cast<int>(slaves_.size()); }

    int elements() const override { return elements_; }

    int lineBytes() const override { return lineBytes_; }

private:
    struct Slave
    {
        std::vector<QByteArray> replies;
        std::size_t next;
    };

    /** First readings: every reply of every block twice. */
    bool readAll()
    {
        ready_ = true;
        for (int round = 0; round < 4; ++round) {
            lineBytes_ = 0;
            for (int i = 0; i < stepsARound(); ++i) {
                if (!step())
                    return false;
                lineBytes_ += frame_.frameLen + frame_.replyLen;
            }
        }
        return true;
    }

    std::vector<Slave> slaves_;
    std::size_t asked_ = 0;
    int elements_ = 0;
    int lineBytes_ = 0;
    bool ready_ = false;
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

/** The measuring loop alone. */
class Nothing : public Scenario
{
public:
    bool step() override { return true; }

    int elements() const override { return 0; }

    int lineBytes() const override { return 0; }
};

using Maker = std::function<std::unique_ptr<Scenario>()>;

Maker planning(int keys)
{
    return [=] { return std::unique_ptr<Scenario>(new Planning(keys)); };
}

Maker lookUp(int areas)
{
    return [=] { return std::unique_ptr<Scenario>(new LookUp(areas)); };
}

Maker driverPoll(std::vector<PolledBlock> (*blocks)(), int otherAreas = 0)
{
    return [=] { return std::unique_ptr<Scenario>(new DriverPoll(blocks(), otherAreas)); };
}

/** Two requests that are alike. */
template <PolledBlock (*block)(int station)>
std::vector<PolledBlock> two()
{
    return {block(1), block(2)};
}

/** Two requests: this block at station 1, then registers of station 2 of which each differs in every round. */
template <PolledBlock (*first)(int station)>
std::vector<PolledBlock> besideAChangingOne()
{
    return {first(1), movingRegisters(2)};
}

/** One request. */
template <PolledBlock (*block)(int station)>
std::vector<PolledBlock> alone()
{
    return {block(1)};
}

/**
 * 4,000 requests that are alike, a hundred each of forty stations. Requests of a
 * station begin 8 values apart: so many coils have room in memory only where
 * requests share them.
 */
template <PolledBlock (*block)(int station, int address)>
std::vector<PolledBlock> longPlan()
{
    std::vector<PolledBlock> blocks;
    for (int station = 1; station <= 40; ++station) {
        for (int i = 0; i < 100; ++i)
            blocks.push_back(block(station, 8 * i));
    }
    return blocks;
}

const std::map<std::string, Maker> &makers()
{
    static const std::map<std::string, Maker> table = {
        {"registers_unchanged", driverPoll(alone<steadyRegisters>)},
        {"registers_unchanged_few", driverPoll(alone<fewRegisters>)},
        {"registers_unchanged_500k", driverPoll(alone<steadyRegisters>, 500000)},
        {"registers_one_changed", driverPoll(alone<oneMovingRegister>)},
        {"registers_changed", driverPoll(alone<movingRegisters>)},
        {"registers_changed_500k", driverPoll(alone<movingRegisters>, 500000)},
        {"coils_unchanged", driverPoll(alone<steadyCoils>)},
        {"coils_unchanged_500k", driverPoll(alone<steadyCoils>, 500000)},
        {"coils_changed", driverPoll(alone<movingCoils>)},
        {"round_registers_unchanged", driverPoll(two<steadyRegisters>)},
        {"round_coils_unchanged", driverPoll(two<steadyCoils>)},
        {"round_registers_beside_changed", driverPoll(besideAChangingOne<steadyRegisters>)},
        {"round_coils_beside_changed", driverPoll(besideAChangingOne<steadyCoils>)},
        {"long_round_registers_unchanged", driverPoll(longPlan<steadyRegistersAt>)},
        {"long_round_coils_unchanged", driverPoll(longPlan<steadyCoilsAt>)},
        {"plan_10k_keys", planning(10000)},
        {"plan_20k_keys", planning(20000)},
        {"plan_100k_keys", planning(100000)},
        {"look_up_100", lookUp(100)},
        {"look_up_500k", lookUp(500000)},
        {"nothing", [] { return std::unique_ptr<Scenario>(new Nothing); }},
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
