// Tag files and recipes of any content, and the same text as it is typed on a command
// line: refused with a place and a reason, or tags inside the limits of their types. A
// recipe that was read is written as a file that reads the same.

#include "host/tags/recipe.h"
#include "host/tags/tag_table.h"
#include "host/text/csv.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace {

using rtu::Access;

void require(bool holds, const char *reason)
{
    if (holds)
        return;
    std::fprintf(stderr, "FINDING: %s\n", reason);
    std::abort();
}

/** One for all inputs: it holds nothing that an input could change. */
struct Driver
{
    Driver() : library(FUZZ_DRIVER), catalog(library) {}

    rtu::DriverLibrary library;
    rtu::RegisterCatalog catalog;
};

Driver &driver()
{
    static Driver loaded;
    return loaded;
}

void requireLimits(const rtu::TagRange &tag, int lowestStation)
{
    require(tag.station >= lowestStation && tag.station <= rtu::HighestStation, "a station out of range");
    require(tag.values >= 1 && tag.values <= 65536, "a number of values out of range");
    require(tag.address >= 0 && tag.addressOf(tag.values - 1) >= tag.address, "an address out of range");
    require(tag.format.scale != 0.0, "a scale of nothing");
    require(!tag.rangeLabel().empty(), "a tag without a label");
}

/** A refusal of a file names the line. */
void requirePlace(const std::invalid_argument &refusal)
{
    require(std::string(refusal.what()).compare(0, 6, "input:") == 0, "an error without its place");
}

void readTable(const std::string &text)
{
    std::istringstream in(text);
    try {
        for (const rtu::TagRange &tag : rtu::readTagTable(driver().library, driver().catalog, in, "input"))
            requireLimits(tag, 1);
    } catch (const std::invalid_argument &refusal) {
        requirePlace(refusal);
    }
}

rtu::Recipe recipeFrom(const std::string &text, Access access)
{
    std::istringstream in(text);
    return rtu::readRecipe(driver().library, driver().catalog, in, "input", access);
}

std::string written(const rtu::Recipe &recipe)
{
    std::ostringstream out;
    rtu::writeRecipe(out, recipe);
    return out.str();
}

void readRecipe(const std::string &text)
{
    rtu::Recipe recipe;
    try {
        recipe = recipeFrom(text, Access::Write);
    } catch (const std::invalid_argument &refusal) {
        requirePlace(refusal);
        return;
    }
    const std::string file = written(recipe);
    try {
        const rtu::Recipe again = recipeFrom(file, Access::Write);
        require(again.tags.size() == recipe.tags.size(), "a written recipe has more or less tags");
        for (std::size_t i = 0; i < recipe.tags.size(); ++i) {
            require(again.tags[i].name == recipe.tags[i].name, "the name of a written tag");
            require(again.tags[i].unit == recipe.tags[i].unit, "the unit of a written tag");
        }
        require(again.values == recipe.values, "the values of a written recipe");
        require(written(again) == file, "a recipe written twice");
    } catch (const std::invalid_argument &refusal) {
        std::fprintf(stderr, "%s\n%s", refusal.what(), file.c_str());
        require(false, "a written recipe is refused");
    }
}

void readTyped(const std::string &text)
{
    try {
        for (const rtu::TagRange &tag : rtu::parseTags(driver().library, driver().catalog, text, {1, 2}, 1))
            requireLimits(tag, 0);
    } catch (const std::invalid_argument &) {
    }
    try {
        for (const int number : rtu::parseNumberList(text, 1, 300, "number"))
            require(number >= 1 && number <= 300, "a number out of range");
    } catch (const std::invalid_argument &) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    const std::string text(reinterpret_cast<const char *>(bytes), size);
    readTable(text);
    readRecipe(text);
    readTyped(text);
    return 0;
}
