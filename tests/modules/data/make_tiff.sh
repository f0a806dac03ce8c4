#!/bin/sh
# make_tiff.sh - the TIFF and CALS test files, written by libtiff's tools and ImageMagick, and
# the pixels those tools decode them to (PNM references). Run by hand from this directory;
# the outputs are committed and CI never runs this.
#   needs: imagemagick (as /usr/bin/convert), libtiff-tools, netpbm
set -eu
cd "$(dirname "$0")"
IM=/usr/bin/convert
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Sources: a colour picture, its gray version, a dithered bilevel version (odd sizes).
$IM -size 37x23 -seed 7 plasma:fractal -depth 8 "$work/src.ppm"
$IM "$work/src.ppm" -colorspace gray -depth 8 "$work/src.pgm"
$IM "$work/src.ppm" -monochrome "$work/src.pbm"
ppm2tiff "$work/src.ppm" "$work/rgb.tif"
ppm2tiff "$work/src.pgm" "$work/gray.tif"
ppm2tiff "$work/src.pbm" "$work/bilevel.tif"

# The references of libtiff's re-encodings are the sources themselves.
cp "$work/src.ppm" tiff_rgb.ppm
cp "$work/src.pgm" tiff_gray.pgm
cp "$work/src.pbm" tiff_bilevel.pbm
tiffcp -c lzw:2 "$work/rgb.tif" tiff_rgb_lzw.tif
tiffcp -c zip "$work/rgb.tif" tiff_rgb_zip.tif
tiffcp -c packbits -p separate "$work/rgb.tif" tiff_rgb_planar.tif
tiffcp -c lzw -t -w 16 -l 16 "$work/gray.tif" tiff_gray_tiled.tif
tiffcp -c lzw "$work/gray.tif" tiff_gray_lzw.tif
tiffcp -c g4 "$work/bilevel.tif" tiff_bilevel_g4.tif
tiffcp -c g3:2d "$work/bilevel.tif" tiff_bilevel_g3.tif
tiffcp -c packbits "$work/bilevel.tif" tiff_bilevel_packbits.tif

# Lossy or converted ones: the reference is what the tools decode them to.
tiffcp -c jpeg "$work/rgb.tif" tiff_rgb_jpeg.tif
$IM "$work/src.ppm" -depth 16 -compress lzw tiff_rgb16.tif
$IM "$work/src.ppm" -depth 16 -define tiff:endian=msb tiff_rgb16_msb.tif
$IM "$work/src.pgm" -depth 16 tiff_gray16.tif
$IM "$work/src.pgm" -depth 4 tiff_gray4.tif
$IM "$work/src.ppm" -colors 4 tiff_palette2.tif
$IM "$work/src.ppm" -colors 14 tiff_palette4.tif
$IM "$work/src.ppm" -colors 200 -compress lzw tiff_palette8.tif
for f in rgb_jpeg.ppm rgb16.ppm gray16.pgm gray4.pgm palette2.ppm palette4.ppm palette8.ppm; do
    $IM "tiff_${f%.*}.tif" -depth 8 "tiff_$f"
done
$IM "$work/src.pbm" -define quantum:polarity=min-is-black -compress lzw tiff_bilevel_black.tif
$IM "$work/src.ppm" \( -size 37x23 gradient:white-black \) -alpha off -compose copy_opacity -composite \
    -compress zip tiff_rgba.tif
$IM tiff_rgba.tif -background white -flatten -depth 8 tiff_rgba.ppm
$IM "$work/src.pgm" \( -size 37x23 gradient:black-white \) -alpha off -compose copy_opacity -composite tiff_graya.tif
$IM tiff_graya.tif -background white -flatten -depth 8 tiff_graya.pgm
$IM "$work/src.ppm" -depth 8 -colorspace cmyk tiff_cmyk.tif
tiff2rgba tiff_cmyk.tif "$work/cmyk_rgba.tif"
$IM "$work/cmyk_rgba.tif" -alpha off -depth 8 tiff_cmyk.ppm
$IM "$work/src.ppm" -depth 8 -colorspace Lab tiff_lab.tif
tiff2rgba tiff_lab.tif "$work/lab_rgba.tif"
$IM "$work/lab_rgba.tif" -alpha off -depth 8 tiff_lab.ppm

# Orientation tags over unchanged pixels; ImageMagick's auto-orient is the reference.
for o in TopRight BottomRight LeftTop RightTop LeftBottom; do
    $IM "$work/src.ppm" -orient $o "tiff_orient_$o.tif"
    $IM "tiff_orient_$o.tif" -auto-orient -depth 8 "tiff_orient_$o.ppm"
done

# Resolution: 300 dpi by inch, 40 dots per centimetre.
$IM "$work/src.pgm" -units PixelsPerInch -density 300x150 tiff_dpi.tif
$IM "$work/src.pgm" -units PixelsPerCentimeter -density 40 tiff_dpcm.tif

# Four 1-bit planes as the four pages of one Group 4 file, and their references.
$IM "$work/src.pbm" -negate "$work/plane2.pbm"
$IM "$work/src.pbm" -flip "$work/plane3.pbm"
$IM "$work/src.pbm" -flop "$work/plane4.pbm"
cp "$work/src.pbm" "$work/plane1.pbm"
for n in 1 2 3 4; do
    ppm2tiff "$work/plane$n.pbm" "$work/plane$n.tif"
    cp "$work/plane$n.pbm" "tiff_plane$n.pbm"
done
tiffcp -c g4 "$work/plane1.tif" "$work/plane2.tif" "$work/plane3.tif" "$work/plane4.tif" tiff_planes.tif

# CALS type 1: the Group 4 strip of a one-strip TIFF behind a 2048-byte header.
tiffcp -c g4 -r 10000 "$work/bilevel.tif" "$work/onestrip.tif"
offset=$(tiffdump "$work/onestrip.tif" | sed -n 's/^StripOffsets (273) LONG (4) 1<\([0-9]*\)>.*/\1/p')
count=$(tiffdump "$work/onestrip.tif" | sed -n 's/^StripByteCounts (279) [A-Z]* ([0-9]) 1<\([0-9]*\)>.*/\1/p')
{
    for r in "srcdocid: TEST" "dstdocid: NONE" "txtfilid: NONE" "figid: NONE" "srcgph: NONE" "docls: NONE" \
        "rtype: 1" "rorient: 000,270" "rpelcnt: 000037,000023" "rdensty: 0200" "notes: NONE" "" "" "" "" ""; do
        printf '%-128s' "$r"
    done
    dd if="$work/onestrip.tif" bs=1 skip="$offset" count="$count" 2>/dev/null
} > cals_g4.cal
cp "$work/src.pbm" cals_g4.pbm
