"""What rtuhost reads from simulated slaves, and what it records of it."""
import csv
import io
import json
import os
import subprocess
import unittest

from rtuhost_under_test import PATIENCE, RTUHOST, RtuHostTest, frame


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


if __name__ == "__main__":
    unittest.main()
