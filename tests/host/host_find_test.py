"""rtuhost finding out who answers on a port."""
import json
import os
import pty
import tty
import unittest

from rtuhost_under_test import RtuHostTest


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

    def test_nobody(self):
        line, far = pty.openpty()
        tty.setraw(far)
        self.addCleanup(os.close, line)
        self.addCleanup(os.close, far)
        result = self.run_host("--find", os.ttyname(far), "-a", "1-2", "-o", "0.01", status=1)
        self.assertEqual("", result.out)
        self.assertIn("not one byte came back", result.err)

    def test_misuse(self):
        self.assertIn("is too much", self.run_host("--find", "/dev/null", "4x1", status=2).err)
        self.run_host("--find", self.file("none"), status=1)


if __name__ == "__main__":
    unittest.main()
