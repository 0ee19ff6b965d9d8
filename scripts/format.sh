#!/usr/bin/env bash
# Brings our C++ files into the form of .clang-format.
#
#   scripts/format.sh            rewrites what differs
#   scripts/format.sh --check    changes nothing; fails and shows the places if something differs
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

"$root/scripts/dependencies.sh" checks
mapfile -t files < <(our_files '*.h' '*.cpp' '*.inl')
cd "$root"
case ${1:-} in
    --check) clang-format-14 --dry-run --Werror "${files[@]}" ;;
    "") clang-format-14 -i "${files[@]}" ;;
    *) fail "unknown argument: $1" ;;
esac
say "${#files[@]} files are in form"
