// Files made here, in which each place is known: what else they hold is in the way.

#include "kit/driver/elf_needs.h"

#include <gtest/gtest.h>

#include <link.h>

#include <cstring>

namespace {

using Names = std::vector<std::string>;
using Segment = ElfW(Phdr);
using Entry = ElfW(Dyn);

enum { TextsAt = 0x400, ListAt = 0x800, OtherListAt = 0xA00 };
enum { TextsAddress = 0x11000 };
// Where names are among the texts.
enum { First = 1, Second = 11, Third = 0x100 };

Segment segment(unsigned int type, std::size_t offset, std::size_t address)
{
    Segment result = Segment();
    result.p_type = type;
    result.p_offset = offset;
    result.p_vaddr = address;
    result.p_filesz = 0x1000;
    return result;
}

Entry entry(int tag, std::size_t value)
{
    Entry result = Entry();
    result.d_tag = tag;
    result.d_un.d_val = value;
    return result;
}

template <typename Record>
std::string bytesOf(const std::vector<Record> &records)
{
    return std::string(reinterpret_cast<const char *>(records.data()), records.size() * sizeof(Record));
}

/** The head of a file for this machine, the texts, and behind them the lists. */
std::string fileOf(const std::vector<Segment> &segments, std::size_t counted)
{
    ElfW(Ehdr) header = ElfW(Ehdr)();
    std::memcpy(header.e_ident, ELFMAG, SELFMAG);
    header.e_ident[EI_CLASS] = sizeof(void *) == 8 ? ELFCLASS64 : ELFCLASS32;
    header.e_ident[EI_DATA] = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? ELFDATA2LSB : ELFDATA2MSB;
    header.e_phoff = sizeof(header);
    header.e_phentsize = sizeof(Segment);
    header.e_phnum = static_cast<unsigned short>(counted);
    std::string content(reinterpret_cast<const char *>(&header), sizeof(header));
    content += bytesOf(segments);
    content.resize(ListAt);
    const std::string texts[] = {"libone.so", "libtwo.so", "libthree.so"};
    content.replace(TextsAt + First, texts[0].size(), texts[0]);
    content.replace(TextsAt + Second, texts[1].size(), texts[1]);
    content.replace(TextsAt + Third, texts[2].size(), texts[2]);
    return content;
}

/** The texts' segment begins where the one in front of it ends, and one that is not loaded has the same address. */
std::vector<Segment> segments()
{
    return {segment(PT_LOAD, 0, TextsAddress - 0x1000), segment(PT_NOTE, TextsAt + Third - First, TextsAddress),
            segment(PT_LOAD, TextsAt, TextsAddress), segment(PT_DYNAMIC, ListAt, 0x20000)};
}

std::vector<Entry> twoNeeded()
{
    return {entry(DT_NEEDED, First), entry(DT_STRTAB, TextsAddress), entry(DT_SONAME, Third), entry(DT_NEEDED, Second)};
}

const Names Two = {"libone.so", "libtwo.so"};

TEST(ElfImage, EndsItsListWithAnEmptyEntry)
{
    std::vector<Segment> all = segments();
    all.push_back(segment(PT_DYNAMIC, OtherListAt, 0x30000));
    std::string content = fileOf(all, all.size());
    std::vector<Entry> list = twoNeeded();
    list.push_back(entry(DT_NULL, 0));
    list.push_back(entry(DT_NEEDED, Third));
    content += bytesOf(list);
    content.resize(OtherListAt);
    content += bytesOf(std::vector<Entry>(1, entry(DT_NEEDED, Third)));
    EXPECT_EQ(Two, rtu::neededLibraries(content));
}

TEST(ElfImage, EndsItsListWithTheFile)
{
    const std::string content = fileOf(segments(), segments().size());
    EXPECT_EQ(Two, rtu::neededLibraries(content + bytesOf(twoNeeded())));
}

TEST(ElfImage, MayEndWithinAnEntry)
{
    std::vector<Entry> list = twoNeeded();
    list.push_back(entry(DT_NEEDED, Third));
    std::string content = fileOf(segments(), segments().size()) + bytesOf(list);
    content.resize(content.size() - sizeof(Entry) / 2); // memory still has it behind the end
    EXPECT_EQ(Two, rtu::neededLibraries(content));
}

TEST(ElfImage, HasAsManySegmentsAsItCounts)
{
    const std::string content = fileOf(segments(), segments().size() - 1);
    EXPECT_EQ(Names(), rtu::neededLibraries(content + bytesOf(twoNeeded())));
}

} // namespace
