#include "host/cli/link_setup.h"

#include <algorithm>

namespace rtu {

namespace {

Duration seconds(double number)
{
    return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(number));
}

} // namespace

LinkSettings linkSettings(const Options &options, const LineParameters &line, const LineTiming &timing,
                          const std::string &driver)
{
    LinkSettings settings;
    settings.parameters = line;
    settings.parameters.dataBits = 8; // those in use have been judged when the port was opened
    settings.driver = QString::fromStdString(driver);
    settings.attempts = std::max(1, options.property.attempts);
    settings.maxWords = options.property.maxWords / 2 * 2;
    settings.localWritesOnly = options.property.localWriteOnly;
    if (options.silence >= 0)
        settings.silence = seconds(options.silence);
    settings.replyGap = options.replyGap > 0 ? seconds(options.replyGap) : timing.replyGap();
    settings.replyTimeout = seconds(options.replyTimeout);
    settings.lateReplyGuard = seconds(options.lateGuard >= 0 ? options.lateGuard : options.replyTimeout);
    settings.broadcastDelay = seconds(options.broadcastDelay);
    settings.roundInterval = seconds(options.pollInterval);
    settings.echo = options.removeEcho ? Echo::Always : Echo::Detect;
    return settings;
}

} // namespace rtu
