#include "kit/driver/elf_needs.h"

#include <QtCore/qglobal.h>

#include <link.h>

#include <cstring>

namespace rtu {

namespace {

typedef ElfW(Ehdr) FileHeader;
typedef ElfW(Phdr) Segment;
typedef ElfW(Dyn) DynamicEntry;

const unsigned char NativeClass = sizeof(void *) == 8 ? ELFCLASS64 : ELFCLASS32;
const unsigned char NativeOrder = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? ELFDATA2LSB : ELFDATA2MSB;

/** False: it would reach beyond the file. */
template <typename Record>
bool recordAt(const std::string &content, std::size_t offset, Record *record)
{
    if (offset > content.size() || content.size() - offset < sizeof(Record))
        return false;
    std::memcpy(record, content.data() + offset, sizeof(Record));
    return true;
}

bool isOfThisMachine(const FileHeader &header)
{
    return std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 && header.e_ident[EI_CLASS] == NativeClass
           && header.e_ident[EI_DATA] == NativeOrder && header.e_phentsize == sizeof(Segment);
}

std::vector<Segment> segmentsOf(const std::string &content)
{
    std::vector<Segment> segments;
    FileHeader header;
    if (!recordAt(content, 0, &header) || !isOfThisMachine(header))
        return segments;
    Segment segment;
    std::size_t offset = static_cast<std::size_t>(header.e_phoff);
    for (int i = 0; i < header.e_phnum && recordAt(content, offset, &segment); ++i) {
        segments.push_back(segment);
        offset += sizeof(Segment);
    }
    return segments;
}

std::vector<DynamicEntry> dynamicEntries(const std::string &content, const std::vector<Segment> &segments)
{
    std::vector<DynamicEntry> entries;
    for (const Segment &segment : segments) {
        if (segment.p_type != PT_DYNAMIC)
            continue;
        DynamicEntry entry;
        std::size_t offset = static_cast<std::size_t>(segment.p_offset);
        for (; recordAt(content, offset, &entry) && entry.d_tag != DT_NULL; offset += sizeof(entry))
            entries.push_back(entry);
        break;
    }
    return entries;
}

/** Where in the file the bytes are that will be at an address; beyond its end when nowhere. */
std::size_t fileOffset(const std::string &content, const std::vector<Segment> &segments, ElfW(Addr) address)
{
    for (const Segment &segment : segments) {
        if (segment.p_type == PT_LOAD && address >= segment.p_vaddr && address - segment.p_vaddr < segment.p_filesz)
            return static_cast<std::size_t>(address - segment.p_vaddr + segment.p_offset);
    }
    return content.size();
}

/** Up to the next zero byte; empty when that is beyond the file. */
std::string textAt(const std::string &content, std::size_t offset)
{
    if (offset >= content.size())
        return std::string();
    const std::size_t end = content.find('\0', offset);
    return end == std::string::npos ? std::string() : content.substr(offset, end - offset);
}

bool isQtCore(const std::string &name)
{
    const bool isQt = name.compare(0, 5, "libQt") == 0;
    const std::size_t dot = name.find(".so");
    return isQt && dot != std::string::npos && name.substr(0, dot).find("Core") != std::string::npos;
}

} // namespace

std::vector<std::string> neededLibraries(const std::string &content)
{
    const std::vector<Segment> segments = segmentsOf(content);
    const std::vector<DynamicEntry> entries = dynamicEntries(content, segments);
    std::vector<std::string> names;
    // The last one alone: a damaged file may have as many as it has places, and as many segments to look in.
    const DynamicEntry *table = nullptr;
    for (const DynamicEntry &entry : entries)
        table = entry.d_tag == DT_STRTAB ? &entry : table;
    if (!table)
        return names;
    const std::size_t texts = fileOffset(content, segments, table->d_un.d_ptr);
    for (const DynamicEntry &entry : entries) {
        if (entry.d_tag != DT_NEEDED || entry.d_un.d_val > content.size())
            continue;
        const std::string name = textAt(content, texts + static_cast<std::size_t>(entry.d_un.d_val));
        if (!name.empty())
            names.push_back(name);
    }
    return names;
}

std::string ownQt()
{
    const std::string major = std::to_string(QT_VERSION >> 16);
    return "libQt" + (major == "4" ? std::string() : major) + "Core.so." + major;
}

std::string foreignQt(const std::vector<std::string> &needed)
{
    for (const std::string &name : needed) {
        if (isQtCore(name) && name != ownQt())
            return name;
    }
    return std::string();
}

} // namespace rtu
