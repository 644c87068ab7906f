/**
 * @file
 * A one-off read on its way.
 */
#ifndef MODBUS_RTU_HOST_ONE_OFF_READ_H
#define MODBUS_RTU_HOST_ONE_OFF_READ_H

#include <modbus_rtu_host/export.h>
#include <modbus_rtu_host/read_result.h>

#include <memory>

namespace rtu {

struct ReadJob;

/** A handle: copies mean the same read. Every call from any thread. */
class MODBUS_RTU_HOST_EXPORT OneOffRead
{
public:
    /** No read; Link::read() gives real ones. */
    OneOffRead();
    explicit OneOffRead(std::shared_ptr<ReadJob> job);
    OneOffRead(const OneOffRead &other);
    OneOffRead &operator=(const OneOffRead &other);
    ~OneOffRead();

    bool ended() const;
    /** Meaningful once it has ended. */
    ReadResult result() const;
    /** @return true: it ends as ReadEnd::Cancelled. False: too late */
    bool cancel();
    /** As Write::wait(). */
    bool wait(Duration time) const;

private:
    std::shared_ptr<ReadJob> m_job;
};

} // namespace rtu

#endif
