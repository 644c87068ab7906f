/**
 * @file
 * A write on its way.
 */
#ifndef MODBUS_RTU_HOST_WRITE_H
#define MODBUS_RTU_HOST_WRITE_H

#include <modbus_rtu_host/export.h>
#include <modbus_rtu_host/write_result.h>

#include <memory>

namespace rtu {

struct WriteJob;

/** A handle: copies mean the same write. Every call from any thread. */
class MODBUS_RTU_HOST_EXPORT Write
{
public:
    /** No write; Link::write() gives real ones. */
    Write();
    explicit Write(std::shared_ptr<WriteJob> job);
    Write(const Write &other);
    Write &operator=(const Write &other);
    ~Write();

    bool ended() const;

    /** Meaningful once it has ended. */
    WriteResult result() const;

    /**
     * Takes the write back.
     *
     * @return true: nothing of it has been or will be sent, and it ends as
     *         WriteEnd::Cancelled. False: too late
     */
    bool cancel();

    /**
     * Waits for the end, by the clock of this machine. Not from a callback, and not
     * on the thread that steps the link: nothing would go on meanwhile.
     *
     * @return false when the time is over first
     */
    bool wait(Duration time) const;

private:
    std::shared_ptr<WriteJob> m_job;
};

} // namespace rtu

#endif
