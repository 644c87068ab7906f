/**
 * @file
 * What the dynamic linker knows of a shared library, read from the file itself.
 *
 * Reads files of the word size and byte order that the test is built for, which
 * is that of the library it was built with.
 */
#ifndef ELF_FILE_H
#define ELF_FILE_H

#include <link.h>

#include <set>
#include <string>
#include <vector>

class ElfFile
{
public:
    /** @throws std::runtime_error when the file is no such library */
    explicit ElfFile(const std::string &path);

    /** Names that other files can link to or resolve, as `nm -D --defined-only` lists them. */
    std::vector<std::string> definedDynamicSymbols() const;

    /** Names that it takes from other files. */
    std::vector<std::string> undefinedDynamicSymbols() const;

    std::string soname() const;

    /** The libraries that the dynamic linker loads along. */
    std::set<std::string> neededLibraries() const;

    /** True when the dynamic section has an entry of this kind, as DT_TEXTREL. */
    bool hasDynamicEntry(ElfW(Sword) tag) const;

    /** The text in the file from the end of @p prefix to the next zero byte; empty when absent. */
    std::string textAfter(const std::string &prefix) const;

private:
    typedef ElfW(Shdr) Section;
    typedef ElfW(Sym) Symbol;
    typedef ElfW(Dyn) DynamicEntry;

    template <typename Record>
    Record recordAt(std::size_t offset) const;
    template <typename Record>
    std::vector<Record> recordsOf(const Section &section) const;
    Section sectionOfType(unsigned int type) const;
    std::string textIn(const Section &strings, std::size_t offset) const;
    std::vector<std::string> dynamicSymbols(bool defined) const;
    std::vector<std::string> dynamicTexts(ElfW(Sword) tag) const;

    std::string content;
    std::vector<Section> sections;
};

#endif
