/**
 * @file
 * A link whose writes have their ends noted.
 */
#ifndef TESTS_KIT_LINK_WRITE_TEST_H
#define TESTS_KIT_LINK_WRITE_TEST_H

#include "kit/link_test.h"

#include <utility>
#include <vector>

namespace test_kit {

using rtu::WriteEnd;
using rtu::WriteOptions;
using rtu::WriteResult;

class LinkWriteTest : public LinkTest
{
protected:
    LinkWriteTest()
    {
        plant.define(1, Table::HoldingRegisters, 0, 400);
        plant.define(1, Table::Coils, 0, 2000);
    }

    /** Options whose end is noted under a number. */
    WriteOptions noted(int number)
    {
        WriteOptions options;
        options.done = [this, number](const WriteResult &result) { ends.push_back({number, result}); };
        return options;
    }

    /** Of eleven writes ten are sent, then a read has its turn before the eleventh. */
    void leaveOneWithTheDriver()
    {
        link().addTag(TagDefinition(1, "4x100"));
        for (int i = 1; i <= 11; ++i)
            link().write(TagDefinition(1, QString::fromLatin1("4x%1").arg(i)), {1}, noted(i));
        steps(11);
        ASSERT_EQ(10u, ends.size());
    }

    /** The one end of the only write. */
    WriteResult theEnd()
    {
        EXPECT_EQ(1u, ends.size());
        return ends.empty() ? WriteResult() : ends.front().second;
    }

    std::uint16_t held(int address) { return plant.peek(1, Table::HoldingRegisters, address); }

    std::vector<std::pair<int, WriteResult>> ends;
};

} // namespace test_kit

#endif
