#include "bench/peer_scenarios.h"

#include "bench/replies.h"
#include "driver/qt_compat.h"

#include <QtSerialBus/QModbusClient>

namespace {

/** Gives access to the decoding of replies; there is no line behind it. */
class ReplyDecoder : public QModbusClient
{
public:
    bool decode(const QModbusResponse &response, QModbusDataUnit *values) { return processResponse(response, values); }

protected:
    bool open() override { return false; }
    void close() override {}
};

// Registers only: driven like this the module takes no reply of 2000 coils.
class QtSerialBusPoll : public Scenario
{
public:
    QtSerialBusPoll(int count, QModbusDataUnit::RegisterType type, const QByteArray &reply)
        : count_(count)
        , type_(type)
        , reply_(reply)
    {
    }

    bool step() override
    {
        const auto function = static_cast<QModbusPdu::FunctionCode>(static_cast<unsigned char>(reply_.at(1)));
        const QModbusResponse response(function, reply_.mid(2, sizeOf(reply_) - 4));
        QModbusDataUnit values(type_, 0, static_cast<quint16>(count_));
        return decoder_.decode(response, &values) && values.valueCount() >= static_cast<uint>(count_);
    }

    int elements() const override { return count_; }

    int lineBytes() const override { return 8 + sizeOf(reply_); }

private:
    int count_;
    QModbusDataUnit::RegisterType type_;
    QByteArray reply_;
    ReplyDecoder decoder_;
};

} // namespace

std::unique_ptr<Scenario> qtSerialBusRegisters()
{
    return std::unique_ptr<Scenario>(new QtSerialBusPoll(125, QModbusDataUnit::HoldingRegisters,
                                                         support::wordsReply(1, 3, registerRun(0x1234, 125))));
}
