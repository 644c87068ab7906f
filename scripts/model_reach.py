#!/usr/bin/python3
"""Prints the branches that the first gcovr JSON report has taken and the second has not."""

import json
import sys

from coverage_gaps import merged_lines, source_line


def lines_of(report):
    with open(report, encoding="utf-8") as text:
        files = json.load(text)["files"]
    return {entry["file"]: merged_lines(entry) for entry in files if not entry["file"].startswith("tests/")}


def main():
    tests, model = (lines_of(report) for report in sys.argv[1:3])
    taken = missed = 0
    for name in sorted(tests):
        for number, (_, branches) in sorted(tests[name].items()):
            _, reached = model.get(name, {}).get(number, (0, []))
            reached = reached or [0] * len(branches)
            only_here = sum(1 for here, there in zip(branches, reached) if here and not there)
            taken += sum(1 for here in branches if here)
            missed += only_here
            if only_here:
                print("%s:%d: %d of %d: %s" % (name, number, only_here, len(branches), source_line(name, number)))
    print("the tests take %d branches, the model's calls %d of them" % (taken, taken - missed))


if __name__ == "__main__":
    main()
