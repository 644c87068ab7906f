#include "support/unit_text.h"

#include <QtCore/QStringList>

namespace support {

namespace {

struct Unit
{
    int station;
    QByteArray regType;
    int start;
    int count;
    int hostOffset;
};

Unit parsed(const QString &text)
{
    Unit unit = Unit();
    const QString type = text.section(QLatin1Char(':'), 1).section(QLatin1Char(' '), 0, 0);
    const QString range = text.section(QLatin1Char(' '), 1);
    bool valid[3] = {false, false, false};
    unit.station = text.section(QLatin1Char(':'), 0, 0).toInt(&valid[0]);
    unit.regType = type.toLatin1();
    unit.start = range.section(QLatin1Char('+'), 0, 0).toInt(&valid[1]);
    unit.count = range.section(QLatin1Char('+'), 1).section(QLatin1Char('@'), 0, 0).toInt(&valid[2]);
    unit.hostOffset = range.section(QLatin1Char('@'), 1).toInt();
    EXPECT_TRUE(valid[0] && valid[1] && valid[2]) << "not a unit: " << text.toStdString();
    return unit;
}

std::vector<Unit> parsedList(const std::string &text)
{
    std::vector<Unit> units;
    if (text.empty())
        return units;
    const QStringList parts = QString::fromStdString(text).split(QLatin1String(" | "));
    for (int i = 0; i < static_cast<int>(parts.size()); ++i)
        units.push_back(parsed(parts.at(i)));
    return units;
}

} // namespace

Keys keysOf(const std::string &text)
{
    const std::vector<Unit> units = parsedList(text);
    Keys keys;
    for (size_t i = 0; i < units.size(); ++i) {
        KEY_ADDRESS made = key(units[i].station, units[i].regType.constData(), units[i].start, units[i].count);
        made.field1 = static_cast<int>(i);
        keys << made;
    }
    return keys;
}

QVector<_RCP_VAR_PRO> rowsOf(int link, const std::string &text)
{
    const std::vector<Unit> units = parsedList(text);
    QVector<_RCP_VAR_PRO> rows;
    for (size_t i = 0; i < units.size(); ++i)
        rows << row(link, units[i].station, units[i].regType.constData(), units[i].start, units[i].count,
                    units[i].hostOffset, static_cast<int>(i));
    return rows;
}

} // namespace support
