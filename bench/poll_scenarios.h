/**
 * @file
 * The situations that are measured, ready to be stepped: each step is one
 * transaction, intf_getSendFrame() and intf_dealRcvFrame() with a prepared reply,
 * or the same read done by a peer on the same bytes.
 */
#ifndef POLL_SCENARIOS_H
#define POLL_SCENARIOS_H

#include <memory>
#include <string>
#include <vector>

class Scenario
{
public:
    virtual ~Scenario() = default;

    /** One transaction. False when it did not end as it should: the measurement is then void. */
    virtual bool step() = 0;

    /** Steps until every request of the plan has been polled once. */
    virtual int stepsARound() const { return 1; }

    /** Registers or coils that a round carries. */
    virtual int elements() const = 0;

    /** Bytes that a round has on the line, requests and replies. */
    virtual int lineBytes() const = 0;
};

/** Names that makeScenario() knows. */
std::vector<std::string> scenarioNames();

/** The scenario of this name, or null. One driver scenario may live at a time: there is one driver. */
std::unique_ptr<Scenario> makeScenario(const std::string &name);

#endif
