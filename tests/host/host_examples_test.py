"""The examples of the manual page, as they stand there, on simulated slaves.

Whatever the page shows is run by a shell; the port alone is another one.
"""
import os
import pty
import re
import select
import signal
import subprocess
import threading
import tty
import unittest

from rtuhost_under_test import PATIENCE, RTUHOST, SOURCE, RtuHostTest, frame, wait_for

DEVICE = "/dev/ttyUSB0"
PLANT = """
station 1
4x 1..500 = 10 20 30
0x 1..20 = 0 1
station 2
4x 1..50 = 5
station 3
4x 1..400 = 5
station 5
4x 1..10 = 5
"""
TAGS = "name,station,type,address,count,format,scale,unit\nlevel,1,4x,100,10,uint16,,\nflow,2,4x_double,7,1,float,,l\n"
# Notes its number, so that it can be ended behind a pipe, too.
PROGRAM = "#!/bin/sh\necho $$ > \"$FOLDER/number\"\nexec \"" + RTUHOST + "\" \"$@\"\n"
WIRESHARK = "#!/bin/sh\nexec cat\n"


def examples():
    """The command lines below EXAMPLES, without the marks of the page."""
    with open(os.path.join(SOURCE, "docs", "rtuhost.1")) as page:
        text = page.read().split(".SH EXAMPLES", 1)[1].split("\n.SH", 1)[0]
    lines = re.findall(r"^\.TP\n\.B (.*)$", text, re.MULTILINE)
    return [line.replace("\\-", "-").replace('\\(dq', '"') for line in lines]


class Examples(RtuHostTest):
    def setUp(self):
        super().setUp()
        self.file("plant.csv", TAGS)
        self.sim = self.file("plant.sim", PLANT)
        for name, script in (("rtuhost", PROGRAM), ("wireshark", WIRESHARK)):
            os.chmod(self.file(name, script), 0o755)
        self.port = self.file("port")

    def shell(self, line):
        environment = {**os.environ, "FOLDER": self.folder.name,
                       "PATH": self.folder.name + os.pathsep + os.environ["PATH"]}
        process = subprocess.Popen(["bash", "-o", "pipefail", "-c", line.replace(DEVICE, self.port)],
                                   cwd=self.folder.name, env=environment, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stderr.close)
        return process

    def interrupt(self):
        os.kill(int(self.read(self.file("number"))), signal.SIGINT)

    def ends(self, line, _):
        process = self.shell(line)
        out, err = process.communicate(timeout=PATIENCE)
        self.assertEqual(0, process.returncode, line + "\n" + err.decode())
        return out.decode()

    def goes_on(self, line, text):
        """Until the text is there, then up to Ctrl-C."""
        process = self.shell(line)
        shown = b""
        while text.encode() not in shown:
            self.assertTrue(select.select([process.stdout], [], [], PATIENCE)[0], line + " says no more than " + repr(shown))
            part = os.read(process.stdout.fileno(), 4096)
            if not part:
                self.fail(line + "\n" + process.stderr.read().decode())
            shown += part
        self.interrupt()
        error = process.communicate(timeout=PATIENCE)[1]
        self.assertEqual(0, process.returncode, line + "\n" + error.decode())
        return shown.decode(errors="replace")

    def falls_silent(self, line, _):
        self.slaves.stdin.write("station 1 off\n")
        self.slaves.stdin.flush()
        process = self.shell(line.replace("rtuhost ", "rtuhost -o 0.05 ", 1).replace("| grep", "| grep --line-buffered"))
        first = process.stdout.readline()
        self.interrupt()
        process.communicate(timeout=PATIENCE)
        return first.decode()

    def listens(self, line, text):
        master, far = pty.openpty()
        tty.setraw(far)
        self.addCleanup(os.close, master)
        self.addCleanup(os.close, far)
        self.port = os.ttyname(far)
        enough = threading.Event()

        def talk():
            while not enough.wait(0.02):
                os.write(master, frame("01 03 00 63 00 01") + frame("01 03 02 00 07"))
        talking = threading.Thread(target=talk)
        talking.start()
        try:
            return self.goes_on(line, text)
        finally:
            enough.set()
            talking.join()

    def serve(self, link):
        self.slaves = self.start("--serve", self.sim, "pty:" + link, stdin=subprocess.PIPE)
        self.assertIn("serving", self.slaves.stdout.readline())

    def prepare(self):
        self.run_host("--pcap", self.file("line.pcap"), "-1", "-q", self.port, "4x100..109")
        self.run_host("--recipe-read", self.file("mix.csv"), self.port, "4x1..3")

    def finds(self, line, text):
        """Among a few stations; the others would only be waited for."""
        return self.ends(line + " -a 1-3 -o 0.5", text)

    def test_each_does_what_it_says(self):
        expected = (
            ("-t 4 -r 100 -c 10", self.goes_on, "1:4x100"),
            ("-s 2 /dev/ttyUSB0 4x100..109 4x_double7", self.goes_on, "1:4x100"),
            ("4x100=1234 0x5=on", self.ends, "1:4x100: 10 -> 1234, acknowledged"),
            ("--sim plant.sim", self.goes_on, "level"),
            ("--log day.csv", self.goes_on, "level"),
            ("| grep '\"status\":\"station'", self.falls_silent, '"status":"station silent"'),
            ("--check --tags", self.ends, "4x_bit3.5"),
            ("--recipe-compare mix.csv", self.ends, "same"),
            ("--plan plan.svg", self.ends, "Station 2"),
            ("--listen /dev/ttyUSB0 -b 19200 --tags plant.csv --json", self.listens, '"names":["level[0]"]'),
            ("| wireshark -k -i -", self.listens, "\x01\x03"),
            ("--replay line.pcap -v", self.ends, "read holding registers 4x100..109"),
            ("--find", self.finds, "station 1"),
            ("--probe 3", self.ends, "4x1..400"),
            ("-t 4:float -r 7 -c 2", self.goes_on, "1:4x_double7"),
            ("-1 --json /dev/ttyUSB0 4x1@5", self.ends, '"status":"ok"'),
        )
        self.serve(self.port)
        self.prepare()
        port = self.port
        for line in examples():
            self.port = port
            known = [(run, text) for part, run, text in expected if part in line]
            with self.subTest(line):
                self.assertEqual(1, len(known), "an example that is not known here")
                run, text = known[0]
                self.assertIn(text, run(line, text))
                self.slaves.stdin.write("station 1 on\n")
                self.slaves.stdin.flush()
        self.assertEqual(len(expected), len(examples()))
        self.assertIn("level", self.read(self.file("day.csv")))
        self.assertIn("<svg", self.read(self.file("plan.svg")))


if __name__ == "__main__":
    unittest.main()
