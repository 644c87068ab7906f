#include "model/generators.h"

#include <algorithm>

namespace model {

int station(Random &random)
{
    if (random.chance(3))
        return random.pick({-1, 247, 255, 256, 257});
    // Station 0 blocks what is not a broadcast, so it must not turn up too often.
    return random.chance(3) ? 0 : random.pick({1, 1, 1, 2, 2, 3});
}

QString regType(Random &random)
{
    if (random.chance(3))
        return QLatin1String(random.pick({"5x", "", "4X", "4x_", "5x_bit", "_bit", "4x_doublet", "-1", "x"}));
    return QLatin1String(random.pick(
        {"0x", "0x", "1x", "3x", "4x", "4x", "4x", "3x_bit", "4x_bit", "4x_bit", "3x_double", "4x_double"}));
}

bool isBitInRegister(const QString &regType)
{
    return regType == QLatin1String("3x_bit") || regType == QLatin1String("4x_bit");
}

int address(Random &random, const QString &regType, Spread spread)
{
    const bool bits = isBitInRegister(regType);
    if (random.chance(2))
        return bits ? 1048576 - random.between(1, 40) : 65536 - random.between(1, 20);
    if (random.below(300) == 0)
        return random.pick({2147483647, 2147483640, -2147483647 - 1, -2147483640});
    if (random.chance(1))
        return -random.between(1, 3);
    if (spread == Wide)
        return random.below(bits ? 20000 : 3000);
    return random.below(bits ? 150 : 24);
}

int count(Random &random)
{
    if (random.chance(6))
        return random.pick({100, 125, 126, 127, 128, 129, 256, 300, 508, 511, 512, 513, 520, 1024, 1025, 2000});
    if (random.chance(2))
        return random.pick({-1, 0, 0, -1, -2, -9, -16, -40, -3000});
    if (random.chance(30))
        return random.between(1, 3);
    return random.between(1, 40);
}

int moderateCount(Random &random)
{
    return random.chance(25) ? count(random) : random.between(1, 12);
}

int hostByteCount(const QString &regType, int count)
{
    if (count < 1)
        return 0;
    if (regType == QLatin1String("0x") || regType == QLatin1String("1x") || regType == QLatin1String("3x_bit"))
        return count;
    return 2 * count;
}

std::vector<unsigned char> hostBytes(Random &random, const QString &regType, int count)
{
    // One byte more when nothing is needed, so that there is a buffer at all.
    std::vector<unsigned char> bytes(static_cast<size_t>(std::max(1, hostByteCount(regType, count))));
    const bool small = random.chance(80);
    for (unsigned char &byte : bytes)
        byte = small ? static_cast<unsigned char>(random.pick({0, 0, 0, 1, 1, 1, 2, 255})) : random.byte();
    return bytes;
}

KEY_ADDRESS key(Random &random, Spread spread)
{
    KEY_ADDRESS result = KEY_ADDRESS();
    result.keyText = QLatin1String("key");
    result.field1 = random.below(100);
    result.station = station(random);
    result.regType = regType(random);
    result.startAddr = address(random, result.regType, spread);
    result.count = moderateCount(random);
    result.field7 = random.pick({-1, -1, 1, 1, 3, 9});
    result.data[0] = random.byte();
    return result;
}

QList<KEY_ADDRESS> keys(Random &random, Spread spread)
{
    QList<KEY_ADDRESS> result;
    const int n = random.chance(5) ? 0 : random.between(1, 14);
    for (int i = 0; i < n; ++i)
        result << key(random, spread);
    return result;
}

QVector<_RCP_VAR_PRO> recipeRows(Random &random, int linkId)
{
    QVector<_RCP_VAR_PRO> rows;
    const int n = random.chance(5) ? 0 : random.between(1, 12);
    // Runs of one type and station come out as blocks; loose rows as blocks of one.
    int runStation = station(random);
    QString runType = regType(random);
    const int foreign = random.chance(8) ? 100 : 10;
    for (int i = 0; i < n; ++i) {
        if (random.chance(35)) {
            runStation = station(random);
            runType = regType(random);
        }
        _RCP_VAR_PRO row = _RCP_VAR_PRO();
        row.userData = random.chance(foreign) ? linkId + 1 : linkId;
        row.station = runStation;
        row.regType = runType;
        row.startAddr = address(random, row.regType, Narrow);
        row.count = random.chance(60) ? 2 : random.chance(80) ? random.between(1, 9) : count(random);
        row.hostOffset = random.chance(2) ? random.between(-9, -1) : random.below(300);
        row.extra = static_cast<int>(random.next());
        rows << row;
    }
    return rows;
}

QByteArray propertyString(Random &random)
{
    if (random.chance(8))
        return QByteArray(random.pick({"", "#", "1#0#0#3", "####", "x#y#z#w#v", "1#0#0#3#20#", "0#0#0#2# 7 #_",
                                       "1#0#0#2#50#1_1,2_9#8", "2#0#0#1#30#0_,#", "abc", "1#0#0#4#25#x_y"}));
    if (random.chance(2))
        return QByteArray();
    QByteArray text = QByteArray::number(random.below(3));
    text += '#';
    text += random.chance(5) ? "1" : "0";
    text += "#1000#";
    text += QByteArray::number(random.pick({0, 1, 2, 2, 3, 3, 4}));
    text += '#';
    text += QByteArray::number(random.pick({0, 1, 5, 5, 5, 32, 32, 32, 32, 100, 100, 100, 125, 125, 600, -1, -5}));
    text += random.pick({"", "", "#0", "#1", "#0_", "#0_1", "#0_2,x", "#1_3", "#0_1,2#7"});
    return text;
}

QString addressText(Random &random)
{
    static const char *const fixed[] = {
        "",           "0",           "1",          "65536",      "65537",        "65535", "100000", "1.0",
        "1.05",       "1.16",        "65536.15",   "65536.16",   "0.15",         "12",    "1.2.3",  ".",
        "1.",         ".5",          "+5",         "-5",         "1.-1",         "1.+5",  "-1.5",   " 7 ",
        "4294967297", "268435457.0", "2147483647", "2147483648", "134217728.15", "7.015", "0x10",   "1e3",
        "a",          "5 .3",        "1. 9"};
    if (random.chance(50))
        return QString::fromLatin1(fixed[random.below(static_cast<int>(sizeof fixed / sizeof fixed[0]))]);
    QString text = QString::number(random.chance(50) ? random.between(-2, 30) : random.between(65520, 65550));
    if (random.chance(50))
        text += QLatin1Char('.') + QString::number(random.between(-1, 17));
    return text;
}

} // namespace model
