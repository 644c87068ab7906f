#include "checker/finding_table.h"

namespace checker {

namespace {

const ModbusRtuCheckSeverity Error = ModbusRtuCheckError;
const ModbusRtuCheckSeverity Warning = ModbusRtuCheckWarning;
const ModbusRtuCheckSeverity Hint = ModbusRtuCheckHint;

#define GUIDE "integrating-a-host.md"

const char Phases[] = GUIDE "#phases-and-threads";
const char Locks[] = GUIDE "#locks";
const char GroundRules[] = GUIDE "#ground-rules";
const char Buffers[] = GUIDE "#buffers";
const char ByteOrders[] = GUIDE "#byte-orders";
const char Property[] = GUIDE "#intf_initproperty";
const char Plan[] = GUIDE "#intf_addrmerge";
const char PollLoop[] = GUIDE "#the-poll-loop";
const char Values[] = GUIDE "#reading-and-writing";
const char CallBack[] = GUIDE "#the-callback";
const char Recipes[] = GUIDE "#recipes";
const char OneOff[] = GUIDE "#one-off-condition-reads";
const char StandStill[] = GUIDE "#requests-that-cannot-be-sent";
const char Late[] = GUIDE "#late-replies-and-echoes";
const char Addresses[] = "address-language.md";
const char OwnPage[] = "contract-checker.md";

// In the order of FindingId.
const FindingRow findingRows[] = {
    {CallBeforeInit, "call-before-init", Error,
     "call intf_initProperty with a property string of five or six fields first", Phases},
    {CallBackAfterInit, "callback-after-init", Hint,
     "register the callback before the first intf_initProperty, so that no report is missed", Phases},
    {PlanEmptied, "plan-emptied", Error, "call intf_addrMerge again after every intf_initProperty", Phases},
    {TwoPollThreads, "two-poll-threads", Error,
     "call intf_getSendFrame and intf_dealRcvFrame from one thread, the poll thread", Phases},
    {ReplyFromAnotherThread, "reply-from-another-thread", Warning,
     "hand the reply in on the thread that asked for its frame", Phases},
    {StartUpBesidePoll, "start-up-beside-poll", Error,
     "make this call between two frames, when the reply to the last one has been handed in", Phases},
    {StartUpInTransfer, "start-up-in-transfer", Error,
     "wait until the driver has set the request byte back to 0: the position of a transfer outlives this call",
     Recipes},
    {ReplyWithoutFrame, "reply-without-frame", Error,
     "call intf_dealRcvFrame once for each frame that intf_getSendFrame gave", PollLoop},
    {ReplyTwice, "reply-twice", Error,
     "call intf_getSendFrame before each intf_dealRcvFrame, also when the same frame is sent again", PollLoop},
    {PollFromCallBack, "poll-from-callback", Error,
     "leave intf_getSendFrame and intf_dealRcvFrame to the poll loop: it is still busy with this reply", CallBack},
    {StartUpFromCallBack, "start-up-from-callback", Error,
     "note in the callback what is to be done, and make start-up calls between two frames", CallBack},
    {HostMutexHeld, "host-mutex-held", Error,
     "hold hostMutex only to look at or set the request bytes, and never in this call", Locks},
    {CallBackStalls, "callback-stalls", Error,
     "let the callback only note what changed: take no lock in it that another thread keeps over a call", Locks},
    {UnloadedWithThreadInside, "unload-with-thread-inside", Error,
     "end the poll thread and all other callers before dlclose", GroundRules},
    {BusyPolling, "busy-polling", Hint,
     "pause some 10 ms, or until a write is queued, when there is nothing to send or no port to send it on", PollLoop},

    {PropertyFields, "property-fields", Error, "give link#local only#spare#attempts#words, all five of them", Property},
    {PropertyNumber, "property-number", Warning, "write decimal numbers only", Property},
    {WordsNotPositive, "words-not-positive", Error, "give an even number from 2 to 120", Property},
    {WordsOdd, "words-odd", Warning, "give an even number from 2 to 120, so that no 32-bit value is cut in two",
     Property},
    {WordsTooLarge, "words-too-large", Error,
     "give at most 120: slaves take 123 registers in a write and 125 in a read", Property},
    {AttemptsBelowOne, "attempts-below-one", Hint, "give 1 if one attempt is meant, 3 as a rule", Property},
    {LocalOnly, "local-only", Hint, "give 0 if values are to reach the slaves", Property},
    {SwapMode, "swap-mode", Warning, "give 0 or 1; every other number means 0", Property},
    {SwapStation, "swap-station", Warning, "list stations from 1 to 247", Property},
    {SwapStationsStay, "swap-stations-stay", Warning,
     "load the driver anew to take stations off the list: every intf_initProperty only adds to it", Property},

    {NullArgument, "null-argument", Error, "hand over an object: without it the call has nothing to do or to give",
     GroundRules},
    {BufferTooSmall, "buffer-too-small", Error, "make the buffer as large as the guide says", Buffers},
    {UnknownType, "unknown-type", Error,
     "give one of 0x, 1x, 3x, 4x, 3x_bit, 4x_bit, 3x_double, 4x_double, in these letters", Addresses},
    {StationRange, "station-range", Error, "give a station from 1 to 247 (0 addresses all, for writes only)", Plan},
    {AddressRange, "address-range", Error,
     "keep within registers 0 to 65535 (bits of registers 0 to 1048575), zero-based, the last element included",
     Addresses},
    {CountBelowOne, "count-below-one", Warning, "give a count of 1 or more", Buffers},
    {CountBeyondRequest, "count-beyond-request", Error,
     "keep within 125 registers or 2000 bits for reads and 123 registers for writes", Plan},
    {HalfDouble, "half-double", Error, "give both registers of each 32-bit value: an even count", Values},
    {BitData, "bit-data", Error, "write bytes 0 and 1 for bits", ByteOrders},
    {CoilsBeyondPayload, "coils-beyond-payload", Error, "write at most 1024 coils a call", Values},
    {BitsBeyondWords, "bits-beyond-words", Error, "write at most as many bits of 4x_bit a call as the words field says",
     Values},
    {ReadOnlyWritten, "read-only-written", Warning,
     "write to 0x, 4x, 4x_bit and 4x_double only; ask intf_checkAddr with access mode 1 before an operator types",
     Values},
    {Field7Mismatch, "field7-mismatch", Error, "set field7 to -1 for bit types and to anything else for registers",
     OneOff},
    {BitRangeShort, "bit-range-short", Warning, "start at bit 0 of a register, or ask for up to 15 bits more", OneOff},
    {TagOfThePlan, "tag-of-the-plan", Hint, "use a tag other than 4, which the cyclic plan carries", OneOff},
    {QueueOverrun, "queue-overrun", Error, "ask for less at a time: a queue holds 513 requests", OneOff},

    {RowType, "row-type", Error, "use 4x and 4x_double; 3x and 3x_double can be saved only", Recipes},
    {RowTooLong, "row-too-long", Error, "split the row: no row longer than the words field", Recipes},
    {RowOfDoubles, "row-of-doubles", Error, "use one row for each 32-bit value, count 2", Recipes},
    {RowOffset, "row-offset", Error, "give the place of the row's first word in the host word buffer", Recipes},
    {RowsOverlap, "rows-overlap", Warning, "give each row words of its own", Recipes},
    {RowsOutOfOrder, "rows-out-of-order", Error,
     "let rows whose registers touch also touch in the buffer, in the same order", Recipes},
    {RowsOfOtherLinks, "rows-of-other-links", Warning, "give rows the link of the property string as userData",
     Recipes},
    {TransferWithoutBuffers, "transfer-without-buffers", Error,
     "hand host area, word buffer and mutex to intf_initProperty", Buffers},
    {RequestByteValue, "request-byte-value", Warning, "request with 1", Recipes},
    {BothRequests, "both-requests", Warning, "request one transfer at a time", Recipes},
    {RequestCleared, "request-cleared", Error,
     "leave the byte to the driver: the next transfer starts where this one stopped", Recipes},
    {TransferOvertaken, "transfer-overtaken", Error,
     "wait for the end of one transfer before the other is requested: it takes over at the same position", Recipes},

    {PlanStandsStill, "plan-stands-still", Error, "leave station 0 out of the plan; intf_initProperty is the way out",
     StandStill},
    {WriteStandsStill, "write-stands-still", Error,
     "write bits of registers to stations from 1 on, and a count of 1 or more; intf_initProperty is the way out",
     StandStill},
    {ReadStandsStill, "read-stands-still", Error, "read from stations from 1 on; intf_initProperty is the way out",
     StandStill},
    {TransferStandsStill, "transfer-stands-still", Error,
     "load 4x and 4x_double rows only, save rows of stations from 1 on; setting the byte to 0 is the way out",
     StandStill},
    {RequestWithoutRows, "request-without-rows", Error,
     "register rows before a transfer is requested; setting the byte to 0 is the way out", StandStill},

    {ReplyNotCompared, "reply-not-compared", Warning,
     "compare station and function, for writes bytes 2 to 5, for reads the byte count, before handing a reply in",
     Late},
    {EchoInReply, "echo-in-reply", Warning, "take the bytes of the request off the front of what was received", Late},
    {ReplyToBroadcast, "reply-to-broadcast", Warning,
     "hand in an empty reply to a broadcast; any byte counts as a failure", PollLoop},
    {ErrorTextUnseen, "error-text-unseen", Hint, "look at result 2 and show its text", PollLoop},
    {NotDrained, "not-drained", Hint,
     "listen for about one more time-out after a time-out, and drop what comes, before the next frame goes out", Late},
    {ValueReadInCallBack, "value-read-in-callback", Hint,
     "note what changed, and read it when intf_dealRcvFrame or intf_setData has returned: it is stored after the "
     "report",
     CallBack},

    {DriverMissing, "driver-missing", Error,
     "name the driver in MODBUS_RTU_DRIVER, or put libmodbus_rtu_master.so.1 beside the checker", OwnPage},
};

static_assert(sizeof findingRows / sizeof findingRows[0] == FindingCount, "one row for each finding");

} // namespace

const FindingRow &findingRow(FindingId id)
{
    return findingRows[id];
}

const char *severityName(ModbusRtuCheckSeverity severity)
{
    return severity == Error ? "error" : severity == Warning ? "warning" : "hint";
}

} // namespace checker
