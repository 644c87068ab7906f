/**
 * @file
 * A file descriptor that is closed once.
 */
#ifndef KIT_LINE_DESCRIPTOR_H
#define KIT_LINE_DESCRIPTOR_H

#include <unistd.h>

namespace rtu {

class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int number) : m_number(number) {}
    ~Descriptor() { reset(); }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    /** Below 0: none. */
    int number() const { return m_number; }
    bool isOpen() const { return m_number >= 0; }

    /** Closes what is held, and holds another. */
    void reset(int number = -1)
    {
        if (m_number >= 0)
            ::close(m_number);
        m_number = number;
    }

    /** The caller closes it from now on. */
    int release()
    {
        const int number = m_number;
        m_number = -1;
        return number;
    }

private:
    int m_number = -1;
};

} // namespace rtu

#endif
