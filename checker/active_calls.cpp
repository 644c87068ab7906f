#include "checker/active_calls.h"

namespace checker {

ActiveCalls::List::iterator ActiveCalls::enter(EntryPoint call)
{
    const TimePoint time = now();
    const ActiveCall entered = {call, std::this_thread::get_id(), time, 0, time, Report(), false, false};
    return calls.insert(calls.end(), entered);
}

ActiveCall *ActiveCalls::innermost()
{
    for (List::reverse_iterator call = calls.rbegin(); call != calls.rend(); ++call) {
        if (call->thread == std::this_thread::get_id())
            return &*call;
    }
    return nullptr;
}

ActiveCall *ActiveCalls::callBackHere()
{
    for (List::reverse_iterator call = calls.rbegin(); call != calls.rend(); ++call) {
        if (call->thread == std::this_thread::get_id() && call->callBacks > 0)
            return &*call;
    }
    return nullptr;
}

const ActiveCall *ActiveCalls::pollCallElsewhere() const
{
    for (List::const_iterator call = calls.begin(); call != calls.end(); ++call) {
        if (isPollCall(call->call) && call->thread != std::this_thread::get_id())
            return &*call;
    }
    return nullptr;
}

} // namespace checker
