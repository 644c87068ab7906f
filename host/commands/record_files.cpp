#include "host/commands/record_files.h"

#include <algorithm>

namespace rtu {

RecordFiles::Output::Output(const std::string &path, LogFile::Start start, OutputForm form, bool verified,
                            LogFile::Teller tell)
    : file(path, start, std::move(tell))
    , records(file.stream(), form, verified)
{
    if (file.empty())
        records.printHeader();
    records.flush();
}

RecordFiles::RecordFiles(const Options &options, LogFile::Teller tell) : m_tell(std::move(tell))
{
    open(options.logFile, LogFile::Start::Append, options.logForm, options.verify);
    open(options.recordFile, LogFile::Start::Anew, options.recordForm, options.verify);
}

void RecordFiles::open(const std::string &path, LogFile::Start start, OutputForm form, bool verified)
{
    if (path.empty())
        return;
    const auto tell = [this](const std::string &text) {
        m_told = text;
        m_tell(text);
    };
    m_outputs.emplace_back(new Output(path, start, form, verified, tell));
}

void RecordFiles::setTeller(LogFile::Teller tell)
{
    m_tell = std::move(tell);
    if (!m_told.empty())
        m_tell(m_told);
}

bool RecordFiles::incomplete() const
{
    return std::any_of(m_outputs.begin(), m_outputs.end(),
                       [](const std::unique_ptr<Output> &output) { return output->file.lost() > 0; });
}

} // namespace rtu
