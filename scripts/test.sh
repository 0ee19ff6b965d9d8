#!/usr/bin/env bash
# Installs what is missing, builds Release into build/release and runs every test.
#
#   scripts/test.sh [ctest's arguments, for instance -R ZScanRect]
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

"$root/scripts/dependencies.sh" build
configure release
build release
run_tests release "$@"
