/**
 * @file
 * What the parts of a link work with.
 */
#ifndef KIT_LINK_LINK_PARTS_H
#define KIT_LINK_LINK_PARTS_H

#include "kit/driver/driver_library.h"
#include "kit/link/events.h"
#include "kit/link/job.h"
#include "kit/tags/watched_tags.h"

#include <modbus_rtu_host/link_settings.h>

namespace rtu {

struct LinkParts
{
    const LinkSettings &settings;
    DriverLibrary &driver;
    Line &line;
    WatchedTags &tags;
    Events &events;
};

/** Fixes the end of a job and has its caller told. */
template <typename JobType, typename Result>
void endJob(LinkParts &parts, const std::shared_ptr<JobType> &job, const Result &result)
{
    job->end(result);
    if (!job->done)
        return;
    parts.events.add([job] {
        decltype(job->done) done; // what the caller bound lives no longer than the call
        done.swap(job->done);
        done(job->outcome());
    });
}

} // namespace rtu

#endif
