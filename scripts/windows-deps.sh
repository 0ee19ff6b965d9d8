#!/usr/bin/env bash
# Builds the third-party libraries for Windows, statically, from Debian's source packages into windows-deps/prefix.
# The prefix is kept for as long as the packages' versions, the compiler and this script stay the same.
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

deps=$root/windows-deps
prefix=$deps/prefix
host=x86_64-w64-mingw32

# Each source package, and a package built from it that is installed here and tells the version that we use.
declare -A installed_package=(
    [libzstd]=libzstd-dev
    [zlib]=zlib1g-dev
    [libpng1.6]=libpng-dev
    [libjpeg-turbo]=libjpeg62-turbo-dev
    [tiff]=libtiff-dev
)

source_version() { dpkg-query -W -f '${source:Version}\n' "${installed_package[$1]}" | head -1; }

# What the prefix depends on, in a few lines.
key() {
    local name
    for name in libzstd zlib libpng1.6 libjpeg-turbo tiff; do
        echo "$name $(source_version "$name")"
    done
    echo "CLI11 $(dpkg-query -W -f '${Version}' libcli11-dev)"
    echo "compiler $(dpkg-query -W -f '${Version}' g++-mingw-w64-x86-64-posix)"
    echo "recipe $(sha256sum <"$root/scripts/windows-deps.sh")"
}

# A source list of our own, so that the system's stays as it is: the system's entries, asking for sources.
write_source_list() {
    mkdir -p "$deps/apt/sources" "$deps/apt/lists/partial" "$deps/apt/cache/archives/partial"
    local file
    for file in /etc/apt/sources.list.d/{debian,ubuntu}.sources; do
        if [ -f "$file" ]; then
            sed 's/^Types:.*/Types: deb-src/' "$file" >"$deps/apt/sources/$(basename "$file")"
        fi
    done
    file=/etc/apt/sources.list
    if [ -f "$file" ]; then
        sed -n 's/^deb[[:space:]]/deb-src /p' "$file" >"$deps/apt/sources/system.list"
    fi
}

# our_apt get|cache ARGUMENTS...
our_apt() {
    local program=apt-$1
    shift
    "$program" -q -o Acquire::Retries=3 -o APT::Sandbox::User=root -o Dir::Etc::sourcelist=/dev/null \
        -o Dir::Etc::sourceparts="$deps/apt/sources" -o Dir::State::Lists="$deps/apt/lists" \
        -o Dir::Cache="$deps/apt/cache" "$@"
}

# versions NAME: those of a source package that may be had, the installed one first, then the newest ones.
versions() {
    source_version "$1"
    our_apt cache showsrc --only-source "$1" | sed -n 's/^Version: //p' | sort -rVu
}

# fetch NAME: unpacks a source package into windows-deps/src/NAME, with Debian's patches.
fetch() {
    local name=$1
    local download=$deps/download/$name
    rm -rf "$download" "$deps/src/$name"
    mkdir -p "$download" "$deps/src"
    say "fetching the source of $name"
    (
        cd "$download"
        # The archive may not hold every version that it lists; with the last one, there is none.
        for version in $(versions "$name"); do
            our_apt get source --download-only --only-source "$name=$version" && break
        done
        # apt-get has checked the files against the archive's signature.
        dpkg-source --no-check -x ./*.dsc "$deps/src/$name"
    ) >"$deps/logs/fetch-$name.log" 2>&1 </dev/null || fail "see windows-deps/logs/fetch-$name.log"
}

# log_of NAME COMMAND...: runs it with its output in a log file, which is named if it fails.
log_of() {
    local name=$1
    shift
    "$@" >"$deps/logs/$name.log" 2>&1 </dev/null || {
        tail -40 "$deps/logs/$name.log" >&2
        fail "building $name for Windows failed; see windows-deps/logs/$name.log"
    }
}

# cmake_package NAME [cmake's arguments...]
cmake_package() {
    local name=$1
    shift
    cmake -S "$deps/src/$name" -B "$deps/build/$name" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw.cmake" \
        -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" -DBUILD_SHARED_LIBS=OFF "$@"
    cmake --build "$deps/build/$name" --parallel "$jobs"
    cmake --install "$deps/build/$name"
}

zstd() {
    make -C "$deps/src/libzstd/lib" -j "$jobs" libzstd.a CC="$host-gcc-posix" AR="$host-ar" TARGET_SYSTEM=Windows_NT
    cp "$deps/src/libzstd/lib/"{zstd,zdict,zstd_errors}.h "$prefix/include"
    cp "$deps/src/libzstd/lib/libzstd.a" "$prefix/lib"
}

# Debian's source leaves out the folder that zlib's own builds for Windows need; its C files need none.
zlib() {
    cd "$deps/src/zlib"
    "$host-gcc-posix" -O2 -c ./*.c
    "$host-ar" rcs "$prefix/lib/libz.a" ./*.o
    cp zlib.h zconf.h "$prefix/include"
    cd "$root"
}

png() { cmake_package libpng1.6 -DPNG_SHARED=OFF -DPNG_STATIC=ON -DPNG_TESTS=OFF -DPNG_EXECUTABLES=OFF; }

jpeg() { cmake_package libjpeg-turbo -DENABLE_SHARED=OFF -DENABLE_STATIC=ON -DWITH_SIMD=OFF -DWITH_TURBOJPEG=OFF; }

tiff() {
    cmake_package tiff -Dtiff-tools=OFF -Dtiff-tests=OFF -Dtiff-contrib=OFF -Dtiff-docs=OFF -Dcxx=OFF -Djbig=OFF \
        -Dlerc=OFF -Dlibdeflate=OFF -Dlzma=OFF -Dwebp=OFF -Dzstd=OFF
}

"$root/scripts/dependencies.sh" build windows
if [ -f "$deps/key" ] && [ "$(cat "$deps/key")" = "$(key)" ]; then
    say "windows-deps/prefix is up to date"
    exit 0
fi

rm -rf "$deps/key" "$prefix" "$deps/build" "$deps/logs"
mkdir -p "$prefix/include" "$prefix/lib" "$deps/logs"
write_source_list
# An entry that offers no sources is no harm as long as the packages are found.
our_apt get update >"$deps/logs/update.log" 2>&1 </dev/null || say "apt-get update had complaints: windows-deps/logs"
for name in libzstd zlib libpng1.6 libjpeg-turbo tiff; do
    fetch "$name"
done
for recipe in zstd zlib png jpeg tiff; do
    say "building $recipe for Windows"
    log_of "$recipe" "$recipe"
done
# CLI11 is headers only; the building system's include folder must not come before the cross compiler's own.
cp -r /usr/include/CLI "$prefix/include"
mkdir -p "$prefix/share/cmake"
cp -r /usr/share/cmake/CLI11 "$prefix/share/cmake"
rm -rf "$deps/build" "$deps/src" "$deps/download" "$deps/apt"
key >"$deps/key"
say "windows-deps/prefix is made"
