/**
 * @file
 * A recipe transfer on its way.
 */
#ifndef MODBUS_RTU_HOST_TRANSFER_H
#define MODBUS_RTU_HOST_TRANSFER_H

#include <modbus_rtu_host/export.h>
#include <modbus_rtu_host/transfer_result.h>

#include <memory>

namespace rtu {

struct TransferJob;

/** A handle: copies mean the same transfer. Every call from any thread. */
class MODBUS_RTU_HOST_EXPORT Transfer
{
public:
    /** No transfer; Link::load(), save() and compare() give real ones. */
    Transfer();
    explicit Transfer(std::shared_ptr<TransferJob> job);
    Transfer(const Transfer &other);
    Transfer &operator=(const Transfer &other);
    ~Transfer();

    bool ended() const;
    /** Rows whose end is known so far, from the first on. */
    int rowsEnded() const;
    /** Meaningful once it has ended. */
    TransferResult result() const;
    /** Ends it after the block that is on the line. @return false: it has ended already */
    bool cancel();
    /** As Write::wait(). */
    bool wait(Duration time) const;

private:
    std::shared_ptr<TransferJob> m_job;
};

} // namespace rtu

#endif
