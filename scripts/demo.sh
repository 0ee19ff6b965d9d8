#!/usr/bin/env bash
# The library's main job on real pictures: a picture goes in, is held in tiles, is stored in an archive, comes back, and
# every pixel is the same, but for what bitmaps do not hold (colours of 16 bits a sample), which is said. Then one larger
# than memory is worked on in a file. Installs what is missing, builds Release, and leaves all files in build/demo.
#
#   scripts/demo.sh [PICTURE]       a PNG, JPEG, TIFF or BMP; without it, a photograph and a drawing from a Debian package
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

[ $# -le 1 ] || fail "takes one picture at most"
picture=${1:+$(realpath -- "$1")}
[ -z "$picture" ] || [ -f "$picture" ] || fail "no such file: $1"
demo=$root/build/demo
zbm=$root/build/release/bin/zbm

# Only two files of the package are wanted, so it is unpacked and not installed.
fetch_pictures() {
    local package=mate-backgrounds
    local folder=usr/share/backgrounds/mate
    [ -f "$demo/photograph.jpg" ] && [ -f "$demo/drawing.png" ] && return
    say "fetching two pictures from Debian's package $package"
    (
        cd "$demo"
        # Without package lists, as on a fresh machine where nothing else was missing, they are fetched first.
        "$root/scripts/dependencies.sh" --lists "$package"
        apt-get -q download "$package"
        dpkg-deb -x "$package"_*.deb package
        cp "package/$folder/nature/Garden.jpg" photograph.jpg
        cp "package/$folder/abstract/Flow.png" drawing.png
        rm -rf package "$package"_*.deb
    ) >"$demo/fetch.log" 2>&1 || fail "could not; see build/demo/fetch.log, or give a picture of your own"
}

# show ARGUMENTS...: runs the tool in the demo's folder, its output set in under the command.
show() {
    echo "  \$ zbm $*"
    (cd "$demo" && "$zbm" "$@" 2>&1) | sed 's/^/    /'
}

# round_trip PICTURE: packs, shows, unpacks and compares. The unpacked picture is in a format that loses nothing; its
# name is left in $unpacked. What bitmaps do not hold, such as colours of 16 bits a sample, the tool reduces and says
# so; then levels may be one apart.
round_trip() {
    local name stem extension verdict notes status=0 tolerance=0
    name=$(basename "$1")
    stem=${name%.*}
    extension=${name##*.}
    case ${extension,,} in
        tif | tiff | bmp) ;;
        *) extension=png ;;
    esac
    local archive=$stem.zbm
    unpacked=$stem-unpacked.$extension
    echo
    say "$name: $(stat -c %s "$1") bytes"
    notes=$(show pack "$(realpath --relative-to="$demo" "$1")" "$archive")
    echo "$notes"
    if grep -q 'note: .*\(reduced to 8\|CMYK\)' <<<"$notes"; then tolerance=1; fi
    show info "$archive"
    show unpack "$archive" "$unpacked"
    verdict=$(/usr/bin/python3 "$root/scripts/compare.py" --tolerance "$tolerance" "$1" "$demo/$unpacked" 2>&1) ||
        status=$?
    # 3: not comparable, since the library beside cannot read such a picture.
    [ "$status" = 0 ] || [ "$status" = 3 ] || fail "$unpacked is not the same picture as $name: $verdict"
    say "$name and $unpacked: $verdict"
    if [ "$tolerance" != 0 ]; then say "bitmaps hold 8 bits a colour sample: what the note says is rounded"; fi
}

# format_sheet PICTURE: one picture in every pixel format, and by every way to find the colours of an indexed one.
format_sheet() {
    local format quantizer entries=()
    /usr/bin/python3 "$root/scripts/contact_sheet.py" sample "$1" "$demo/sample.png"
    echo
    say "sample.png, a small copy of $(basename "$1") that fades at its border, in every pixel format"
    for format in GRAYSCALE_{1,4,8,16,32} INDEXED_{1,4,8} BGR_24 BGRA_32 RGBA_32 BGRX_32 PBGRA_32; do
        show convert sample.png "sample-$format.png" --format "$format"
        entries+=("$format=$demo/sample-$format.png")
    done
    for format in INDEXED_{1,4,8}; do
        for quantizer in popularity median5 median8 ordered diffuse; do
            show convert sample.png "sample-$format-$quantizer.png" --format "$format" --quantizer "$quantizer"
            entries+=("$format $quantizer=$demo/sample-$format-$quantizer.png")
        done
    done
    /usr/bin/python3 "$root/scripts/contact_sheet.py" sheet "$demo/formats.png" "${entries[@]}"
    say "all of them side by side: build/demo/formats.png"
}

# edit_sheet: sample.png adjusted, resized and with fewer colours, side by side.
edit_sheet() {
    local entries=("original=$demo/sample.png")
    # edit NAME COMMAND ARGUMENTS...
    edit() {
        local name=$1 command=$2
        shift 2
        local file=sample-${name// /-}.png
        show "$command" sample.png "$file" "$@"
        entries+=("$name=$demo/$file")
    }
    echo
    say "sample.png, edited"
    printf -- '-2 -1 0\n-1 1 1\n0 1 2\n1 0\n' >"$demo/emboss.txt"
    edit "brighter" adjust --brightness 0.4
    edit "darker" adjust --brightness -0.4
    edit "more contrast" adjust --contrast 0.4
    edit "less contrast" adjust --contrast -0.4
    edit "half saturated" adjust --saturation 0.5
    edit "complementary" adjust --saturation -1
    edit "gray" adjust --gray
    edit "sharpened" adjust --sharpen 1
    edit "blurred" adjust --blur 1
    edit "median 9" adjust --median 9
    edit "embossed" adjust --convolve emboss.txt
    edit "gray and sharpened" adjust --gray --sharpen 1
    local method
    for method in nearest bilinear catmull-rom mitchell b-spline; do
        edit "40 x 40 $method" resize --size 40x40 --method "$method"
        edit "480 x 480 $method" resize --size 480x480 --method "$method"
    done
    for method in median5 median8 popularity; do
        edit "12 colours $method" quantize --colors 12 --quantizer "$method"
    done
    /usr/bin/python3 "$root/scripts/contact_sheet.py" sheet "$demo/edits.png" "${entries[@]}"
    say "all of them side by side: build/demo/edits.png"
    show reduce sample.png sample.zbm
    show info sample.zbm
}

# larger_than_memory PICTURE: as many copies of it as make a picture four times the memory that the tool is then given.
larger_than_memory() {
    local memory=64 width=12000 height=7464 level=3 # MiB, pixels
    local judge=(/usr/bin/python3 "$root/scripts/large_picture.py")
    echo
    "${judge[@]}" make "$1" "$width" "$height" "$demo/large.tif"
    say "large.tif: $((3 * width * height / 1048576)) MiB of pixels; from here on the tool has an address space of $memory MiB"
    (
        ulimit -v $((memory * 1024))
        show pack large.tif large.zbm
        show page large.tif large.zbf
        show info large.zbf
        show adjust --in-place large.zbf --brightness 0.2
        show levels large.zbf
        show info large.zbf
        show view large.zbf large-view.png --level "$level"
        show view large.zbf large-part.png --rect 5000,3000,800,600
        show unpack large.zbf large.bmp
    )
    "${judge[@]}" check "$demo/large.tif" 0.2 "$demo/large.bmp" "$demo/large-view.png" "$level" ||
        fail "large.zbf is not what Pillow makes of large.tif"
    say "compared with Pillow, a stripe at a time; the view is build/demo/large-view.png"
    rm "$demo/large.tif" "$demo/large.bmp" "$demo/large.zbm"
}

# drawn_sheet: pictures of this demo as a window would show them, from memory and from the large picture's file.
drawn_sheet() {
    local pictures=() picture
    for picture in *.zbm; do
        [ "$picture" = sample.zbm ] || pictures+=("$picture")
    done
    show pack sample.png sample.zbm
    "$root/build/release/bin/example_contact_sheet" drawn.bmp sample.zbm "${pictures[@]}" large.zbf || return 1
    show convert drawn.bmp drawn.png
    rm drawn.bmp
    say "drawn whole, enlarged smoothly and with hard edges: build/demo/drawn.png"
}

"$root/scripts/dependencies.sh" build demo
configure release
build release zbm example_contact_sheet
mkdir -p "$demo"

if [ -n "$picture" ]; then
    round_trip "$picture"
    format_sheet "$demo/$unpacked"
    edit_sheet
    larger_than_memory "$demo/$unpacked"
else
    fetch_pictures
    round_trip "$demo/photograph.jpg"
    round_trip "$demo/drawing.png"
    format_sheet "$demo/photograph.jpg"
    edit_sheet
    larger_than_memory "$demo/photograph.jpg"
fi
(cd "$demo" && drawn_sheet) || fail "the pictures could not be drawn"
echo
say "every pixel came back, but for what notes and comparisons above say; the archives and pictures are in build/demo"
