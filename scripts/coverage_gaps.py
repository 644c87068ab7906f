#!/usr/bin/python3
"""Prints the coverage of a gcovr JSON report by file, and every line and branch
that no test reaches. Fails below 100 % of the lines or 95 % of the branches."""

import json
import sys

LINES_WANTED = 100.0
BRANCHES_WANTED = 95.0


def percent(reached, total):
    return 100.0 if total == 0 else 100.0 * reached / total


def merged_lines(entry):
    """Line number -> (hits, branches); a header's line occurs once for each object file."""
    lines = {}
    for line in entry["lines"]:
        if line.get("gcovr/noncode"):
            continue
        number = line["line_number"]
        branches = [b["count"] for b in line.get("branches", [])]
        hits, known = lines.get(number, (0, []))
        if len(known) == len(branches):
            branches = [a + b for a, b in zip(known, branches)]
        elif not branches:
            branches = known
        lines[number] = (hits + line["count"], branches)
    return lines


def source_line(name, number):
    with open(name, encoding="utf-8") as source:
        return source.readlines()[number - 1].strip()


def main():
    with open(sys.argv[1], encoding="utf-8") as report:
        files = json.load(report)["files"]
    sums = [0, 0, 0, 0]
    gaps = []
    print(f"{'file':40} {'lines':>16} {'branches':>16}")
    for entry in sorted(files, key=lambda e: e["file"]):
        name = entry["file"]
        lines = merged_lines(entry)
        reached = sum(1 for hits, _ in lines.values() if hits > 0)
        branches = [count for _, counts in lines.values() for count in counts]
        taken = sum(1 for count in branches if count > 0)
        for i, value in enumerate((reached, len(lines), taken, len(branches))):
            sums[i] += value
        print(f"{name:40} {reached:5}/{len(lines):<5}{percent(reached, len(lines)):5.1f}"
              f" {taken:5}/{len(branches):<5}{percent(taken, len(branches)):5.1f}")
        for number, (hits, counts) in sorted(lines.items()):
            if hits == 0:
                gaps.append(f"{name}:{number}: line not reached: {source_line(name, number)}")
            elif counts and min(counts) == 0:
                missed = sum(1 for count in counts if count == 0)
                gaps.append(f"{name}:{number}: {missed} of {len(counts)} branches not taken: "
                            f"{source_line(name, number)}")
    line_percent = percent(sums[0], sums[1])
    branch_percent = percent(sums[2], sums[3])
    print(f"{'in all':40} {sums[0]:5}/{sums[1]:<5}{line_percent:5.1f} {sums[2]:5}/{sums[3]:<5}{branch_percent:5.1f}")
    for gap in gaps:
        print(gap)
    if line_percent < LINES_WANTED or branch_percent < BRANCHES_WANTED:
        print(f"Coverage is below {LINES_WANTED:.0f} % of the lines or {BRANCHES_WANTED:.0f} % of the branches.")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
