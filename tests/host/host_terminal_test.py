"""The live view of rtuhost on a terminal: what is on the screen, and how the
terminal is left behind.

tmux plays the terminal; its screen is read as text. A pseudo-terminal without it
shows the bytes and the terminal settings at the end.
"""
import fcntl
import os
import pty
import re
import signal
import struct
import subprocess
import termios
import unittest

import pexpect
import pexpect.fdpexpect

from rtuhost_under_test import COMMAND, PATIENCE, RtuHostTest, wait_for

PROGRAM = " ".join(COMMAND)
LEAVE_SCREEN = b"\x1b[?1049l"
SHOW_CURSOR = b"\x1b[?25h"

TAGS = """name,station,type,address,count,format,scale,unit
level,1,4x,1,3,uint16,,
speed,1,4x,4,1,int16,0.1,rpm
sensor,1,3x,1,1,int16,0.1,\u00b0C
lamp,1,0x,1,1,,,
flag,1,4x_bit,1.1,1,,,
total,1,4x_double,101,1,hex,,
other,2,4x,1,1,,,
ticks,2,4x,10,1,,,
"""

PLANT = """
station 1
4x 1..50 = 10 20 30 40 50
4x_double 101 = 305419896
0x 1..16 = 0 1
3x 1..10 = 7 -3
station 2
4x 1..9 = 5
4x 10 counter every 200
"""


class Screen:
    """A program in a terminal of tmux, on a server of its own."""

    opened = 0

    def __init__(self, test, command, columns=80, rows=24):
        Screen.opened += 1 # a server that ends may still hold its socket when the next one begins
        self.socket = "rtuhost-test-%d-%d" % (os.getpid(), Screen.opened)
        environment = dict(os.environ, LC_ALL="C.UTF-8", TERM="xterm-256color")
        self.environment = environment
        test.addCleanup(self.end)
        self.tmux("-f", "/dev/null", "new-session", "-d", "-x", str(columns), "-y", str(rows),
                  command + "; echo ended with $?; exec sleep 1000")

    def tmux(self, *arguments):
        return subprocess.run(["tmux", "-u", "-L", self.socket, *arguments], env=self.environment, check=True,
                              stdout=subprocess.PIPE, text=True).stdout

    def end(self):
        subprocess.run(["tmux", "-L", self.socket, "kill-server"], env=self.environment, check=False,
                       stderr=subprocess.DEVNULL)

    def press(self, *keys):
        self.tmux("send-keys", *keys)

    def type(self, text):
        self.tmux("send-keys", "-l", "--", text)

    def resize(self, columns, rows):
        self.tmux("resize-window", "-x", str(columns), "-y", str(rows))

    def lines(self):
        return self.tmux("capture-pane", "-p").split("\n")

    def colours(self):
        return self.tmux("capture-pane", "-p", "-e")

    def text(self):
        return "\n".join(self.lines())

    def matching(self, pattern):
        """The line in which the pattern is found, once it is there.

        A line's parts come at times of their own: its name with the first screen, its
        value with the reply, the mark of a change goes after a while. Who looks at more
        than one of them asks for all of them at once.
        """
        def find():
            return next((line for line in self.lines() if re.search(pattern, line)), None)
        try:
            return wait_for(find, pattern)
        except AssertionError as error:
            raise AssertionError("%s; the screen:\n%s" % (error, self.text())) from None

    def line(self, part):
        """The line that has the part, once it is there."""
        return self.matching(re.escape(part))

    def line_with(self, part, other):
        """The line that has both, the other one behind, once it is there."""
        return self.matching(re.escape(part) + ".*" + re.escape(other))

    def gone(self, part):
        wait_for(lambda: part not in self.text(), part + " to vanish")


class LiveViewTest(RtuHostTest):
    def setUp(self):
        super().setUp()
        self.sim = self.file("plant.sim", PLANT)
        self.tags = self.file("tags.csv", TAGS)

    def open(self, interval=50, timeout=0.1):
        screen = Screen(self, "%s --sim %s --tags %s -l %d -o %g" % (PROGRAM, self.sim, self.tags, interval, timeout))
        screen.line_with("1:4x1 ", "10")
        return screen

    def open_on_a_busy_line(self, timeout=3600):
        """A request waits for its reply: a read, or the first write if that comes before it."""
        screen = self.open(timeout=timeout)
        screen.press("f")
        screen.type("no-reply")
        screen.press("Enter")
        screen.line("Fault added")
        return screen


class OnTheScreen(LiveViewTest):
    def test_values_with_unit_raw_and_age(self):
        screen = self.open()
        screen.matching(r"level\[0\] +1:4x1 +10 +0x000A +[\d.]+ (us|ms|s)")
        screen.matching(r"speed +1:4x4 +4 rpm +0x0028")
        screen.matching(r"sensor +1:3x1 +0\.7 °C")
        screen.matching(r"total +1:4x_double101 +0x12345678")
        screen.matching(r"flag +1:4x_bit1\.1 +1 ")

    def test_line_panel_and_stations(self):
        screen = self.open()
        self.assertIn("open", screen.lines()[0])
        screen.matching(r"frames/s.*line \d+ % in use   reply .+/.+   age .+/.+")
        screen.line_with("resent", "given up")
        screen.matching(r"^ +2  answers +\d+ ")

    def test_the_trace_is_decoded(self):
        screen = self.open()
        # Which requests of a round the screen shows when it is drawn is up to both their periods.
        screen.matching(r"\d\d:\d\d:\d\d\.\d{3} >([12]) +0\1 03 00 .* read holding registers 4x\d+\.\.\d+")
        screen.matching(r"\d\d:\d\d:\d\d\.\d{3} <([12]) +0\1 0[34] .* \d+ registers: [\d ]+ \[good\]")

    def test_changes_are_highlighted(self):
        screen = self.open()
        screen.line_with("2:4x10 ", "new")
        wait_for(lambda: "new" not in screen.line("1:4x2 "), "the mark of the first reading to vanish")
        screen.line_with("2:4x10 ", "new")
        wait_for(lambda: "\x1b[30m\x1b[43m" in screen.colours(), "black on yellow")

    def test_a_cause_is_told(self):
        screen = Screen(self, "%s --sim %s -l 50 -o 0.1 4x1 4x1@9" % (PROGRAM, self.sim))
        screen.line("station 9: after 3 attempts not one byte came back, while others answer")
        screen.press("q")
        screen.matching(r"^-- \d+ frames sent, \d+ answered, \d+ errors$")

    def test_nothing_is_wider_than_the_screen(self):
        screen = self.open()
        for line in screen.lines():
            self.assertLessEqual(len(line), 80)
        self.assertEqual(24, len(screen.lines()) - 1)


class Logging(LiveViewTest):
    def open_with(self, log):
        screen = Screen(self, "%s --sim %s --tags %s -l 50 -o 0.1 --log %s" % (PROGRAM, self.sim, self.tags, log))
        screen.line_with("1:4x1 ", "10")
        return screen

    def test_rows_beside_the_live_view(self):
        log = self.file("rows.csv")
        screen = self.open_with(log)
        wait_for(lambda: ",1,4x,1,level[0],10,0x000A,,ok,," in self.read(log), "a value in the log")
        screen.press("Enter")
        screen.type("77")
        screen.press("Enter")
        wait_for(lambda: ",1,4x,1,level[0],77,0x004D,,acknowledged,,10" in self.read(log), "the write in the log")
        screen.press("End", "o")
        wait_for(lambda: ",2,,,,,,,station silent," in self.read(log), "the silence in the log")
        screen.press("o")
        wait_for(lambda: ",2,,,,,,,station back," in self.read(log), "the return in the log")
        screen.press("u")
        wait_for(lambda: ",,,,,,,,port lost," in self.read(log), "the loss of the port in the log")
        screen.press("u")
        wait_for(lambda: ",,,,,,,,port back," in self.read(log), "the return of the port in the log")
        screen.press("q")
        screen.line("ended with")

    def test_a_full_disk_is_told_and_the_view_goes_on(self):
        log = self.file("full.csv")
        os.symlink("/dev/full", log)
        screen = self.open_with(log)
        screen.line("is not written: No space left")
        screen.line_with("2:4x10 ", "new")
        screen.press("q")
        screen.line("rows are missing")
        screen.line("ended with 1")


class Editing(LiveViewTest):
    def test_a_value_is_written_in_place(self):
        screen = self.open()
        screen.press("Down", "Enter")
        screen.line_with("New value of 1:4x2 (uint16):", "20")
        screen.press("C-u")
        screen.type("1234")
        screen.press("Enter")
        screen.line("1:4x2: 20 -> 1234, acknowledged")
        screen.line_with("1:4x2 ", "1234")

    def test_typing_replaces_the_old_value(self):
        screen = self.open()
        screen.press("Down", "Enter")
        screen.line("New value of 1:4x2 (uint16):")
        screen.type("5")
        screen.press("Enter")
        screen.line("1:4x2: 20 -> 5, acknowledged")

    def test_what_was_never_read_offers_no_value(self):
        sim = self.file("dead.sim", "station 1\noff\n")
        screen = Screen(self, "%s --sim %s -l 50 -o 0.05 4x1" % (PROGRAM, sim))
        screen.line_with("1:4x1 ", "error")
        screen.press("Enter", "Enter")
        screen.line('"" is not a value here')
        screen.matching(r"New value of 1:4x1 \(uint16\): *$")

    def test_space_toggles_a_bit(self):
        screen = self.open()
        screen.press("Down", "Down", "Down", "Down", "Down", "Down")
        screen.press("Space")
        screen.line_with("1:4x1 ", " 8 ")
        screen.press("Space")
        screen.line_with("1:4x1 ", " 10 ")
        screen.press("Home", "Space")
        screen.line("1:4x1 is no bit: Enter changes it")

    def test_space_turns_over_what_it_has_written_last(self):
        screen = self.open_on_a_busy_line()
        screen.press("Down", "Down", "Down", "Down", "Down", "Space")
        screen.line("Writing 1:0x1 = 1")
        screen.press("Space")
        screen.line("Writing 1:0x1 = 0")
        screen.press("Space")
        screen.line("Writing 1:0x1 = 1")
        screen.press("x")
        all_of_them = "3 taken back" in screen.line("taken back") # or the first one is on the line
        screen.press("Space")
        screen.line("Writing 1:0x1 = %d" % all_of_them)

    def test_waiting_writes_are_shown_and_taken_back(self):
        screen = self.open_on_a_busy_line(timeout=5)
        screen.press("Down", "Enter")
        screen.type("77")
        screen.press("Enter", "Down", "Enter")
        screen.type("78")
        screen.press("Enter")
        screen.line("waiting: ")
        screen.press("x")
        screen.line("taken back")
        screen.press("F")
        screen.line("No faults any more")
        screen.gone("waiting: ")
        screen.line_with("1:4x3 ", " 30 ")

    def test_what_is_typed_without_a_port_is_not_sent_later(self):
        screen = self.open()
        screen.press("u")
        screen.line("The plug is pulled")
        screen.press("Enter")
        screen.type("99")
        screen.press("Enter")
        screen.line("not sent")
        screen.press("u")
        screen.line("The plug is in again")
        screen.line_with("1:4x1 ", " 10 ")

    def test_a_scaled_value(self):
        screen = self.open()
        screen.press("Down", "Down", "Down", "e", "C-u")
        screen.type("-2.5")
        screen.press("Enter")
        screen.line_with("1:4x4 ", "-2.5 rpm")
        screen.line_with("1:4x4 ", "0xFFE7")

    def test_a_bit_of_a_register(self):
        screen = self.open()
        screen.press("Down", "Down", "Down", "Down", "Down", "Down", "Enter")
        screen.line("New value of 1:4x_bit1.1 (bit):")
        screen.press("BSpace")
        screen.type("0")
        screen.press("Enter")
        screen.line_with("1:4x1 ", " 8 ")

    def test_a_read_only_value_is_refused_by_the_driver(self):
        screen = self.open()
        screen.press("Down", "Down", "Down", "Down", "Enter")
        screen.line("3x1: 3x is read-only")

    def test_nonsense_is_refused(self):
        screen = self.open()
        screen.press("Enter")
        screen.line("New value")
        screen.type("x")
        screen.press("Enter")
        screen.line("is not a value here")
        screen.press("BSpace", "BSpace", "BSpace")
        screen.type("9")
        screen.press("Enter")
        screen.line("1:4x1: 10 -> 9, acknowledged")

    def test_escape_writes_nothing(self):
        screen = self.open()
        screen.press("Enter")
        screen.line("New value")
        screen.type("77")
        screen.press("Escape")
        screen.line("Nothing was changed")
        self.assertNotIn("write register", screen.text())

    def test_a_failed_write_is_told_and_rolled_back(self):
        screen = self.open()
        screen.press("f")
        screen.type("exception 4 function 6")
        screen.press("Enter")
        screen.line("Fault added")
        screen.press("Enter", "C-u")
        screen.type("99")
        screen.press("Enter")
        screen.line("1:4x1: 10 -> 99, refused: ")
        screen.line_with("1:4x1 ", " 10 ")


class Keys(LiveViewTest):
    def test_help_comes_and_goes(self):
        screen = self.open()
        screen.press("?")
        screen.line("type a new value")
        screen.press("x")
        screen.line("1:4x1 ")

    def test_trace_is_held(self):
        screen = self.open()
        screen.press("p")
        screen.line("trace (held)")
        held = [line for line in screen.lines() if " >" in line]
        self.assertTrue(held)
        frames = screen.line(" frames  ")
        wait_for(lambda: frames not in screen.text(), "more frames")
        self.assertEqual(held, [line for line in screen.lines() if " >" in line])
        screen.press("p")
        screen.gone("(held)")

    def test_trace_grows(self):
        screen = self.open()
        screen.press("t")
        wait_for(lambda: sum("[good]" in line for line in screen.lines()) >= 5, "more trace")

    def test_tag_is_read_at_once(self):
        screen = self.open(interval=600000)
        screen.press("p")
        screen.line("(held)")
        frames = screen.line(" frames  ")
        screen.press("r")
        screen.line("Reading 1:4x1")
        wait_for(lambda: frames not in screen.text(), "another frame")

    def test_station_is_switched_off_and_on(self):
        screen = self.open()
        screen.press("End", "o")
        screen.line("  2  silent ")
        screen.line_with("2:4x10 ", "error")
        screen.line_with("given up", "time-outs")
        screen.press("o")
        screen.line("  2  answers ")
        wait_for(lambda: "error" not in screen.line("2:4x10 "), "the error mark to vanish")

    def test_plug_is_pulled_and_put_in(self):
        screen = self.open()
        screen.press("u")
        screen.line("GONE, waiting for it")
        screen.press("u")
        screen.gone("GONE")
        screen.line_with("1:4x1 ", "10")
        screen.press("q")
        screen.line("ended with 1")

    def test_faults_are_added_and_cleared(self):
        screen = self.open()
        screen.press("f")
        screen.type("wrong-crc station 1")
        screen.press("Enter")
        screen.line("wrong CRC")
        screen.press("F")
        screen.line("No faults any more")
        screen.press("f")
        screen.type("nonsense")
        screen.press("Enter")
        screen.line("unknown fault")


    def test_search_sort_format_and_trend(self):
        screen = self.open()
        screen.press("/")
        screen.line("Search:")
        screen.type("TICKS")
        screen.press("Enter", "d")
        screen.line("ticks 2:4x10 as int16")
        screen.press("d")
        screen.line_with("2:4x10 ", " 0x0")
        screen.press("g")
        screen.line("trend of 2:4x10, ")
        wait_for(lambda: sum(line.rstrip().endswith("*") or "* " in line for line in screen.lines()) > 1, "a curve")
        screen.press("s")
        screen.line("Sorted by name")
        wait_for(lambda: re.search(r"1:4x_bit1\.1 .*\n(.*\n)*.*1:4x1 ", screen.text()), "flag above level")


class Sizes(LiveViewTest):
    def test_forty_by_ten_has_values_and_units_in_any_locale(self):
        for locale, unit in (("C.UTF-8", "\u00b0C"), ("C", "oC")):
            command = "env LC_ALL=%s %s --sim %s --tags %s -l 50" % (locale, PROGRAM, self.sim, self.tags)
            screen = Screen(self, command, columns=40, rows=10)
            screen.line_with("1:4x1 ", " 10")
            text = screen.text()
            self.assertEqual(6, sum(":4x" in line or ":3x" in line or ":0x" in line for line in text.split("\n")))
            screen.matching(r"1:3x1 +0\.7 " + unit)
            screen.end()

    def test_names_align_without_unicode(self):
        tags = self.file("names.csv", "K\u00fchlung,1,4x,1,1,,,\u00b0C\nDruck,1,4x,2,1,,,bar\n")
        for columns in (80, 200):
            screen = Screen(self, "env LC_ALL=C %s --sim %s --tags %s -l 50" % (PROGRAM, self.sim, tags), columns, 24)
            first, second = screen.matching("1:4x1 +10 .*0x000A"), screen.matching("1:4x2 +20 .*0x0014")
            self.assertEqual(first.index("0x000A"), second.index("0x0014"))
            self.assertIn("K?hlung", first)
            screen.end()

    def test_grows_and_shrinks(self):
        screen = self.open()
        screen.resize(132, 40)
        wait_for(lambda: "u plug" in screen.lines()[39], "the last line at the new bottom")
        screen.resize(60, 15)
        wait_for(lambda: "Enter edit" in screen.lines()[14], "the last line at the smaller bottom")
        screen.line("1:4x1 ")
        screen.resize(30, 8)
        screen.line("window too small")
        screen.resize(80, 24)
        screen.line_with("1:4x1 ", "10")

    def test_scrolls_long_tables(self):
        command = "%s --sim %s -l 50 4x1..50" % (PROGRAM, self.sim)
        screen = Screen(self, command)
        screen.line_with("1:4x1 ", "10")
        screen.press("End")
        screen.line_with("1:4x50 ", "50")
        screen.press("Home")
        screen.line_with("1:4x1 ", "10")


class Endings(LiveViewTest):
    def spawn(self):
        """The program on a pseudo-terminal of which the bytes are kept."""
        self.seen = b""
        terminal, self.far = pty.openpty()
        self.addCleanup(os.close, self.far)
        self.before = termios.tcgetattr(self.far)
        fcntl.ioctl(self.far, termios.TIOCSWINSZ, struct.pack("HHHH", 24, 80, 0, 0))
        self.child = subprocess.Popen([*COMMAND, "--sim", self.sim, "--tags", self.tags, "-l", "50"], stdin=self.far,
                                      stdout=self.far, stderr=subprocess.STDOUT, start_new_session=True,
                                      env=dict(os.environ, TERM="xterm", LC_ALL="C.UTF-8"))
        self.terminal = pexpect.fdpexpect.fdspawn(terminal, timeout=PATIENCE)
        self.addCleanup(self.terminal.close)
        self.addCleanup(self.child.wait)
        self.addCleanup(self.child.kill)
        self.terminal.expect(b"1:4x1 ")
        self.assertNotEqual(self.before[3], termios.tcgetattr(self.far)[3], "the view takes keys unechoed")

    def assert_restored(self):
        self.terminal.expect_exact(LEAVE_SCREEN)
        status = self.child.wait(PATIENCE)
        self.assertIn(SHOW_CURSOR, self.terminal.before + self.rest())
        self.assertEqual(self.before[:4], termios.tcgetattr(self.far)[:4])
        return status

    def rest(self):
        try:
            return self.terminal.read_nonblocking(65536, timeout=1)
        except pexpect.TIMEOUT:
            return b""

    def test_q_leaves_the_terminal_as_it_was(self):
        self.spawn()
        self.terminal.send(b"q")
        self.assertEqual(0, self.assert_restored())

    def test_signals_leave_the_terminal_as_it_was(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT):
            self.spawn()
            self.child.send_signal(number)
            self.assertEqual(0, self.assert_restored(), number)

    def test_control_c_leaves_the_terminal_as_it_was(self):
        screen = self.open()
        screen.press("C-c")
        screen.line("ended with 0")

    def test_crashes_leave_the_terminal_as_it_was(self):
        for number in (signal.SIGSEGV, signal.SIGABRT, signal.SIGBUS, signal.SIGFPE, signal.SIGILL):
            self.spawn()
            self.child.send_signal(number)
            self.assertNotEqual(0, self.assert_restored(), number)

    def test_errors_give_exit_status_one(self):
        sim = self.file("dead.sim", "station 1\noff\n")
        screen = Screen(self, "%s --sim %s -l 50 -o 0.05 4x1" % (PROGRAM, sim))
        screen.line_with("1:4x1 ", "error")
        screen.press("q")
        screen.line("ended with 1")

    def test_what_the_end_kept_from_being_written_is_told(self):
        for key in ("q", "C-c"):
            screen = self.open_on_a_busy_line()
            screen.press("Enter")
            screen.type("77")
            screen.press("Enter", "Down", "Enter")
            screen.type("78")
            screen.press("Enter")
            screen.line("1:4x2 = 78")
            screen.press(key)
            screen.line("error: 1:4x2 was not written: the link has ended")
            screen.line("ended with 1")
            screen.end()

    def test_a_refused_write_is_told_at_the_end(self):
        screen = Screen(self, "%s --sim %s --fault 'exception 4 function 6' -l 50 4x1" % (PROGRAM, self.sim))
        screen.line_with("1:4x1 ", "10")
        screen.press("Enter")
        screen.type("99")
        screen.press("Enter")
        screen.line("1:4x1: 10 -> 99, refused: ")
        screen.press("q")
        screen.line("error: 1:4x1 was not written: the slave answered with exception 4")
        screen.line("ended with 1")

    def test_rounds_end_the_view(self):
        screen = Screen(self, "%s --sim %s --live --count 3 --stats 4x1" % (PROGRAM, self.sim))
        screen.line("ended with 0")
        screen.line("3 frames, 3 good")

    def test_lines_on_a_terminal_on_request(self):
        screen = Screen(self, "%s --sim %s --plain --count 1 4x1" % (PROGRAM, self.sim))
        screen.line_with("1:4x1", "10")
        screen.line("ended with 0")

    def assert_lines_on(self, terminal):
        screen = Screen(self, "TERM=%s %s --sim %s --live --count 1 4x1" % (terminal, PROGRAM, self.sim))
        screen.line_with("1:4x1", "10")
        screen.line("ended with 0")

    def test_lines_on_a_terminal_that_nobody_knows(self):
        self.assert_lines_on("nonsense")

    def test_lines_on_a_terminal_that_cannot_place_its_cursor(self):
        self.assert_lines_on("dumb")


if __name__ == "__main__":
    unittest.main()
