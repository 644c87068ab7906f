/**
 * @file
 * Folding address keys into contiguous blocks.
 *
 * The work is done on small stand-ins of the records, which carry 1024-byte
 * arrays; a block names the key that opened it and is copied once, at the end.
 */
#ifndef MERGING_H
#define MERGING_H

#include "driver/modbus_rtu_records.h"

#include <QtCore/QString>

#include <vector>

/** A key, or a block opened by it. */
struct MergeItem
{
    int station;
    QString regType;
    int startAddr;
    int count;
    int opener; ///< position of the key in the list that was handed in
};

/** How a key is tied to the open block. */
enum BlockJoin {
    JoinContiguous, ///< it starts at or before the first element after the block
    JoinAcrossGaps  ///< up to the block limit of unused elements may lie between
};

MergeItem mergeItem(const KEY_ADDRESS &key, int position);

/** Rewrites "3x_bit" and "4x_bit" keys to the smallest run of whole registers that holds their bits. */
void bitsToRegisters(std::vector<MergeItem> &items);

/**
 * One merge pass over sorted items, in place.
 *
 * @param limit most elements of a block; a longer single key stays whole
 * @param starts if not null, gets the position in @p items of each block's first item
 */
void mergePass(std::vector<MergeItem> &items, int limit, BlockJoin join, QList<int> *starts);

#endif
