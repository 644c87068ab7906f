// The calls of an editor, which leave no trace in the driver.
#include "model/duel.h"
#include "model/state_comparison.h"

#include "driver/modbus_rtu_interface.h"

namespace model {

namespace {

std::string unequalTexts(const char *what, const QString &real, const QString &plain)
{
    return real == plain ? std::string() : std::string(what) + ": driver " + text(real) + ", model " + text(plain);
}

template <typename List>
std::string unequalLists(const char *what, const List &real, const List &plain)
{
    return real == plain ? std::string() : std::string(what) + " differ";
}

// A list that was not empty before shows that nothing is cleared.
QList<QString> startedList(Random &random)
{
    QList<QString> list;
    if (random.chance(50))
        list << QLatin1String("before");
    return list;
}

// Four decimal numbers of a byte each.
bool isDottedAddress(const QString &address)
{
    const QStringList parts = address.split(QLatin1Char('.'));
    if (parts.size() != 4)
        return false;
    for (int i = 0; i < 4; ++i) {
        bool ok = false;
        const int number = parts.at(i).toInt(&ok);
        if (!ok || number < 0 || number > 255)
            return false;
    }
    return true;
}

std::string parameterDifference(const QString &real, const QString &plain)
{
    QStringList fields = real.split(QLatin1Char(','));
    QStringList expected = plain.split(QLatin1Char(','));
    if (fields.size() != expected.size())
        return unequalTexts("parameters", real, plain);
    if (!isDottedAddress(fields.at(7)))
        return "field 7 of the parameters is no address: " + text(fields.at(7));
    fields[7] = expected.at(7);
    return unequalLists("parameters", fields, expected);
}

} // namespace

std::string Duel::descriptorCalls()
{
    note("intf_getProtocolType(), intf_getDriverParameter(), intf_getDriverPropertyPage(), "
         "intf_SetDriverPropertyPage()");
    int realType = 9;
    int plainType = 9;
    intf_getProtocolType(nullptr);
    intf_getDriverParameter(nullptr);
    intf_getDriverPropertyPage(nullptr);
    intf_SetDriverPropertyPage(nullptr);
    intf_getProtocolType(&realType);
    plain.getProtocolType(&plainType);
    QString real;
    QString expected;
    intf_getDriverParameter(&real);
    plain.getDriverParameter(&expected);
    std::string difference = unequal("protocol type", realType, plainType) + parameterDifference(real, expected);
    real = expected = QLatin1String("left over");
    intf_getDriverPropertyPage(&real);
    plain.getDriverPropertyPage(&expected);
    difference += unequalTexts("property page", real, expected);
    real = expected = QLatin1String("left over");
    intf_SetDriverPropertyPage(&real);
    plain.setDriverPropertyPage(&expected);
    return difference + unequalTexts("set property page", real, expected);
}

std::string Duel::checkAddrValidity(Random &random)
{
    QString type = regType(random);
    QString address = addressText(random);
    const int n = random.chance(5) ? random.pick({2147483647, -2147483647 - 1, 65536, 1048576}) : random.between(-1, 3);
    const int kind = random.pick({0, 0, 1, 1, 2, -1});
    note("intf_checkAddrValidity(" + text(type) + ", " + text(address) + ", &address, " + std::to_string(n) + ", "
         + std::to_string(kind) + ")");
    int real = -99;
    int expected = -99;
    const Given<QString> typeText(random, type);
    const Given<QString> addressGiven(random, address);
    const bool wantsAddress = !random.chance(2);
    const int realResult =
        intf_checkAddrValidity(typeText.pointer, addressGiven.pointer, wantsAddress ? &real : nullptr, n, kind);
    const int plainResult = plain.checkAddrValidity(typeText.value, addressGiven.value, &expected, n, kind);
    return unequal("result", realResult, plainResult) + unequal("address", real, wantsAddress ? expected : -99);
}

std::string Duel::checkAddr(Random &random)
{
    QString type = regType(random);
    QString address = addressText(random);
    const int format = random.pick({-1, -1, -1, 0, 1, 1, 2, 3, 5, 6, 9, 9});
    const int n = random.chance(5) ? random.pick({2147483647, -2147483647 - 1, 65536, 1048576}) : random.between(-1, 3);
    const int access = random.below(4);
    note("intf_checkAddr(" + text(type) + ", " + text(address) + ", &address, " + std::to_string(format) + ", "
         + std::to_string(n) + ", " + std::to_string(access) + ")");
    int real = -99;
    int expected = -99;
    const Given<QString> typeText(random, type);
    const Given<QString> addressGiven(random, address);
    const bool wantsAddress = !random.chance(2);
    const int realResult =
        intf_checkAddr(typeText.pointer, addressGiven.pointer, wantsAddress ? &real : nullptr, format, n, access);
    const int plainResult = plain.checkAddr(typeText.value, addressGiven.value, &expected, format, n, access);
    return unequal("result", realResult, plainResult) + unequal("address", real, wantsAddress ? expected : -99);
}

std::string Duel::regListByType(Random &random)
{
    const unsigned int request = random.pick({0u, 1u, 2u, 0xFFFFFFFFu});
    note("intf_getRegListByType(" + std::to_string(request) + ")");
    QList<QString> real = startedList(random);
    QList<QString> expected = real;
    const Given<QList<QString>> list(random, real);
    const int realResult = intf_getRegListByType(request, list.pointer);
    const int plainResult = plain.getRegListByType(request, &expected);
    return unequal("result", realResult, plainResult) + unequalLists("texts", real, list.pointer ? expected : real);
}

std::string Duel::regDiscription(Random &random)
{
    QString type = regType(random);
    note("intf_getRegDiscription(" + text(type) + ")");
    QList<QString> real = startedList(random);
    QList<QString> expected = real;
    const Given<QString> typeText(random, type);
    const Given<QList<QString>> list(random, real);
    const int realResult = intf_getRegDiscription(typeText.pointer, list.pointer);
    const int plainResult = plain.getRegDiscription(typeText.value, &expected);
    return unequal("result", realResult, plainResult) + unequalLists("texts", real, list.pointer ? expected : real);
}

std::string Duel::multiCopy(Random &random)
{
    QString type = regType(random);
    const int start = random.chance(10) ? random.pick({2147483640, -2147483640, -5, -17}) : address(random, type, Wide);
    const int copies = random.between(-1, 12);
    const int increment = random.chance(10) ? random.pick({2147483647, -2147483647, 65536}) : random.between(-3, 20);
    note("intf_multiCopy(" + text(type) + ", " + std::to_string(start) + ", " + std::to_string(copies) + ", "
         + std::to_string(increment) + ")");
    QVector<QString> realTexts;
    QVector<int> realAddresses;
    if (random.chance(30)) {
        realTexts << QLatin1String("before");
        realAddresses << -1;
    }
    QVector<QString> expectedTexts = realTexts;
    QVector<int> expectedAddresses = realAddresses;
    const Given<QString> typeText(random, type);
    const Given<QVector<QString>> texts(random, realTexts);
    const Given<QVector<int>> addresses(random, realAddresses);
    const int realResult = intf_multiCopy(typeText.pointer, start, copies, increment, texts.pointer, addresses.pointer);
    const int plainResult =
        plain.multiCopy(typeText.value, start, copies, increment, &expectedTexts, &expectedAddresses);
    return unequal("result", realResult, plainResult)
           + unequalLists("texts", realTexts, texts.pointer ? expectedTexts : realTexts)
           + unequalLists("addresses", realAddresses, addresses.pointer ? expectedAddresses : realAddresses);
}

} // namespace model
