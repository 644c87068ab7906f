#include "model/state_comparison.h"

#include "driver/modbus_rtu_master.h"

#include <algorithm>
#include <cstring>

namespace model {

std::string text(const QString &value)
{
    return "\"" + std::string(value.toUtf8().constData()) + "\"";
}

std::string text(const unsigned char *bytes, int length)
{
    const QByteArray hex = QByteArray(reinterpret_cast<const char *>(bytes), std::min(length, 300)).toHex();
    return std::string(hex.constData()) + (length > 300 ? "..." : "");
}

std::string text(const VARIABLE &unit)
{
    return "{" + std::to_string(unit.userData) + ", " + std::to_string(unit.station) + ", " + text(unit.regType) + ", "
           + std::to_string(unit.startAddr) + ", " + std::to_string(unit.count) + "}";
}

std::string unequal(const char *what, long long real, long long plain)
{
    if (real == plain)
        return std::string();
    return std::string(what) + ": driver " + std::to_string(real) + ", model " + std::to_string(plain);
}

namespace {

std::string inside(const std::string &what, const std::string &difference)
{
    return difference.empty() ? difference : what + " " + difference;
}

// Sizes first, then the elements; @p compare gives the difference of two of them.
template <typename Real, typename Plain, typename Compare>
std::string listDifference(const char *name, const Real &real, const Plain &plain, Compare compare)
{
    const std::string sizes =
        unequal("size", static_cast<long long>(real.size()), static_cast<long long>(plain.size()));
    if (!sizes.empty())
        return inside(name, sizes);
    for (int i = 0; i < static_cast<int>(real.size()); ++i) {
        const std::string difference = compare(real.at(i), plain.at(i));
        if (!difference.empty())
            return inside(std::string(name) + "[" + std::to_string(i) + "]", difference);
    }
    return std::string();
}

std::string areaText(const _DATA_ &area)
{
    return "{error " + std::to_string(area.errorFlag) + ", written " + std::to_string(area.writtenFlag) + ", bits "
           + std::to_string(area.bitWriteState) + ", monitor " + std::to_string(area.wordMonitor) + "/"
           + std::to_string(area.bitMonitor) + ", " + std::to_string(area.station) + " " + text(area.regType) + " "
           + std::to_string(area.areaIndex) + ", read " + std::to_string(area.readValue) + ", written "
           + std::to_string(area.writtenValue) + "}";
}

std::string areaDifference(const _DATA_ &real, const _DATA_ &plain)
{
    if (real.errorFlag == plain.errorFlag && real.writtenFlag == plain.writtenFlag
        && real.bitWriteState == plain.bitWriteState && real.wordMonitor == plain.wordMonitor
        && real.bitMonitor == plain.bitMonitor && real.station == plain.station && real.regType == plain.regType
        && real.areaIndex == plain.areaIndex && real.readValue == plain.readValue
        && real.writtenValue == plain.writtenValue)
        return std::string();
    return "driver " + areaText(real) + ", model " + areaText(plain);
}

std::string rowText(const _RCP_VAR_PRO &row)
{
    return "{" + std::to_string(row.station) + ", " + text(row.regType) + ", " + std::to_string(row.startAddr) + ", "
           + std::to_string(row.count) + ", @" + std::to_string(row.hostOffset) + "}";
}

// The link and the extra number of a merged block mean nothing.
std::string blockDifference(const _RCP_VAR_PRO &real, const _RCP_VAR_PRO &plain)
{
    if (real.station == plain.station && real.regType == plain.regType && real.startAddr == plain.startAddr
        && real.count == plain.count && real.hostOffset == plain.hostOffset)
        return std::string();
    return "driver " + rowText(real) + ", model " + rowText(plain);
}

std::string rowDifference(const _RCP_VAR_PRO &real, const _RCP_VAR_PRO &plain)
{
    if (real.userData != plain.userData || real.extra != plain.extra)
        return "link or extra differs in " + rowText(real);
    return blockDifference(real, plain);
}

std::string numberDifference(int real, int plain)
{
    return unequal("value", real, plain);
}

std::string readDifference(const VARIABLE &real, const VARIABLE &plain)
{
    return unitDifference(real, plain, 0);
}

std::string writeDifference(const VARIABLE &real, const VARIABLE &plain)
{
    return unitDifference(real, plain, payloadBytes(plain, WriteSent));
}

std::string listsDifference(const PlainDriver &plain)
{
    const Modbus_rtu_master &real = driver;
    std::string difference =
        listDifference("cyclicReadList", real.cyclicReadList, plain.cyclicReadList, readDifference);
    if (difference.empty())
        difference = listDifference("writeList", real.writeList, plain.writeList, writeDifference);
    if (difference.empty())
        difference =
            listDifference("conditionReadList", real.conditionReadList, plain.conditionReadList, readDifference);
    if (difference.empty())
        difference = listDifference("dataAreas", real.dataAreas, plain.dataAreas, areaDifference);
    if (difference.empty())
        difference = listDifference("rcpAddrs", real.rcpAddrs, plain.rcpAddrs, rowDifference);
    if (difference.empty())
        difference = listDifference("rcpBlocks", real.rcpBlocks, plain.rcpBlocks, blockDifference);
    if (difference.empty())
        difference = listDifference("rcpBlockStarts", real.rcpBlockStarts, plain.rcpBlockStarts, numberDifference);
    if (difference.empty())
        difference =
            listDifference("doubleSwapStations", real.doubleSwapStations, plain.doubleSwapStations, numberDifference);
    return difference;
}

} // namespace

int payloadBytes(const VARIABLE &unit, int sendState)
{
    const int whole = ModbusRtuRecordBytes;
    if (sendState == TransferWriteSent || sendState == TransferReadSent)
        return whole;
    if (sendState != WriteSent)
        return 0;
    const long long needed = static_cast<long long>(unit.count) * (unit.regType == QLatin1String("0x") ? 1 : 2);
    return static_cast<int>(std::max(0ll, std::min<long long>(needed, whole)));
}

std::string unitDifference(const VARIABLE &real, const VARIABLE &plain, int payloadLength)
{
    if (real.userData != plain.userData || real.station != plain.station || real.regType != plain.regType
        || real.startAddr != plain.startAddr || real.count != plain.count)
        return "driver " + text(real) + ", model " + text(plain);
    if (memcmp(real.data, plain.data, static_cast<size_t>(payloadLength)) != 0)
        return "payload: driver " + text(real.data, payloadLength) + ", model " + text(plain.data, payloadLength);
    return std::string();
}

std::string frameDifference(const FRAME_PRO &real, const FRAME_PRO &plain, int sendState)
{
    std::string difference = unequal("frameLen", real.frameLen, plain.frameLen);
    if (difference.empty())
        difference = unequal("replyLen", real.replyLen, plain.replyLen);
    if (difference.empty())
        difference = unequal("frameKind", real.frameKind, plain.frameKind);
    if (difference.empty())
        difference = unequal("dataLen", real.dataLen, plain.dataLen);
    if (difference.empty() && memcmp(real.frame, plain.frame, static_cast<size_t>(plain.frameLen)) != 0)
        difference =
            "bytes: driver " + text(real.frame, real.frameLen) + ", model " + text(plain.frame, plain.frameLen);
    if (difference.empty())
        difference = inside("var", unitDifference(real.var, plain.var, payloadBytes(plain.var, sendState)));
    return difference;
}

std::string stateDifference(const PlainDriver &plain)
{
    const Modbus_rtu_master &real = driver;
    const struct
    {
        const char *name;
        int real;
        int plain;
    } members[] = {
        {"linkId", real.linkId, plain.linkId},
        {"localWriteOnly", real.localWriteOnly, plain.localWriteOnly},
        {"spareProperty", real.spareProperty, plain.spareProperty},
        {"retryLimit", real.retryLimit, plain.retryLimit},
        {"maxReadWords", real.maxReadWords, plain.maxReadWords},
        {"hostArg", real.hostArg, plain.hostArg},
        {"sendState", real.sendState, plain.sendState},
        {"burstCount", real.burstCount, plain.burstCount},
        {"spareCounter", real.spareCounter, plain.spareCounter},
        {"failCount", real.failCount, plain.failCount},
        {"maxBlockBits", real.maxBlockBits, plain.maxBlockBits},
        {"maxBlockWords", real.maxBlockWords, plain.maxBlockWords},
        {"lastFailed", real.lastFailed, plain.lastFailed},
        {"spareFlagA", real.spareFlagA, plain.spareFlagA},
        {"spareFlagB", real.spareFlagB, plain.spareFlagB},
        {"rcpIndex", real.rcpIndex, plain.rcpIndex},
        {"doubleSwapMode", real.doubleSwapMode, plain.doubleSwapMode},
    };
    for (const auto &member : members) {
        const std::string difference = unequal(member.name, member.real, member.plain);
        if (!difference.empty())
            return difference;
    }
    std::string difference = listsDifference(plain);
    if (difference.empty())
        difference = inside("conditionVar", unitDifference(real.conditionVar, plain.conditionVar, 0));
    if (difference.empty())
        difference = inside("currentVar", unitDifference(real.currentVar, plain.currentVar,
                                                         payloadBytes(plain.currentVar, plain.sendState)));
    if (difference.empty())
        difference = listDifference(
            "frameList", real.frameList, plain.frameList,
            [&plain](const FRAME_PRO &a, const FRAME_PRO &b) { return frameDifference(a, b, plain.sendState); });
    return difference;
}

} // namespace model
