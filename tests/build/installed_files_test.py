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

    def test_a_build_without_the_host_installs_nothing_of_it(self):
        self.configure("-DMODBUS_BUILD_HOST=OFF")
        prefix = self.install(self.work / "build", "host")
        self.assertEqual(files_in(prefix) if prefix.exists() else [], [])

    def test_host_authors_get_headers_example_and_documents(self):
        files = files_in(self.install(BUILD, "dev"))
        for name in ["modbus_rtu_interface.h", "modbus_rtu_records.h", "modbus_rtu_master.pc",
                     "modbus_rtu_master-config.cmake", "minimal_host.cpp", "integrating-a-host.md",
                     "address-language.md", "contract-checker.md", "line-behaviour.md"]:
            self.assertIn(name, [pathlib.Path(file).name for file in files])

    def test_links_between_installed_documents_lead_somewhere(self):
        prefix = self.install(BUILD, "dev")
        links = 0
        for document in prefix.rglob("*.md"):
            for link in re.findall(r"\]\(([^)#\s]+)", document.read_text()):
                if not re.match(r"[a-z]+:", link):
                    links += 1
                    self.assertTrue((document.parent / link).exists(), f"{document.name}: {link}")
        self.assertGreater(links, 5)


if __name__ == "__main__":
    main()
