#include "checker/misuse.h"

namespace checked {

namespace {

typedef std::vector<unsigned char> Bytes;

/** So many bytes of 0. */
Bytes zeros(int count)
{
    return Bytes(static_cast<std::size_t>(count), 0);
}

/** A host whose writes and reads are cut at @p words registers. */
void initWords(CheckedHost &host, const char *property)
{
    host.init(property);
    host.plan(Keys() << key(1, "4x", 0, 4));
    takeFindings();
}

std::vector<Misuse> rangeMisuses()
{
    return {
        {"unknown-type", "WritesAnUnknownType", [](CheckedHost &host) { host.write(1, "4X", 0, 1, zeros(2)); }},
        {"unknown-type", "ReadsAnUnknownType", [](CheckedHost &host) { host.read(1, "5x", 0, 1); }},
        {"unknown-type", "PlansAnUnknownType", [](CheckedHost &host) { host.plan(Keys() << key(1, "", 0, 1)); }},
        {"unknown-type", "AsksOnceForAnUnknownType", [](CheckedHost &host) { host.readOnce(key(1, "4x_", 0, 1)); }},
        {"unknown-type", "RegistersAnUnknownType",
         [](CheckedHost &host) { host.registerRows(Rows() << row(1, 1, "4", 0, 1, 0)); }},
        {"station-range", "PlansStation248", [](CheckedHost &host) { host.plan(Keys() << key(248, "4x", 0, 1)); }},
        {"station-range", "WritesToStationMinusOne", [](CheckedHost &host) { host.write(-1, "4x", 0, 1, zeros(2)); }},
        {"address-range", "PlansBeyondTheLastRegister",
         [](CheckedHost &host) { host.plan(Keys() << key(1, "4x", 65535, 2)); }},
        {"address-range", "PlansTheOneBasedLastCoil",
         [](CheckedHost &host) { host.plan(Keys() << key(1, "0x", 65536, 1)); }},
        {"address-range", "ReadsBeforeTheFirstRegister", [](CheckedHost &host) { host.read(1, "4x", -1, 1); }},
        {"address-range", "ReadsBeyondTheLastBit", [](CheckedHost &host) { host.read(1, "4x_bit", 1048576, 1); }},
        {"address-range", "WritesAtTheEndOfTheIntegers",
         [](CheckedHost &host) { host.write(1, "4x", 2147483647, 2, zeros(4)); }},
        {"count-below-one", "PlansNothing", [](CheckedHost &host) { host.plan(Keys() << key(1, "4x", 0, 0)); }},
        {"count-below-one", "ReadsNothing", [](CheckedHost &host) { host.read(1, "4x", 0, 0); }},
        {"half-double", "WritesHalfAValue", [](CheckedHost &host) { host.write(1, "4x_double", 0, 1, zeros(4)); }},
        {"half-double", "ReadsHalfAValue", [](CheckedHost &host) { host.read(1, "3x_double", 0, 3); }},
        {"half-double", "PlansHalfAValue", [](CheckedHost &host) { host.plan(Keys() << key(1, "4x_double", 0, 3)); }},
    };
}

std::vector<Misuse> lengthMisuses()
{
    return {
        {"count-beyond-request", "PlansARegisterTooMany",
         [](CheckedHost &host) { host.plan(Keys() << key(1, "4x", 0, 126)); }},
        {"count-beyond-request", "PlansACoilTooMany",
         [](CheckedHost &host) { host.plan(Keys() << key(1, "0x", 0, 2001)); }},
        {"count-beyond-request", "PlansBitsInOneRegisterTooMany",
         [](CheckedHost &host) { host.plan(Keys() << key(1, "4x_bit", 15, 1986)); }},
        {"count-beyond-request", "WritesUncut",
         [](CheckedHost &host) {
             initWords(host, "1#0#0#3#0");
             host.write(1, "4x", 0, 124, zeros(248));
         }},
        {"count-beyond-request", "AsksOnceForUncutRegisters",
         [](CheckedHost &host) {
             initWords(host, "1#0#0#3#200");
             host.readOnce(key(1, "4x", 0, 126));
         }},
        {"count-beyond-request", "AsksOnceForUncutCoils",
         [](CheckedHost &host) {
             initWords(host, "1#0#0#3#400");
             host.readOnce(key(1, "0x", 0, 2001, -1));
         }},
        {"coils-beyond-payload", "WritesACoilTooMany",
         [](CheckedHost &host) { host.write(1, "0x", 0, 1025, zeros(1025)); }},
        {"bits-beyond-words", "WritesABitTooMany",
         [](CheckedHost &host) { host.write(1, "4x_bit", 0, 33, zeros(66)); }},
        {"queue-overrun", "AsksOnceForMoreThanTheQueueHolds",
         [](CheckedHost &host) {
             initWords(host, "1#0#0#3#2");
             host.readOnce(key(1, "4x", 0, 2 * 513 + 1));
         }},
    };
}

std::vector<Misuse> valueMisuses()
{
    return {
        {"bit-data", "SwitchesACoilOnWithTwo", [](CheckedHost &host) { host.write(1, "0x", 0, 1, {2}); }},
        {"bit-data", "SwitchesABitOnWith255",
         [](CheckedHost &host) {
             host.write(1, "4x_bit", 0, 2, {1, 255, 0, 0});
         }},
        {"read-only-written", "WritesAnInput", [](CheckedHost &host) { host.write(1, "1x", 0, 1, {1}); }},
        {"read-only-written", "WritesAnInputRegister", [](CheckedHost &host) { host.write(1, "3x", 0, 1, zeros(2)); }},
        {"field7-mismatch", "AsksForBitsAsRegisters", [](CheckedHost &host) { host.readOnce(key(1, "0x", 0, 1, 1)); }},
        {"field7-mismatch", "AsksForRegistersAsBits", [](CheckedHost &host) { host.readOnce(key(1, "4x", 0, 1, -1)); }},
        {"bit-range-short", "AsksForTwelveBitsFromBitFive",
         [](CheckedHost &host) { host.readOnce(key(1, "4x_bit", 53, 12, -1)); }},
        {"tag-of-the-plan", "AsksOnceWithTagFour", [](CheckedHost &host) { host.readOnce(key(1, "4x", 0, 1), 4); }},
        {"plan-stands-still", "PlansStationZero", [](CheckedHost &host) { host.plan(Keys() << key(0, "4x", 0, 1)); }},
        {"write-stands-still", "WritesBitsToAll", [](CheckedHost &host) { host.write(0, "4x_bit", 0, 1, zeros(2)); }},
        {"count-below-one write-stands-still", "WritesANegativeNumberOfRegisters",
         [](CheckedHost &host) { host.write(1, "4x", 0, -1, zeros(2)); }},
        {"count-below-one", "WritesANegativeNumberOfBits",
         [](CheckedHost &host) { host.write(1, "4x_bit", 0, -1, zeros(2)); }},
        {"read-stands-still", "AsksOnceForStationZero", [](CheckedHost &host) { host.readOnce(key(0, "4x", 0, 1)); }},
    };
}

std::vector<Misuse> nullMisuses()
{
    return {
        {"null-argument", "WritesNoData",
         [](CheckedHost &) {
             QString type = QLatin1String("4x");
             intf_setData(1, &type, 0, 1, nullptr, 0);
         }},
        {"null-argument", "WritesNoType",
         [](CheckedHost &) {
             unsigned char byte = 0;
             intf_setData(1, nullptr, 0, 1, &byte, 0);
         }},
        {"null-argument", "ReadsNowhere",
         [](CheckedHost &) {
             QString type = QLatin1String("4x");
             intf_getData(1, &type, 0, 1, nullptr);
         }},
        {"null-argument", "PlansWithoutAList", [](CheckedHost &) { intf_addrMerge(nullptr); }},
        {"null-argument", "RegistersWithoutAList", [](CheckedHost &) { intf_setRcpAddress(nullptr); }},
        {"null-argument", "AsksOnceWithoutAKey", [](CheckedHost &) { intf_addConditionRead(nullptr, 9); }},
        {"null-argument", "AsksForAFrameNowhere", [](CheckedHost &) { intf_getSendFrame(nullptr); }},
        {"null-argument", "HandsInNoReply",
         [](CheckedHost &host) {
             QString text;
             host.ask();
             intf_dealRcvFrame(nullptr, &text);
         }},
        {"null-argument", "DescribesNothing",
         [](CheckedHost &) {
             QList<QString> list;
             intf_getRegDiscription(nullptr, &list);
         }},
        {"null-argument", "ListsNowhere", [](CheckedHost &) { intf_getRegListByType(0, nullptr); }},
        {"null-argument", "CopiesWithoutTexts",
         [](CheckedHost &) {
             QString type = QLatin1String("4x");
             QVector<int> addresses;
             intf_multiCopy(&type, 0, 1, 1, nullptr, &addresses);
         }},
        {"null-argument", "ChecksWithoutAnAddress",
         [](CheckedHost &) {
             QString type = QLatin1String("4x");
             int address = 0;
             intf_checkAddr(&type, nullptr, &address, 0, 1, 0);
             intf_checkAddrValidity(&type, nullptr, &address, 1, 1);
         }},
        {"null-argument", "WantsDescriptionsNowhere",
         [](CheckedHost &) {
             intf_getProtocolType(nullptr);
             intf_getDriverParameter(nullptr);
             intf_getDriverPropertyPage(nullptr);
             intf_SetDriverPropertyPage(nullptr);
         }},
    };
}

} // namespace

std::vector<Misuse> argumentMisuses()
{
    std::vector<Misuse> all = rangeMisuses();
    for (const std::vector<Misuse> &more : {lengthMisuses(), valueMisuses(), nullMisuses()})
        all.insert(all.end(), more.begin(), more.end());
    return all;
}

} // namespace checked
