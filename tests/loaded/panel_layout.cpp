// The public record header as an old panel tool chain compiles it: in the oldest
// C++ that the Qt headers at hand allow. Only offsets leave this file.

#include "panel_layout.h"

#include "modbus_rtu_records.h"

#include <stddef.h>

// offsetof of a class with a QString is conditionally supported; every compiler in question supports it.
#if defined(__GNUC__)
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
#endif

extern "C" long panelCxxStandard()
{
    return __cplusplus;
}

extern "C" const struct PanelOffset *panelOffsets()
{
    static const struct PanelOffset offsets[] = {
#define MEMBER(record, member) {#record "." #member, offsetof(record, member)}
#define SIZE(record)                                                                                                   \
    {                                                                                                                  \
#record, sizeof(record)                                                                                        \
    }
        MEMBER(VARIABLE, userData),
        MEMBER(VARIABLE, station),
        MEMBER(VARIABLE, regType),
        MEMBER(VARIABLE, startAddr),
        MEMBER(VARIABLE, count),
        MEMBER(VARIABLE, data),
        SIZE(VARIABLE),
        MEMBER(_RCP_VAR_PRO, userData),
        MEMBER(_RCP_VAR_PRO, station),
        MEMBER(_RCP_VAR_PRO, regType),
        MEMBER(_RCP_VAR_PRO, startAddr),
        MEMBER(_RCP_VAR_PRO, count),
        MEMBER(_RCP_VAR_PRO, hostOffset),
        MEMBER(_RCP_VAR_PRO, extra),
        SIZE(_RCP_VAR_PRO),
        MEMBER(KEY_ADDRESS, keyText),
        MEMBER(KEY_ADDRESS, field1),
        MEMBER(KEY_ADDRESS, hostOffset),
        MEMBER(KEY_ADDRESS, station),
        MEMBER(KEY_ADDRESS, regType),
        MEMBER(KEY_ADDRESS, text2),
        MEMBER(KEY_ADDRESS, startAddr),
        MEMBER(KEY_ADDRESS, field7),
        MEMBER(KEY_ADDRESS, count),
        MEMBER(KEY_ADDRESS, data),
        SIZE(KEY_ADDRESS),
        MEMBER(FRAME_PRO, frame),
        MEMBER(FRAME_PRO, frameLen),
        MEMBER(FRAME_PRO, replyLen),
        MEMBER(FRAME_PRO, frameKind),
        MEMBER(FRAME_PRO, dataLen),
        MEMBER(FRAME_PRO, field5),
        MEMBER(FRAME_PRO, var),
        SIZE(FRAME_PRO),
        {0, 0}
#undef MEMBER
#undef SIZE
    };
    return offsets;
}
