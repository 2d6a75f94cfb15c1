#!/usr/bin/env python3
"""The splash server among other clients and faults: a splash answers its
creator alone, a server that no client can reach ends at once, a store
locked for longer than its wait loses no update, and texts arrive as sent
whatever the server's locale. Same private bus and display as splash_e2e."""

import os
import sqlite3
import subprocess
import sys
import tempfile
import threading
import time
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import splash_e2e  # noqa: E402
from splash_e2e import FACTORY_IFACE, FACTORY_PATH, IFACE, SERVICE, wait_ended  # noqa: E402

SPLASH = "/com/orveltech/Splash/SplashWindow/1"


class Faults(unittest.TestCase):
    setUpClass = classmethod(splash_e2e.SplashOverTheBus.setUpClass.__func__)
    tearDownClass = classmethod(splash_e2e.SplashOverTheBus.tearDownClass.__func__)
    own_server = splash_e2e.SplashOverTheBus.own_server

    def connect(self):
        import dbus
        connection = dbus.bus.BusConnection(self.env["DBUS_SESSION_BUS_ADDRESS"])
        self.addCleanup(connection.close)
        return connection

    def create(self, connection):
        """A splash of the connection's own: the server's name and pid."""
        import dbus
        factory = connection.get_object(SERVICE, FACTORY_PATH)
        path = factory.CreateInstance(dbus_interface=FACTORY_IFACE)
        self.assertEqual(path, SPLASH)
        daemon = connection.get_object("org.freedesktop.DBus", "/org/freedesktop/DBus")
        # The answer's sender is the server; python-dbus keeps it hidden, so
        # the one server that has this connection as its client is found.
        for name in daemon.ListNames(dbus_interface="org.freedesktop.DBus"):
            if not name.startswith(":"):
                continue
            try:
                connection.call_blocking(name, SPLASH, IFACE, "SetSplashTimeout", "n", (dbus.Int16(-1),))
            except dbus.exceptions.DBusException:
                continue
            return str(name), int(daemon.GetConnectionUnixProcessID(name, dbus_interface="org.freedesktop.DBus"))
        self.fail("no server answers its creator")

    def test_a_splash_answers_its_creator_alone(self):
        import dbus
        owner, other = self.connect(), self.connect()
        server, pid = self.create(owner)
        owner.call_blocking(server, SPLASH, IFACE, "SetStatusText", "s", ("the owner's",))
        calls = [("SetStatusText", "s", ("another's",)), ("SetLicenseeText", "s", ("another's",)),
                 ("HideSplash", "", ()), ("SetSplashTimeout", "n", (dbus.Int16(10),)),
                 ("ShowSplash2", "sssnns", ("T", "S", "1", dbus.Int16(0), dbus.Int16(0), "")),
                 ("Release", "", ())]
        for member, signature, arguments in calls:
            with self.assertRaises(dbus.exceptions.DBusException) as refused:
                other.call_blocking(server, SPLASH, IFACE, member, signature, arguments)
            self.assertEqual(refused.exception.get_dbus_name(), "org.freedesktop.DBus.Error.AccessDenied", member)
        # The owner's splash is still there and still answers its owner.
        owner.call_blocking(server, SPLASH, IFACE, "SetStatusText", "s", ("still the owner's",))
        owner.call_blocking(server, SPLASH, IFACE, "Release", "", ())
        self.assertIsNotNone(wait_ended(pid, 10))

    def test_a_server_no_client_can_reach_ends_at_once(self):
        import dbus
        program = os.path.join(splash_e2e.BIN, "orvelsplash")
        first = subprocess.Popen([program, "-Embedding"], env=self.env, stderr=subprocess.DEVNULL)
        self.addCleanup(lambda: (first.kill(), first.wait()))
        daemon = self.connect().get_object("org.freedesktop.DBus", "/org/freedesktop/DBus")
        for _ in range(500):
            if daemon.NameHasOwner(SERVICE, dbus_interface="org.freedesktop.DBus"):
                break
            time.sleep(0.02)
        no_bus = {k: v for k, v in self.env.items() if k != "DBUS_SESSION_BUS_ADDRESS"}
        no_bus["XDG_RUNTIME_DIR"] = tempfile.mkdtemp(dir=self.work)
        for env, why in ((self.env, "another server has it"), (no_bus, "no session bus")):
            start = time.monotonic()
            second = subprocess.run([program, "-Embedding"], env=env,
                                    capture_output=True, text=True, timeout=10)
            self.assertLess(time.monotonic() - start, 2.0, why)
            self.assertNotEqual(second.returncode, 0, why)
            self.assertEqual(len(second.stderr.splitlines()), 1, second.stderr)
            self.assertIn(why, second.stderr)
        self.assertIsNone(first.poll(), "the first server went with the second")

    def test_no_home_at_all_stops_with_one_line(self):
        env = {k: v for k, v in self.env.items()
               if k not in ("HOME", "ORVELTECH_REGISTRY", "XDG_CONFIG_HOME", "XDG_DATA_HOME")}
        for switch in ("-RegServer", "-Embedding"):
            # A user with no password entry.
            result = subprocess.run([os.path.join(splash_e2e.BIN, "orvelsplash"), switch], env=env,
                                    capture_output=True, text=True, timeout=10,
                                    preexec_fn=lambda: (os.setgid(54321), os.setuid(54321)))
            self.assertEqual(result.returncode, 1, switch)
            self.assertEqual(result.stderr.count("\n"), 1, result.stderr)
            self.assertIn("no home folder", result.stderr)

    def recent_apps(self):
        db = sqlite3.connect(self.env["ORVELTECH_REGISTRY"])
        try:
            return [bytes(data).decode("utf-8") for (data,) in db.execute(
                "SELECT v.data FROM vals v JOIN keys k ON v.key = k.id "
                "WHERE k.name = 'RecentlyUsed' AND v.name LIKE 'RecentApps%' ORDER BY v.name")]
        finally:
            db.close()

    def test_a_store_locked_for_fifteen_seconds_loses_no_update(self):
        owner = self.connect()
        server, pid = self.create(owner)
        locked = threading.Event()

        def hold_lock():
            db = sqlite3.connect(self.env["ORVELTECH_REGISTRY"], isolation_level=None)
            db.execute("BEGIN EXCLUSIVE")
            locked.set()
            time.sleep(15)
            db.execute("ROLLBACK")
            db.close()

        holder = threading.Thread(target=hold_lock)
        holder.start()
        locked.wait()
        owner.call_blocking(server, SPLASH, IFACE, "AddToRecentAppList", "ss", ("/opt/orvel/locked", "Locked"),
                            timeout=60)
        owner.call_blocking(server, SPLASH, IFACE, "Release", "", ())
        holder.join()
        self.assertIsNotNone(wait_ended(pid, 20))
        self.assertEqual(self.recent_apps()[0], "/opt/orvel/locked|Locked")

    def test_texts_arrive_as_sent_in_the_c_locale_noncharacters_included(self):
        env = dict(self.env, LC_ALL="C", LANG="C")
        server, connection, splash = self.own_server(env)
        names = ["/opt/Θερμότητα/εναλλάκτης\ufdd0", "熱交換器の設計\ufffe"]
        splash.SetSplashTimeout(-1, dbus_interface=IFACE)
        splash.AddToRecentAppList(names[0], names[1], dbus_interface=IFACE)
        splash.Release(dbus_interface=IFACE)
        self.assertIsNotNone(wait_ended(server.pid, 15))
        self.assertEqual(self.recent_apps()[0], f"{names[0]}|{names[1]}")


if __name__ == "__main__":
    splash_e2e.BIN = os.path.abspath(sys.argv.pop(1))
    unittest.main(verbosity=2)
