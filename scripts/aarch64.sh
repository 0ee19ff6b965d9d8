#!/usr/bin/env bash
# Cross-builds the libraries for 64-bit Arm into build/aarch64, and runs their tests under QEMU: the kernels of the base
# level, on a processor that is none of ours. Half an hour on two processors, so that CI leaves it out.
#
#   scripts/aarch64.sh [ctest's arguments]
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

deps=$root/aarch64-deps

# fetch_zstd: Debian's package for Arm, unpacked and not installed; the system's own lists of packages stay as they are.
fetch_zstd() {
    [ -f "$deps/usr/include/zstd.h" ] && return
    say "fetching zstd for Arm"
    mkdir -p "$deps/apt/lists/partial" "$deps/apt/cache/archives/partial"
    (
        cd "$deps/apt"
        arm_apt() {
            apt-get -q -o Acquire::Retries=3 -o APT::Sandbox::User=root -o APT::Architecture=arm64 \
                -o APT::Architectures=arm64 -o Dir::State::Lists="$deps/apt/lists" -o Dir::Cache="$deps/apt/cache" \
                -o Dir::State::status=/dev/null "$@"
        }
        arm_apt update
        arm_apt download libzstd-dev libzstd1
        for package in *.deb; do dpkg-deb -x "$package" "$deps"; done
    ) >"$deps/fetch.log" 2>&1 </dev/null || fail "see aarch64-deps/fetch.log"
    rm -rf "$deps/apt"
}

"$root/scripts/dependencies.sh" build aarch64
fetch_zstd
configure aarch64
build aarch64
[ $# -gt 0 ] || set -- -R '_tests$'  # the programs of tests; a package is no other here
run_tests aarch64 --timeout 3000 "$@"
