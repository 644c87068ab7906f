#include "host/search/port_trouble.h"
#include "kit/line/make_line.h"
#include "kit/line/serial_port.h"
#include "kit/temporary_folder.h"
#include "kit/terminal_pair.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

namespace {

namespace files = std::filesystem;

/** A system with ports and programs of the test's. */
class PortTrouble : public testing::Test
{
protected:
    PortTrouble()
    {
        folders.devices = "/dev";
        folders.terminals = place("terminals");
        folders.processes = place("processes");
    }

    std::string place(const std::string &name)
    {
        const std::string path = m_folder.path() + "/" + name;
        files::create_directories(path);
        return path;
    }

    void addTerminal(const std::string &name, bool device, const std::string &type)
    {
        files::create_directories(folders.terminals + "/" + name);
        if (device)
            files::create_directories(folders.terminals + "/" + name + "/device");
        if (!type.empty())
            std::ofstream(folders.terminals + "/" + name + "/type") << type << '\n';
    }

    void addProcess(const std::string &number, const std::string &name, const std::string &opened)
    {
        const std::string process = folders.processes + "/" + number;
        files::create_directories(process + "/fd");
        std::ofstream(process + "/comm") << name << '\n';
        files::create_symlink(opened, process + "/fd/3");
    }

    rtu::SystemFolders folders;

private:
    test_line::TemporaryFolder m_folder;
};

std::string openingOf(const std::string &port, const rtu::SystemFolders &folders, rtu::Cause cause)
{
    const std::unique_ptr<rtu::PortLine> line = rtu::makeLine(port, rtu::LineParameters());
    try {
        rtu::openPort(*line, folders);
    } catch (const rtu::PortTrouble &trouble) {
        EXPECT_EQ(cause, trouble.diagnosis().cause);
        EXPECT_EQ(trouble.what(), trouble.diagnosis().text);
        return trouble.what();
    }
    return "nothing thrown";
}

TEST_F(PortTrouble, NamesThePortsWithHardware)
{
    addTerminal("tty1", false, "");
    addTerminal("ttyS0", true, "4");
    addTerminal("ttyS1", true, "0");
    addTerminal("ttyUSB0", true, "");
    addTerminal("ttyACM3", true, "");
    folders.devices = place("dev");
    files::create_directories(folders.devices + "/serial/by-id");
    files::create_symlink("../../ttyUSB0", folders.devices + "/serial/by-id/usb-Adapter-if00");
    const std::string dev = folders.devices;
    EXPECT_EQ((std::vector<std::string>{dev + "/ttyACM3", dev + "/ttyS0", dev + "/ttyUSB0 (usb-Adapter-if00)"}),
              rtu::presentPorts(folders));
}

TEST_F(PortTrouble, OfAPortThatIsNotThereNamesThose)
{
    EXPECT_EQ("cannot open /dev/ttyUSB77: No such file or directory; this machine has no serial port now: is the "
              "adapter plugged in?",
              openingOf("/dev/ttyUSB77", folders, rtu::Cause::PortMissing));
    addTerminal("ttyS0", true, "4");
    EXPECT_EQ("cannot open /dev/ttyUSB77: No such file or directory; there is /dev/ttyS0",
              openingOf("/dev/ttyUSB77", folders, rtu::Cause::PortMissing));
    addTerminal("ttyS4", true, "4");
    EXPECT_EQ("cannot open /dev/ttyUSB77: No such file or directory; there are /dev/ttyS0 and /dev/ttyS4",
              openingOf("/dev/ttyUSB77", folders, rtu::Cause::PortMissing));
}

TEST_F(PortTrouble, OfAPortInUseNamesTheProgram)
{
    const test_line::TerminalPair pair;
    rtu::SerialPort other;
    other.open(pair.path(), rtu::LineParameters());
    const std::string inUse = pair.path() + " is in use by another program; ";
    EXPECT_EQ(inUse + "one that only its owner or root can see: sudo fuser -v " + pair.path() + " names it",
              openingOf(pair.path(), folders, rtu::Cause::PortBusy));
    addProcess("4711", "minicom", pair.path());
    addProcess("4712", "sh", "/dev/null");
    addProcess("self", "copy", pair.path());
    EXPECT_EQ(inUse + "minicom (process 4711) has it open", openingOf(pair.path(), folders, rtu::Cause::PortBusy));
    addProcess("4713", "picocom", pair.path());
    EXPECT_EQ(inUse + "minicom (process 4711) and picocom (process 4713) have it open",
              openingOf(pair.path(), folders, rtu::Cause::PortBusy));
}

TEST_F(PortTrouble, OfThisMachineNamesThisMachinesPrograms)
{
    const test_line::TerminalPair pair;
    EXPECT_TRUE(rtu::holdersOf(pair.path(), rtu::SystemFolders()).empty()) << "nobody, or this program itself";
    EXPECT_TRUE(rtu::holdersOf("/nowhere", rtu::SystemFolders()).empty());
}

TEST_F(PortTrouble, OtherReasonsStandAlone)
{
    const std::unique_ptr<rtu::PortLine> line = rtu::makeLine("/dev/null", rtu::LineParameters());
    EXPECT_EQ("/dev/null is not a serial port: Inappropriate ioctl for device",
              test_line::failureOf([&] { rtu::openPort(*line, folders); }));
    const std::unique_ptr<rtu::PortLine> network = rtu::makeLine("tcp:127.0.0.1:1", rtu::LineParameters());
    EXPECT_EQ(std::string::npos, test_line::failureOf([&] { rtu::openPort(*network, folders); }).find("adapter"));
}

struct Permission
{
    mode_t mode;
    std::vector<unsigned int> groups;
    bool member;
    const char *words;
};

TEST_F(PortTrouble, OfPermissionNamesTheGroup)
{
    struct stat port = {};
    port.st_gid = 20;
    const Permission cases[] = {
        {S_IFCHR | 0660,
         {100},
         false,
         "the group dialout may open it, and you are not in it: sudo usermod -aG dialout "
         "anna, then log in anew"},
        {S_IFCHR | 0660,
         {100},
         true,
         "the group dialout may open it, and you are in it since you logged in: log in "
         "anew"},
        {S_IFCHR | 0660,
         {100, 20},
         true,
         "the group dialout may open it, and you are in it: something else forbids it"},
        {S_IFCHR | 0640, {100}, false, "only its owner may open it"},
    };
    for (const Permission &permission : cases) {
        rtu::Asker asker;
        asker.name = "anna";
        asker.groups = permission.groups;
        asker.member = permission.member;
        port.st_mode = permission.mode;
        EXPECT_EQ(permission.words, rtu::permissionAdvice(port, "dialout", asker));
    }
}

TEST_F(PortTrouble, OfPermissionIsFoundByTrying)
{
    // In a process of its own that is not the super-user, who may open everything.
    const std::string port = place("devices") + "/port";
    std::ofstream(port) << "";
    ::chmod(port.c_str(), 0);
    ::chmod(place("").c_str(), 0755);
    const auto tryIt = [&] {
        const bool anybody = ::geteuid() != 0 || ::setuid(65534) == 0;
        const std::string reason = openingOf(port, folders, rtu::Cause::NoPermission);
        std::fprintf(stderr, "%s\n", reason.c_str());
        ::_exit(anybody ? 0 : 1);
    };
    EXPECT_EXIT(tryIt(), testing::ExitedWithCode(0), "Permission denied; only its owner may open it");
}

} // namespace
