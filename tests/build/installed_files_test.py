#!/usr/bin/python3
"""What an installation holds, component by component."""

import pathlib
import re

from nested_build import BUILD, NestedBuild, files_in, main, run


class InstalledFiles(NestedBuild):

    def install(self, build, component):
        prefix = self.work / component
        run("cmake", "--install", build, "--component", component, "--prefix", prefix)
        return prefix

    def installed(self, build, component):
        prefix = self.install(build, component)
        return files_in(prefix) if prefix.exists() else []

    def test_a_build_without_the_host_installs_nothing_of_it(self):
        self.configure("-DMODBUS_BUILD_HOST=OFF")
        self.assertEqual(self.installed(self.work / "build", "host"), [])

    def test_host_authors_get_headers_example_and_documents(self):
        files = self.installed(BUILD, "dev")
        for name in ["modbus_rtu_interface.h", "modbus_rtu_records.h", "modbus_rtu_master.pc",
                     "modbus_rtu_master-config.cmake", "minimal_host.cpp", "integrating-a-host.md",
                     "address-language.md", "contract-checker.md", "line-behaviour.md",
                     "link.h", "modbus_rtu_host.pc", "libmodbus_rtu_host.a", "kit_host.cpp", "host-kit.md",
                     "modbus_rtu_check.h"]:
            self.assertIn(name, [pathlib.Path(file).name for file in files])

    def test_a_panel_that_made_the_driver_alone_gets_what_its_hosts_are_built_with(self):
        self.configure()
        library = self.work / "build" / "lib"
        library.mkdir(exist_ok=True)
        for file in (BUILD / "lib").glob("libmodbus_rtu_master.so*"): # stands for what is not compiled here
            (library / file.name).touch()
        names = [pathlib.Path(file).name for component in ["library", "kit", "checker", "dev"]
                 for file in self.installed(self.work / "build", component)]
        self.assertIn("modbus_rtu_master-config.cmake", names)
        self.assertEqual([name for name in names if name.startswith("libmodbus_rtu") and "modbus_rtu_master.so" not in name], [])

    def test_links_between_installed_documents_lead_somewhere(self):
        prefix = self.install(BUILD, "dev")
        links = 0
        for document in prefix.rglob("*.md"):
            for link in re.findall(r"\]\(([^)#\s]+)[)#]", document.read_text()):
                if not re.match(r"[a-z]+:", link):
                    links += 1
                    self.assertTrue((document.parent / link).exists(), f"{document.name}: {link}")
        self.assertGreater(links, 5)


if __name__ == "__main__":
    main()
