/**
 * @file
 * A folder, a file and an environment variable for the time of a test.
 */
#ifndef TESTS_KIT_TEMPORARY_FOLDER_H
#define TESTS_KIT_TEMPORARY_FOLDER_H

#include <dirent.h>
#include <stdlib.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace test_line {

/** The names in a folder, "." and ".." left out. */
inline std::vector<std::string> namesIn(const std::string &path)
{
    std::vector<std::string> names;
    DIR *folder = ::opendir(path.c_str());
    if (!folder)
        return names;
    while (const dirent *entry = ::readdir(folder)) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
    ::closedir(folder);
    return names;
}

class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        char path[] = "/tmp/kit_test.XXXXXX";
        if (!::mkdtemp(path))
            throw std::runtime_error("no temporary folder");
        m_path = path;
    }

    ~TemporaryFolder()
    {
        for (const std::string &name : namesIn(m_path))
            ::unlink((m_path + "/" + name).c_str());
        ::rmdir(m_path.c_str());
    }

    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    const std::string &path() const { return m_path; }

private:
    std::string m_path;
};

class Environment
{
public:
    Environment(const std::string &name, const std::string &value) : m_name(name)
    {
        const char *before = ::getenv(name.c_str());
        m_wasSet = before != nullptr;
        m_before = before ? before : "";
        ::setenv(name.c_str(), value.c_str(), 1);
    }

    ~Environment()
    {
        if (m_wasSet)
            ::setenv(m_name.c_str(), m_before.c_str(), 1);
        else
            ::unsetenv(m_name.c_str());
    }

    Environment(const Environment &) = delete;
    Environment &operator=(const Environment &) = delete;

private:
    std::string m_name;
    bool m_wasSet;
    std::string m_before;
};

} // namespace test_line

#endif
