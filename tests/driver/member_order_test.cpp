// The members of the driver object: their order and kinds, as the panels' tools
// and this project's documents list them. What the object remembers besides
// stands behind them.

#include "driver/modbus_rtu_master.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace {

/** A member: where it lies in the object. */
struct Place
{
    const char *name;
    std::ptrdiff_t offset;
    std::size_t size;
};

#define PLACE(member)                                                                                                  \
    Place                                                                                                              \
    {                                                                                                                  \
#member, reinterpret_cast < const char *>(&master.member) - reinterpret_cast < const char *>(&master),         \
            sizeof master.member                                                                                       \
    }

#define KIND(member, type)                                                                                             \
    static_assert(std::is_same<decltype(Modbus_rtu_master::member), type>::value, #member " is of another kind")

KIND(valueChangeCallBack, ValueChangeCallBack);
KIND(linkId, int);
KIND(localWriteOnly, int);
KIND(spareProperty, int);
KIND(retryLimit, int);
KIND(maxReadWords, int);
KIND(hostArea, unsigned char *);
KIND(hostArg, int);
KIND(hostWordBuffer, unsigned short *);
KIND(hostMutex, QMutex *);
KIND(cyclicReadList, QList<VARIABLE>);
KIND(writeList, QList<VARIABLE>);
KIND(conditionReadList, QList<VARIABLE>);
KIND(dataAreas, QList<_DATA_>);
KIND(rcpAddrs, QVector<_RCP_VAR_PRO>);
KIND(rcpBlocks, QVector<_RCP_VAR_PRO>);
KIND(rcpBlockStarts, QList<int>);
KIND(conditionVar, VARIABLE);
KIND(regTypeNames, QList<QString>);
KIND(currentVar, VARIABLE);
KIND(sendState, int);
KIND(burstCount, int);
KIND(spareCounter, int);
KIND(failCount, int);
KIND(maxBlockBits, int);
KIND(maxBlockWords, int);
KIND(lastFailed, int);
KIND(spareFlagA, int);
KIND(spareFlagB, int);
KIND(frameList, QList<FRAME_PRO>);
KIND(rcpIndex, int);
KIND(listMutex, QMutex);
KIND(doubleSwapMode, int);
KIND(doubleSwapStations, QList<int>);

TEST(DriverObject, MembersLieInTheirOrder)
{
    const Modbus_rtu_master master;
    const Place places[] = {
        PLACE(valueChangeCallBack),
        PLACE(linkId),
        PLACE(localWriteOnly),
        PLACE(spareProperty),
        PLACE(retryLimit),
        PLACE(maxReadWords),
        PLACE(hostArea),
        PLACE(hostArg),
        PLACE(hostWordBuffer),
        PLACE(hostMutex),
        PLACE(cyclicReadList),
        PLACE(writeList),
        PLACE(conditionReadList),
        PLACE(dataAreas),
        PLACE(rcpAddrs),
        PLACE(rcpBlocks),
        PLACE(rcpBlockStarts),
        PLACE(conditionVar),
        PLACE(regTypeNames),
        PLACE(currentVar),
        PLACE(sendState),
        PLACE(burstCount),
        PLACE(spareCounter),
        PLACE(failCount),
        PLACE(maxBlockBits),
        PLACE(maxBlockWords),
        PLACE(lastFailed),
        PLACE(spareFlagA),
        PLACE(spareFlagB),
        PLACE(frameList),
        PLACE(rcpIndex),
        PLACE(listMutex),
        PLACE(doubleSwapMode),
        PLACE(doubleSwapStations),
    };
    // Nothing lies before them, nothing between them but padding.
    std::ptrdiff_t end = 0;
    for (const Place &place : places) {
        EXPECT_GE(place.offset, end) << place.name << " lies before the member that it follows";
        EXPECT_LT(place.offset, end + static_cast<std::ptrdiff_t>(sizeof(void *)))
            << "something lies before " << place.name;
        end = place.offset + static_cast<std::ptrdiff_t>(place.size);
    }
}

} // namespace
