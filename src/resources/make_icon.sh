#!/usr/bin/env bash
# Draws app.ico: two zones that overlap, with what they share in white. Needs ImageMagick.
#
# The sizes from 32 pixels on are scaled down from one drawing of 1024 pixels. Scaling to 16, 20 and 24 pixels would
# blur it, so these are drawn separately, with bigger shapes and edges on whole pixels.
set -euo pipefail

here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

ground='rgb(42,78,114)'
first='rgb(150,190,226)'
second='rgb(244,162,58)'
shared='rgb(255,255,255)'

# draw_icon SIZE CORNER TOP BOTTOM FIRST_LEFT SECOND_LEFT SIDE ROUND: a ground with rounded corners, the first zone
# at the lower left, the second at the upper right; all numbers in pixels of a SIZE x SIZE picture.
draw_icon() {
    local size=$1 corner=$2 top=$3 bottom=$4 left=$5 right=$6 side=$7 round=$8 end=$(( $1 - 1 ))
    local left_end=$((left + side - 1)) right_end=$((right + side - 1))
    local top_end=$((top + side - 1)) bottom_end=$((bottom + side - 1))
    convert -size "${size}x${size}" xc:none \
        -fill "$ground" -draw "roundrectangle 0,0 $end,$end $corner,$corner" \
        -fill "$first" -draw "roundrectangle $left,$bottom $left_end,$bottom_end $round,$round" \
        -fill "$second" -draw "roundrectangle $right,$top $right_end,$top_end $round,$round" \
        -fill "$shared" -draw "roundrectangle $right,$bottom $left_end,$top_end $round,$round" \
        -depth 8 "PNG32:$9"
}

#         size corner top bottom left right side round
draw_icon 1024 190    128  384   128  384   512   80 "$work/large.png"
draw_icon 16   2        2    5     2    5     9    1 "$work/16.png"
draw_icon 20   3        3    7     3    7    10    1 "$work/20.png"
draw_icon 24   4        4    8     4    8    12    1 "$work/24.png"
for size in 32 48 64 256; do
    convert "$work/large.png" -filter Box -resize "${size}x${size}" -depth 8 "PNG32:$work/$size.png"
done
convert "$work"/{16,20,24,32,48,64,256}.png -depth 8 "$here/app.ico"
