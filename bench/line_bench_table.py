#!/usr/bin/env python3
"""Runs line_bench and line_bench_libmodbus on the paced simulator and prints a table.

usage: bench/line_bench_table.py BUILD_FOLDER [--seconds T] [--repeat N] [--lump MS]

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


def measure(build, program, port, baud, plan, seconds):
    output = subprocess.run([os.path.join(build, "bin", program), "--port", port, "--baud", str(baud), "--plan", plan,
                             "--seconds", str(seconds)], check=True, stdout=subprocess.PIPE, text=True).stdout
    return json.loads(output)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("build")
    parser.add_argument("--seconds", type=float, default=5)
    parser.add_argument("--repeat", type=int, default=3)
    parser.add_argument("--lump", type=float, default=1)
    arguments = parser.parse_args()
    missed = False
    print("| Baud | Registers | Program | Share of the line | Wanted | CPU a transaction | Transactions | Checksum |")
    print("|---|---|---|---|---|---|---|---|")
    with tempfile.TemporaryDirectory() as folder:
        for baud, registers, wanted in CASES:
            plan = write(os.path.join(folder, "plan"), "".join("1 4x %d %d\n" % (i * registers, registers)
                                                               for i in range(8)))
            plant = Plant(arguments.build, folder, baud, arguments.lump)
            for program in ("line_bench", "line_bench_libmodbus"):
                runs = [measure(arguments.build, program, plant.port, baud, plan, arguments.seconds)
                        for _ in range(arguments.repeat)]
                shares = [100 * ideal_seconds(baud, registers) * run["transactions"] / run["wall_s"] for run in runs]
                cpu = [1e6 * (run["user_s"] + run["sys_s"]) / run["transactions"] for run in runs]
                print("| %d | %d | %s | %.2f %% (%.2f to %.2f) | %.1f %% | %.0f us (%.0f to %.0f) | %d | %s |" %
                      (baud, registers, program, max(shares), min(shares), max(shares), wanted, min(cpu), min(cpu),
                       max(cpu), sum(run["transactions"] for run in runs), runs[0]["checksum"]), flush=True)
                missed = missed or any(run["errors"] for run in runs)
                if program == "line_bench":
                    missed = missed or max(shares) < wanted or (baud == 115200 and min(cpu) > 100)
            plant.end()
    sys.exit("a target was missed" if missed else 0)


if __name__ == "__main__":
    main()
