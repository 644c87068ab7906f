/**
 * @file
 * Waking up when asked to.
 */
#ifndef BENCH_PUNCTUALITY_H
#define BENCH_PUNCTUALITY_H

namespace rtu {

/**
 * Makes the calling thread wake up when it asked to, as far as the user may have
 * that. The kernel may round sleeps up by 50 us, half a character at 115200 baud,
 * and a busy machine lets a common thread wait for milliseconds. A thread that
 * polls sleeps nearly always, so the first place in the queue costs the others
 * nothing. For programs' own threads: a library does not change those of its users.
 */
void askForPunctuality();

} // namespace rtu

#endif
