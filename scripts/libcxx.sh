#!/usr/bin/env bash
# Builds the libraries and the examples with Clang 16 and its own standard library into build/libcxx, and runs the
# examples.
#
#   scripts/libcxx.sh [ctest's arguments]
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

"$root/scripts/dependencies.sh" build libcxx
configure libcxx
build libcxx
run_tests libcxx "$@"
