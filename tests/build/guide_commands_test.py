#!/usr/bin/python3
"""The commands of README and guide name targets and files that such a build has."""

import re

from nested_build import NestedBuild, ROOT, main, run

DOCUMENTS = ["README.md", "docs/integrating-a-host.md"]


def shell_commands(document):
    text = (ROOT / document).read_text()
    blocks = re.findall(r"```sh\n(.*?)```", text, flags=re.S) + re.findall(r"(?:^    .*\n)+", text, flags=re.M)
    return [line.strip() for block in blocks for line in block.replace("\\\n", " ").splitlines()]


class GuideCommands(NestedBuild):
    """The README's installation switches the tests off, and the guide goes on from there."""

    def test_targets_that_are_built_exist_without_the_tests(self):
        self.configure()
        known = set(re.findall(r"^([\w.]+): ", run("cmake", "--build", self.work / "build", "--target", "help"),
                               flags=re.M))
        named = []
        for document in DOCUMENTS:
            for command in shell_commands(document):
                if command.startswith("cmake --build") and "--target" in command:
                    targets = re.split(r"[#&|;]", command.split("--target", 1)[1])[0].split()
                    named += targets
        self.assertIn("minimal_host", named)
        self.assertEqual([target for target in named if target not in known], [])

    def test_programs_that_are_run_are_built_there(self):
        self.configure()
        rules = (self.work / "build" / "build.ninja").read_text()
        programs = set()
        for document in DOCUMENTS:
            for command in shell_commands(document):
                programs.update(re.findall(r"build/(?:release|panel)/((?:bin|lib|tests)/[\w./]+)", command))
        self.assertIn("bin/minimal_host", programs)
        for program in programs:
            self.assertRegex(rules, rf"(?m)^build .*\b{re.escape(program)}\b.*:", f"nothing builds {program}")


if __name__ == "__main__":
    main()
