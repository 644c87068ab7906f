// Folding address keys into contiguous blocks.
//
// The work is done on small stand-ins of the keys, which carry 1024-byte arrays;
// a block is copied once, from the key that opened it, at the end.

#include "driver/modbus_rtu_master.h"

#include "address/register_types.h"
#include "driver/arithmetic.h"
#include "driver/qt_compat.h"
#include "planning/weight_order.h"

#include <deque>

namespace {

/** A key, or a block opened by it, without what stays as it is in the key. */
struct MergeItem
{
    int opener; ///< position of the key in the list that was handed in: it has the station and the type
    int startAddr;
    int count;
};

/** Taken from the front while the blocks are made: the memory of the one goes into the other. */
typedef std::deque<MergeItem> MergeItems;

/** How a key is tied to the open block. */
enum BlockJoin {
    JoinContiguous, ///< it starts at or before the first element after the block
    JoinAcrossGaps  ///< up to the block limit of unused elements may lie between
};

/** The keys as one merge sees them. */
class KeysToMerge
{
public:
    KeysToMerge(const QList<KEY_ADDRESS> &handedIn, int mode) : keys(handedIn), rewritesBits(mode != RecipeMerge) {}

    int station(const MergeItem &item) const { return keys.at(item.opener).station; }

    /** The type of the blocks that a key belongs to: the polling of bits is the polling of their registers. */
    const QString &regType(const MergeItem &item) const
    {
        const QString &own = keys.at(item.opener).regType;
        const RegisterType *type = rewritesBits ? findRegisterType(own) : 0;
        return type && type->unit == RegisterBitUnit ? areaTypeText(*type) : own;
    }

    /** Stand-ins of all keys; bits in registers become the smallest run of whole registers that holds them. */
    MergeItems items() const
    {
        MergeItems made;
        for (int i = 0; i < sizeOf(keys); ++i) {
            const KEY_ADDRESS &key = keys.at(i);
            MergeItem item = {i, key.startAddr, key.count};
            const RegisterType *type = rewritesBits ? findRegisterType(key.regType) : 0;
            if (type && type->unit == RegisterBitUnit) {
                item.startAddr = key.startAddr / RegisterBits;
                item.count = registersOf(wrapAdd(key.startAddr % RegisterBits, key.count));
            }
            made.push_back(item);
        }
        return made;
    }

    bool sameGroup(const MergeItem &a, const MergeItem &b) const
    {
        if (station(a) != station(b))
            return false;
        const QString &one = regType(a);
        const QString &other = regType(b);
        return sharesText(one, other) || one == other;
    }

    KEY_ADDRESS block(const MergeItem &item) const
    {
        KEY_ADDRESS made = keys.at(item.opener);
        made.regType = regType(item);
        made.startAddr = item.startAddr;
        made.count = item.count;
        return made;
    }

private:
    const QList<KEY_ADDRESS> keys; // shares the records of the caller's list, which is replaced at the end
    const bool rewritesBits;
};

/**
 * One merge pass over sorted items, in place.
 *
 * @param limit most elements of a block; a longer single key stays whole
 * @param starts if not null, gets the position in @p items of each block's first item
 */
void mergePass(const KeysToMerge &keys, MergeItems &items, int limit, BlockJoin join, QList<int> *starts)
{
    const int widestGap = join == JoinContiguous ? 0 : limit;
    std::size_t blocks = 0; // blocks closed or open so far; they overwrite the items already handled
    for (std::size_t i = 0; i < items.size(); ++i) {
        const MergeItem item = items[i];
        if (blocks > 0 && keys.sameGroup(items[blocks - 1], item)) {
            MergeItem &open = items[blocks - 1];
            const int gap = wrapSub(item.startAddr, wrapAdd(open.startAddr, open.count));
            const int span = wrapSub(wrapAdd(item.startAddr, item.count), open.startAddr);
            if (gap <= widestGap && span <= limit) {
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

} // namespace

void Modbus_rtu_master::addrMerge(QList<KEY_ADDRESS> &keys, int mode)
{
    const KeysToMerge merged(keys, mode);
    MergeItems items = merged.items();
    if (mode == RecipeMerge) {
        mergePass(merged, items, maxReadWords, JoinContiguous, &rcpBlockStarts);
    } else {
        items = sortedByWeight(items, [this, &merged](const MergeItem &item) {
            return getRegAddressWeight(merged.station(item), merged.regType(item), item.startAddr, 0);
        });
        mergePass(merged, items, maxReadWords, JoinContiguous, 0);
        mergePass(merged, items, maxReadWords, JoinAcrossGaps, 0);
    }

    QList<KEY_ADDRESS> blocks;
    blocks.reserve(static_cast<int>(items.size()));
    for (; !items.empty(); items.pop_front())
        blocks.append(merged.block(items.front()));
    keys = blocks;
}
