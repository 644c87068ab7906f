"""rtuhost naming the cause when a port or a slave does not do what it is asked."""
import json
import unittest

from rtuhost_under_test import RtuHostTest


class Causes(RtuHostTest):
    def poll(self, *arguments, status=1):
        return self.simulate("--count", "3", "-l", "0", "-o", "0.05", *arguments, status=status)

    def test_each_is_said_once_for_a_station(self):
        for fault, words in (("no-reply", "after 3 attempts not one byte came back: look at the wires"),
                             ("wrong-crc", "replies begin as they should and are damaged"),
                             ("wrong-station", "another master is on the line"),
                             ("wrong-function", "two stations with the same address"),
                             ("exception 2", "exception 2: illegal data address: it has not all of what was asked for")):
            result = self.poll("--fault", fault, "4x1")
            told = [line for line in result.err.splitlines() if words in line]
            self.assertEqual(1, len(told), result.err)
            self.assertTrue(told[0].startswith("why: station 1: "), told)

    def test_a_silent_station_is_told_from_a_silent_line(self):
        err = self.poll("4x1", "4x1@3").err
        self.assertEqual(1, err.count("why: "), err)
        self.assertIn("why: station 3: after 3 attempts not one byte came back, while others answer", err)

    def test_an_echo(self):
        result = self.poll("--fault", "echo", "4x1", status=0)
        self.assertEqual(1, result.err.count("why: "), result.err)
        self.assertIn("why: station 1: this is your request come back", result.err)
        self.assertIn("--remove-echo", result.err)
        self.assertEqual("", self.poll("--remove-echo", "--fault", "echo", "4x1", status=0).err)

    def test_what_works_needs_no_reason(self):
        self.assertEqual("", self.poll("4x1", status=0).err)

    def test_a_read_before_a_write_is_nobodys_question(self):
        self.assertEqual("", self.simulate("-1", "--fault", "exception 2 function 3", "4x5=7").err)

    def test_as_an_object(self):
        result = self.poll("--json", "4x60")
        causes = [row for row in map(json.loads, result.lines) if "cause" in row]
        self.assertEqual([(1, "exception", 2)], [(row["station"], row["cause"], row["exception"]) for row in causes])
        self.assertLessEqual({"time", "text", "attempts"}, set(causes[0]))

    def test_a_port_that_is_not_there(self):
        port = self.file("nothing")
        result = self.run_host("-1", "--json", port, "4x1", status=1)
        self.assertRegex(result.err, "cannot open .*: No such file or directory; (there (is|are) /dev/|this machine)")
        self.assertEqual("missing", json.loads(result.out)["cause"])
        for option in ("--find", "--listen"):
            self.assertRegex(self.run_host(option, port, status=1).err, "; (there (is|are) /dev/|this machine)")

    def test_a_port_in_use_names_the_program(self):
        port = self.file("port")
        self.serve(port)
        host = self.start("-l", "50", port, "4x1")
        self.read_until(host, "1:4x1            10")
        result = self.run_host("-1", "--json", port, "4x1", status=1)
        self.assertIn("rtuhost (process %d)" % host.pid, result.err)
        self.assertEqual("busy", json.loads(result.out)["cause"])


if __name__ == "__main__":
    unittest.main()
