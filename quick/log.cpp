#include "quick/log.h"

#include <QtQml/QQmlEngine>
#include <QtQml/QQmlError>
#include <QtQml/QQmlInfo>

namespace quick {

Q_LOGGING_CATEGORY(modbusLog, "modbus.rtu")

void warnAt(const QObject *object, const QString &text)
{
    QQmlEngine *const engine = qmlEngine(object);
    if (!engine) { // an object of C++: there is no file
        qCWarning(modbusLog).noquote() << text;
        return;
    }
    // The engine knows the place and tells it to those who listen to it; what it would
    // print itself would lack the category.
    QQmlError located;
    const QMetaObject::Connection listening =
        QObject::connect(engine, &QQmlEngine::warnings, engine,
                         [&located](const QList<QQmlError> &warnings) { located = warnings.value(0); });
    const bool printed = engine->outputWarningsToStandardError();
    engine->setOutputWarningsToStandardError(false);
    qmlWarning(object) << text;
    engine->setOutputWarningsToStandardError(printed);
    QObject::disconnect(listening);
    QMessageLogger(located.url().toString().toUtf8().constData(), located.line(), nullptr, modbusLog().categoryName())
            .warning()
            .noquote()
        << located.toString();
}

} // namespace quick
