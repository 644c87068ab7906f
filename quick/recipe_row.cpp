#include "quick/recipe_row.h"

#include <modbus_rtu_host/error.h>

namespace quick {

void RecipeRow::setValue(const QVariant &value)
{
    const QVariant assigned = plain(value);
    if (m_value == assigned)
        return;
    m_value = assigned;
    m_edited = true;
    clearOutcome();
    Q_EMIT valueChanged();
}

rtu::RecipeRow RecipeRow::begin(bool withNumbers)
{
    m_edited = false;
    rtu::RecipeRow row;
    row.where = definition();
    if (withNumbers && !numbers(m_value, &row.numbers))
        throw rtu::Error(
            QString::fromLatin1("the value of \"%1\" (station %2 %3) is not a number, or not as many as it has")
                .arg(name())
                .arg(station())
                .arg(address()));
    return row;
}

void RecipeRow::clearOutcome()
{
    m_outcome = None;
    m_exceptionCode = 0;
    m_slaveValue = QVariant();
    Q_EMIT outcomeChanged();
}

void RecipeRow::end(const rtu::RowResult &result, bool take)
{
    if (m_edited && !take)
        return;
    const bool has = result.value.count() > 0;
    if (has && take)
        setValue(variant(result.value));
    m_outcome = static_cast<Outcome>(static_cast<int>(result.end) + 1);
    m_exceptionCode = result.exceptionCode;
    m_slaveValue = has ? variant(result.value) : QVariant();
    Q_EMIT outcomeChanged();
}

} // namespace quick
