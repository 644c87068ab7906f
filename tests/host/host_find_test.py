"""rtuhost finding out who answers on a port."""
import json
import os
import pty
import re
import select
import tty
import unittest

from rtuhost_under_test import PATIENCE, RtuHostTest, frame


class Finding(RtuHostTest):
    def setUp(self):
        super().setUp()
        self.port = self.file("slaves")

    def test_who_answers_an_object_a_station(self):
        self.serve(self.port)
        result = self.run_host("--find", self.port, "--json", "-a", "1-4")
        found = [json.loads(line) for line in result.lines]
        self.assertEqual([1, 2], [station["station"] for station in found])
        self.assertEqual("register 1 is 10", found[0]["answer"])
        self.assertLessEqual({"station", "baud", "parity", "stop_bits", "answer"}, set(found[0]))

    def test_in_words_with_the_command_to_go_on_with(self):
        self.serve(self.port)
        result = self.run_host("--find", self.port, "-a", "2", "-b", "9600", "-P", "none", "-s", "1")
        self.assertRegex(result.lines[0], r"^station 2 answers at 9600 baud 8N1: register 1 is 5, after ")
        self.assertEqual("go on with: rtuhost -b 9600 -P none -s 1 -a 2 %s 4x1" % self.port, result.lines[1])

    def test_at_the_rates_that_are_given(self):
        self.serve(self.port)
        result = self.run_host("--find", self.port, "--json", "-a", "2", "-b", "57600,9600")
        self.assertEqual([57600], [json.loads(line)["baud"] for line in result.lines])

    def test_nobody(self):
        line, far = pty.openpty()
        tty.setraw(far)
        self.addCleanup(os.close, line)
        self.addCleanup(os.close, far)
        result = self.run_host("--find", os.ttyname(far), "-a", "1-2", "-o", "0.01", status=1)
        self.assertEqual("", result.out)
        self.assertIn("not one byte came back", result.err)
        told = self.run_host("--find", os.ttyname(far), "-a", "1-2", "-o", "0.01", "--json", status=1)
        self.assertEqual(1, len(told.lines))
        self.assertEqual("silent", json.loads(told.out)["cause"])
        self.assertIn("not one byte came back", json.loads(told.out)["text"])

    def test_what_a_station_takes(self):
        sim = self.file("one.sim", "baud 19200\nstation 7\n4x 1..40 = 1\n4x 51..60 = 2\n3x 1..5 = 3\n")
        port = self.file("one")
        slaves = self.start("--serve", sim, "pty:" + port)
        self.read_until(slaves, "serving 1 station")
        result = self.run_host("--probe", "7", port, "-o", "0.3")
        found = dict(re.split(r":\s+", line, maxsplit=1) for line in result.lines[:2])
        self.assertEqual({"readable": "4x1..40 4x51..60", "holes": "4x41..50 4x61..120"}, found)
        self.assertIn("largest block:  40; the range has no more in a row", result.out)
        self.assertRegex(result.out, r"use: +rtuhost -b 19200 -P none -s 2 -a 7 --max-words 40 -o 0\.\d+ .*%s 4x1\.\.40\n"
                         % re.escape(port))
        self.assertEqual("property:       1#0#0#3#40#0", result.lines[-1])
        told = json.loads(self.run_host("--probe", "7", "--json", port, "3x1..8").out)
        self.assertEqual((7, ["3x1..5"], ["3x6..8"], 5, "1#0#0#3#4#0"),
                         (told["station"], told["readable"], told["holes"], told["largest_block"], told["property"]))
        nothing = self.run_host("--probe", "7", "--json", port, "4x100..103", status=1)
        self.assertEqual(([], "exception", "no element of the range can be read: exception 2: illegal data address"),
                         tuple(json.loads(nothing.out)[key] for key in ("readable", "cause", "text")))
        self.assertIn("why:            no element", self.run_host("--probe", "7", port, "4x100..103", status=1).out)
        silent = self.run_host("--probe", "8", "--json", "-o", "0.05", port, status=1)
        self.assertEqual((8, "silent"), (json.loads(silent.out)["station"], json.loads(silent.out)["cause"]))
        self.assertIn("why: station 8: after 3 attempts", silent.err)

    def beside(self, *arguments):
        """A run that has asked its first question; the far end of its line is this test."""
        line, port = pty.openpty()
        tty.setraw(port)
        self.addCleanup(os.close, port)
        host = self.start(*(os.ttyname(port) if argument == "PORT" else argument for argument in arguments))
        self.await_request(line)
        return host, line

    def await_request(self, line):
        got = b""
        while len(got) < 8:
            self.assertTrue(select.select([line], [], [], PATIENCE)[0], "a request")
            got += os.read(line, 8 - len(got))

    def lose_port(self, host, line, form):
        """Behind the next request. Gives what is said, of which the last line is the cause for programs."""
        self.await_request(line)
        os.close(line)
        rest = host.stdout.read()
        self.assertEqual(1, host.wait(PATIENCE))
        if form:
            self.assertEqual("port_lost", json.loads(rest.splitlines()[-1])["cause"])
        return rest

    def test_a_probe_whose_port_goes(self):
        for form in ([], ["--json"]):
            host, line = self.beside("--probe", "7", "-P", "none", "-s", "2", "-o", "3600", *form, "PORT", "4x1..20")
            os.write(line, frame("07 03 02 00 05"))
            rest = self.lose_port(host, line, form)
            self.assertIn("the port is gone, and not all was known yet", rest)
            for finding in ("holes", "readable", "largest", "-o 0.1", "--max-words"):
                self.assertNotIn(finding, rest)

    def test_a_time_out_is_advised_where_one_was_measured(self):
        for form in ([], ["--json"]):
            host, line = self.beside("--probe", "7", "-P", "none", "-s", "2", "-o", "0.5", *form, "PORT", "4x1")
            os.write(line, frame("07 03 02 00 05"))
            self.await_request(line)
            os.write(line, frame("07 03 02 00 05"))
            rest = host.stdout.read()
            os.close(line)
            self.assertEqual(1, host.wait(PATIENCE))
            self.assertRegex(rest, "-b 19200 -P none -s 2 -a 7 --max-words 2[ \"](?!-o)")
            if form:
                told = json.loads(rest.splitlines()[-1])
                self.assertEqual([None] * 4, [told[key] for key in ("reply_median_ms", "reply_longest_ms", "block_ms",
                                                                    "silence_ms")])
            else:
                self.assertIn("replies begin:  not measured, it answers no more", rest)

    def test_a_search_whose_port_goes(self):
        for form in ([], ["--json"]):
            host, line = self.beside("--find", "PORT", "-a", "1-2", "-o", "3600", *form)
            os.write(line, frame("01 03 02 00 05"))
            rest = self.lose_port(host, line, form)
            self.assertIn("the search was cut short: the port is gone", rest)
            self.assertNotIn("go on with", rest)

    def test_a_search_that_is_ended(self):
        host, line = self.beside("--find", "PORT", "-b", "9600", "-o", "2")
        os.write(line, frame("01 03 02 00 05"))
        self.read_until(host, "station 1 answers")
        status, rest = self.end(host)
        os.close(line)
        self.assertEqual(1, status)
        self.assertIn("the search was cut short: ended before all were asked\n", rest)
        self.assertIn("go on with: rtuhost -b 9600", rest)

    def test_misuse(self):
        for arguments, reason in ((["4x1", "4x5"], "one range"), (["4x_double1"], "write the range as 4x1..120"),
                                  (["4x1=5"], "values to write do not go with --probe")):
            self.assertIn(reason, self.run_host("--probe", "7", "/dev/null", *arguments, status=2).err)
        self.assertIn("is too much", self.run_host("--find", "/dev/null", "4x1", status=2).err)
        self.run_host("--find", self.file("none"), status=1)


if __name__ == "__main__":
    unittest.main()
