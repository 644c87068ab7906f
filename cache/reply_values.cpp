#include "cache/reply_values.h"

#include "address/register_types.h"
#include "cache/data_areas.h"
#include "cache/station_areas.h"
#include "driver/arithmetic.h"
#include "driver/record_copy.h"

#include <cstring>

namespace {

/**
 * One reply on its way into the areas. Where the last reply to the same request
 * is known, only what differs from it needs a look, until a callback has let
 * something else happen to the areas.
 */
class ReplyValues
{
public:
    ReplyValues(Modbus_rtu_master &driverObject, const VARIABLE &answered, const RegisterType &answeredType,
                int elements, const ReplyBytes &received)
        : master(driverObject)
        , station(answered.station)
        , areaType(areaTypeText(answeredType))
        , reply(received)
        , data(received.data())
        , size(received.size())
        , start(answered.startAddr)
        , count(elements)
        , coils(answeredType.unit == CoilUnit)
        // While host writes are queued, a panel goes on showing what was written to
        // holding registers read as such.
        , keepsWritten(answeredType.writable && answeredType.unit != RegisterBitUnit)
        , eventsBefore(master.lastReplies.eventCount())
        , place(placeFor(answered))
        , known(master.lastReplies.dataAt(place))
        , differing(AllCoils)
        , othersForgotten(false)
    {
    }

    void take()
    {
        if (known && std::memcmp(known, data, static_cast<std::size_t>(dataBytes())) == 0)
            return;
        if (coils)
            takeCoils();
        else
            takeRegisters();
        if (place != LastReplies::NoPlace && nothingCameBetween())
            master.lastReplies.keep(place, data);
    }

private:
    ReplyValues(const ReplyValues &);
    ReplyValues &operator=(const ReplyValues &);

    int dataBytes() const { return replyDataBytes(coils, count); }

    int placeFor(const VARIABLE &answered) const
    {
        if (master.sendState != CyclicReadSent)
            return LastReplies::NoPlace;
        const int found = master.lastReplies.placeFor(answered);
        const bool whole = found != LastReplies::NoPlace && count == answered.count && dataBytes() <= size;
        return whole ? found : static_cast<int>(LastReplies::NoPlace);
    }

    /** Else the cache may have been emptied and other replies kept: neither positions nor what was known hold. */
    bool nothingCameBetween() const { return master.lastReplies.eventCount() == eventsBefore; }

    /** Position of the area at @p address, created if absent. Holds until the cache is emptied. */
    int positionOf(int address) { return master.getIndexOfDataArea(station, areaType, address, master.dataAreas); }

    void takeRegisters()
    {
        for (int i = 0; i < count; ++i) {
            if (!known || std::memcmp(known + 2 * i, data + 2 * i, 2) != 0)
                takeRegister(wrapAdd(start, i),
                             2 * i + 1 < size ? data[2 * i] << 8 | data[2 * i + 1] : reply.registerAt(i));
        }
    }

    void takeCoils()
    {
        QString text; // what the host gets as the type: kept from coil to coil, renewed when the host changed it
        for (int first = 0; first < count; first += ByteBits) {
            const int byte = first / ByteBits;
            const int address = wrapAdd(start, first);
            const int packed = byte < size ? data[byte] : 0;
            differing = known ? known[byte] ^ packed : AllCoils;
            const int coilsHere =
                count - first < static_cast<int>(ByteBits) ? count - first : static_cast<int>(ByteBits);
            for (int bit = 0; bit < coilsHere; ++bit) {
                if (differing >> bit & 1)
                    takeCoil(wrapAdd(address, bit), packed >> bit & 1, text);
            }
        }
    }

    void takeRegister(int address, int value)
    {
        const int position = positionOf(address);
        _DATA_ &area = master.dataAreas[position];
        area.errorFlag = 0;
        const int before = registerOf(area.readValue);
        if (before == value)
            return;
        if (!keepsWritten || master.writeList.isEmpty())
            area.writtenFlag = 0;
        forgetOthers();
        master._wordDataChange(&before, &value, station, areaType, address, 0);
        if (nothingCameBetween()) {
            storeRegister(master.dataAreas[position].readValue, value);
            return;
        }
        known = 0;
        StationAreas(master, station, areaType).storeReadRegister(address, value);
    }

    void takeCoil(int address, int value, QString &text)
    {
        const int position = positionOf(address);
        _DATA_ &area = master.dataAreas[position];
        area.errorFlag = 0;
        if (coilOf(area.readValue) == value)
            return;
        area.writtenFlag = 0;
        forgetOthers();
        copyText(text, areaType);
        master.reportChange(master.linkId, station, text, address);
        if (nothingCameBetween()) {
            storeCoil(master.dataAreas[position].readValue, value);
            return;
        }
        known = 0;
        differing = AllCoils;
        StationAreas(master, station, areaType).storeReadCoil(address, value);
    }

    /** Forgets what was known of these areas, once: as long as nothing comes between, none is kept anew. */
    void forgetOthers()
    {
        if (othersForgotten)
            return;
        master.lastReplies.forget(station, areaType, start, count);
        othersForgotten = true;
    }

    enum { AllCoils = 0xFF };

    Modbus_rtu_master &master;
    const int station;
    const QString &areaType; ///< of the areas that hold the values
    const ReplyBytes &reply;
    const unsigned char *const data; ///< the data bytes of the reply
    const int size;                  ///< and how many there are
    const int start;
    const int count;
    const bool coils;
    const bool keepsWritten;
    const unsigned int eventsBefore;
    const int place;
    const unsigned char *known; ///< data of the last reply to the same request, or null
    int differing;              ///< coils of the byte being taken that need a look: bit 0 the first
    bool othersForgotten;
};

} // namespace

void takeReplyValues(Modbus_rtu_master &master, const VARIABLE &request, int dataLen, const ReplyBytes &reply)
{
    const RegisterType *type = findRegisterType(request.regType);
    if (!type)
        return;
    ReplyValues(master, request, *type, replyValueCount(*type, dataLen), reply).take();
}
