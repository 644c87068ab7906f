/**
 * @file
 * The network and the clock of the process, as an input tells them: connections that
 * stand, hang or are refused, bytes in pieces and late, sends that take some of the
 * bytes, errors at every place. The linker leads the system's calls through here; time
 * passes by waiting only.
 */
#ifndef SCRIPTED_NETWORK_H
#define SCRIPTED_NETWORK_H

#include <fuzzer/FuzzedDataProvider.h>

#include <QtCore/QByteArray>

#include <chrono>

namespace fuzz {

class ScriptedNetwork
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Duration = std::chrono::steady_clock::duration;

    explicit ScriptedNetwork(FuzzedDataProvider &input);
    ~ScriptedNetwork();
    ScriptedNetwork(const ScriptedNetwork &) = delete;
    ScriptedNetwork &operator=(const ScriptedNetwork &) = delete;

    QByteArray received; ///< what has been taken from the connection
    QByteArray sent;     ///< what it has taken

    TimePoint now() const { return m_now; }

    // In the place of the system's.
    int connect(int socket);
    int connectionError();
    ssize_t send(const void *bytes, std::size_t size);
    ssize_t receive(void *out, std::size_t room);
    /** @return whether one of poll()'s @p events came within the time; the time has then passed */
    bool await(short events, Duration time);
    void sleepUntil(TimePoint when);
    bool isSocket(int descriptor) const { return descriptor == m_socket; }

private:
    FuzzedDataProvider &m_input;
    TimePoint m_now{std::chrono::hours(1)};
    TimePoint m_lastConnect; ///< of a connection that brought nothing since
    int m_socket = -1;
    bool m_readable = false;
};

} // namespace fuzz

#endif
