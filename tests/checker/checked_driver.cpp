#include "checker/checked_driver.h"

#include "checker/instance.h"
#include "support/driver_reset.h"

#include <mutex>
#include <new>
#include <set>

namespace checker {

Instance instance;

const DriverCalls &driverCalls()
{
    static const DriverCalls calls = {
#define CHECKER_CALL(name) &intf_##name,
        MODBUS_RTU_ENTRY_POINTS(CHECKER_CALL)
#undef CHECKER_CALL
    };
    return calls;
}

namespace {

TimePoint standingTime;

TimePoint readStandingTime()
{
    return standingTime;
}

} // namespace

TimePoint (*now)() = &readStandingTime;

} // namespace checker

namespace checked {

namespace {

std::mutex heardMutex;
std::vector<Heard> heard;
void (*currentListener)(const Heard &) = nullptr;

struct Limit
{
    const void *buffer;
    std::size_t usable;
};
std::vector<Limit> limits;

} // namespace

void renew()
{
    setListener(nullptr);
    limits.clear();
    support::resetDriver();
    checker::now = &checker::readStandingTime;
    checker::instance.~Instance();
    new (&checker::instance) checker::Instance;
    takeFindings();
}

std::vector<Heard> takeFindings()
{
    const std::lock_guard<std::mutex> locked(heardMutex);
    std::vector<Heard> taken;
    taken.swap(heard);
    return taken;
}

std::string takeNames()
{
    std::set<std::string> names;
    for (const Heard &one : takeFindings())
        names.insert(one.name);
    std::string joined;
    for (const std::string &name : names)
        joined += (joined.empty() ? "" : " ") + name;
    return joined;
}

void setListener(void (*listener)(const Heard &))
{
    const std::lock_guard<std::mutex> locked(heardMutex);
    currentListener = listener;
}

void pass(int milliseconds)
{
    checker::standingTime += checker::Milliseconds(milliseconds);
}

void useRealTime()
{
    checker::now = &checker::Clock::now;
}

void limitBuffer(const void *buffer, std::size_t usable)
{
    limits.push_back({buffer, usable});
}

} // namespace checked

// The program is linked so that the checker finds this, as in a host that wants to hear.
extern "C" void modbus_rtu_check_finding(const char *name, int severity, const char *text, int count)
{
    const checked::Heard one = {name, severity, text, count};
    void (*listener)(const checked::Heard &) = nullptr;
    {
        const std::lock_guard<std::mutex> locked(checked::heardMutex);
        checked::heard.push_back(one);
        listener = checked::currentListener;
    }
    if (listener)
        listener(one);
}

#if !defined(__SANITIZE_ADDRESS__)
/** The sanitizer's question, answered from limitBuffer(). */
extern "C" __attribute__((visibility("default"))) void *__asan_region_is_poisoned(void *begin, std::size_t size)
{
    for (const checked::Limit &limit : checked::limits) {
        if (limit.buffer == begin && limit.usable < size)
            return static_cast<char *>(begin) + limit.usable;
    }
    return nullptr;
}
#endif
