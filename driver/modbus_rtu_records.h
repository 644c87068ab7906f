/**
 * @file
 * The records that travel between the host and the driver and between the
 * driver's own parts.
 *
 * All records are plain value types: copying one copies every member, the
 * 1024-byte arrays whole, whatever `count` says. Integers are 32-bit signed
 * unless a member says otherwise. The member order is part of the binary
 * interface (but for _DATA_, which stays inside the driver), and so is the absence of Q_DECLARE_TYPEINFO: such a declaration
 * changes how QList stores a record, and host and driver must agree on that.
 *
 * Address units. Addresses are zero-based: N - 1 for the text N (1 to 65536),
 * (R - 1) x 16 + B for the text R.B of the bit-in-register types. Counts are in
 * bits for "0x", "1x", "3x_bit" and "4x_bit" and in 16-bit registers otherwise
 * (two per 32-bit value).
 *
 * This header asks for no more than C++98, so that hosts built with old panel
 * tool chains can include it.
 */
#ifndef MODBUS_RTU_RECORDS_H
#define MODBUS_RTU_RECORDS_H

#include <QtCore/QString>

/** Size in bytes of the payload and frame arrays of the records. */
enum { ModbusRtuRecordBytes = 1024 };

/** One request: a block of registers or bits to read, or a run of values to write. */
struct VARIABLE
{
    /** Tag: the host's for writes and condition reads, 4 for the cyclic plan; a recipe block has that of the request before. */
    int userData;
    int station;     ///< slave address, first byte of the frame
    QString regType; ///< register type text
    int startAddr;   ///< first register or bit, zero-based
    int count;       ///< registers, or bits for the bit types
    /** Payload of a write: two bytes a register, low byte first; one byte a bit, 0 or 1. */
    unsigned char data[ModbusRtuRecordBytes];
};

/** One row of the host's recipe table: a run of registers mapped onto the host word buffer. */
struct _RCP_VAR_PRO
{
    int userData;    ///< link id of the row; the driver keeps only rows of its own link
    int station;     ///< slave address
    QString regType; ///< register type text
    int startAddr;   ///< zero-based address
    int count;       ///< length in 16-bit words
    int hostOffset;  ///< first word of the row in the host word buffer, in 16-bit words
    int extra;       ///< the host's; carried, never interpreted
};

/** One address that the host wants read, cyclically or once. */
struct KEY_ADDRESS
{
    QString keyText;                          ///< the host's; carried
    int field1;                               ///< the host's; carried
    int hostOffset;                           ///< as in _RCP_VAR_PRO
    int station;                              ///< slave address
    QString regType;                          ///< register type text
    QString text2;                            ///< the host's; carried
    int startAddr;                            ///< zero-based address
    int field7;                               ///< the host's data-format code of the object; -1 for a bit object
    int count;                                ///< bits or registers, by register type
    unsigned char data[ModbusRtuRecordBytes]; ///< carried
};

/** One cached data area: a coil, a discrete input or a 16-bit register. */
struct _DATA_
{
    unsigned char errorFlag;   ///< 1 after the last read of the area failed
    unsigned char writtenFlag; ///< 1 after a host write; the written value is then shown
    int bitWriteState; ///< per bit position p of a register: bit 2p write pending, bit 2p+1 second write pending
    int wordMonitor;   ///< bit 0 plain word, bit 1 first register of a double, bit 2 second register of a double
    int bitMonitor;    ///< monitored bits: coil areas at multiples of 8, or the bits of a register
    int station;       ///< key: slave address
    QString regType;   ///< key: "0x", "1x", "3x" or "4x"
    int areaIndex;     ///< key: coil or register address
    int readValue;     ///< value last read (bits 0-7 the low byte, 8-15 the high byte)
    int writtenValue;  ///< value last written by the host, same layout
};

/** One request frame of the transaction in flight. */
struct FRAME_PRO
{
    unsigned char frame[ModbusRtuRecordBytes]; ///< the request bytes, CRC included
    int frameLen;                              ///< number of request bytes to transmit
    int replyLen;                              ///< number of reply bytes to expect, 0 when none is expected (broadcast)
    int frameKind; ///< position of the first data byte in the reply: 3 for reads, 0 for writes
    int dataLen;   ///< payload of the reply: bytes for register reads, bits for bit reads, 0 for writes
    int field5;    ///< not used
    VARIABLE var;  ///< the request that this frame serves
};

#endif
