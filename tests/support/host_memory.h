/**
 * @file
 * What a host lends the driver, in exactly the sizes that it owes: the address
 * sanitizer sees a step beyond them.
 */
#ifndef TESTS_SUPPORT_HOST_MEMORY_H
#define TESTS_SUPPORT_HOST_MEMORY_H

#include <QtCore/QMutex>

#include <vector>

namespace support {

struct HostMemory
{
    enum { AreaBytes = 60117, BlockWriteRequest = 60115, BlockReadRequest = 60116 };

    explicit HostMemory(int words) : hostArea(AreaBytes, 0), hostWords(static_cast<std::size_t>(words), 0) {}

    /** Sets one of the two request bytes; where another thread polls, hostMutex is to be held. */
    void raise(int requestByte, int value = 1)
    {
        hostArea[static_cast<std::size_t>(requestByte)] = static_cast<unsigned char>(value);
    }

    int raised(int requestByte) const { return hostArea[static_cast<std::size_t>(requestByte)]; }

    std::vector<unsigned char> hostArea;
    std::vector<unsigned short> hostWords;
    QMutex hostMutex; ///< guards the two request bytes
};

} // namespace support

#endif
