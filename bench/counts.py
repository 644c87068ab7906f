"""What valgrind counts in one round of a scenario: instructions, and lines that
the data cache of a panel has to fetch.

A scenario runs twice with different numbers of rounds; the difference, divided
by the rounds between, is free of start-up cost and the same on every run of the
same binary.
"""

import concurrent.futures
import hashlib
import json
import os
import re
import shutil
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
BUILD = os.path.join(ROOT, "build", "bench")

# A panel's caches: 16 KB of data, 4-way, lines of 32 bytes.
PANEL_CACHE = ["--cache-sim=yes", "--I1=16384,4,32", "--D1=16384,4,32", "--LL=262144,8,32"]

# Rounds of the short and the long run.
ROUNDS = {"plan": (1, 2), "long_round": (1, 2), "coils": (50, 100), "look_up": (2000, 4000)}
MANY_ROUNDS = (200, 400)


def steps_a_round(scenario):
    if scenario.startswith("long_round"):
        return 4000
    return 2 if scenario.startswith("round") else 1


def is_transaction(scenario):
    """Whether the steps of a scenario are transactions on a line."""
    return not scenario.startswith(("plan", "look_up", "nothing"))


def processor():
    """The kind of processor that programs see. Valgrind plays one of a few, the best that
    this machine can play, and the C library chooses its copying by it."""
    with open("/proc/cpuinfo", encoding="ascii") as file:
        return "AVX2" if " avx2 " in file.read() else "without AVX2"


def number_after(words, summary):
    return int(re.search(words + r"\s*([\d,]+)", summary).group(1).replace(",", ""))


class Counts:
    """Counts of one build. What was counted of the same binaries before is not counted again."""

    def __init__(self, build=BUILD):
        self.valgrind = shutil.which("valgrind") or sys.exit("valgrind is not installed")
        self.folder = os.path.join(build, "bench")
        self.kept = os.path.join(build, "counts.json")
        library = os.path.join(build, "lib", "libmodbus_rtu_master.so.1")
        self.binaries = [digest(os.path.join(self.folder, "scenario_steps")), digest(library)]
        self.known = self._read_kept()

    def scenarios(self):
        """Names of all scenarios, as the program lists them."""
        run = subprocess.run(["./scenario_steps"], capture_output=True, text=True, check=False, cwd=self.folder)
        return re.search(r"scenarios:(.*)", run.stderr).group(1).split()

    def built_with(self):
        """Versions of the compiler, Qt and the C library, by name."""
        told = subprocess.run(["./scenario_steps", "--tools"], capture_output=True, text=True, check=True,
                              cwd=self.folder).stdout
        return dict(line.split(" ", 1) for line in told.splitlines())

    def valgrind_version(self):
        return subprocess.run([self.valgrind, "--version"], capture_output=True, text=True, check=True).stdout.strip()

    def instructions(self, names):
        """User-space instructions of one round of each scenario, by name."""
        return self._count("instructions", names, self._instructions)

    def cold_lines(self, names):
        """Data cache misses of one round of each scenario when the cache is swept
        before each step, without those of the sweeps."""
        misses = self._count("misses", ["nothing", *names], self._misses)
        return {name: misses[name] - steps_a_round(name) * misses["nothing"] for name in names}

    def _instructions(self, scenario, rounds):
        tool = ["--tool=callgrind", "--callgrind-out-file=/dev/null"]
        return number_after(r"Collected :", self._summary(tool, [scenario, str(rounds)]))

    def _misses(self, scenario, rounds):
        tool = ["--tool=cachegrind", "--cachegrind-out-file=/dev/null", *PANEL_CACHE]
        return number_after(r"D1\s+misses:", self._summary(tool, [scenario, str(rounds), "cold"]))

    def _summary(self, tool, arguments):
        """Valgrind's closing words. What lies on the stack does not depend on who
        calls: no environment, no long path."""
        run = subprocess.run([self.valgrind, *tool, "./scenario_steps", *arguments], capture_output=True, text=True,
                             check=False, cwd=self.folder, env={})
        if run.returncode != 0:
            sys.exit(f"{' '.join(arguments)} failed: {run.stderr}")
        return run.stderr

    def _count(self, what, names, count):
        def a_round(scenario):
            few, many = next((r for prefix, r in ROUNDS.items() if scenario.startswith(prefix)), MANY_ROUNDS)
            return (count(scenario, many) - count(scenario, few)) / (many - few)

        known = self.known.setdefault(what, {})
        missing = [name for name in names if name not in known]
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            known.update(zip(missing, pool.map(a_round, missing)))
        with open(self.kept, "w", encoding="utf-8") as file:
            json.dump({"binaries": self.binaries, "counts": self.known}, file)
        return {name: known[name] for name in names}

    def _read_kept(self):
        try:
            with open(self.kept, encoding="utf-8") as file:
                kept = json.load(file)
        except FileNotFoundError:
            return {}
        return kept["counts"] if kept["binaries"] == self.binaries else {}


def digest(path):
    with open(path, "rb") as file:
        return hashlib.sha256(file.read()).hexdigest()


def from_command_line(arguments):
    """The counts, and the scenarios to show, that BUILD_DIR and names ask for; no names: None."""
    if arguments and os.path.isdir(arguments[0]):
        return Counts(arguments[0]), arguments[1:] or None
    return Counts(), arguments or None
