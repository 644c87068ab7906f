"""The command line of rtuhost: its documents, the address language, plans and what is refused."""
import json
import os
import re
import unittest
import xml.etree.ElementTree

from rtuhost_under_test import SOURCE, RtuHostTest

OPTIONS = re.compile(r"^\s{2}((?:-[^\s,]+,?)+)", re.MULTILINE)


class Documents(RtuHostTest):
    def options(self):
        text = self.run_host("--help").out
        names = [name for group in OPTIONS.findall(text) for name in group.split(",") if name]
        self.assertGreater(len(names), 40)
        return names

    def test_help_goes_to_standard_output(self):
        self.assertIn("Usage: rtuhost", self.run_host("-h").out)

    def test_version(self):
        self.assertRegex(self.run_host("-V").out, r"^rtuhost \d+\.\d+\.\d+(-\S+)?\n$")

    def test_man_page_has_every_option(self):
        page = self.read(os.path.join(SOURCE, "docs", "rtuhost.1")).replace("\\-", "-")
        for name in self.options():
            self.assertRegex(page, r"(?m)%s(?![\w-])" % re.escape(name), name)

    def test_man_page_has_no_other_option(self):
        page = self.read(os.path.join(SOURCE, "docs", "rtuhost.1")).replace("\\-", "-")
        listed = page[page.index(".SH OPTIONS"):page.index(".SH SILENT STATIONS")]
        headings = re.findall(r"(?m)^\.TP\n\.\w+ (.*)$", listed)
        names = {name for heading in headings for name in re.findall(r"(?<![\w-])--?[\w-]+", heading)}
        self.assertGreater(len(names), 40)
        self.assertEqual(set(), names - set(self.options()))


class Editor(RtuHostTest):
    def test_types(self):
        lines = self.run_host("--list-types").lines
        self.assertEqual(8, len(lines))
        self.assertIn("4x_bit: bit, written ddddd.DD (DD:0~15), from 1.0 to 65536.15, writable", lines)
        self.assertEqual("3x: 16-bit register, written ddddd, from 1 to 65536, read-only",
                         self.run_host("--describe", "3x").out.strip())
        self.assertEqual("double", json.loads(self.run_host("--json", "--describe", "4x_double").out)["kind"])

    def test_addresses(self):
        self.assertIn("valid, zero-based address 37; writing: valid", self.run_host("--check", "4x_bit3.5").out)
        self.assertIn("writing: 3x is read-only", self.run_host("--check", "3x5").out)
        for address, reason in (("4x0", "out of range"), ("4x_bit1.16", "not an address in the notation"),
                                ("9x1", "unknown register type \"9x1\"; there are 0x, 1x,"), ("4x+5", "not an address in the notation")):
            self.assertIn(reason, self.run_host("--check", address, status=1).out)
        self.assertIn("out of range", self.run_host("--check", "4x65536", "-c", "2", status=1).out)
        checked = json.loads(self.run_host("--check", "3x5", "--json").out)
        self.assertEqual((0, 6, 4), (checked["result"], checked["write_result"], checked["zero_based"]))

    def test_addresses_in_any_notation_of_numbers(self):
        for address in ("4x0x64", "4x0x64:hex", "4x0b1100100"):
            self.assertIn("valid, zero-based address 99;", self.run_host("--check", address).out)
            self.assertEqual(99, json.loads(self.run_host("--json", "--check", address).out)["zero_based"])
        self.assertIn("4x100 (zero-based 99)", self.run_host("--multi-copy", "4x0x64", "--copies", "1").out)

    def test_several_addresses_ranges_and_stations(self):
        result = self.run_host("--check", "4x1", "4x10..12@2,3", "3x5", "4x_bit3.05", "4x100:float", "40100", status=1)
        for line in ("4x1: valid, zero-based address 0; writing: valid",
                     "2:4x10..12: valid, zero-based address 9; writing: valid",
                     "3:4x10..12: valid, zero-based address 9; writing: valid",
                     "3x5: valid, zero-based address 4; writing: 3x is read-only"):
            self.assertIn(line, result.lines)
        for hint in ("did you mean 4x_bit3.5? (one digit below 10)", "did you mean 4x_double100:float?",
                     "did you mean 4x100?"):
            self.assertIn(hint, result.out)
        reasons = [json.loads(line)["reason"]
                   for line in self.run_host("--json", "--check", "4x1", "4x5..1", "4X1", status=1).lines]
        self.assertEqual("valid", reasons[0])
        self.assertIn("ends before it begins", reasons[1])
        self.assertIn("did you mean 4x1?", reasons[2])

    def test_a_tag_file_with_all_its_faults(self):
        good = self.file("good.csv", "name;type;address\na;4x;1\nb;4x;2\n")
        self.assertEqual([good + ": 2 tags, all valid"], self.run_host("--check", "--tags", good).lines)
        bad = self.file("bad.csv", "a,1,4x,0\nb,1,4x,1\nc,1,4X,1\n")
        lines = self.run_host("--check", "--tags", bad, "4x1", status=1).lines
        self.assertEqual(3, len(lines))
        self.assertIn("bad.csv:1: 4x0: out of range", lines[0])
        self.assertIn("bad.csv:3: unknown register type", lines[1])
        self.assertIn("4x1: valid", lines[2])
        self.assertIn("--check wants addresses", self.run_host("--check", status=2).err)

    def test_copies_of_32_bit_values_that_overlap(self):
        result = self.run_host("--multi-copy", "4x_double1", "--copies", "3")
        self.assertIn("warning: copies overlap", result.out)
        self.assertNotIn("overlap", self.run_host("--multi-copy", "4x_double1", "--copies", "3", "--step", "2").out)
        self.assertNotIn("overlap", self.run_host("--multi-copy", "4x1", "--copies", "3").out)
        clamped = self.run_host("--multi-copy", "4x65535", "--copies", "3", status=1)
        self.assertNotIn("32-bit", clamped.out)

    def test_multi_copy(self):
        result = self.run_host("--multi-copy", "4x_bit1.14", "--copies", "3", "--step", "1")
        self.assertEqual(["4x_bit1.14 (zero-based 14)", "4x_bit1.15 (zero-based 15)", "4x_bit2.0 (zero-based 16)"],
                         result.lines)
        clamped = self.run_host("--multi-copy", "4x65535", "--copies", "3", status=1)
        self.assertIn("set to the last element", clamped.out)
        below = self.run_host("--multi-copy", "4x2", "--copies", "3", "--step", "-1", status=1)
        self.assertEqual(["4x2 (zero-based 1)", "4x1 (zero-based 0)"], below.lines[:2])
        self.assertIn("4x0 (zero-based -1): out of range", below.lines[2])
        below = self.run_host("--json", "--multi-copy", "4x1", "--copies", "2", "--step", "-1", status=1)
        self.assertEqual([True, False], [json.loads(line)["valid"] for line in below.lines])


class Plan(RtuHostTest):
    def test_as_text(self):
        out = self.run_host("--plan", "-b", "9600", "-o", "0.5", "--retries", "2", "4x1..10", "4x15", "4x_double9").out
        self.assertIn("4x1..15", out)
        self.assertIn("8+35", out)
        self.assertIn("2 attempts x 500 ms time-out", out)
        self.assertIn("read twice a round, as 4x and as 4x_double", out)
        self.assertIn("9600 baud 8E1", out)

    def test_at_the_pace_of_simulated_slaves(self):
        sim = self.file("slow.sim", "baud 4800\nstation 1\n4x 1 = 1\n")
        self.assertIn("4800 baud 8N2", self.run_host("--plan", "--sim", sim, "4x1").out)
        self.assertIn("9600 baud 8N2", self.run_host("--plan", "--sim", sim, "-b", "9600", "4x1").out)

    def test_blocks_are_those_that_an_odd_limit_leaves(self):
        for limit in (("--max-words", "9"), ("--property", "1#0#0#3#9#0")):
            self.assertIn("4x1..8", self.run_host("--plan", *limit, "4x1..12").out)

    def test_as_json(self):
        plan = json.loads(self.run_host("--plan", "--json", "4x1..10", "4x15").out)
        self.assertEqual(4, plan["blocks"][0]["unused"])

    def test_as_picture(self):
        picture = self.file("plan.svg")
        self.run_host("--plan", picture, "4x1..10", "4x15", "0x1@2")
        root = xml.etree.ElementTree.parse(picture).getroot()
        texts = [element.text for element in root.iter("{http://www.w3.org/2000/svg}text")]
        self.assertTrue(any(text.startswith("Station 2") for text in texts), texts)
        self.assertIn("4x1..15", texts)

    def test_an_unwritable_picture_is_an_error(self):
        self.assertIn("cannot write", self.run_host("--plan", "/nowhere/plan.svg", "4x1", status=1).err)

    def test_a_picture_on_a_full_disk_is_an_error(self):
        picture = self.file("plan.svg")
        os.symlink("/dev/full", picture)
        result = self.run_host("--plan", picture, "--force", "4x1", status=1)
        self.assertIn("cannot write " + picture, result.err)


class Misuse(RtuHostTest):
    def test_exit_status_two_with_the_reason(self):
        cases = ((["-1"], "no port given"), (["--nonsense", "p"], "--nonsense"),
                 (["-1", "p", "4x0"], "4x0: out of range"), (["-1", "p", "9x1"], "is neither an address nor a value"),
                 (["-1", "p", "3x5=1"], "3x is read-only"), (["-a", "x", "p"], "not a station"),
                 (["--tags", "/nowhere.csv", "p"], "cannot read the tag file"),
                 (["-1", "p", "40100"], "did you mean 4x100? Write 4x1=40100 for the value"),
                 (["-1", "--property", "1#0#0", "p", "4x1"], "five or six fields"),
                 (["--describe", "5x"], "unknown register type"), (["--property"], "--property"))
        for arguments, reason in cases:
            result = self.run_host(*arguments, status=2)
            self.assertIn(reason, result.err)
            self.assertEqual("", result.out)

    def test_no_output_that_was_asked_for_is_left_out_in_silence(self):
        capture = self.file("line.pcap")
        for arguments in (["--sim", self.sim, "--probe", "1", "--pcap", capture], ["--sim", self.sim, "--probe", "1", "-v"],
                          ["--sim", self.sim, "--probe", "1", "--csv"], ["--find", "p", "--csv"],
                          ["--replay", capture, "--csv"], ["--plan", "4x1", "--csv"], ["--list-types", "--csv"]):
            result = self.run_host(*arguments, status=2)
            self.assertIn(arguments[-1] if arguments[-1] != capture else "--pcap", result.err)
        self.assertFalse(os.path.exists(capture))

    def test_tag_file_errors_name_the_line(self):
        tags = self.file("tags.csv", "a,1,4x,1\nb,1,4x,0\n")
        self.assertIn("tags.csv:2: 4x0: out of range", self.simulate("-1", "--tags", tags, status=2).err)

    def test_a_missing_driver_is_an_error(self):
        self.assertIn("cannot load the driver /nowhere.so",
                      self.run_host("--driver", "/nowhere.so", "--list-types", status=1).err)

    def test_a_bad_simulation_file_is_an_error(self):
        sim = self.file("bad.sim", "station 1\n5x 1 = 1\n")
        result = self.run_host("--sim", sim, "-1", "4x1", status=2)
        self.assertIn("bad.sim:2: ", result.err)
        nobody = self.file("nobody.sim", "baud 9600\n")
        self.assertIn("describes no station", self.run_host("--sim", nobody, "-1", "4x1", status=2).err)
        self.assertIn("simulated slaves: /nowhere: No such file",
                      self.run_host("--serve", "/nowhere", "pty", status=2).err)


if __name__ == "__main__":
    unittest.main()
