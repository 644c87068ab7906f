/**
 * @file
 * The files that rows go to beside standard output or the live view.
 */
#ifndef RTU_HOST_RECORD_FILES_H
#define RTU_HOST_RECORD_FILES_H

#include "host/cli/options.h"
#include "host/report/line_recorder.h"
#include "host/report/log_file.h"

#include <memory>
#include <vector>

namespace rtu {

class RecordFiles
{
public:
    /** Opens those that the options name. @param tell what happens to them, in words @throws std::runtime_error */
    RecordFiles(const Options &options, LogFile::Teller tell);

    /** @param recorder has addRecords() */
    template <typename Recorder>
    void addTo(Recorder &recorder)
    {
        for (const std::unique_ptr<Output> &output : m_outputs)
            recorder.addRecords(output->records);
    }
    /** Who is told from now on, beginning with what was told last. */
    void setTeller(LogFile::Teller tell);
    /** Rows are missing in some. */
    bool incomplete() const;

private:
    struct Output
    {
        Output(const std::string &path, LogFile::Start start, OutputForm form, bool verified, LogFile::Teller tell);

        LogFile file;
        Records records;
    };

    void open(const std::string &path, LogFile::Start start, OutputForm form, bool verified);

    LogFile::Teller m_tell;
    std::string m_told;
    std::vector<std::unique_ptr<Output>> m_outputs;
};

} // namespace rtu

#endif
