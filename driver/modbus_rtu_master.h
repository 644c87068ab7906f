/**
 * @file
 * The driver object: all state of the driver, and the operations over it.
 *
 * Hosts do not include this header; the exported entry points work on the one
 * object @c driver. Tests may own further objects.
 *
 * Threads: the operations lock nothing themselves (save listMutex and hostMutex
 * where said). The entry points serialise them through the lock of
 * driver/driver_lock.h, which is let go around every callback and around hostMutex;
 * after either, no operation relies on references into lists taken before.
 *
 * Arithmetic on addresses and counts is signed 32-bit; sums and products beyond
 * that wrap (see driver/arithmetic.h) instead of being undefined.
 */
#ifndef MODBUS_RTU_MASTER_H
#define MODBUS_RTU_MASTER_H

#include "modbus_rtu_interface.h"

#include "cache/data_area_index.h"
#include "cache/last_replies.h"
#include "driver/qt_compat.h"

#include <QtCore/QStringList>

/** What the transaction in flight is; values of Modbus_rtu_master::sendState. */
enum SendState {
    NothingSent = 0,
    WriteSent = 2,
    ConditionReadSent = 3,
    CyclicReadSent = 4,
    TransferWriteSent = 5,
    TransferReadSent = 6
};

/** Results of Modbus_rtu_master::check_rcv_data(). */
enum ReplyCheck { BadReply = 0, GoodReadReply = 1, GoodReplyWithoutData = 2 };

/** Results of Modbus_rtu_master::dealRcvFrame(). */
enum ReplyVerdict { NothingPending = 0, ReplyAccepted = 1, RequestGivenUp = 2, SendAgain = 8 };

/** Second argument of Modbus_rtu_master::addrMerge(). */
enum MergeMode { PollMerge = 1, RecipeMerge = 2 };

class Modbus_rtu_master
{
public:
    Modbus_rtu_master();

    // --- configuration -------------------------------------------------------

    /**
     * Parses the property string, borrows the host's objects and empties plan, queues,
     * cache and frames. The recipe rows with their blocks stay, and so does the
     * position in them; doubleSwapStations is added to.
     */
    void initProperty(void *area, int argument, void *wordBuffer, const char *property, QMutex *mutex);

    /**
     * Calls the host back, outside the lock. Does nothing without a callback.
     * May run any other operation of this object before it returns.
     * @param text what the host gets as the type, and may change: no text that is used for anything else
     */
    void reportChange(int link, int station, QString &text, int address);

    /** The same with a copy of the type. */
    void reportChange(int link, int station, const QString &regType, int address);

    // --- address language ----------------------------------------------------

    /**
     * Sort key of an address: 65535 x (5 x station + type index + 1) + address,
     * unsigned 32-bit. The type index is the position in regTypeNames, -1 for a
     * type that is not listed. Bands of neighbouring stations overlap; only the
     * order within one station and type is relied on.
     */
    unsigned int getRegAddressWeight(int station, QString regType, int address, int unused) const;

    // --- planning ------------------------------------------------------------

    /** Registers the recipe rows of this link; result: their number. */
    int setRcpAddress(const QVector<_RCP_VAR_PRO> &rows);

    /**
     * Folds keys into contiguous blocks of at most maxReadWords elements, in
     * place. Mode 2 wants the keys sorted and appends to rcpBlockStarts the
     * position of each block's first key; every other mode rewrites
     * bit-in-register keys, sorts, and joins blocks across gaps as well.
     */
    void addrMerge(QList<KEY_ADDRESS> &keys, int mode);

    /** Rebuilds monitor flags and cyclicReadList; result: number of requests. */
    int buildReadPlan(const QList<KEY_ADDRESS> &keys);

    /** Queues a read that happens once, split by the request limits. */
    void addConditionRead(const KEY_ADDRESS &key, int userData);

    // --- frame engine --------------------------------------------------------

    /** Appends the read request of @p request to frameList; nothing for station 0. */
    void getReadFrame(const VARIABLE &request);

    /** Appends the write request of @p request to frameList (two frames for "4x_bit"). */
    void getWriteFrame(const VARIABLE &request);

    /**
     * Judges a reply by length and CRC against frameList[0].
     * @return a ReplyCheck value
     */
    int check_rcv_data(const unsigned char *reply, int length) const;

    /** Chooses the next transaction; result 1 and a copy of frameList[0], or 0. */
    int getSendFrame(FRAME_PRO &out);

    /**
     * Turns a recipe block into a request; userData stays as it was.
     * @param withData nonzero: fills data from the host word buffer
     */
    void rcpAddrToVar(const _RCP_VAR_PRO &descriptor, VARIABLE &target, int withData) const;

    /** Retires the transaction whose last frame was answered or given up. */
    void dealListWhenFinish();

    /** Consumes a reply; result: a ReplyVerdict value. */
    int dealRcvFrame(QByteArray &received, QString &errorText);

    /** Text for the host about a request that was given up. */
    QString getErrorInfo(const QByteArray &received, const QString &regType, int startAddr, int station,
                         int count) const;

    // --- data area cache -----------------------------------------------------

    /**
     * Position of the area with these keys, appended zeroed when absent. The
     * driver's own cache is looked up through an index, any other list scanned.
     */
    int getIndexOfDataArea(int station, const QString &regType, int address, QList<_DATA_> &areas);

    /**
     * Reports what changed between two values of a register: bits, word, doubles,
     * in this order. @p noBits nonzero leaves the bits out; no operation asks for that.
     */
    void _wordDataChange(const int *oldValue, const int *newValue, int station, const QString &regType, int address,
                         int noBits);

    /**
     * Reports the monitored coils that differ between two bytes of eight coils, none
     * with @p noBits nonzero. No operation calls this: a coil is reported whenever it
     * changes, monitored or not.
     */
    void _byteDataChange(const unsigned char *oldValue, const unsigned char *newValue, int station,
                         const QString &regType, int address, int noBits);

    /**
     * Marks the areas that a host key covers as monitored; always 0. The marks decide
     * what is reported of registers, their bits and doubles; of coils they decide nothing.
     */
    unsigned int _setDataAreaMonitorFlag(int station, const QString &regType, int address, int count);

    /** Value read-out; see intf_getData(). */
    void getData(int station, const QString &regType, int address, int count, unsigned char *out);

    /** Write request; see intf_setData(). */
    void setData(int station, const QString &regType, int address, int count, const unsigned char *data, int tag);

    /** Shows a host write in the cache and reports what it changes. */
    void write_saveDataToArea(int station, const QString &regType, int address, int count, const unsigned char *data);

    /** Completes a host write: confirmed with @p ok 1, rolled back with any other value. */
    void _write_FailOrSuc(int station, const QString &regType, int address, int count, int ok);

    // --- state ---------------------------------------------------------------

    ValueChangeCallBack valueChangeCallBack;
    int linkId;                        ///< property field 0; first argument of every callback
    int localWriteOnly;                ///< property field 1; nonzero: writes change the cache only
    int spareProperty;                 ///< property field 2; never read
    int retryLimit;                    ///< property field 3; attempts before a request is given up
    int maxReadWords;                  ///< property field 4; largest merged block
    unsigned char *hostArea;           ///< host block with the two request bytes; borrowed
    int hostArg;                       ///< stored, never read
    unsigned short *hostWordBuffer;    ///< 16-bit words of recipe values, low byte first; any alignment; borrowed
    QMutex *hostMutex;                 ///< the host's mutex over the request bytes; borrowed
    QList<VARIABLE> cyclicReadList;    ///< cyclic plan, served round robin
    QList<VARIABLE> writeList;         ///< pending writes, the first in flight; at most 513
    QList<VARIABLE> conditionReadList; ///< pending condition reads; at most 513
    QList<_DATA_> dataAreas;           ///< the cache
    QVector<_RCP_VAR_PRO> rcpAddrs;    ///< registered recipe rows, sorted
    QVector<_RCP_VAR_PRO> rcpBlocks;   ///< merged recipe blocks; userData and extra mean nothing here
    QList<int> rcpBlockStarts;         ///< for each block, the position in rcpAddrs of its first row
    VARIABLE conditionVar;             ///< the condition read whose end is reported
    QList<QString> regTypeNames;       ///< order of the register types for sorting
    VARIABLE currentVar;               ///< request of the transaction in flight
    int sendState;                     ///< a SendState value
    int burstCount;                    ///< writes and condition reads since the last cyclic read
    int spareCounter;                  ///< never read
    int failCount;                     ///< consecutive failed attempts of the frame in flight
    int maxBlockBits;                  ///< maxReadWords x 8
    int maxBlockWords;                 ///< maxReadWords; also the longest piece of a host write
    int lastFailed;                    ///< 1 after a request was given up, 0 after a good reply
    int spareFlagA;                    ///< never read
    int spareFlagB;                    ///< never read
    QList<FRAME_PRO> frameList;        ///< frames of the transaction in flight, [0] on the line
    int rcpIndex;                      ///< block of the recipe transfer in progress
    /**
     * Non-recursive; held while a finished write leaves writeList and while queued bit
     * writes are counted, not while one is queued. The driver's lock guards the list.
     */
    QMutex listMutex;
    int doubleSwapMode;            ///< 1: low word first for every station
    QList<int> doubleSwapStations; ///< stations with the low word first in other modes

    // --- what else is remembered ---------------------------------------------

    DataAreaIndex areaPositions;  ///< where the areas of dataAreas are
    LastReplies lastReplies;      ///< what the areas of the cyclic plan hold
    Rotation planRotation;        ///< of cyclicReadList
    QList<FRAME_PRO> spareFrames; ///< at most one frame that stands by for the next transaction

private:
    Modbus_rtu_master(const Modbus_rtu_master &);
    Modbus_rtu_master &operator=(const Modbus_rtu_master &);
};

// Inline: every value of a reply is looked up.
inline int Modbus_rtu_master::getIndexOfDataArea(int station, const QString &regType, int address, QList<_DATA_> &areas)
{
    return &areas == &dataAreas ? areaPositions.findOrAppend(areas, station, regType, address)
                                : scanOrAppend(areas, station, regType, address);
}

/** The one object behind the exported entry points. */
extern Modbus_rtu_master driver;

#endif
