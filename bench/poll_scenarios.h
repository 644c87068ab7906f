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

    /** Registers or coils that one step carries. */
    virtual int elements() const = 0;

    /** Bytes that one step has on the line, request and reply. */
    virtual int lineBytes() const = 0;
};

/** Names that makeScenario() knows. */
std::vector<std::string> scenarioNames();

/** The scenario of this name, or null. One driver scenario may live at a time: there is one driver. */
std::unique_ptr<Scenario> makeScenario(const std::string &name);

#endif
