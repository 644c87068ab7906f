#include "host/report/log_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace rtu {

namespace {

/** Not for reading where it is a pipe: its last reader, which is gone then, would be this program. */
int openForRows(const std::string &path, LogFile::Start start)
{
    struct stat status = {};
    const bool pipe = ::stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
    const int access = pipe ? O_WRONLY : O_RDWR;
    return ::open(path.c_str(), access | O_CREAT | O_APPEND | O_CLOEXEC | (start == LogFile::Start::Anew ? O_TRUNC : 0),
                  0666);
}

} // namespace

LogFile::LogFile(const std::string &path, Start start, Teller tell)
    : m_path(path)
    , m_tell(std::move(tell))
    , m_file(openForRows(path, start))
    , m_stream(this)
{
    if (m_file < 0)
        throw std::runtime_error("cannot write " + path + ": " + std::strerror(errno));
    finishLastLine();
}

LogFile::~LogFile()
{
    sync();
    ::close(m_file);
}

/** Whoever wrote the file before may have been stopped in the middle of a line. */
void LogFile::finishLastLine()
{
    const off_t size = ::lseek(m_file, 0, SEEK_END);
    m_empty = size <= 0;
    char last = '\n';
    if (size > 0 && ::pread(m_file, &last, 1, size - 1) == 1 && last != '\n')
        m_text = "\n";
}

int LogFile::overflow(int byte)
{
    if (byte != traits_type::eof())
        m_text += static_cast<char>(byte);
    return traits_type::not_eof(byte);
}

std::streamsize LogFile::xsputn(const char *text, std::streamsize size)
{
    m_text.append(text, static_cast<std::size_t>(size));
    return size;
}

int LogFile::sync()
{
    if (m_text.empty())
        return 0;
    if (append())
        noteSuccess();
    else
        noteFailure();
    m_text.clear();
    return 0;
}

/** All of the text or nothing: half a row would spoil the next one too. */
bool LogFile::append()
{
    const off_t before = ::lseek(m_file, 0, SEEK_END);
    for (std::size_t done = 0; done < m_text.size();) {
        const ssize_t count = ::write(m_file, m_text.data() + done, m_text.size() - done);
        if (count > 0) {
            done += static_cast<std::size_t>(count);
        } else if (count == 0 || errno != EINTR) {
            const int reason = errno;
            (void)!::ftruncate(m_file, std::max<off_t>(before, 0));
            errno = reason;
            return false;
        }
    }
    return true;
}

void LogFile::noteFailure()
{
    const std::string reason = std::strerror(errno);
    m_lost += static_cast<std::uint64_t>(std::count(m_text.begin(), m_text.end(), '\n'));
    if (!m_failing)
        m_tell(m_path + " is not written: " + reason + ", going on without it");
    m_failing = true;
}

void LogFile::noteSuccess()
{
    m_empty = false;
    if (m_failing)
        m_tell(m_path + " is written again, " + std::to_string(m_lost) + " lines are missing");
    m_failing = false;
}

} // namespace rtu
