/**
 * @file
 * How fresh and how good the cached values of the tags are. The driver's cache
 * does not say; it follows from the frames that went by and from the changes that
 * the driver reported.
 */
#ifndef RTU_HOST_TAG_STATES_H
#define RTU_HOST_TAG_STATES_H

#include "statistics.h"
#include "tag.h"
#include <modbus_rtu_host/transaction.h>

#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace rtu {

struct TagState
{
    bool known = false;  ///< read at least once
    TimePoint read;      ///< the oldest of the last good reads that cover the values
    bool failed = false; ///< the last read of some of the values was given up
    std::string error;   ///< the driver's text about it
};

class TagStates
{
public:
    /** @param maxWords the limit that the keys of the tags were cut by */
    TagStates(const std::vector<TagRange> &tags, int maxWords);

    /** Takes note of a frame. */
    void add(const Transaction &transaction);

    /** Takes note of a change that the driver reported. */
    void add(const ValueChange &change, TimePoint when);

    TagState state(std::size_t tag) const;

    /** When the driver last reported a change of the value; TimePoint() for never. */
    TimePoint changed(std::size_t tag, int value) const;

    /** Number of changes reported since the start. */
    std::uint64_t changes() const;

    /** Ages that the tags reached before they were read again. */
    Quantiles ages() const;
    /** The same of one station's tags. */
    Quantiles ages(int station) const;

private:
    /** The part of a tag that one request reads. */
    struct Piece
    {
        int station = 0;
        std::string area; ///< "0x", "1x", "3x" or "4x": where the driver keeps the values
        int first = 0;    ///< bits for coils and inputs, registers otherwise
        int count = 0;
        std::size_t tag = 0;
        bool known = false;
        TimePoint read;
        bool failed = false;
        std::string error;
    };

    static Piece pieceOf(const KEY_ADDRESS &key, std::size_t tag);
    static bool before(const Piece &left, const Piece &right);
    void update(Piece &piece, const Transaction &transaction);

    mutable std::mutex m_mutex;
    std::vector<Piece> m_pieces;                          ///< sorted by station, area, first
    std::map<std::pair<int, std::string>, int> m_longest; ///< longest piece of a station and area
    std::vector<std::vector<std::size_t>> m_piecesOfTag;
    std::vector<TagRange> m_tags;
    std::map<std::pair<int, std::string>, std::vector<std::size_t>> m_tagsOfType;
    std::vector<std::vector<TimePoint>> m_changed;
    std::uint64_t m_changes = 0;
    Quantiles m_ages;
    std::map<int, Quantiles> m_agesOfStation;
};

} // namespace rtu

#endif
