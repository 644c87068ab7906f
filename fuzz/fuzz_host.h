/**
 * @file
 * The host side of the fuzz targets: a fresh driver for every input, buffers of
 * the sizes that a host owes, and what must hold of the driver at all times.
 */
#ifndef FUZZ_HOST_H
#define FUZZ_HOST_H

#include "driver/modbus_rtu_master.h"
#include "support/host_memory.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace fuzz {

/** Ends the process as a finding, with the reason on the standard error output. */
[[noreturn]] void fail(const char *reason);

inline void require(bool holds, const char *reason)
{
    if (!holds)
        fail(reason);
}

/** The eight register types, then two texts that are none. */
enum { TypeTexts = 10 };
QString typeText(unsigned int number);

/** Pseudo-random bytes for payloads, so that inputs stay short. */
class Noise
{
public:
    explicit Noise(std::uint32_t seed) : state(seed | 1u) {}

    unsigned char byte();
    std::vector<unsigned char> bytes(int count);
    /** One of the numbers from 0 on that are less than @p limit, each as likely. */
    int below(int limit);

private:
    void advance();

    std::uint32_t state;
};

/** A value-change callback in flight. */
struct Report
{
    int linkId;
    int station;
    QString regType;
    int address;
};

/** One host with a driver as it is after loading. */
class Host
{
public:
    Host();
    ~Host();

    enum {
        RecipeWords = 4096, ///< what rows may refer to
        LargestBlock = 512  ///< words that one block takes at most from its offset on
    };

    std::function<void(const Report &)> onReport; ///< inside the callback

    void initProperty(const char *property);
    void useCallBack(bool use);

    /** intf_setData() with exactly the bytes that a host owes for @p count elements. */
    void setData(int station, const QString &regType, int address, int count, std::uint32_t seed, int tag);

    /** intf_getData() into exactly the bytes that a host owes. */
    std::vector<unsigned char> getData(int station, const QString &regType, int address, int count);

    /** One thing that screens ask for between two polls: mostly a write, of a few coils or holding registers. */
    void askForSomething(Noise &noise);

    /** intf_getSendFrame(); the frame is then in lastFrame. */
    bool nextFrame();

    /** intf_dealRcvFrame(), its result checked against length and CRC of the reply. */
    int deal(const QByteArray &reply);

    /** A reply of the length that lastFrame expects, with a right CRC and @p content as its data bytes. */
    QByteArray wholeReply(const std::vector<unsigned char> &content) const;

    /** What must hold between two calls. */
    void check() const;

    /** The same, with the whole cache; slow. */
    void checkCache() const;

    FRAME_PRO lastFrame;
    support::HostMemory &memory;

private:
    Host(const Host &);
    Host &operator=(const Host &);

    static int callBack(int linkId, int station, QString *regType, int address);
    static Host *current;

    void checkFrames() const;
};

} // namespace fuzz

#endif
