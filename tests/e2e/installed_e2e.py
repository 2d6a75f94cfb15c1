#!/usr/bin/env python3
"""The splash server as a user installs it: the build installed to a prefix
of its own, and the Debian package made from it and unpacked. A private
session bus reads the folders for every user from XDG_DATA_DIRS, as a
desktop session's bus does; the splash is activated, shown, and ends."""

import glob
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from splash_e2e import SERVICE, ended, start_xvfb, wait_ended  # noqa: E402

BIN = None  # the build folder, from the command line

BUS_CONFIG = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir={dir}</listen>
  <standard_session_servicedirs/>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.work = tempfile.mkdtemp(prefix="splash-installed-")
        cls.xvfb = start_xvfb(600 + os.getpid() % 200, tries=50)
        cls.display = f":{cls.xvfb.display_number}" if cls.xvfb else None

    @classmethod
    def tearDownClass(cls):
        if cls.xvfb:
            cls.xvfb.kill()
            cls.xvfb.wait()
        shutil.rmtree(cls.work, ignore_errors=True)

    def session(self, name, data_dirs, registered=None):
        """A private session bus whose service folders are the user's and
        data_dirs; answers the environment of its clients. The user has
        registered the program named, or nothing."""
        folder = os.path.join(self.work, name)
        os.makedirs(os.path.join(folder, "home"))
        env = {k: v for k, v in os.environ.items() if k not in ("DISPLAY", "DBUS_SESSION_BUS_ADDRESS")}
        env.update(XDG_DATA_HOME=os.path.join(folder, "home"), XDG_DATA_DIRS=data_dirs,
                   XDG_RUNTIME_DIR=folder, ORVELTECH_REGISTRY=os.path.join(folder, "registry.db"),
                   ORVELTECH_EVENT_SCOPE=f"inst{os.getpid()}{name}")
        if self.display:
            env["DISPLAY"] = self.display
        if registered:
            result = subprocess.run([registered, "-RegServer"], env=env, capture_output=True, text=True)
            self.assertEqual((result.returncode, result.stderr), (0, ""))
        config = os.path.join(folder, "bus.conf")
        with open(config, "w") as out:
            out.write(BUS_CONFIG.format(dir=folder))
        bus = subprocess.Popen(["dbus-daemon", "--config-file", config, "--nofork", "--print-address=1"],
                               env=env, stdout=subprocess.PIPE, text=True)
        self.addCleanup(lambda: (bus.terminate(), bus.wait(), bus.stdout.close()))
        env["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().strip()
        return env

    def activatable(self, env):
        import dbus
        connection = dbus.bus.BusConnection(env["DBUS_SESSION_BUS_ADDRESS"])
        try:
            daemon = connection.get_object("org.freedesktop.DBus", "/org/freedesktop/DBus")
            return [str(n) for n in daemon.ListActivatableNames(dbus_interface="org.freedesktop.DBus")]
        finally:
            connection.close()

    def show_and_end(self, env, bindir):
        """A splash through the installed client: the bus starts the
        installed server, which shows it and ends at its tick after release."""
        client = subprocess.Popen([os.path.join(bindir, "splashctl"), "show", "--title", "Installed",
                                   "--subtitle", "Orvel Thermal Suite", "--major", "13", "--minor", "1",
                                   "--timeout", "300", "--hold", "0.8"],
                                  env=env, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        line = client.stdout.readline().split()
        self.assertEqual(len(line), 2, client.stderr.read() if client.poll() is not None else "no answer")
        pid = int(line[1])
        self.assertEqual(os.path.realpath(f"/proc/{pid}/exe"),
                         os.path.realpath(os.path.join(bindir, "orvelsplash")))
        self.assertFalse(ended(pid))
        _, errors = client.communicate(timeout=10)
        self.assertEqual(client.returncode, 0, errors)
        self.assertIsNotNone(wait_ended(pid, 5), "the installed server outlived its tick")

    def test_a_prefix_of_its_own(self):
        prefix = os.path.join(self.work, "prefix")
        subprocess.run(["cmake", "--install", BIN, "--prefix", prefix], check=True, capture_output=True)
        service = os.path.join(prefix, "share", "dbus-1", "services", SERVICE + ".service")
        with open(service) as text:
            self.assertIn(f"Exec={prefix}/bin/orvelsplash -Embedding\n", text.read())
        self.assertTrue(glob.glob(os.path.join(prefix, "share", "dbus-1", "interfaces", "*.xml")))
        env = self.session("prefix", os.path.join(prefix, "share"))
        self.assertIn(SERVICE, self.activatable(env))
        self.show_and_end(env, os.path.join(prefix, "bin"))

    def test_the_debian_package_unpacked(self):
        out = os.path.join(self.work, "package")
        subprocess.run(["cpack", "-G", "DEB", "--config", os.path.join(BIN, "CPackConfig.cmake"), "-B", out],
                       check=True, capture_output=True)
        deb = glob.glob(os.path.join(out, "*.deb"))[0]
        depends = subprocess.run(["dpkg-deb", "-f", deb, "Depends"], capture_output=True, text=True).stdout
        # libcurl4 is opened at the first transfer, not linked: the package names it itself.
        for needed in ("libc6", "libx11-6", "libsystemd0", "libcairo2", "libcurl4"):
            self.assertIn(needed, depends)
        root = os.path.join(self.work, "root")
        subprocess.run(["dpkg-deb", "-x", deb, root], check=True)
        usr = os.path.join(root, "usr")
        for path in ("bin/orvelsplash", "bin/splashctl", "bin/orvelreg", "lib/pkgconfig/sorvane.pc",
                     "lib/cmake/Sorvane/SorvaneConfig.cmake", "include/sorvane/splashclient/splashclient.h",
                     f"share/dbus-1/services/{SERVICE}.service", f"share/dbus-1/interfaces/{SERVICE}.ISplashWindow.xml"):
            self.assertTrue(os.path.exists(os.path.join(usr, path)), path)
        with open(os.path.join(usr, "share", "dbus-1", "services", SERVICE + ".service")) as text:
            self.assertIn("Exec=/usr/bin/orvelsplash -Embedding\n", text.read())

        # The bus finds the package's service in the folders for every user.
        self.assertIn(SERVICE, self.activatable(self.session("package", os.path.join(usr, "share"))))
        # The package is not installed, so /usr/bin/orvelsplash is not ours:
        # the user's registration of the unpacked program wins over the
        # package's file, and the bus starts the unpacked server.
        env = self.session("package-user", os.path.join(usr, "share"), os.path.join(usr, "bin", "orvelsplash"))
        self.show_and_end(env, os.path.join(usr, "bin"))

if __name__ == "__main__":
    BIN = os.path.abspath(sys.argv.pop(1))
    unittest.main(verbosity=2)
