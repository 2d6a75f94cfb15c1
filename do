#!/usr/bin/env bash
# The project's one entry point. Each subcommand installs what it needs first.
#   ./do setup            install the Debian packages the project needs
#   ./do build [PRESET]   configure and build (default, asan, tsan, release, fuzz)
#   ./do test [PRESET]    build and run the test suites (default preset)
#   ./do docs             the reference of the installed headers, in build/docs/html
#   ./do demo             show a splash through the session bus to a real client
#   ./do package          release build, the Debian package in build/package, checked by lintian
#   ./do bench [NAME]     release build, run the benchmarks (or bench_NAME), print the ratios
#   ./do fuzz [SECONDS]   run every fuzz target (default 60 s each)
#   ./do stress           the splash service under load from an installed prefix
#   ./do format           clang-format every source in place
set -euo pipefail
cd "$(dirname "$0")"
root=$PWD

packages=(
    cmake ninja-build g++ clang libclang-rt-14-dev pkg-config clang-format ccache
    libgtest-dev libgmock-dev libbenchmark-dev
    libsqlite3-dev
    zlib1g-dev libpugixml-dev libexpat1-dev
    units libudunits2-dev
    libcairo2-dev libfontconfig-dev libfreetype-dev fonts-liberation
    libsystemd-dev libx11-dev libxrandr-dev dbus-daemon dbus-bin xvfb x11-apps x11-utils x11-xserver-utils
    python3 python3-dbus imagemagick
    # The Debian package: its dependencies found, and the package checked.
    dpkg-dev lintian
    # The internet and mail clients, and their tests' servers and certificates.
    libcurl4-openssl-dev curl openssl python3-pyftpdlib python3-aiosmtpd
    # The manual pages: made with scdoc, checked with man and groff.
    scdoc man-db groff-base
    # The reference of the headers (./do docs).
    doxygen
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

# What the demo started, stopped when it ends, fails or is interrupted.
demo_cleanup=()
stop_demo() {
    local i steps=("${demo_cleanup[@]}")
    demo_cleanup=()
    # The last started first: the server, the client, then the bus and the
    # display they used. A step whose process has already gone fails, and
    # that must not end the cleanup (set -e).
    for ((i = ${#steps[@]} - 1; i >= 0; i--)); do eval "${steps[i]}" || true; done
}

demo() {
    build default
    local bin=$root/build/default
    local shot=$root/build/splash-demo.png
    trap stop_demo EXIT
    trap 'stop_demo; exit 130' INT TERM
    # The server registers itself for this user: the bus's service file, the
    # class's entries in the store.
    "$bin/orvelsplash" -RegServer
    if [ -z "${DISPLAY:-}" ]; then
        local n=$((90 + RANDOM % 100))
        Xvfb ":$n" -screen 0 1280x800x24 -nolisten tcp >/dev/null 2>&1 &
        demo_cleanup+=("kill $! 2>/dev/null")
        for _ in $(seq 100); do [ -S "/tmp/.X11-unix/X$n" ] && break; sleep 0.05; done
        export DISPLAY=":$n"
        echo "No display: using the virtual display $DISPLAY"
    fi
    if [ -z "${DBUS_SESSION_BUS_ADDRESS:-}" ]; then
        local address
        address=$(dbus-daemon --session --fork --print-address=1 --print-pid=1 | { read -r a; read -r p; echo "$a $p"; })
        export DBUS_SESSION_BUS_ADDRESS=${address% *}
        demo_cleanup+=("kill ${address##* } 2>/dev/null")
        echo "No session bus: started one at $DBUS_SESSION_BUS_ADDRESS"
    fi
    # The client prints the splash's object and the server's process.
    local ids
    ids=$(mktemp)
    demo_cleanup+=("rm -f $ids")
    "$bin/splashctl" show --title "Heat Exchanger Designer" --subtitle "Orvel Thermal Suite" \
        --major 13 --minor 1 --from 2009 --to 2026 --licensee "Demonstration licence" \
        --status "Loading unit tables..." --hold 2 >"$ids" &
    local client=$! server=""
    demo_cleanup+=("kill $client 2>/dev/null")
    for _ in $(seq 100); do [ -s "$ids" ] && break; sleep 0.05; done
    read -r _ server <"$ids" || true
    [ -n "$server" ] && demo_cleanup+=("kill $server 2>/dev/null")
    sleep 1.5
    import -window root "$shot" && echo "Screenshot of the display: $shot"
    wait "$client"
    # The splash ends by itself at its next tick after the client lets go.
    for _ in $(seq 100); do
        [ -n "$server" ] && kill -0 "$server" 2>/dev/null || break
        sleep 0.1
    done
    stop_demo
    echo "The screenshot is at $shot"
}

# The reference of the installed headers: the default preset's configure
# says which headers the package installs, layer by layer.
docs() {
    setup
    cmake --preset default >/dev/null
    /usr/bin/python3 "$root/tools/build_reference.py" --source "$root" \
        --build "$root/build/default" --out "$root/build/docs"
}

bench() {
    build release
    local status=0
    local pattern=bench_*
    # One benchmark by name, with or without its prefix.
    [ $# -gt 0 ] && pattern=bench_${1#bench_}
    local found=0
    for b in "$root"/build/release/bench/$pattern; do
        [ -x "$b" ] || continue
        found=1
        echo "== $(basename "$b")"
        "$b" || status=1
    done
    [ $found = 1 ] || { echo "No benchmark $pattern in build/release/bench" >&2; return 2; }
    return $status
}

# The Debian package from the release build, and what lintian says of it;
# README explains what it reports.
package() {
    build release
    local out=$root/build/package
    rm -rf "$out"
    cpack --config "$root/build/release/CPackConfig.cmake" -B "$out" >/dev/null
    local deb
    deb=$(ls "$out"/*.deb)
    echo "Package: $deb"
    dpkg-deb --info "$deb" | sed -n '/Depends/p'
    lintian --no-tag-display-limit "$deb" || true
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

# 50 clients at once, then 8 writers through the bus while servers are
# killed, 20 rounds; README gives what it printed last.
stress() {
    build default
    python3 "$root/tests/e2e/splash_stress.py" "$root/build/default" --clients 50 --rounds 20
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
    docs) docs ;;
    demo) demo ;;
    package) package ;;
    bench) bench "$@" ;;
    fuzz) fuzz "$@" ;;
    stress) stress ;;
    format) format ;;
    *) sed -n '2,12p' "$0"; exit 2 ;;
esac
