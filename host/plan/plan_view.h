/**
 * @file
 * The cyclic plan that the driver makes of the tags, and what it costs.
 */
#ifndef RTU_HOST_PLAN_VIEW_H
#define RTU_HOST_PLAN_VIEW_H

#include "host/tags/driver_property.h"
#include "kit/line/line_timing.h"
#include "host/tags/tag.h"

#include "kit/driver/driver_library.h"
#include "kit/tags/watched_tags.h"

#include <string>
#include <vector>

namespace rtu {

/** The part of a tag that lies in a block, in the block's own elements. */
struct PlannedTag
{
    std::size_t tag;
    int first;
    int count;
};

/** One request of the plan. */
struct PlanBlock
{
    int station = 0;
    std::string type; ///< of the request: the bits of registers are read as registers
    int start = 0;
    int count = 0; ///< bits or registers
    int requestBytes = 0;
    int replyBytes = 0;
    int unused = 0; ///< elements that no tag wants
    std::vector<PlannedTag> tags;
    std::vector<bool> used; ///< for each element

    bool ofBits() const { return type == "0x" || type == "1x"; }
    /** "4x1..20", counted from 1. */
    std::string rangeText() const;
};

struct PlanCosts
{
    LineTiming timing;
    LineParameters line;
    Duration replyTimeout;
    int attempts = 3;
};

class PlanView
{
public:
    /**
     * Asks the driver for one round of the plan that a link has it make of the tags,
     * frame by frame. Configures the driver anew before and after.
     *
     * @throws Error for a tag that a link refuses
     */
    PlanView(DriverLibrary &driver, const RegisterCatalog &catalog, const DriverProperty &property,
             const std::vector<TagRange> &tags, const PlanCosts &costs);

    const std::vector<PlanBlock> &blocks() const { return m_blocks; }
    const std::vector<TagRange> &tags() const { return m_tags; }
    const PlanCosts &costs() const { return m_costs; }

    /** Request, reply and the silence before each. */
    Duration lineTime(const PlanBlock &block) const;
    Duration roundTime() const;
    /** What it costs, once, to find out that nobody answers. */
    Duration deadTime(int station) const;
    std::vector<int> stations() const;
    std::vector<std::string> warnings() const;

private:
    void readPlan(DriverLibrary &driver, int frames);
    void placeTags(const WatchedTags &watched);
    void place(PlanBlock &block, const std::string &type, const Area &area, std::size_t tag) const;
    void warnOfDoubleReading(std::vector<std::string> &warnings) const;

    std::vector<TagRange> m_tags;
    PlanCosts m_costs;
    std::vector<PlanBlock> m_blocks;
};

/** The tags of a block by name, the first few. */
std::string tagNames(const PlanView &plan, const PlanBlock &block);

/** "1 request", "3 requests" */
std::string requestsText(const PlanView &plan);

/** The plan as a table with costs and warnings. */
std::string planText(const PlanView &plan);

/** The same as one JSON object. */
std::string planJson(const PlanView &plan);

/** The plan as address strips. */
std::string planPicture(const PlanView &plan);

} // namespace rtu

#endif
