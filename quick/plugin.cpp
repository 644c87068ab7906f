// What a QML engine loads for "import ModbusRtu 1.0".

#include "quick/register_types.h"

#include <QtQml/QQmlExtensionPlugin>

namespace quick {

class Plugin : public QQmlExtensionPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QQmlExtensionInterface_iid)

public:
    void registerTypes(const char *uri) override { quick::registerTypes(uri); }
};

} // namespace quick

#include "plugin.moc"
