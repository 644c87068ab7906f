// The list of findings in the documents against the table in the program, and
// the headings of the guide against both.

#include "checker/finding_table.h"
#include "support/file_content.h"

#include <gtest/gtest.h>

#include <cctype>
#include <regex>
#include <set>
#include <string>

namespace {

std::string document(const std::string &name)
{
    return support::fileContent(DOCUMENTS_FOLDER "/" + name);
}

/** "name severity" of each row of the list. */
std::multiset<std::string> listed()
{
    const std::string text = document("contract-checker.md");
    const std::regex row(R"(\n\| `([a-z0-9-]+)` \| (error|warning|hint) \|)");
    std::multiset<std::string> rows;
    for (std::sregex_iterator match(text.begin(), text.end(), row), end; match != end; ++match)
        rows.insert((*match)[1].str() + " " + (*match)[2].str());
    return rows;
}

std::multiset<std::string> known()
{
    std::multiset<std::string> rows;
    for (int id = 0; id < checker::FindingCount; ++id) {
        const checker::FindingRow &row = checker::findingRow(static_cast<checker::FindingId>(id));
        rows.insert(std::string(row.name) + " " + checker::severityName(row.severity));
    }
    return rows;
}

/** A heading as a link names it: lower case, blanks as hyphens, other signs left out. */
std::string anchorOf(const std::string &heading)
{
    std::string anchor;
    for (char c : heading) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '-')
            anchor += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        else if (c == ' ')
            anchor += '-';
    }
    return anchor;
}

bool hasHeading(const std::string &page, const std::string &anchor)
{
    const std::string text = document(page);
    const std::regex heading(R"(\n#+ ([^\n]*))");
    for (std::sregex_iterator match(text.begin(), text.end(), heading), end; match != end; ++match) {
        if (anchorOf((*match)[1].str()) == anchor)
            return true;
    }
    return false;
}

TEST(FindingList, NamesEveryFindingOnce)
{
    EXPECT_EQ(listed(), known());
}

TEST(FindingList, SectionsAreThereAndNameTheirFindings)
{
    for (int id = 0; id < checker::FindingCount; ++id) {
        const checker::FindingRow &row = checker::findingRow(static_cast<checker::FindingId>(id));
        const std::string section = row.section;
        const std::string page = section.substr(0, section.find('#'));
        const std::string text = document(page);
        EXPECT_NE(text.find("`" + std::string(row.name) + "`"), std::string::npos) << row.name << " in " << page;
        const bool there = page == section || hasHeading(page, section.substr(page.size() + 1));
        EXPECT_TRUE(there) << section;
    }
}

} // namespace
