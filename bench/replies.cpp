#include "bench/replies.h"

#include "tests/support/bitwise_crc.h"

using support::withCrc;

namespace {

QByteArray header(int station, int function, int dataBytes)
{
    QByteArray bytes;
    bytes.append(static_cast<char>(station));
    bytes.append(static_cast<char>(function));
    bytes.append(static_cast<char>(dataBytes));
    return bytes;
}

} // namespace

std::vector<int> registerRun(int firstValue, int count)
{
    std::vector<int> values;
    values.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        values.push_back(firstValue + i);
    return values;
}

QByteArray registerReply(int station, int function, const std::vector<int> &values)
{
    QByteArray bytes = header(station, function, static_cast<int>(values.size()) * 2);
    for (const int value : values) {
        bytes.append(static_cast<char>(value >> 8));
        bytes.append(static_cast<char>(value));
    }
    return withCrc(bytes);
}

QByteArray coilReply(int station, int function, int count, int pattern)
{
    const int dataBytes = (count + 7) / 8;
    QByteArray bytes = header(station, function, dataBytes);
    bytes.append(QByteArray(dataBytes, static_cast<char>(pattern)));
    return withCrc(bytes);
}
