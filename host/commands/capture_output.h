/**
 * @file
 * The capture that is written beside everything else.
 */
#ifndef RTU_HOST_CAPTURE_OUTPUT_H
#define RTU_HOST_CAPTURE_OUTPUT_H

#include "host/listen/capture_file.h"

#include <fstream>
#include <memory>
#include <ostream>
#include <string>

namespace rtu {

class CaptureOutput
{
public:
    /**
     * @param path a file, which is emptied, a pipe, or "-" for @p standardOutput
     * @throws std::runtime_error
     */
    CaptureOutput(const std::string &path, std::ostream &standardOutput);

    CaptureWriter &writer() { return *m_writer; }
    /** Why the capture is not whole; empty while it is. */
    std::string problem() const;

private:
    const std::string m_path;
    std::ofstream m_file;
    std::unique_ptr<CaptureWriter> m_writer;
};

/** Whether a capture goes to standard output, where nothing else may stand then. */
bool isCapturePipe(const std::string &path);

} // namespace rtu

#endif
