"""A private copy of the project in which mutants are built and tested.

What is mutated becomes a shared library there, so that a mutant costs compiling
what it touches and linking one library; the test programs are built once.
"""

import os
import resource
import subprocess
import time
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass, field
from pathlib import Path

ARGUMENTS = {"soak": ["--transactions", "30000"]}
SANITIZERS = {"plain": "", "sanitize": "address,undefined"}
SANITIZER_OPTIONS = {"ASAN_OPTIONS": "detect_leaks=0:detect_stack_use_after_return=1:hard_rss_limit_mb=4096",
                     "UBSAN_OPTIONS": "halt_on_error=1"}
MEMORY_LIMIT = 4 << 30
# What uses no processor time for so long sleeps for good; a busy machine leaves it some.
LONGEST_SLEEP = 30


@dataclass(frozen=True)
class Subject:
    """What is mutated, and the test programs that are asked: that of the mutant's own folder, then the quick ones."""
    folders: tuple   # with the mutated sources
    programs: dict   # folder or name -> path in the build folder
    library: str     # the target that the test programs link
    described: str   # the file that describes it
    built: tuple     # the targets that a mutant changes
    kinds: tuple     # of build; what survives one is tried in the next
    options: tuple   # of CMake
    tested_as: dict = field(default_factory=dict)  # folder without a program -> the one whose program tests it


DRIVER = Subject(
    folders=("address", "cache", "driver", "frames", "planning"),
    programs={
        "address": "tests/address/address_tests",
        "cache": "tests/cache/cache_tests",
        "driver": "tests/driver/driver_tests",
        "frames": "tests/frames/frames_tests",
        "planning": "tests/planning/planning_tests",
        "unloaded": "tests/driver/before_initialisation_tests",
        "threads": "tests/threads/concurrency_tests",
        "property": "tests/property/property_test",
        "model": "tests/model/model_test",
        "soak": "bench/soak/soak",
    },
    library="driver_static", described="CMakeLists.txt", built=("driver_static", "modbus_rtu_master"),
    kinds=("plain", "sanitize"),
    # Functions of the library call each other and not what the programs have of the same name.
    options=("-DMODBUS_BUILD_KIT=OFF", "-DMODBUS_BUILD_CHECKER=OFF", "-DMODBUS_BUILD_HOST=OFF",
             "-DCMAKE_SHARED_LINKER_FLAGS=-Wl,-Bsymbolic-functions"))

# The tests of the kit take too long under sanitizers to be asked again; those of its ports put
# another port below the library, which must call it. The headers of the interface are left out: what
# stands in them is compiled into the test programs, which are built once.
KIT = Subject(
    folders=("kit/driver", "kit/line", "kit/link", "kit/poll", "kit/tags", "kit/transfer"),
    programs={
        "kit/line": "tests/kit/kit_line_test",
        "serial": "tests/kit/kit_serial_test",
        "port": "tests/kit/kit_serial_port_test",
        "tcp": "tests/kit/kit_tcp_test",
        "control": "tests/kit/kit_port_control_test",
        "kit/driver": "tests/kit/kit_driver_test",
        "kit/link": "tests/kit/kit_link_test",
        "threads": "tests/kit/kit_thread_test",
        "soak of the kit": "tests/kit/kit_soak_test",
    },
    library="host_kit_static", described="kit/CMakeLists.txt", built=("host_kit_static",),
    kinds=("plain",), options=(),
    tested_as={folder: "kit/link" for folder in ("kit/poll", "kit/tags", "kit/transfer")})


class BuildFailed(Exception):
    pass


def _processor_ticks(process):
    """Used so far by a process and its threads."""
    try:
        fields = Path(f"/proc/{process}/stat").read_text().rpartition(")")[2].split()
    except OSError:
        return 0
    return int(fields[11]) + int(fields[12])


def _ended_well(running):
    ticks = 0
    since = time.monotonic()
    while True:
        try:
            return running.wait(1) == 0
        except subprocess.TimeoutExpired:
            now = _processor_ticks(running.pid)
            if now != ticks:
                ticks = now
                since = time.monotonic()
            elif time.monotonic() - since > LONGEST_SLEEP:
                running.kill()
                return False


class Workshop:
    """One copy of the sources with a build folder for each kind of build."""

    def __init__(self, subject, root, folder, jobs):
        self.subject = subject
        self.root = Path(root)
        self.source = Path(folder) / "source"
        self.builds = {kind: Path(folder) / kind for kind in subject.kinds}
        self.jobs = str(jobs)
        self.seconds = {}  # (kind, program) -> processor time of the tests without a mutant

    def copy_sources(self):
        """Brings the copy up to date; files that did not change keep their time, so they are not built again."""
        listed = subprocess.run(["git", "-C", self.root, "ls-files", "-z"], check=True, capture_output=True, text=True)
        wanted = {Path(name) for name in listed.stdout.split("\0") if name}
        for path in [path for path in self.source.rglob("*") if path.is_file()]:
            if path.relative_to(self.source) not in wanted:
                path.unlink()
        for path in wanted:
            content = (self.root / path).read_bytes()
            self._update(path, self._with_shared_library(content) if str(path) == self.subject.described else content)

    def _update(self, path, content):
        target = self.source / path
        target.parent.mkdir(parents=True, exist_ok=True)
        if not target.exists() or target.read_bytes() != content:
            target.write_bytes(content)

    def _with_shared_library(self, content):
        text = content.decode()
        text = text.replace(f"add_library({self.subject.library} STATIC", f"add_library({self.subject.library} SHARED")
        text = text.replace("CXX_VISIBILITY_PRESET hidden", "CXX_VISIBILITY_PRESET default")
        return text.replace("VISIBILITY_INLINES_HIDDEN ON", "VISIBILITY_INLINES_HIDDEN OFF").encode()

    def prepare(self, kind):
        """Builds all test programs and measures them; a failing test here makes all results worthless."""
        build = self.builds[kind]
        command = ["cmake", "-S", self.source, "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                   "-DCMAKE_CXX_FLAGS_DEBUG=-O1", "-DCMAKE_CXX_FLAGS=-w", "-DMODBUS_WERROR=OFF",
                   "-DMODBUS_QUICK_TESTS=ON", f"-DMODBUS_SANITIZE={SANITIZERS[kind]}", *self.subject.options]
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
        targets = [Path(program).name for program in self.subject.programs.values()]
        self._ninja(build, targets)
        for name in self.subject.programs:
            before = resource.getrusage(resource.RUSAGE_CHILDREN)
            if not self._passes(kind, name, 600):
                raise SystemExit(f"mutate: {self.subject.programs[name]} fails without a mutant ({kind} build)")
            after = resource.getrusage(resource.RUSAGE_CHILDREN)
            self.seconds[kind, name] = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime

    def _ninja(self, build, targets):
        done = subprocess.run(["ninja", "-C", build, "-j", self.jobs, *targets], capture_output=True, text=True,
                              check=False)
        if done.returncode != 0:
            raise BuildFailed(done.stdout[-2000:])

    def build_library(self, kind):
        self._ninja(self.builds[kind], self.subject.built)

    def _passes(self, kind, name, seconds):
        """Processor time limits a test, and so a busy machine does not."""
        limits = [f"--cpu={seconds}", "--core=0", *([] if SANITIZERS[kind] else [f"--as={MEMORY_LIMIT}"])]
        build = self.builds[kind]
        arguments = ARGUMENTS.get(name, ["--gtest_fail_fast", "--gtest_brief=1"])
        command = ["prlimit", *limits, "--", build / self.subject.programs[name], *arguments]
        environment = dict(os.environ, **SANITIZER_OPTIONS, LD_LIBRARY_PATH=f"{build}:{build}/kit")
        with subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              env=environment) as running:
            return _ended_well(running)

    def killer(self, kind, folder):
        """The first test program that fails, None when all pass; some are run side by side."""

        def passes(name):
            return self._passes(kind, name, int(3 * self.seconds[kind, name]) + 5)

        own = self.subject.tested_as.get(folder, folder)
        order = sorted(self.subject.programs, key=lambda name: (name != own, self.seconds[kind, name]))
        with ThreadPoolExecutor(int(self.jobs)) as pool:
            for name, passed in zip(order, pool.map(passes, order)):
                if not passed:
                    pool.shutdown(cancel_futures=True)
                    return name
        return None

    def write(self, file, text):
        path = self.source / file
        path.write_text(text)
        return path
