#include "planning/plain_planning.h"

namespace plain {

namespace {

void rewriteBits(KEY_ADDRESS &key, const char *bitType, const char *wordType)
{
    if (key.regType != QLatin1String(bitType))
        return;
    key.regType = QLatin1String(wordType);
    key.count = wrapped(static_cast<long long>(key.startAddr % 16) + key.count);
    key.count = (key.count & 0xF) != 0 ? key.count / 16 + 1 : key.count / 16;
    key.startAddr = key.startAddr / 16;
}

int gapBetween(const KEY_ADDRESS &block, const KEY_ADDRESS &next)
{
    return wrapped(static_cast<long long>(next.startAddr) - block.startAddr - block.count);
}

int spanOf(const KEY_ADDRESS &block, const KEY_ADDRESS &next)
{
    return wrapped(static_cast<long long>(next.startAddr) + next.count - block.startAddr);
}

/** One walk over the keys; @p starts may be null. */
std::vector<KEY_ADDRESS> walk(const std::vector<KEY_ADDRESS> &keys, int largestGap, int limit,
                              std::vector<int> *starts)
{
    std::vector<KEY_ADDRESS> blocks;
    for (size_t i = 0; i < keys.size(); ++i) {
        const KEY_ADDRESS &next = keys[i];
        if (i != 0) {
            KEY_ADDRESS &block = blocks.back();
            const bool continues = next.station == block.station && next.regType == block.regType
                && gapBetween(block, next) <= largestGap;
            const int span = spanOf(block, next);
            if (continues && span <= limit) {
                block.count = block.count < span ? span : block.count;
                continue;
            }
        }
        blocks.push_back(next);
        if (starts)
            starts->push_back(static_cast<int>(i));
    }
    return blocks;
}

} // namespace

int wrapped(long long value)
{
    return static_cast<int>(static_cast<unsigned int>(value));
}

unsigned int weight(int station, const QString &regType, int address)
{
    static const char *const names[] = {"0x", "1x", "3x", "4x", "3x_double", "4x_double"};
    int position = -1;
    for (int i = 0; i < 6 && position < 0; ++i) {
        if (regType == QLatin1String(names[i]))
            position = i;
    }
    return 65535u * (5u * static_cast<unsigned int>(station) + static_cast<unsigned int>(position + 1))
        + static_cast<unsigned int>(address);
}

std::vector<KEY_ADDRESS> merge(std::vector<KEY_ADDRESS> keys, int mode, int limit, std::vector<int> &starts)
{
    if (mode == 2)
        return walk(keys, 0, limit, &starts);
    for (size_t i = 0; i < keys.size(); ++i) {
        rewriteBits(keys[i], "3x_bit", "3x");
        rewriteBits(keys[i], "4x_bit", "4x");
    }
    exchangeSort(keys);
    return walk(walk(keys, 0, limit, nullptr), limit, limit, nullptr);
}

} // namespace plain
