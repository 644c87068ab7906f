/**
 * @file
 * A host with a checked driver: set up, with a plan, ready to do something wrong.
 *
 * Sources that use it are compiled with checked_names.h in front.
 */
#ifndef CHECKED_HOST_H
#define CHECKED_HOST_H

#include "checker/checked_driver.h"
#include "support/host_memory.h"
#include "support/records.h"
#include "support/rtu_frames.h"

#include <functional>
#include <vector>

namespace checked {

using support::key;
using support::Keys;
using support::requestBytes;
using support::row;
using support::wordsReply;
using support::writeEcho;

typedef QVector<_RCP_VAR_PRO> Rows;

class CheckedHost : public support::HostMemory
{
public:
    /** What the constructor sets: link 1, 3 attempts, blocks of 32 registers. */
    static const char *usualProperty() { return "1#0#0#3#32"; }

    /** A host that has loaded the library and made no call. */
    struct Untouched
    {
    };
    explicit CheckedHost(Untouched);
    /** A host that is set up and polls holding registers 1 to 4 of station 1. */
    CheckedHost();
    ~CheckedHost();
    CheckedHost(const CheckedHost &) = delete;
    CheckedHost &operator=(const CheckedHost &) = delete;

    int init(const char *property);
    int plan(Keys keys);
    int registerRows(Rows rows);
    int readOnce(KEY_ADDRESS range, int tag = 100);
    /** @p bytes as the host has them: exactly so many. */
    int write(int station, const char *regType, int address, int count, std::vector<unsigned char> bytes);
    int read(int station, const char *regType, int address, int count);
    /** Raises or takes back a request byte under the mutex. */
    void request(int byte, int value = 1);

    /** frameLen is 0 when there was nothing to send. */
    FRAME_PRO ask();
    int deal(QByteArray reply);
    /** ask() and deal() with the right answer: zeros, or the acknowledgement. */
    int exchange();
    static QByteArray answerTo(const FRAME_PRO &frame);

    /** Runs inside the value-change callback. */
    static std::function<void()> inCallBack;

private:
    static int callBack(int, int, QString *, int);
};

} // namespace checked

#endif
