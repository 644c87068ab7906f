/**
 * @file
 * What one call has been found to do wrong, before anybody is told.
 *
 * Findings are collected under the checker's lock and told after it, since
 * telling may run a function of the host.
 */
#ifndef CHECKER_FINDINGS_H
#define CHECKER_FINDINGS_H

#include "checker/entry_point.h"
#include "checker/finding_table.h"

#include <string>
#include <vector>

namespace checker {

struct Finding
{
    FindingId id;
    EntryPoint call;
    std::string argument; ///< of the call, with its index where it is one of many; may be empty
    std::string wrong;    ///< what is wrong with it, with the numbers
};

class Findings
{
public:
    void report(FindingId id, EntryPoint call, const std::string &argument, const std::string &wrong)
    {
        const Finding finding = {id, call, argument, wrong};
        list.push_back(finding);
    }

    const std::vector<Finding> &all() const { return list; }

private:
    std::vector<Finding> list;
};

} // namespace checker

#endif
