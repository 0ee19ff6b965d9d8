#!/usr/bin/env bash
# Installs the Debian packages that the project needs and that are missing, as root or with sudo.
#
#   scripts/dependencies.sh [build] [demo] [checks] [windows] [aarch64] [libcxx] [rivals] [examples]
#                                                                                       (build, if none is named)
#
#   build    the libraries, the tool, the tests and the benchmarks
#   demo     scripts/demo.sh
#   checks   scripts/sanitize.sh, fuzz.sh, format.sh and tidy.sh
#   windows  scripts/windows.sh
#   aarch64  scripts/aarch64.sh
#   libcxx   scripts/libcxx.sh
#   examples examples/: libraries whose surfaces pictures are drawn into; without them these examples are left out
#   rivals   scripts/contest.sh: the libraries that ours are set beside; nothing is linked with them but the contest
#
#   scripts/dependencies.sh --lists PACKAGE      only makes sure that apt-get knows where to get PACKAGE
# shellcheck disable=SC2034  # the lists are read through a reference
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

packages_build=(g++ cmake ninja-build pkg-config googletest libcli11-dev
    libzstd-dev liblz4-dev zlib1g-dev libpng-dev libjpeg-dev libtiff-dev python3-minimal
    zstd)
packages_demo=(python3-pil)
packages_checks=(clang-14 libclang-rt-14-dev llvm-14 clang-format-14 clang-tidy-14 python3)
packages_windows=(g++-mingw-w64-x86-64-posix wine wine64 gcc make dpkg-dev libjpeg62-turbo-dev)
packages_aarch64=(g++-aarch64-linux-gnu qemu-user)
packages_libcxx=(clang-16 libc++-16-dev libc++abi-16-dev)
packages_rivals=(libyuv-dev libopencv-core-dev libopencv-imgproc-dev libbabl-dev libimagequant-dev libvips-dev libcairo2-dev
    python3-pil)

packages_examples=(libcairo2-dev qtbase5-dev)

missing() {
    local package
    for package in "$@"; do
        dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed || printf '%s\n' "$package"
    done
}

# as_root COMMAND...
as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        fail "needs root or sudo for: $*"
    fi
}

apt() {
    as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get -q -o DPkg::Lock::Timeout=300 -o Acquire::Retries=3 "$@" </dev/null
}

command -v apt-get >/dev/null || fail "needs apt-get (Debian 12 or a relative of it)"
if [ "${1:-}" = --lists ]; then
    apt-cache show "$2" >/dev/null 2>&1 || apt update
    exit
fi

wanted=()
for group in "${@:-build}"; do
    case $group in
        build | demo | checks | windows | rivals | aarch64 | libcxx | examples) ;;
        *) fail "no such group: $group" ;;
    esac
    declare -n packages="packages_$group"
    wanted+=("${packages[@]}")
done

mapfile -t absent < <(missing "${wanted[@]}")
if [ ${#absent[@]} -gt 0 ]; then
    say "installing ${absent[*]}"
    # A fresh machine has no package lists, an old one lists of files that are gone.
    apt update
    apt install -y --no-install-recommends "${absent[@]}"
fi
