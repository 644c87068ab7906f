#!/usr/bin/env python3
"""Runs line_bench and line_bench_libmodbus on the paced simulator and prints a table.

usage: bench/line_bench_table.py BUILD_FOLDER [--seconds T] [--repeat N] [--lump MS] [--silences]

The share compares the time taken with what request characters, reply characters
and two silences take at least: the master's before the request and the slave's
before the reply. The best of N runs is shown, with the range in brackets,
because other programs on the machine only ever make a run slower. --lump is how
often the slaves hand over what they have sent; 0.05 is less than a character, so
that every byte comes on its own.
"""
import argparse
import json
import os
import subprocess
import sys
import tempfile

CHARACTER_BITS = 11
CASES = [  # baud, registers a block, required share in percent
    (19200, 125, 99.5), (115200, 125, 99.0), (19200, 10, 98.0), (115200, 10, 96.5)]
PROGRAMS = ("line_bench", "line_bench_libmodbus")


def silence(baud):
    return 0.00175 if baud > 19200 else 3.5 * CHARACTER_BITS / baud


def ideal_seconds(baud, registers):
    characters = 8 + 5 + 2 * registers
    return characters * CHARACTER_BITS / baud + 2 * silence(baud)


def write(path, text):
    with open(path, "w") as file:
        file.write(text)
    return path


def be_punctual():
    """The slaves must not be late where other programs keep the machine busy."""
    try:
        os.sched_setscheduler(0, os.SCHED_FIFO, os.sched_param(2))
    except PermissionError:
        pass


class Plant:
    """The simulated slaves on a pseudo-terminal, in a process of their own."""

    def __init__(self, build, folder, baud, lump):
        self.port = os.path.join(folder, "port%d" % baud)
        registers = "\n".join("4x %d..%d = %d" % (i + 1, i + 1, i) for i in range(1000))
        sim = write(os.path.join(folder, "plant.sim"), "baud %d\nlump %g\nstation 1\n%s\n" % (baud, lump, registers))
        self.process = subprocess.Popen([os.path.join(build, "bin/rtuhost"), "--serve", sim, "pty:" + self.port],
                                        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True, preexec_fn=be_punctual)
        self.process.stdout.readline()  # it is serving now

    def end(self):
        self.process.terminate()
        self.process.wait()


def measure(arguments, program, port, baud, plan, *options):
    output = subprocess.run([os.path.join(arguments.build, "bin", program), "--port", port, "--baud", str(baud), "--plan",
                             plan, "--seconds", str(arguments.seconds), *options],
                            check=True, stdout=subprocess.PIPE, text=True).stdout
    return json.loads(output)


def repeated(arguments, *options):
    return [measure(arguments, *options) for _ in range(arguments.repeat)]


def blocks(folder, registers):
    """The plan of a poll loop: eight blocks of registers."""
    return write(os.path.join(folder, "plan"), "".join("1 4x %d %d\n" % (i * registers, registers) for i in range(8)))


def share_table(arguments, folder):
    """False: a target was missed."""
    good = True
    print("| Baud | Registers | Program | Share of the line | Wanted | CPU a transaction | Transactions | Checksum |")
    print("|---|---|---|---|---|---|---|---|")
    for baud, registers, wanted in CASES:
        plan = blocks(folder, registers)
        plant = Plant(arguments.build, folder, baud, arguments.lump)
        for program in PROGRAMS:
            runs = repeated(arguments, program, plant.port, baud, plan)
            shares = [100 * ideal_seconds(baud, registers) * run["transactions"] / run["wall_s"] for run in runs]
            cpu = [1e6 * (run["user_s"] + run["sys_s"]) / run["transactions"] for run in runs]
            print("| %d | %d | %s | %.2f %% (%.2f to %.2f) | %.1f %% | %.0f us (%.0f to %.0f) | %d | %s |" %
                  (baud, registers, program, max(shares), min(shares), max(shares), wanted, min(cpu), min(cpu),
                   max(cpu), sum(run["transactions"] for run in runs), runs[0]["checksum"]), flush=True)
            good = good and not any(run["errors"] for run in runs)
            if program == "line_bench":
                good = good and max(shares) >= wanted and (baud != 115200 or min(cpu) <= 100)
        plant.end()
    return good


def silence_table(arguments, folder):
    """False: a transaction failed."""
    good = True
    baud, registers = 115200, 10
    print("| Silence | Program | Transactions a second |")
    print("|---|---|---|")
    plan = blocks(folder, registers)
    plant = Plant(arguments.build, folder, baud, arguments.lump)
    for milliseconds in (1.75, 0):
        for program in PROGRAMS:
            runs = repeated(arguments, program, plant.port, baud, plan, "--silence", str(milliseconds))
            rates = [run["transactions"] / run["wall_s"] for run in runs]
            print("| %g ms | %s | %.0f (%.0f to %.0f) |" % (milliseconds, program, max(rates), min(rates), max(rates)),
                  flush=True)
            good = good and not any(run["errors"] for run in runs)
    plant.end()
    return good


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build")
    parser.add_argument("--seconds", type=float, default=5)
    parser.add_argument("--repeat", type=int, default=3)
    parser.add_argument("--lump", type=float, default=1)
    parser.add_argument("--silences", action="store_true", help="with and without a silence before each request, "
                        "10 registers at 115200 baud, instead of the shares")
    arguments = parser.parse_args()
    table = silence_table if arguments.silences else share_table
    with tempfile.TemporaryDirectory() as folder:
        good = table(arguments, folder)
    sys.exit(0 if good else "a target was missed, or a transaction failed")


if __name__ == "__main__":
    main()
