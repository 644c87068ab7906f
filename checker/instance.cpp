#include "checker/instance.h"

#include "checker/real_driver.h"

namespace checker {

namespace {

/** Loaded with the library, so that hosts find an unloadable driver at once and not at their first call. */
class LoadedDriver
{
public:
    LoadedDriver()
    {
        if (!driver.error().empty())
            instance.contract.tell(DriverMissing, LoadingCall, driver.error() + ", so every call does nothing");
    }
    ~LoadedDriver() { instance.contract.unloading(); }

    const DriverCalls &calls() const { return driver.calls(); }

private:
    RealDriver driver;
};

} // namespace

TimePoint (*now)() = &Clock::now;

// In this order: the driver goes before what watches over it.
Instance instance;

static LoadedDriver loadedDriver;

const DriverCalls &driverCalls()
{
    return loadedDriver.calls();
}

} // namespace checker
