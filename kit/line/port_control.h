/**
 * @file
 * What the kernel is asked to do with a port. Nothing is decided here, so that tests
 * can put a scripted port in the place of this file.
 */
#ifndef KIT_LINE_PORT_CONTROL_H
#define KIT_LINE_PORT_CONTROL_H

#include <termios.h>

namespace rtu {

/** The functions answer false with the reason in errno. */
namespace port_control {

/** A descriptor of the device that waits for nothing, neither here nor later; below 0: there is none. */
int open(const char *device);

bool isPseudoTerminal(int descriptor);

/** False: in use by another program (EWOULDBLOCK), or no locks here. Programs that do not ask for it are not kept out. */
bool lock(int descriptor);

/** Makes every further open() fail with EBUSY, that of the super-user excepted. */
bool setExclusive(int descriptor, bool exclusive);

bool readSettings(int descriptor, termios *settings);
bool writeSettings(int descriptor, const termios &settings);

/** Any rate, not just those that have a name. Result: what the port makes of it; below 0: refused. */
int setBaudRate(int descriptor, int baud);

/**
 * The kernel switches the transmitter of a two-wire line on for as long as it sends.
 *
 * @param inverted RTS is on while receiving and off while sending
 */
bool switchDirection(int descriptor, bool inverted);

/** Characters received without a stop bit, and with the wrong parity, since the port is there. */
bool countErrors(int descriptor, int *framing, int *parity);

/** USB adapters otherwise hold received bytes back for up to 16 ms. Not every port knows the flag. */
void askForLowLatency(int descriptor);

} // namespace port_control

} // namespace rtu

#endif
