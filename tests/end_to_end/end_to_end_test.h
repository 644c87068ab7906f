/**
 * @file
 * Fixture: a panel on a line with slaves of one kind.
 */
#ifndef END_TO_END_TEST_H
#define END_TO_END_TEST_H

#include "panel.h"
#include "slaves.h"

#include <gtest/gtest.h>

#include <ostream>

inline void PrintTo(SlaveKind kind, std::ostream *out)
{
    *out << slaveName(kind);
}

class EndToEnd : public ::testing::TestWithParam<SlaveKind>
{
protected:
    void SetUp() override { slaves = startSlaves(GetParam()); }

    void connect(const Panel::Settings &settings = Panel::Settings())
    {
        panel.reset(); // there is one driver, and a panel that goes leaves it empty
        panel = std::make_unique<Panel>(slaves->line(), settings);
    }

    /** Gives consecutive addresses of a table these values. */
    void fill(int station, const std::string &table, int address, const std::vector<int> &values)
    {
        for (std::size_t i = 0; i < values.size(); ++i)
            slaves->poke(station, table, address + static_cast<int>(i), values[i]);
    }

    std::vector<int> held(int station, const std::string &table, int address, int count)
    {
        std::vector<int> values;
        for (int i = 0; i < count; ++i)
            values.push_back(slaves->peek(station, table, address + i));
        return values;
    }

    /** Function codes of the frames sent since the last call, the cyclic plan's left out. */
    std::vector<int> functionsSent()
    {
        std::vector<int> functions;
        for (const rtu::Transaction &transaction : panel->transactions) {
            if (transaction.tag != rtu::CyclicTag)
                functions.push_back(functionOf(transaction));
        }
        panel->transactions.clear();
        return functions;
    }

    std::unique_ptr<Slaves> slaves;
    std::unique_ptr<Panel> panel;
};

inline std::string kindOf(const ::testing::TestParamInfo<SlaveKind> &info)
{
    return slaveName(info.param);
}

#define ON_BOTH_SLAVES(suite)                                                                                          \
    INSTANTIATE_TEST_SUITE_P(On, suite, ::testing::Values(SlaveKind::Libmodbus, SlaveKind::Pymodbus), kindOf)

#endif
