#!/usr/bin/env bash
# Cross-builds everything for 64-bit Windows into build/windows, and runs every test under Wine.
#
#   scripts/windows.sh [ctest's arguments]
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

"$root/scripts/windows-deps.sh"
configure windows
build windows

# One Wine server for all tests saves its start for each; it belongs to this prefix alone, and ends with this script.
export WINEPREFIX=$root/build/windows/wine WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml,winemenubuilder.exe="
unset DISPLAY
trap 'wineserver -k || true' EXIT
say "starting Wine"
mkdir -p "$WINEPREFIX"
wineserver -p
wineboot --init >"$root/build/windows/wineboot.log" 2>&1 </dev/null
run_tests windows --timeout 600 "$@"
