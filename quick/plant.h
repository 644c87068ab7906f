/**
 * @file
 * Simulated slaves, for screens without a machine.
 */
#ifndef QUICK_PLANT_H
#define QUICK_PLANT_H

#include "plant/plant.h"

#include <QtCore/QObject>
#include <QtCore/QUrl>
#include <QtQml/QQmlParserStatus>

#include <memory>

namespace quick {

/**
 * Runs the slaves of a simulation file behind a pseudo-terminal of its own, on a thread
 * of their own. A Link that names it as its plant is connected to them.
 */
class Plant : public QObject, public QQmlParserStatus
{
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    Q_PROPERTY(QUrl source READ source WRITE setSource NOTIFY sourceChanged)
    Q_PROPERTY(QString device READ device NOTIFY deviceChanged)
    Q_PROPERTY(QString error READ error NOTIFY deviceChanged)

public:
    explicit Plant(QObject *parent = nullptr) : QObject(parent) {}

    QUrl source() const { return m_source; }
    void setSource(const QUrl &source);
    /** What a link opens; empty while there is nothing. */
    QString device() const { return m_device; }
    QString error() const { return m_error; }

    /** A station that is off hears nothing. */
    Q_INVOKABLE void setStationOn(int station, bool on);
    Q_INVOKABLE bool stationIsOn(int station) const;
    /** What a slave holds at an address such as "4x100" (0x, 1x, 3x, 4x; one-based); 0 where there is nothing. */
    Q_INVOKABLE int peek(int station, const QString &address) const;
    Q_INVOKABLE void poke(int station, const QString &address, int value);

    void classBegin() override {}
    void componentComplete() override;

Q_SIGNALS:
    void sourceChanged();
    void deviceChanged();

private:
    void restart();
    bool load(std::string *error);

    QUrl m_source;
    QString m_device;
    QString m_error;
    bool m_complete = false;
    std::unique_ptr<plant::Plant> m_plant;
};

} // namespace quick

#endif
