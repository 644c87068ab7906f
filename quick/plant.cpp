#include "quick/plant.h"

#include "quick/log.h"

#include <QtCore/QFile>

namespace quick {

namespace {

struct Cell
{
    plant::Table table = plant::Table::HoldingRegisters;
    int address = -1; ///< zero-based
};

Cell cellOf(const QString &address)
{
    const QString tables = QStringLiteral("01.34");
    const int table = address.isEmpty() ? -1 : static_cast<int>(tables.indexOf(address[0]));
    const bool known = table >= 0 && table != 2 && address.mid(1, 1) == QLatin1String("x");
    Cell cell;
    if (!known)
        return cell;
    cell.table = static_cast<plant::Table>(table < 2 ? table : table - 1);
    cell.address = address.mid(2).toInt() - 1;
    if (cell.address > 65535)
        cell.address = -1;
    return cell;
}

} // namespace

void Plant::setSource(const QUrl &source)
{
    if (m_source == source)
        return;
    m_source = source;
    Q_EMIT sourceChanged();
    if (m_complete)
        restart();
}

void Plant::componentComplete()
{
    m_complete = true;
    restart();
}

void Plant::restart()
{
    m_plant.reset();
    m_device.clear();
    m_error.clear();
    std::string error;
    if (!m_source.isEmpty() && load(&error) && m_plant->start(&error))
        m_device = QString::fromStdString(m_plant->devicePath());
    if (!error.empty()) {
        m_plant.reset();
        m_error = QString::fromStdString(error);
        warnAt(this, m_error);
    }
    Q_EMIT deviceChanged();
}

bool Plant::load(std::string *error)
{
    m_plant.reset(new plant::Plant);
    const bool isResource = m_source.scheme() == QLatin1String("qrc");
    QFile file(isResource ? QLatin1Char(':') + m_source.path() : m_source.toLocalFile());
    if (file.open(QIODevice::ReadOnly))
        return m_plant->loadText(file.readAll().toStdString(), m_source.fileName().toStdString(), error);
    *error = QString::fromLatin1("cannot read %1: %2").arg(m_source.toString(), file.errorString()).toStdString();
    return false;
}

void Plant::setStationOn(int station, bool on)
{
    if (m_plant)
        m_plant->setStationOn(station, on);
}

bool Plant::stationIsOn(int station) const
{
    return m_plant && m_plant->stationIsOn(station);
}

int Plant::peek(int station, const QString &address) const
{
    const Cell cell = cellOf(address);
    return m_plant && cell.address >= 0 ? m_plant->peek(station, cell.table, cell.address) : 0;
}

void Plant::poke(int station, const QString &address, int value)
{
    const Cell cell = cellOf(address);
    if (m_plant && cell.address >= 0)
        m_plant->poke(station, cell.table, cell.address, static_cast<std::uint16_t>(value));
}

} // namespace quick
