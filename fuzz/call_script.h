/**
 * @file
 * A sequence of calls as bytes: records of one fixed size, one for each call.
 * Whatever the bytes are, they are a valid sequence, and cutting, repeating or
 * swapping records gives another one.
 */
#ifndef CALL_SCRIPT_H
#define CALL_SCRIPT_H

#include <cstddef>
#include <cstdint>

namespace fuzz {

enum CallKind {
    CallInitProperty,
    CallSetCallBack,
    CallAddKey, ///< to the host's own list, for CallMerge
    CallMerge,
    CallAddRow, ///< to the host's own table, for CallRegister
    CallRegister,
    CallConditionRead,
    CallWrite,
    CallRead,
    CallNextFrame,
    CallReply,
    CallRequestBlock,
    CallEdit,
    CallNulls,
    CallPoll, ///< rounds of a poll loop: frames, each with a good reply
    CallKinds
};

/** One call; the members are raw, and CallPlayer makes arguments of them. */
struct CallRecord
{
    std::uint8_t kind; ///< CallKind; from 128 on it is played inside the next callback
    std::uint8_t station;
    std::uint8_t type;
    std::uint8_t scale; ///< how large address (bits 0-1) and count (bits 2-3) are
    std::uint32_t address;
    std::uint32_t count;
    std::uint32_t extra; ///< seed of payloads, kind of reply and the like
};

enum { RecordBytes = 16 };

/** The records of an input; a rest shorter than a record is left out. */
class CallScript
{
public:
    CallScript(const std::uint8_t *bytes, std::size_t size);

    bool atEnd() const { return next == records; }
    /** Whether the next record is meant for a callback. */
    bool nextIsForCallBack() const;
    CallRecord take();

private:
    const std::uint8_t *const data;
    const std::size_t records;
    std::size_t next;
};

} // namespace fuzz

#endif
