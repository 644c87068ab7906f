/**
 * @file
 * The four tables by the register types of the driver.
 */
#ifndef TESTS_SUPPORT_TABLE_NAMES_H
#define TESTS_SUPPORT_TABLE_NAMES_H

#include "plant/plant.h"

#include <stdexcept>
#include <string>

struct TableName
{
    const char *name;
    plant::Table table;
};

const TableName TableNames[] = {
    {"0x", plant::Table::Coils},
    {"1x", plant::Table::DiscreteInputs},
    {"3x", plant::Table::InputRegisters},
    {"4x", plant::Table::HoldingRegisters},
};

inline plant::Table tableNamed(const std::string &name)
{
    for (const TableName &entry : TableNames) {
        if (name == entry.name)
            return entry.table;
    }
    throw std::invalid_argument("no table " + name);
}

#endif
