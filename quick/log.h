/**
 * @file
 * What the module tells the log: one category, "modbus.rtu".
 */
#ifndef QUICK_LOG_H
#define QUICK_LOG_H

#include <QtCore/QLoggingCategory>
#include <QtCore/QObject>
#include <QtCore/QString>

namespace quick {

Q_DECLARE_LOGGING_CATEGORY(modbusLog)

/**
 * Warns of what is wrong in the QML text of an object, with its file and line: through
 * QQmlEngine::warnings() as QML does with errors of its own, and in the log.
 */
void warnAt(const QObject *object, const QString &text);

} // namespace quick

#endif
