/**
 * @file
 * The rules of the poll loop, checked from what goes in and out of the driver.
 */
#ifndef PROPERTY_POLL_RULES_H
#define PROPERTY_POLL_RULES_H

#include "property/findings.h"
#include "property/unit_range.h"
#include "support/driver_fixture.h"

#include <map>
#include <set>
#include <tuple>

namespace property {

class PollRules
{
public:
    explicit PollRules(Findings &findings);

    void reset(int linkId, int retryLimit);

    /** The plan was rebuilt from @p keys; takes it over as it stands in the driver. */
    void planBuilt(const support::Keys &keys, int limit, int result);

    /** Recipe rows were registered; takes the blocks over as they stand in the driver. */
    void recipesRegistered(const QVector<_RCP_VAR_PRO> &rows, int result);

    /** A request of the host under its own, never repeated tag; the units it may be split into lie inside it. */
    void requested(const VARIABLE &whole);

    /** An entry of a queue was overwritten by a newer one and must not be sent any more. */
    void replaced(const UnitRange &unit);

    /** intf_getSendFrame() is about to be called: what it has to choose from. */
    void beforeSend(bool blockWrite, bool blockRead);

    /** intf_getSendFrame() returned @p result. */
    void sent(int result, const FRAME_PRO &frame);

    /** intf_dealRcvFrame() returned @p verdict for the frame sent last. */
    void judged(int verdict, const QString &errorText, bool blockWriteLeft, bool blockReadLeft);

    /** What holds after every call. */
    void checkQueuesAndPlan();

    const FRAME_PRO &frameInFlight() const { return lastFrame; }

    int transactions[8] = {0, 0, 0, 0, 0, 0, 0, 0}; ///< by SendState
    int resends = 0;
    int givenUp = 0;
    int transfers = 0;
    int failedTransfers = 0;
    int longestBurst = 0;
    int longestWriteQueue = 0;
    int longestConditionQueue = 0;

private:
    typedef std::tuple<int, int, int> Token; ///< tag, start, count

    template <typename Unit>
    static Token tokenOf(const Unit &unit)
    {
        return Token(unit.userData, unit.startAddr, unit.count);
    }

    void checkBytes(const FRAME_PRO &frame);
    void checkChoice(const VARIABLE &unit, int state);
    void checkRequested(const VARIABLE &unit, int state);
    void checkBurst(int state);
    void checkOnce(const VARIABLE &unit);
    void checkBlock(const VARIABLE &unit);
    void finishTransaction(bool failed, bool blockWriteLeft, bool blockReadLeft);
    void finishBlock(int state, bool failed, bool blockWriteLeft, bool blockReadLeft);

    Findings &findings;
    int linkId = 0;
    int retryLimit = 0;
    QList<VARIABLE> plan;
    int rotation = 0;
    QVector<_RCP_VAR_PRO> blocks;
    int nextBlock = 0;
    std::map<int, VARIABLE> requests;
    std::set<Token> gone; ///< started or replaced

    std::vector<UnitRange> writeBefore;     ///< the head of the queue, if there was one
    std::vector<UnitRange> conditionBefore; ///< likewise
    bool blockWriteAsked = false;
    bool blockReadAsked = false;

    FRAME_PRO lastFrame = FRAME_PRO();
    bool resendDue = false;
    int framesLeft = 0; ///< of the transaction in flight
    int attempts = 0;   ///< of the frame in flight
    int sinceCyclic = 0;
};

} // namespace property

#endif
