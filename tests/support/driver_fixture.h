/**
 * @file
 * What the driver's tests share: a host for the driver, scripted replies and
 * short ways to write bytes and records.
 *
 * Add `${CMAKE_SOURCE_DIR}/tests/support/driver_fixture.cpp` to the sources of
 * a test program and include "support/driver_fixture.h".
 *
 * Bytes and frames
 *   bytes("01 03 00 0A")       the bytes, nothing added
 *   adu("01 03 00 00 00 0A")   the bytes with their CRC appended (bitwise CRC,
 *                              independent of the driver's own)
 *   payload("01 02")           the same as bytes(), as std::vector
 *
 * Replies a slave would send, CRC included
 *   wordsReply(1, 3, {0x1234, 5})   registers, function 3 or 4
 *   bitsReply(1, 1, {1, 0, 1})      coils or discrete inputs, function 1 or 2
 *   writeEcho(frame)                echo of a write request
 *   exceptionReply(1, 3, 2)         station, function asked, exception code
 *
 * Records
 *   variable(), key(), row(), written in the order of their members; everything not given is zero
 *
 * Change and ChangeRecorder: the value-change callback as a list of Change,
 * with a hook that runs inside the callback. One recorder at a time.
 *
 * DriverFixture: puts the global driver into its freshly loaded state before
 * each test, then initialises it with the property string "1#0#0#3#100"
 * (link 1, retry limit 3, blocks of 100), a host area, a word buffer and a
 * mutex. Tests call the exported functions, look into `driver` and read
 * `recorder`. Buffers handed to the driver have exactly the size asked for, so
 * that the address sanitizer sees a step beyond them.
 */
#ifndef DRIVER_FIXTURE_H
#define DRIVER_FIXTURE_H

#include "driver/modbus_rtu_master.h"
#include "support/bitwise_crc.h"

#include <gtest/gtest.h>

#include <functional>
#include <iosfwd>
#include <vector>

namespace support {

// --- bytes and frames -------------------------------------------------------------

/** Bytes written as hex digits; blanks do not matter. */
QByteArray bytes(const char *hex);

/** The same as std::vector, for payloads. */
std::vector<unsigned char> payload(const char *hex);

/** Hex digits plus CRC: adu("01 03 00 00 00 0A") is 01 03 00 00 00 0A C5 CD. */
QByteArray adu(const char *hex);

/** The request bytes that the host would transmit. */
QByteArray requestBytes(const FRAME_PRO &frame);

QByteArray wordsReply(int station, int function, const std::vector<int> &registers);
QByteArray bitsReply(int station, int function, const std::vector<int> &bits);
QByteArray writeEcho(const FRAME_PRO &request);
QByteArray exceptionReply(int station, int function, int code);

// --- records ----------------------------------------------------------------------

VARIABLE variable(int station, const char *regType, int startAddr, int count,
                  const std::vector<unsigned char> &data = std::vector<unsigned char>());
KEY_ADDRESS key(int station, const char *regType, int startAddr, int count, int dataFormat = 1);
_RCP_VAR_PRO row(int link, int station, const char *regType, int startAddr, int count, int hostOffset, int extra = 0);

/** The whole key tables of a host: keys() << key(...) << key(...). */
typedef QList<KEY_ADDRESS> Keys;

// --- value-change callback --------------------------------------------------------

/** One call of the value-change callback. */
struct Change
{
    int link;
    int station;
    QString regType;
    int address;
};

bool operator==(const Change &a, const Change &b);
void PrintTo(const Change &change, std::ostream *out);

/** Records every call of callBack(); the newest living recorder gets them. */
class ChangeRecorder
{
public:
    ChangeRecorder();
    ~ChangeRecorder();

    /** To be given to intf_setAddrValueChangeCallBack(). */
    static int callBack(int linkId, int station, QString *regType, int address);

    /** The changes so far, which are then forgotten. */
    std::vector<Change> take();

    std::vector<Change> changes;
    std::function<void(const Change &)> hook; ///< runs inside the callback, after recording

private:
    ChangeRecorder(const ChangeRecorder &);
    ChangeRecorder &operator=(const ChangeRecorder &);

    ChangeRecorder *previous;
};

typedef std::vector<Change> Changes;

// --- driver -----------------------------------------------------------------------

/** Puts the global driver into the state it has after loading. */
void resetDriver();

class DriverFixture : public ::testing::Test
{
protected:
    enum { AreaBytes = 60117, BlockWriteRequest = 60115, BlockReadRequest = 60116, HostWords = 4096 };

    DriverFixture();
    ~DriverFixture() override;

    /** intf_initProperty() with the fixture's host objects. */
    int init(const char *property);

    /** intf_addrMerge() of a copy of @p keys. */
    int plan(Keys keys);

    // --- poll loop ---
    /** intf_getSendFrame(); frameLen is 0 when there is nothing to send. */
    FRAME_PRO nextFrame();
    /** The bytes of nextFrame(), empty when there is nothing to send. */
    QByteArray nextRequest();
    /** intf_dealRcvFrame(); the text is then in errorText. */
    int deal(QByteArray reply);
    /** nextFrame(), then deal(): the result of the latter. */
    int exchange(const QByteArray &reply);
    /** nextFrame(), answered by its echo. */
    int exchangeEcho();
    /** Answers nextFrame() with nothing until it is given up; number of attempts. */
    int exchangeUntilGivenUp();

    /** Caches register values as if they had been read; no callback, no flag changes. */
    void cacheRegisters(int station, const char *areaType, int address, const std::vector<int> &values);

    // --- host calls ---
    int setData(int station, const char *regType, int address, int count, const std::vector<unsigned char> &data,
                int userData = 0);
    int setData(int station, const char *regType, int address, int count, const char *hexData, int userData = 0);
    /** intf_getData() into @p size bytes that were @p filler before. */
    std::vector<unsigned char> getData(int station, const char *regType, int address, int count, int size,
                                       unsigned char filler = 0xEE);

    // --- looking into the cache ---
    /** Position of an area, -1 when absent; creates nothing. */
    static int findArea(int station, const char *regType, int areaIndex);
    /** A copy of the area; fails the test when it is absent. */
    static _DATA_ area(int station, const char *regType, int areaIndex);
    /** The area itself, created when absent. */
    static _DATA_ &makeArea(int station, const char *regType, int areaIndex);

    ChangeRecorder recorder;
    std::vector<unsigned char> hostArea;
    std::vector<unsigned short> hostWords;
    QMutex hostMutex;
    QString errorText;
};

} // namespace support

// Readable failures.
void PrintTo(const QString &text, std::ostream *out);
void PrintTo(const QByteArray &content, std::ostream *out);

#endif
