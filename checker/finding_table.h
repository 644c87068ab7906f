/**
 * @file
 * Every finding that there is: its stable name, how much it matters, what would
 * be right, and the section of the guide that says so.
 */
#ifndef CHECKER_FINDING_TABLE_H
#define CHECKER_FINDING_TABLE_H

#include "checker/modbus_rtu_check.h"

namespace checker {

enum FindingId {
    // orders and threads
    CallBeforeInit,
    CallBackAfterInit,
    PlanEmptied,
    TwoPollThreads,
    ReplyFromAnotherThread,
    StartUpBesidePoll,
    StartUpInTransfer,
    ReplyWithoutFrame,
    ReplyTwice,
    PollFromCallBack,
    StartUpFromCallBack,
    HostMutexHeld,
    CallBackStalls,
    UnloadedWithThreadInside,
    BusyPolling,
    // the property string
    PropertyFields,
    PropertyNumber,
    WordsNotPositive,
    WordsOdd,
    WordsTooLarge,
    AttemptsBelowOne,
    LocalOnly,
    SwapMode,
    SwapStation,
    SwapStationsStay,
    // single arguments
    NullArgument,
    BufferTooSmall,
    UnknownType,
    StationRange,
    AddressRange,
    CountBelowOne,
    CountBeyondRequest,
    HalfDouble,
    BitData,
    CoilsBeyondPayload,
    BitsBeyondWords,
    ReadOnlyWritten,
    Field7Mismatch,
    BitRangeShort,
    TagOfThePlan,
    QueueOverrun,
    // recipes
    RowType,
    RowTooLong,
    RowOfDoubles,
    RowOffset,
    RowsOverlap,
    RowsOutOfOrder,
    RowsOfOtherLinks,
    TransferWithoutBuffers,
    RequestByteValue,
    BothRequests,
    RequestCleared,
    TransferOvertaken,
    // what stands still
    PlanStandsStill,
    WriteStandsStill,
    ReadStandsStill,
    TransferStandsStill,
    RequestWithoutRows,
    // replies and values
    ReplyNotCompared,
    EchoInReply,
    ReplyToBroadcast,
    ErrorTextUnseen,
    NotDrained,
    ValueReadInCallBack,
    // the checker itself
    DriverMissing,
    FindingCount
};

struct FindingRow
{
    FindingId id;
    const char *name;
    ModbusRtuCheckSeverity severity;
    const char *right;   ///< what would be right
    const char *section; ///< page and heading in docs/
};

const FindingRow &findingRow(FindingId id);

/** "error", "warning" or "hint". */
const char *severityName(ModbusRtuCheckSeverity severity);

} // namespace checker

#endif
