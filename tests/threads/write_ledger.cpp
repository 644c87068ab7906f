#include "threads/write_ledger.h"

#include <algorithm>
#include <cstring>

namespace threads {

namespace {

/** Host bytes of one element. Bits in registers take one, but are cut as if they took two. */
int bytesPerElement(const char *regType)
{
    return std::strcmp(regType, "0x") == 0 ? 1 : 2;
}

} // namespace

WriteLedger::WriteLedger(int requestLimit) : limit(requestLimit), open(0), unknown(0), stopped(false) {}

bool WriteLedger::openWhenRoom(const HostWrite &write, int room)
{
    const std::vector<HostWrite> requests = requestsOf(write);
    std::unique_lock<std::mutex> locked(mutex);
    changed.wait(locked, [&] { return stopped || fits(requests, room); });
    if (stopped)
        return false;
    add(requests);
    return true;
}

bool WriteLedger::tryOpen(const HostWrite &write, int room)
{
    const std::vector<HostWrite> requests = requestsOf(write);
    const std::lock_guard<std::mutex> locked(mutex);
    if (stopped || !fits(requests, room))
        return false;
    add(requests);
    return true;
}

void WriteLedger::close(const VARIABLE &unit, WriteEnd end)
{
    const std::lock_guard<std::mutex> locked(mutex);
    const std::map<Key, LedgerEntry>::iterator found = book.find(Key(unit.userData, unit.startAddr));
    if (found == book.end()) {
        ++unknown;
        return;
    }
    found->second.end = end;
    if (++found->second.timesClosed == 1)
        --open;
    changed.notify_all();
}

void WriteLedger::stop()
{
    const std::lock_guard<std::mutex> locked(mutex);
    stopped = true;
    changed.notify_all();
}

int WriteLedger::openRequests() const
{
    const std::lock_guard<std::mutex> locked(mutex);
    return open;
}

std::vector<LedgerEntry> WriteLedger::entries() const
{
    std::vector<LedgerEntry> all;
    for (const auto &entry : book)
        all.push_back(entry.second);
    return all;
}

int WriteLedger::number(WriteEnd end) const
{
    return static_cast<int>(std::count_if(
        book.begin(), book.end(), [end](const std::pair<const Key, LedgerEntry> &e) { return e.second.end == end; }));
}

std::vector<HostWrite> WriteLedger::requestsOf(const HostWrite &write) const
{
    std::vector<HostWrite> requests;
    const bool cut = bytesPerElement(write.regType) == 2;
    const int step = cut ? limit : std::max(write.count, 1);
    for (int first = 0; first < write.count; first += step) {
        HostWrite part = write;
        part.address += first;
        part.count = std::min(step, write.count - first);
        const int width = bytesPerElement(write.regType);
        part.data.assign(write.data.begin() + width * first, write.data.begin() + width * (first + part.count));
        requests.push_back(part);
    }
    return requests;
}

bool WriteLedger::fits(const std::vector<HostWrite> &requests, int room) const
{
    return open + static_cast<int>(requests.size()) <= room;
}

void WriteLedger::add(const std::vector<HostWrite> &requests)
{
    for (const HostWrite &request : requests) {
        const LedgerEntry entry = {request, StillOpen, 0};
        book[Key(request.tag, request.address)] = entry;
        ++open;
    }
}

void handToDriver(const HostWrite &write)
{
    QString type = QString::fromLatin1(write.regType);
    std::vector<unsigned char> data(write.data);
    intf_setData(write.station, &type, write.address, write.count, data.data(), write.tag);
}

} // namespace threads
