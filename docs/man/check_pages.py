#!/usr/bin/env python3
"""Checks the manual pages: each formats without a warning, no source line
becomes a roff request, each page names every option and command its program's
usage names, and the orvelunits sessions shown in the pages give the output
they show, with the example user unit file of sorvane-units(5)."""
import argparse
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile

# Page, program, and the arguments that print its usage.
USAGES = [
    ("splashctl.1", "splashctl", ["--help"]),
    ("orvelreg.1", "orvelreg", ["--help"]),
    ("orvelunits.1", "orvelunits", ["--help"]),
]

failures = []


def fail(text):
    failures.append(text)


def read(path):
    with open(path, encoding="utf-8") as f:
        return f.read()


def unescape(text):
    """The text as a reader sees it: scdoc's escapes and emphasis gone."""
    return re.sub(r"\\(.)", r"\1", text)


def literal_blocks(source):
    """The fenced blocks of an scdoc source, each a list of lines."""
    blocks, current = [], None
    for line in source.splitlines():
        if line.strip() == "```":
            if current is None:
                current = []
            else:
                blocks.append(current)
                current = None
        elif current is not None:
            current.append(unescape(line.strip("\t")))
    return blocks


def check_roff_requests(name, source):
    # A line that starts with "." or "'" reaches the roff output as a request
    # and vanishes; scdoc passes it on as it is. ". " opens a numbered item.
    for number, line in enumerate(source.splitlines(), 1):
        text = line.lstrip(" \t")
        if text.startswith("'") or (text.startswith(".") and not text.startswith(". ")):
            fail(f"{name}.scd:{number}: a line may not begin with '{text[0]}': {line.strip()}")


def check_formatting(page):
    if shutil.which("man"):
        command = ["man", "--warnings", "-E", "UTF-8", "-l", page]
    else:
        command = ["groff", "-ww", "-z", "-man", "-Tutf8", page]
    env = dict(os.environ, MANWIDTH="80", MAN_KEEP_FORMATTING="0")
    run = subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, env=env)
    if run.returncode != 0 or run.stderr:
        fail(f"{' '.join(command)} (exit {run.returncode}):\n{run.stderr}")


def usage_words(usage):
    """Every option and command of a usage text."""
    words = set(re.findall(r"(?<![\w-])--[a-z][a-z-]*", usage))
    words |= set(re.findall(r"(?<=[\s\[|])/[a-z?]+(?=[\s\]|])", usage))
    for line in usage.splitlines():
        m = re.match(r"\s*(?:usage:)?\s*(splashctl|orvelreg|orvelunits)\s+((?:\[[^]]*\]\s+)*)(\w[\w-]*)", line)
        if m:
            words.add(m.group(3))
    m = re.search(r"event\s+([\w|]+)", usage)
    if m:
        words |= set(m.group(1).split("|"))
    m = re.search(r"CLASS is ([\w, ]+)", usage)
    if m:
        words |= set(re.split(r",\s*|\s+or\s+", m.group(1)))
    return words


def check_usage(source, page, program, args):
    run = subprocess.run([program] + args, capture_output=True, text=True)
    if run.returncode != 0:
        fail(f"{program} {' '.join(args)} exits with {run.returncode}")
    plain = unescape(source).replace("*", "").replace("_", "")
    for word in sorted(usage_words(run.stdout)):
        if not re.search(r"(?<![\w/-])" + re.escape(word) + r"(?![\w-])", plain):
            fail(f"{page}: does not name '{word}' of {os.path.basename(program)}'s usage")


def check_sessions(page, source, orvelunits, unit_file):
    """Each "$ orvelunits ..." line of a block, run, prints the lines after it."""
    env = dict(os.environ, XDG_CONFIG_HOME=tempfile.mkdtemp())
    for block in literal_blocks(source):
        commands = [i for i, line in enumerate(block) if line.startswith("$ ")]
        for n, at in enumerate(commands):
            words = shlex.split(block[at][2:])
            if words[0] != "orvelunits":
                continue
            end = commands[n + 1] if n + 1 < len(commands) else len(block)
            shown = [line.rstrip() for line in block[at + 1:end]]
            run = subprocess.run([orvelunits, "--user-units", unit_file] + words[1:],
                                 capture_output=True, text=True, env=env)
            printed = [line.rstrip() for line in run.stdout.splitlines()]
            if run.returncode != 0 or printed != shown:
                fail(f"{page}: '{block[at]}' printed {printed} (exit {run.returncode}), "
                     f"the page shows {shown}")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--sources", required=True)
    parser.add_argument("--pages", required=True)
    parser.add_argument("--program", action="append", default=[], help="NAME=PATH")
    parser.add_argument("names", nargs="+")
    options = parser.parse_args()
    programs = dict(p.split("=", 1) for p in options.program)

    sources = {name: read(os.path.join(options.sources, name + ".scd")) for name in options.names}
    for name, source in sources.items():
        check_roff_requests(name, source)
        check_formatting(os.path.join(options.pages, name))
    for page, program, args in USAGES:
        check_usage(sources[page], page, programs[program], args)

    # The example file is the first block of sorvane-units(5).
    with tempfile.NamedTemporaryFile("w", suffix=".txt", delete=False) as f:
        f.write("\n".join(literal_blocks(sources["sorvane-units.5"])[0]) + "\n")
    try:
        for name in ("orvelunits.1", "sorvane-units.5"):
            check_sessions(name, sources[name], programs["orvelunits"], f.name)
    finally:
        os.unlink(f.name)

    for text in failures:
        print(text)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
