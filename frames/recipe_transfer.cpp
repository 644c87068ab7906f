#include "frames/recipe_transfer.h"

#include "address/register_types.h"
#include "driver/arithmetic.h"
#include "driver/driver_lock.h"
#include "driver/qt_compat.h"

#include <QtCore/QMutexLocker>

#include <cstddef>
#include <cstring>

namespace {

/** Is the low word of a 32-bit value the first one, in the host's buffer as on the slave? */
bool swapsDoubleWords(const Modbus_rtu_master &master, int station)
{
    return master.doubleSwapMode == 1 || master.doubleSwapStations.contains(station);
}

/** A word of the host's buffer as two bytes: host buffers may lie at odd addresses. */
unsigned char *wordAt(const Modbus_rtu_master &master, int word)
{
    return reinterpret_cast<unsigned char *>(master.hostWordBuffer) + 2 * static_cast<std::ptrdiff_t>(word);
}

/** Words of the source in pairs, each pair with its words exchanged; a trailing word is left out. */
void copySwappedWords(unsigned char *target, const unsigned char *source, int words)
{
    for (int pair = 0; pair < words / 2; ++pair, target += 4, source += 4) {
        std::memcpy(target, source + 2, 2);
        std::memcpy(target + 2, source, 2);
    }
}

void putWord(const Modbus_rtu_master &master, int word, int value)
{
    if (!master.hostWordBuffer || word < 0)
        return;
    unsigned char *place = wordAt(master, word);
    place[0] = static_cast<unsigned char>(value & 0xFF);
    place[1] = static_cast<unsigned char>(value >> 8);
}

void reportWord(Modbus_rtu_master &master, int word)
{
    master.reportChange(0, -1, QString::fromLatin1("RWI"), word);
}

void storeWords(Modbus_rtu_master &master, const _RCP_VAR_PRO &row, int firstRegister, const ReplyBytes &reply)
{
    const int words = boundedCount(row.count);
    for (int i = 0; i < words; ++i) {
        const int word = wrapAdd(row.hostOffset, i);
        putWord(master, word, reply.registerAt(static_cast<long long>(firstRegister) + i));
        reportWord(master, word);
    }
}

/** A recipe row is one 32-bit value: of a row that counts more, the first is stored and reported. */
void storeDouble(Modbus_rtu_master &master, const _RCP_VAR_PRO &row, int firstRegister, const ReplyBytes &reply)
{
    const int first = reply.registerAt(firstRegister);
    const int second = reply.registerAt(static_cast<long long>(firstRegister) + 1);
    const bool lowWordFirst = swapsDoubleWords(master, row.station);
    const int word = row.hostOffset;
    const int next = wrapAdd(word, 1);
    putWord(master, word, lowWordFirst ? first : second);
    putWord(master, next, lowWordFirst ? second : first);
    reportWord(master, word);
    reportWord(master, next);
}

} // namespace

TransferRequests transferRequests(const Modbus_rtu_master &master)
{
    TransferRequests requested = {false, false};
    QMutex *const mutex = master.hostMutex;
    const unsigned char *const area = master.hostArea;
    if (!mutex || !area)
        return requested;
    DriverRelease released;
    QMutexLocker locked(mutex);
    requested.write = area[WriteRequestByte] == 1;
    requested.read = area[ReadRequestByte] == 1;
    return requested;
}

bool isBlockLeft(const Modbus_rtu_master &master)
{
    return master.rcpIndex >= 0 && master.rcpIndex < sizeOf(master.rcpBlocks);
}

void selectBlock(Modbus_rtu_master &master, bool write)
{
    master.rcpAddrToVar(master.rcpBlocks.at(master.rcpIndex), master.currentVar, write);
    master.sendState = write ? TransferWriteSent : TransferReadSent;
}

void finishBlock(Modbus_rtu_master &master, TransferRequestByte request)
{
    if (!master.lastFailed) {
        master.rcpIndex = wrapAdd(master.rcpIndex, 1);
        if (master.rcpIndex < sizeOf(master.rcpBlocks))
            return;
    }
    endTransfer(master, request);
}

void endTransfer(Modbus_rtu_master &master, TransferRequestByte request)
{
    master.rcpIndex = 0;
    QMutex *const mutex = master.hostMutex;
    unsigned char *const area = master.hostArea;
    if (!mutex || !area)
        return;
    DriverRelease released;
    QMutexLocker locked(mutex);
    area[request] = 0;
}

bool hasHostWords(const Modbus_rtu_master &master, const _RCP_VAR_PRO &block)
{
    return master.hostWordBuffer && block.hostOffset >= 0;
}

void Modbus_rtu_master::rcpAddrToVar(const _RCP_VAR_PRO &descriptor, VARIABLE &target, int withData) const
{
    target.station = descriptor.station;
    target.regType = descriptor.regType;
    target.startAddr = descriptor.startAddr;
    target.count = descriptor.count;
    std::memset(target.data, 0, sizeof target.data);
    if (withData == 0 || !hasHostWords(*this, descriptor) || descriptor.count < 1)
        return;

    const int room = ModbusRtuRecordBytes / 2;
    const int words = descriptor.count < room ? descriptor.count : room;
    const unsigned char *source = wordAt(*this, descriptor.hostOffset);
    if (descriptor.regType == QLatin1String("4x_double") && swapsDoubleWords(*this, descriptor.station))
        copySwappedWords(target.data, source, words);
    else
        std::memcpy(target.data, source, 2 * static_cast<std::size_t>(words));
}

RecipeRows rowsInTransfer(const Modbus_rtu_master &master)
{
    RecipeRows found;
    const int block = master.rcpIndex;
    const int blocks = sizeOf(master.rcpBlockStarts);
    if (block < 0 || block >= blocks)
        return found;
    const int registered = sizeOf(master.rcpAddrs);
    found.rows = master.rcpAddrs;
    found.first = master.rcpBlockStarts.at(block);
    found.last = block + 1 == blocks ? registered : master.rcpBlockStarts.at(block + 1);
    if (found.last > registered)
        found.last = registered;
    return found;
}

void storeRecipeRows(Modbus_rtu_master &master, const RecipeRows &found, const QString &regType,
                     const ReplyBytes &reply)
{
    const RegisterType *type = findRegisterType(regType);
    const bool plainWords = type && type->unit == WordUnit;
    for (int r = found.first; r < found.last; ++r) {
        const _RCP_VAR_PRO &row = found.rows.at(r);
        const int firstRegister = wrapSub(row.startAddr, found.rows.at(found.first).startAddr);
        if (plainWords)
            storeWords(master, row, firstRegister, reply);
        else
            storeDouble(master, row, firstRegister, reply);
    }
}
