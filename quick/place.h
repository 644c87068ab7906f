/**
 * @file
 * Where a value is, and how its registers make it up: what tags and recipe rows share.
 */
#ifndef QUICK_PLACE_H
#define QUICK_PLACE_H

#include <modbus_rtu_host/tag_definition.h>
#include <modbus_rtu_host/tag_value.h>

#include <QtCore/QObject>
#include <QtCore/QVariant>

#include <vector>

namespace quick {

/** The properties are those of rtu::TagDefinition; addresses are one-based texts such as "4x100". */
class Place : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString name MEMBER m_name NOTIFY placeChanged)
    Q_PROPERTY(int station MEMBER m_station NOTIFY placeChanged)
    Q_PROPERTY(QString address MEMBER m_address NOTIFY placeChanged)
    Q_PROPERTY(int count MEMBER m_count NOTIFY placeChanged)
    Q_PROPERTY(quick::Place::Format format MEMBER m_format NOTIFY placeChanged)
    Q_PROPERTY(quick::Place::WordOrder wordOrder MEMBER m_wordOrder NOTIFY placeChanged)
    Q_PROPERTY(double scale MEMBER m_scale NOTIFY placeChanged)
    Q_PROPERTY(QString unit MEMBER m_unit NOTIFY placeChanged)

public:
    enum Format { Usual, Bit, Unsigned, Signed, Hex, Binary, Float, Text }; ///< as rtu::TagFormat
    Q_ENUM(Format)
    enum WordOrder { HighFirst, LowFirst }; ///< as rtu::WordOrder
    Q_ENUM(WordOrder)

    explicit Place(QObject *parent = nullptr) : QObject(parent) {}

    QString name() const { return m_name; }
    QString unit() const { return m_unit; }
    int station() const { return m_station; }
    QString address() const { return m_address; }
    rtu::TagDefinition definition() const;
    /** The same for the same stored values of the same slave, shown alike. */
    QString key() const;

    /** A number, true or false, a text, or a list of numbers: as QML sees the value. */
    QVariant variant(const rtu::TagValue &value) const;
    /** What JavaScript assigns to a property of any type may still be a value of its engine: without that. */
    static QVariant plain(const QVariant &value);
    /** The numbers of what QML assigns. False: it is no number, or there are not as many as the place has. */
    bool numbers(const QVariant &value, std::vector<double> *result) const;
    /** The format is Text: values are QString. */
    bool isText() const { return m_format == Text; }

Q_SIGNALS:
    void placeChanged();

protected:
    QString m_name;
    int m_station = 1;
    QString m_address;
    int m_count = 1;
    Format m_format = Usual;
    WordOrder m_wordOrder = HighFirst;
    double m_scale = 1.0;
    QString m_unit;
};

} // namespace quick

#endif
