#!/usr/bin/env python3
"""The examples as a developer builds them: the framework installed to a
prefix of its own, examples/ configured against that prefix alone through
find_package(Sorvane), and each program run with its output checked. The
HTTP example asks a loopback server started here; the splash example
activates the installed server over a private session bus, on a virtual
display when one can be started.

Usage: examples_e2e.py BUILD_DIR SOURCE_DIR CXX [--sanitize=LIST]
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import installed_e2e  # noqa: E402
from splash_e2e import ended, start_xvfb, wait_ended  # noqa: E402

BIN = SOURCE = CXX = None
SANITIZE = ""

# What each example that needs no service prints, in part: lines that show
# it did its work, and that would change if a call of the framework it makes
# answered differently.
PLAIN = {
    "strings_collections": [
        "text: Heat Exchanger rated 42 kW (26 characters, CRC-16 0x9E2F)",
        "reads back equal",
        "list of 3, sorted: P-101 P-102 P-103",
        "dictionary: P-102 runs at 11.0 kW; P-999 is not there",
        "iterator: 33.5 kW in all",
        "iterator: a step after the change throws 0xDEADF0CC",
    ],
    "scanner_tokens": [
        "  1:1   TY_TOKEN   if\n  1:4   TY_STRING  flow\n",
        "  1:12  TY_DOUBLE  12.50\n",
        "  2:18  TY_SHORT   3\n",
        "  2:9   TY_STRING  \"P-101\" (literal)\n",
        "setting rate = 12.50",
        "setting stages = 3",
        'setting name = "P-101"',
        "unterminated string: exception 292\nUnexpected end of file: Unterminated String",
    ],
    "unit_convert": [
        "12.5 ft = 3.81001 m",
        "1 atm = 101.325 kPa",
        "100 L*min^-1 = 6 m^3*h^-1",
        "10 C = 50 F\n",
        "10 C = 18 F (as a difference)",
        "2 kW*h = 7.2 MJ",
        "kPa*m^2: kilopascal square meter, in base units m*kg*s^-2, a force",
        "m to s: refused (not same type",
    ],
    "unit_values": [
        "pipe+spool   16.9213 ft",
        "pipe*spool   5.48642 m^2",
        "pipe/spool   2.43841 (no units)",
        "pipe in in   144 in",
        "250|cm       2.5 m",
        "pipe > spool: yes",
        "pipe+duration: exception 1344",
    ],
    "xml_roundtrip": [
        'start plant name="North"',
        '  start pump tag="P-101"',
        '    text "15.0"',
        "  end pump",
        "end of file",
    ],
    "resource_store": [
        "read back: Check the pump seals.",
        "after the change: Pump seals checked.",
    ],
}


def run(step, command, **kwargs):
    done = subprocess.run(command, capture_output=True, text=True, **kwargs)
    if done.returncode != 0:
        raise AssertionError(f"{step} failed ({done.returncode}):\n{done.stdout}{done.stderr}")


class Examples(unittest.TestCase):
    # A private session bus that reads the prefix's bus folders, as a
    # desktop session's bus reads the folders of an installed package.
    session = installed_e2e.Installed.session

    @classmethod
    def setUpClass(cls):
        cls.work = tempfile.mkdtemp(prefix="examples-installed-")
        cls.addClassCleanup(shutil.rmtree, cls.work, ignore_errors=True)
        cls.prefix = os.path.join(cls.work, "prefix")
        cls.build = os.path.join(cls.work, "build")
        run("installing the build", ["cmake", "--install", BIN, "--prefix", cls.prefix])
        configure = ["cmake", "-S", os.path.join(SOURCE, "examples"), "-B", cls.build,
                     f"-DCMAKE_PREFIX_PATH={cls.prefix}", f"-DCMAKE_CXX_COMPILER={CXX}",
                     f"-DSANITIZE={SANITIZE}"]
        if shutil.which("ninja"):
            configure += ["-G", "Ninja"]
        if shutil.which("ccache"):
            configure.append("-DCMAKE_CXX_COMPILER_LAUNCHER=ccache")
        run("configuring the examples", configure)
        run("building the examples", ["cmake", "--build", cls.build, "-j", "2"])
        # The examples' own settings and stores, none of the user's.
        home = os.path.join(cls.work, "home")
        os.makedirs(home)
        cls.env = {k: v for k, v in os.environ.items() if k not in ("DISPLAY", "DBUS_SESSION_BUS_ADDRESS")}
        cls.env.update(HOME=home, XDG_CONFIG_HOME=home, XDG_DATA_HOME=home, LC_ALL="C",
                       ORVELTECH_REGISTRY=os.path.join(home, "registry.db"))

    def example(self, name, *args, env=None):
        return subprocess.run([os.path.join(self.build, name, name), *args], env=env or self.env,
                              capture_output=True, text=True, timeout=60)

    def test_every_example_is_built(self):
        listed = {name for name in os.listdir(os.path.join(SOURCE, "examples"))
                  if os.path.exists(os.path.join(SOURCE, "examples", name, "CMakeLists.txt"))}
        self.assertEqual(listed, set(PLAIN) | {"http_get", "splash_show"})
        for name in listed:
            self.assertTrue(os.access(os.path.join(self.build, name, name), os.X_OK), name)

    def test_examples_that_need_no_service(self):
        for name, lines in PLAIN.items():
            with self.subTest(example=name):
                done = self.example(name)
                self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
                for line in lines:
                    self.assertIn(line, done.stdout)

    def test_http_get_from_a_loopback_server(self):
        site = os.path.join(self.work, "site")
        os.makedirs(site)
        with open(os.path.join(site, "pumps.txt"), "w") as out:
            out.write("P-101 15.0 kW\nP-102 11.0 kW\n")
        server = subprocess.Popen([sys.executable, "-u", "-m", "http.server", "0", "--bind", "127.0.0.1",
                                   "--directory", site],
                                  stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.addCleanup(lambda: (server.poll() is None and (server.kill(), server.wait()), server.stdout.close()))
        port = int(re.search(r" port (\d+) ", server.stdout.readline()).group(1))
        base = f"http://127.0.0.1:{port}"

        done = self.example("http_get", f"{base}/pumps.txt")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(done.stdout, f"GET {base}/pumps.txt: status 200, 28 bytes\nP-101 15.0 kW\nP-102 11.0 kW\n")

        done = self.example("http_get", f"{base}/missing.txt")
        self.assertEqual(done.returncode, 1)
        self.assertTrue(done.stdout.startswith(f"GET {base}/missing.txt: status 404, "), done.stdout)

        self.assertEqual(self.example("http_get", "ftp://127.0.0.1/").returncode, 2)

        # With the server gone the connection is refused: 12029.
        server.terminate()
        server.wait()
        done = self.example("http_get", f"{base}/pumps.txt")
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn("error 12029", done.stderr)

    def test_splash_through_the_installed_server(self):
        number = 850 + os.getpid() % 100
        xvfb = start_xvfb(number)
        if xvfb:
            self.addCleanup(lambda: (xvfb.kill(), xvfb.wait()))
        self.display = f":{number}" if xvfb else None
        env = self.session("splash", os.path.join(self.prefix, "share"))

        done = self.example("splash_show", "Examples Check", env=env)
        found = re.match(r"splash (/com/orveltech/Splash/SplashWindow/\d+) in server process (\d+)\n", done.stdout)
        self.assertIsNotNone(found, done.stdout + done.stderr)
        pid = int(found.group(2))
        self.addCleanup(lambda: ended(pid) or os.kill(pid, 9))
        server = os.path.realpath(f"/proc/{pid}/exe")
        if not ended(pid):
            self.assertEqual(server, os.path.realpath(os.path.join(self.prefix, "bin", "orvelsplash")))
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        for line in ("shown: Examples Check 13.1", "status: Loading units...", "status: Ready",
                     "recently used: ", "released"):
            self.assertIn(line, done.stdout)
        # The server ends by itself at its first tick after the release.
        self.assertIsNotNone(wait_ended(pid, 10), "the splash server outlived its client")


if __name__ == "__main__":
    args = sys.argv[1:]
    SANITIZE = next((a.split("=", 1)[1] for a in args if a.startswith("--sanitize=")), "")
    BIN, SOURCE, CXX = [os.path.abspath(a) if i < 2 else a
                        for i, a in enumerate(a for a in args if not a.startswith("--sanitize="))]
    sys.argv[1:] = []
    unittest.main(verbosity=2)
