/**
 * @file
 * The fixture of the driver's tests, and what they write in it. Bytes and records are
 * in records.h, frames and replies in rtu_frames.h, slaves that answer in slave_fixture.h.
 *
 * Change and ChangeRecorder: the value-change callback as a list of Change,
 * with a hook that runs inside the callback. One recorder at a time.
 *
 * DriverFixture: puts the global driver into its freshly loaded state before
 * each test, then initialises it with the property string "1#0#0#3#100"
 * (link 1, retry limit 3, blocks of 100) and a host's memory. Tests call the
 * exported functions, look into `driver` and read `recorder`. Buffers handed to
 * the driver have exactly the size asked for.
 */
#ifndef DRIVER_FIXTURE_H
#define DRIVER_FIXTURE_H

#include "driver/modbus_rtu_master.h"
#include "support/host_memory.h"
#include "support/records.h"
#include "support/rtu_frames.h"

#include <gtest/gtest.h>

#include <functional>
#include <iosfwd>
#include <vector>

namespace support {

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

class DriverFixture : public ::testing::Test, protected HostMemory
{
protected:
    enum { HostWords = 4096 };

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
    QString errorText;
};

} // namespace support

// Readable failures.
void PrintTo(const QString &text, std::ostream *out);
void PrintTo(const QByteArray &content, std::ostream *out);

#endif
