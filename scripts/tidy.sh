#!/usr/bin/env bash
# Runs clang-tidy with the checks of .clang-tidy over our libraries, tool and examples.
#
#   scripts/tidy.sh [a regular expression that the files' paths must match]
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

"$root/scripts/dependencies.sh" build checks
# The sanitizers' build is Clang's own, so that clang-tidy understands every flag; it needs no compiling for this.
configure asan
log=$root/build/asan/tidy.log
say "running clang-tidy with $jobs jobs"
status=0
run-clang-tidy-14 -quiet -j "$jobs" -p "$root/build/asan" "^$root/(?=(src|support|apps|examples)/).*${1:-}" \
    >"$log" 2>&1 </dev/null || status=$?

# One line a file in the log is the command that checked it.
files=$(grep -c '^clang-tidy' "$log" || true)
if [ "$status" -ne 0 ]; then
    grep -v -e '^clang-tidy' -e 'warnings\? generated' "$log" | sed 's/\x1b\[[0-9;]*m//g'
    fail "clang-tidy has objections"
fi
[ "$files" -gt 0 ] || fail "no file matches"
say "$files files checked, nothing found"
