/**
 * @file
 * The fixture of tests that poll scripted slaves.
 */
#ifndef TESTS_SUPPORT_SLAVE_FIXTURE_H
#define TESTS_SUPPORT_SLAVE_FIXTURE_H

#include "support/driver_fixture.h"
#include "support/scripted_slave.h"

#include <string>

namespace support {

/** A driver that polls scripted slaves. */
class SlaveFixture : public DriverFixture
{
protected:
    ~SlaveFixture() override;

    enum { NothingToSend = -1 };

    /** One request and its reply: the verdict, or NothingToSend. */
    int step();

    /**
     * Runs @p steps steps and names what was sent: W write, C condition read,
     * P cyclic read, S block write, L block read, - nothing; a lower-case letter
     * where the driver did not accept the reply.
     */
    std::string trace(int steps);

    /** Raises a block request and polls until it is cleared; number of steps, 0 when it never was. */
    int transfer(int requestByte);

    ScriptedSlave slaves;
};

} // namespace support

#endif
