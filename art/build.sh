#!/bin/sh
# Builds the pictures of pixmoth from their sources in this directory.
# Needs the Debian packages: python3, librsvg2-bin, imagemagick.
# Run it again at will: the same sources give the same pictures.
set -eu

here=$(cd "$(dirname "$0")" && pwd)
out=${1:-$here/../src/resources}
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
icons=${1:-$here}/icons
mkdir -p "$out/face" "$out/textures" "$icons"

# The face and the title are added to the moving picture, so a grey level of 3
# around them would already show as a box: jpeg.py keeps their ground black.
# The other two pictures have no black to keep.
py() { PYTHONDONTWRITEBYTECODE=1 python3 "$@"; }
clean() { py "$here/jpeg.py" "$1" "$2"; }
plain() { convert "$1" -strip -sampling-factor 1x1 -quality 94 "$2"; }

# Drawn four times as large, then averaged down.  What is darker than 4 % after
# that becomes pure black: the tails of the blurs end there.
face() { # expression colours file
    py "$here/face.py" "$1" "$2" > "$tmp/$3.svg"
    rsvg-convert "$tmp/$3.svg" -o "$tmp/$3.big.png"
    convert "$tmp/$3.big.png" -filter Box -resize '256x256!' "$tmp/$3.grey.png"
    if [ "$2" = night ]; then
        convert "$tmp/$3.grey.png" -level 4%,100% -depth 8 "$tmp/$3.png"
        clean "$tmp/$3.png" "$out/face/$3.jpg"
    else
        plain "$tmp/$3.grey.png" "$out/face/$3.jpg"
    fi
}

face coy     night facetestinv
face tender  night facetestinv2
face jealous night facetestinv3
face coy     paper facetest

rsvg-convert -z 4 "$here/title.svg" -o "$tmp/title.big.png"
convert "$tmp/title.big.png" -filter Box -resize '427x77!' -level 4%,100% -depth 8 "$tmp/title.png"
clean "$tmp/title.png" "$out/textures/title.jpg"

py "$here/texture.py" > "$tmp/test1.svg"
rsvg-convert "$tmp/test1.svg" -o "$tmp/test1.png"
plain "$tmp/test1.png" "$out/textures/test1.jpg"

# Nothing is added to the icon: its ground is one of its own.
py "$here/icon.py" > "$icons/pixmoth.svg"
for size in 32 48 64 128 256; do
    rsvg-convert -w "$size" -h "$size" "$icons/pixmoth.svg" -o "$icons/$size.png"
done

# The promise of pure black, measured on what a decoder sees.  Where the drawing
# is black no channel may be above 1, and around the faces a frame of 8 pixels
# has to be black in any case.
max='%[fx:round(255*maxima)]'
for f in face/facetestinv face/facetestinv2 face/facetestinv3 textures/title; do
    n=$(basename "$f")
    ground=$(convert "$out/$f.jpg" \( "$tmp/$n.png" -separate -evaluate-sequence max -threshold 0 -negate \) \
             -compose Multiply -composite -depth 8 -format "$max" info:)
    echo "$f.jpg: ground at most $ground"
    [ "$ground" -le 1 ] || { echo "the ground of $f.jpg is not black" >&2; exit 1; }
    case $f in face/*)
        frame=$(convert "$out/$f.jpg" \( +clone -shave 8x8 -evaluate set 0 \) -gravity center -compose Over -composite \
                -depth 8 -format "$max" info:)
        echo "$f.jpg: frame at most $frame"
        [ "$frame" -le 1 ] || { echo "the frame of $f.jpg is not black" >&2; exit 1; }
    esac
done
