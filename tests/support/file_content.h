/**
 * @file
 * Files as one text.
 */
#ifndef TESTS_SUPPORT_FILE_CONTENT_H
#define TESTS_SUPPORT_FILE_CONTENT_H

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace support {

/** @throws std::runtime_error where there is no such file */
inline std::string fileContent(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

} // namespace support

#endif
