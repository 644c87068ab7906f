/**
 * @file
 * What a host keeps for a driver: its property string, the area with the block
 * request bytes, the word buffer and the mutex, and the plan of what is polled.
 */
#ifndef RTU_HOST_DRIVER_SESSION_H
#define RTU_HOST_DRIVER_SESSION_H

#include "kit/driver/driver_library.h"
#include "tag.h"

#include <QtCore/QMutex>

#include <string>
#include <vector>

namespace rtu {

/** The fields of the driver's property string. */
struct DriverProperty
{
    int linkId = 1;
    bool localWriteOnly = false;
    int attempts = 3;
    int maxWords = 120;
    bool swapAll = false;          ///< block transfers: low word of 32-bit values first
    std::vector<int> swapStations; ///< the same for these stations only
    std::string raw;               ///< used as it is when not empty

    std::string text() const;
    /** Takes the fields out of a property string; those that it does not have stay. */
    void adopt(const std::string &text);
};

/** Cuts the tags into addresses that the driver can read with one request each. */
QList<KEY_ADDRESS> keysOf(const std::vector<TagRange> &tags, int maxWords);

/** One address of the driver for so many values of a tag. */
KEY_ADDRESS keyOf(const TagRange &tag, int firstValue, int values);

class DriverSession
{
public:
    explicit DriverSession(DriverLibrary &driver) : m_driver(driver) {}
    /** The driver has borrowed this object's memory; it is given back. */
    ~DriverSession();
    DriverSession(const DriverSession &) = delete;
    DriverSession &operator=(const DriverSession &) = delete;

    /** Configures the driver, which empties its queues, its plan and its cache. */
    void configure(const DriverProperty &property);

    /** Plans the cyclic reading of the tags; result: frames in a round. Not while polling. */
    int plan(const std::vector<TagRange> &tags);

    DriverLibrary &driver() { return m_driver; }
    const DriverProperty &property() const { return m_property; }

    /** The words that block transfers write from and read to. */
    std::vector<unsigned short> &words() { return m_words; }
    void requestBlockWrite() { raise(BlockWriteRequest); }
    void requestBlockRead() { raise(BlockReadRequest); }
    /** False once the driver has cleared both request bytes. */
    bool blockTransferPending();
    void clearBlockRequests();

private:
    enum { BlockWriteRequest = 60115, BlockReadRequest = 60116, AreaBytes = 60117, BufferWords = 65536 };

    void raise(int position);

    DriverLibrary &m_driver;
    DriverProperty m_property;
    std::vector<unsigned char> m_area = std::vector<unsigned char>(AreaBytes);
    std::vector<unsigned short> m_words = std::vector<unsigned short>(BufferWords);
    QMutex m_mutex;
};

} // namespace rtu

#endif
