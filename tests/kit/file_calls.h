/**
 * @file
 * Calls to files that do less than they might.
 */
#ifndef TESTS_KIT_FILE_CALLS_H
#define TESTS_KIT_FILE_CALLS_H

namespace test_line {

/** While it lives, no folder has files that never had a name. */
class NoUnnamedFile
{
public:
    NoUnnamedFile();
    ~NoUnnamedFile();
    NoUnnamedFile(const NoUnnamedFile &) = delete;
    NoUnnamedFile &operator=(const NoUnnamedFile &) = delete;
};

/** While it lives, bytes are written one at a time. */
class WrittenByteByByte
{
public:
    WrittenByteByByte();
    ~WrittenByteByByte();
    WrittenByteByByte(const WrittenByteByByte &) = delete;
    WrittenByteByByte &operator=(const WrittenByteByByte &) = delete;
};

} // namespace test_line

#endif
