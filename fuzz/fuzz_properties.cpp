// Property strings of any content, and a short life of the driver with whatever
// they set: cutting of writes and reads, merging, polling.

#include "fuzz_host.h"

#include <cstring>
#include <string>

namespace {

using fuzz::Host;
using fuzz::require;

/** Fields between separators, empty ones kept. */
std::vector<std::string> split(const std::string &text, char separator)
{
    std::vector<std::string> fields(1);
    for (char character : text) {
        if (character == separator)
            fields.push_back(std::string());
        else
            fields.back() += character;
    }
    return fields;
}

/** A plain decimal number without blanks around it; anything else is left to the string library. */
bool isPlainNumber(const std::string &field)
{
    return !field.empty() && field.size() <= 9 && field.find_first_not_of("0123456789") == std::string::npos;
}

void requireNumber(const std::string &field, int setting, const char *reason)
{
    if (isPlainNumber(field))
        require(std::stoi(field) == setting, reason);
}

void requireSettings(const std::string &text)
{
    const std::vector<std::string> fields = split(text, '#');
    if (fields.size() < 5) {
        require(driver.linkId == 11 && driver.retryLimit == 2 && driver.maxReadWords == 33,
                "too few fields changed a setting");
        return;
    }
    requireNumber(fields[0], driver.linkId, "the link id");
    requireNumber(fields[1], driver.localWriteOnly, "the switch for local writes");
    requireNumber(fields[3], driver.retryLimit, "the retry limit");
    requireNumber(fields[4], driver.maxReadWords, "the largest block");
    if (fields.size() == 5) {
        require(driver.doubleSwapMode == 0 && driver.doubleSwapStations.isEmpty(), "no sixth field");
        return;
    }
    const std::vector<std::string> swap = split(fields[5], '_');
    requireNumber(swap[0], driver.doubleSwapMode, "the swap mode");
    const bool named = swap.size() > 1 && !swap[1].empty();
    const size_t stations = named ? split(swap[1], ',').size() : 0;
    require(driver.doubleSwapStations.size() == static_cast<int>(stations), "the swapped stations");
}

KEY_ADDRESS keyOf(const char *type, int address, int count, int format)
{
    KEY_ADDRESS key = KEY_ADDRESS();
    key.station = 1;
    key.regType = QString::fromLatin1(type);
    key.startAddr = address;
    key.count = count;
    key.field7 = format;
    return key;
}

/** What the settings rule: cutting, merging, the word order, retries. */
void live(Host &host)
{
    host.useCallBack(true);
    QList<KEY_ADDRESS> keys;
    keys << keyOf("4x", 0, 30, 1) << keyOf("4x", 60, 30, 1) << keyOf("0x", 0, 90, -1) << keyOf("4x_bit", 7, 40, -1);
    intf_addrMerge(&keys);
    KEY_ADDRESS words = keyOf("4x", 5, 130, 1);
    KEY_ADDRESS bits = keyOf("0x", 5, 330, -1);
    intf_addConditionRead(&words, 1);
    intf_addConditionRead(&bits, 2);
    host.setData(1, QString::fromLatin1("4x"), 3, 130, 77, 1);
    host.setData(2, QString::fromLatin1("4x_double"), 3, 9, 78, 2);
    host.setData(1, QString::fromLatin1("4x_bit"), 35, 20, 79, 3);
    QVector<_RCP_VAR_PRO> rows;
    _RCP_VAR_PRO row = {driver.linkId, 2, QString::fromLatin1("4x_double"), 10, 4, 100, 0};
    rows << row;
    intf_setRcpAddress(&rows);
    for (int i = 0; i < 40; ++i) {
        if (i == 25)
            host.memory.raise(support::HostMemory::BlockWriteRequest);
        if (host.nextFrame())
            host.deal(i % 3 == 0 ? QByteArray() : host.wholeReply(fuzz::Noise(static_cast<std::uint32_t>(i)).bytes(9)));
        host.check();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    // A property string ends at its first zero byte.
    const std::string text(reinterpret_cast<const char *>(bytes), strnlen(reinterpret_cast<const char *>(bytes), size));
    Host host;
    host.initProperty("11#0#0#2#33#0_");
    host.initProperty(text.c_str());
    require(driver.maxBlockWords == driver.maxReadWords, "the limit of requests");
    require(driver.spareFlagB == 1 && driver.frameList.isEmpty() && driver.dataAreas.isEmpty(), "a reset driver");
    requireSettings(text);
    live(host);
    host.checkCache();
    return 0;
}
