/**
 * @file
 * What a TrafficReader told, as text that tests can compare.
 */
#ifndef TESTS_LISTEN_HEARD_TRAFFIC_H
#define TESTS_LISTEN_HEARD_TRAFFIC_H

#include "host/listen/traffic_reader.h"
#include "support/frames.h"

#include <string>
#include <vector>

namespace listen_test {

using test_line::Bytes;

inline std::string hexOf(const QByteArray &bytes)
{
    return bytes.toHex().toUpper().constData();
}

inline std::string hexOf(const Bytes &bytes)
{
    return hexOf(test_line::array(bytes));
}

inline std::string kindName(const rtu::Transaction &t)
{
    switch (t.kind) {
    case rtu::ReplyKind::Good:
        return t.end == rtu::ReplyEnd::NoneExpected ? "broadcast" : "good";
    case rtu::ReplyKind::Exception:
        return "exception";
    default:
        return "silent";
    }
}

/** "good 0103...>0103...", "silent 0103...", "stray 0103...", "garbage 55"; neighbouring garbage is one. */
class HeardTraffic : public rtu::TrafficListener
{
public:
    void onFrame(rtu::Role role, const rtu::HeardBytes &frame) override
    {
        frames.push_back((role == rtu::Role::Request ? ">" : "<") + hexOf(frame.bytes));
    }

    void onTransaction(const rtu::Transaction &t) override
    {
        told.push_back(kindName(t) + " " + hexOf(t.request) + (t.reply.isEmpty() ? "" : ">" + hexOf(t.reply)));
        transactions.push_back(t);
        m_inGarbage = false;
    }

    void onOpenRequest(const rtu::Transaction &t) override
    {
        told.push_back("open " + hexOf(t.request));
        m_inGarbage = false;
    }

    void onStrayReply(const rtu::HeardBytes &reply) override
    {
        told.push_back("stray " + hexOf(reply.bytes));
        m_inGarbage = false;
    }

    void onGarbage(const rtu::HeardBytes &garbage) override
    {
        longestGarbage = std::max(longestGarbage, static_cast<int>(garbage.bytes.size()));
        if (m_inGarbage)
            told.back() += hexOf(garbage.bytes);
        else
            told.push_back("garbage " + hexOf(garbage.bytes));
        m_inGarbage = true;
    }

    std::vector<std::string> told;
    std::vector<std::string> frames;
    std::vector<rtu::Transaction> transactions;
    int longestGarbage = 0;

private:
    bool m_inGarbage = false;
};

} // namespace listen_test

#endif
