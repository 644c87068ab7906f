/**
 * @file
 * One simulated slave: its tables and its protocol answers.
 */
#ifndef RTU_PLANT_STATION_H
#define RTU_PLANT_STATION_H

#include "plant/frame_bytes.h"
#include "plant/motion.h"
#include "plant/plant.h"

#include <map>

#include <modbus.h>

namespace plant {

enum { TableCount = 4, TableSize = 65536 };

/** The four tables of a slave in the form that libmodbus answers from, with holes and moving values. */
class Tables
{
public:
    Tables();
    ~Tables();
    Tables(const Tables &) = delete;
    Tables &operator=(const Tables &) = delete;

    /** Also ends what moves there. */
    void define(Table table, int first, int count, bool exists);
    /** True when all addresses exist. */
    bool covers(Table table, int first, int count) const;

    std::uint16_t value(Table table, int address) const;
    void setValue(Table table, int address, std::uint16_t value);

    void setMotion(Table table, int address, const Motion &motion, int registers);
    /** Brings the moving values to where they are after so much time. */
    void moveTo(std::chrono::nanoseconds elapsed);

    modbus_mapping_t *mapping() { return m_mapping; }

private:
    struct Mover
    {
        Motion motion;
        int registers;
    };

    void stopMotions(Table table, int first, int end);

    modbus_mapping_t *m_mapping;
    std::vector<bool> m_exists[TableCount];
    std::map<int, Mover> m_movers[TableCount];
};

class Station
{
public:
    explicit Station(int number);
    ~Station();
    Station(const Station &) = delete;
    Station &operator=(const Station &) = delete;

    /** Does what the request asks for; result: the answer, empty to a broadcast. */
    Bytes answer(const Bytes &request);
    /** The exception answer to a request, without doing anything. */
    Bytes exceptionAnswer(const Bytes &request, unsigned code);

    Tables tables;
    Counters counters;
    std::chrono::nanoseconds turnaround{0};
    bool on = true;

private:
    bool touchesHole(const Bytes &request) const;
    Bytes takeAnswer();

    modbus_t *m_protocol;
    int m_ends[2]; ///< libmodbus writes answers to the first, we read them from the second
};

} // namespace plant

#endif
