// The handles of what is asked of a link.

#include <modbus_rtu_host/one_off_read.h>
#include <modbus_rtu_host/transfer.h>
#include <modbus_rtu_host/write.h>

#include "kit/link/write_queue.h"
#include "kit/transfer/read_queue.h"
#include "kit/transfer/transfer_queue.h"

namespace rtu {

Write::Write() = default;
Write::Write(std::shared_ptr<WriteJob> job) : m_job(std::move(job)) {}
Write::Write(const Write &other) = default;
Write &Write::operator=(const Write &other) = default;
Write::~Write() = default;

bool Write::ended() const
{
    return !m_job || m_job->ended();
}

WriteResult Write::result() const
{
    return m_job ? m_job->outcome() : WriteResult();
}

bool Write::cancel()
{
    return m_job && m_job->cancel();
}

bool Write::wait(Duration time) const
{
    return !m_job || m_job->wait(time);
}

OneOffRead::OneOffRead() = default;
OneOffRead::OneOffRead(std::shared_ptr<ReadJob> job) : m_job(std::move(job)) {}
OneOffRead::OneOffRead(const OneOffRead &other) = default;
OneOffRead &OneOffRead::operator=(const OneOffRead &other) = default;
OneOffRead::~OneOffRead() = default;

bool OneOffRead::ended() const
{
    return !m_job || m_job->ended();
}

ReadResult OneOffRead::result() const
{
    return m_job ? m_job->outcome() : ReadResult();
}

bool OneOffRead::cancel()
{
    return m_job && m_job->cancel();
}

bool OneOffRead::wait(Duration time) const
{
    return !m_job || m_job->wait(time);
}

Transfer::Transfer() = default;
Transfer::Transfer(std::shared_ptr<TransferJob> job) : m_job(std::move(job)) {}
Transfer::Transfer(const Transfer &other) = default;
Transfer &Transfer::operator=(const Transfer &other) = default;
Transfer::~Transfer() = default;

bool Transfer::ended() const
{
    return !m_job || m_job->ended();
}

int Transfer::rowsEnded() const
{
    if (!m_job)
        return 0;
    const Locked held(m_job->lock->mutex);
    return m_job->state == JobState::Ended ? static_cast<int>(m_job->layouts.size()) : m_job->rowsEnded;
}

TransferResult Transfer::result() const
{
    return m_job ? m_job->outcome() : TransferResult();
}

bool Transfer::cancel()
{
    return m_job && m_job->cancel();
}

bool Transfer::wait(Duration time) const
{
    return !m_job || m_job->wait(time);
}

} // namespace rtu
