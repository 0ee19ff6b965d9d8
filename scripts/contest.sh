#!/usr/bin/env bash
# Sets format conversion, quantisation, filters and compression beside libyuv, OpenCV, libvips, babl, Pillow,
# libimagequant, libpng, zstd and lz4, on one thread and in turns, and prints tables. Installs the other libraries, builds
# Release; takes several minutes of a quiet machine.
#
#   [ZBM_PICTURES=FOLDER] scripts/contest.sh [--filter REGEX] [--rounds N] [--json FILE] [--picture photo|shot] [--quick]
#
# FOLDER holds photo.bgra and shot.bgra, 4096 x 4096 pixels of 4 bytes (B, G, R, A), top row first; without it, the
# contest is held on a picture made by a formula.
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

"$root/scripts/dependencies.sh" build rivals
configure release
build release contest

# One thread each.
export OMP_NUM_THREADS=1 OPENBLAS_NUM_THREADS=1 VIPS_CONCURRENCY=1
# Freed memory stays in the process, so that a library which allocates its result is not charged for fresh pages at every
# call.
export MALLOC_MMAP_MAX_=0 MALLOC_TRIM_THRESHOLD_=8589934592 MALLOC_TOP_PAD_=67108864
exec "$root/build/release/bench/contest" "$@"
