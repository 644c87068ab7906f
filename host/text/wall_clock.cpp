#include "host/text/wall_clock.h"

#include "host/text/numbers.h"

#include <fmt/format.h>

#include <cmath>
#include <ctime>

namespace rtu {

namespace {

struct DayTime
{
    std::tm calendar;
    int milliseconds;
};

DayTime dayTime(TimePoint time)
{
    using namespace std::chrono;
    const auto wall = system_clock::now() + duration_cast<system_clock::duration>(time - SteadyClock::now());
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

std::string timeOfDay(TimePoint time)
{
    const DayTime day = dayTime(time);
    return print("%H:%M:%S.", day.calendar) + fmt::format("{:03}", day.milliseconds);
}

std::string timeStamp(TimePoint time)
{
    const DayTime day = dayTime(time);
    return print("%Y-%m-%dT%H:%M:%S.", day.calendar) + fmt::format("{:03}", day.milliseconds)
           + print("%z", day.calendar);
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
