#include "checker/requests.h"

#include "checker/findings.h"

#include <algorithm>

namespace checker {

namespace {

// What the protocol allows (Modbus application protocol, sections 6.1 to 6.12) and what the driver holds.
const long long Registers = 65536;
const long long RegisterBits = Registers * 16;
const long long ReadRegisters = 125;
const long long ReadBits = 2000;
const long long WriteRegisters = 123;
const int PayloadCoils = 1024;
const int QueueLength = 513;
const int PlanTag = 4;

std::string numbered(long long count, const char *what)
{
    return std::to_string(count) + " " + what;
}

bool isBits(const Request &request)
{
    return request.type && isBitType(*request.type);
}

bool isBitOfRegister(const Request &request)
{
    return request.type && request.type->unit == RegisterBitUnit;
}

bool isDouble(const Request &request)
{
    return request.type && request.type->unit == DoubleUnit;
}

long long addressSpace(const Request &request)
{
    return isBitOfRegister(request) ? RegisterBits : Registers;
}

/** Length of the longest piece of a request that the driver cuts at @p limit; 0 and below cut nothing. */
long long pieceOf(const Request &request, long long limit)
{
    return limit > 0 ? std::min<long long>(request.count, limit) : request.count;
}

bool goesToSlave(const Request &request)
{
    return request.type && request.type->writable;
}

// --- rules: what is wrong, or an empty text ---------------------------------------------

std::string unknownType(const Request &request, const Settings &)
{
    return request.type ? "" : "there is no register type \"" + request.typeName + "\"";
}

std::string stationRange(const Request &request, const Settings &)
{
    return request.station < 0 || request.station > LastStation
               ? "there is no station " + std::to_string(request.station)
               : "";
}

std::string addressRange(const Request &request, const Settings &)
{
    const long long last = static_cast<long long>(request.address) + std::max(request.count, 1) - 1;
    if (!request.type || (request.address >= 0 && last < addressSpace(request)))
        return "";
    return std::to_string(request.address) + " to " + std::to_string(last) + " of " + request.typeName
           + " is not within 0 to " + std::to_string(addressSpace(request) - 1);
}

std::string countBelowOne(const Request &request, const Settings &)
{
    return request.count < 1 ? "a count of " + std::to_string(request.count) + " asks for nothing" : "";
}

std::string halfDouble(const Request &request, const Settings &)
{
    return isDouble(request) && request.count > 0 && request.count % 2 != 0
               ? numbered(request.count, "registers of 32-bit values leave one half over")
               : "";
}

std::string keyBeyondRequest(const Request &request, const Settings &)
{
    if (!request.type)
        return "";
    if (request.type->unit == CoilUnit)
        return request.count > ReadBits ? numbered(request.count, "bits in one read") : "";
    const int spanned = registersSpanned(request);
    return spanned > ReadRegisters ? numbered(spanned, "registers in one read") : "";
}

std::string readBeyondRequest(const Request &request, const Settings &settings)
{
    if (!request.type)
        return "";
    if (request.type->unit == CoilUnit) {
        const long long bits = pieceOf(request, 8LL * settings.words);
        return bits > ReadBits ? numbered(bits, "bits in one read") : "";
    }
    const long long bitsOrWords = pieceOf(request, isBits(request) ? 8LL * settings.words : settings.words);
    const long long registers = isBits(request) ? (bitsOrWords + 15) / 16 : bitsOrWords;
    return registers > ReadRegisters ? numbered(registers, "registers in one read") : "";
}

std::string writeBeyondRequest(const Request &request, const Settings &settings)
{
    if (!goesToSlave(request) || isBits(request))
        return "";
    const long long registers = pieceOf(request, settings.words);
    return registers > WriteRegisters ? numbered(registers, "registers in one write") : "";
}

std::string coilsBeyondPayload(const Request &request, const Settings &)
{
    return request.type && request.type->unit == CoilUnit && request.count > PayloadCoils
               ? numbered(request.count, "coils in one call: those beyond 1024 are sent as 0 or not at all")
               : "";
}

std::string bitsBeyondWords(const Request &request, const Settings &settings)
{
    return goesToSlave(request) && isBitOfRegister(request) && settings.words > 0 && request.count > settings.words
               ? numbered(request.count, "bits are cut into requests of ") + std::to_string(settings.words)
                     + " whose data is taken at two bytes a bit"
               : "";
}

std::string bitData(const Request &request, const Settings &)
{
    if (!isBits(request) || !request.bytes)
        return "";
    for (int i = 0; i < request.count; ++i) {
        if (request.bytes[i] > 1)
            return "byte " + std::to_string(i) + " is " + std::to_string(request.bytes[i]);
    }
    return "";
}

std::string readOnlyWritten(const Request &request, const Settings &)
{
    return request.type && !request.type->writable
               ? "values of " + request.typeName + " change in the cache and are never sent"
               : "";
}

std::string field7Mismatch(const Request &request, const Settings &)
{
    if (!request.type || (request.field7 == -1) == isBits(request))
        return "";
    return std::to_string(request.field7) + " for " + request.typeName + " selects the limit of the other kind";
}

std::string bitRangeShort(const Request &request, const Settings &)
{
    if (!isBitOfRegister(request) || request.count < 1 || request.address < 0)
        return "";
    const int spanned = registersSpanned(request);
    const int read = (request.count - 1) / 16 + 1;
    return spanned > read ? "the bits lie in " + std::to_string(spanned) + " registers and " + std::to_string(read)
                                + " will be read"
                          : "";
}

std::string tagOfThePlan(const Request &request, const Settings &)
{
    return request.tag == PlanTag ? "the cyclic plan has 4 as well" : "";
}

std::string queueOverrun(const Request &request, const Settings &settings)
{
    const long long limit = request.field7 == -1 ? 8LL * settings.words : settings.words;
    return limit > 0 && request.count > limit * QueueLength ? "more pieces than the queue holds" : "";
}

std::string stationZero(const Request &request, const Settings &)
{
    return request.station == 0 ? "no read can be built for station 0, and what is behind it waits" : "";
}

/** Whether anything is queued for a write that the driver cuts at the words field, whatever the signs of both. */
bool isQueued(const Request &request, const Settings &settings)
{
    if (!goesToSlave(request) || settings.localOnly != 0)
        return false;
    if (request.type->unit == CoilUnit)
        return true;
    const long long count = request.count;
    const int words = settings.words;
    return words == 0 ? count > 0 : count / words + (count % words != 0 ? 1 : 0) > 0;
}

std::string bitsToAll(const Request &request, const Settings &settings)
{
    return request.station == 0 && isBitOfRegister(request) && isQueued(request, settings)
               ? "no write of 4x_bit can be built for station 0, and all writes wait"
               : "";
}

std::string negativeRegisters(const Request &request, const Settings &settings)
{
    return request.count < 0 && !isBits(request) && isQueued(request, settings)
               ? "no write of a negative count of registers can be built, and all writes wait"
               : "";
}

std::string rowType(const Request &request, const Settings &)
{
    return isBits(request) ? "rows of " + request.typeName + " are not transferred as words" : "";
}

std::string rowTooLong(const Request &request, const Settings &settings)
{
    const int longest = settings.words > 0 ? settings.words : static_cast<int>(WriteRegisters);
    return request.count > longest
               ? numbered(request.count, "words in a row, ") + std::to_string(longest) + " in a block"
               : "";
}

std::string rowOfDoubles(const Request &request, const Settings &)
{
    return isDouble(request) && request.count != 2
               ? numbered(request.count, "registers: a save stores the first value of a row only")
               : "";
}

std::string rowOffset(const Request &request, const Settings &)
{
    return request.hostOffset < 0 ? "word " + std::to_string(request.hostOffset) + " lies before the buffer" : "";
}

// --- which rules hold where -----------------------------------------------------------------

struct Rule
{
    FindingId finding;
    unsigned int calls;   ///< bits numbered by EntryPoint
    const char *argument; ///< or the member of a key or row
    std::string (*wrong)(const Request &, const Settings &);
};

const unsigned int Key = 1u << addrMergeCall;
const unsigned int OneOffRead = 1u << addConditionReadCall;
const unsigned int Row = 1u << setRcpAddressCall;
const unsigned int Get = 1u << getDataCall;
const unsigned int Set = 1u << setDataCall;
const unsigned int Every = Key | OneOffRead | Row | Get | Set;

const Rule rules[] = {
    {UnknownType, Every, "regType", unknownType},
    {StationRange, Every, "station", stationRange},
    {AddressRange, Every, "address", addressRange},
    {CountBelowOne, Every, "count", countBelowOne},
    {HalfDouble, Key | OneOffRead | Get | Set, "count", halfDouble},
    {CountBeyondRequest, Key, "count", keyBeyondRequest},
    {CountBeyondRequest, OneOffRead, "count", readBeyondRequest},
    {CountBeyondRequest, Set, "count", writeBeyondRequest},
    {CoilsBeyondPayload, Set, "count", coilsBeyondPayload},
    {BitsBeyondWords, Set, "count", bitsBeyondWords},
    {BitData, Set, "data", bitData},
    {ReadOnlyWritten, Set, "regType", readOnlyWritten},
    {Field7Mismatch, OneOffRead, "field7", field7Mismatch},
    {BitRangeShort, OneOffRead, "count", bitRangeShort},
    {TagOfThePlan, OneOffRead, "userData", tagOfThePlan},
    {QueueOverrun, OneOffRead, "count", queueOverrun},
    {PlanStandsStill, Key, "station", stationZero},
    {ReadStandsStill, OneOffRead, "station", stationZero},
    {WriteStandsStill, Set, "station", bitsToAll},
    {WriteStandsStill, Set, "count", negativeRegisters},
    {RowType, Row, "regType", rowType},
    {RowTooLong, Row, "count", rowTooLong},
    {RowOfDoubles, Row, "count", rowOfDoubles},
    {RowOffset, Row, "hostOffset", rowOffset},
};

const char *listName(EntryPoint call)
{
    return call == setRcpAddressCall ? "rows" : "keys";
}

} // namespace

Request requestOf(EntryPoint call, int station, const QString &type, int address, int count)
{
    const Request request = {
        call, -1, station, std::string(type.toLatin1().constData()), findRegisterType(type), address, count, 0,
        0,    0,  nullptr};
    return request;
}

int registersSpanned(const Request &request)
{
    if (!request.type || request.type->unit == CoilUnit || request.count < 1)
        return 0;
    if (!isBitOfRegister(request))
        return request.count;
    return static_cast<int>((std::max(request.address, 0) % 16 + static_cast<long long>(request.count) + 15) / 16);
}

void checkRequest(const Request &request, const Settings &settings, Findings &findings)
{
    for (const Rule &rule : rules) {
        if ((rule.calls & 1u << request.call) == 0)
            continue;
        const std::string wrong = rule.wrong(request, settings);
        if (wrong.empty())
            continue;
        const std::string argument = request.index < 0 ? std::string(rule.argument)
                                                       : std::string(listName(request.call)) + "["
                                                             + std::to_string(request.index) + "]." + rule.argument;
        findings.report(rule.finding, request.call, argument, wrong);
    }
}

} // namespace checker
