"""The rtuhost program for tests in Python: paths, simulated slaves, running it.

Nothing here measures time. Limits on waiting only turn a hang into a failure.
"""
import os
import signal
import struct
import subprocess
import tempfile
import time
import unittest

RTUHOST = os.environ["RTUHOST"]
SOURCE = os.environ["RTUHOST_SOURCE"]
# In the driver's place, such as the contract checker: see tests/support/driver_file.h.
DRIVER = ["--driver", os.environ["MODBUS_TEST_DRIVER"]] if os.environ.get("MODBUS_TEST_DRIVER") else []
COMMAND = [RTUHOST] + DRIVER
PATIENCE = 60  # seconds until something that must come counts as missing

PLANT = """
station 1
4x 1..50 = 10 20 30 40 50
4x 100 = 0x1234
4x_double 101 = 305419896
4x_double 103 = 0x3FC00000
0x 1..16 = 0 1
1x 1..16 = 1 0
3x 1..10 = 7 -3
station 2
4x 1..10 = 5
station 3
off
4x 1 = 1
"""


def command_of(arguments):
    """With the driver in question, but for who names one, and who loads none."""
    return [*([RTUHOST] if {"--driver", "--serve"}.intersection(arguments) else COMMAND), *arguments]


def wait_for(condition, what):
    """Polls until the condition gives something true, and returns that."""
    deadline = time.monotonic() + PATIENCE
    while time.monotonic() < deadline:
        result = condition()
        if result:
            return result
        time.sleep(0.05)
    raise AssertionError("waited in vain for " + what)


def frame(text):
    """The bytes of hexadecimal text, and their check sum."""
    content = bytes.fromhex(text)
    crc = 0xFFFF
    for byte in content:
        crc ^= byte
        for _ in range(8):
            crc = (crc >> 1) ^ 0xA001 if crc & 1 else crc >> 1
    return content + struct.pack("<H", crc)


class Result:
    def __init__(self, completed):
        self.status = completed.returncode
        self.out = completed.stdout
        self.err = completed.stderr
        self.lines = completed.stdout.splitlines()


class RtuHostTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.sim = self.file("plant.sim", PLANT)

    def file(self, name, text=None):
        path = os.path.join(self.folder.name, name)
        if text is not None:
            with open(path, "w") as file:
                file.write(text)
        return path

    def read(self, path):
        with open(path) as file:
            return file.read()

    def run_host(self, *arguments, status=0):
        completed = subprocess.run(command_of(arguments), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, text=True, timeout=PATIENCE)
        result = Result(completed)
        self.assertEqual(status, result.status, "%s\n%s%s" % (arguments, result.out, result.err))
        return result

    def simulate(self, *arguments, status=0):
        """One quick run on the simulated slaves."""
        return self.run_host("--sim", self.sim, *arguments, status=status)

    def start(self, *arguments, stdin=subprocess.DEVNULL):
        """A run that goes on beside the test."""
        process = subprocess.Popen(command_of(arguments), stdin=stdin, stdout=subprocess.PIPE,
                                   stderr=subprocess.STDOUT, text=True)

        def end():
            if process.poll() is None:
                process.kill()
            process.wait()
            process.stdout.close()
            if process.stdin:
                process.stdin.close()
        self.addCleanup(end)
        return process

    def serve(self, link):
        process = self.start("--serve", self.sim, "pty:" + link)
        self.assertIn("serving 3 stations", process.stdout.readline())
        return process

    def read_until(self, process, part):
        """Lines of a run beside the test, up to one that has the part."""
        for line in process.stdout:
            if part in line:
                return line
        raise AssertionError("the program ended without printing " + part)

    def end(self, process, number=signal.SIGINT):
        process.send_signal(number)
        rest = process.stdout.read()
        return process.wait(PATIENCE), rest
