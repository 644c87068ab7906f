/**
 * @file
 * The entry points that a host resolves from `libmodbus_rtu_master.so.1`.
 *
 * A host loads the library, resolves these eighteen names (C linkage) and calls
 * them in three phases: editor calls at any time, start-up calls while nothing
 * is polled, run-time calls while its poll loop runs. Null pointers are
 * tolerated everywhere: what cannot be read counts as empty, what cannot be
 * written is left out.
 *
 * Exceptions. The driver throws none of its own; std::bad_alloc passes through
 * when memory runs out. The callback must not throw.
 *
 * Threads. The editor calls may come from any thread. The start-up calls must
 * not overlap polling. intf_getSendFrame() and intf_dealRcvFrame() belong to
 * one thread, the host's poll thread; intf_setData(), intf_getData() and
 * intf_addConditionRead() may come from any thread beside it. The value-change
 * callback is called on the thread that is inside the driver, outside every
 * lock of the driver, and may call the driver again.
 *
 * Results of the calls that report success: 1 done, 0 nothing done, unless a
 * call says otherwise. All integers are 32-bit signed.
 *
 * Bounds. One call walks at most 1048576 elements, every bit of every register
 * of one station: intf_addrMerge() marks, intf_getData() reads out,
 * intf_setData() shows and intf_multiCopy() appends that many and no more, a
 * reply confirms, rolls back or marks as failed that many. Requests are cut by
 * arithmetic, and results speak for the whole range.
 */
#ifndef MODBUS_RTU_INTERFACE_H
#define MODBUS_RTU_INTERFACE_H

#include "modbus_rtu_records.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QString>
#include <QtCore/QVector>

#if defined(__GNUC__)
#define MODBUS_RTU_EXPORT __attribute__((visibility("default")))
#else
#define MODBUS_RTU_EXPORT
#endif

/**
 * The host's value-change callback. Its result is ignored.
 *
 * Ordinary reports carry the link id, the station, the register type and the
 * zero-based address of the item whose value changed: a bit of a register comes
 * with the type plus "_bit" and register x 16 + bit, a 32-bit value with the
 * type plus "_double" and its lower register. Outcomes of writes come the same
 * way: of bits always, of coils when the write failed, of registers when it
 * failed and a watched value differs. A recipe read reports each word as (0, -1,
 * "RWI", word index in the host buffer). The end of a condition read
 * is (-1, -1, "-1", 0), or -1 as the address when it failed.
 *
 * @param regType lives for the duration of the call only
 */
typedef int (*ValueChangeCallBack)(int linkId, int station, QString *regType, int address);

extern "C" {

/** Writes 0, the protocol family code of this driver, to @p type. */
MODBUS_RTU_EXPORT void intf_getProtocolType(int *type);

/**
 * Writes the default connection parameters: 18 comma-separated fields, among
 * them baud rate, data bits, parity, stop bits, the driver name and the eight
 * register type names.
 */
MODBUS_RTU_EXPORT void intf_getDriverParameter(QString *out);

/** Writes "0_0": the driver has no property page of its own. */
MODBUS_RTU_EXPORT void intf_getDriverPropertyPage(QString *out);

/** Writes the empty string. */
MODBUS_RTU_EXPORT void intf_SetDriverPropertyPage(QString *out);

/** Stores the callback; the latest one wins. Null switches reports off. */
MODBUS_RTU_EXPORT void intf_setAddrValueChangeCallBack(ValueChangeCallBack callBack);

/**
 * Configures and resets the driver: empties the read plan, the queues, the
 * cache and the frames in flight. Recipe rows stay registered. Before the first property string of five
 * fields or more every setting is 0: link 0, writes are sent, the first bad
 * reply gives up, nothing is merged or cut.
 *
 * @param hostArea byte block of at least 60117 bytes; byte 60115 is the block
 *        write request, byte 60116 the block read request (1 = requested). Null
 *        when the host does no recipe transfers. Borrowed.
 * @param hostArg stored, never read
 * @param hostWordBuffer 16-bit words, low byte first, of the recipe transfers;
 *        every row's hostOffset + count must lie inside. Borrowed.
 * @param status always set to 0
 * @param property Latin-1 text "linkId#localWriteOnly#spare#retryLimit#maxReadWords"
 *        with an optional sixth field "doubleSwapMode_station,station,...", whose
 *        stations are added to those of earlier calls. With fewer than five
 *        fields the earlier settings stay. maxReadWords is the largest block in
 *        registers ("0x", "1x": in bits) and the longest piece of a write: 2 to
 *        120, even. 0 merges and cuts nothing; a negative one merges nothing and
 *        drops writes and condition reads that are as long as it says or longer.
 * @param hostMutex guards the two request bytes; the driver locks it only
 *        around reading and clearing them. Null means no recipe transfers. Borrowed.
 * @return 1
 */
MODBUS_RTU_EXPORT int intf_initProperty(void *hostArea, int hostArg, void *hostWordBuffer, int *status,
                                        const char *property, QMutex *hostMutex);

/**
 * Checks a typed-in address for an object of known kind.
 *
 * Numbers never wrap into the range: one that 32 bits do not hold is no address
 * (4), one that they do not hold multiplied by 16 is out of range (2).
 *
 * @param count consecutive elements: bits for bit types, registers otherwise
 * @param objectKind 0 for a bit object, anything else for a word object
 * @param outAddress the zero-based address; meaningful on result 0 only
 * @return 0 valid, 1 type does not fit the object, 2 out of range, 3 unknown
 *         type, 4 not an address in the type's notation, 5 a 32-bit type with
 *         count 1
 */
MODBUS_RTU_EXPORT int intf_checkAddrValidity(QString *regType, QString *addressText, int *outAddress, int count,
                                             int objectKind);

/**
 * Checks an address together with the object's data format and access.
 *
 * @param dataFormat the host's code for how the object shows its value: -1 for
 *        a bit object; 32-bit types have one of five, 1, 3, 5, 6 or 9 (say
 *        hexadecimal, unsigned, signed, floating point, binary: the names are the
 *        host's); objects of one register any but -1
 * @param accessMode 1 and 2 mean that the object writes to the address
 * @return as intf_checkAddrValidity(), 5 meaning a 32-bit type with another
 *         format than those five; also 6 write access to a read-only type, 14
 *         a 32-bit type with format 9 and count 1, 16 address text too long
 */
MODBUS_RTU_EXPORT int intf_checkAddr(QString *regType, QString *addressText, int *outAddress, int dataFormat, int count,
                                     int accessMode);

/**
 * Appends the register types for a bit object (0) or a word object (1).
 *
 * @return 1, or 0 for any other request type (nothing appended)
 */
MODBUS_RTU_EXPORT int intf_getRegListByType(unsigned int requestType, QList<QString> *list);

/**
 * Appends five texts that describe a register type: notation, lowest address,
 * highest address, width ("0" bit, "1" register, "2" 32-bit value), writable
 * flag. Nothing is appended for an unknown type.
 *
 * @return 1 for "4x_double" and 0 for every other type, known or not: judge
 *         success by the list having grown
 */
MODBUS_RTU_EXPORT int intf_getRegDiscription(QString *regType, QList<QString> *list);

/**
 * Steps an address for copied screen objects. Appends one text and one
 * zero-based address a copy; copies past the end of the address space are set
 * to its last element. At most 1048576 copies are appended.
 *
 * @param startAddress zero-based address of the first copy
 * @param increment step in the type's own unit (bits or registers)
 * @return 0 unknown type, 1 all inside, 2 at least one copy lies past the end,
 *         of all that were asked for
 */
MODBUS_RTU_EXPORT int intf_multiCopy(QString *regType, int startAddress, int copies, int increment,
                                     QVector<QString> *texts, QVector<int> *addresses);

/**
 * Registers the recipe rows of this link and merges them into blocks.
 *
 * @return number of rows registered; with 0 the earlier blocks stay
 */
MODBUS_RTU_EXPORT int intf_setRcpAddress(QVector<_RCP_VAR_PRO> *rows);

/**
 * Builds the cyclic read plan from the addresses that the host watches and marks
 * which registers, bits of registers and 32-bit values changes are reported for;
 * coils are reported whenever a change is read. The list is not changed. A
 * type that is none of the eight is planned as well and polled with function 3
 * for ever; its replies are thrown away.
 *
 * @return number of read requests in the plan
 */
MODBUS_RTU_EXPORT int intf_addrMerge(QList<KEY_ADDRESS> *keys);

/**
 * Queues a condition read: one address range is read once, cut into pieces of
 * maxReadWords registers or, for field7 -1, 8 x maxReadWords elements. The queue
 * holds 513; of a longer range the first 512 and the last piece remain.
 *
 * @param userData tag carried with the request
 * @return 1
 */
MODBUS_RTU_EXPORT int intf_addConditionRead(KEY_ADDRESS *key, int userData);

/**
 * Hands out the next request frame; the same one again until
 * intf_dealRcvFrame() has judged its reply. Whose frame it is, its var tells:
 * userData is 4 for the cyclic plan, else the tag of the write or condition read;
 * but a recipe block carries that of the transaction before it.
 *
 * @return 1 when @p out holds a frame, 0 when there is nothing to send
 */
MODBUS_RTU_EXPORT int intf_getSendFrame(FRAME_PRO *out);

/**
 * Judges and decodes the reply to the frame that intf_getSendFrame() gave.
 *
 * @param reply the bytes received, empty on a time-out. The read half of a bit
 *        write works on these bytes in place.
 * @param information set to the empty string, or to the error text on result 2
 * @return 0 no request pending; 1 good reply, ask for the next frame; 8 bad or
 *         missing reply, send the same frame again; 2 given up
 */
MODBUS_RTU_EXPORT int intf_dealRcvFrame(QByteArray *reply, QString *information);

/**
 * Reads values out of the cache, without any traffic.
 *
 * @param count bits for bit types, registers otherwise
 * @param out one byte a bit, 0 or 1, except that a coil shows the byte that was
 *        written to it while that is shown; two bytes a register, low byte first;
 *        four bytes a 32-bit value, low byte first
 * @return 1; unknown types leave the buffer as it was
 */
MODBUS_RTU_EXPORT int intf_getData(int station, QString *regType, int address, int count, unsigned char *out);

/**
 * Shows a value in the cache at once and queues its write to the slave.
 *
 * @warning Bits and coils are the bytes 0 and 1 and nothing else. Another byte
 * may switch what nobody asked for: of one coil only 1 is on; among several coils
 * the byte is added, shifted to its place, and spills into its neighbours; a bit
 * of a register is switched on by every byte but 0. The cache meanwhile shows the
 * byte itself for coils, and "on" for 1 only for bits of registers.
 *
 * @param count coils (at most 1024), bits, or registers; at least 1
 * @param data one byte a bit, 0 off and 1 on; two bytes a register, low byte
 *        first; four bytes a 32-bit value, low byte first. For "4x_bit" the
 *        buffer must hold 2 x @p count bytes.
 * @param userData tag carried with the request
 * @return 1, also for types that cannot be written, which are not queued
 */
MODBUS_RTU_EXPORT int intf_setData(int station, QString *regType, int address, int count, unsigned char *data,
                                   int userData);

} // extern "C"

#endif
