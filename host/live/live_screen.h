/**
 * @file
 * A screen as text with looks, before any terminal is involved.
 */
#ifndef RTU_HOST_LIVE_SCREEN_H
#define RTU_HOST_LIVE_SCREEN_H

#include "host/text/text_width.h"

#include <string>
#include <vector>

namespace rtu {

enum class Look { Plain, Title, Header, Selected, Changed, Error, Dim, Good, Input };

struct Span
{
    std::string text;
    Look look;
};

using ScreenLine = std::vector<Span>;

struct Screen
{
    std::vector<ScreenLine> lines;
    int cursorRow = -1; ///< -1: no cursor
    int cursorColumn = 0;

    /** A line without its looks. */
    std::string text(std::size_t row) const
    {
        std::string result;
        for (const Span &span : lines[row])
            result += span.text;
        return result;
    }
};

} // namespace rtu

#endif
