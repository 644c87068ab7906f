#include "fuzz_host.h"

#include "support/crc.h"
#include "support/driver_reset.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fuzz {

using support::crcOf;

namespace {

void failOnMessage(QtMsgType, const QMessageLogContext &, const QString &text)
{
    fail(text.toLatin1().constData());
}

/**
 * Watches over what is printed: messages of Qt end the process, and the standard
 * output is a file in memory that must stay empty. (The standard error output is
 * libFuzzer's own.)
 */
class SilenceKeeper
{
public:
    SilenceKeeper() : output(memfd_create("stdout", 0))
    {
        qInstallMessageHandler(failOnMessage);
        if (output < 0 || dup2(output, STDOUT_FILENO) < 0)
            fail("no file for the standard output");
    }

    void check() const
    {
        std::fflush(stdout);
        struct stat status;
        require(fstat(output, &status) == 0 && status.st_size == 0, "something was printed");
    }

private:
    const int output;
};

const SilenceKeeper &silence()
{
    static const SilenceKeeper keeper;
    return keeper;
}

bool isOneBytePerElement(const QString &regType)
{
    return regType == QLatin1String("0x") || regType == QLatin1String("1x") || regType == QLatin1String("3x_bit");
}

int hostBytes(const QString &regType, int count)
{
    if (count <= 0)
        return 0;
    return isOneBytePerElement(regType) ? count : 2 * count;
}

/** One for all inputs, as getting it anew takes longer than most of them. */
support::HostMemory &zeroed()
{
    static support::HostMemory memory(Host::RecipeWords + Host::LargestBlock);
    std::fill(memory.hostArea.begin(), memory.hostArea.end(), static_cast<unsigned char>(0));
    std::fill(memory.hostWords.begin(), memory.hostWords.end(), static_cast<unsigned short>(0));
    return memory;
}

} // namespace

void fail(const char *reason)
{
    std::fprintf(stderr, "FINDING: %s\n", reason);
    std::abort();
}

QString typeText(unsigned int number)
{
    static const char *const texts[TypeTexts] = {"0x",     "1x",        "3x",        "4x", "3x_bit",
                                                 "4x_bit", "3x_double", "4x_double", "5x", ""};
    return QString::fromLatin1(texts[number % TypeTexts]);
}

void Noise::advance()
{
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
}

int Noise::below(int limit)
{
    advance();
    return static_cast<int>((state >> 8) % static_cast<std::uint32_t>(limit));
}

unsigned char Noise::byte()
{
    advance();
    // Mostly small values: they are what coils and bits look at.
    const unsigned char value = static_cast<unsigned char>(state >> 8);
    return (state & 3u) == 0 ? value : value & 1u;
}

std::vector<unsigned char> Noise::bytes(int count)
{
    std::vector<unsigned char> made;
    for (int i = 0; i < count; ++i)
        made.push_back(byte());
    return made;
}

Host *Host::current = nullptr;

Host::Host() : lastFrame(FRAME_PRO()), memory(zeroed())
{
    silence();
    current = this;
}

Host::~Host()
{
    silence().check();
    // Here and not before the next input: what an input leaves behind would be taken for a leak, and
    // the input run again to look for it.
    support::resetDriver();
    current = nullptr;
}

int Host::callBack(int linkId, int station, QString *regType, int address)
{
    if (current->onReport) {
        const Report report = {linkId, station, *regType, address};
        current->onReport(report);
    }
    return 0;
}

void Host::useCallBack(bool use)
{
    intf_setAddrValueChangeCallBack(use ? &Host::callBack : nullptr);
}

void Host::initProperty(const char *property)
{
    int status = -1;
    const int result =
        intf_initProperty(memory.hostArea.data(), 7, memory.hostWords.data(), &status, property, &memory.hostMutex);
    require(result == 1 && status == 0, "intf_initProperty");
}

void Host::setData(int station, const QString &regType, int address, int count, std::uint32_t seed, int tag)
{
    QString type = regType;
    // On the heap in its exact size, and never null: a byte beyond it is a finding.
    std::vector<unsigned char> data = Noise(seed).bytes(std::max(hostBytes(regType, count), 1));
    data.shrink_to_fit();
    const std::vector<unsigned char> before = data;
    require(intf_setData(station, &type, address, count, data.data(), tag) == 1, "intf_setData");
    require(data == before && type == regType, "intf_setData changed its arguments");
}

std::vector<unsigned char> Host::getData(int station, const QString &regType, int address, int count)
{
    QString type = regType;
    // One byte a bit; doubles only as many as there are whole ones.
    const bool bits = isOneBytePerElement(regType) || regType == QLatin1String("4x_bit");
    const bool doubles = regType.endsWith(QLatin1String("_double"));
    const int elements = count < 0 ? 0 : doubles ? count / 2 * 2 : count;
    std::vector<unsigned char> out(static_cast<size_t>(std::max(bits ? elements : 2 * elements, 1)), 0);
    out.shrink_to_fit();
    require(intf_getData(station, &type, address, count, out.data()) == 1, "intf_getData");
    return out;
}

void Host::askForSomething(Noise &noise)
{
    // Inputs are left alone: what a slave says of them is what the host must see then.
    static const char *const types[] = {"0x", "4x", "4x_bit", "4x_double"};
    QString type = QString::fromLatin1(types[noise.below(4)]);
    const int station = 1 + noise.below(3);
    const int address = noise.below(64);
    const int count = 1 + noise.below(8);
    switch (noise.below(8)) {
    case 0:
        getData(station, type, address, count);
        return;
    case 1:
    case 2:
    case 3: {
        KEY_ADDRESS key = KEY_ADDRESS();
        key.station = station;
        key.regType = type;
        key.startAddr = address;
        key.count = count;
        require(intf_addConditionRead(&key, count) == 1, "intf_addConditionRead");
        return;
    }
    default:
        setData(station, type, address, count, static_cast<std::uint32_t>(noise.below(1 << 16)), count);
        return;
    }
}

bool Host::nextFrame()
{
    FRAME_PRO frame = FRAME_PRO();
    const int result = intf_getSendFrame(&frame);
    require(result == 0 || result == 1, "intf_getSendFrame");
    if (result == 0)
        return false;
    lastFrame = frame;
    return true;
}

int Host::deal(const QByteArray &reply)
{
    const bool pending = !driver.frameList.isEmpty();
    const int expected = pending ? driver.frameList.first().replyLen : 0;
    const int length = static_cast<int>(reply.size());
    const unsigned char *bytes = reinterpret_cast<const unsigned char *>(reply.constData());
    bool good = length == expected && length != 1;
    if (good && length == 2)
        good = bytes[0] == 0xFF && bytes[1] == 0xFF;
    else if (good && length > 2)
        good = crcOf(bytes, length - 2) == static_cast<unsigned int>(bytes[length - 2] | bytes[length - 1] << 8);

    QByteArray handedOver = reply;
    QString information = QLatin1String("left over");
    const int verdict = intf_dealRcvFrame(&handedOver, &information);
    require(handedOver.size() == reply.size(), "intf_dealRcvFrame changed the length of the reply");
    require(information.isEmpty() == (verdict != RequestGivenUp), "an error text and its result disagree");
    if (!pending)
        require(verdict == NothingPending, "a reply to nothing");
    else if (good)
        require(verdict == ReplyAccepted, "a good reply was not accepted");
    else
        require(verdict == SendAgain || verdict == RequestGivenUp, "a bad reply was accepted");
    return verdict;
}

QByteArray Host::wholeReply(const std::vector<unsigned char> &content) const
{
    const int length = lastFrame.replyLen;
    if (length < 4 || length > 65536)
        return QByteArray(length == 2 ? "\xFF\xFF" : "");
    QByteArray reply(length, '\0');
    unsigned char *bytes = reinterpret_cast<unsigned char *>(reply.data());
    bytes[0] = lastFrame.frame[0];
    bytes[1] = lastFrame.frame[1];
    if (length > 4)
        bytes[2] = static_cast<unsigned char>(length - 5);
    for (int i = 3; i < length - 2 && !content.empty(); ++i)
        bytes[i] = content[static_cast<size_t>(i - 3) % content.size()];
    const unsigned int crc = crcOf(bytes, length - 2);
    bytes[length - 2] = static_cast<unsigned char>(crc & 0xFF);
    bytes[length - 1] = static_cast<unsigned char>(crc >> 8);
    return reply;
}

void Host::checkFrames() const
{
    require(driver.frameList.size() <= 2, "more than two frames of a transaction");
    for (int i = 0; i < static_cast<int>(driver.frameList.size()); ++i) {
        const FRAME_PRO &frame = driver.frameList.at(i);
        // A write of fewer coils or bits than none has no payload, or less: its lengths are what they come to.
        const bool odd = frame.var.count < 0
                         && (frame.var.regType == QLatin1String("4x_bit") || frame.var.regType == QLatin1String("0x"));
        require(frame.frameLen >= (odd ? 0 : 8) && frame.frameLen <= ModbusRtuRecordBytes, "the length of a frame");
        const unsigned char *end = frame.frame + frame.frameLen;
        require(frame.frameLen < 2
                    || crcOf(frame.frame, frame.frameLen - 2) == static_cast<unsigned int>(end[-2] | end[-1] << 8),
                "the CRC of a frame");
        require(frame.frameKind == 0 || frame.frameKind == 3, "where the data of a reply begins");
    }
}

void Host::check() const
{
    require(driver.writeList.size() <= 513, "the queue of writes");
    require(driver.conditionReadList.size() <= 513, "the queue of one-off reads");
    require(driver.rcpBlocks.size() == driver.rcpBlockStarts.size(), "recipe blocks and their first rows");
    require(driver.sendState == NothingSent || (driver.sendState >= WriteSent && driver.sendState <= TransferReadSent),
            "the kind of transaction");
    require(driver.failCount >= 0 && driver.burstCount >= 0 && driver.burstCount <= 10, "a counter");
    require(driver.maxBlockWords == driver.maxReadWords || driver.maxBlockWords == 0, "the largest block");
    checkFrames();
}

void Host::checkCache() const
{
    const int areas = static_cast<int>(driver.dataAreas.size());
    for (int i = 0; i < areas; ++i) {
        const _DATA_ &data = driver.dataAreas.at(i);
        require(driver.getIndexOfDataArea(data.station, data.regType, data.areaIndex, driver.dataAreas) == i,
                "an area that is not found, or there twice");
        require((data.errorFlag | data.writtenFlag) <= 1, "a flag of an area");
        require((data.wordMonitor & ~7) == 0 && (data.bitMonitor & ~0xFFFF) == 0, "the monitor flags of an area");
        require((data.readValue & ~0xFFFF) == 0 && (data.writtenValue & ~0xFFFF) == 0, "the values of an area");
    }
    require(static_cast<int>(driver.dataAreas.size()) == areas, "looking up areas made new ones");
}

} // namespace fuzz
