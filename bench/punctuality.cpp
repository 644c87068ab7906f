#include "punctuality.h"

#include <sched.h>
#include <sys/prctl.h>

#include <cstring>

namespace rtu {

void askForPunctuality()
{
    ::prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
    sched_param priority;
    std::memset(&priority, 0, sizeof(priority));
    priority.sched_priority = 1;
    (void)::sched_setscheduler(0, SCHED_FIFO | SCHED_RESET_ON_FORK, &priority);
}

} // namespace rtu
