"""rtuhost where slaves fail, and ports go, come or are shared."""
import json
import os
import pty
import select
import signal
import subprocess
import sys
import tty
import unittest

from rtuhost_under_test import PATIENCE, RTUHOST, RtuHostTest, frame, wait_for


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

    def test_served_slaves_leave_the_terminal_to_who_is_in_front(self):
        link = self.file("port")
        shell, terminal = pty.openpty()
        self.addCleanup(os.close, shell)
        job = """import fcntl, os, subprocess, sys, termios
fcntl.ioctl(0, termios.TIOCSCTTY, 0)
slaves = subprocess.Popen(sys.argv[1:], preexec_fn=lambda: os.setpgid(0, 0), stdout=subprocess.PIPE)
os.write(1, b"%d " % slaves.pid + slaves.stdout.readline())
slaves.wait()"""
        front = subprocess.Popen([sys.executable, "-c", job, RTUHOST, "--serve", self.sim, "pty:" + link], stdin=terminal,
                                 stdout=subprocess.PIPE, start_new_session=True)
        os.close(terminal)
        self.addCleanup(front.stdout.close)
        self.addCleanup(front.wait)
        self.addCleanup(front.kill)
        told = front.stdout.readline()
        self.addCleanup(os.kill, int(told.split()[0]), signal.SIGKILL)
        self.assertIn(b"serving 3 stations", told)
        os.write(shell, b"typed for the shell\n")
        for _ in range(3):
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


if __name__ == "__main__":
    unittest.main()
