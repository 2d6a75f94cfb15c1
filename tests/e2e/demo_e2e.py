#!/usr/bin/env python3
"""`./do demo` leaves nothing behind: after it returns, whether it ran to its
end or was interrupted, no display server, bus daemon or splash server that
it started is still running. This process is made the subreaper of all it
starts, so anything the demo started and left (daemons fork away from their
parent) becomes a child of this process; and each such process carries a
mark in its environment."""

import ctypes
import os
import signal
import subprocess
import sys
import tempfile
import time
import unittest

ROOT = None  # the source tree, from the command line
PR_SET_CHILD_SUBREAPER = 36
WATCHED = ("Xvfb", "dbus-daemon", "orvelsplash")


def command_of(pid):
    try:
        with open(f"/proc/{pid}/cmdline", "rb") as text:
            return text.read().replace(b"\0", b" ").decode(errors="replace").strip()
    except OSError:
        return ""


def left_behind(mark):
    """The demo's processes still running: our orphaned children, and any
    process whose environment carries the mark."""
    found = {}
    me = str(os.getpid())
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            with open(f"/proc/{entry}/stat") as stat:
                fields = stat.read().rsplit(")", 1)[1].split()
            if fields[0] == "Z":
                continue
            with open(f"/proc/{entry}/environ", "rb") as env:
                marked = mark.encode() in env.read()
        except OSError:
            continue
        if fields[1] == me or marked:
            found[int(entry)] = command_of(entry)
    return found


class DemoCleansUp(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        libc = ctypes.CDLL(None, use_errno=True)
        if libc.prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0) != 0:
            raise unittest.SkipTest("cannot become a subreaper")

    def run_demo(self, interrupt_after=None):
        work = tempfile.mkdtemp(prefix="demo-e2e-")
        mark = f"SORVANE_DEMO_MARK={os.getpid()}-{time.monotonic_ns()}"
        env = {k: v for k, v in os.environ.items() if k not in ("DISPLAY", "DBUS_SESSION_BUS_ADDRESS")}
        # Registration and the store go to this test's own folders.
        env.update(XDG_DATA_HOME=os.path.join(work, "data"), ORVELTECH_REGISTRY=os.path.join(work, "registry.db"),
                   ORVELTECH_EVENT_SCOPE=f"demo{os.getpid()}")
        env[mark.split("=")[0]] = mark.split("=")[1]
        # A session of its own, so that an interrupt reaches its foreground
        # as a terminal's Ctrl-C does, and nothing else.
        demo = subprocess.Popen([os.path.join(ROOT, "do"), "demo"], env=env, stdout=subprocess.PIPE,
                                stderr=subprocess.STDOUT, text=True, start_new_session=True)
        if interrupt_after is not None:
            # Interrupted once the splash is up, as Ctrl-C would.
            start = time.monotonic()
            while time.monotonic() - start < 120:
                if any("orvelsplash -Embedding" in command for command in left_behind(mark).values()):
                    break
                time.sleep(0.05)
            time.sleep(interrupt_after)
            os.killpg(demo.pid, signal.SIGINT)
        output, _ = demo.communicate(timeout=300)
        # What ended after the demo returned is reaped here, as init would.
        time.sleep(0.3)
        try:
            while os.waitpid(-1, os.WNOHANG)[0] > 0:
                pass
        except ChildProcessError:
            pass
        return demo.returncode, output, left_behind(mark)

    def test_a_whole_run_and_an_interrupted_one_leave_nothing(self):
        for interrupt_after in (None, 0.5):
            code, output, left = self.run_demo(interrupt_after)
            watched = {pid: c for pid, c in left.items() if any(name in c for name in WATCHED)}
            for pid in left:
                os.kill(pid, signal.SIGKILL)
            self.assertEqual(watched, {}, f"left running after the demo:\n{output}")
            if interrupt_after is None:
                self.assertEqual(code, 0, output)
                self.assertIn("The screenshot is at", output)
            else:
                self.assertEqual(code, 130, output)


if __name__ == "__main__":
    ROOT = os.path.abspath(sys.argv.pop(1))
    unittest.main(verbosity=2)
