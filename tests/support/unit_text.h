/**
 * @file
 * Request units and keys as text, so that tests can show tables of them:
 * "1:4x 0+10" is station 1, type "4x", ten elements from 0; units are joined by
 * " | ". Recipe rows may add their host offset: "1:4x 0+10@40".
 *
 * Add `${CMAKE_SOURCE_DIR}/tests/support/unit_text.cpp` to the sources of a test program.
 */
#ifndef UNIT_TEXT_H
#define UNIT_TEXT_H

#include "support/driver_fixture.h"

#include <sstream>
#include <string>

namespace support {

/** Text of a VARIABLE, KEY_ADDRESS or _RCP_VAR_PRO. */
template <typename Unit>
std::string unitText(const Unit &unit)
{
    std::ostringstream text;
    text << unit.station << ':' << unit.regType.toStdString() << ' ' << unit.startAddr << '+' << unit.count;
    return text.str();
}

/** Text of a list of them. */
template <typename Units>
std::string unitsText(const Units &units)
{
    std::string text;
    for (int i = 0; i < static_cast<int>(units.size()); ++i)
        text += (i == 0 ? "" : " | ") + unitText(units[i]);
    return text;
}

/** The keys of a text; word keys with field1 numbering them from 0. */
Keys keysOf(const std::string &text);

/** The recipe rows of a text, all of @p link, with `extra` numbering them from 0. */
QVector<_RCP_VAR_PRO> rowsOf(int link, const std::string &text);

} // namespace support

#endif
