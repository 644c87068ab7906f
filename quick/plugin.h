/**
 * @file
 * What a QML engine loads for "import ModbusRtu 1.0".
 */
#ifndef QUICK_PLUGIN_H
#define QUICK_PLUGIN_H

#include <QtQml/QQmlExtensionPlugin>

namespace quick {

class Plugin : public QQmlExtensionPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QQmlExtensionInterface_iid)

public:
    void registerTypes(const char *uri) override;
};

} // namespace quick

#endif
