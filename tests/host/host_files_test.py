"""Where rtuhost writes its files: through links, and over no device."""
import os
import pty
import select
import unittest

from rtuhost_under_test import RtuHostTest


class Files(RtuHostTest):
    def device(self):
        """What might be the serial port of somebody else's slaves."""
        far, near = pty.openpty()
        self.addCleanup(os.close, far)
        self.addCleanup(os.close, near)
        return far, os.ttyname(near)

    def test_no_device_takes_the_place_of_a_file(self):
        far, device = self.device()
        link = self.file("rows.csv")
        os.symlink(device, link)
        for arguments in (["--json=" + device, "-1", "4x1"], ["--csv=" + link, "-1", "4x1"], ["--log", link, "-1", "4x1"],
                          ["--pcap", device, "-1", "4x1"], ["--recipe-read", link, "4x1"]):
            for further in ([], ["--force"]):
                self.assertIn("is a device, and no place for a file",
                              self.simulate(*further, *arguments, status=2).err, arguments)
        self.assertEqual([], select.select([far], [], [], 0)[0], "nothing was sent there")
        self.assertTrue(os.path.islink(link))

    def test_what_takes_anything_stays_what_it_is(self):
        link = self.file("recipe.csv")
        os.symlink("/dev/null", link)
        self.simulate("--recipe-read", link, "4x1..3")
        self.assertEqual("/dev/null", os.readlink(link))
        self.assertFalse(os.path.isfile("/dev/null"))
        os.remove(link)
        os.symlink("/dev/full", link)
        self.assertIn("cannot write", self.simulate("--recipe-read", link, "4x1..3", status=1).err)

    def test_files_are_written_through_links(self):
        target, link = self.file("there.csv"), self.file("link.csv")
        os.symlink(target, link)
        self.simulate("--recipe-read", link, "4x1..3")  # that leads nowhere yet
        self.assertIn("10 20 30", self.read(target))
        self.simulate("--force", "--recipe-read", link, "4x2..3")
        self.assertIn("20 30", self.read(target))
        self.assertEqual(target, os.readlink(link))
        for option in ("--csv=" + link, "--pcap=" + link):
            self.simulate("--force", "-1", option, "4x1")
            self.assertEqual(target, os.readlink(link))

    def test_a_pipe_is_fine(self):
        pipe = self.file("pipe.csv")
        os.mkfifo(pipe)
        reader = os.open(pipe, os.O_RDONLY | os.O_NONBLOCK)
        self.addCleanup(os.close, reader)
        self.simulate("--recipe-read", pipe, "--force", "4x1..3")
        self.assertIn(b"10 20 30", os.read(reader, 4096))


if __name__ == "__main__":
    unittest.main()
