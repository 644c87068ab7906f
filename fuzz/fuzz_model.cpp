// Call sequences on the driver and on the plain second driver of the tests,
// compared after every call. The sequence is mutated, guided by what of the
// driver it reaches; the arguments of a call follow from its seed.

#include "fuzz_host.h"

#include "model/duel.h"

#include <cstdio>
#include <cstring>

namespace {

enum { RecordBytes = 4 };

model::Call callOf(const std::uint8_t *record)
{
    model::Call call;
    call.kind = static_cast<model::CallKind>(record[0] % 128 % model::CallKinds);
    call.spread = record[0] < 128 ? model::Narrow : model::Wide;
    call.seed = static_cast<std::uint32_t>(record[1] | record[2] << 8 | record[3] << 16);
    return call;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    model::Duel duel;
    for (std::size_t at = 0; at + RecordBytes <= size; at += RecordBytes) {
        const std::string difference = duel.run(callOf(bytes + at));
        if (!difference.empty())
            fuzz::fail(difference.c_str());
    }
    return 0;
}
