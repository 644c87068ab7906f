#include "planning/merging.h"

#include "address/register_types.h"
#include "driver/arithmetic.h"
#include "driver/modbus_rtu_master.h"
#include "driver/qt_compat.h"
#include "planning/weight_order.h"

namespace {

enum { RegisterBits = 16 };

bool sameGroup(const MergeItem &a, const MergeItem &b)
{
    return a.station == b.station && (sharesText(a.regType, b.regType) || a.regType == b.regType);
}

bool continuesBlock(const MergeItem &block, const MergeItem &item, int limit, BlockJoin join)
{
    if (!sameGroup(block, item))
        return false;
    const int gap = wrapSub(item.startAddr, wrapAdd(block.startAddr, block.count));
    return join == JoinContiguous ? gap < 1 : gap <= limit;
}

std::vector<MergeItem> sortedItems(const Modbus_rtu_master &master, const std::vector<MergeItem> &items)
{
    std::vector<WeightedPosition> order;
    order.reserve(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
        const MergeItem &item = items[i];
        const unsigned int weight = master.getRegAddressWeight(item.station, item.regType, item.startAddr, 0);
        order.push_back(WeightedPosition(weight, static_cast<int>(i)));
    }
    sortByWeight(order);

    std::vector<MergeItem> sorted;
    sorted.reserve(items.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        sorted.push_back(items[static_cast<std::size_t>(order[i].position)]);
    return sorted;
}

} // namespace

MergeItem mergeItem(const KEY_ADDRESS &key, int position)
{
    const MergeItem item = {key.station, key.regType, key.startAddr, key.count, position};
    return item;
}

void bitsToRegisters(std::vector<MergeItem> &items)
{
    for (std::size_t i = 0; i < items.size(); ++i) {
        MergeItem &item = items[i];
        const RegisterType *type = findRegisterType(item.regType);
        if (!type || type->unit != RegisterBitUnit)
            continue;
        const int bits = wrapAdd(item.startAddr % RegisterBits, item.count);
        item.regType = areaTypeText(*type);
        item.count = bits / RegisterBits + ((bits & 0x0F) != 0 ? 1 : 0);
        item.startAddr /= RegisterBits;
    }
}

void mergePass(std::vector<MergeItem> &items, int limit, BlockJoin join, QList<int> *starts)
{
    std::size_t blocks = 0; // blocks closed or open so far; they overwrite the items already handled
    for (std::size_t i = 0; i < items.size(); ++i) {
        const MergeItem item = items[i];
        if (blocks > 0) {
            MergeItem &open = items[blocks - 1];
            const int span = wrapSub(wrapAdd(item.startAddr, item.count), open.startAddr);
            if (continuesBlock(open, item, limit, join) && span <= limit) {
                if (open.count < span)
                    open.count = span;
                continue;
            }
        }
        if (starts)
            starts->append(static_cast<int>(i));
        items[blocks++] = item;
    }
    items.resize(blocks);
}

std::vector<MergeItem> Modbus_rtu_master::pollBlocks(std::vector<MergeItem> items) const
{
    bitsToRegisters(items);
    items = sortedItems(*this, items);
    mergePass(items, maxReadWords, JoinContiguous, 0);
    mergePass(items, maxReadWords, JoinAcrossGaps, 0);
    return items;
}

void Modbus_rtu_master::addrMerge(QList<KEY_ADDRESS> &keys, int mode)
{
    std::vector<MergeItem> items;
    items.reserve(static_cast<std::size_t>(sizeOf(keys)));
    for (int i = 0; i < sizeOf(keys); ++i)
        items.push_back(mergeItem(keys.at(i), i));

    if (mode == RecipeMerge)
        mergePass(items, maxReadWords, JoinContiguous, &rcpBlockStarts);
    else
        items = pollBlocks(items);

    QList<KEY_ADDRESS> blocks;
    for (std::size_t i = 0; i < items.size(); ++i) {
        blocks.append(keys.at(items[i].opener));
        KEY_ADDRESS &block = blocks.last();
        block.regType = items[i].regType;
        block.startAddr = items[i].startAddr;
        block.count = items[i].count;
    }
    keys = blocks;
}
