#include "reply_rules.h"

#include "fuzz_host.h"

#include "kit/line/frame_check.h"

namespace fuzz {

void requireReplyRules(const rtu::Transaction &transaction, const QByteArray &arrived, bool removeEcho)
{
    const int skipped = transaction.echoRemoved ? transaction.request.size() : 0;
    require(removeEcho || !transaction.echoRemoved, "an echo was removed unasked");
    require(arrived.mid(skipped, transaction.reply.size()) == transaction.reply, "the reply is not what arrived");
    const unsigned char *bytes = reinterpret_cast<const unsigned char *>(transaction.reply.constData());
    switch (transaction.end) {
    case rtu::ReplyEnd::Complete:
        require(transaction.reply.size() >= transaction.expectedReply, "complete and too short");
        break;
    case rtu::ReplyEnd::Exception:
        require(transaction.reply.size() >= 5 && rtu::endsWithCrc(bytes, 5), "no exception reply");
        break;
    case rtu::ReplyEnd::TimedOut:
        require(transaction.reply.isEmpty(), "timed out with a reply");
        break;
    case rtu::ReplyEnd::Silence:
        require(!transaction.reply.isEmpty(), "silence after nothing");
        break;
    case rtu::ReplyEnd::PortLost:
        break;
    default:
        fail("an end that cannot be");
    }
}

} // namespace fuzz
