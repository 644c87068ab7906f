/**
 * @file
 * Random choices for generated tests: the same on every machine for the same
 * seed, as long as no two of them are arguments of one call (compilers evaluate
 * arguments in either order).
 */
#ifndef SUPPORT_RANDOM_H
#define SUPPORT_RANDOM_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <random>

namespace support {

class Random
{
public:
    explicit Random(std::uint32_t seed) : engine(seed) {}

    std::uint32_t next() { return static_cast<std::uint32_t>(engine()); }

    /** 0 to @p limit - 1. */
    int below(int limit) { return static_cast<int>(next() % static_cast<std::uint32_t>(limit)); }

    /** @p first to @p last, both included. */
    int between(int first, int last) { return first + below(last - first + 1); }

    bool chance(int percent) { return below(100) < percent; }

    unsigned char byte() { return static_cast<unsigned char>(next() & 0xFFu); }

    template <typename T>
    T pick(std::initializer_list<T> choices)
    {
        return *(choices.begin() + static_cast<std::ptrdiff_t>(next() % choices.size()));
    }

private:
    std::mt19937 engine;
};

/** A number from the environment, @p fallback when it is not set. Hexadecimal with 0x. */
inline unsigned long environmentNumber(const char *name, unsigned long fallback)
{
    const char *text = std::getenv(name);
    return text == nullptr ? fallback : std::strtoul(text, nullptr, 0);
}

} // namespace support

#endif
