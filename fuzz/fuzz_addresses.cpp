// The editor's calls with any address text, type, count and access: the results
// are the documented ones, the host's texts stay as they are, and an address
// that passed is written back by stepping as a text that passes again.

#include "fuzz_host.h"

#include "address/address_syntax.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <string>

namespace {

using fuzz::fail;
using fuzz::require;

const int edges[] = {
    0, 1, 2, -1, 3, 5, 6, 9, 16, 65535, 65536, 65537, 1048575, 1048576, 1048592, 0x7FFFFFFF, 32, -16, -2147483647 - 1};

int numberFrom(FuzzedDataProvider &input)
{
    return input.ConsumeBool() ? input.PickValueInArray(edges) : input.ConsumeIntegral<int>();
}

QString textFrom(FuzzedDataProvider &input)
{
    const std::string text = input.ConsumeRandomLengthString(24);
    if (input.ConsumeBool())
        return QString::fromUtf8(text.data(), static_cast<int>(text.size()));
    return QString::fromLatin1(text.data(), static_cast<int>(text.size()));
}

QString typeFrom(FuzzedDataProvider &input)
{
    const unsigned int number = input.ConsumeIntegralInRange(0u, 10u);
    return number < 10 ? fuzz::typeText(number) : textFrom(input);
}

bool isKnown(const QString &type)
{
    for (unsigned int i = 0; i < 8; ++i) {
        if (fuzz::typeText(i) == type)
            return true;
    }
    return false;
}

bool isBitInRegister(const QString &type)
{
    return type == QLatin1String("3x_bit") || type == QLatin1String("4x_bit");
}

int lastAddress(const QString &type)
{
    return isBitInRegister(type) ? 65536 * 16 - 1 : 65535;
}

bool isBitObject(const QString &type)
{
    return isBitInRegister(type) || type == QLatin1String("0x") || type == QLatin1String("1x");
}

int checkForKind(const QString &type, const QString &text, int &address, int count)
{
    QString ownType = type;
    QString ownText = text;
    const int result = intf_checkAddrValidity(&ownType, &ownText, &address, count, isBitObject(type) ? 0 : 1);
    require(ownType == type && ownText == text, "a check changed the host's texts");
    return result;
}

/** An address that passed is inside, and its own text passes with the same result. */
void requireRoundTrip(const QString &type, int address)
{
    require(address >= 0 && address <= lastAddress(type), "a valid address out of range");
    if (type.endsWith(QLatin1String("_double")) && address == 65535)
        return; // passes for a count of 1, and is stepped back to the last whole value
    QString ownType = type;
    QVector<QString> texts;
    QVector<int> addresses;
    require(intf_multiCopy(&ownType, address, 1, 0, &texts, &addresses) == 1, "a valid address is clamped");
    require(addresses.at(0) == address, "a copy in place moves");
    int again = -1;
    const int count = type.endsWith(QLatin1String("_double")) ? 2 : 1;
    require(checkForKind(type, texts.at(0), again, count) == AddressValid && again == address, "a copy's text");
}

void checkAddresses(FuzzedDataProvider &input)
{
    const QString type = typeFrom(input);
    const QString text = textFrom(input);
    const int count = numberFrom(input);
    int address = -7;
    const int forKind = checkForKind(type, text, address, count);
    require(forKind == 0 || (forKind >= 2 && forKind <= 5), "a result of intf_checkAddrValidity");
    require((forKind == UnknownRegisterType) <= !isKnown(type), "a known type is unknown");
    // With a count below 1 the last element may lie before the first, and start anywhere.
    if (forKind == AddressValid && count >= 1)
        requireRoundTrip(type, address);

    QString ownType = type;
    QString ownText = text;
    int other = -7;
    const int format = input.ConsumeBool() ? -1 : numberFrom(input);
    const int result = intf_checkAddr(&ownType, &ownText, &other, format, count, numberFrom(input));
    require(ownType == type && ownText == text, "a check changed the host's texts");
    require((result >= 0 && result <= 6) || result == 14 || result == 16, "a result of intf_checkAddr");
    if (result == AddressValid && count >= 1)
        require(other >= 0 && other <= lastAddress(type), "a valid address out of range");
    if (result == AddressValid && forKind == AddressValid)
        require(other == address, "the two checks disagree");
}

void stepAddresses(FuzzedDataProvider &input)
{
    QString type = typeFrom(input);
    const int start = numberFrom(input);
    const int copies = input.ConsumeIntegralInRange(-5, 300);
    const int increment = numberFrom(input);
    QVector<QString> texts;
    QVector<int> addresses;
    const int result = intf_multiCopy(&type, start, copies, increment, &texts, &addresses);
    const int expected = isKnown(type) && copies > 0 ? copies : 0;
    require(texts.size() == expected && addresses.size() == expected, "the number of copies");
    require(isKnown(type) ? result == 1 || result == 2 : result == 0, "a result of intf_multiCopy");
    for (int i = 0; i < expected; ++i)
        require(addresses.at(i) <= lastAddress(type) && !texts.at(i).isEmpty(), "a copy past the end");
}

void describe(FuzzedDataProvider &input)
{
    QString type = typeFrom(input);
    QList<QString> list;
    const int result = intf_getRegDiscription(&type, &list);
    require(list.size() == (isKnown(type) ? 5 : 0), "the length of a description");
    require(result == (type == QLatin1String("4x_double") ? 1 : 0), "a result of intf_getRegDiscription");
    list.clear();
    const unsigned int request = input.ConsumeIntegral<unsigned int>();
    require(intf_getRegListByType(request, &list) == (request < 2 ? 1 : 0), "a result of intf_getRegListByType");
    require(list.size() == (request < 2 ? 4 : 0), "the length of a list of types");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    FuzzedDataProvider input(bytes, size);
    fuzz::Host host;
    checkAddresses(input);
    stepAddresses(input);
    describe(input);
    host.check();
    require(driver.dataAreas.isEmpty(), "an editor call touched the cache");
    return 0;
}
