"""The command line of rtuhost on simulated slaves: every option, end to end."""
import csv
import io
import json
import os
import pty
import re
import select
import signal
import subprocess
import tty
import unittest
import unittest.mock
import xml.etree.ElementTree

from rtuhost_under_test import PATIENCE, RTUHOST, SOURCE, RtuHostTest, frame, wait_for

# What the contract checker advises against, and these tests are about.
LOCAL_WRITES = unittest.mock.patch.dict(os.environ, MODBUS_RTU_CHECK_IGNORE="local-only")
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


class Reading(RtuHostTest):
    def values(self, *arguments):
        result = self.simulate("-1", "-q", *arguments)
        return [line.split()[1] for line in result.lines]

    def test_each_type_in_the_drivers_notation(self):
        self.assertEqual(["10", "20"], self.values("4x1..2"))
        self.assertEqual(["0", "1"], self.values("0x1..2"))
        self.assertEqual(["1", "0"], self.values("1x1..2"))
        self.assertEqual(["7", "-3"], self.values("3x1..2:int16"))
        self.assertEqual(["0", "1", "0", "1"], self.values("4x_bit1.0..1.3"))
        self.assertEqual(["1"], self.values("3x_bit1.0"))
        self.assertEqual(["305419896"], self.values("4x_double101"))
        self.assertEqual([str((7 << 16) + 65533)], self.values("3x_double1"))

    def test_the_habit_of_the_field(self):
        self.assertEqual(["10", "20", "30"], self.values("-a", "1", "-t", "4", "-r", "1", "-c", "3"))
        self.assertEqual(["0x1234"], self.values("-t", "4:hex", "-r", "100"))
        self.assertEqual(["0x1234"], self.values("-t", "4:hex", "-0", "-r", "99"))
        self.assertEqual(["1.5"], self.values("-t", "4:float", "-r", "103"))
        self.assertEqual(["305419896", "1069547520"], self.values("-t", "4:int", "-r", "101", "-c", "2"))
        self.assertEqual(["0", "1"], self.values("-t", "0", "-c", "2"))
        self.assertEqual(["1", "0"], self.values("-t", "1", "-c", "2"))
        self.assertEqual(["7", "65533"], self.values("-t", "3", "-c", "2"))
        self.assertEqual(["10", "5"], self.values("-a", "1,2", "-r", "1"))

    def test_a_line_of_mbpoll(self):
        port = self.file("port")
        self.serve(port)
        result = self.run_host("-m", "rtu", "-1", "-b", "9600", "-P", "none", "-a", "1", "-t3", "-r", "1", "-c", "2",
                               "-F", port)
        self.assertEqual(["1:3x1", "7"], result.lines[-2].split())
        self.assertEqual(["1:3x2", "65533", "(-3)"], result.lines[-1].split())
        last = self.run_host("-1", "-q", "4x1", port)
        self.assertEqual(["1:4x1", "10"], last.lines[0].split())

    def test_the_other_word_order_is_told_once(self):
        told = "mbpoll without -B has the low word first: --low-word-first"
        self.assertEqual(1, self.simulate("--count", "2", "-l", "0", "-t", "4:float", "-r", "103").err.count(told))
        for arguments in (["-B", "-t", "4:float"], ["--low-word-first", "-t", "4:int"], ["-t", "4:hex"],
                          ["4x_double103:float"]):
            self.assertEqual("", self.simulate("-1", *arguments).err, arguments)

    def test_word_order(self):
        self.assertEqual(["0x56781234"], self.values("--low-word-first", "4x_double101:hex"))
        self.assertEqual(["0x12345678"], self.values("-B", "4x_double101:hex"))

    def test_tag_file(self):
        tags = self.file("tags.csv", "name,station,type,address,count,format,scale,unit\n"
                                     "level,1,4x,1,1,int16,0.1,m\nlamp,1,0x,2,,,,\n")
        result = self.simulate("-1", "-q", "--tags", tags)
        self.assertEqual(["1:0x2 lamp 1".split(), "1:4x1 level 1 m".split()],
                         sorted(line.split() for line in result.lines))

    def test_more_values_than_one_request_carries(self):
        sim = self.file("big.sim", "station 1\n4x 1..500 = 1 2 3 4 5\n")
        result = self.run_host("--sim", sim, "-1", "-q", "4x1..500")
        self.assertEqual(500, len(result.lines))
        self.assertEqual("5", result.lines[-1].split()[1])

    def test_count_of_rounds(self):
        result = self.simulate("--count", "3", "-l", "10", "-q", "4x1")
        self.assertEqual(3, len(result.lines))

    def test_condition_read(self):
        result = self.simulate("--condition-read", "4x1..2", "4x_double101:hex")
        self.assertIn("condition read of 1:4x1..2: done", result.out)
        self.assertIn("0x12345678", result.out)

    def test_failed_condition_read(self):
        result = self.simulate("--condition-read", "4x60", status=1)
        self.assertIn("condition read of 1:4x60: failed", result.out)
        self.assertIn("illegal data address", result.err)


class Output(RtuHostTest):
    def test_json(self):
        result = self.simulate("-1", "--json", "--stats", "4x1", "4x_double103:float", "4x1:hex@2")
        objects = [json.loads(line) for line in result.lines]
        self.assertEqual([10, 1.5, "0x0005"], [o["value"] for o in objects[:3]])
        self.assertEqual(["1", "103", "1"], [o["address"] for o in objects[:3]])
        self.assertEqual(3, objects[3]["statistics"]["good"])
        self.assertEqual(2, objects[3]["statistics"]["stations"][0]["frames"])

    def test_json_of_what_could_not_be_read(self):
        result = self.simulate("-1", "--json", "4x60", status=1)
        value, why = (json.loads(line) for line in result.lines)
        self.assertEqual("exception", why["cause"])
        self.assertIsNone(value["value"])
        self.assertIsNone(value["raw"])
        self.assertEqual("error", value["status"])
        self.assertEqual("R,1#4x60(1),error code:3", value["error"])

    def test_csv(self):
        result = self.simulate("-1", "--csv", "--stats", "4x1..2")
        rows = list(csv.DictReader(io.StringIO(result.out)))
        self.assertEqual(["10", "20"], [row["value"] for row in rows])
        self.assertRegex(rows[0]["time"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}[+-]\d\d:\d\d$")
        self.assertIn("line: 1 frames, 1 good", result.err)
        failed = self.simulate("-1", "--csv", "4x60", status=1)
        row = next(csv.DictReader(io.StringIO(failed.out)))
        self.assertEqual(("", "", "error", "R,1#4x60(1),error code:3"),
                         (row["value"], row["raw"], row["status"], row["error"]))

    def test_a_dead_station_holds_nothing_up(self):
        host = self.start("--sim", self.sim, "-o", "3600", "--csv", "4x1@3", "4x1")
        self.assertRegex(self.read_until(host, ",10,"), r",1,4x,1,,10,0x000A,,ok,,$")

    def test_a_silent_station_is_a_row(self):
        result = self.simulate("-1", "--csv", "-o", "0.05", "--retries", "1", "4x1@3", status=1)
        rows = [(row["station"], row["address"], row["status"]) for row in csv.DictReader(io.StringIO(result.out))]
        self.assertEqual([("3", "", "station silent"), ("3", "1", "error")], rows)

    def test_what_is_not_asked_of_a_silent_station_says_so(self):
        arguments = ("-1", "-q", "-o", "0.05", "--retries", "1", "4x1@3=5", "4x2@3", "4x1")
        lines = self.simulate(*arguments, status=1).lines
        self.assertIn("3:4x2            -   not asked: station silent", lines)
        rows = [json.loads(line) for line in self.simulate("--json", *arguments, status=1).lines]
        unread = next(row for row in rows if row.get("station") == 3 and row.get("address") == "2")
        self.assertEqual((None, "unknown", "not asked: station silent"),
                         (unread["value"], unread["status"], unread["error"]))

    def test_log_is_appended_to_beside_the_output(self):
        log = self.file("rows.csv")
        for _ in range(2):
            self.assertIn("1:4x1            7", self.simulate("-1", "--log", log, "4x1=7", "4x1").out)
        with open(log, newline="") as file:
            rows = list(csv.DictReader(file))
        self.assertEqual(["acknowledged", "ok"] * 2, [row["status"] for row in rows])
        self.assertEqual(["10", "", "10", ""], [row["old"] for row in rows])

    def test_log_of_json_lines(self):
        log = self.file("rows.jsonl")
        self.simulate("-1", "-q", "--log", log, "4x1=7", "4x1")
        rows = [json.loads(line) for line in self.read(log).splitlines()]
        self.assertEqual([("acknowledged", 7), ("ok", 7)], [(row["status"], row["value"]) for row in rows])

    def test_a_full_disk_does_not_end_the_polling(self):
        log = self.file("full.csv")
        os.symlink("/dev/full", log)
        result = self.simulate("--count", "3", "-l", "1", "-q", "--log", log, "4x1", status=1)
        self.assertEqual(3, len(result.lines))
        self.assertEqual(1, result.err.count("is not written: No space left on device"))
        self.assertIn("rows are missing", result.err)

    def test_records_in_a_file_of_their_own(self):
        for option, ending in (("--json=", "json"), ("--csv=", "csv")):
            path = self.file("rows." + ending)
            self.assertIn("1:4x1            10", self.simulate("-1", option + path, "4x1").out)
            self.assertIn('"value":10' if ending == "json" else ",10,0x000A,", self.read(path))
            self.assertIn("exists already", self.simulate("-1", option + path, "4x1", status=2).err)

    def test_what_records_nothing_has_no_log(self):
        for arguments, reason in ((["-1", "--log", "rows", "4x1"], "ends in .csv, .json or .jsonl"),
                                  (["--plan", "--log", "rows.csv", "4x1"], "records what is polled"),
                                  (["--plan", "--json=rows", "4x1"], "records what is polled")):
            self.assertIn(reason, self.simulate(*arguments, status=2).err)
        self.assertIn("cannot write /nowhere/a.csv",
                      self.simulate("-1", "--log", "/nowhere/a.csv", "4x1", status=1).err)

    def test_values_stand_below_the_frames_that_brought_them(self):
        lines = self.simulate("-1", "-v", "4x1..2").lines
        frame = next(i for i, line in enumerate(lines) if "<1 " in line)
        value = next(i for i, line in enumerate(lines) if line.startswith("1:4x1 "))
        self.assertLess(frame, value)

    def test_trace_is_decoded(self):
        result = self.simulate("-1", "-v", "4x1..2", "4x60@2", status=1)
        self.assertIn(">1  01 03 00 00 00 02 C4 0B  read holding registers 4x1..2", result.out)
        self.assertIn("2 registers: 10 20  [good]", result.out)
        self.assertIn("exception 2: illegal data address  [given up: R,2#4x60(1),error code:3]", result.out)
        self.assertNotIn("attempt 2", result.out)  # an exception is an answer

    def test_quiet(self):
        self.assertEqual(1, len(self.simulate("-1", "-q", "4x1").lines))
        self.assertGreater(len(self.simulate("-1", "4x1").lines), 1)

    def test_statistics(self):
        result = self.simulate("-1", "--stats", "4x1", "4x1@2")
        self.assertIn("line: 2 frames, 2 good", result.out)
        self.assertIn("station 2: 1 frames, 1 good", result.out)

    def test_lost_output_is_an_error(self):
        for arguments in (["--list-types"], ["--plan", "4x1"], ["--sim", self.sim, "-l", "1", "4x1"],
                          ["--sim", self.sim, "-l", "1", "--csv", "4x1"], ["--help"]):
            with open("/dev/full", "w") as full:
                completed = subprocess.run([RTUHOST, *arguments], stdin=subprocess.DEVNULL, stdout=full,
                                           stderr=subprocess.PIPE, text=True, timeout=PATIENCE)
            self.assertEqual(1, completed.returncode, arguments)
            self.assertIn("cannot write to standard output", completed.stderr)

    def test_a_reader_that_leaves_ends_the_run_and_nothing_stays_behind(self):
        host = self.start("--sim", self.sim, "-l", "1", "4x1")
        self.read_until(host, "1:4x1            10")
        host.stdout.close()
        self.assertEqual(1, host.wait(PATIENCE))
        self.assertFalse(os.path.lexists("/tmp/rtuhost-%d" % host.pid))

    def test_lines_where_there_is_no_terminal(self):
        result = self.simulate("--live", "--count", "1", "4x1")
        self.assertIn("1:4x1", result.out)
        self.assertNotIn("\x1b", result.out)


class Writing(RtuHostTest):
    def test_values_behind_a_reference(self):
        result = self.simulate("-1", "-v", "-t", "4", "-r", "5", "7", "8")
        self.assertIn("write registers 4x5..6 = 7 8", result.out)
        self.assertIn("[good]", result.out)

    def read_back(self, write, *read):
        result = self.simulate("-1", "-q", write, *read)
        return [line.split()[1] for line in result.lines]

    def test_each_writable_type_is_read_back(self):
        self.assertEqual(["9"], self.read_back("4x5=9", "4x5"))
        self.assertEqual(["9", "8"], self.read_back("4x5=9,8", "4x5..6"))
        self.assertEqual(["1"], self.read_back("0x1=on", "0x1"))
        self.assertEqual(["1", "1", "0"], self.read_back("0x1=1,1,0", "0x1..3"))
        self.assertEqual(["2.5"], self.read_back("4x_double11:float=2.5", "4x_double11:float"))
        self.assertEqual(["-7"], self.read_back("4x5:int16=-7", "4x5:int16"))

    def test_a_bit_leaves_its_neighbours_alone(self):
        self.assertEqual([str(10 | 32), "20"], self.read_back("4x_bit1.5=1", "4x1..2"))

    def test_negative_numbers_are_written_as_they_are(self):
        for number in ("-12", "-150", "-10"):
            result = self.simulate("-1", "-v", "4x5:int16", number)
            self.assertIn("write register 4x5 = %d" % (65536 + int(number)), result.out)
        self.assertEqual("", self.simulate("4x5", "-1", status=2).out)

    def test_each_write_tells_old_and_new_value(self):
        out = self.simulate("-1", "4x5", "-12").out
        self.assertIn("1:4x5: 50 -> -12, acknowledged\n", out)
        out = self.simulate("-1", "4x5=7,8", "0x1=0", "4x_double103:float=2.5", "4x100:hex=0x10").out
        for line in ("1:4x5: 50 -> 7, acknowledged", "1:4x6: 10 -> 8, acknowledged", "1:0x1: 0 -> 0, acknowledged",
                     "1:4x_double103: 1.5 -> 2.5, acknowledged", "1:4x100: 0x1234 -> 0x0010, acknowledged"):
            self.assertIn(line + "\n", out)

    @LOCAL_WRITES
    def test_what_cannot_be_read_first_is_written_all_the_same(self):
        self.assertIn("0:4x5: ? -> 7, broadcast\n", self.simulate("-1", "4x5@0=7").out)
        self.assertIn("1:4x5: ? -> 7, not sent\n", self.simulate("-1", "--local-only", "4x5=7").out)
        result = self.simulate("-1", "--fault", "exception 2 function 3", "4x5=7")
        self.assertIn("1:4x5: ? -> 7, acknowledged\n", result.out)
        self.assertEqual("", result.err)

    def test_quiet_writes_read_nothing(self):
        self.assertNotIn("read holding", self.simulate("-1", "-q", "-v", "4x5=7").out)

    def test_json_and_csv_have_a_row_for_each_value_written(self):
        row = json.loads(self.simulate("-1", "--json", "4x5", "-12").lines[0])
        self.assertEqual(("5", 50, -12, "0xFFF4", "acknowledged", ""),
                         (row["address"], row["old"], row["value"], row["raw"], row["status"], row["error"]))
        why, refused = map(json.loads, self.simulate("-1", "--json", "4x60=1", status=1).lines)
        self.assertEqual("exception", why["cause"])
        self.assertEqual((None, 1, "refused"), (refused["old"], refused["value"], refused["status"]))
        self.assertIn("exception 2", refused["error"])
        rows = list(csv.DictReader(io.StringIO(self.simulate("-1", "--csv", "4x5=7,8", "4x5").out)))
        self.assertEqual([("5", "50", "7", "acknowledged"), ("6", "10", "8", "acknowledged"), ("5", "", "7", "ok")],
                         [(row["address"], row["old"], row["value"], row["status"]) for row in rows])

    def test_verified_by_reading_back(self):
        result = self.simulate("-1", "-v", "--verify", "4x5=7")
        self.assertIn("1:4x5: 50 -> 7, acknowledged, reads the same\n", result.out)
        self.assertEqual(2, result.out.count("read holding registers 4x5"), "before and behind the write")
        self.assertEqual(1, self.simulate("-1", "-v", "4x5=7").out.count("read holding registers 4x5"))

    def test_a_decimal_comma_is_refused_with_a_hint(self):
        for arguments in (["4x_double11:float=2,5"], ["4x_double11:float", "2,5"], ["4x5:int16", "2,5"]):
            self.assertIn("2.5", self.simulate("-1", *arguments, status=2).err, arguments)
        self.simulate("-1", "4x_double11:float", "2", "5")
        self.simulate("-1", "4x_double11..13:float=2,5")
        self.simulate("-1", "4x_double11:float=2.5,5")

    def test_negative_numbers_behind_dashes(self):
        result = self.simulate("-1", "-v", "-t", "4:int16", "-r", "5", "--", "-2")
        self.assertIn("write register 4x5 = 65534", result.out)

    def test_broadcast_reaches_all_stations(self):
        self.assertEqual(["77", "77"], self.read_back("4x3@0=77", "4x3@1,2"))

    def test_broadcast_by_station_zero(self):
        result = self.simulate("-1", "-v", "-a", "0", "-r", "3", "77")
        self.assertIn(">0  00 06 00 02 00 4D", result.out)
        self.assertIn("broadcast, no reply expected  [good]", result.out)

    def test_a_failed_write_is_an_error(self):
        result = self.simulate("-1", "4x60=1", status=1)
        self.assertIn("error: station 1, write register 4x60 = 1: exception 2", result.err)

    @LOCAL_WRITES
    def test_local_writes_send_nothing(self):
        result = self.simulate("-1", "-v", "--local-only", "4x5=9")
        self.assertNotIn("write register", result.out)

    def test_many_values(self):
        sim = self.file("big.sim", "station 1\n4x 1..500 = 0\n")
        values = ",".join(str(i) for i in range(300))
        result = self.run_host("--sim", sim, "-1", "-q", "4x1=" + values, "4x1..300")
        self.assertEqual([str(i) for i in range(300)], [line.split()[1] for line in result.lines])

    def test_limits_that_no_line_takes_are_refused(self):
        for limit in ("121", "500"):
            self.assertIn("slaves take up to 120 registers", self.simulate("-1", "--max-words", limit, "4x1", status=2).err)
        self.assertIn("slaves take up to 120 registers",
                      self.simulate("-1", "--property", "1#0#0#3#0#0", "4x1", status=2).err)

    def test_an_odd_limit_is_told(self):
        self.assertIn("--max-words 9 would tear 32-bit values: using 8", self.simulate("-1", "--max-words", "9", "4x1").err)
        self.assertIn("using 8", self.run_host("--plan", "--max-words", "9", "4x1").err)

    def test_many_bits_and_doubles_with_an_odd_limit(self):
        sim = self.file("big.sim", "station 1\n4x 1..500 = 0\n")
        bits = [str(i * 7 // 3 % 2) for i in range(70)]
        result = self.run_host("--sim", sim, "-1", "-q", "--max-words", "9", "4x_bit3.4=" + ",".join(bits),
                               "4x_bit3.4..7.9")
        self.assertEqual(bits, [line.split()[1] for line in result.lines])
        doubles = [str(i * 1000003) for i in range(20)]
        result = self.run_host("--sim", sim, "-1", "-q", "--max-words", "9", "4x_double101=" + ",".join(doubles),
                               "4x_double101..139")
        self.assertEqual(doubles, [line.split()[1] for line in result.lines])


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


class Faults(RtuHostTest):
    def test_polling_goes_on_after_each_fault(self):
        for fault in ("no-reply", "late-reply 350", "wrong-crc", "flipped-bit", "truncated", "too-long", "wrong-station",
                      "wrong-function", "exception 4", "garbage-before"):
            result = self.simulate("--count", "4", "-l", "0", "-o", "0.2", "-q", "--fault", fault + " times 1",
                                   "4x1..10", "4x1..10@2", status=1 if "exception" in fault else 0)
            self.assertEqual(80, len(result.lines), fault)
            self.assertEqual("50", result.lines[-16].split()[1], fault)
            self.assertEqual("5", result.lines[-1].split()[1], fault)

    def test_replies_to_other_requests_are_refused(self):
        for fault, words in (("wrong-station", "the reply is from station"),
                             ("wrong-function", "the reply has function")):
            result = self.simulate("-1", "-o", "0.05", "--stats", "--fault", fault, "4x1", status=1)
            self.assertIn("error: station 1, read holding registers 4x1: " + words, result.err)
            self.assertIn("3 replies to other requests", result.out)

    def test_a_dead_station_costs_one_request(self):
        result = self.simulate("--count", "5", "-l", "0", "-o", "0.05", "--retries", "1", "--stats", "4x1@3", "4x1",
                               status=1)
        self.assertIn("station 3: 1 frames, 0 good", result.out)
        self.assertIn("station 1: 5 frames, 5 good", result.out)

    def test_a_dead_station_is_given_up(self):
        result = self.simulate("-1", "-o", "0.05", "--retries", "2", "--stats", "4x1@3", "4x1", status=1)
        self.assertIn("given up (R,3#4x1(1))", result.err)
        self.assertIn("station 3: 2 frames, 0 good, 1 resent, 1 given up (2 time-outs", result.out)
        self.assertIn("station 1: 1 frames, 1 good", result.out)

    def test_echo_is_removed(self):
        result = self.simulate("-1", "-v", "--remove-echo", "--fault", "echo", "4x5=9", "0x1", "4x5")
        self.assertNotIn("bad", result.out)
        self.assertIn("1:4x5            9", result.out)

    def test_numbers_of_faults_are_checked(self):
        for fault, reason in (("late-reply", '"late-reply" needs a whole number from 0 to 3600000'),
                              ("late-reply 1e12", 'not "1e12"'),
                              ("exception 0", '"exception" needs a whole number from 1 to 255, not "0"'),
                              ("wrong-crc rate 2", '"rate" needs a number from 0 to 1, not "2"'),
                              ("wrong-crc rate nan", '"rate" needs a number'),
                              ("wrong-crc times 1.5", '"times" needs a whole number'),
                              ("wrong-crc seed -1", '"seed" needs a whole number from 0 to 4294967295'),
                              ("wrong-crc station 300", '"station" needs a whole number from 0 to 255'),
                              ("wrong-crc function 131", '"function" needs a whole number from 1 to 127'),
                              ("wrong-crc often", 'unknown word "often"')):
            self.assertIn(reason, self.simulate("-1", "--fault", fault, "4x1", status=2).err)

    def test_a_bad_fault_is_refused(self):
        self.assertIn("--fault \"nonsense\"", self.simulate("-1", "--fault", "nonsense", "4x1", status=2).err)


class Ports(RtuHostTest):
    def test_a_pseudo_terminal_has_no_parity(self):
        link = self.file("port")
        self.serve(link)
        result = self.run_host("-1", link, "4x1")
        self.assertIn("is a pseudo-terminal and has no 8E1: using 8N2", result.err)
        self.assertIn("1:4x1            10", result.out)
        quiet = self.run_host("-1", "-P", "none", "-s", "2", link, "4x1")
        self.assertEqual("", quiet.err)

    def test_an_existing_port_is_served(self):
        ends = [self.file("a"), self.file("b")]
        relay = subprocess.Popen(["socat", "pty,rawer,link=" + ends[0], "pty,rawer,link=" + ends[1]])
        self.addCleanup(relay.wait)
        self.addCleanup(relay.kill)
        wait_for(lambda: all(os.path.exists(end) for end in ends), "the pair of pseudo-terminals")
        slaves = self.start("--serve", self.sim, ends[0])
        self.read_until(slaves, "serving 3 stations")
        self.assertIn("1:4x1            10", self.run_host("-1", ends[1], "4x1").out)
        status, rest = self.end(slaves)
        self.assertEqual(0, status)
        self.assertIn("station 1: 1 requests, 1 answers", rest)

    def test_unplugged_and_plugged_in_again(self):
        link = self.file("port")
        slaves = self.serve(link)
        host = self.start("-l", "50", link, "4x1")
        self.read_until(host, "1:4x1            10")
        self.end(slaves)
        self.read_until(host, "the port is gone")
        self.serve(link)
        self.read_until(host, "the port is back")
        self.read_until(host, "1:4x1            10")
        self.assertEqual(1, self.end(host)[0])

    def test_served_slaves_take_commands(self):
        link = self.file("port")
        slaves = self.start("--serve", self.sim, "pty:" + link, stdin=subprocess.PIPE)
        self.read_until(slaves, "serving 3 stations")

        def command(text):
            slaves.stdin.write(text + "\n")
            slaves.stdin.flush()
        host = self.start("-l", "50", "-o", "0.1", link, "4x1", "4x1@3")
        self.read_until(host, "3:4x1            -   error")
        command("station 3 on")
        self.read_until(host, "3:4x1            1")
        command("fault exception 4 station 1")
        self.read_until(host, "exception 4: slave device failure, given up")
        command("clear")
        self.read_until(host, "1:4x1            10\n")
        command("unplug")
        self.read_until(host, "the port is gone")
        command("replug")
        self.read_until(host, "the port is back")
        self.read_until(host, "1:4x1            10\n")
        for text, reason in (("dance", "commands are fault TEXT, clear"), ("replug", "the port is plugged in"),
                             ("clear all", '"all" is too much'), ("station 3 off now", '"now" is too much'),
                             ("station 9 on", "there is no station 9"), ("station x", "written station N on"),
                             ("fault nonsense", "unknown fault")):
            command(text)
            self.read_until(slaves, reason)
        self.read_until(host, "3:4x1            1")

    def test_served_slaves_do_not_read_what_has_no_lines_for_ever(self):
        link = self.file("port")
        with open("/dev/zero", "rb") as endless:
            slaves = self.start("--serve", self.sim, "pty:" + link, stdin=endless)
        self.read_until(slaves, "serving 3 stations")
        self.read_until(slaves, "has no lines: none is taken any more")
        self.assertIn("1:4x1            10", self.run_host("-1", "-q", link, "4x1").out)

    def test_ports_to_serve_on_are_named_in_errors(self):
        for port, reason in (("ptyx", "cannot serve on ptyx: "), (self.file("nothing"), "No such file or directory"),
                             ("pty:" + self.sim, "File exists")):
            self.assertIn(reason, self.run_host("--serve", self.sim, port, status=1).err)

    def test_one_round_ends_when_the_port_is_lost(self):
        for last in ("4x1@2", "4x5@2=9"):
            link = self.file("port")
            slaves = self.start("--serve", self.sim, "pty:" + link, "--fault", "late-reply 3600000 station 2",
                                stdin=subprocess.PIPE)
            self.read_until(slaves, "serving 3 stations")
            first = "4x1" if "=" not in last else "4x5=8"
            host = self.start("-1", "-v", "-o", "3600", "-P", "none", "-s", "2", link, first, last)
            self.read_until(host, "[good]")
            slaves.stdin.write("unplug\n")
            slaves.stdin.flush()
            self.assertIn("error: the port is gone\n", host.stdout.read())
            self.assertEqual(1, host.wait(PATIENCE))
            self.end(slaves)

    def test_one_round_does_not_wait_for_a_lost_port(self):
        self.assertIn("cannot open", self.run_host("-1", self.file("nothing"), "4x1", status=1).err)

    def test_a_port_is_used_by_one_master_only(self):
        link = self.file("port")
        self.serve(link)
        host = self.start("-l", "50", link, "4x1")
        self.read_until(host, "1:4x1            10")
        self.assertIn("in use by another program", self.run_host("-1", link, "4x1", status=1).err)

    def test_signals_end_in_good_order(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            host = self.start("--sim", self.sim, "-l", "50", "--stats", "4x1")
            self.read_until(host, "1:4x1            10")
            status, rest = self.end(host, number)
            self.assertEqual(0, status)
            self.assertIn("given up", rest)

    def slave(self):
        """A line whose far end is this test."""
        line, port = pty.openpty()
        tty.setraw(port)
        self.addCleanup(os.close, line)
        self.addCleanup(os.close, port)
        return line, os.ttyname(port)

    def expect(self, line, request):
        got = b""
        while len(got) < len(request):
            self.assertTrue(select.select([line], [], [], PATIENCE)[0], "the request")
            got += os.read(line, len(request) - len(got))
        self.assertEqual(request, got)

    def test_what_a_signal_kept_from_being_written_is_told(self):
        line, port = self.slave()
        host = self.start("-P", "none", "-s", "2", "-o", "3600", "--json", port, "4x1=5", "4x2=6", "4x3")
        self.expect(line, frame("01 03 00 00 00 01"))
        os.write(line, frame("01 03 02 00 07"))
        self.expect(line, frame("01 06 00 00 00 05"))
        status, rest = self.end(host)
        self.assertEqual(1, status)
        rows = [json.loads(row) for row in rest.splitlines() if row.startswith("{")]
        self.assertEqual([("1", 7, 5, "unconfirmed", "interrupted"), ("2", None, 6, "not sent", "interrupted")],
                         [tuple(row[key] for key in ("address", "old", "value", "status", "error")) for row in rows])
        self.assertIn("error: 1:4x1 may not have been written: interrupted", rest)
        self.assertIn("error: 1:4x2 was not written: interrupted", rest)
        self.assertEqual([], select.select([line], [], [], 0)[0], "nothing further was sent")

    def test_what_a_signal_kept_from_being_read_is_told(self):
        line, port = self.slave()
        host = self.start("-P", "none", "-s", "2", "-o", "3600", "--condition-read", port, "4x1", "4x2")
        self.expect(line, frame("01 03 00 00 00 01"))
        status, rest = self.end(host)
        self.assertEqual(1, status)
        for address in ("4x1", "4x2"):
            self.assertIn("error: 1:%s was not read: interrupted" % address, rest)

    def test_ctrl_c_sums_up(self):
        host = self.start("--sim", self.sim, "-l", "50", "-o", "0.05", "4x1", "4x1@3")
        self.read_until(host, "why: station 3")
        self.read_until(host, "1:4x1            10")
        status, rest = self.end(host)
        self.assertEqual(1, status)
        self.assertRegex(rest, r"(?m)^-- \d+ frames sent, \d+ answered, [1-9]\d* errors$")


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
