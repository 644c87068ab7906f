#include "host/listen/request_fields.h"

#include "kit/line/frame_bytes.h"

#include <algorithm>
#include <iterator>

namespace rtu {

namespace {

struct Function
{
    int code;
    const char *regType;
    bool bits;
    bool single; ///< of one value, which stands where others have their count
    bool read;
    int valuesAt; ///< of a write: position of the values in the request
};

const Function functions[] = {
    {1, "0x", true, false, true, 0},   {2, "1x", true, false, true, 0},    {3, "4x", false, false, true, 0},
    {4, "3x", false, false, true, 0},  {5, "0x", true, true, false, 4},    {6, "4x", false, true, false, 4},
    {15, "0x", true, false, false, 7}, {16, "4x", false, false, false, 7}, {23, "4x", false, false, true, 0},
};

const int ReadReplyValues = 3; ///< their position
const int WriteReplyBytes = 8;
const int FramingBytes = 5; ///< of a reply: station, function, byte count, check sum

const Function *functionWith(int code)
{
    const auto found =
        std::find_if(std::begin(functions), std::end(functions), [code](const Function &f) { return f.code == code; });
    return found == std::end(functions) ? nullptr : found;
}

std::vector<int> bitsAt(const QByteArray &bytes, int position, int count)
{
    std::vector<int> values(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        values[static_cast<std::size_t>(i)] = byteAt(bytes, position + i / 8) >> i % 8 & 1;
    return values;
}

std::vector<int> wordsAt(const QByteArray &bytes, int position, int count)
{
    std::vector<int> values(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        values[static_cast<std::size_t>(i)] = wordAt(bytes, position + 2 * i);
    return values;
}

/** So many values of a request or reply as its bytes have room for. */
int present(const QByteArray &frame, int position, int count, bool bits)
{
    const int bytes = static_cast<int>(frame.size()) - position - 2;
    return std::max(0, std::min(count, bits ? bytes * 8 : bytes / 2));
}

} // namespace

void readRequest(Transaction &transaction)
{
    transaction.station = byteAt(transaction.request, 0);
    const Function *function = functionWith(functionOf(transaction));
    if (!function)
        return;
    transaction.regType = QString::fromLatin1(function->regType);
    transaction.startAddr = wordAt(transaction.request, 2);
    transaction.count = function->single ? 1 : wordAt(transaction.request, 4);
    transaction.isRead = function->read;
    const int payload = function->bits ? (transaction.count + 7) / 8 : transaction.count * 2;
    transaction.expectedReply = function->read ? FramingBytes + payload : WriteReplyBytes;
}

int functionOf(const Transaction &transaction)
{
    return byteAt(transaction.request, 1);
}

std::vector<int> valuesOf(const Transaction &transaction)
{
    const Function *function = functionWith(functionOf(transaction));
    if (!function || transaction.kind != ReplyKind::Good)
        return std::vector<int>();
    if (function->code == 5)
        return std::vector<int>(1, byteAt(transaction.request, function->valuesAt) ? 1 : 0);
    const QByteArray &frame = function->read ? transaction.reply : transaction.request;
    const int position = function->read ? ReadReplyValues : function->valuesAt;
    const int count = present(frame, position, transaction.count, function->bits);
    return function->bits ? bitsAt(frame, position, count) : wordsAt(frame, position, count);
}

} // namespace rtu
