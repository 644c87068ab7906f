/**
 * @file
 * Recipe transfers, block by block.
 *
 * The driver abandons a whole transfer when one block fails, and does not say which.
 * So it is given one block at a time: rows that touch, as long as one request takes
 * them. A block of several rows that a slave refuses is tried again row by row.
 */
#ifndef KIT_TRANSFER_TRANSFER_QUEUE_H
#define KIT_TRANSFER_TRANSFER_QUEUE_H

#include "kit/driver/block_memory.h"
#include "kit/link/link_parts.h"
#include "kit/poll/request_end.h"

#include <modbus_rtu_host/transfer_result.h>

#include <deque>
#include <set>

namespace rtu {

enum class TransferKind { Load, Save, Compare };

struct TransferJob : Job<TransferResult>
{
    TransferKind kind = TransferKind::Save;
    std::vector<std::shared_ptr<const TagLayout>> layouts;
    std::vector<std::vector<std::uint32_t>> raw; ///< to load or to compare with
    bool stopAsked = false;                      ///< guarded by the lock
    int rowsEnded = 0;                           ///< guarded by the lock

    /** Also while it is under way: it then ends behind the block on the line. */
    bool cancel();
};

using TransferJobPtr = std::shared_ptr<TransferJob>;

class TransferQueue
{
public:
    TransferQueue(LinkParts &parts, BlockMemory &memory, int linkId);

    void accept(const TransferJobPtr &job) { m_waiting.push_back(job); }
    /** Requests the next block. True: one is under way. */
    bool feed();
    bool underWay() const { return m_end > m_next; }
    void requestDone(const RequestEnd &end);
    void stationSilent(int station) { m_silent.insert(station); }
    void portAway();
    /** The link goes. @param sent the block in the driver may have been sent */
    void endAll(bool sent);

private:
    /** A part of a row that one request takes. */
    struct Piece
    {
        std::size_t row = 0;
        int firstValue = 0;
        int values = 0;
        Area area;
        bool alone = false;
        bool unheard = false; ///< an attempt to load its block got no answer: the slave may have acted on it
    };

    bool begin();
    void cut();
    void skipHopeless();
    void abandon(const Piece &piece);
    std::size_t blockEnd() const;
    void request();
    void appendRows(const Piece &piece, int offset, QVector<_RCP_VAR_PRO> &rows);
    bool retryAlone(const RequestEnd &end);
    void pieceDone(const Piece &piece, const RequestEnd &end, int offset);
    void takeValues(const Piece &piece, int offset, TimePoint when);
    RowResult &result(const Piece &piece) { return m_result.rows[piece.row]; }
    const TagLayout &layout(const Piece &piece) const { return *m_current->layouts[piece.row]; }
    bool stopAsked() const;
    void noteProgress();
    void finish();

    LinkParts &m_parts;
    BlockMemory &m_memory;
    int m_linkId;
    std::deque<TransferJobPtr> m_waiting;
    TransferJobPtr m_current;
    TransferResult m_result;
    std::vector<std::vector<std::uint32_t>> m_values; ///< of each row, as read so far
    std::vector<Piece> m_pieces;
    std::size_t m_next = 0; ///< first piece of the block under way, or to come
    std::size_t m_end = 0;  ///< behind the last piece of the block under way
    std::set<int> m_silent; ///< stations whose further rows are not tried
};

} // namespace rtu

#endif
