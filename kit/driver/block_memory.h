/**
 * @file
 * What the driver borrows from its host: the area with the two block request bytes,
 * the word buffer and the mutex over the bytes.
 */
#ifndef KIT_DRIVER_BLOCK_MEMORY_H
#define KIT_DRIVER_BLOCK_MEMORY_H

#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>

#include <vector>

namespace rtu {

class BlockMemory
{
public:
    enum Request { BlockWrite = 60115, BlockRead = 60116 };

    void *area() { return m_area.data(); }
    void *words() { return m_words.data(); }
    QMutex *mutex() { return &m_mutex; }

    /** The bytes of the word buffer, low byte of a word first. */
    unsigned char *wordBytes() { return reinterpret_cast<unsigned char *>(m_words.data()); }

    void raise(Request request)
    {
        QMutexLocker locked(&m_mutex);
        m_area[request] = 1;
    }

    /** False once the driver has cleared both request bytes. */
    bool requested()
    {
        QMutexLocker locked(&m_mutex);
        return m_area[BlockWrite] != 0 || m_area[BlockRead] != 0;
    }

private:
    enum { AreaBytes = 60117, BufferWords = 65536 };

    std::vector<unsigned char> m_area = std::vector<unsigned char>(AreaBytes);
    std::vector<unsigned short> m_words = std::vector<unsigned short>(BufferWords);
    QMutex m_mutex;
};

} // namespace rtu

#endif
