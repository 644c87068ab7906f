#include "quick/plugin.h"

#include "quick/register_types.h"

namespace quick {

void Plugin::registerTypes(const char *uri)
{
    quick::registerTypes(uri);
}

} // namespace quick
