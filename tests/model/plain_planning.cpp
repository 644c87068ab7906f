// Recipe rows, merging, the cyclic plan and condition reads.
#include "model/plain_driver.h"

using plain::difference;
using plain::product;
using plain::sum;

namespace {

bool sameRange(const VARIABLE &a, const VARIABLE &b)
{
    return a.station == b.station && a.regType == b.regType && a.startAddr == b.startAddr && a.count == b.count;
}

} // namespace

int PlainDriver::setRcpAddress(const QVector<_RCP_VAR_PRO> &rows)
{
    rcpAddrs = QVector<_RCP_VAR_PRO>();
    for (int i = 0; i < static_cast<int>(rows.size()); ++i) {
        if (rows.at(i).userData == linkId)
            rcpAddrs.append(rows.at(i));
    }
    const int n = static_cast<int>(rcpAddrs.size());
    if (n == 0)
        return 0;
    for (int pass = 0; pass <= n - 2; ++pass) {
        for (int j = 0; j <= n - pass - 2; ++j) {
            const _RCP_VAR_PRO a = rcpAddrs.at(j);
            const _RCP_VAR_PRO b = rcpAddrs.at(j + 1);
            if (getRegAddressWeight(a.station, a.regType, a.startAddr)
                > getRegAddressWeight(b.station, b.regType, b.startAddr)) {
                rcpAddrs[j] = b;
                rcpAddrs[j + 1] = a;
            }
        }
    }
    QList<KEY_ADDRESS> keys;
    for (int i = 0; i < n; ++i) {
        KEY_ADDRESS key = KEY_ADDRESS();
        key.station = rcpAddrs.at(i).station;
        key.regType = rcpAddrs.at(i).regType;
        key.startAddr = rcpAddrs.at(i).startAddr;
        key.count = rcpAddrs.at(i).count;
        key.hostOffset = rcpAddrs.at(i).hostOffset;
        keys.append(key);
    }
    rcpBlockStarts.clear();
    rcpBlocks = QVector<_RCP_VAR_PRO>();
    mergeKeys(keys, 2);
    for (int i = 0; i < static_cast<int>(keys.size()); ++i) {
        _RCP_VAR_PRO block = _RCP_VAR_PRO();
        block.station = keys.at(i).station;
        block.regType = keys.at(i).regType;
        block.startAddr = keys.at(i).startAddr;
        block.count = keys.at(i).count;
        block.hostOffset = keys.at(i).hostOffset;
        rcpBlocks.append(block);
    }
    return n;
}

// --- merging ------------------------------------------------------------------------

// A bit key becomes the smallest run of whole registers that holds its bits.
void PlainDriver::rewriteBitKeys(QList<KEY_ADDRESS> &keys, const char *bitType, const char *wordType) const
{
    for (int i = 0; i < static_cast<int>(keys.size()); ++i) {
        KEY_ADDRESS &key = keys[i];
        if (key.regType != QLatin1String(bitType))
            continue;
        key.regType = QLatin1String(wordType);
        key.count = sum(key.startAddr % 16, key.count);
        if ((key.count & 15) != 0)
            key.count = key.count / 16 + 1;
        else
            key.count = key.count / 16;
        key.startAddr = key.startAddr / 16;
    }
}

void PlainDriver::sortKeys(QList<KEY_ADDRESS> &keys) const
{
    const int n = static_cast<int>(keys.size());
    for (int pass = 0; pass <= n - 2; ++pass) {
        for (int j = 0; j <= n - pass - 2; ++j) {
            const KEY_ADDRESS &a = keys.at(j);
            const KEY_ADDRESS &b = keys.at(j + 1);
            if (getRegAddressWeight(a.station, a.regType, a.startAddr)
                > getRegAddressWeight(b.station, b.regType, b.startAddr)) {
                const KEY_ADDRESS first = a;
                keys[j] = keys.at(j + 1);
                keys[j + 1] = first;
            }
        }
    }
}

QList<KEY_ADDRESS> PlainDriver::mergePass(const QList<KEY_ADDRESS> &keys, int largestGap, bool recordStarts)
{
    QList<KEY_ADDRESS> blocks;
    const int n = static_cast<int>(keys.size());
    KEY_ADDRESS block = keys.at(0);
    if (recordStarts)
        rcpBlockStarts.append(0);
    if (n == 1)
        blocks.append(block);
    for (int i = 1; i < n; ++i) {
        const KEY_ADDRESS &key = keys.at(i);
        const int gap = difference(key.startAddr, sum(block.startAddr, block.count));
        const bool continues = key.station == block.station && key.regType == block.regType && gap <= largestGap;
        const int span = difference(sum(key.startAddr, key.count), block.startAddr);
        if (continues && span <= maxReadWords) {
            if (block.count < span)
                block.count = span;
        } else {
            blocks.append(block);
            block = key;
            if (recordStarts)
                rcpBlockStarts.append(i);
        }
        if (i == n - 1)
            blocks.append(block);
    }
    return blocks;
}

void PlainDriver::mergeKeys(QList<KEY_ADDRESS> &keys, int mode)
{
    if (mode == 2) {
        keys = mergePass(keys, 0, true);
        return;
    }
    rewriteBitKeys(keys, "3x_bit", "3x");
    rewriteBitKeys(keys, "4x_bit", "4x");
    sortKeys(keys);
    const QList<KEY_ADDRESS> contiguous = mergePass(keys, 0, false);
    keys = mergePass(contiguous, maxReadWords, false);
}

// --- the cyclic plan ----------------------------------------------------------------

int PlainDriver::addrMerge(const QList<KEY_ADDRESS> &keys)
{
    for (int i = 0; i < static_cast<int>(dataAreas.size()); ++i) {
        dataAreas[i].wordMonitor = 0;
        dataAreas[i].bitMonitor = 0;
    }
    QList<KEY_ADDRESS> working;
    for (int i = 0; i < static_cast<int>(keys.size()); ++i) {
        const KEY_ADDRESS &key = keys.at(i);
        setDataAreaMonitorFlag(key.station, key.regType, key.startAddr, key.count);
        working.append(key);
    }
    cyclicReadList.clear();
    if (keys.isEmpty())
        return 0;
    mergeKeys(working, 1);
    for (int i = 0; i < static_cast<int>(working.size()); ++i) {
        VARIABLE unit = VARIABLE();
        unit.userData = 4;
        unit.station = working.at(i).station;
        unit.regType = working.at(i).regType;
        unit.startAddr = working.at(i).startAddr;
        unit.count = working.at(i).count;
        cyclicReadList.append(unit);
    }
    return static_cast<int>(cyclicReadList.size());
}

void PlainDriver::setDataAreaMonitorFlag(int station, const QString &regType, int address, int count)
{
    if (regType == QLatin1String("0x") || regType == QLatin1String("1x")) {
        for (int i = 0; i < count; ++i) {
            const int a = sum(address, i);
            const int position = indexOfDataArea(station, regType, a / 8 * 8);
            dataAreas[position].bitMonitor = setBitValue(dataAreas.at(position).bitMonitor, a % 8, 1);
        }
    } else if (regType == QLatin1String("3x") || regType == QLatin1String("4x")) {
        for (int i = 0; i < count; ++i) {
            const int position = indexOfDataArea(station, regType, sum(address, i));
            dataAreas[position].wordMonitor = setBitValue(dataAreas.at(position).wordMonitor, 0, 1);
        }
    } else if (regType == QLatin1String("3x_bit") || regType == QLatin1String("4x_bit")) {
        for (int i = 0; i < count; ++i) {
            const int a = sum(address, i);
            const int position = indexOfDataArea(station, regType.left(2), a / 16);
            dataAreas[position].bitMonitor = setBitValue(dataAreas.at(position).bitMonitor, a % 16, 1);
        }
    } else if (regType == QLatin1String("3x_double") || regType == QLatin1String("4x_double")) {
        for (int k = 0; k < count / 2; ++k) {
            const int r = sum(address, product(2, k));
            int position = indexOfDataArea(station, regType.left(2), r);
            dataAreas[position].wordMonitor = setBitValue(dataAreas.at(position).wordMonitor, 1, 1);
            position = indexOfDataArea(station, regType.left(2), sum(r, 1));
            dataAreas[position].wordMonitor = setBitValue(dataAreas.at(position).wordMonitor, 2, 1);
        }
    }
}

// --- condition reads ----------------------------------------------------------------

int PlainDriver::addConditionRead(const KEY_ADDRESS &key, int userData)
{
    const int limit = key.field7 == -1 ? maxBlockBits : maxBlockWords;
    int pieces = 1;
    int lastCount = key.count;
    // A limit of nothing splits nothing.
    if (limit < key.count && limit != 0) {
        pieces = key.count / limit;
        lastCount = limit;
        if (key.count % limit != 0) {
            ++pieces;
            lastCount = key.count % limit;
        }
    }
    for (int k = 0; k < pieces; ++k) {
        const int start = k == 0 ? key.startAddr : sum(key.startAddr, product(k, limit));
        const int count = k == pieces - 1 ? lastCount : limit;
        VARIABLE unit = VARIABLE();
        unit.userData = userData;
        unit.station = key.station;
        unit.regType = key.regType;
        unit.startAddr = start;
        unit.count = count;
        if (key.regType == QLatin1String("3x_bit") || key.regType == QLatin1String("4x_bit")) {
            unit.regType = key.regType.left(2);
            unit.startAddr = start / 16;
            unit.count = count / 16;
            if ((count & 15) != 0)
                ++unit.count;
        }
        placeConditionRead(unit);
        conditionVar = unit;
    }
    return 1;
}

void PlainDriver::placeConditionRead(const VARIABLE &unit)
{
    const int n = static_cast<int>(conditionReadList.size());
    if (n == 0) {
        conditionReadList.append(unit);
        return;
    }
    for (int i = n - 1; i >= 1; --i) {
        if (sameRange(conditionReadList.at(i), unit)) {
            conditionReadList[i] = unit;
            return;
        }
    }
    if (n > 512)
        conditionReadList[512] = unit;
    else
        conditionReadList.append(unit);
}
