/**
 * @file
 * Where a host built with an old tool chain finds the members of the records.
 */
#ifndef PANEL_LAYOUT_H
#define PANEL_LAYOUT_H

#include <stddef.h>

struct PanelOffset
{
    const char *name; ///< "RECORD.member", or "RECORD" for its size; null ends the list
    size_t offset;
};

extern "C" const struct PanelOffset *panelOffsets();

/** __cplusplus of the compilation. */
extern "C" long panelCxxStandard();

#endif
