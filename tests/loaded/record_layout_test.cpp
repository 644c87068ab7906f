// The record layout that a host sees, in plain numbers: a host may be years
// older than the library, so these never change within one SONAME.

#include "panel_layout.h"

#include <QtCore/QtGlobal>

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace {

struct Layout
{
    const char *name;
    size_t pointer32; ///< Qt 4 and 5, 32-bit
    size_t pointer64; ///< Qt 4 and 5, 64-bit
    size_t qt6;       ///< Qt 6, 64-bit: a text is three words
};

const Layout layouts[] = {
    {"VARIABLE.userData", 0, 0, 0},
    {"VARIABLE.station", 4, 4, 4},
    {"VARIABLE.regType", 8, 8, 8},
    {"VARIABLE.startAddr", 12, 16, 32},
    {"VARIABLE.count", 16, 20, 36},
    {"VARIABLE.data", 20, 24, 40},
    {"VARIABLE", 1044, 1048, 1064},
    {"_RCP_VAR_PRO.userData", 0, 0, 0},
    {"_RCP_VAR_PRO.station", 4, 4, 4},
    {"_RCP_VAR_PRO.regType", 8, 8, 8},
    {"_RCP_VAR_PRO.startAddr", 12, 16, 32},
    {"_RCP_VAR_PRO.count", 16, 20, 36},
    {"_RCP_VAR_PRO.hostOffset", 20, 24, 40},
    {"_RCP_VAR_PRO.extra", 24, 28, 44},
    {"_RCP_VAR_PRO", 28, 32, 48},
    {"KEY_ADDRESS.keyText", 0, 0, 0},
    {"KEY_ADDRESS.field1", 4, 8, 24},
    {"KEY_ADDRESS.hostOffset", 8, 12, 28},
    {"KEY_ADDRESS.station", 12, 16, 32},
    {"KEY_ADDRESS.regType", 16, 24, 40},
    {"KEY_ADDRESS.text2", 20, 32, 64},
    {"KEY_ADDRESS.startAddr", 24, 40, 88},
    {"KEY_ADDRESS.field7", 28, 44, 92},
    {"KEY_ADDRESS.count", 32, 48, 96},
    {"KEY_ADDRESS.data", 36, 52, 100},
    {"KEY_ADDRESS", 1060, 1080, 1128},
    {"FRAME_PRO.frame", 0, 0, 0},
    {"FRAME_PRO.frameLen", 1024, 1024, 1024},
    {"FRAME_PRO.replyLen", 1028, 1028, 1028},
    {"FRAME_PRO.frameKind", 1032, 1032, 1032},
    {"FRAME_PRO.dataLen", 1036, 1036, 1036},
    {"FRAME_PRO.field5", 1040, 1040, 1040},
    {"FRAME_PRO.var", 1044, 1048, 1048},
    {"FRAME_PRO", 2088, 2096, 2112},
};

size_t expectedHere(const Layout &layout)
{
#if QT_VERSION >= 0x060000
    return layout.qt6;
#else
    return sizeof(void *) == 8 ? layout.pointer64 : layout.pointer32;
#endif
}

std::map<std::string, size_t> seenByPanel()
{
    std::map<std::string, size_t> seen;
    for (const PanelOffset *entry = panelOffsets(); entry->name; ++entry)
        seen[entry->name] = entry->offset;
    return seen;
}

TEST(RecordLayout, IsTheSameForAHostBuiltWithAnOldToolChain)
{
    const std::map<std::string, size_t> seen = seenByPanel();
    EXPECT_EQ(seen.size(), sizeof(layouts) / sizeof(layouts[0]));
    for (const Layout &layout : layouts) {
        const auto found = seen.find(layout.name);
        ASSERT_NE(found, seen.end()) << layout.name;
        EXPECT_EQ(found->second, expectedHere(layout)) << layout.name;
    }
}

TEST(RecordLayout, WasCompiledAsTheOldestStandardThatQtAllows)
{
#if QT_VERSION >= 0x060000
    EXPECT_EQ(panelCxxStandard(), 201703L);
#elif QT_VERSION >= 0x050000
    EXPECT_EQ(panelCxxStandard(), 201103L);
#else
    EXPECT_EQ(panelCxxStandard(), 199711L);
#endif
}

} // namespace
