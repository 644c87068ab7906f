#!/usr/bin/python3
"""A build for the Qt 4 of a panel, configured against a stand-in for it.

The stand-in has just what is looked for: the header that tells the version, and a
file with the library's name. Whether the driver compiles and runs with a real Qt 4.8
is tried by hand.
"""

import json
import pathlib
import re

from nested_build import BUILD, NestedBuild, ROOT, main, run


def make_qt4(prefix, include="include", lib="lib", version="4.8.7"):
    header = prefix / include / "QtCore" / "qglobal.h"
    header.parent.mkdir(parents=True)
    header.write_text(f'#define QT_VERSION_STR   "{version}"\n')
    (prefix / lib).mkdir(parents=True, exist_ok=True)
    (prefix / lib / "libQtCore.so").touch()
    return prefix


def make_sysroot(folder):
    """A sysroot that the compiler of this machine can build for."""
    folder.mkdir()
    for name in ["usr", "lib", "lib64", "lib32", "bin"]:
        if pathlib.Path("/", name).exists():
            (folder / name).symlink_to(pathlib.Path("/", name).resolve())
    return folder


def printed_toolchain_file(sysroot):
    """The tool-chain file of the guide, with this machine's compiler and `sysroot` in it."""
    guide = (ROOT / "docs" / "integrating-a-host.md").read_text()
    text = re.search(r"```cmake\n(set\(CMAKE_SYSTEM_NAME.*?)```", guide, flags=re.S).group(1)
    text = text.replace("/opt/vendor/sysroot", str(sysroot))
    return re.sub(r"/opt/vendor/bin/[\w-]+g\+\+", "/usr/bin/g++", text)


class PanelBuild(NestedBuild):

    def configure_panel(self, *settings):
        return self.configure("-DMODBUS_BUILD_HOST=OFF", *settings)

    def compile_command(self, source, build="build"):
        commands = json.loads((self.work / build / "compile_commands.json").read_text())
        return next(entry["command"] for entry in commands if entry["file"].endswith(source))

    def link_rule(self, target):
        rules = (self.work / "build" / "build.ninja").read_text()
        return re.search(rf"(?m)^build {re.escape(target)}[^\n]*: CXX_SHARED_LIBRARY_LINKER.*?(?=^build )", rules,
                         flags=re.S).group(0)

    def test_the_root_alone_means_qt_4(self):
        qt4 = make_qt4(self.work / "qt4")
        self.assertIn("Building against Qt 4.8.7", self.configure_panel(f"-DMODBUS_QT4_ROOT={qt4}"))
        self.assertIn(f"{qt4}/include", self.compile_command("crc.cpp"))

    def test_another_root_replaces_the_one_before(self):
        self.configure_panel(f"-DMODBUS_QT4_ROOT={make_qt4(self.work / 'one')}")
        other = make_qt4(self.work / "other", version="4.8.6")
        self.assertIn("Building against Qt 4.8.6", self.configure_panel(f"-DMODBUS_QT4_ROOT={other}"))

    def test_a_root_without_qt_4_is_refused_by_name(self):
        (self.work / "empty").mkdir()
        for root in [self.work / "empty", make_qt4(self.work / "five", version="5.15.8")]:
            with self.assertRaisesRegex(AssertionError, f"(?s)No Qt core library found.*{root}[. ]"):
                self.configure_panel(f"-DMODBUS_QT4_ROOT={root}")

    def test_what_a_root_lacks_is_not_taken_from_elsewhere(self):
        qt4 = make_qt4(self.work / "qt4")
        (qt4 / "lib" / "libQtCore.so").unlink()
        other = make_qt4(self.work / "other")
        with self.assertRaisesRegex(AssertionError, "No Qt core library found"):
            self.configure_panel(f"-DMODBUS_QT4_ROOT={qt4}", f"-DCMAKE_LIBRARY_PATH={other}/lib")

    def test_the_printed_toolchain_file_takes_a_root_beside_the_sysroot(self):
        toolchain = self.work / "panel.cmake"
        toolchain.write_text(printed_toolchain_file(make_sysroot(self.work / "sysroot")))
        qt4 = make_qt4(self.work / "qt4")
        printed = self.configure_panel(f"-DCMAKE_TOOLCHAIN_FILE={toolchain}", f"-DMODBUS_QT4_ROOT={qt4}")
        self.assertIn(f"Building against Qt 4.8.7 in {qt4}", printed)
        self.assertIn(f"--sysroot={self.work}/sysroot", self.compile_command("crc.cpp"))

    def test_the_printed_toolchain_file_takes_the_sysroot_as_root(self):
        sysroot = make_sysroot(self.work / "sysroot")
        make_qt4(sysroot, include="opt/include", lib="opt/lib")
        toolchain = self.work / "panel.cmake"
        toolchain.write_text(printed_toolchain_file(sysroot))
        for root in [sysroot / "opt", "/opt"]: # as it is called here, and on the panel
            printed = self.configure_panel(f"-DCMAKE_TOOLCHAIN_FILE={toolchain}", f"-DMODBUS_QT4_ROOT={root}")
            self.assertIn(f"Building against Qt 4.8.7 in {sysroot}/opt", printed)

    def test_a_release_has_no_assertions_and_a_debug_build_has_them(self):
        qt4 = make_qt4(self.work / "qt4")
        self.configure_panel(f"-DMODBUS_QT4_ROOT={qt4}")
        self.assertIn("-DQT_NO_DEBUG", self.compile_command("crc.cpp"))
        self.configure_panel(f"-DMODBUS_QT4_ROOT={qt4}", "-DCMAKE_BUILD_TYPE=Debug")
        self.assertNotIn("-DQT_NO_DEBUG", self.compile_command("crc.cpp"))

    def test_the_libraries_get_no_run_path_in_the_build_folder(self):
        self.configure_panel(f"-DMODBUS_QT4_ROOT={make_qt4(self.work / 'qt4')}")
        for name in ["master", "host", "master_check"]:
            rule = self.link_rule(f"lib/libmodbus_rtu_{name}.so")
            self.assertIn("libQtCore.so", rule)
            self.assertNotIn("-rpath", rule)

    def test_no_run_path_has_an_empty_entry(self):
        qt4 = make_qt4(self.work / "qt4")
        self.configure(f"-DMODBUS_QT4_ROOT={qt4}")
        paths = re.findall(r"-rpath,(\S*)", (self.work / "build" / "build.ninja").read_text())
        self.assertIn(f"{qt4}/lib", paths)
        self.assertEqual([path for path in paths if "" in path.split(":")], [])

    def test_hosts_find_the_installed_package_and_qt_4_with_it(self):
        qt4 = make_qt4(self.work / "qt4")
        self.configure_panel(f"-DMODBUS_QT4_ROOT={qt4}")
        for library in (BUILD / "lib").glob("libmodbus_rtu_master.so*"): # stands for what is not compiled here
            (self.work / "build" / "lib").mkdir(exist_ok=True)
            (self.work / "build" / "lib" / library.name).touch()
        prefix = self.work / "prefix"
        run("cmake", "--install", self.work / "build", "--prefix", prefix)
        host = next(prefix.rglob("examples"))
        printed = self.configure(f"-DCMAKE_PREFIX_PATH={prefix}", f"-DMODBUS_QT4_ROOT={qt4}",
                                 "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON", source=host, build="host")
        self.assertIn(f"The driver is {prefix}/lib", printed)
        command = self.compile_command("minimal_host.cpp", build="host")
        for flag in [f"{qt4}/include", f"{prefix}/include/modbus_rtu_master", "-DQT_NO_DEBUG"]:
            self.assertIn(flag, command)


if __name__ == "__main__":
    main()
