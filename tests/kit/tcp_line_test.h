/**
 * @file
 * A line to a device server that shows what it does, and how it is told what to wait for.
 */
#ifndef TESTS_KIT_TCP_LINE_TEST_H
#define TESTS_KIT_TCP_LINE_TEST_H

#include "kit/line/tcp_line.h"
#include "kit/loopback_peer.h"
#include "kit/terminal_pair.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

namespace test_line {

/** Nothing depends on how long anything takes. */
inline rtu::TcpSettings patient()
{
    rtu::TcpSettings settings;
    settings.connectTimeout = Never;
    settings.retryPause = Never;
    return settings;
}

class TestedLine : public rtu::TcpLine
{
public:
    explicit TestedLine(const std::string &name, const rtu::TcpSettings &settings = patient()) : TcpLine(name, settings)
    {
    }
    using TcpLine::descriptor;

    int looks = 0; ///< for bytes

    ssize_t get(unsigned char *out, std::size_t room) override
    {
        ++looks;
        return TcpLine::get(out, room);
    }

    /** What has come, or the result when that is not a number of bytes. */
    std::string receive(rtu::Duration patience = Never)
    {
        unsigned char bytes[100];
        const int count = read(bytes, sizeof(bytes), now() + patience);
        if (count > 0)
            return std::string(reinterpret_cast<const char *>(bytes), static_cast<std::size_t>(count));
        return std::to_string(count);
    }

    bool send(const std::string &text)
    {
        return write(reinterpret_cast<const unsigned char *>(text.data()), text.size());
    }

    void openSoon()
    {
        while (!ensureOpen())
            std::this_thread::yield();
    }
};

const char *const LostResult = "-1";

/** A name server that says so. */
inline rtu::Lookup answers(const rtu::LookupResult &result)
{
    return [result](const std::string &, const std::string &) { return result; };
}

} // namespace test_line

#endif
