/**
 * @file
 * Slaves for the end-to-end tests: two independent implementations behind one
 * face. Both have stations 1 and 2 with all addresses of all four tables.
 */
#ifndef END_TO_END_SLAVES_H
#define END_TO_END_SLAVES_H

#include <modbus_rtu_host/line.h>

#include <memory>
#include <string>

/** Names of the tables are the register types "0x", "1x", "3x" and "4x"; addresses count from 0. */
class Slaves
{
public:
    virtual ~Slaves() = default;
    virtual rtu::Line &line() = 0;
    virtual int peek(int station, const std::string &table, int address) = 0;
    virtual void poke(int station, const std::string &table, int address, int value) = 0;
};

enum class SlaveKind { Libmodbus, Pymodbus };

std::unique_ptr<Slaves> startSlaves(SlaveKind kind);
const char *slaveName(SlaveKind kind);

#endif
