#!/usr/bin/env python3
"""orvelunits from the outside: each command's output and exit status.

Usage: orvelunits_test.py PATH_TO_ORVELUNITS
"""
import json
import os
import subprocess
import sys
import tempfile
import unittest

TOOL = None


class OrvelunitsTest(unittest.TestCase):
    def setUp(self):
        self.home = tempfile.TemporaryDirectory()
        # No per-user unit file of the person running the tests.
        self.env = dict(os.environ, HOME=self.home.name, XDG_CONFIG_HOME=self.home.name, LC_ALL="C")

    def tearDown(self):
        self.home.cleanup()

    def run_tool(self, *args):
        done = subprocess.run([TOOL, *args], capture_output=True, text=True, env=self.env, timeout=30)
        return done.returncode, done.stdout, done.stderr

    def test_conversions_and_failures(self):
        cases = [
            # args, exit status, text on stdout, text on stderr
            (["convert", "2.5", "km", "m"], 0, "2500\n", ""),
            (["convert", "0", "degC", "K"], 0, "273.15\n", ""),
            (["convert", "--difference", "10", "C", "F"], 0, "18\n", ""),
            (["convert", "--", "-40", "C", "F"], 0, "-40\n", ""),
            (["convert", "1", "m", "s"], 1, "", "not same type"),
            (["convert", "1", "xyz", "m"], 1, "", "unit does not parse: xyz"),
            (["convert", "abc", "m", "ft"], 2, "", "VALUE is not a number"),
            (["convert", "1", "m"], 2, "", "convert takes VALUE FROM TO"),
            (["frobnicate"], 2, "", "unknown command"),
            (["--bogus", "info", "m"], 2, "", "unknown option --bogus"),
            ([], 2, "", "no command"),
            (["list", "--class", "nonsense"], 2, "", "unknown class"),
        ]
        for args, status, out, err in cases:
            with self.subTest(args=args):
                code, stdout, stderr = self.run_tool(*args)
                self.assertEqual(code, status, stderr)
                if out:
                    self.assertEqual(stdout, out)
                self.assertIn(err, stderr)

    def test_info_and_json(self):
        code, stdout, _ = self.run_tool("info", "kPa")
        self.assertEqual(code, 0)
        self.assertIn("dimension:   m^-1*kg*s^-2", stdout)
        self.assertIn("in SI:       1 kPa = 1000", stdout)

        code, stdout, _ = self.run_tool("--json", "info", "kPa*m^2")
        self.assertEqual(code, 0)
        info = json.loads(stdout)
        self.assertEqual(info["dimension"], "m*kg*s^-2")
        self.assertAlmostEqual(info["factor"], 1000.0)

        code, stdout, _ = self.run_tool("--json", "convert", "1", "atm", "kPa")
        self.assertEqual(code, 0)
        self.assertAlmostEqual(json.loads(stdout)["result"], 101.325)

    def test_list_by_class_and_user_units(self):
        code, stdout, _ = self.run_tool("--json", "list", "--class", "base")
        self.assertEqual(code, 0)
        rows = json.loads(stdout)
        self.assertTrue(rows)
        self.assertTrue(all(row["class"] == "base" for row in rows))
        self.assertIn("m", [row["symbol"] for row in rows])

        units = os.path.join(self.home.name, "money.txt")
        with open(units, "w") as f:
            f.write("currency\n1.0 EUR euro\n1.08 USD US dollar\n")
        code, stdout, stderr = self.run_tool("--user-units", units, "convert", "1.08", "USD", "EUR")
        self.assertEqual((code, stdout), (0, "1.1664\n"), stderr)
        code, stdout, _ = self.run_tool("--user-units", units, "list", "--class", "user")
        self.assertEqual(code, 0)
        self.assertIn("USD", stdout)
        # The per-user file is found by itself.
        os.makedirs(os.path.join(self.home.name, "orveltech"))
        os.rename(units, os.path.join(self.home.name, "orveltech", "units.txt"))
        code, stdout, _ = self.run_tool("convert", "2", "EUR", "EUR")
        self.assertEqual((code, stdout), (0, "2\n"))


if __name__ == "__main__":
    TOOL = sys.argv.pop(1)
    unittest.main(verbosity=2)
