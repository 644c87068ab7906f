/**
 * @file
 * Everything that can be set of a link.
 */
#ifndef MODBUS_RTU_HOST_LINK_SETTINGS_H
#define MODBUS_RTU_HOST_LINK_SETTINGS_H

#include <modbus_rtu_host/line_parameters.h>
#include <modbus_rtu_host/station_settings.h>

#include <QtCore/QString>

#include <map>

namespace rtu {

/** What to do about an adapter that hears itself. */
enum class Echo {
    Detect, ///< found out from the replies to reads, and dropped from then on
    Always, ///< every request comes back; the first frames are dropped as well
    Never,
};

/** No time may be longer than a year. */
struct LinkSettings
{
    QString port;              ///< "/dev/ttyUSB0", a pseudo-terminal, or "tcp:HOST:PORT"
    LineParameters parameters; ///< of a serial port
    QString driver;            ///< file or folder of the driver; empty: beside the program, then where the system looks

    int attempts = 3;   ///< 1 to 1000: sendings until a request is given up
    int maxWords = 120; ///< even, 2 to 120: registers in the longest request

    Duration replyTimeout = std::chrono::milliseconds(1000); ///< from the end of a request to the first byte
    /** Quiet time before a frame. Below 0: 3.5 characters, 1.75 ms above 19200 baud. */
    Duration silence{-1};
    /** Pause that ends a reply of other than the expected length. Below 0: as the line has it, 50 ms on a serial port. */
    Duration replyGap{-1};
    Duration lateReplyGuard = std::chrono::milliseconds(1000); ///< listened for a late reply after a time-out
    Duration broadcastDelay = std::chrono::milliseconds(100);  ///< that slaves get to act on a broadcast
    Duration reopenInterval = std::chrono::milliseconds(500);  ///< between tries to open a port that is away
    Duration roundInterval{0};                                 ///< start of a round to the start of the next
    std::map<int, StationSettings> stations;                   ///< by station

    Echo echo = Echo::Detect;
    bool checkReplies = true; ///< compare station, function, byte count and echoed address with the request

    /** A silent station is asked again this often at most; asking takes a twentieth of the line at most. */
    Duration questionInterval = std::chrono::seconds(3);

    /** Writes that wait while the port is away are kept this long; 0: they end as not sent. */
    Duration keepWrites{0};
    bool localWritesOnly = false; ///< writes are shown and never sent, and no recipe is loaded

    /** Where a merged block is refused and its tags are readable alone, read them alone. */
    bool findHoles = true;
};

} // namespace rtu

#endif
