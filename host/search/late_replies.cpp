#include "host/search/late_replies.h"

#include "kit/line/frame_check.h"

#include <algorithm>

namespace rtu {

namespace {

bool answers(const Transaction &request, const QByteArray &reply)
{
    Transaction t = request;
    t.reply = reply;
    t.end = ReplyEnd::Complete;
    judgeReply(t, true);
    return t.kind == ReplyKind::Good || t.kind == ReplyKind::Exception;
}

} // namespace

const Transaction *LateReplies::requestOf(const Transaction &t) const
{
    if (t.kind != ReplyKind::Foreign)
        return nullptr;
    const auto found = std::find_if(m_unheard.rbegin(), m_unheard.rend(), [&](const Transaction &earlier) {
        return t.firstByte - earlier.requestEnd <= m_longest && answers(earlier, t.reply);
    });
    return found == m_unheard.rend() ? nullptr : &*found;
}

} // namespace rtu
