#include "kit/transfer/read_queue.h"

#include <algorithm>

namespace rtu {

void askForArea(DriverLibrary &driver, const Area &area, Source source)
{
    KEY_ADDRESS key = KEY_ADDRESS();
    key.station = area.station;
    key.regType = area.regType();
    key.startAddr = area.first;
    key.count = area.count;
    key.field7 = area.isBits() ? -1 : 1;
    driver.addConditionRead(&key, static_cast<int>(source));
}

bool ReadQueue::feed()
{
    if (m_inDriver)
        return true;
    while (!m_current && !m_waiting.empty()) {
        const ReadJobPtr job = m_waiting.front();
        m_waiting.pop_front();
        if (job->take())
            m_current = job;
        else
            endUnread(job, ReadEnd::Cancelled);
    }
    endWaiting([](const ReadJob &job) { return job.takenBack(); }, ReadEnd::Cancelled);
    if (m_current)
        handPiece();
    return m_inDriver;
}

void ReadQueue::handPiece()
{
    const TagLayout &layout = *m_current->layout;
    const int most = valuesPerRequest(layout.type(), m_parts.settings.maxWords);
    const int values = std::min(most, layout.definition().values - m_current->handed);
    askForArea(m_parts.driver, layout.area(m_current->handed, values), Source::OneOff);
    m_current->handed += values;
    m_inDriver = true;
}

void ReadQueue::requestDone(const RequestEnd &done)
{
    if (!m_current || !m_inDriver)
        return;
    m_inDriver = false;
    if (m_current->oldest == TimePoint())
        m_current->oldest = done.time;
    if (done.good() && m_current->handed < m_current->layout->definition().values)
        return; // the next piece follows
    endCurrent(done);
}

void ReadQueue::endCurrent(const RequestEnd &done)
{
    const ReadJobPtr job = m_current;
    m_current.reset();
    ReadResult result;
    if (done.good()) {
        result.end = ReadEnd::Good;
        result.value = TagValue(job->layout, cachedValues(m_parts.driver, *job->layout));
        result.value.quality = Quality::Good;
        result.value.time = job->oldest;
    } else {
        result.end = done.refused() ? ReadEnd::Refused : ReadEnd::Silent;
        result.exceptionCode = done.refused() ? done.exceptionCode : 0;
    }
    end(job, result);
}

/** One that waits ends so, unless its caller has taken it back. */
void ReadQueue::endUnread(const ReadJobPtr &job, ReadEnd how)
{
    ReadResult result;
    result.end = job->take() ? how : ReadEnd::Cancelled;
    end(job, result);
}

void ReadQueue::end(const ReadJobPtr &job, const ReadResult &result)
{
    if (job->inside)
        job->inside(result);
    endJob(m_parts, job, result);
}

template <typename Condition>
void ReadQueue::endWaiting(Condition condition, ReadEnd how)
{
    std::deque<ReadJobPtr> left;
    std::deque<ReadJobPtr> ending;
    for (const ReadJobPtr &job : m_waiting)
        (condition(*job) ? ending : left).push_back(job);
    m_waiting.swap(left);
    for (const ReadJobPtr &job : ending)
        endUnread(job, how);
}

void ReadQueue::stationSilent(int station)
{
    endWaiting([station](const ReadJob &job) { return job.layout->definition().station == station; },
               ReadEnd::NotTried);
}

void ReadQueue::portAway()
{
    if (m_current && !m_inDriver) {
        const ReadJobPtr job = m_current;
        m_current.reset();
        ReadResult result;
        result.end = ReadEnd::Silent;
        end(job, result);
    }
    endWaiting([](const ReadJob &) { return true; }, ReadEnd::NotTried);
}

void ReadQueue::endAll()
{
    m_inDriver = false;
    portAway();
}

} // namespace rtu
