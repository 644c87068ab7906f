/**
 * @file
 * The checker in front of the linked driver, so that tests see into both, on a
 * clock that stands still until a test moves it.
 */
#ifndef CHECKED_DRIVER_H
#define CHECKED_DRIVER_H

#include <string>
#include <vector>

namespace checked {

/** A finding as the host's function heard of it. */
struct Heard
{
    std::string name;
    int severity;
    std::string text;
    int count;
};

/** Puts checker and driver into the state they have after loading. */
void renew();

/** The findings since the last call. */
std::vector<Heard> takeFindings();

/** The names of takeFindings(), each once, in alphabetical order, joined by blanks. */
std::string takeNames();

/** Runs on the thread that is told, for every finding. */
void setListener(void (*listener)(const Heard &heard));

/** Moves the checker's clock. */
void pass(int milliseconds);

/** Lets the checker have the real time until the next renew(). */
void useRealTime();

/** All that the address sanitizer would find to be usable from @p buffer on, in bytes; only without that sanitizer. */
void limitBuffer(const void *buffer, std::size_t usable);

} // namespace checked

#endif
