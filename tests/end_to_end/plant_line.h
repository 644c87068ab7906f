/**
 * @file
 * The panel's end of a simulated line, on a clock that need not wait.
 *
 * Bytes travel through the real pseudo-terminal, but the time-outs of the poll
 * loop pass at once: the plant tells how many bytes it has heard and sent, so it
 * is known for certain that nothing more will come. A slow machine can therefore
 * make a test slow, not wrong.
 */
#ifndef END_TO_END_PLANT_LINE_H
#define END_TO_END_PLANT_LINE_H

#include "plant/plant.h"
#include "kit/line/serial_line.h"

class PlantLine : public rtu::Line
{
public:
    /** For a plant that was just started and is not paced. */
    explicit PlantLine(plant::Plant &plant);
    ~PlantLine() override;

    rtu::TimePoint now() override;
    void sleepUntil(rtu::TimePoint when) override;
    bool ensureOpen() override { return m_serial.ensureOpen(); }
    bool write(const unsigned char *bytes, std::size_t size) override;
    /** A reply that the plant holds back for later comes right after the deadline. */
    int read(unsigned char *out, std::size_t room, rtu::TimePoint deadline) override;
    std::size_t discardInput() override;
    void interrupt() override { m_serial.interrupt(); }
    void clearInterrupt() override { m_serial.clearInterrupt(); }

private:
    void awaitSlaves();
    int takeArrived(unsigned char *out, std::size_t room);

    plant::Plant &m_plant;
    rtu::SerialLine m_serial;
    int m_probe; ///< a second descriptor of the device, to see how much has arrived
    rtu::Duration m_skipped{0};
    unsigned long m_written = 0;
    unsigned long m_taken = 0;
};

#endif
