"""rtuhost moving recipes, and what it tells of each row."""
import csv
import io
import json
import os
import unittest

from rtuhost_under_test import RtuHostTest


class Recipes(RtuHostTest):
    def test_saved_and_loaded(self):
        recipe = self.file("recipe.csv")
        self.simulate("--recipe-read", recipe, "4x1..3", "4x_double101:hex", "4x1@2")
        text = self.read(recipe)
        self.assertIn(",1,4x,1,3,uint16,1,,10 20 30\n", text)
        self.assertIn(",1,4x_double,101,1,hex,1,,0x12345678\n", text)
        changed = self.file("changed.csv", text.replace("10 20 30", "11 21 31"))
        result = self.simulate("--recipe-write", changed, "-v")
        self.assertIn("write registers 4x1..3 = 11 21 31", result.out)
        self.assertIn("recipe of 3 rows written to the slaves", result.out)

    def test_both_word_orders(self):
        recipe = self.file("recipe.csv", "address,type,values\n101,4x_double,305419896\n")
        plain = self.simulate("--recipe-write", recipe, "-v")
        self.assertIn("write registers 4x101..102 = 4660 22136", plain.out)
        for swapped in (["--swap"], ["--swap-stations", "1"], ["--property", "1#0#0#3#120#0_1"]):
            result = self.simulate("--recipe-write", recipe, "-v", *swapped)
            self.assertIn("write registers 4x101..102 = 22136 4660", result.out)

    def test_options_of_addresses_do_not_turn_a_recipe(self):
        recipe = self.file("recipe.csv", "address,type,values\n1,4x,77\n")
        for arguments in (["-a", "2"], ["-c", "1"], ["-0"], ["--low-word-first"]):
            for mode in ("--recipe-write", "--recipe-compare", "--recipe-read"):
                result = self.simulate(mode, recipe, *arguments, status=2)
                self.assertIn(arguments[0], result.err)
        tags = self.file("tags.csv", "type,address\n4x,1\n")
        for arguments in (["-a", "2"], ["-c", "1"], ["-0"]):
            self.assertIn("tags.csv", self.simulate("-1", "--tags", tags, *arguments, status=2).err)

    def test_the_file_itself_may_name_the_registers(self):
        recipe = self.file("recipe.csv", "address,type,count,values\n1,4x,2,\n")
        self.simulate("--recipe-read", recipe)
        self.assertIn(",1,4x,1,2,uint16,1,,10 20\n", self.read(recipe))

    def test_mistakes_are_found_before_the_port_is_opened(self):
        recipe = self.file("recipe.csv", "address,type,values\n1,4x,5\n2,4x,x\n")
        result = self.run_host("--recipe-write", recipe, "/nowhere/port", status=2)
        self.assertIn("recipe.csv:3: \"x\" is not a value here", result.err)
        result = self.run_host("--recipe-read", self.file("new.csv"), "/nowhere/port", status=2)
        self.assertIn("cannot read the recipe file", result.err)

    def test_bit_patterns_come_back_as_they_were(self):
        recipe = self.file("recipe.csv")
        self.simulate("--recipe-read", recipe, "4x1:bin", "4x_double101:bin")
        self.assertIn(",0b0000000000001010\n", self.read(recipe))
        result = self.simulate("--recipe-write", recipe, "-v")
        self.assertIn("write register 4x1 = 10\n", result.out)
        self.assertIn("write registers 4x101..102 = 4660 22136", result.out)

    def test_existing_files_are_overwritten_by_force_only(self):
        recipe = self.file("recipe.csv", "mine\n")
        picture = self.file("plan.svg", "mine\n")
        capture = self.file("line.pcap", "mine\n")
        for arguments in (["--recipe-read", recipe], ["--plan", picture], ["--pcap", capture, "-1"]):
            result = self.simulate(*arguments, "4x1", status=2)
            self.assertIn(arguments[1] + " exists already: --force overwrites it", result.err)
            self.assertEqual("mine\n", self.read(arguments[1]))
            self.simulate(*arguments, "--force", "4x1")
            with open(arguments[1], "rb") as file:
                self.assertNotEqual(b"mine\n", file.read())

    def test_compared_row_by_row(self):
        recipe = self.file("recipe.csv", "mix,1,4x,1,2,,,,10 20\nother,1,4x,3,1,,,,31\ngone,1,4x,60,1,,,,5\n")
        result = self.simulate("--recipe-compare", recipe, status=1)
        self.assertIn("1:4x1..2 mix: same\n", result.out)
        self.assertIn("1:4x3 other: differs: 31 in the file, 30 in the slave\n", result.out)
        self.assertIn("error: 1:4x60: refused with exception 2", result.err)
        same = self.file("same.csv", "mix,1,4x,1,2,,,,10 20\n")
        self.assertIn("same", self.simulate("--recipe-compare", same).out)
        empty = self.file("empty.csv", "mix,1,4x,1,2\n")
        self.assertIn("no values to compare with", self.simulate("--recipe-compare", empty, status=2).err)

    def test_a_transfer_that_fails_says_which_rows_were_taken(self):
        recipe = self.file("recipe.csv", "a,1,4x,1,2,,,,1 2\nb,1,4x,60,1,,,,5\nc,1,4x,5,1,,,,9\n")
        result = self.simulate("--recipe-write", recipe, status=1)
        self.assertIn("1:4x1..2: taken by the slave", result.err)
        self.assertIn("error: 1:4x60: refused with exception 2", result.err)
        self.assertIn("1:4x5: taken by the slave", result.err)

    def test_a_recipe_without_its_file_is_told_at_once(self):
        for arguments in (["--recipe-read", "/dev/ttyUSB0", "4x1"], ["--recipe-read", "4x1..3", "/dev/ttyUSB0"]):
            self.assertIn("stands where the recipe's file is named", self.run_host(*arguments, status=2).err)
        self.assertIn("is an address, and stands where the port is named", self.run_host("-1", "4x1", status=2).err)

    def test_a_failure_leaves_the_file_alone(self):
        recipe = self.file("recipe.csv", "address,type,count,values\n60,4x,1,5\n")
        result = self.simulate("--recipe-read", recipe, status=1)
        self.assertIn("not transferred whole", result.err)
        self.assertIn("60,4x,1,5", self.read(recipe))

    def test_a_full_disk_leaves_the_old_recipe(self):
        recipe = self.file("recipe.csv", "address,type,count,values\n1,4x,2,\n")
        os.symlink("/dev/full", recipe + ".new")
        result = self.simulate("--recipe-read", recipe, status=1)
        self.assertIn("cannot write the recipe file " + recipe, result.err)
        self.assertIn("1,4x,2,\n", self.read(recipe))
        self.assertEqual([os.path.basename(recipe)], [name for name in os.listdir(self.folder.name) if "recipe" in name])

    def test_rows_of_a_comparison_as_json(self):
        recipe = self.file("recipe.csv", "mix,1,4x,1,2,,,,10 20\nother,1,4x,3,1,,,,31\ngone,1,4x,60,1,,,,5\n")
        result = self.simulate("--recipe-compare", recipe, "--json", status=1)
        objects = [json.loads(line) for line in result.lines]
        rows = [each for each in objects if "row" in each]
        self.assertEqual([(1, 1, "4x", "1", 2, "mix", "same", None, [10, 20], [10, 20]),
                          (2, 1, "4x", "3", 1, "other", "differs", None, [31], [30]),
                          (3, 1, "4x", "60", 1, "gone", "refused", "exception 2: illegal data address", [5], None)],
                         [tuple(row[key] for key in ("row", "station", "type", "address", "count", "name", "outcome",
                                                     "cause", "values", "slave")) for row in rows])
        self.assertRegex(rows[0]["time"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}[+-]")
        self.assertIsNone(rows[2]["time"])
        self.assertEqual({"recipe": {"file": recipe, "rows": 3, "done": 1, "differs": 1, "failed": 1,
                                     "complete": False, "stopped": False}}, objects[-1])

    def test_rows_of_a_transfer_as_json(self):
        recipe = self.file("recipe.csv")
        read = [json.loads(line) for line in self.simulate("--recipe-read", recipe, "--json", "4x1..2", "4x3:hex").lines]
        self.assertEqual([("read", [10, 20]), ("read", ["0x001E"])], [(row["outcome"], row["values"]) for row in read[:2]])
        self.assertTrue(read[2]["recipe"]["complete"])
        written = [json.loads(line) for line in self.simulate("--recipe-write", recipe, "--json").lines]
        self.assertEqual([("written", [10, 20]), ("written", ["0x001E"])],
                         [(row["outcome"], row["values"]) for row in written[:2]])

    def test_a_row_of_a_silent_station_as_json(self):
        recipe = self.file("recipe.csv", "a,3,4x,1,1,,,,1\nb,3,4x,9,1,,,,5\nc,1,4x,5,1,,,,9\n")
        result = self.simulate("--recipe-write", recipe, "--json", "-o", "0.05", status=1)
        objects = [json.loads(line) for line in result.lines]
        self.assertEqual([("unconfirmed", "no answer"), ("not tried", "its station is silent"), ("written", None)],
                         [(row["outcome"], row["cause"]) for row in objects if "row" in row])
        self.assertEqual(2, objects[-1]["recipe"]["failed"])

    def test_rows_as_csv(self):
        recipe = self.file("recipe.csv", "mix,1,4x,1,2,,,,10 20\nother,1,4x,3,1,,,,31\ngone,1,4x,60,1,,,,5\n")
        result = self.simulate("--recipe-compare", recipe, "--csv", status=1)
        rows = list(csv.DictReader(io.StringIO(result.out)))
        self.assertEqual([("1", "1", "4x", "1", "2", "mix", "same", "", "10 20", "10 20"),
                          ("2", "1", "4x", "3", "1", "other", "differs", "", "31", "30"),
                          ("3", "1", "4x", "60", "1", "gone", "refused", "exception 2: illegal data address", "5", "")],
                         [tuple(row[key] for key in ("row", "station", "type", "address", "count", "name", "outcome",
                                                     "cause", "values", "slave")) for row in rows])


if __name__ == "__main__":
    unittest.main()
