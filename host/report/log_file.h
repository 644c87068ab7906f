/**
 * @file
 * A file that rows are added to, and that may be unable to take them.
 */
#ifndef RTU_HOST_LOG_FILE_H
#define RTU_HOST_LOG_FILE_H

#include <cstdint>
#include <functional>
#include <ostream>
#include <streambuf>
#include <string>

namespace rtu {

/**
 * Written through stream(), which never fails: what the disk does not take when it is
 * flushed is dropped whole, told, and counted; the next rows are tried again.
 */
class LogFile final : private std::streambuf
{
public:
    enum class Start { Anew, Append };
    using Teller = std::function<void(const std::string &)>;

    /** @param tell gets what happens to the file, in words @throws std::runtime_error */
    LogFile(const std::string &path, Start start, Teller tell);
    ~LogFile() override;
    LogFile(const LogFile &) = delete;
    LogFile &operator=(const LogFile &) = delete;

    std::ostream &stream() { return m_stream; }
    /** Nothing has been written to the file yet, now or before. */
    bool empty() const { return m_empty; }
    /** Lines that the file did not take. */
    std::uint64_t lost() const { return m_lost; }

private:
    int sync() override;
    int overflow(int byte) override;
    std::streamsize xsputn(const char *text, std::streamsize size) override;

    void finishLastLine();
    bool append();
    void noteFailure();
    void noteSuccess();

    const std::string m_path;
    const Teller m_tell;
    int m_file;
    bool m_empty = true;
    bool m_failing = false;
    std::uint64_t m_lost = 0;
    std::string m_text; ///< not written yet
    std::ostream m_stream;
};

} // namespace rtu

#endif
