# shellcheck shell=bash
# Sourced by the scripts beside it: where the project lies, and the steps that several of them take.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc)

# ccache is used where it is installed, and never needed.
if command -v ccache >/dev/null; then
    export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
    export CCACHE_SLOPPINESS=pch_defines,time_macros  # which precompiled headers need
fi

say() { printf '%s: %s\n' "$(basename "$0")" "$*"; }

fail() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

# configure PRESET [cmake's arguments...]. Warnings are errors where the caller's environment says so, as CI's does;
# another compiler's new warnings should stop nobody else.
configure() {
    local preset=$1
    shift
    say "configuring build/$preset"
    (cd "$root" && cmake --preset "$preset" --log-level=WARNING \
        -DZBM_WARNINGS_AS_ERRORS="${ZBM_WARNINGS_AS_ERRORS:-OFF}" "$@")
}

# build PRESET [targets...]
build() {
    local preset=$1
    shift
    say "building build/$preset with $jobs jobs"
    (cd "$root" && cmake --build --preset "$preset" --parallel "$jobs" ${1+--target "$@"})
}

# run_tests PRESET [ctest's arguments...]. The output stays in build/PRESET/ctest.log as well, for a summary.
run_tests() {
    local preset=$1 memory=/dev/shm
    shift
    say "running the tests of build/$preset"
    # Tests write many thousand files; in memory, where there is room for them, that takes half the time.
    if [ -z "${TMPDIR:-}" ] && [ "$(df --output=avail -BG "$memory" 2>/dev/null | tail -1 | tr -dc 0-9)" -ge 8 ]; then
        export TMPDIR=$memory
    fi
    (cd "$root" && ctest --preset "$preset" --parallel "$jobs" "$@" 2>&1 | tee "build/$preset/ctest.log")
}

# our_files NAME-PATTERN...: the files of ours with such names.
our_files() {
    local tests=()
    for pattern in "$@"; do tests+=(-o -name "$pattern"); done
    (cd "$root" && find apps bench examples fuzz include src support tests -type f \( "${tests[@]:1}" \) | sort)
}
