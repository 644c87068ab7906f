/**
 * @file
 * A second, plain driver to compare the real one with.
 *
 * Everything here is written for being read beside the description of the
 * driver's behaviour: linear scans, exchange sorts, a bitwise CRC, one statement
 * for one rule. It shares the records and nothing else with the product. It is
 * slow, single-threaded and has no locks: a test owns it and calls its methods
 * where a host would call the entry points of the same name.
 */
#ifndef PLAIN_DRIVER_H
#define PLAIN_DRIVER_H

#include "driver/modbus_rtu_records.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <functional>

/** 32-bit arithmetic that wraps; what it wraps to is seldom of use, but it is never undefined. */
namespace plain {

inline int wrapped(long long value)
{
    return static_cast<int>(static_cast<unsigned int>(static_cast<unsigned long long>(value)));
}

inline int sum(int a, int b)
{
    return wrapped(static_cast<long long>(a) + b);
}

inline int difference(int a, int b)
{
    return wrapped(static_cast<long long>(a) - b);
}

inline int product(int a, int b)
{
    return wrapped(static_cast<long long>(a) * b);
}

/** Quotient rounded up, for negative dividends as well. */
inline int dividedRoundedUp(int value, int divisor)
{
    return value / divisor + (value % divisor > 0 ? 1 : 0);
}

/** Byte @p position (0 low, 1 high) of a cached value. */
inline unsigned char byteOf(int value, int position)
{
    return static_cast<unsigned char>((static_cast<unsigned int>(value) >> (8 * position)) & 0xFFu);
}

/** @p value with byte @p position replaced. */
inline int withByte(int value, int position, unsigned char byte)
{
    const unsigned int mask = 0xFFu << (8 * position);
    const unsigned int placed = static_cast<unsigned int>(byte) << (8 * position);
    return static_cast<int>((static_cast<unsigned int>(value) & ~mask) | placed);
}

} // namespace plain

class PlainDriver
{
public:
    typedef std::function<void(int linkId, int station, const QString &regType, int address)> CallBack;

    PlainDriver();

    // --- the calls of a host, in the order of the interface ----------------------
    void getProtocolType(int *type) const;
    void getDriverParameter(QString *out) const;
    void getDriverPropertyPage(QString *out) const;
    void setDriverPropertyPage(QString *out) const;
    void setAddrValueChangeCallBack(const CallBack &callBack);
    int initProperty(unsigned char *area, int argument, unsigned short *wordBuffer, int *status, const char *property,
                     bool withMutex);
    int checkAddrValidity(const QString &regType, const QString &text, int *outAddress, int count,
                          int objectKind) const;
    int checkAddr(const QString &regType, const QString &text, int *outAddress, int dataFormat, int count,
                  int accessMode) const;
    int getRegListByType(unsigned int requestType, QList<QString> *list) const;
    int getRegDiscription(const QString &regType, QList<QString> *list) const;
    int multiCopy(const QString &regType, int startAddress, int copies, int increment, QVector<QString> *texts,
                  QVector<int> *addresses) const;
    int setRcpAddress(const QVector<_RCP_VAR_PRO> &rows);
    int addrMerge(const QList<KEY_ADDRESS> &keys);
    int addConditionRead(const KEY_ADDRESS &key, int userData);
    int getSendFrame(FRAME_PRO *out);
    int dealRcvFrame(QByteArray *received, QString *errorText);
    int getData(int station, const QString &regType, int address, int count, unsigned char *out);
    int setData(int station, const QString &regType, int address, int count, const unsigned char *data, int userData);

    // --- the stages between them --------------------------------------------------
    unsigned int getRegAddressWeight(int station, const QString &regType, int address) const;
    void mergeKeys(QList<KEY_ADDRESS> &keys, int mode);
    void getReadFrame(const VARIABLE &unit);
    void getWriteFrame(const VARIABLE &unit);
    int checkRcvData(const QByteArray &reply) const;
    void rcpAddrToVar(const _RCP_VAR_PRO &descriptor, VARIABLE &target, int withData) const;
    int indexOfDataArea(int station, const QString &regType, int areaIndex);
    void wordDataChange(int oldValue, int newValue, int station, const QString &regType, int address, int noBits);
    void setDataAreaMonitorFlag(int station, const QString &regType, int address, int count);
    void writeSaveDataToArea(int station, const QString &regType, int address, int count, const unsigned char *data);
    void writeFailOrSuc(int station, const QString &regType, int address, int count, int ok);

    static unsigned int crc(const unsigned char *bytes, int length);
    static int setBitValue(int value, int bit, int on);
    static void addVarToList(QList<VARIABLE> &list, const VARIABLE &unit);

    // --- state, named as in the real driver ---------------------------------------
    CallBack valueChangeCallBack;
    int linkId = 0;
    int localWriteOnly = 0;
    int spareProperty = 0;
    int retryLimit = 0;
    int maxReadWords = 0;
    unsigned char *hostArea = nullptr;
    int hostArg = 0;
    unsigned short *hostWordBuffer = nullptr;
    bool hasHostMutex = false;
    QList<VARIABLE> cyclicReadList;
    QList<VARIABLE> writeList;
    QList<VARIABLE> conditionReadList;
    QList<_DATA_> dataAreas;
    QVector<_RCP_VAR_PRO> rcpAddrs;
    QVector<_RCP_VAR_PRO> rcpBlocks;
    QList<int> rcpBlockStarts;
    VARIABLE conditionVar = VARIABLE();
    QStringList regTypeNames;
    VARIABLE currentVar = VARIABLE();
    int sendState = 0;
    int burstCount = 0;
    int spareCounter = 0;
    int failCount = 0;
    int maxBlockBits = 0;
    int maxBlockWords = 0;
    int lastFailed = 0;
    int spareFlagA = 0;
    int spareFlagB = 0;
    QList<FRAME_PRO> frameList;
    int rcpIndex = 0;
    int doubleSwapMode = 0;
    QList<int> doubleSwapStations;

private:
    void report(int link, int station, const QString &regType, int address);

    // address language
    int a2i(const QString &text, int &value) const;

    // planning
    void rewriteBitKeys(QList<KEY_ADDRESS> &keys, const char *bitType, const char *wordType) const;
    void sortKeys(QList<KEY_ADDRESS> &keys) const;
    QList<KEY_ADDRESS> mergePass(const QList<KEY_ADDRESS> &keys, int largestGap, bool recordStarts);
    void placeConditionRead(const VARIABLE &unit);

    // frames
    static void appendCrc(FRAME_PRO &frame);
    static FRAME_PRO newFrame(const VARIABLE &unit, int function, int startAddr, int second);
    void appendReadFrame(const VARIABLE &unit, int function, int startAddr, int count);
    void writeSingle(const VARIABLE &unit, int function, unsigned char high, unsigned char low);
    void writeCoils(const VARIABLE &unit);
    void writeRegisters(const VARIABLE &unit, bool doubles);
    void writeBits(const VARIABLE &unit);

    // scheduling
    bool rebuildTransaction();
    bool startBlockTransfer(int withData);
    bool startPolling();
    bool swapsWords(int station) const;
    void finishConditionRead();
    void finishBlockTransfer();
    void dealListWhenFinish();

    // replies
    int finishGoodRead(QByteArray *received);
    int finishGoodWrite();
    int giveUp(const QByteArray &received, QString *errorText);
    void finishHead();
    void unpack(const FRAME_PRO &head, QByteArray *received);
    void unpackRegisters(const FRAME_PRO &head, const QByteArray &received, const char *areaType,
                         bool keepWhileWriting);
    void unpackCoils(const FRAME_PRO &head, const QByteArray &received);
    void fillBitWrite(const FRAME_PRO &head, QByteArray *received);
    void unpackRecipeRows(const FRAME_PRO &head, const QByteArray &received);
    void storeHostWord(int word, unsigned char low, unsigned char high);
    void markFailed(const FRAME_PRO &head);
    QString errorInfo(const QByteArray &received, const VARIABLE &unit) const;

    // cache
    int shownValue(int position) const;
    void saveCoils(int station, const QString &regType, int address, int count, const unsigned char *data);
    void saveRegister(int station, const QString &areaType, int address, int value);
    void saveReadOnlyBit(int station, int bitAddress, unsigned char on);
    void saveWritableBit(int station, int address, int count, int bitAddress, unsigned char on);
    void noteBitWrite(int position, int bit, int station, int address, int count);
    void completeCoils(int station, int address, int count, int ok);
    void completeRegister(int station, int address, int ok);
    void completeBits(int station, const QString &regType, int address, int count, int ok);
};

#endif
