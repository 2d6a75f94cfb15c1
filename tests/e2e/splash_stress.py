#!/usr/bin/env python3
"""The splash service under load, as a user installs it: the build installed
to a prefix of its own, a private session bus that activates the installed
server, a virtual display.

1. Many clients activate at once; each shows, sends status lines and lets go.
   Every one must be served, and every server must end.
2. Writers update the recent lists through the bus while servers are killed
   with SIGKILL, round after round: the store stays whole, and each list is
   what some order of the updates that finished leaves.

usage: splash_stress.py BUILD [--clients N] [--rounds N] [--prefix DIR]
With --prefix the install there is used as it is."""

import argparse
import os
import random
import signal
import sqlite3
import statistics
import subprocess
import sys
import tempfile
import threading
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from installed_e2e import BUS_CONFIG  # noqa: E402
from splash_e2e import start_xvfb  # noqa: E402

WRITERS = 8
UPDATES_PER_ROUND = 3


def servers(program):
    """The processes running the installed server, zombies left out."""
    found = []
    for pid in filter(str.isdigit, os.listdir("/proc")):
        try:
            if os.readlink(f"/proc/{pid}/exe") == program:
                with open(f"/proc/{pid}/stat") as stat:
                    if stat.read().split(")")[-1].split()[0] != "Z":
                        found.append(int(pid))
        except OSError:
            pass
    return found


def wait_none_left(program, limit):
    end = time.monotonic() + limit
    while time.monotonic() < end:
        if not servers(program):
            return True
        time.sleep(0.1)
    return False


class Session:
    def __init__(self, work, prefix, display):
        self.program = os.path.realpath(os.path.join(prefix, "bin", "orvelsplash"))
        self.splashctl = os.path.join(prefix, "bin", "splashctl")
        self.store = os.path.join(work, "registry.db")
        env = {k: v for k, v in os.environ.items() if k not in ("DISPLAY", "DBUS_SESSION_BUS_ADDRESS")}
        env.update(XDG_DATA_HOME=os.path.join(work, "home"), XDG_DATA_DIRS=os.path.join(prefix, "share"),
                   XDG_RUNTIME_DIR=work, ORVELTECH_REGISTRY=self.store,
                   ORVELTECH_EVENT_SCOPE=f"stress{os.getpid()}")
        if display:
            env["DISPLAY"] = display
        config = os.path.join(work, "bus.conf")
        with open(config, "w") as out:
            out.write(BUS_CONFIG.format(dir=work))
        self.bus = subprocess.Popen(["dbus-daemon", "--config-file", config, "--nofork", "--print-address=1"],
                                    env=env, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        env["DBUS_SESSION_BUS_ADDRESS"] = self.bus.stdout.readline().strip()
        self.env = env

    def close(self):
        self.bus.terminate()
        self.bus.wait()
        self.bus.stdout.close()
        for pid in servers(self.program):
            os.kill(pid, signal.SIGKILL)


def activations(session, clients):
    """Clients at once: served count and each one's time to its splash."""
    times = [None] * clients
    failures = []

    def run(i):
        start = time.monotonic()
        client = subprocess.Popen([session.splashctl, "show", "--title", f"Client {i}", "--subtitle",
                                   "Orvel Thermal Suite", "--timeout", "1000", "--updates", "20"],
                                  env=session.env, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        line = client.stdout.readline()
        if line.startswith("/"):
            times[i] = time.monotonic() - start
        _, errors = client.communicate()
        if client.returncode != 0:
            failures.append(errors.strip())

    threads = [threading.Thread(target=run, args=(i,)) for i in range(clients)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    return [t for t in times if t is not None], failures


def read_list(store, name):
    if not os.path.exists(store):
        return "ok", [None] * 5  # no server lived to make it
    db = sqlite3.connect(store)
    try:
        ok = db.execute("PRAGMA integrity_check").fetchone()[0]
        try:
            rows = dict(db.execute("SELECT v.name, v.data FROM vals v JOIN keys k ON v.key = k.id "
                                   "WHERE k.name = 'RecentlyUsed'"))
        except sqlite3.OperationalError:
            rows = {}  # killed before its tables were made
    finally:
        db.close()
    slots = []
    for i in range(5):
        data = rows.get(f"{name}{i}")
        slots.append(bytes(data).decode("utf-8") if data is not None else None)
    return ok, slots


def valid_list(slots, sent, finished):
    """Whether the list is what applying, one at a time and whole, some of
    the updates sent leaves, with every finished one among them: distinct
    entries newest first, each writer's in its own order, and none of a
    writer's finished updates missing in front of an older one of its own."""
    entries = [s for s in slots if s]
    if len(set(entries)) != len(entries) or any(e not in sent for e in entries):
        return False
    by_writer = {}
    for position, entry in enumerate(entries):
        by_writer.setdefault(sent[entry][0], []).append((sent[entry][1], position))
    for writer, seen in by_writer.items():
        numbers = [n for n, _ in seen]
        if numbers != sorted(numbers, reverse=True):
            return False
        oldest_shown = min(numbers)
        later_finished = {n for (w, n) in finished if w == writer and n > oldest_shown}
        if not later_finished <= set(numbers):
            return False
    return True


def store_rounds(session, rounds):
    """Writers through the bus while servers are killed; answers the rounds
    that held and the updates that finished."""
    sent = {}      # entry -> (writer, number)
    finished = set()
    counters = [0] * WRITERS
    lock = threading.Lock()
    held = 0
    failures = []  # the first that a killed server does not explain
    for round_number in range(rounds):
        def write(w):
            for _ in range(UPDATES_PER_ROUND):
                with lock:
                    counters[w] += 1
                    n = counters[w]
                entry = f"/opt/writer{w}/app{n}"
                with lock:
                    sent[entry] = (w, n)
                result = subprocess.run([session.splashctl, "recent-app", entry], env=session.env,
                                        capture_output=True, text=True, timeout=60)
                if result.returncode == 0:
                    with lock:
                        finished.add((w, n))
                elif not result.stderr.count("NoReply") and not failures:
                    failures.append(result.stderr.strip())

        writers = [threading.Thread(target=write, args=(w,)) for w in range(WRITERS)]
        for t in writers:
            t.start()
        while any(t.is_alive() for t in writers):
            time.sleep(random.uniform(0.2, 0.6))
            running = servers(session.program)
            for pid in random.sample(running, k=min(len(running), 1)):
                try:
                    os.kill(pid, signal.SIGKILL)
                except ProcessLookupError:
                    pass
        for t in writers:
            t.join()
        ok, slots = read_list(session.store, "RecentApps")
        if ok == "ok" and valid_list(slots, sent, finished):
            held += 1
        else:
            print(f"round {round_number + 1}: integrity {ok}, list {slots}", file=sys.stderr)
    for failure in failures:
        print(f"  a writer failed: {failure}", file=sys.stderr)
    return held, len(finished), sum(counters)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("--clients", type=int, default=50)
    parser.add_argument("--rounds", type=int, default=20)
    parser.add_argument("--prefix")
    args = parser.parse_args()

    with tempfile.TemporaryDirectory(prefix="splash-stress-") as work:
        prefix = args.prefix
        if prefix is None:
            prefix = os.path.join(work, "prefix")
            subprocess.run(["cmake", "--install", args.build, "--prefix", prefix], check=True, capture_output=True)
        number = 800 + os.getpid() % 150
        xvfb = start_xvfb(number)
        session = Session(work, prefix, f":{number}" if xvfb else None)
        status = 0
        try:
            times, failures = activations(session, args.clients)
            print(f"activations: {len(times)}/{args.clients} served", end="")
            if times:
                print(f", median {statistics.median(times):.2f} s, slowest {max(times):.2f} s", end="")
            print()
            for failure in failures[:5]:
                print(f"  a client failed: {failure}", file=sys.stderr)
            ended = wait_none_left(session.program, 20)
            print(f"servers left after the clients: {len(servers(session.program))}")
            if len(times) != args.clients or failures or not ended:
                status = 1

            held, done, asked = store_rounds(session, args.rounds)
            ended = wait_none_left(session.program, 20)
            print(f"store rounds: {held}/{args.rounds} whole and valid; {done}/{asked} updates finished")
            print(f"servers left after the writers: {len(servers(session.program))}")
            if held != args.rounds or not ended:
                status = 1
        finally:
            session.close()
            if xvfb:
                xvfb.kill()
                xvfb.wait()
    return status


if __name__ == "__main__":
    sys.exit(main())
