#include "host/commands/capture_output.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace rtu {

bool isCapturePipe(const std::string &path)
{
    return path == "-";
}

CaptureOutput::CaptureOutput(const std::string &path, std::ostream &standardOutput) : m_path(path)
{
    if (!isCapturePipe(path)) {
        m_file.open(path, std::ios::binary);
        if (!m_file)
            throw std::runtime_error("cannot write " + path + ": " + std::strerror(errno));
    }
    m_writer.reset(new CaptureWriter(isCapturePipe(path) ? standardOutput : m_file, CaptureClock()));
}

std::string CaptureOutput::problem() const
{
    if (m_writer->good())
        return std::string();
    return isCapturePipe(m_path) ? "nobody reads the capture any more"
                                 : "cannot write " + m_path + ": the capture is not whole";
}

} // namespace rtu
