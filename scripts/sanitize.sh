#!/usr/bin/env bash
# Builds everything with Clang's address, leak and undefined-behaviour sanitizers into build/asan, and runs every test.
#
#   scripts/sanitize.sh [ctest's arguments]
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

"$root/scripts/dependencies.sh" build checks
# Reports name functions and lines only with this program, which Debian installs under its version's name.
ASAN_SYMBOLIZER_PATH=$(command -v llvm-symbolizer-14)
export ASAN_SYMBOLIZER_PATH
configure asan
build asan
run_tests asan "$@"
