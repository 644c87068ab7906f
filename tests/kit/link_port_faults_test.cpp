// A link on a pseudo-terminal whose system calls fail or fall short, at every place of a
// run with reads, writes and a recipe. A fault may cost requests; what it never costs is
// the end of one, the truth about a write, or the polling afterwards.

#include "kit/faulty_port.h"
#include "kit/terminal_pair.h"
#include "support/driver_file.h"
#include "support/frames.h"

#include <modbus_rtu_host/link.h>

#include <gtest/gtest.h>

#include <dirent.h>
#include <poll.h>
#include <sys/ioctl.h>

namespace {

using namespace test_line;
using rtu::TagDefinition;
using rtu::WriteEnd;

const std::size_t WholeFrames = 256;

/** A slave at the far end that answers at once, and a clock that moves when the link waits for nothing. */
class SlavePort : public FaultyPort
{
public:
    explicit SlavePort(const std::string &device, int far) : FaultyPort(device, WholeFrames), m_far(far) {}

    rtu::TimePoint now() override { return m_now; }
    void sleepUntil(rtu::TimePoint when) override { m_now = std::max(m_now, when); }

    int read(unsigned char *out, std::size_t room, rtu::TimePoint deadline) override
    {
        int count = rtu::DeadlinePassed;
        do {
            count = FaultyPort::read(out, room, rtu::TimePoint::min());
        } while (count == rtu::DeadlinePassed && bytesWaiting() > 0);
        if (count == rtu::DeadlinePassed)
            sleepUntil(deadline);
        return count;
    }

    void close() override
    {
        FaultyPort::close();
        ++losses;
        m_request.clear(); // the pause that follows ends what has come of a frame
    }

    support::SlaveTables tables;
    int losses = 0; ///< how often a fault has closed it

protected:
    ssize_t put(const unsigned char *bytes, std::size_t size) override
    {
        const ssize_t count = FaultyPort::put(bytes, size);
        if (count > 0)
            hear(static_cast<std::size_t>(count));
        return count;
    }

private:
    void hear(std::size_t size)
    {
        char bytes[WholeFrames];
        while (size > 0) {
            const ssize_t count = ::read(m_far, bytes, size);
            ASSERT_GT(count, 0);
            m_request.append(bytes, static_cast<int>(count));
            size -= static_cast<std::size_t>(count);
        }
        if (!support::hasRightCrc(m_request))
            return;
        answer(tables.carryOut(m_request));
        m_request.clear();
    }

    /** All of it is there when the request has been written: only faults keep the link from seeing it. */
    void answer(const QByteArray &reply)
    {
        ASSERT_EQ(reply.size(), ::write(m_far, reply.constData(), static_cast<std::size_t>(reply.size())));
        pollfd near = {descriptor(), POLLIN, 0};
        while (bytesWaiting() < reply.size())
            ::poll(&near, 1, 1);
    }

    int bytesWaiting() const
    {
        int count = 0;
        return ::ioctl(descriptor(), FIONREAD, &count) == 0 ? count : 0;
    }

    const int m_far;
    rtu::TimePoint m_now{std::chrono::hours(1)};
    QByteArray m_request;
};

int openDescriptors()
{
    int count = 0;
    DIR *const folder = ::opendir("/proc/self/fd");
    while (::readdir(folder))
        ++count;
    ::closedir(folder);
    return count;
}

/** A write of the run, and where its slave keeps the values. */
struct AskedWrite
{
    const char *address;
    std::vector<double> numbers;
    int first;
    std::vector<int> held; ///< once it is carried out
    bool coils;
};

const AskedWrite askedWrites[] = {
    {"4x10", {7}, 9, {7}, false},
    {"4x100", std::vector<double>(130, 5), 99, std::vector<int>(130, 5), false}, // in two pieces
    {"0x3", {1}, 2, {1}, true},
    {"4x_bit30.4", {1}, 29, {16}, false}, // read, then written
};

/** What the run came to. */
struct Run
{
    std::vector<std::vector<WriteEnd>> writeEnds{std::size(askedWrites)};
    std::vector<rtu::TransferResult> transfers;
    std::vector<rtu::ReadEnd> reads;
    int closed = 0;        ///< how often the port was reported gone
    int sentToTheNext = 0; ///< writes that went out though the port was lost since they were asked for
};

class LinkPortFaults
{
public:
    LinkPortFaults()
    {
        settings.driver = QString::fromStdString(support::driverFile());
        settings.parameters = unpaced();
        settings.attempts = 2;
        link.reset(new rtu::Link(settings, std::unique_ptr<rtu::Line>(port)));
        link->onRound([this] { ++rounds; });
        link->onPort([this](bool open) { run.closed += open ? 0 : 1; });
        tag = link->addTag(TagDefinition(1, "4x1"));
        port->tables.holdingRegisters[0] = 3;
    }

    /** False: that much time was not enough. */
    bool stepUntil(const std::function<bool()> &reached)
    {
        for (const rtu::TimePoint end = port->now() + std::chrono::minutes(1); !reached();) {
            if (port->now() > end)
                return false;
            if (link->step() != rtu::LinkStep::Done)
                port->sleepUntil(std::max(link->nextStep(), port->now() + milliseconds(1)));
            port->sleepUntil(port->now() + milliseconds(1));
        }
        return true;
    }

    bool pollRounds(int count)
    {
        const int enough = rounds + count;
        return stepUntil([&] { return rounds >= enough; });
    }

    void ask()
    {
        const int lossesBefore = port->losses;
        for (std::size_t i = 0; i < std::size(askedWrites); ++i) {
            TagDefinition where(1, askedWrites[i].address);
            where.values = static_cast<int>(askedWrites[i].numbers.size());
            rtu::WriteOptions options;
            options.done = [this, i, lossesBefore](const rtu::WriteResult &result) {
                run.writeEnds[i].push_back(result.end);
                run.sentToTheNext += result.end == WriteEnd::Acknowledged && port->losses > lossesBefore ? 1 : 0;
            };
            link->write(where, askedWrites[i].numbers, options);
        }
        link->read(TagDefinition(1, "4x300"),
                   [this](const rtu::ReadResult &result) { run.reads.push_back(result.end); });
        rtu::RecipeRow row;
        row.where = TagDefinition(1, "4x400");
        row.numbers = {11};
        link->load({row}, [this](const rtu::TransferResult &result) { run.transfers.push_back(result); });
    }

    bool allEnded() const
    {
        const auto ended = [](const std::vector<WriteEnd> &ends) { return !ends.empty(); };
        return std::all_of(run.writeEnds.begin(), run.writeEnds.end(), ended) && !run.reads.empty()
               && !run.transfers.empty();
    }

    /** A round, everything asked, two rounds more. */
    void goThrough()
    {
        ASSERT_TRUE(pollRounds(1));
        ask();
        ASSERT_TRUE(stepUntil([this] { return allEnded(); }));
        ASSERT_TRUE(pollRounds(2));
    }

    rtu::LinkSettings settings;
    TerminalPair pair;
    SlavePort *const port = new SlavePort(pair.path(), pair.far()); ///< the link's
    std::unique_ptr<rtu::Link> link;
    rtu::Tag tag;
    Run run;
    int rounds = 0;
};

std::vector<int> heldBy(support::SlaveTables &tables, const AskedWrite &write)
{
    return support::valuesOf(write.coils ? tables.coils : tables.holdingRegisters, write.first,
                             static_cast<int>(write.held.size()));
}

/** Each write has ended once, and what is said of it is what the slave knows. */
void expectTruth(LinkPortFaults &host)
{
    for (std::size_t i = 0; i < std::size(askedWrites); ++i) {
        const AskedWrite &write = askedWrites[i];
        ASSERT_EQ(1u, host.run.writeEnds[i].size()) << write.address;
        const WriteEnd end = host.run.writeEnds[i].front();
        const std::vector<int> held = heldBy(host.port->tables, write);
        if (end == WriteEnd::Acknowledged)
            EXPECT_EQ(write.held, held) << write.address;
        else if (end == WriteEnd::NotSent)
            EXPECT_EQ(std::vector<int>(held.size(), 0), held) << write.address;
        else
            EXPECT_EQ(WriteEnd::Unconfirmed, end) << write.address;
    }
    EXPECT_EQ(0, host.run.sentToTheNext);
    EXPECT_EQ(1u, host.run.reads.size());
    ASSERT_EQ(1u, host.run.transfers.size());
    ASSERT_EQ(1u, host.run.transfers[0].rows.size());
    const rtu::RowEnd row = host.run.transfers[0].rows[0].end;
    if (row != rtu::RowEnd::Unconfirmed) {
        EXPECT_EQ(row == rtu::RowEnd::Done ? 11 : 0, host.port->tables.holdingRegisters[399]);
    }
}

/** Everything asked was done, as if there had been no fault. */
void expectDone(LinkPortFaults &host)
{
    for (const std::vector<WriteEnd> &ends : host.run.writeEnds)
        EXPECT_EQ(std::vector<WriteEnd>(1, WriteEnd::Acknowledged), ends);
    EXPECT_EQ(std::vector<rtu::ReadEnd>(1, rtu::ReadEnd::Good), host.run.reads);
    EXPECT_TRUE(host.run.transfers.at(0).complete());
    EXPECT_EQ(0, host.run.closed);
}

struct Fault
{
    const char *name;
    PortCall call;
    PortFault fault;
    bool closes; ///< the port is given up and opened again
};

void PrintTo(const Fault &fault, std::ostream *out)
{
    *out << fault.name;
}

class LinkOnAFaultyPort : public testing::TestWithParam<Fault>
{
};

/** Calls of the kind in a run without a fault. */
int callsOf(PortCall call)
{
    LinkPortFaults host;
    host.port->failAt(call, 0, {PortFault::Fails, 0, 0});
    host.goThrough();
    expectDone(host);
    return host.port->callsMade();
}

TEST_P(LinkOnAFaultyPort, LosesNoEndNoTruthAndNoDescriptor)
{
    const int calls = callsOf(GetParam().call);
    ASSERT_GT(calls, 0);
    const int descriptors = openDescriptors();
    for (int number = 0; number < calls && !HasFatalFailure(); ++number) {
        SCOPED_TRACE(number);
        {
            LinkPortFaults host;
            host.port->failAt(GetParam().call, number, GetParam().fault);
            host.goThrough();
            expectTruth(host);
            EXPECT_GE(host.run.closed, host.port->losses) << "each is told";
            if (GetParam().closes)
                EXPECT_GT(host.run.closed, 0);
            else
                expectDone(host);
            EXPECT_TRUE(host.stepUntil([&host] { return host.tag.value().quality == rtu::Quality::Good; }));
            EXPECT_EQ(3.0, host.tag.value().number());
        }
        EXPECT_EQ(descriptors, openDescriptors());
    }
}

const Fault faults[] = {
    {"a write fails", PortCall::Write, {PortFault::Fails, EIO}, true},
    {"writes fail while the port comes back", PortCall::Write, {PortFault::Fails, EIO, 3}, true},
    {"a write has no room", PortCall::Write, {PortFault::Fails, EAGAIN}, false},
    {"writes have no room for long", PortCall::Write, {PortFault::Fails, EAGAIN, 20}, false},
    {"a write is interrupted", PortCall::Write, {PortFault::Fails, EINTR}, false},
    {"a write takes one byte", PortCall::Write, {1}, false},
    {"writes take one byte each", PortCall::Write, {1, 0, 5}, false},
    {"a write takes nothing", PortCall::Write, {0}, true},
    {"a read fails", PortCall::Read, {PortFault::Fails, EIO}, true},
    {"reads fail while the port comes back", PortCall::Read, {PortFault::Fails, EIO, 3}, true},
    {"a read finds nothing", PortCall::Read, {PortFault::Fails, EAGAIN}, false},
    {"a read is interrupted", PortCall::Read, {PortFault::Fails, EINTR}, false},
    {"reads are interrupted for long", PortCall::Read, {PortFault::Fails, EINTR, 20}, false},
    {"a read brings one byte", PortCall::Read, {1}, false},
    {"reads bring one byte each", PortCall::Read, {1, 0, 5}, false},
    {"a read meets the end", PortCall::Read, {0}, true},
    {"the port is away at first", PortCall::Open, {PortFault::Fails, EIO, 3}, true},
};

INSTANTIATE_TEST_SUITE_P(All, LinkOnAFaultyPort, testing::ValuesIn(faults));

} // namespace
