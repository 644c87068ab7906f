/**
 * @file
 * Plays a CallScript on the driver, as a host would: all eighteen entry points,
 * in any order, and inside callbacks as well.
 */
#ifndef CALL_PLAYER_H
#define CALL_PLAYER_H

#include "call_script.h"
#include "fuzz_host.h"

namespace fuzz {

class CallPlayer
{
public:
    CallPlayer(const std::uint8_t *bytes, std::size_t size);

    void play();

private:
    void playOne(const CallRecord &record);
    void onReport(const Report &report);

    void initProperty(const CallRecord &record);
    void addKey(const CallRecord &record);
    void addRow(const CallRecord &record);
    void reply(const CallRecord &record);
    void poll(const CallRecord &record);
    void edit(const CallRecord &record);
    void callWithNulls();

    KEY_ADDRESS keyOf(const CallRecord &record, int largestCount);
    int waitingReadsLimit() const;
    int elementsOf(const CallRecord &record, int largest);

    CallScript script;
    Host host;
    QList<KEY_ADDRESS> keys;
    QVector<_RCP_VAR_PRO> rows;
    int depth;
    int room;      ///< elements that the calls of this input may still carry
    int triesLeft; ///< replies that polls may still owe to requests that none fits
};

} // namespace fuzz

#endif
