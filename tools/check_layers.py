#!/usr/bin/env python3
"""Checks the framework's layering over the source tree.

- A framework unit includes only units of its own layer or of layers below
  it; the layers and their units come from the build's map (folder/unit=layer,
  lowest layer first).
- The client library includes only itself and the platform layer.
- The system's service headers are included only in src/platform/ and in the
  server's host folder, src/splash/host/; and no platform header includes one,
  so the framework's installed headers expose none.

Usage: check_layers.py SOURCE_DIR LAYER_MAP. Exits 1 with one line per fault.
"""
import pathlib
import re
import sys

SERVICE_HEADERS = re.compile(
    r"^(systemd/|X11/|curl/|sqlite3\.h$|zlib\.h$|semaphore\.h$|pthread\.h$|iconv\.h$|"
    r"dlfcn\.h$|syslog\.h$|sys/epoll\.h$|sys/eventfd\.h$|sys/syscall\.h$|sys/inotify\.h$)")
INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^>"]+)[>"]', re.M)
SERVER = "orvelsplash"
CLIENT = "splashclient"


def read_map(path):
    layers, units = [], {}
    for line in pathlib.Path(path).read_text().split():
        unit, layer = line.split("=")
        units[unit] = layer
        if layer not in layers:
            layers.append(layer)
    return layers, units


def layer_of(rel, units):
    """The layer of a source file given by its path below src/."""
    if rel.startswith("splash/"):
        return SERVER
    if rel.startswith("splashclient/"):
        return CLIENT
    return units.get(str(pathlib.PurePosixPath(rel).with_suffix("")))


def faults_of(src, rel, text, layers, units):
    own = layer_of(rel, units)
    rank = {name: i for i, name in enumerate(layers)}
    may_use_services = rel.startswith("splash/host/") or (
        rel.startswith("platform/") and rel.endswith(".cpp"))
    for header in INCLUDE.findall(text):
        if SERVICE_HEADERS.match(header) and not may_use_services:
            yield f"src/{rel}: includes the system header <{header}>"
            continue
        target = str(pathlib.PurePosixPath(header).with_suffix(""))
        if own == SERVER:
            continue
        if header.startswith(("splash/", "splashclient/")):
            if own != CLIENT or not header.startswith("splashclient/"):
                yield f"src/{rel}: includes <{header}>, above the framework"
            continue
        if target not in units:
            continue
        if own == CLIENT:
            if units[target] != layers[0]:
                yield f"src/{rel}: the client library includes <{header}>, above the platform"
        elif own is None:
            yield f"src/{rel}: belongs to no layer"
        elif rank[units[target]] > rank[own]:
            yield f"src/{rel} ({own}): includes <{header}> of the higher layer {units[target]}"


def main():
    src = pathlib.Path(sys.argv[1]) / "src"
    layers, units = read_map(sys.argv[2])
    faults = []
    for path in sorted(src.rglob("*")):
        if path.suffix not in (".h", ".cpp"):
            continue
        rel = path.relative_to(src).as_posix()
        faults += faults_of(src, rel, path.read_text(errors="replace"), layers, units)
    for fault in faults:
        print(fault)
    print(f"layering: {len(faults)} faults in the sources")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
