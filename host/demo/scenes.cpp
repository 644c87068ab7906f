#include "host/demo/scenes.h"

namespace demo {

namespace {

using namespace std::chrono_literals;

const rtu::Duration DyingTime = 700ms;

/** How often the values are shown while they move: a moving picture, or a few tables to read. */
struct Pace
{
    int pictures;
    rtu::Duration between;
};

const Pace Redrawn = {16, 50ms};
const Pace InLines = {4, 700ms};

struct Write
{
    const char *tag;
    const char *value;
    const char *kind;
};

/** The last one goes into the control word, whose other bits have to stay. */
const Write Writes[] = {
    {"pump", "1", "a coil"},
    {"set point", "750", "a register"},
    {"pieces ordered", "305419896", "a 32-bit value"},
    {"light", "1", "a bit of a register"},
};

void showWrite(Stage &stage, const Write &write)
{
    const std::size_t index = stage.find(write.tag);
    const rtu::TagRange &tag = stage.tags[index];
    const std::uint32_t before = stage.held(tag);
    const std::uint32_t ordered = rtu::parseValue(write.value, tag.format);
    const rtu::Write asked = stage.link->write(stage.handle(index), static_cast<double>(ordered));
    stage.await(asked);
    stage.pollOnce();
    const std::uint32_t after = stage.held(tag);
    const bool acknowledged = asked.result().end == rtu::WriteEnd::Acknowledged;
    const bool good = stage.tally.count(acknowledged && after == ordered && stage.polled(index) == ordered);
    stage.slaves.holdMotion(false);
    stage.screen.say(std::string("write ") + write.kind + ", " + tag.name + " (" + std::to_string(tag.station) + ":"
                     + tag.label() + "): " + cell(before, tag) + " -> " + cell(ordered, tag) + ", slave now holds "
                     + cell(after, tag) + (good ? "" : "  DIFFERENT"));
}

} // namespace

void showPolling(Stage &stage)
{
    stage.screen.scene("Polling two slaves at " + std::to_string(stage.slaves.line().baud)
                       + " baud; their values move");
    const Pace pace = stage.screen.redraws() ? Redrawn : InLines;
    for (int picture = 0; picture < pace.pictures; ++picture) {
        stage.pollFor(pace.between);
        stage.showAll();
    }
    stage.screen.say(std::to_string(stage.frames) + " frames so far, " + std::to_string(stage.changes)
                     + " changes reported");
}

void showWrites(Stage &stage)
{
    stage.screen.scene("Writing a coil, a register, a 32-bit value and a bit of a register");
    const rtu::TagRange &word = stage.tags[stage.find("control word")];
    const rtu::TagRange &bit = stage.tags[stage.find("light")];
    const std::uint32_t mask = 1u << (bit.address % 16);
    const std::uint32_t before = stage.held(word);
    for (const Write &write : Writes)
        showWrite(stage, write);
    const std::uint32_t after = stage.held(word);
    const bool kept = stage.tally.count((before & ~mask) == (after & ~mask));
    stage.screen.say("control word before and after the bit: " + cell(before, word) + ", " + cell(after, word)
                     + (kept ? ", its other bits are as they were" : ", OTHER BITS CHANGED"));
    stage.showAll();
    stage.pollFor(ReadingTime);
}

void showDeadSlave(Stage &stage)
{
    stage.screen.scene("Station 2 dies and comes back");
    stage.screen.say("station 2 is switched off");
    stage.slaves.setStationOn(2, false);
    const int before = stage.givenUp;
    stage.pollFor(DyingTime);
    stage.showAll();
    stage.screen.say("station 2 does not answer: " + std::to_string(stage.givenUp - before)
                     + " requests given up, the last one with \"" + stage.lastError + "\"");
    stage.tally.count(stage.givenUp > before);
    stage.slaves.setStationOn(2, true);
    stage.screen.say("station 2 is switched on again");
    stage.awaitStation(2);
    stage.showAll();
    const int since = stage.givenUp;
    stage.pollOnce();
    stage.slaves.holdMotion(false);
    stage.tally.count(stage.givenUp == since);
    stage.screen.say("station 2 answers, its values are fresh");
    stage.pollFor(ReadingTime);
}

} // namespace demo
