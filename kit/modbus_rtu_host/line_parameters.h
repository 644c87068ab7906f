/**
 * @file
 * How characters are sent on a serial line.
 */
#ifndef MODBUS_RTU_HOST_LINE_PARAMETERS_H
#define MODBUS_RTU_HOST_LINE_PARAMETERS_H

namespace rtu {

/**
 * The line parameters of a port. As made: 19200 baud, 8 data bits, even parity,
 * one stop bit, which is what every device must offer (Modbus over serial line
 * V1.02, 2.5.1 and 3.2).
 */
struct LineParameters
{
    int baud = 19200;         ///< bits a second; 0: no pace at all (pipes, pseudo-terminals) and no silences
    int dataBits = 8;         ///< 7 or 8; RTU frames need 8
    char parity = 'E';        ///< 'N', 'E', 'O'
    int stopBits = 1;         ///< 1 or 2
    bool rs485 = false;       ///< the kernel switches the transmitter of a two-wire line (TIOCSRS485)
    bool rtsInverted = false; ///< with rs485: RTS is on while receiving and off while sending

    /** Start bit, data bits, parity and stop bits. */
    int bitsPerCharacter() const { return 1 + dataBits + (parity == 'N' ? 0 : 1) + stopBits; }
};

} // namespace rtu

#endif
