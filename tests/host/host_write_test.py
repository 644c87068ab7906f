"""What rtuhost writes to simulated slaves, and what it says of it."""
import csv
import io
import json
import os
import unittest
import unittest.mock

from rtuhost_under_test import RtuHostTest

# What the contract checker advises against, and these tests are about.
LOCAL_WRITES = unittest.mock.patch.dict(os.environ, MODBUS_RTU_CHECK_IGNORE="local-only")


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


if __name__ == "__main__":
    unittest.main()
