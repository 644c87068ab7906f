/**
 * @file
 * Which stations answer, and when a silent one is asked again.
 *
 * A station that was silent for a whole request is taken for dead: its cyclic reads
 * cost no line time any more. It is asked every few seconds, though not while a late
 * reply to the question before may come, and for not much longer than it used to need;
 * some questions wait longer, by turns up to the full time-out, so that a station that
 * came back slower is found as well. All questions together take a twentieth of the
 * line at most: time that passes earns credit, asking spends it.
 */
#ifndef KIT_POLL_STATION_HEALTH_H
#define KIT_POLL_STATION_HEALTH_H

#include <modbus_rtu_host/link_settings.h>

#include <map>
#include <set>

namespace rtu {

class StationHealth
{
public:
    /** The full time-out of a question is the reply time-out of its station. */
    explicit StationHealth(const LinkSettings &settings);

    bool dead(int station) const;

    /** The stations that are polled: only these are asked. */
    void setPolled(const std::set<int> &stations);

    /** Whether it is this dead station's turn to be asked, and there is line time to spare. */
    bool mayAsk(int station, TimePoint now);

    /** Whether this dead station is the next to be asked. */
    bool isTurnOf(int station) const;

    /** How long a question to this station waits for the first byte. */
    Duration questionTime(int station) const;

    /** A dead station was asked, in vain or not. @param cost line time that it took */
    void asked(int station, TimePoint now, Duration cost);

    /** It made itself heard. @param delay from the end of the request to the first byte. True: it was dead */
    bool heard(int station, Duration delay);

    /** It was silent for a whole request. True: it was alive until now */
    bool silent(int station, TimePoint now);

    /** When the next question may be asked; TimePoint::max() when there is nobody to ask. */
    TimePoint nextQuestion(TimePoint now);

private:
    struct Station
    {
        bool dead = false;
        Duration usual{0}; ///< end of request to first byte; 0 for never heard
        Duration full{0};  ///< its reply time-out
        TimePoint next;    ///< not asked before
        int step = 1;      ///< the next long question is this many doublings of the fitted one
        int fitted = 0;    ///< fitted questions since the last long one
    };

    Station &known(int number);
    Duration fittedTime(const Station &station) const;
    Duration longTime(const Station &station) const;
    bool asksLong(const Station &station) const;
    /** Until the next question. @param outstanding that a reply in time may still take */
    Duration pauseAfter(Duration outstanding) const;
    void earn(TimePoint now);
    const Station *first(int *number) const;

    LinkSettings m_settings;
    Duration m_mostCredit; ///< what the longest question takes
    std::map<int, Station> m_stations;
    std::set<int> m_polled;
    Duration m_credit{0};
    TimePoint m_earned; ///< up to here
};

} // namespace rtu

#endif
