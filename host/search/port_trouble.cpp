#include "host/search/port_trouble.h"

#include "kit/line/serial_port.h"
#include "kit/line/tcp_line.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace rtu {

namespace {

namespace files = std::filesystem;

const char *const Separator = "; ";

std::string joined(const std::vector<std::string> &parts)
{
    std::string text;
    for (std::size_t i = 0; i < parts.size(); ++i)
        text += (i == 0 ? "" : i + 1 == parts.size() ? " and " : ", ") + parts[i];
    return text;
}

/** Entries of a folder in order; none where it cannot be read. */
std::vector<files::path> entriesOf(const files::path &folder)
{
    std::vector<files::path> entries;
    std::error_code error;
    for (files::directory_iterator at(folder, error), end; !error && at != end; at.increment(error))
        entries.push_back(at->path());
    std::sort(entries.begin(), entries.end());
    return entries;
}

std::string firstLineOf(const files::path &file)
{
    std::ifstream in(file);
    std::string line;
    std::getline(in, line);
    return line;
}

/** Consoles have no device behind them; the kernel keeps places for serial chips that are not there, of type 0. */
bool hasHardware(const files::path &terminal)
{
    std::error_code error;
    return files::exists(terminal / "device", error) && firstLineOf(terminal / "type") != "0";
}

/** The name that a USB adapter keeps wherever it is plugged in; empty for other ports. */
std::string lastingName(const std::string &port, const SystemFolders &folders)
{
    std::error_code error;
    for (const files::path &link : entriesOf(files::path(folders.devices) / "serial" / "by-id")) {
        if (files::read_symlink(link, error).filename() == port)
            return link.filename();
    }
    return std::string();
}

bool sameFile(const struct stat &one, const struct stat &other)
{
    if (S_ISCHR(one.st_mode) && S_ISCHR(other.st_mode))
        return one.st_rdev == other.st_rdev;
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool hasOpen(const files::path &process, const struct stat &port)
{
    for (const files::path &descriptor : entriesOf(process / "fd")) {
        struct stat info;
        if (::stat(descriptor.c_str(), &info) == 0 && sameFile(info, port))
            return true;
    }
    return false;
}

bool isProcess(const files::path &entry)
{
    const std::string name = entry.filename();
    return name.find_first_not_of("0123456789") == std::string::npos;
}

std::string missingAdvice(const SystemFolders &folders)
{
    const std::vector<std::string> ports = presentPorts(folders);
    if (ports.empty())
        return "this machine has no serial port now: is the adapter plugged in?";
    return (ports.size() == 1 ? "there is " : "there are ") + joined(ports);
}

std::string busyAdvice(const std::string &port, const SystemFolders &folders)
{
    const std::vector<std::string> holders = holdersOf(port, folders);
    if (holders.empty())
        return "one that only its owner or root can see: sudo fuser -v " + port + " names it";
    return joined(holders) + (holders.size() == 1 ? " has it open" : " have it open");
}

/** This process; groups that were given to the user since the log-in are not among its own. */
Asker thisProcess(const std::string &portGroup)
{
    Asker asker;
    asker.user = ::geteuid();
    if (const passwd *user = ::getpwuid(asker.user))
        asker.name = user->pw_name;
    std::vector<gid_t> groups(static_cast<std::size_t>(std::max(0, ::getgroups(0, nullptr))));
    groups.resize(static_cast<std::size_t>(std::max(0, ::getgroups(static_cast<int>(groups.size()), groups.data()))));
    asker.groups.assign(groups.begin(), groups.end());
    asker.groups.push_back(::getegid());
    const group *entry = ::getgrnam(portGroup.c_str());
    for (char **member = entry ? entry->gr_mem : nullptr; member && *member; ++member)
        asker.member = asker.member || asker.name == *member;
    return asker;
}

std::string permissionAdvice(const struct stat &port)
{
    const group *entry = ::getgrgid(port.st_gid);
    const std::string name = entry ? entry->gr_name : std::to_string(port.st_gid);
    return permissionAdvice(port, name, thisProcess(name));
}

[[noreturn]] void explain(const std::string &port, const std::string &reason, const SystemFolders &folders)
{
    struct stat info;
    if (::stat(port.c_str(), &info) != 0)
        throw PortTrouble(Cause::PortMissing, reason + Separator + missingAdvice(folders));
    if (::access(port.c_str(), R_OK | W_OK) != 0)
        throw PortTrouble(Cause::NoPermission, reason + Separator + permissionAdvice(info));
    throw std::runtime_error(reason);
}

} // namespace

std::vector<std::string> presentPorts(const SystemFolders &folders)
{
    std::vector<std::string> ports;
    for (const files::path &terminal : entriesOf(folders.terminals)) {
        const std::string name = terminal.filename();
        if (!hasHardware(terminal))
            continue;
        const std::string lasting = lastingName(name, folders);
        ports.push_back(folders.devices + "/" + name + (lasting.empty() ? "" : " (" + lasting + ")"));
    }
    return ports;
}

std::vector<std::string> holdersOf(const std::string &port, const SystemFolders &folders)
{
    std::vector<std::string> holders;
    struct stat info;
    if (::stat(port.c_str(), &info) != 0)
        return holders;
    for (const files::path &process : entriesOf(folders.processes)) {
        const std::string number = process.filename();
        if (isProcess(process) && number != std::to_string(::getpid()) && hasOpen(process, info))
            holders.push_back(firstLineOf(process / "comm") + " (process " + number + ")");
    }
    return holders;
}

std::string permissionAdvice(const struct stat &port, const std::string &group, const Asker &asker)
{
    const mode_t groupMay = S_IRGRP | S_IWGRP;
    if ((port.st_mode & groupMay) != groupMay)
        return "only its owner may open it";
    if (std::find(asker.groups.begin(), asker.groups.end(), port.st_gid) != asker.groups.end())
        return "the group " + group + " may open it, and you are in it: something else forbids it";
    if (asker.member)
        return "the group " + group + " may open it, and you are in it since you logged in: log in anew";
    const std::string user = asker.name.empty() ? "$USER" : asker.name;
    return "the group " + group + " may open it, and you are not in it: sudo usermod -aG " + group + " " + user
           + ", then log in anew";
}

PortTrouble::PortTrouble(Cause cause, const std::string &text) : std::runtime_error(text)
{
    m_diagnosis.cause = cause;
    m_diagnosis.text = text;
}

void openPort(PortLine &line, const SystemFolders &folders)
{
    try {
        line.open();
    } catch (const PortInUse &error) {
        throw PortTrouble(Cause::PortBusy, error.what() + (Separator + busyAdvice(line.name(), folders)));
    } catch (const std::runtime_error &error) {
        if (isTcpPort(line.name()))
            throw;
        explain(line.name(), error.what(), folders);
    }
}

} // namespace rtu
