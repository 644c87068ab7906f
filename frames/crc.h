/**
 * @file
 * The Modbus CRC-16.
 */
#ifndef CRC_H
#define CRC_H

/** Bytes of the CRC at the end of a frame. */
enum { CrcBytes = 2 };

/**
 * CRC-16 of the Modbus serial line protocol (section 2.5.1.2, appendix B):
 * initial value 0xFFFF, reflected polynomial 0xA001. Sent low byte first.
 *
 * @param length bytes; 0 or below gives the initial value
 */
unsigned int modbusCrc16(const unsigned char *bytes, int length);

/** Stores the CRC of the first @p length bytes behind them, low byte first; two bytes of room are needed. */
void appendCrc(unsigned char *bytes, int length);

#endif
