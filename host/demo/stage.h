/**
 * @file
 * What the demo plays on: two simulated slaves, and a link that loads the driver
 * and polls them.
 */
#ifndef RTU_DEMO_STAGE_H
#define RTU_DEMO_STAGE_H

#include "plant/plant.h"
#include "host/demo/screen.h"
#include "host/tags/tag.h"

#include "kit/line/port_line.h"

#include <modbus_rtu_host/link.h>

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
    /** Polls every value once, the slaves' values standing still. */
    void pollOnce();
    /** Polls until the station answers again. */
    void awaitStation(int station);
    /** Polls until a write or transfer has ended. */
    template <typename Asked>
    void await(const Asked &asked)
    {
        while (!asked.ended())
            step();
    }

    /** Polls once and shows all tags, as the link has them and as the slaves hold them. */
    void showAll();
    /** The position of a tag in tags. */
    std::size_t find(const std::string &name) const;
    /** What the link has of it. */
    std::uint32_t polled(std::size_t tag) const { return m_handles[tag].value().raw().front(); }
    const rtu::Tag &handle(std::size_t tag) const { return m_handles[tag]; }
    /** The value that a slave holds in a tag's place. */
    std::uint32_t held(const rtu::TagRange &tag, int value = 0) const;

    /** From any thread: ends the demo. */
    void end() { link->stop(); }

    Screen &screen;
    plant::Plant slaves;
    rtu::DriverLibrary driver; ///< judges addresses; the link has its own
    rtu::RegisterCatalog catalog;
    std::vector<rtu::TagRange> tags;
    rtu::PortLine *line = nullptr; ///< the link's
    std::unique_ptr<rtu::Link> link;
    Tally tally;
    int frames = 0;
    int givenUp = 0;
    int changes = 0;       ///< reported by the link
    std::string lastError; ///< text of the last request that the driver gave up

private:
    void step();
    bool allSlavesOn() const;
    void pollRound();
    /** Compares a tag and counts it; result: name, place, polled, held, verdict. */
    Row compare(std::size_t tag);

    std::vector<rtu::Tag> m_handles;
    int m_rounds = 0; ///< of the plan, ended
};

/** The text of a table cell for a value. */
std::string cell(std::uint32_t raw, const rtu::TagRange &tag);

} // namespace demo

#endif
