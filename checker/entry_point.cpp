#include "checker/entry_point.h"

namespace checker {

const char *entryPointName(EntryPoint call)
{
    static const char *const names[] = {
#define CHECKER_CALL(name) "intf_" #name,
        MODBUS_RTU_ENTRY_POINTS(CHECKER_CALL)
#undef CHECKER_CALL
            "dlopen",
        "dlclose"};
    static_assert(sizeof names / sizeof names[0] == CallCount, "one name for each call");
    return names[call];
}

} // namespace checker
