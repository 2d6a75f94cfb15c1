#!/usr/bin/env python3
"""Builds the reference of the installed headers with Doxygen.

The headers are those the build stages for installing, layer by layer
(build/<preset>/layers/<layer>/), in the order of the build's layer map,
then the splash client library's. Each layer is a group of the reference,
opened by that layer's paragraph in docs/architecture.md ("The layers, one
by one"), so the text is written once. The headers carry no group markup: a
filter wraps each one in its layer's group as Doxygen reads it.

Doxygen's warnings are errors: an undocumented member or parameter, or a
parameter documented under a name the code no longer has, fails the build.

Usage: build_reference.py --source ROOT --build BUILD_DIR --out OUT_DIR
                          [--doxygen PROGRAM]
       build_reference.py --filter GROUP_MAP HEADER   (Doxygen's input filter)
Exits 0 when the reference was built without a warning; otherwise prints the
warnings and exits 1. Exits 77, the test's mark for skipped, when there is no
Doxygen.
"""
import argparse
import pathlib
import re
import shlex
import shutil
import subprocess
import sys

CLIENT_LAYER = "sorvane_splashclient"
SECTION = "## The layers, one by one"


def layer_order(build):
    """The framework's layers, lowest first, then the client library."""
    layers = []
    for line in (build / "layers" / "map.txt").read_text().split():
        layer = line.split("=")[1]
        if layer not in layers:
            layers.append(layer)
    return layers + [CLIENT_LAYER]


def staged_headers(build, layer):
    """The headers a layer installs, as paths in the source tree."""
    stage = build / "layers" / layer
    return sorted(p.resolve() for p in stage.rglob("*.h"))


def layer_paragraphs(architecture):
    """{layer name: (title, paragraph)} from the section on the layers."""
    text = architecture.read_text()
    start = text.index(SECTION)
    end = text.find("\n## ", start + len(SECTION))
    section = text[start:end if end >= 0 else len(text)]
    groups = {}
    for match in re.finditer(r"^### (\w+): (.+?)\n(.*?)(?=^### |\Z)", section, re.M | re.S):
        name, title, body = match.group(1), match.group(2).strip(), match.group(3).strip()
        groups[name] = (title, body)
    return groups


def group_id(layer):
    return layer.removeprefix("sorvane_")


def write_groups(path, layers, paragraphs):
    out = ["/* Generated from docs/architecture.md: one group per layer. */\n"]
    for layer in layers:
        name = group_id(layer)
        if name not in paragraphs:
            raise SystemExit(f"docs/architecture.md: no paragraph '### {name}: ...' for {layer}")
        title, body = paragraphs[name]
        out.append(f"/** \\defgroup {name} {title}\n\n{body}\n\nLayer `{layer}`. */\n")
    path.write_text("\n".join(out))


def write_mainpage(path, source, layers, paragraphs):
    intro = (source / "docs" / "architecture.md").read_text().split("\n\n")[1].strip()
    items = "\n".join(f"- \\ref {group_id(l)}" for l in layers)
    path.write_text(f"""/** \\mainpage Sorvane reference

{intro}

The reference covers the headers that the package installs, one group per
layer, lowest first:

{items}

A header is included by its folder, as in `#include <util/pstring.h>`;
with CMake, `find_package(Sorvane)` and link `Sorvane::sorvane` (and
`Sorvane::splashclient` for the splash).
*/
""")


def filter_header(group_map, header):
    """Doxygen's input filter: the header inside its layer's group. A group
    opened outside a namespace does not reach into it, so each namespace's
    body is grouped too. Everything is added on existing lines, so the line
    numbers of warnings stay those of the source."""
    groups = dict(line.split("\t") for line in pathlib.Path(group_map).read_text().splitlines())
    path = pathlib.Path(header).resolve()
    text = path.read_text()
    group = groups.get(str(path))
    if group:
        opening = f"/** \\addtogroup {group} */ /** @{{ */"
        text = re.sub(r"^(namespace \w+ \{)$", lambda m: f"{m.group(1)} {opening}", text, flags=re.M)
        text = re.sub(r"^(\}\s*// namespace)", r"/** @} */ \1", text, flags=re.M)
        # The header's own "/// \\file" block, inside the group, puts the
        # file in it too.
        text = f"{opening} " + text + "\n/** @} */\n"
    sys.stdout.write(text)


def build_reference(args):
    if shutil.which(args.doxygen) is None:
        print(f"{args.doxygen} not found: the reference is not built (install doxygen, or ./do setup)")
        return 77
    source, build, out = (pathlib.Path(p).resolve() for p in (args.source, args.build, args.out))
    layers = layer_order(build)
    paragraphs = layer_paragraphs(source / "docs" / "architecture.md")
    out.mkdir(parents=True, exist_ok=True)
    headers, group_lines = [], []
    for layer in layers:
        for header in staged_headers(build, layer):
            headers.append(header)
            group_lines.append(f"{header}\t{group_id(layer)}")
    group_map = out / "groups.map"
    group_map.write_text("\n".join(group_lines) + "\n")
    write_groups(out / "groups.dox", layers, paragraphs)
    write_mainpage(out / "mainpage.dox", source, layers, paragraphs)

    template = (source / "docs" / "reference" / "Doxyfile.in").read_text()
    version = re.search(r"project\(Sorvane VERSION ([0-9.]+)", (source / "CMakeLists.txt").read_text())
    values = {
        "VERSION": version.group(1) if version else "",
        "OUTPUT": str(out),
        "SOURCE": str(source / "src"),
        "INPUT": " \\\n    ".join([str(out / "mainpage.dox"), str(out / "groups.dox")] +
                                  [str(p) for p in sorted((source / "docs" / "reference").glob("*.dox"))] +
                                  [str(h) for h in headers]),
        "FILTER": f"{shlex.quote(sys.executable)} {shlex.quote(str(pathlib.Path(__file__).resolve()))} "
                  f"--filter {shlex.quote(str(group_map))}",
        "WARNINGS": str(out / "warnings.log"),
    }
    doxyfile = out / "Doxyfile"
    doxyfile.write_text(re.sub(r"@(\w+)@", lambda m: values[m.group(1)], template))
    (out / "warnings.log").unlink(missing_ok=True)
    # Pages of a header or class that is gone must not linger.
    shutil.rmtree(out / "html", ignore_errors=True)
    run = subprocess.run([args.doxygen, str(doxyfile)], cwd=out, capture_output=True, text=True)
    log = out / "warnings.log"
    warnings = log.read_text().strip() if log.exists() else ""
    if run.returncode != 0 or warnings:
        sys.stderr.write(run.stderr)
        if warnings:
            sys.stderr.write(warnings + "\n")
        count = sum(1 for line in warnings.splitlines() if ": warning:" in line)
        sys.stderr.write(f"The reference has {count} warning(s); see {log}\n")
        return 1
    print(f"Reference of {len(headers)} headers: {out / 'html' / 'index.html'}")
    return 0


def main():
    if len(sys.argv) == 4 and sys.argv[1] == "--filter":
        filter_header(sys.argv[2], sys.argv[3])
        return 0
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--source", required=True)
    parser.add_argument("--build", required=True)
    parser.add_argument("--out", required=True)
    parser.add_argument("--doxygen", default="doxygen")
    return build_reference(parser.parse_args())


if __name__ == "__main__":
    sys.exit(main())
