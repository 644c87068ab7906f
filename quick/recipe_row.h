/**
 * @file
 * A row of a recipe.
 */
#ifndef QUICK_RECIPE_ROW_H
#define QUICK_RECIPE_ROW_H

#include "quick/place.h"

#include <modbus_rtu_host/recipe_row.h>
#include <modbus_rtu_host/transfer_result.h>

namespace quick {

/** One value, or several in a row, of "4x" or "4x_double"; to be saved only, also of "3x" and "3x_double". */
class RecipeRow : public Place
{
    Q_OBJECT
    Q_PROPERTY(QVariant value READ value WRITE setValue NOTIFY valueChanged)
    Q_PROPERTY(QVariant slaveValue READ slaveValue NOTIFY outcomeChanged)
    Q_PROPERTY(quick::RecipeRow::Outcome outcome READ outcome NOTIFY outcomeChanged)
    Q_PROPERTY(int exceptionCode READ exceptionCode NOTIFY outcomeChanged)

public:
    enum Outcome {
        None,        ///< no transfer yet, or edited since
        Done,        ///< loaded and acknowledged, saved, or compared and equal
        Refused,     ///< the slave answered with an exception
        Unconfirmed, ///< no usable answer: when loading, the slave may hold either value
        NotTried,    ///< the transfer ended before it
        Differs,     ///< the slave holds slaveValue
    };
    Q_ENUM(Outcome)

    explicit RecipeRow(QObject *parent = nullptr) : Place(parent) {}

    QVariant value() const { return m_value; }
    void setValue(const QVariant &value);
    /** What the slave held when it was last compared or saved. */
    QVariant slaveValue() const { return m_slaveValue; }
    Outcome outcome() const { return m_outcome; }
    int exceptionCode() const { return m_exceptionCode; }

    /** What a transfer takes. @throws rtu::Error when the value has not as many numbers as the row */
    rtu::RecipeRow begin(bool withNumbers);
    void clearOutcome();
    /** Leaves no outcome where it is of a value that was edited since begin().
        @param take the slave's value becomes the row's */
    void end(const rtu::RowResult &result, bool take);

Q_SIGNALS:
    void valueChanged();
    void outcomeChanged();

private:
    QVariant m_value = 0.0;
    QVariant m_slaveValue;
    Outcome m_outcome = None;
    int m_exceptionCode = 0;
    bool m_edited = false; ///< since begin()
};

} // namespace quick

#endif
