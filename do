#!/usr/bin/env bash
# The project's one entry point. Each subcommand installs what it needs first.
#   ./do setup            install the Debian packages the project needs
#   ./do build [PRESET]   configure and build (default, asan, release, fuzz)
#   ./do test [PRESET]    build and run the test suites (default preset)
#   ./do demo             run the main job
#   ./do bench            release build, run the benchmarks, print the ratios
#   ./do fuzz [SECONDS]   run every fuzz target (default 60 s each)
#   ./do format           clang-format every source in place
set -euo pipefail
cd "$(dirname "$0")"
root=$PWD

packages=(
    cmake ninja-build g++ clang libclang-rt-14-dev pkg-config clang-format
    libgtest-dev libgmock-dev libbenchmark-dev
    libsqlite3-dev
    libcairo2-dev libfontconfig-dev libfreetype-dev fonts-liberation
    libsystemd-dev libx11-dev dbus-daemon dbus-bin xvfb x11-apps python3 python3-dbus imagemagick
)

as_root() {
    if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi
}

setup() {
    local missing=()
    for p in "${packages[@]}"; do
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "Installing: ${missing[*]}"
    as_root apt-get update -qq
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

build() {
    local preset=${1:-default}
    setup
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j "$(nproc)"
}

test_suite() {
    local preset=${1:-default}
    build "$preset"
    ctest --preset "$preset"
}

demo() {
    build default
    "$root/build/default/sorvane_example"
}

bench() {
    build release
    local status=0
    for b in "$root"/build/release/bench/bench_*; do
        [ -x "$b" ] || continue
        echo "== $(basename "$b")"
        "$b" || status=1
    done
    return $status
}

fuzz() {
    local seconds=${1:-60}
    build fuzz
    local status=0
    for f in "$root"/build/fuzz/fuzz/fuzz_*; do
        [ -x "$f" ] || continue
        local name corpus
        name=$(basename "$f")
        corpus="$root/build/fuzz/corpus/$name"
        mkdir -p "$corpus"
        echo "== $name for ${seconds}s"
        "$f" -max_total_time="$seconds" -print_final_stats=1 "$corpus" "$root/fuzz/seeds/$name" 2>&1 |
            tail -n 12 || status=1
    done
    return $status
}

format() {
    setup
    git ls-files '*.cpp' '*.h' | xargs clang-format -i
}

cmd=${1:-help}
shift || true
case "$cmd" in
    setup) setup ;;
    build) build "$@" ;;
    test) test_suite "$@" ;;
    demo) demo ;;
    bench) bench ;;
    fuzz) fuzz "$@" ;;
    format) format ;;
    *) sed -n '2,10p' "$0"; exit 2 ;;
esac
