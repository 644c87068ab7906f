#include "quick/place.h"

#include <QtCore/QStringList>
#include <QtQml/QJSValue>

namespace quick {

QVariant Place::plain(const QVariant &value)
{
    return value.userType() == qMetaTypeId<QJSValue>() ? value.value<QJSValue>().toVariant() : value;
}

rtu::TagDefinition Place::definition() const
{
    rtu::TagDefinition definition(m_station, m_address, static_cast<rtu::TagFormat>(m_format));
    definition.name = m_name;
    definition.values = m_count;
    definition.wordOrder = static_cast<rtu::WordOrder>(m_wordOrder);
    definition.scale = m_scale;
    definition.unit = m_unit;
    return definition;
}

QString Place::key() const
{
    const QStringList parts = {QString::number(m_station),   m_address,
                               QString::number(m_count),     QString::number(m_format),
                               QString::number(m_wordOrder), QString::number(m_scale, 'g', 17)};
    return parts.join(QLatin1Char(' '));
}

QVariant Place::variant(const rtu::TagValue &value) const
{
    if (isText())
        return value.text();
    const bool isBit = m_address.startsWith(QLatin1Char('0')) || m_address.startsWith(QLatin1Char('1'))
                       || m_address.contains(QLatin1String("_bit"));
    if (value.count() <= 1)
        return isBit ? QVariant(value.number() > 0) : QVariant(value.number());
    QVariantList list;
    for (int i = 0; i < value.count(); ++i)
        list << (isBit ? QVariant(value.number(i) > 0) : QVariant(value.number(i)));
    return list;
}

bool Place::numbers(const QVariant &value, std::vector<double> *result) const
{
    const QVariant assigned = plain(value);
    const bool isList = assigned.userType() == QMetaType::QVariantList;
    const QVariantList list = isList ? assigned.toList() : QVariantList{assigned};
    result->clear();
    for (const QVariant &one : list) {
        bool isNumber = false;
        result->push_back(one.toDouble(&isNumber));
        if (!isNumber)
            return false;
    }
    return static_cast<int>(result->size()) == m_count;
}

} // namespace quick
