/**
 * @file
 * What a run of random calls found to be wrong.
 */
#ifndef PROPERTY_FINDINGS_H
#define PROPERTY_FINDINGS_H

#include <string>

namespace property {

/** Keeps the first violation; what follows is most likely its consequence. */
class Findings
{
public:
    void add(const std::string &text)
    {
        if (first.empty())
            first = text;
    }

    /** Adds @p text unless @p holds. */
    void require(bool holds, const char *text)
    {
        if (!holds)
            add(text);
    }

    bool any() const { return !first.empty(); }

    std::string first;
};

} // namespace property

#endif
