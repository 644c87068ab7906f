#include "checker/misuse.h"

namespace checked {

std::vector<Misuse> settingMisuses()
{
    return {
        {"property-fields", "FourFields", [](CheckedHost &host) { host.init("1#0#0#3"); }},
        {"null-argument", "NoProperty", [](CheckedHost &host) { host.init(nullptr); }},
        {"property-number", "LinkIsNoNumber", [](CheckedHost &host) { host.init("x#0#0#3#32"); }},
        {"property-number", "SpareIsNoNumber", [](CheckedHost &host) { host.init("1#0##3#32"); }},
        {"property-number words-not-positive", "WordsIsNoNumber", [](CheckedHost &host) { host.init("1#0#0#3#many"); }},
        {"property-number", "SwapIsNoNumber", [](CheckedHost &host) { host.init("1#0#0#3#32#_1"); }},
        {"words-not-positive", "NoWords", [](CheckedHost &host) { host.init("1#0#0#3#0"); }},
        {"words-not-positive", "NegativeWords", [](CheckedHost &host) { host.init("1#0#0#3#-5"); }},
        {"words-odd", "OddWords", [](CheckedHost &host) { host.init("1#0#0#3#33"); }},
        {"words-too-large", "MoreWordsThanAWriteTakes", [](CheckedHost &host) { host.init("1#0#0#3#122"); }},
        {"attempts-below-one", "NoAttempts", [](CheckedHost &host) { host.init("1#0#0#0#32"); }},
        {"local-only", "WritesStayInTheCache",
         [](CheckedHost &host) {
             host.init("1#1#0#3#32");
             host.write(0, "4x_bit", 0, 1, {1, 0});
         }},
        {"swap-mode", "SwapModeTwo", [](CheckedHost &host) { host.init("1#0#0#3#32#2"); }},
        {"swap-station", "SwapStationBeyond247", [](CheckedHost &host) { host.init("1#0#0#3#32#0_1,248"); }},
        {"swap-stations-stay", "SwapListIsShortened",
         [](CheckedHost &host) {
             host.init("1#0#0#3#32#0_1,5");
             host.init("1#0#0#3#32#0_1");
         }},
        {"swap-stations-stay", "SwapFieldIsLeftOut",
         [](CheckedHost &host) {
             host.init("1#0#0#3#32#0_1,5");
             host.init("1#0#0#3#32");
         }},
    };
}

} // namespace checked
