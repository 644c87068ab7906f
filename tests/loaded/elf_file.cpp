#include "elf_file.h"

#include "support/file_content.h"

#include <cstring>
#include <stdexcept>

namespace {

const unsigned char nativeClass = sizeof(void *) == 8 ? ELFCLASS64 : ELFCLASS32;

} // namespace

ElfFile::ElfFile(const std::string &path) : content(support::fileContent(path))
{
    const ElfW(Ehdr) header = recordAt<ElfW(Ehdr)>(0);
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != nativeClass)
        throw std::runtime_error(path + " is no library of this word size");
    for (std::size_t i = 0; i < header.e_shnum; ++i)
        sections.push_back(recordAt<Section>(header.e_shoff + i * header.e_shentsize));
}

template <typename Record>
Record ElfFile::recordAt(std::size_t offset) const
{
    if (offset > content.size() || content.size() - offset < sizeof(Record))
        throw std::runtime_error("a header points beyond the end of the file");
    Record record;
    std::memcpy(&record, content.data() + offset, sizeof(Record));
    return record;
}

template <typename Record>
std::vector<Record> ElfFile::recordsOf(const Section &section) const
{
    std::vector<Record> records;
    for (std::size_t i = 0; i < section.sh_size / sizeof(Record); ++i)
        records.push_back(recordAt<Record>(section.sh_offset + i * sizeof(Record)));
    return records;
}

ElfFile::Section ElfFile::sectionOfType(unsigned int type) const
{
    for (const Section &section : sections) {
        if (section.sh_type == type)
            return section;
    }
    throw std::runtime_error("no section of type " + std::to_string(type));
}

std::string ElfFile::textIn(const Section &strings, std::size_t offset) const
{
    return std::string(content.c_str() + strings.sh_offset + offset);
}

std::vector<std::string> ElfFile::definedDynamicSymbols() const
{
    return dynamicSymbols(true);
}

std::vector<std::string> ElfFile::undefinedDynamicSymbols() const
{
    return dynamicSymbols(false);
}

std::vector<std::string> ElfFile::dynamicSymbols(bool defined) const
{
    const Section table = sectionOfType(SHT_DYNSYM);
    std::vector<std::string> names;
    for (const Symbol &symbol : recordsOf<Symbol>(table)) {
        // The binding is in the same bits for both word sizes.
        if ((symbol.st_shndx != SHN_UNDEF) != defined || ELF32_ST_BIND(symbol.st_info) == STB_LOCAL)
            continue;
        names.push_back(textIn(sections.at(table.sh_link), symbol.st_name));
    }
    return names;
}

std::vector<std::string> ElfFile::dynamicTexts(ElfW(Sword) tag) const
{
    const Section dynamic = sectionOfType(SHT_DYNAMIC);
    std::vector<std::string> texts;
    for (const DynamicEntry &entry : recordsOf<DynamicEntry>(dynamic)) {
        if (entry.d_tag == tag)
            texts.push_back(textIn(sections.at(dynamic.sh_link), entry.d_un.d_val));
    }
    return texts;
}

std::string ElfFile::soname() const
{
    const std::vector<std::string> names = dynamicTexts(DT_SONAME);
    return names.empty() ? std::string() : names.front();
}

std::set<std::string> ElfFile::neededLibraries() const
{
    const std::vector<std::string> names = dynamicTexts(DT_NEEDED);
    return std::set<std::string>(names.begin(), names.end());
}

bool ElfFile::hasDynamicEntry(ElfW(Sword) tag) const
{
    for (const DynamicEntry &entry : recordsOf<DynamicEntry>(sectionOfType(SHT_DYNAMIC))) {
        if (entry.d_tag == tag)
            return true;
    }
    return false;
}

std::string ElfFile::textAfter(const std::string &prefix) const
{
    const std::size_t position = content.find(prefix);
    return position == std::string::npos ? std::string() : std::string(content.c_str() + position + prefix.size());
}
