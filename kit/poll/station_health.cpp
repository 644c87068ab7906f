#include "kit/poll/station_health.h"

#include "kit/poll/reply_timeout.h"

#include <algorithm>

namespace rtu {

namespace {

const int ShareOfLine = 20;                                      ///< one part of so many is for asking
const Duration ShortestQuestion = std::chrono::milliseconds(20); ///< USB adapters hand bytes over every 16 ms
const int Patience = 4;                                          ///< times the usual delay
const int FittedBetween = 8;                                     ///< fitted questions, then a long one is waited for

} // namespace

StationHealth::StationHealth(const LinkSettings &settings) : m_settings(settings), m_mostCredit(settings.replyTimeout)
{
    for (const auto &station : settings.stations)
        m_mostCredit = std::max(m_mostCredit, station.second.replyTimeout);
}

StationHealth::Station &StationHealth::known(int number)
{
    Station &station = m_stations[number];
    station.full = replyTimeoutOf(m_settings, number);
    return station;
}

bool StationHealth::dead(int station) const
{
    const auto found = m_stations.find(station);
    return found != m_stations.end() && found->second.dead;
}

void StationHealth::setPolled(const std::set<int> &stations)
{
    m_polled = stations;
}

/** A station that was never heard is given what the slowest of the others needs. */
Duration StationHealth::fittedTime(const Station &station) const
{
    Duration usual = station.usual;
    if (usual == Duration(0)) {
        for (const auto &other : m_stations)
            usual = std::max(usual, other.second.usual);
    }
    const Duration wanted =
        usual > Duration(0) ? std::max(ShortestQuestion, usual * Patience) : station.full / Patience;
    return std::min(wanted, station.full);
}

Duration StationHealth::longTime(const Station &station) const
{
    Duration time = fittedTime(station);
    for (int i = 0; i < station.step && time < station.full; ++i)
        time *= 2;
    return std::min(time, station.full);
}

bool StationHealth::asksLong(const Station &station) const
{
    return station.fitted >= FittedBetween || m_credit >= longTime(station);
}

Duration StationHealth::questionTime(int station) const
{
    const auto found = m_stations.find(station);
    if (found == m_stations.end())
        return replyTimeoutOf(m_settings, station);
    return asksLong(found->second) ? longTime(found->second) : fittedTime(found->second);
}

void StationHealth::earn(TimePoint now)
{
    if (now > m_earned && m_earned != TimePoint())
        m_credit = std::min(m_mostCredit, m_credit + (now - m_earned) / ShareOfLine);
    m_earned = std::max(m_earned, now);
}

/** The polled dead station whose turn is next; null for none. */
const StationHealth::Station *StationHealth::first(int *number) const
{
    const Station *chosen = nullptr;
    for (const auto &entry : m_stations) {
        const bool candidate = entry.second.dead && m_polled.count(entry.first) != 0;
        if (!candidate || (chosen && entry.second.next >= chosen->next))
            continue;
        chosen = &entry.second;
        *number = entry.first;
    }
    return chosen;
}

bool StationHealth::isTurnOf(int station) const
{
    int number = 0;
    return first(&number) && number == station;
}

bool StationHealth::mayAsk(int station, TimePoint now)
{
    earn(now);
    int number = 0;
    const Station *turn = first(&number);
    return turn && number == station && now >= turn->next && m_credit >= questionTime(number);
}

/** A late reply is waited for beside the others' requests, which a question that came sooner would hold up. */
Duration StationHealth::pauseAfter(Duration outstanding) const
{
    return std::max(m_settings.questionInterval, outstanding + m_settings.lateReplyGuard);
}

void StationHealth::asked(int number, TimePoint now, Duration cost)
{
    earn(now);
    Station &station = known(number);
    if (asksLong(station)) {
        station.fitted = 0;
        station.step = longTime(station) < station.full ? station.step + 1 : 1;
    } else {
        ++station.fitted;
    }
    m_credit -= cost;
    station.next = now + pauseAfter(station.full);
}

bool StationHealth::heard(int number, Duration delay)
{
    Station &station = known(number);
    const Duration kept = station.usual - (station.usual - delay) / 16; // follows slower replies at once
    station.usual = std::max(std::max(delay, kept), Duration(std::chrono::milliseconds(1)));
    const bool back = station.dead;
    station.dead = false;
    station.step = 1;
    station.fitted = 0;
    return back;
}

bool StationHealth::silent(int number, TimePoint now)
{
    Station &station = known(number);
    if (station.dead)
        return false;
    if (m_earned == TimePoint())
        m_earned = now;
    station.dead = true;
    station.next = now + pauseAfter(Duration(0));
    return true;
}

TimePoint StationHealth::nextQuestion(TimePoint now)
{
    earn(now);
    int number = 0;
    const Station *turn = first(&number);
    if (!turn)
        return TimePoint::max();
    // What is asked may grow with the credit, never beyond it: the fitted question is the one to wait for.
    const Duration needed = turn->fitted >= FittedBetween ? longTime(*turn) : fittedTime(*turn);
    const Duration missing = std::max(Duration(0), needed - m_credit);
    return std::max(turn->next, now + missing * ShareOfLine);
}

} // namespace rtu
