#!/usr/bin/env bash
# Runs clang-tidy with the checks of .clang-tidy over our libraries, tool, examples and fuzz targets.
#
#   scripts/tidy.sh [a regular expression that the files' paths must match]
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

"$root/scripts/dependencies.sh" build checks
# The sanitizers' build is Clang's own, so that clang-tidy understands every flag; it needs no compiling for this.
configure asan
cd "$root"
run-clang-tidy-14 -quiet -j "$jobs" -p build/asan "^$root/(src|support|apps|examples)/.*${1:-}" >build/asan/tidy.log \
    2>build/asan/tidy.err || { cat build/asan/tidy.log; fail "clang-tidy has objections"; }
say "$(grep -c '^clang-tidy' build/asan/tidy.log) files checked, nothing found"
