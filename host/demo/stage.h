/**
 * @file
 * What the demo plays on: two simulated slaves, the driver loaded as a panel
 * loads it, and the poll loop between them.
 */
#ifndef RTU_DEMO_STAGE_H
#define RTU_DEMO_STAGE_H

#include "driver_session.h"
#include "plant/plant.h"
#include "poll_loop.h"
#include "screen.h"
#include "kit/line/serial_line.h"
#include "tag.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace demo {

/** Thrown through a scene when the user ends the demo. */
struct Ended : std::runtime_error
{
    Ended() : std::runtime_error("ended") {}
};

/** How many values were compared, and how many were the same on both sides. */
struct Tally
{
    int compared = 0;
    int agreed = 0;

    bool count(bool same);
};

class Stage
{
public:
    /** @param folder has plant.sim and tags.csv */
    Stage(const std::string &folder, Screen &screen);

    /** Polls for so long while the slaves' values move. */
    void pollFor(rtu::Duration time);
    /** Polls every value once, the slaves' values standing still, and what is queued first. */
    void pollOnce();
    /** Sends frames until a block transfer has ended. */
    void finishBlockTransfer();
    /** Configures the driver and plans the polling anew; everything cached is forgotten. */
    void configure(const rtu::DriverProperty &property);

    /** Polls once and shows all tags, as the driver's cache has them and as the slaves hold them. */
    void showAll();
    /** Compares one tag and counts it; result: name, place, cached, held, verdict. */
    Row compare(const rtu::TagRange &tag);

    const rtu::TagRange &tag(const std::string &name) const;
    /** The value that a slave holds in a tag's place. */
    std::uint32_t held(const rtu::TagRange &tag, int value = 0) const;

    /** From any thread: ends the demo. */
    void end() { loop->stop(); }

    Screen &screen;
    plant::Plant slaves;
    rtu::DriverLibrary driver;
    rtu::RegisterCatalog catalog;
    rtu::DriverSession session;
    std::vector<rtu::TagRange> tags;
    std::unique_ptr<rtu::SerialLine> line;
    std::unique_ptr<rtu::PollLoop> loop;
    Tally tally;
    int frames = 0;
    int givenUp = 0;
    int changes = 0;       ///< reported by the driver
    std::string lastError; ///< text of the last request that the driver gave up

private:
    const rtu::Transaction &step();
    bool cyclicReadDone() const;
    bool allSlavesOn() const;
    void pollRound();

    int m_round = 0; ///< frames in a round of the plan
    rtu::Transaction m_last;
};

/** The text of a table cell for a value. */
std::string cell(std::uint32_t raw, const rtu::TagRange &tag);

} // namespace demo

#endif
