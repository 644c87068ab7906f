// A pseudo-terminal whose system calls take some of the bytes, none yet, or fail, at
// every place of a request and of a reply.

#include "kit/line/port_line.h"

#include "kit/line/serial_port.h"
#include "kit/terminal_pair.h"
#include "support/line_parameters.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {

using namespace test_line;

const std::string Message = "a request of eight and more";
const std::size_t PieceBytes = 3; // so that each message takes many calls
const int Calls = static_cast<int>((Message.size() + PieceBytes - 1) / PieceBytes);

/** A port that moves a few bytes a call; the call of a given number fails, once. */
class FaultyPort : public rtu::PortLine
{
public:
    explicit FaultyPort(const std::string &device) : PortLine(device)
    {
        setParameters(test_line::unpaced());
        open();
    }

    void open() override { m_port.open(name(), parameters()); }
    void close() override { m_port.close(); }

    bool ensureOpen() override
    {
        if (!m_port.isOpen())
            open();
        return true;
    }

    void failAt(int call, int error)
    {
        m_call = 0;
        m_faultyCall = call;
        m_error = error;
    }

    std::size_t taken = 0; ///< bytes of the last requests

protected:
    int descriptor() const override { return m_port.descriptor(); }

    ssize_t put(const unsigned char *bytes, std::size_t size) override
    {
        if (fails())
            return -1;
        const ssize_t count = ::write(descriptor(), bytes, std::min(size, PieceBytes));
        taken += count > 0 ? static_cast<std::size_t>(count) : 0;
        return count;
    }

    ssize_t get(unsigned char *out, std::size_t room) override
    {
        return fails() ? -1 : ::read(descriptor(), out, std::min(room, PieceBytes));
    }

private:
    bool fails()
    {
        errno = m_error;
        return m_call++ == m_faultyCall;
    }

    rtu::SerialPort m_port;
    int m_call = 0;
    int m_faultyCall = -1;
    int m_error = 0;
};

class PortFaults : public testing::TestWithParam<int>
{
protected:
    bool send() { return port.write(reinterpret_cast<const unsigned char *>(Message.data()), Message.size()); }

    /** So many bytes at the far end. */
    std::string heard(std::size_t size)
    {
        std::string text(size, '\0');
        for (std::size_t at = 0; at < size;) {
            const ssize_t count = ::read(pair.far(), &text[at], size - at);
            if (count <= 0)
                return "nothing more comes";
            at += static_cast<std::size_t>(count);
        }
        return text;
    }

    void arrive()
    {
        ASSERT_EQ(static_cast<ssize_t>(Message.size()), ::write(pair.far(), Message.data(), Message.size()));
    }

    /** What has come until it is the message, or until the line is lost. */
    std::string received()
    {
        std::string text;
        while (text.size() < Message.size()) {
            unsigned char bytes[100];
            const int count = port.read(bytes, sizeof(bytes), port.now() + Never);
            if (count < 0)
                return text + std::to_string(count);
            text.append(reinterpret_cast<const char *>(bytes), static_cast<std::size_t>(count));
        }
        return text;
    }

    TerminalPair pair;
    FaultyPort port{pair.path()};
};

class PassingFaults : public PortFaults
{
};

TEST_P(PassingFaults, LoseNoByteOfARequest)
{
    for (int call = 0; call < Calls; ++call) {
        port.failAt(call, GetParam());
        EXPECT_TRUE(send()) << call;
        EXPECT_EQ(Message, heard(Message.size())) << call;
    }
}

TEST_P(PassingFaults, LoseNoByteOfAReply)
{
    for (int call = 0; call < Calls; ++call) {
        arrive();
        port.failAt(call, GetParam());
        EXPECT_EQ(Message, received()) << call;
    }
}

INSTANTIATE_TEST_SUITE_P(All, PassingFaults, testing::Values(EAGAIN, EINTR));

class LastingFaults : public PortFaults
{
};

TEST_P(LastingFaults, EndARequestAndAreMended)
{
    for (int call = 0; call < Calls; ++call) {
        port.taken = 0;
        port.failAt(call, GetParam());
        EXPECT_FALSE(send()) << call;
        EXPECT_EQ(static_cast<std::size_t>(call) * PieceBytes, port.taken) << "nothing follows the fault";
        EXPECT_FALSE(send()) << "closed by now";
        EXPECT_EQ(Message.substr(0, port.taken), heard(port.taken));
        ASSERT_TRUE(port.ensureOpen());
        EXPECT_TRUE(send()) << call;
        EXPECT_EQ(Message, heard(Message.size())) << call;
    }
}

TEST_P(LastingFaults, EndAReplyAndAreMended)
{
    for (int call = 0; call < Calls; ++call) {
        arrive();
        port.failAt(call, GetParam());
        EXPECT_EQ(Message.substr(0, static_cast<std::size_t>(call) * PieceBytes) + "-1", received()) << call;
        EXPECT_EQ("-1", received()) << "closed by now";
        ASSERT_TRUE(port.ensureOpen()); // which drops what came before
        arrive();
        EXPECT_EQ(Message, received()) << call;
    }
}

INSTANTIATE_TEST_SUITE_P(All, LastingFaults, testing::Values(EIO, ENXIO, ENODEV, EBADF));

} // namespace
