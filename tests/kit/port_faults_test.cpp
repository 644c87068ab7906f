// A pseudo-terminal whose system calls take some of the bytes, none yet, or fail, at
// every place of a request and of a reply.

#include "kit/faulty_port.h"
#include "kit/terminal_pair.h"

#include <gtest/gtest.h>

namespace {

using namespace test_line;

const std::string Message = "a request of eight and more";
const std::size_t PieceBytes = 3; // so that each message takes many calls
const int Calls = static_cast<int>((Message.size() + PieceBytes - 1) / PieceBytes);

class PortFaults : public testing::TestWithParam<int>
{
protected:
    PortFaults() { port.open(); }

    void failAt(PortCall kind, int call) { port.failAt(kind, call, {PortFault::Fails, GetParam()}); }

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
    FaultyPort port{pair.path(), PieceBytes};
};

class PassingFaults : public PortFaults
{
};

TEST_P(PassingFaults, LoseNoByteOfARequest)
{
    for (int call = 0; call < Calls; ++call) {
        failAt(PortCall::Write, call);
        EXPECT_TRUE(send()) << call;
        EXPECT_EQ(Message, heard(Message.size())) << call;
    }
}

TEST_P(PassingFaults, LoseNoByteOfAReply)
{
    for (int call = 0; call < Calls; ++call) {
        arrive();
        failAt(PortCall::Read, call);
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
        const std::size_t before = static_cast<std::size_t>(call) * PieceBytes;
        failAt(PortCall::Write, call);
        EXPECT_FALSE(send()) << call;
        EXPECT_EQ(call + 1, port.callsMade()) << "nothing follows the fault";
        EXPECT_FALSE(send()) << "closed by now";
        EXPECT_EQ(Message.substr(0, before), heard(before));
        ASSERT_TRUE(port.ensureOpen());
        EXPECT_TRUE(send()) << call;
        EXPECT_EQ(Message, heard(Message.size())) << call;
    }
}

TEST_P(LastingFaults, EndAReplyAndAreMended)
{
    for (int call = 0; call < Calls; ++call) {
        arrive();
        failAt(PortCall::Read, call);
        EXPECT_EQ(Message.substr(0, static_cast<std::size_t>(call) * PieceBytes) + "-1", received()) << call;
        EXPECT_EQ("-1", received()) << "closed by now";
        ASSERT_TRUE(port.ensureOpen()); // which drops what came before
        arrive();
        EXPECT_EQ(Message, received()) << call;
    }
}

INSTANTIATE_TEST_SUITE_P(All, LastingFaults, testing::Values(EIO, ENXIO, ENODEV, EBADF));

} // namespace
