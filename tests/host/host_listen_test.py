"""rtuhost listening to a line that others use, and reading captures of it."""
import datetime
import json
import os
import pty
import select
import signal
import struct
import subprocess
import tty
import unittest

from rtuhost_under_test import PATIENCE, RTUHOST, RtuHostTest, frame, wait_for


READ = frame("01 03 00 6B 00 03")
READ_REPLY = frame("01 03 06 02 2B 00 00 00 64")


class ListenTest(RtuHostTest):
    def setUp(self):
        super().setUp()
        self.line, far = pty.openpty()
        tty.setraw(far)
        self.port = os.ttyname(far)
        self.addCleanup(os.close, self.line)
        self.addCleanup(os.close, far)

    def listen(self, *arguments):
        process = subprocess.Popen([RTUHOST, "--listen", self.port, *arguments], stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stderr.close)
        process.stderr.readline()  # the port is open when it tells that a pseudo-terminal has no parity
        return process

    def end(self, process):
        process.send_signal(signal.SIGINT)
        out, err = process.communicate(timeout=PATIENCE)
        self.assertEqual(0, process.returncode, err)
        return out.decode()

    def say(self, *frames):
        for text in frames:
            os.write(self.line, text)


class Listening(ListenTest):
    def test_lines_as_the_trace_has_them_and_a_summary(self):
        process = self.listen()
        self.say(READ, READ_REPLY)
        lines = [process.stdout.readline().decode() for _ in range(2)]
        self.assertRegex(lines[0], r" >1  01 03 00 6B 00 03 74 17  read holding registers 4x108\.\.110$")
        self.assertRegex(lines[1], r" <1  01 03 06 02 2B 00 00 00 64 05 7A  3 registers: 555 0 100$")
        self.assertEqual("1 transaction: 1 good, 0 exceptions, 0 without a reply\n", self.end(process))

    def test_json_a_transaction_with_the_names_of_tags(self):
        tags = self.file("tags.csv", "name,type,address\nlevel,4x,109\n")
        process = self.listen("--json", "--tags", tags)
        self.say(b"\x55", READ, READ_REPLY, READ, frame("01 83 02"))
        garbage, good, refused = (json.loads(process.stdout.readline()) for _ in range(3))
        self.assertEqual("garbage", garbage["answer"])
        self.assertEqual((1, 3, 108, 3, [555, 0, 100], ["level"], None),
                         tuple(good[key] for key in ("station", "function", "address", "count", "values", "names",
                                                     "exception")))
        self.assertRegex(good["time"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}[+-]")
        self.assertEqual((2, None), (refused["exception"], refused["values"]))
        self.assertEqual("", self.end(process))

    def test_tags_without_a_name_hide_none(self):
        tags = self.file("tags.csv", "name,type,address,count\n,4x,108,3\nlevel,4x,109,1\n")
        process = self.listen("--json", "--tags", tags)
        self.say(READ, READ_REPLY)
        self.assertEqual(["level"], json.loads(process.stdout.readline())["names"])
        self.end(process)

    def test_statistics_of_each_station(self):
        process = self.listen("--stats", "-o", "3600")
        self.say(READ, READ_REPLY, READ, frame("01 83 02"), frame("02 03 00 00 00 01"), READ)
        for _ in range(6):
            process.stdout.readline()
        line, first, second = self.end(process).splitlines()[-3:]
        self.assertRegex(line, r"^line: 4 requests, 1 good, 1 exception, 1 without a reply, 1 still open, reply ")
        self.assertRegex(first, r"^station 1: 3 requests, 1 good, 1 exception, 0 without a reply, 1 still open, reply "
                                r"\S+ \S+ median, \S+ \S+ 95 %, \d+\.\d % of the line$")
        self.assertRegex(second, r"^station 2: 1 request, 0 good, 0 exceptions, 1 without a reply, \d")

    def test_statistics_as_json(self):
        process = self.listen("--stats", "--json")
        self.say(READ, READ_REPLY)
        process.stdout.readline()
        total = json.loads(self.end(process))["statistics"]
        self.assertEqual((1, 1, 0, 0, 0), tuple(total[key] for key in ("requests", "good", "exceptions", "silent",
                                                                      "open")))
        self.assertEqual(1, total["stations"][0]["station"])
        self.assertGreaterEqual(total["stations"][0]["reply_median_ms"], 0)

    def test_a_log_has_the_rows_of_polling(self):
        tags = self.file("tags.csv", "name,type,address\nlevel,4x,109\n")
        log = self.file("log.csv")
        process = self.listen("--log", log, "--tags", tags)
        write = frame("02 06 00 04 00 07")
        self.say(READ, READ_REPLY, write, write, READ, frame("01 83 02"))
        for _ in range(6):
            process.stdout.readline()
        self.assertIn("3 transactions", self.end(process))
        rows = [row.split(",") for row in self.read(log).splitlines()]
        self.assertEqual("time,station,type,address,name,value,raw,unit,status,error,old".split(","), rows[0])
        self.assertRegex(rows[1][0], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}[+-]")
        self.assertEqual([["1", "4x", "108", "", "555", "0x022B", "", "ok"],
                          ["1", "4x", "109", "level", "0", "0x0000", "", "ok"],
                          ["1", "4x", "110", "", "100", "0x0064", "", "ok"],
                          ["2", "4x", "5", "", "7", "0x0007", "", "acknowledged"]],
                         [row[1:9] for row in rows[1:5]])
        for row in rows[5:]:
            self.assertEqual(["", "error"], [row[5], row[8]])
            self.assertIn("exception 2", row[9])
        self.assertEqual(8, len(rows))
        again = self.listen("--log", log)
        self.say(b"\x55")
        again.stdout.readline()  # it listens; a signal before would end it otherwise
        self.end(again)
        self.assertEqual(8, len(self.read(log).splitlines()), "one header")

    def test_a_log_that_cannot_be_written_is_told(self):
        log = self.file("full.jsonl")
        os.symlink("/dev/full", log)
        process = self.listen("--log", log)
        self.say(READ, READ_REPLY)
        process.stdout.readline()
        process.send_signal(signal.SIGINT)
        error = process.communicate(timeout=PATIENCE)[1].decode()
        self.assertIn("is not written: No space left on device", error)
        self.assertIn("rows are missing", error)
        self.assertEqual(1, process.returncode)

    def test_it_never_sends(self):
        process = self.listen()
        self.say(READ)
        process.stdout.readline()  # told when the reply's time is up
        self.end(process)
        self.assertEqual([], select.select([self.line], [], [], 0)[0])

    def test_a_capture_is_told_as_it_was_heard(self):
        capture = self.file("line.pcap")
        process = self.listen("--json", "--pcap", capture)
        self.say(READ, READ_REPLY)
        heard = process.stdout.readline().decode()
        self.end(process)
        told = self.run_host("--replay", capture, "--json").out
        self.assertEqual({**json.loads(heard), "time": ""}, {**json.loads(told), "time": ""})

    def test_a_lost_port_is_an_error(self):
        line, far = pty.openpty()
        self.port = os.ttyname(far)
        process = self.listen()
        os.close(far)
        os.close(line)
        self.assertIn(b"the port is gone", process.stderr.readline())
        process.send_signal(signal.SIGINT)
        process.communicate(timeout=PATIENCE)
        self.assertEqual(1, process.returncode)

    def test_a_capture_that_exists_is_kept(self):
        capture = self.file("line.pcap", "old")
        result = self.run_host("--listen", self.port, "--pcap", capture, status=2)
        self.assertIn("exists already", result.err)
        self.assertEqual("old", self.read(capture))

    def test_a_capture_for_a_pipe_has_standard_output_for_itself(self):
        process = self.listen("--pcap", "-")
        self.say(READ)
        self.assertEqual(bytes.fromhex("4D3CB2A1"), process.stdout.read(24)[:4])
        self.assertEqual(READ, process.stdout.read(16 + len(READ))[16:])
        self.assertEqual("", self.end(process))

    def test_a_pipe_that_nobody_reads_any_more_ends_it(self):
        process = self.listen("--pcap", "-")
        process.stdout.close()
        wait_for(lambda: self.say(READ) or process.poll() is not None, "the end")
        self.assertEqual(1, process.returncode)


class Replaying(ListenTest):
    def poll(self, *arguments):
        capture = self.file("polled.pcap")
        values = self.simulate("-q", "--count", "2", "-l", "10", "--pcap", capture, *arguments).out
        return capture, values

    def test_what_was_polled_runs_through_driver_and_tags_again(self):
        capture, values = self.poll("4x1..3", "0x1..2")
        self.assertEqual(values, self.run_host("--replay", capture, "-q", "-l", "10", "4x1..3", "0x1..2").out)

    def shifted(self, capture, years):
        """The capture as if it had been made so many years before."""
        with open(capture, "rb") as file:
            content = file.read()
        moved, at = content[:24], 24
        while at < len(content):
            seconds, parts, size, whole = struct.unpack_from("<IIII", content, at)
            moved += struct.pack("<IIII", seconds - years * 365 * 86400, parts, size, whole)
            moved += content[at + 16:at + 16 + size]
            at += 16 + size
        path = self.file("shifted.pcap")
        with open(path, "wb") as file:
            file.write(moved)
        return path

    def test_a_capture_from_before_the_machine_started_is_replayed_alike(self):
        capture, values = self.poll("4x1..3")
        old = self.shifted(capture, 20)
        self.assertEqual(values, self.run_host("--replay", old, "-q", "-l", "10", "4x1..3").out)
        told, toldOld = (self.run_host("--replay", path, "--stats", "--json").lines for path in (capture, old))
        self.assertEqual(told[-1], toldOld[-1])
        self.assertLess(json.loads(toldOld[-1])["statistics"]["seconds"], PATIENCE)
        times = [[json.loads(line)["time"] for line in lines[:-1]] for lines in (told, toldOld)]
        for now, then in zip(*times):
            day = datetime.datetime.fromisoformat
            self.assertEqual(datetime.timedelta(days=20 * 365), day(now) - day(then))
        self.assertIn(times[1][0][:10], self.run_host("--replay", old, "--json", "-l", "10", "4x1").lines[0])

    def test_faults_come_again(self):
        capture = self.file("faults.pcap")
        arguments = ("-q", "--retries", "1", "--json", "4x1")
        polled = self.simulate("-1", "--fault", "exception 4 times 1", "--pcap", capture, *arguments, status=1)
        replayed = self.run_host("--replay", capture, *arguments, status=1)
        self.assertEqual("error", json.loads(polled.lines[0])["status"])
        for key in ("value", "status", "error"):
            self.assertEqual(json.loads(polled.lines[0])[key], json.loads(replayed.lines[0])[key])

    def test_what_was_listened_to_is_read_with_other_requests(self):
        capture = self.file("line.pcap")
        process = self.listen("--json", "--pcap", capture)
        for _ in range(2):
            self.say(READ, READ_REPLY)
            process.stdout.readline()
        self.end(process)
        values = self.run_host("--replay", capture, "-q", "-l", "1", "--retries", "1", "4x110").lines
        self.assertEqual("100", values[0].split()[1])

    def test_a_capture_in_a_pipe_leaves_values_to_standard_error(self):
        command = [RTUHOST, "--sim", self.sim, "-1", "-q", "--pcap", "-", "4x1"]
        completed = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, timeout=PATIENCE, check=True)
        self.assertEqual(bytes.fromhex("4D3CB2A1"), completed.stdout[:4])
        self.assertIn(b"10", completed.stderr)

    def test_polling_ends_when_nobody_reads_the_capture_any_more(self):
        command = [RTUHOST, "--sim", self.sim, "-l", "10", "-q", "--pcap", "-", "4x1"]
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        self.assertEqual(bytes.fromhex("4D3CB2A1"), process.stdout.read(4))
        process.stdout.close()
        self.assertEqual(1, process.wait(PATIENCE))

    def test_a_full_disk_is_told(self):
        self.assertIn("not whole", self.simulate("-1", "--pcap", "/dev/full", "4x1", status=1).err)


class Misuse(ListenTest):
    def test_what_does_not_go_together(self):
        for arguments, reason in (
                (["--listen", self.port, "4x1"], "4x1\" is too much"),
                (["--listen", self.port, "--csv"], "no CSV"),
                (["--listen", self.port, "--pcap", "-", "--json"], "standard output for itself"),
                (["--listen", self.port, "--replay", "x"], "two things at once"),
                (["--replay", self.file("none.pcap")], "cannot read"),
                (["--replay", self.file("none.pcap"), "4x1=5"], "do not go with --replay"),
                (["--plan", "--pcap", "x", "4x1"], "captures a line"),
        ):
            self.assertIn(reason, self.run_host(*arguments, status=2).err)

    def test_what_is_no_capture(self):
        self.assertIn("no capture", self.run_host("--replay", self.sim, status=1).err)


if __name__ == "__main__":
    unittest.main()
