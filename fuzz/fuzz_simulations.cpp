// Simulation files of any content: refused with a place and a reason, or a plant
// whose values can be looked at and whose slaves answer.

#include "plant/plant.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void require(bool holds, const char *reason)
{
    if (holds)
        return;
    std::fprintf(stderr, "FINDING: %s\n", reason);
    std::abort();
}

/** At few places: each look moves all that moves, and tens of thousands of values may. */
void lookAt(const plant::Plant &plant, int station)
{
    const plant::Table tables[] = {plant::Table::Coils, plant::Table::DiscreteInputs, plant::Table::HoldingRegisters,
                                   plant::Table::InputRegisters};
    for (const plant::Table table : tables) {
        for (const int address : {0, 1, 15, 16, 129, 65535})
            plant.peek(station, table, address);
        plant.peekDouble(station, table, 65534);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    plant::Plant plant;
    std::string error;
    const std::string text(reinterpret_cast<const char *>(bytes), size);
    const bool read = plant.loadText(text, "input", &error);
    require(read == error.empty(), "a result and its error text disagree");
    require(read || error.compare(0, 6, "input:") == 0, "an error without its place");
    for (const int station : plant.stations()) {
        require(station >= 1 && station <= 247, "a station out of range");
        lookAt(plant, station);
        const std::uint8_t number = static_cast<std::uint8_t>(station);
        for (std::uint8_t function = 1; function <= 4; ++function)
            plant.answer({number, function, 0, 0, 0, 20, 0, 0});
    }
    return 0;
}
