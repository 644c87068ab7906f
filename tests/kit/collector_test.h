/**
 * @file
 * A collector of replies on virtual time that tells what it sleeps until.
 */
#ifndef TESTS_KIT_COLLECTOR_TEST_H
#define TESTS_KIT_COLLECTOR_TEST_H

#include "kit/line/reply_collector.h"
#include "support/frames.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace test_line {

const rtu::Duration ReplyTimeout = milliseconds(1000);

class SleepyLine : public VirtualLine
{
public:
    std::vector<rtu::TimePoint> slept; ///< until then

    void sleepUntil(rtu::TimePoint when) override
    {
        slept.push_back(when);
        VirtualLine::sleepUntil(when);
    }
};

class CollectorTest : public testing::Test
{
protected:
    CollectorTest() { setBaud(19200); }

    void setBaud(int baud)
    {
        rtu::LineParameters parameters;
        parameters.baud = baud;
        timing = rtu::LineTiming(parameters);
    }

    rtu::Duration character() const { return timing.characters(1); }

    rtu::Transaction collect(const Bytes &sent, int expected, bool removeEcho = false)
    {
        rtu::Transaction transaction;
        transaction.station = station;
        transaction.request = array(sent);
        transaction.expectedReply = expected;
        transaction.sent = line.now();
        transaction.requestEnd = line.now() + timing.characters(sent.size());
        transaction.echoRemoved = true; // left there by an earlier attempt
        start = line.now();
        line.wakeUps = 0;
        line.slept.clear();
        if (!collector)
            collector.reset(new rtu::ReplyCollector(line, timing, ReplyTimeout, removeEcho));
        collector->collect(transaction);
        return transaction;
    }

    rtu::Duration elapsed() { return line.now() - start; }

    const Bytes request = frame("01 03 00 00 00 0A");
    int station = 1;
    SleepyLine line;
    rtu::LineTiming timing;
    rtu::TimePoint start;
    std::unique_ptr<rtu::ReplyCollector> collector;
};

} // namespace test_line

#endif
