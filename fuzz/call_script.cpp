#include "call_script.h"

#include <cstring>

namespace fuzz {

static_assert(sizeof(CallRecord) == RecordBytes, "a record is as long as its members");

CallScript::CallScript(const std::uint8_t *bytes, std::size_t size) : data(bytes), records(size / RecordBytes), next(0)
{
}

bool CallScript::nextIsForCallBack() const
{
    return !atEnd() && data[next * RecordBytes] >= 128;
}

CallRecord CallScript::take()
{
    CallRecord record;
    std::memcpy(&record, data + next * RecordBytes, sizeof record);
    ++next;
    return record;
}

} // namespace fuzz
