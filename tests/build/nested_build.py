"""Configuring the project in a folder of its own, for the tests beside this file.

Each test program is called with ROOT, the sources, and BUILD, the build folder that
the test belongs to.
"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(sys.argv[1])
BUILD = pathlib.Path(sys.argv[2])


def run(*command, cwd=ROOT):
    """Runs a command that must succeed; returns what it prints."""
    result = subprocess.run([str(word) for word in command], cwd=cwd, stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, text=True, timeout=300, check=False)
    if result.returncode:
        raise AssertionError(f"{command} ends with {result.returncode}:\n{result.stdout}")
    return result.stdout


def files_in(folder):
    return sorted(str(path.relative_to(folder)) for path in folder.rglob("*") if not path.is_dir())


class NestedBuild(unittest.TestCase):
    """A test with a folder of its own, `work`."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="modbus-build-test-")
        self.addCleanup(folder.cleanup)
        self.work = pathlib.Path(folder.name)

    def configure(self, *settings, source=ROOT, build="build"):
        """Configures `source` without tests into work/build; returns what CMake prints."""
        return run("cmake", "-G", "Ninja", "-S", source, "-B", self.work / build,
                   "-DCMAKE_BUILD_TYPE=Release", "-DMODBUS_BUILD_TESTS=OFF", *settings)


def main():
    unittest.main(argv=sys.argv[:1])
