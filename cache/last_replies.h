/**
 * @file
 * What the last reply to each request of the cyclic plan said.
 *
 * In a steady plant nearly every reply says what the last reply to the same
 * request said. While the data of such a reply is known here, every area that
 * the request covers exists, holds just that value as its readValue, and has its
 * errorFlag clear: where the next reply says the same, there is nothing to do.
 *
 * Whoever changes a readValue or sets an errorFlag says so with forget(). A
 * written value is neither. Of changes behind the driver's back, as tests make
 * them in the list of areas, only areas that are gone are noticed.
 */
#ifndef LAST_REPLIES_H
#define LAST_REPLIES_H

#include "driver/modbus_rtu_records.h"

#include <QtCore/QList>

#include <cstddef>
#include <vector>

class LastReplies
{
public:
    LastReplies();

    /** Forgets all replies and makes room for those to @p requests, the first of which goes out next. */
    void planBuilt(const QList<VARIABLE> &requests);

    /** To be told when the first request of the plan has gone to its end. */
    void firstMovedToEnd();

    /** To be told when the first request of the plan is on its way. */
    void firstSent() { placeOfSent = placeOfFirst(); }

    /** No reply: the request is not of the plan, or replies to it are not kept. */
    enum { NoPlace = -1 };

    /** Where the reply to the request on its way is kept; NoPlace unless @p unit is that request. */
    int placeFor(const VARIABLE &unit) const;

    /** The data bytes of the last reply, as many as the request asks for; null when they are not known. */
    const unsigned char *dataAt(int place) const;

    /**
     * Keeps the data bytes of a reply: all of its values are in their areas.
     * Only where nothing came between the first of them and the last.
     */
    void keep(int place, const unsigned char *data);

    /** Forgets the replies that say something about one of these areas. */
    void forget(int station, const QString &areaType, int address, int count);

    /**
     * To be told when a reply begins to be dealt with: a callback may do that in the
     * middle of another. @p areas: how many the cache has; where these are fewer than
     * before it was emptied behind the driver's back, and nothing is known any more.
     */
    void replyArrived(int areas);

    /** Replies that have arrived and plans that were built: the same number twice, and nothing came between. */
    unsigned int eventCount() const { return events; }

private:
    /** The reply to one request. Ordered by station, type and first area. */
    struct Reply
    {
        int station;
        int first;          ///< area of its first value
        int count;          ///< values
        int reach;          ///< the last area of this reply, or of one before it of the same station and type
        int data;           ///< position of its first data byte
        unsigned char type; ///< first digit of the areas' type: '0', '1', '3' or '4'
        bool known;
    };

    static bool isBefore(const Reply &a, const Reply &b);
    static bool endsBefore(const Reply &a, const Reply &b);
    static bool replyTo(const VARIABLE &request, Reply &made);
    int placeOfFirst() const;
    void orderReplies(const std::vector<int> &requestOf, std::size_t requests);

    std::vector<Reply> replies;
    std::vector<int> places; ///< for each request of the plan, as it was built, its position in replies or NoPlace
    std::vector<unsigned char> bytes; ///< the data of all replies
    std::size_t first;                ///< the request that stands first in the plan now, counted as the plan was built
    int placeOfSent;                  ///< position in replies of the request on its way, or NoPlace
    int areasBefore;                  ///< how many the cache had when the last reply arrived
    unsigned int events;
};

#endif
