#!/usr/bin/python3
"""Checks that the documents are true where a program can tell.

usage: documents_test.py ROOT RTUHOST

- links between the documents lead somewhere, headings included
- the minimal host that is shown is the one that is compiled
- each `$ rtuhost ...` in a console block prints what stands below it
- each option of rtuhost that is named exists
"""

import pathlib
import re
import shlex
import subprocess
import sys

ROOT = pathlib.Path(sys.argv[1])
RTUHOST = sys.argv[2]
DOCUMENTS = [ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md"))]

problems = []


def complain(document, what):
    problems.append(f"{document.relative_to(ROOT)}: {what}")


def run(arguments):
    result = subprocess.run([RTUHOST, *arguments], cwd=ROOT, capture_output=True, text=True, timeout=60, check=False)
    return result.stdout


def without_code(text):
    return re.sub(r"```.*?```", "", text, flags=re.S)


def anchors(document):
    headings = re.findall(r"^#+ (.*)$", without_code(document.read_text()), flags=re.M)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def check_links(document):
    text = without_code(document.read_text())
    for link in re.findall(r"\]\(([^)\s]+)\)", text):
        if re.match(r"[a-z]+:", link):
            continue
        path, _, anchor = link.partition("#")
        target = (document.parent / path).resolve() if path else document
        if not target.exists():
            complain(document, f"{link} does not exist")
        elif anchor and anchor not in anchors(target):
            complain(document, f"{link}: no such heading")


def check_listing(name, most_lines):
    document = ROOT / "docs" / "integrating-a-host.md"
    source = (ROOT / "docs" / "examples" / name).read_text().rstrip("\n")
    if f"```cpp\n{source}\n```\n" not in document.read_text():
        complain(document, f"there is no listing of docs/examples/{name} as it stands")
    if len(source.split("\n")) > most_lines:
        complain(document, f"{name} has more than {most_lines} lines")


def check_console(document):
    """Returns the number of commands that were run."""
    commands = 0
    for block in re.findall(r"```console\n(.*?)```", document.read_text(), flags=re.S):
        for piece in re.split(r"^\$ ", block, flags=re.M)[1:]:
            command, _, shown = piece.partition("\n")
            printed = run(shlex.split(command)[1:])
            commands += 1
            if [line.rstrip() for line in printed.splitlines()] != [line.rstrip() for line in shown.splitlines()]:
                complain(document, f"{command} prints\n{printed}")
    return commands


def check_options(document, known):
    """Returns the number of options that were looked up."""
    commands = re.findall(r"`[^`\n]*`", without_code(document.read_text()))
    commands += re.findall(r"^.*\brtuhost .*$", document.read_text(), flags=re.M)
    options = 0
    for command in commands:
        if not re.search(r"\brtuhost\b", command):
            continue
        for option in re.findall(r"(?<=\s)--[a-z][a-z-]+", command.split("rtuhost", 1)[1]):
            options += 1
            if option not in known:
                complain(document, f"rtuhost has no option {option}")
    return options


def main():
    known = set(re.findall(r"--[a-z][a-z-]+", run(["--help"])))
    commands = options = 0
    for document in DOCUMENTS:
        check_links(document)
        commands += check_console(document)
        options += check_options(document, known)
    check_listing("kit_host.cpp", 60)
    check_listing("minimal_host.cpp", 99)
    if commands < 5 or options < 5:
        problems.append(f"only {commands} commands and {options} options found: is this test looking?")
    print(f"{len(DOCUMENTS)} documents, {commands} commands run, {options} options looked up")
    for problem in problems:
        print(problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
