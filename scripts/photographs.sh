#!/usr/bin/env bash
# Shows photographs in 256 and 16 colours and measures noise, tone and colour differences of our dithers and palettes,
# beside Knoll's pattern and Floyd and Steinberg's diffusion in plain words and libimagequant's palettes.
#
#   scripts/photographs.sh
#
# The photographs are those of two packages of Debian, the middle 640 x 640 pixels of each, unscaled; they are kept in
# build/photographs.
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

"$root/scripts/dependencies.sh" build rivals
packages=(plasma-workspace-wallpapers mate-backgrounds)
folder=$root/build/photographs
mkdir -p "$folder"
cd "$folder"
for package in "${packages[@]}"; do
    [ -d "$package" ] && continue
    "$root/scripts/dependencies.sh" --lists "$package"
    apt-get download "$package"
    dpkg-deb -x "$package"_*.deb "$package.new"
    rm "$package"_*.deb
    mv "$package.new" "$package"
done
/usr/bin/python3 "$root/scripts/cut_photographs.py" "$folder"
configure release
build release photographs
exec "$root/build/release/bench/photographs" "$folder"
