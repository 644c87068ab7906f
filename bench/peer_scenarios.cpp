#include "bench/peer_scenarios.h"

#include "bench/replies.h"
#include "driver/qt_compat.h"

#include <modbus/modbus.h>

#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

/** libmodbus as master on one end of a socket pair; the reply waits at the other end before it asks. */
class LibmodbusPoll : public Scenario
{
public:
    LibmodbusPoll(int count, const QByteArray &reply)
        : count_(count)
        , reply_(reply)
        , context_(modbus_new_rtu("/dev/null", 115200, 'N', 8, 1))
    {
        if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends_) != 0)
            return;
        modbus_set_slave(context_, 1);
        modbus_set_socket(context_, ends_[0]);
        ready_ = true;
    }

    ~LibmodbusPoll() override
    {
        modbus_free(context_);
        close(ends_[0]);
        close(ends_[1]);
    }

    bool step() override
    {
        if (!ready_ || write(ends_[1], reply_.constData(), static_cast<std::size_t>(sizeOf(reply_))) != sizeOf(reply_))
            return false;
        const bool done = read() == count_;
        unsigned char request[8];
        return recv(ends_[1], request, sizeof request, MSG_WAITALL) == 8 && done;
    }

    int elements() const override { return count_; }

    int lineBytes() const override { return 8 + sizeOf(reply_); }

protected:
    virtual int read() = 0;

    modbus_t *context() const { return context_; }

private:
    int count_;
    QByteArray reply_;
    modbus_t *context_;
    int ends_[2] = {-1, -1};
    bool ready_ = false;
};

class LibmodbusRegisters : public LibmodbusPoll
{
public:
    LibmodbusRegisters() : LibmodbusPoll(125, support::wordsReply(1, 3, registerRun(0x1234, 125))) {}

private:
    int read() override { return modbus_read_registers(context(), 0, 125, values_); }

    uint16_t values_[125] = {};
};

class LibmodbusCoils : public LibmodbusPoll
{
public:
    LibmodbusCoils() : LibmodbusPoll(2000, support::bitsReply(1, 1, coilRun(2000, 0x5A))) {}

private:
    int read() override { return modbus_read_bits(context(), 0, 2000, values_); }

    uint8_t values_[2000] = {};
};

/** The write, waits and reads of one libmodbus transaction: function first, then byte count, then the rest. */
class SocketPairAlone : public Scenario
{
public:
    SocketPairAlone() : reply_(support::wordsReply(1, 3, registerRun(0x1234, 125)))
    {
        ready_ = socketpair(AF_UNIX, SOCK_STREAM, 0, ends_) == 0;
    }

    ~SocketPairAlone() override
    {
        close(ends_[0]);
        close(ends_[1]);
    }

    bool step() override
    {
        unsigned char request[8] = {};
        return ready_ && send(1, reply_.constData(), sizeOf(reply_)) && send(0, request, sizeof request) && receive(2)
               && receive(1) && receive(sizeOf(reply_) - 3)
               && recv(ends_[1], request, sizeof request, MSG_WAITALL) == 8;
    }

    int elements() const override { return 125; }

    int lineBytes() const override { return 8 + sizeOf(reply_); }

private:
    bool send(int end, const void *bytes, int count)
    {
        return write(ends_[end], bytes, static_cast<std::size_t>(count)) == count;
    }

    bool receive(int count)
    {
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(ends_[0], &readable);
        timeval patience = {1, 0};
        return select(ends_[0] + 1, &readable, nullptr, nullptr, &patience) == 1
               && ::read(ends_[0], buffer_, static_cast<std::size_t>(count)) == count;
    }

    QByteArray reply_;
    char buffer_[256] = {};
    int ends_[2] = {-1, -1};
    bool ready_ = false;
};

} // namespace

std::unique_ptr<Scenario> socketPairAlone()
{
    return std::unique_ptr<Scenario>(new SocketPairAlone);
}

std::unique_ptr<Scenario> libmodbusRegisters()
{
    return std::unique_ptr<Scenario>(new LibmodbusRegisters);
}

std::unique_ptr<Scenario> libmodbusCoils()
{
    return std::unique_ptr<Scenario>(new LibmodbusCoils);
}
