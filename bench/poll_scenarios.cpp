#include "bench/poll_scenarios.h"

#include "bench/peer_scenarios.h"
#include "bench/replies.h"
#include "driver/modbus_rtu_interface.h"

#include <functional>
#include <map>

namespace {

int reportsSeen = 0;

int countReport(int, int, QString *, int)
{
    ++reportsSeen;
    return 0;
}

KEY_ADDRESS key(int station, const char *regType, int startAddr, int count)
{
    KEY_ADDRESS k = KEY_ADDRESS();
    k.station = station;
    k.regType = QLatin1String(regType);
    k.startAddr = startAddr;
    k.count = count;
    return k;
}

void initialise(int maxReadWords)
{
    static std::vector<unsigned char> area(60117, 0);
    static QMutex mutex;
    int status = 0;
    const std::string property = "1#0#0#3#" + std::to_string(maxReadWords);
    intf_setAddrValueChangeCallBack(countReport);
    intf_initProperty(area.data(), 0, nullptr, &status, property.c_str(), &mutex);
}

/** Fills the cache with areas of another station, as a large plant would. */
void fillCache(int areas)
{
    std::vector<unsigned char> out(2 * 65536);
    QString type = QLatin1String("3x");
    for (int station = 100; areas > 0; ++station, areas -= 65536) {
        const int count = areas < 65536 ? areas : 65536;
        intf_getData(station, &type, 0, count, out.data());
    }
}

/** Polls one block of the driver with replies that take turns. */
class DriverPoll : public Scenario
{
public:
    DriverPoll(const char *regType, int count, const std::vector<QByteArray> &replies, int otherAreas)
        : replies_(replies)
        , count_(count)
    {
        initialise(2000);
        fillCache(otherAreas);
        QList<KEY_ADDRESS> keys;
        keys << key(1, regType, 0, count);
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

std::vector<QByteArray> steadyRegisters()
{
    return {registerReply(1, 3, 125, 0x1234)};
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

Maker driverPoll(const char *regType, int count, std::vector<QByteArray> (*replies)(), int otherAreas)
{
    return [=] { return std::unique_ptr<Scenario>(new DriverPoll(regType, count, replies(), otherAreas)); };
}

const std::map<std::string, Maker> &makers()
{
    static const std::map<std::string, Maker> table = {
        {"registers_unchanged", driverPoll("4x", 125, steadyRegisters, 0)},
        {"registers_unchanged_500k", driverPoll("4x", 125, steadyRegisters, 500000)},
        {"registers_changed", driverPoll("4x", 125, movingRegisters, 0)},
        {"registers_changed_500k", driverPoll("4x", 125, movingRegisters, 500000)},
        {"coils_unchanged", driverPoll("0x", 2000, steadyCoils, 0)},
        {"coils_changed", driverPoll("0x", 2000, movingCoils, 0)},
        {"libmodbus_registers", [] { return libmodbusRegisters(); }},
        {"libmodbus_coils", [] { return libmodbusCoils(); }},
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
