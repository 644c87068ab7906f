#include "checker/reporter.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace checker {

namespace {

/** An environment variable, empty when it is not set. */
std::string environmentText(const char *name)
{
    const char *value = std::getenv(name);
    return value ? value : "";
}

/** The severity from which on the program is aborted: beyond all of them when it is not asked for. */
int abortSeverity(const std::string &wanted)
{
    for (int severity = ModbusRtuCheckHint; severity <= ModbusRtuCheckError; ++severity) {
        if (wanted == severityName(static_cast<ModbusRtuCheckSeverity>(severity)))
            return severity;
    }
    return ModbusRtuCheckError + 1;
}

} // namespace

Reporter::Reporter()
    : link(0)
    , linkKnown(false)
    , output(STDERR_FILENO)
    , ownsOutput(false)
    , abortFrom(abortSeverity(environmentText("MODBUS_RTU_CHECK_ABORT")))
    , ignored("," + environmentText("MODBUS_RTU_CHECK_IGNORE") + ",")
    , listener(reinterpret_cast<ModbusRtuCheckFunction>(::dlsym(RTLD_DEFAULT, "modbus_rtu_check_finding")))
{
    std::memset(counts, 0, sizeof counts);
    const std::string wanted = environmentText("MODBUS_RTU_CHECK_OUTPUT");
    if (wanted.empty() && listener)
        output = -1;
    if (wanted.empty() || wanted == "stderr")
        return;
    const int file = ::open(wanted.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (file < 0) {
        print("modbus_rtu_master_check: cannot write to " + wanted + ", findings go to standard error\n");
        return;
    }
    output = file;
    ownsOutput = true;
}

Reporter::~Reporter()
{
    if (ownsOutput)
        ::close(output);
}

void Reporter::tell(const Findings &findings)
{
    for (const Finding &finding : findings.all())
        tell(finding);
}

void Reporter::tell(const Finding &finding)
{
    const FindingRow &row = findingRow(finding.id);
    if (ignores(row.name))
        return;
    std::string text;
    int count = 0;
    {
        std::lock_guard<std::mutex> locked(mutex);
        count = ++counts[finding.id][finding.call];
        text = prefix() + severityName(row.severity) + " " + row.name + ": " + entryPointName(finding.call);
    }
    if (!finding.argument.empty())
        text += ", " + finding.argument;
    text += ": " + finding.wrong + ". Right: " + row.right + ". See docs/" + row.section;
    if (listener)
        listener(row.name, row.severity, text.c_str(), count);
    if (count == 1)
        print(text + "\n");
    if (row.severity >= abortFrom)
        std::abort();
}

void Reporter::setLink(int newLink)
{
    std::lock_guard<std::mutex> locked(mutex);
    link = newLink;
    linkKnown = true;
}

void Reporter::summarise()
{
    std::lock_guard<std::mutex> locked(mutex);
    for (int id = 0; id < FindingCount; ++id) {
        for (int call = 0; call < CallCount; ++call) {
            if (counts[id][call] > 1)
                print(prefix() + findingRow(static_cast<FindingId>(id)).name + ": "
                      + entryPointName(static_cast<EntryPoint>(call)) + ": " + std::to_string(counts[id][call])
                      + " times in all\n");
        }
    }
}

bool Reporter::ignores(const char *name) const
{
    return ignored.find("," + std::string(name) + ",") != std::string::npos;
}

std::string Reporter::prefix() const
{
    return linkKnown ? "modbus_rtu_master_check, link " + std::to_string(link) + ": " : "modbus_rtu_master_check: ";
}

/** One write a line, so that the lines of several threads and copies do not mix. */
void Reporter::print(const std::string &line) const
{
    if (output < 0)
        return;
    const ssize_t written = ::write(output, line.data(), line.size());
    (void)written; // nobody is left to tell
}

} // namespace checker
