#!/usr/bin/env python3
"""The splash server end to end: a private session bus with its own service
folder, a virtual display when one can be started, real clients (ours and
one that is not), real server processes."""

import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

BIN = None  # the build folder, from the command line

SERVICE = "com.orveltech.Splash"
FACTORY_PATH = "/com/orveltech/Splash"
FACTORY_IFACE = "com.orveltech.Splash.ClassFactory"
IFACE = "com.orveltech.Splash.ISplashWindow"

BUS_CONFIG = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir={dir}</listen>
  <servicedir>{services}</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""


def ended(pid):
    """Gone, or a zombie its parent has not reaped yet."""
    try:
        with open(f"/proc/{pid}/stat") as stat:
            return stat.read().split(")")[-1].split()[0] == "Z"
    except FileNotFoundError:
        return True


def wait_ended(pid, limit):
    start = time.monotonic()
    while time.monotonic() - start < limit:
        if ended(pid):
            return time.monotonic() - start
        time.sleep(0.02)
    return None


def lost_recorded(log):
    try:
        with open(log, "rb") as text:
            return b"Lost the display connection" in text.read()
    except FileNotFoundError:
        return False


def lock_owner(number):
    """The process that holds display number's lock, or None."""
    try:
        with open(f"/tmp/.X{number}-lock") as lock:
            return int(lock.read().strip())
    except (OSError, ValueError):
        return None


def start_xvfb(number, *screen, tries=1):
    """A virtual display of its own, or None when none can be started. It is
    ours only when its lock names our process: a number that another run has
    taken first makes our server end at once while the other's socket is
    there. With more than one try, the next numbers are tried in turn; the
    process answers its number as display_number."""
    if not shutil.which("Xvfb"):
        return None
    for candidate in range(number, number + tries):
        # A lock whose process is gone is stale; Xvfb takes the number over.
        owner = lock_owner(candidate)
        if owner is not None and os.path.exists(f"/proc/{owner}"):
            continue
        # No reset when the last client leaves: the display keeps its
        # properties, and a client never meets it half reset.
        process = subprocess.Popen(["Xvfb", f":{candidate}", *(screen or ("-screen", "0", "1280x800x24")),
                                    "-nolisten", "tcp", "-noreset"],
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        socket = f"/tmp/.X11-unix/X{candidate}"
        deadline = time.monotonic() + 10
        while time.monotonic() < deadline and process.poll() is None:
            if os.path.exists(socket) and lock_owner(candidate) == process.pid:
                process.display_number = candidate
                return process
            time.sleep(0.05)
        if process.poll() is None:
            process.kill()
        process.wait()
    return None


def xdesk(display, *args):
    """The display helper (tests/e2e/xdesk.cpp), run to its end."""
    subprocess.run([os.path.join(BIN, "tests", "splash_xdesk"), display, *args], check=True, timeout=30)


def warp_pointer(display, x, y):
    """Puts the display's pointer at x, y."""
    xdesk(display, "warp", str(x), str(y))


class set_monitors:
    """RandR monitors on the display, as (x, y, width, height), held by the
    helper's connection until close()."""

    def __init__(self, display, monitors):
        self.helper = subprocess.Popen([os.path.join(BIN, "tests", "splash_xdesk"), display, "monitors",
                                        *(f"{x},{y},{w},{h}" for x, y, w, h in monitors)],
                                       stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        ready = self.helper.stdout.readline().strip()
        if ready != "ready":
            self.close()
            raise AssertionError(f"the display helper set no monitors (exit {self.helper.returncode})")

    def close(self):
        if self.helper.poll() is None:
            self.helper.stdin.close()
            try:
                self.helper.wait(timeout=10)
            except subprocess.TimeoutExpired:
                self.helper.kill()
                self.helper.wait()
        self.helper.stdout.close()


class SplashOverTheBus(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.work = tempfile.mkdtemp(prefix="splash-e2e-")
        env = dict(os.environ)
        env["XDG_DATA_HOME"] = os.path.join(cls.work, "data")
        env["ORVELTECH_REGISTRY"] = os.path.join(cls.work, "registry.db")
        env["ORVELTECH_EVENT_SCOPE"] = f"e2e{os.getpid()}"
        env.pop("DISPLAY", None)
        cls.xvfb = start_xvfb(70 + os.getpid() % 200, tries=50)
        cls.display = f":{cls.xvfb.display_number}" if cls.xvfb else None
        if cls.xvfb:
            # Stopped also when the rest of the set-up fails.
            cls.addClassCleanup(lambda: cls.xvfb.poll() is None and (cls.xvfb.terminate(), cls.xvfb.wait()))
        if cls.display:
            env["DISPLAY"] = cls.display
        subprocess.run([os.path.join(BIN, "orvelsplash"), "-RegServer"], env=env, check=True)
        services = os.path.join(env["XDG_DATA_HOME"], "dbus-1", "services")
        assert os.path.exists(os.path.join(services, SERVICE + ".service"))
        config = os.path.join(cls.work, "bus.conf")
        with open(config, "w") as out:
            out.write(BUS_CONFIG.format(dir=cls.work, services=services))
        cls.bus = subprocess.Popen(["dbus-daemon", "--config-file", config, "--nofork", "--print-address=1"],
                                   env=env, stdout=subprocess.PIPE, text=True)
        env["DBUS_SESSION_BUS_ADDRESS"] = cls.bus.stdout.readline().strip()
        cls.env = env
        os.environ.update({k: v for k, v in env.items() if k in ("DBUS_SESSION_BUS_ADDRESS",)})

    @classmethod
    def tearDownClass(cls):
        cls.bus.terminate()
        cls.bus.wait()
        subprocess.run([os.path.join(BIN, "orvelsplash"), "-UnregServer"], env=cls.env)
        shutil.rmtree(cls.work, ignore_errors=True)

    def splashctl(self, *args, hold=None):
        command = [os.path.join(BIN, "splashctl"), "show", *args]
        if hold is not None:
            command += ["--hold", str(hold)]
        return subprocess.Popen(command, env=self.env, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def server_pid(self, client):
        line = client.stdout.readline().split()
        self.assertEqual(len(line), 2, "the client printed no object path and server pid")
        self.assertTrue(line[0].startswith("/com/orveltech/Splash/SplashWindow/"))
        return int(line[1])

    def own_server(self, env):
        """A server started by hand, so that it takes the display and store of
        env; it owns the class's name while it waits for its client. Answers
        the process, the client's bus connection and the splash object."""
        import dbus
        connection = dbus.bus.BusConnection(self.env["DBUS_SESSION_BUS_ADDRESS"])
        server = subprocess.Popen([os.path.join(BIN, "orvelsplash"), "-Embedding"], env=env,
                                  stderr=subprocess.PIPE, text=True)
        self.addCleanup(connection.close)
        self.addCleanup(server.stderr.close)
        self.addCleanup(lambda: server.poll() is None and (server.kill(), server.wait()))
        daemon = connection.get_object("org.freedesktop.DBus", "/org/freedesktop/DBus")
        # A loaded machine may take seconds to start it; another server
        # must never stand in for it.
        owner = None
        deadline = time.monotonic() + 30
        while owner is None and time.monotonic() < deadline and server.poll() is None:
            try:
                name = daemon.GetNameOwner(SERVICE, dbus_interface="org.freedesktop.DBus")
                if int(daemon.GetConnectionUnixProcessID(name, dbus_interface="org.freedesktop.DBus")) == server.pid:
                    owner = name
            except dbus.exceptions.DBusException:
                pass
            time.sleep(0.02)
        self.assertIsNotNone(owner, f"the server started by hand never owned the class's name "
                                    f"(exit {server.poll()})")
        path = connection.get_object(owner, FACTORY_PATH).CreateInstance(dbus_interface=FACTORY_IFACE)
        return server, connection, connection.get_object(owner, path)

    def private_display(self, offset, *screen):
        xvfb = start_xvfb(offset + os.getpid() % 100, *screen, tries=50)
        if not xvfb:
            self.skipTest("no virtual display could be started")
        self.addCleanup(lambda: xvfb.poll() is None and (xvfb.kill(), xvfb.wait()))
        return xvfb, f":{xvfb.display_number}"

    def test_released_splash_ends_at_the_next_tick(self):
        client = self.splashctl("--title", "Heat Designer", "--subtitle", "Orvel Thermal", "--major", "13",
                                "--minor", "1", "--status", "Loading units", "--timeout", "400")
        pid = self.server_pid(client)
        self.assertEqual(client.wait(timeout=10), 0, client.stderr.read())
        took = wait_ended(pid, 5)
        self.assertIsNotNone(took, "the server outlived its tick")

    def test_untimed_splash_ends_about_five_seconds_after_release(self):
        client = self.splashctl("--title", "No timer", "--timeout", "-1")
        pid = self.server_pid(client)
        self.assertEqual(client.wait(timeout=10), 0, client.stderr.read())
        released = time.monotonic()
        took = wait_ended(pid, 12)
        self.assertIsNotNone(took, "the monitor never ended the server")
        elapsed = time.monotonic() - released
        self.assertGreater(elapsed, 4.0)
        self.assertLess(elapsed, 10.0)

    def test_a_killed_client_gives_its_reference_back(self):
        client = self.splashctl("--title", "Held", "--timeout", "300", hold=60)
        pid = self.server_pid(client)
        time.sleep(0.8)
        self.assertFalse(ended(pid), "the server ended while its client still held it")
        client.send_signal(signal.SIGKILL)
        client.wait()
        self.assertIsNotNone(wait_ended(pid, 5), "the server kept a dead client's reference")

    def test_two_clients_get_two_processes_and_a_foreign_client_makes_every_call(self):
        import dbus  # python3-dbus: a client that is not ours
        first = dbus.bus.BusConnection(self.env["DBUS_SESSION_BUS_ADDRESS"])
        second = dbus.bus.BusConnection(self.env["DBUS_SESSION_BUS_ADDRESS"])
        daemon = first.get_object("org.freedesktop.DBus", "/org/freedesktop/DBus")

        def servers():
            found = []
            for name in daemon.ListNames(dbus_interface="org.freedesktop.DBus"):
                if not name.startswith(":"):
                    continue
                # A server of another test may end between the listing and
                # the questions about it.
                try:
                    pid = int(daemon.GetConnectionUnixProcessID(name, dbus_interface="org.freedesktop.DBus"))
                    with open(f"/proc/{pid}/cmdline", "rb") as cmdline:
                        if b"orvelsplash" in cmdline.read():
                            found.append((str(name), pid))
                except (dbus.exceptions.DBusException, FileNotFoundError, ProcessLookupError):
                    continue
            return found

        earlier = servers()  # those of other tests, on their way out
        for connection in (first, second):
            factory = connection.get_object(SERVICE, FACTORY_PATH)
            self.assertEqual(factory.CreateInstance(dbus_interface=FACTORY_IFACE),
                             "/com/orveltech/Splash/SplashWindow/1")
        # Each create started a process of its own.
        pids = [server for server in servers() if server not in earlier]
        self.assertEqual(len(pids), 2, f"expected two server processes, saw {pids}")

        # Each server answers its own client only as long as the client holds
        # it; the first connection reaches the one it made.
        for server_name, server_pid in pids:
            splash = first.get_object(server_name, "/com/orveltech/Splash/SplashWindow/1")
            try:
                splash.SetSplashTimeout(dbus.Int16(300), dbus_interface=IFACE)
            except dbus.exceptions.DBusException as refused:
                # The other client's splash answers that client alone.
                self.assertEqual(refused.get_dbus_name(), "org.freedesktop.DBus.Error.AccessDenied")
                continue
            # One show each: a second timed show would keep the server up for good.
            if server_pid == pids[0][1]:
                splash.ShowSplash("Foreign", "Orvel Polymers", dbus.Int16(3), dbus.Int16(1), dbus.Int16(2001),
                                  dbus.Int16(2024), "Licensee", dbus_interface=IFACE)
            else:
                splash.ShowSplash2("Foreign", "Orvel", "build 7", dbus.Int16(0), dbus.Int16(0), "",
                                   dbus_interface=IFACE)
            splash.SetStatusText("status", dbus_interface=IFACE)
            splash.SetLicenseeText("ACME", dbus_interface=IFACE)
            splash.AddToRecentAppList("/opt/orvel/bin/heat", "Heat", dbus_interface=IFACE)
            splash.AddToRecentDocList("/home/u/a.hdx", "/opt/orvel/bin/heat", dbus_interface=IFACE)
            splash.TestUserRegistration(dbus_interface=IFACE)
            splash.CheckLicenseExpiration("lic", dbus_interface=IFACE)
            splash.HideSplash(dbus_interface=IFACE)
            # A malformed call gets a bus error, and the server goes on.
            with self.assertRaises(dbus.exceptions.DBusException):
                first.call_blocking(server_name, "/com/orveltech/Splash/SplashWindow/1", IFACE,
                                    "SetSplashTimeout", "s", ("not a number",))
            splash.SetStatusText("still here", dbus_interface=IFACE)
            splash.Release(dbus_interface=IFACE)
            self.assertIsNotNone(wait_ended(server_pid, 5))
        first.close()
        second.close()
        # The second client made no show: its server ends by the monitor, five
        # seconds after the client left and its splash went.
        for _, server_pid in pids:
            self.assertIsNotNone(wait_ended(server_pid, 10), "a server outlived its client")

    def test_the_window_is_a_centred_splash_that_shows_the_painters_image(self):
        if not self.display:
            self.skipTest("no virtual display could be started")
        state = ["--title", "Heat Exchanger Designer", "--subtitle", "Orvel Thermal Suite", "--major", "13",
                 "--minor", "1", "--from", "2009", "--to", "2026", "--licensee", "ACME"]
        client = self.splashctl(*state, "--timeout", "5000", hold=3)
        pid = self.server_pid(client)
        window = None
        for _ in range(100):
            tree = subprocess.run(["xwininfo", "-root", "-children", "-display", self.display],
                                  capture_output=True, text=True).stdout
            lines = [line for line in tree.splitlines() if "orvelsplash" in line.lower()]
            if lines:
                window = lines[0].split()[0]
                info = subprocess.run(["xwininfo", "-id", window, "-display", self.display],
                                      capture_output=True, text=True).stdout
                if "IsViewable" in info:
                    break
            time.sleep(0.05)
        self.assertIsNotNone(window, "no splash window appeared")
        self.assertIn("Width: 495", info)
        self.assertIn("Height: 392", info)
        self.assertIn("Absolute upper-left X:  392", info)  # centred on 1280 x 800
        self.assertIn("Absolute upper-left Y:  204", info)
        props = subprocess.run(["xprop", "-id", window, "-display", self.display], capture_output=True,
                               text=True).stdout
        self.assertIn("_NET_WM_WINDOW_TYPE_SPLASH", props)
        self.assertIn("_NET_WM_STATE_ABOVE", props)

        time.sleep(0.5)  # the first paint
        shot = os.path.join(self.work, "shot.png")
        expected = os.path.join(self.work, "expected.png")
        subprocess.run(["import", "-display", self.display, "-window", window, shot], check=True)
        subprocess.run([os.path.join(BIN, "orvelsplash-render"), *state, expected], check=True, env=self.env)
        compare = subprocess.run(["compare", "-metric", "AE", "-fuzz", "8%", shot, expected, "null:"],
                                 capture_output=True, text=True)
        differing = float(compare.stderr.split()[0])
        self.assertLess(differing, 495 * 392 * 0.01, "the screen differs from the painter's image")
        client.wait(timeout=10)
        self.assertIsNotNone(wait_ended(pid, 8))

    def test_registration_fails_loudly_and_unregistration_removes_everything(self):
        env = dict(self.env, ORVELTECH_REGISTRY="/proc/no-such-folder/registry.db",
                   XDG_DATA_HOME=os.path.join(self.work, "other-data"))
        result = subprocess.run([os.path.join(BIN, "orvelsplash"), "-RegServer"], env=env, capture_output=True,
                                text=True)
        self.assertNotEqual(result.returncode, 0, "a registration that could not be stored reported success")
        self.assertRegex(result.stderr, r"^orvelsplash: registration failed: class store /proc/no-such-folder/"
                                        r"registry\.db: [^\n]+\n$")
        # Registering shows nothing, so it neither opens a display nor says
        # that it has none; the same for a failing unregistration.
        env = dict(self.env, ORVELTECH_REGISTRY=os.path.join(self.work, "second.db"),
                   XDG_DATA_HOME=os.path.join(self.work, "second-data"), DISPLAY=":999")
        result = subprocess.run([os.path.join(BIN, "orvelsplash"), "/REGSERVER"], env=env, capture_output=True,
                                text=True)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        blocked = dict(env, XDG_DATA_HOME="/proc/no-such-folder")
        result = subprocess.run([os.path.join(BIN, "orvelsplash"), "-RegServer"], env=blocked, capture_output=True,
                                text=True)
        self.assertRegex(result.stderr, r"^orvelsplash: registration failed: cannot write /proc/no-such-folder/"
                                        r"dbus-1/interfaces/[^:]+\.xml: [^\n]+\n$")
        service = os.path.join(env["XDG_DATA_HOME"], "dbus-1", "services", SERVICE + ".service")
        with open(service) as text:
            self.assertIn("Exec=" + os.path.join(BIN, "orvelsplash") + " -Embedding", text.read())
        query = [os.path.join(BIN, "orvelreg"), "query", "HKCR\\Splash.SplashWindow\\CurVer"]
        self.assertIn("Splash.SplashWindow.1", subprocess.run(query, env=env, capture_output=True, text=True).stdout)
        subprocess.run([os.path.join(BIN, "orvelsplash"), "-unregserver"], env=env, check=True)
        self.assertFalse(os.path.exists(service))
        self.assertNotEqual(subprocess.run(query, env=env, capture_output=True).returncode, 0)

    def test_a_lost_display_leaves_the_calls_answered_and_the_timer_rule(self):
        import dbus
        xvfb, display = self.private_display(300)
        log = os.path.join(self.work, "lost.log")
        env = dict(self.env, DISPLAY=display, ORVELTECH_REGISTRY=os.path.join(self.work, "lost.db"))
        subprocess.run([os.path.join(BIN, "orvelreg"), "add", "HKCU\\Software\\Orveltech", "/v", "LogPath",
                        "/d", log], env=env, check=True, capture_output=True)
        server, _, splash = self.own_server(env)
        splash.SetSplashTimeout(dbus.Int16(400), dbus_interface=IFACE)
        splash.ShowSplash("Lost", "Orvel Thermal", dbus.Int16(13), dbus.Int16(1), dbus.Int16(2009),
                          dbus.Int16(2026), "ACME", dbus_interface=IFACE)
        xvfb.kill()
        xvfb.wait()
        # Killed, it leaves its lock and socket behind.
        for leftover in (f"/tmp/.X{xvfb.display_number}-lock", f"/tmp/.X11-unix/X{xvfb.display_number}"):
            if os.path.exists(leftover):
                os.remove(leftover)
        # The server notices at once, from its connection, not at a later
        # call or tick: the record is there before the client does anything.
        deadline = time.monotonic() + 10
        while time.monotonic() < deadline and not lost_recorded(log):
            time.sleep(0.02)
        self.assertTrue(lost_recorded(log), "the server did not note the lost display by itself")
        time.sleep(0.6)  # past a tick: the held server stays
        self.assertFalse(ended(server.pid), "the server ended with its display")
        splash.SetStatusText("after the display", dbus_interface=IFACE)
        splash.SetLicenseeText("still ACME", dbus_interface=IFACE)
        splash.HideSplash(dbus_interface=IFACE)
        splash.AddToRecentAppList("/opt/orvel/bin/heat", "Heat", dbus_interface=IFACE)
        self.assertFalse(ended(server.pid), "the server ended while its client held it")
        splash.Release(dbus_interface=IFACE)
        self.assertIsNotNone(wait_ended(server.pid, 3), "the server did not end at its tick after release")
        status = server.wait(timeout=5)
        said = server.stderr.read()
        self.assertEqual(status, 0, said)
        with open(log, "rb") as text:
            self.assertEqual(text.read().count(b"Lost the display connection"), 1)
        # Nothing from Xlib's handlers, nor a sanitizer's report.
        self.assertNotRegex(said, "XIO|fatal|Sanitizer")

    def test_on_two_monitors_the_window_is_inside_the_one_with_the_pointer(self):
        import dbus
        _, display = self.private_display(400, "-screen", "0", "2560x800x24")
        # Two monitors side by side; the display keeps them while the
        # connection that made them is open.
        keeper = set_monitors(display, ((0, 0, 1280, 800), (1280, 0, 1280, 800)))
        self.addCleanup(keeper.close)
        # A panel along the top of the whole desktop.
        subprocess.run(["xprop", "-display", display, "-root", "-f", "_NET_WORKAREA", "32c", "-set",
                        "_NET_WORKAREA", "0,30,2560,770"], check=True)
        env = dict(self.env, DISPLAY=display)
        # The pointer's monitor; the window centred in its part of the work area.
        servers, earlier = [], set()
        for pointer, expected in (((300, 500), (392, 219)), ((2000, 10), (1280 + 392, 219)),
                                  ((1280, 799), (1280 + 392, 219))):
            warp_pointer(display, *pointer)
            server, _, splash = self.own_server(env)
            servers.append(server)
            # No timer: a tick would hide the window before a loaded machine
            # has looked at it. The last release ends the server by the
            # monitor's rule, five seconds on.
            splash.SetSplashTimeout(dbus.Int16(-1), dbus_interface=IFACE)
            splash.ShowSplash("Two", "Orvel", dbus.Int16(1), dbus.Int16(0), dbus.Int16(0), dbus.Int16(0), "",
                              dbus_interface=IFACE)
            place = None
            deadline = time.monotonic() + 20  # a loaded machine is slow to show it
            while place is None and time.monotonic() < deadline:
                tree = subprocess.run(["xwininfo", "-root", "-children", "-display", display],
                                      capture_output=True, text=True).stdout
                windows = [line.split()[0] for line in tree.splitlines() if "orvelsplash" in line.lower()]
                # An earlier server's window may linger a moment after its release.
                for window in (w for w in windows if w not in earlier):
                    info = subprocess.run(["xwininfo", "-id", window, "-display", display], capture_output=True,
                                          text=True).stdout
                    if "IsViewable" in info:
                        values = dict(line.strip().split(":", 1) for line in info.splitlines() if ":" in line)
                        place = (int(values["Absolute upper-left X"]), int(values["Absolute upper-left Y"]))
                        earlier.add(window)
                        break
                time.sleep(0.05)
            self.assertEqual(place, expected, f"pointer at {pointer}")
            # The window goes with the object.
            splash.Release(dbus_interface=IFACE)
        for server in servers:
            self.assertIsNotNone(wait_ended(server.pid, 15), "a server outlived its released object")

    def test_recent_lists_reach_the_store(self):
        result = subprocess.run([os.path.join(BIN, "splashctl"), "recent-app", "/opt/orvel/bin/flow", "Flow Sheet"],
                                env=self.env, capture_output=True, text=True)
        self.assertEqual(result.returncode, 0, result.stderr)
        query = subprocess.run([os.path.join(BIN, "orvelreg"), "query", "HKCU\\Software\\Orveltech\\RecentlyUsed",
                                "/v", "RecentApps0"], env=self.env, capture_output=True, text=True)
        self.assertIn("/opt/orvel/bin/flow|Flow Sheet", query.stdout)


if __name__ == "__main__":
    BIN = os.path.abspath(sys.argv.pop(1))
    unittest.main(verbosity=2)
