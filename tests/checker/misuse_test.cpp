// What each misuse brings to light, and nothing else.

#include "checker/misuse.h"

#include "checker/finding_table.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>

namespace checked {

void PrintTo(const Misuse &misuse, std::ostream *out)
{
    *out << misuse.what;
}

} // namespace checked

namespace {

using checked::Misuse;

std::vector<Misuse> allMisuses()
{
    std::vector<Misuse> all;
    for (const std::vector<Misuse> &some : {checked::settingMisuses(), checked::argumentMisuses(),
                                            checked::recipeMisuses(), checked::orderMisuses(), checked::replyMisuses()})
        all.insert(all.end(), some.begin(), some.end());
    return all;
}

class EachMisuse : public ::testing::TestWithParam<Misuse>
{
};

TEST_P(EachMisuse, IsFoundAndNothingElse)
{
    checked::CheckedHost host;
    EXPECT_EQ(checked::takeNames(), "") << "setting up";
    GetParam().run(host);
    EXPECT_EQ(checked::takeNames(), GetParam().findings);
}

INSTANTIATE_TEST_SUITE_P(Misuses, EachMisuse, ::testing::ValuesIn(allMisuses()),
                         [](const ::testing::TestParamInfo<Misuse> &misuse) { return std::string(misuse.param.what); });

// Found by tests of their own, since they need a second thread, a buffer or another library.
const char *const foundElsewhere[] = {"buffer-too-small", "callback-stalls", "driver-missing", "host-mutex-held",
                                      "unload-with-thread-inside"};

TEST(Misuses, ReachEveryFinding)
{
    std::set<std::string> reached(std::begin(foundElsewhere), std::end(foundElsewhere));
    for (const Misuse &misuse : allMisuses()) {
        std::istringstream names(misuse.findings);
        for (std::string name; names >> name;)
            reached.insert(name);
    }
    for (int id = 0; id < checker::FindingCount; ++id)
        EXPECT_EQ(reached.count(checker::findingRow(static_cast<checker::FindingId>(id)).name), 1u)
            << checker::findingRow(static_cast<checker::FindingId>(id)).name;
    EXPECT_EQ(static_cast<int>(reached.size()), checker::FindingCount);
}

TEST(FindingTable, IsInTheOrderOfItsNumbers)
{
    for (int id = 0; id < checker::FindingCount; ++id)
        EXPECT_EQ(checker::findingRow(static_cast<checker::FindingId>(id)).id, id);
}

} // namespace
