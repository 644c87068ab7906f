#include "host/text/wall_clock.h"

#include "host/text/numbers.h"

#include <atomic>
#include <cmath>
#include <ctime>

namespace rtu {

namespace {

struct DayTime
{
    std::tm calendar;
    int milliseconds;
};

using std::chrono::system_clock;
using WallOffset = system_clock::duration; ///< since the line's clock began

/** How far the clocks lie apart; read in between, where the program was not held up. */
WallOffset measuredOffset()
{
    const int tries = 5;
    WallOffset offset{0};
    Duration narrowest = Duration::max();
    for (int i = 0; i < tries; ++i) {
        const TimePoint before = SteadyClock::now();
        const auto wall = system_clock::now();
        const Duration took = SteadyClock::now() - before;
        if (took >= narrowest)
            continue;
        narrowest = took;
        offset =
            wall.time_since_epoch() - std::chrono::duration_cast<WallOffset>((before + took / 2).time_since_epoch());
    }
    return offset;
}

const WallOffset::rep NotSet = WallOffset::min().count();
std::atomic<WallOffset::rep> setOffset{NotSet};

/** The same for every time, so that a time is always printed alike, until somebody sets the clock. */
WallOffset wallOffset()
{
    const WallOffset::rep set = setOffset;
    if (set != NotSet)
        return WallOffset(set);
    const WallOffset nothing = std::chrono::milliseconds(2);
    static std::atomic<WallOffset::rep> kept{measuredOffset().count()};
    const WallOffset measured = measuredOffset();
    const WallOffset moved = measured - WallOffset(kept);
    if (moved > nothing || moved < -nothing)
        kept = measured.count();
    return WallOffset(kept);
}

DayTime dayTime(TimePoint time)
{
    using namespace std::chrono;
    const system_clock::time_point wall(wallOffset() + duration_cast<WallOffset>(time.time_since_epoch()));
    const auto milliseconds = duration_cast<std::chrono::milliseconds>(wall.time_since_epoch()).count();
    const std::time_t seconds = static_cast<std::time_t>(milliseconds / 1000);
    DayTime result;
    ::localtime_r(&seconds, &result.calendar);
    result.milliseconds = static_cast<int>(milliseconds % 1000);
    return result;
}

std::string print(const char *pattern, const std::tm &calendar)
{
    char text[64];
    return std::string(text, std::strftime(text, sizeof(text), pattern, &calendar));
}

std::string rounded(double number, const char *unit)
{
    return fixed(number, number < 99.95 ? 1 : 0) + " " + unit;
}

} // namespace

void setTimeOfDay(std::chrono::nanoseconds atOrigin)
{
    setOffset = std::chrono::duration_cast<WallOffset>(atOrigin).count();
}

std::string timeOfDay(TimePoint time)
{
    const DayTime day = dayTime(time);
    return print("%H:%M:%S.", day.calendar) + zeroPadded(day.milliseconds, 3);
}

std::string timeStamp(TimePoint time)
{
    const DayTime day = dayTime(time);
    const std::string zone = print("%z", day.calendar); // +0200, without the colon that RFC 3339 wants
    return print("%Y-%m-%dT%H:%M:%S.", day.calendar) + zeroPadded(day.milliseconds, 3) + zone.substr(0, 3) + ":"
           + zone.substr(3);
}

std::string durationText(Duration duration)
{
    const double seconds = toSeconds(duration);
    if (std::abs(seconds) < 0.001)
        return std::to_string(std::lround(seconds * 1e6)) + " us";
    return seconds < 1 ? rounded(seconds * 1e3, "ms") : rounded(seconds, "s");
}

double toSeconds(Duration duration)
{
    return std::chrono::duration<double>(duration).count();
}

} // namespace rtu
