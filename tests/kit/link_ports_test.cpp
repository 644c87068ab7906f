// Links on ports of this machine: what cannot be opened is said, and each port has its own pace.

#include "kit/event_descriptors.h"
#include "kit/loopback_peer.h"
#include "kit/terminal_pair.h"
#include "support/frames.h"

#include <modbus_rtu_host/link.h>

#include <gtest/gtest.h>

#include <thread>

namespace {

using namespace test_line;
using rtu::LinkStep;
using rtu::TagDefinition;

/** What the call says as the kit's one exception; anything else that it throws fails the test. */
template <typename Call>
std::string errorOf(Call call)
{
    try {
        call();
    } catch (const rtu::Error &error) {
        return error.text().toStdString();
    } catch (const std::exception &other) {
        return std::string("another exception: ") + other.what();
    }
    return "nothing thrown";
}

class LinkPorts : public testing::Test
{
protected:
    LinkPorts()
    {
        settings.driver = TEST_DRIVER;
        settings.replyTimeout = std::chrono::hours(1);
    }

    std::string openingOf(const std::string &port)
    {
        settings.port = QString::fromStdString(port);
        rtu::Link link(settings);
        return errorOf([&] { link.open(); });
    }

    rtu::LinkSettings settings;
};

TEST_F(LinkPorts, ThatCannotBeOpenedAreSaidWithTheReason)
{
    LoopbackPeer silent;
    silent.stopListening();
    EXPECT_EQ("cannot open /nowhere/port: No such file or directory", openingOf("/nowhere/port"));
    EXPECT_EQ("/dev/null is not a serial port: Inappropriate ioctl for device", openingOf("/dev/null"));
    EXPECT_EQ("cannot connect to " + silent.name() + ": Connection refused", openingOf(silent.name()));
    EXPECT_EQ("tcp:host is not written tcp:HOST:PORT, such as tcp:192.168.1.5:4001 or tcp:[fe80::1]:4001",
              errorOf([&] { openingOf("tcp:host"); }));
    const TerminalPair pair;
    EXPECT_EQ("nothing thrown", openingOf(pair.path()));
}

TEST_F(LinkPorts, AreForOneLinkAtATime)
{
    const TerminalPair pair;
    settings.port = QString::fromStdString(pair.path());
    rtu::Link first(settings);
    first.open();
    EXPECT_EQ(pair.path() + " is in use by another program", openingOf(pair.path()));
}

TEST_F(LinkPorts, WithoutADescriptorLeftAreAnErrorOfTheKit)
{
    settings.port = "/dev/null";
    const NoEventDescriptor none;
    EXPECT_EQ("cannot create an event descriptor", errorOf([&] { rtu::Link link(settings); }));
}

TEST_F(LinkPorts, AreOpenedAfterAStopAsBefore)
{
    LoopbackPeer peer;
    settings.port = QString::fromStdString(peer.name());
    rtu::Link link(settings);
    link.stop();
    EXPECT_EQ("nothing thrown", errorOf([&] { link.open(); }));
}

/** Steps a link with one tag until a frame has been answered, and gives the account of it. */
rtu::Transaction oneRead(const rtu::LinkSettings &settings)
{
    rtu::Link link(settings);
    rtu::Transaction last;
    link.onTransaction([&last](const rtu::Transaction &t) { last = t; });
    link.addTag(TagDefinition(1, "4x10"));
    link.open();
    EXPECT_EQ(LinkStep::Done, link.step());
    EXPECT_EQ(rtu::ReplyKind::Good, last.kind);
    return last;
}

Bytes toBytes(const std::string &text)
{
    return Bytes(text.begin(), text.end());
}

std::string toText(const Bytes &bytes)
{
    return std::string(bytes.begin(), bytes.end());
}

TEST_F(LinkPorts, OfTheNetworkHaveNoPace)
{
    LoopbackPeer peer;
    settings.port = QString::fromStdString(peer.name());
    std::thread device([&peer] {
        peer.accept();
        peer.send(toText(goodReply(toBytes(peer.receive(8)))));
    });
    const rtu::Transaction read = oneRead(settings);
    device.join();
    EXPECT_EQ(read.sent, read.requestEnd) << "a device server has the time that characters take";
}

TEST_F(LinkPorts, OfThisMachineHaveThePaceThatIsSet)
{
    const TerminalPair pair;
    settings.port = QString::fromStdString(pair.path());
    settings.parameters.parity = 'N'; // 10 bits a character
    std::thread device([&pair] {
        unsigned char request[8];
        for (std::size_t size = 0; size < sizeof(request);)
            size += static_cast<std::size_t>(::read(pair.far(), request + size, sizeof(request) - size));
        const Bytes reply = goodReply(Bytes(request, request + sizeof(request)));
        std::this_thread::sleep_for(
            milliseconds(20)); // a reply before the request's end would show a port without pace
        EXPECT_EQ(static_cast<ssize_t>(reply.size()), ::write(pair.far(), reply.data(), reply.size()));
    });
    const rtu::Transaction read = oneRead(settings);
    device.join();
    EXPECT_EQ(microseconds(8 * 10 * 1000000 / 19200),
              std::chrono::duration_cast<std::chrono::microseconds>(read.requestEnd - read.sent));
}

} // namespace
