// Good read replies into the cache, into the write half of a bit write, and
// into the host's recipe buffer.

#include "driver/modbus_rtu_master.h"

#include "address/register_types.h"
#include "cache/data_areas.h"
#include "driver/arithmetic.h"
#include "driver/record_copy.h"
#include "frames/crc.h"
#include "frames/reply_bytes.h"

namespace {

enum { ByteBits = 8, WriteHeaderBytes = 7, CrcBytes = 2 };

/** Bytes of a reply that are changed in place; positions outside are left out. */
class EditableReply
{
public:
    EditableReply(QByteArray &received, int dataStart)
        : bytes(reinterpret_cast<unsigned char *>(received.data()))
        , size(sizeOf(received))
        , start(dataStart)
    {
    }

    unsigned char at(long long offset) const { return isInside(offset) ? bytes[start + offset] : 0; }

    void put(long long offset, int value)
    {
        if (isInside(offset))
            bytes[start + offset] = static_cast<unsigned char>(value);
    }

private:
    bool isInside(long long offset) const { return start + offset >= 0 && start + offset < size; }

    unsigned char *bytes;
    const int size;
    const int start;
};

void exchangeRegisterBytes(EditableReply &reply, int registers)
{
    for (int i = 0; i < registers; ++i) {
        const int first = reply.at(2 * i);
        reply.put(2 * i, reply.at(2 * i + 1));
        reply.put(2 * i + 1, first);
    }
}

/** Sets or clears the written bits in registers with the low byte first; any nonzero byte of the data is on. */
void changeBits(EditableReply &reply, const VARIABLE &var)
{
    const int known = static_cast<int>(ModbusRtuRecordBytes);
    for (int k = 0; k < var.count && k < known; ++k) {
        const int position = k + var.startAddr % RegisterBits;
        if (position < 0)
            continue;
        const int mask = 1 << position % ByteBits;
        const int byte = reply.at(position / ByteBits);
        reply.put(position / ByteBits, var.data[k] != 0 ? byte | mask : byte & ~mask);
    }
}

void fillWrite(FRAME_PRO &write, const EditableReply &reply)
{
    const int registers = (write.frameLen - WriteHeaderBytes - CrcBytes) / 2;
    for (int i = 0; i < registers; ++i) {
        write.frame[WriteHeaderBytes + 2 * i] = reply.at(2 * i + 1);
        write.frame[WriteHeaderBytes + 2 * i + 1] = reply.at(2 * i);
    }
    if (write.frameLen >= CrcBytes)
        appendCrc(write.frame, write.frameLen - CrcBytes);
}

/** Byte by byte: host buffers may lie at odd addresses. */
void putWord(unsigned short *buffer, int word, int value)
{
    if (!buffer || word < 0)
        return;
    unsigned char *place = reinterpret_cast<unsigned char *>(buffer) + 2 * static_cast<std::ptrdiff_t>(word);
    place[0] = static_cast<unsigned char>(value & 0xFF);
    place[1] = static_cast<unsigned char>(value >> 8);
}

} // namespace

void Modbus_rtu_master::unpackReply(const ReplyBytes &reply, int dataLen, int station, const RegisterType &type,
                                    int startAddr)
{
    const bool coils = type.unit == CoilUnit;
    const int elements = coils ? dataLen : dataLen / 2;
    if (elements < 1)
        return;

    // A plan of one block starts again where it started, a longer one goes on
    // where the last block ended.
    AreaWalker areas(*this, station, areaTypeText(type));
    areas.expectAt(lastReplyEnd, lastReplyStart);
    areas.at(startAddr);
    lastReplyStart = areas.where();
    // While host writes are queued, a panel goes on showing what was written to
    // holding registers read as such.
    const bool keepsWritten = type.writable && type.unit != RegisterBitUnit;
    if (coils)
        unpackCoils(areas, startAddr, elements, reply);
    else
        unpackRegisters(areas, startAddr, elements, reply, keepsWritten);
    lastReplyEnd = areas.where();
}

// Unchanged elements are passed in one go; changed ones mostly come in numbers
// as well and are taken one after the other until one is unchanged again.

void Modbus_rtu_master::unpackRegisters(AreaWalker &areas, int startAddr, int count, const ReplyBytes &reply,
                                        bool keepsWritten)
{
    const int received = reply.size() / 2;
    const int complete = count < received ? count : received;
    const unsigned char *wire = reply.data();
    for (int i = 0; i < complete; ++i) {
        i += areas.passUnchangedRegisters(wrapAdd(startAddr, i), wire + 2 * i, complete - i);
        while (i < complete
               && takeRegister(areas, wrapAdd(startAddr, i), wire[2 * i] << 8 | wire[2 * i + 1], keepsWritten))
            ++i;
    }
    for (int i = complete < 0 ? 0 : complete; i < count; ++i)
        takeRegister(areas, wrapAdd(startAddr, i), reply.registerAt(i), keepsWritten);
}

/** Takes one register into the cache; true when it was a new value. */
bool Modbus_rtu_master::takeRegister(AreaWalker &areas, int address, int value, bool keepsWritten)
{
    _DATA_ &area = areas.at(address);
    area.errorFlag = 0;
    const int known = registerOf(area.readValue);
    if (known == value)
        return false;
    if (!keepsWritten || writeList.isEmpty())
        area.writtenFlag = 0;
    _wordDataChange(&known, &value, areas.station, areas.areaType, address, 0);
    storeRegister(areas.at(address).readValue, value);
    areas.advance();
    return true;
}

/**
 * Takes one coil into the cache; true when it was a new value. @p text is what the
 * host gets as the type: kept from coil to coil, renewed when the host changed it.
 */
inline bool Modbus_rtu_master::takeCoil(AreaWalker &areas, int address, int value, QString &text)
{
    _DATA_ &area = areas.at(address);
    area.errorFlag = 0;
    if (coilOf(area.readValue) == value)
        return false;
    area.writtenFlag = 0;
    copyText(text, areas.areaType);
    callHost(linkId, areas.station, text, address);
    storeCoil(areas.at(address).readValue, value);
    areas.advance();
    return true;
}

void Modbus_rtu_master::unpackCoils(AreaWalker &areas, int startAddr, int count, const ReplyBytes &reply)
{
    const int received = reply.size() * ByteBits;
    const int complete = count < received ? count : received;
    const unsigned char *packed = reply.data();
    for (int i = 0; i < complete; ++i) {
        i += areas.passUnchangedCoils(wrapAdd(startAddr, i), packed, i, complete - i);
        i += takeChangedCoils(areas, wrapAdd(startAddr, i), packed, i, complete - i);
    }
    QString text;
    for (int i = complete < 0 ? 0 : complete; i < count; ++i)
        takeCoil(areas, wrapAdd(startAddr, i), reply.coilAt(i), text);
}

/** Takes coils into the cache up to the first that is what it was; result: how many were new values. */
int Modbus_rtu_master::takeChangedCoils(AreaWalker &areas, int address, const unsigned char *packed, int firstBit,
                                        int count)
{
    QString text;
    for (int i = 0; i < count; ++i) {
        const unsigned int bit = static_cast<unsigned int>(firstBit + i);
        if (!takeCoil(areas, wrapAdd(address, i), packed[bit / ByteBits] >> bit % ByteBits & 1, text))
            return i;
    }
    return count;
}

/** The read half of a bit write: its registers, with the bits changed, become the payload of the write half. */
void Modbus_rtu_master::fillBitWrite(QByteArray &received)
{
    const FRAME_PRO &head = frameList.first();
    const VARIABLE &var = head.var;
    dataArea(var.station, QString::fromLatin1("4x"), var.startAddr / RegisterBits).errorFlag = 0;

    EditableReply reply(received, head.frameKind);
    exchangeRegisterBytes(reply, head.dataLen / 2);
    changeBits(reply, var);
    if (sizeOf(frameList) > 1)
        fillWrite(frameList[1], reply);
}

/** The rows of the recipe block in transfer; none where a registration has removed them since. */
Modbus_rtu_master::RecipeRows Modbus_rtu_master::recipeRowsInTransfer() const
{
    RecipeRows found;
    if (rcpIndex < 0 || rcpIndex >= sizeOf(rcpBlockStarts))
        return found;
    found.rows = rcpAddrs;
    found.first = rcpBlockStarts.at(rcpIndex);
    const int registered = sizeOf(rcpAddrs);
    const bool lastBlock = rcpIndex + 1 == sizeOf(rcpBlockStarts);
    found.last = lastBlock ? registered : rcpBlockStarts.at(rcpIndex + 1);
    if (found.last > registered)
        found.last = registered;
    return found;
}

void Modbus_rtu_master::unpackRecipeRows(const RecipeRows &found, const RegisterType *type, const ReplyBytes &reply)
{
    const bool plainWords = type && type->unit == WordUnit;
    for (int r = found.first; r < found.last; ++r) {
        const _RCP_VAR_PRO &row = found.rows.at(r);
        const int firstRegister = wrapSub(row.startAddr, found.rows.at(found.first).startAddr);
        if (plainWords)
            storeRecipeWords(row, firstRegister, reply);
        else
            storeRecipeDouble(row, firstRegister, reply);
    }
}

void Modbus_rtu_master::storeRecipeWords(const _RCP_VAR_PRO &row, int firstRegister, const ReplyBytes &reply)
{
    const int words = boundedCount(row.count);
    for (int i = 0; i < words; ++i) {
        const int word = wrapAdd(row.hostOffset, i);
        putWord(hostWordBuffer, word, reply.registerAt(static_cast<long long>(firstRegister) + i));
        reportRecipeWord(word);
    }
}

void Modbus_rtu_master::storeRecipeDouble(const _RCP_VAR_PRO &row, int firstRegister, const ReplyBytes &reply)
{
    const int first = reply.registerAt(firstRegister);
    const int second = reply.registerAt(static_cast<long long>(firstRegister) + 1);
    const bool lowWordFirst = swapsDoubleWords(row.station);
    const int word = row.hostOffset;
    const int next = wrapAdd(word, 1);
    putWord(hostWordBuffer, word, lowWordFirst ? first : second);
    putWord(hostWordBuffer, next, lowWordFirst ? second : first);
    reportRecipeWord(word);
    reportRecipeWord(next);
}

void Modbus_rtu_master::reportRecipeWord(int word)
{
    reportChange(0, -1, QString::fromLatin1("RWI"), word);
}
