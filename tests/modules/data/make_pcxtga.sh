#!/bin/sh
# Makes the PCX and TGA files the module tests read, with ImageMagick and netpbm, and the
# pixels those tools decode them to (name.ref.ppm / name.ref.pgm beside each file). Run by
# hand from this directory; the outputs are committed. Needs imagemagick and netpbm.
set -eu
IM=/usr/bin/convert
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

# A 37 x 23 picture: odd sizes put the last byte of each row and plane to work.
$IM -size 37x23 -seed 7 plasma:fractal "$tmp/colour.ppm"
$IM "$tmp/colour.ppm" -colors 2 +dither "$tmp/two.ppm"
$IM "$tmp/colour.ppm" -colors 4 +dither "$tmp/four.ppm"
$IM "$tmp/colour.ppm" -colors 16 "$tmp/sixteen.ppm"
$IM "$tmp/colour.ppm" -colors 200 "$tmp/many.ppm"

# ImageMagick: 8 bits x 1 plane (coded and stored), 8 x 3 planes, 8 x 4 planes (alpha).
$IM "$tmp/many.ppm" -type palette pcx_im_palette.pcx
$IM "$tmp/many.ppm" -type palette -compress none pcx_im_palette_stored.pcx
$IM "$tmp/colour.ppm" pcx_im_rgb.pcx
$IM "$tmp/colour.ppm" -alpha set -channel A -fx '(i+j)%5/4' +channel pcx_im_rgba.pcx
for f in pcx_im_palette pcx_im_palette_stored pcx_im_rgb; do $IM $f.pcx $f.ref.ppm; done
$IM pcx_im_rgba.pcx -background white -flatten pcx_im_rgba.ref.ppm

# netpbm: 1 bit x 1 plane, 1 x 4 planes, 4 and 2 bits x 1 plane, 8 x 1, 8 x 3.
ppmtopcx "$tmp/two.ppm" > pcx_nb_mono.pcx
ppmtopcx "$tmp/sixteen.ppm" > pcx_nb_planes4.pcx
ppmtopcx -packed "$tmp/sixteen.ppm" > pcx_nb_packed4.pcx
ppmtopcx -packed "$tmp/four.ppm" > pcx_nb_packed2.pcx
ppmtopcx -8bit "$tmp/sixteen.ppm" > pcx_nb_8bit.pcx
ppmtopcx -24bit "$tmp/colour.ppm" > pcx_nb_24bit.pcx
for f in pcx_nb_mono pcx_nb_planes4 pcx_nb_packed4 pcx_nb_packed2 pcx_nb_8bit pcx_nb_24bit; do
  pcxtoppm $f.pcx > $f.ref.ppm
done

# ImageMagick TGA: 24 bits stored and coded, 16 bits (5-5-5), 32 bits with alpha, colour-mapped,
# gray; all bottom-up. ImageMagick keeps a file's origin as the image's orientation instead of
# placing the rows by it, so its pixels are taken with -auto-orient.
$IM "$tmp/colour.ppm" tga_im_24.tga
$IM "$tmp/colour.ppm" -compress RLE tga_im_24_rle.tga
$IM "$tmp/colour.ppm" -depth 5 tga_im_16.tga
$IM "$tmp/colour.ppm" -alpha set -channel A -fx '(i+j)%5/4' +channel tga_im_32.tga
$IM "$tmp/colour.ppm" -alpha set -channel A -fx '(i+j)%5/4' +channel -compress RLE tga_im_32_rle.tga
$IM "$tmp/many.ppm" -type palette tga_im_mapped.tga
$IM "$tmp/many.ppm" -type palette -compress RLE tga_im_mapped_rle.tga
$IM "$tmp/colour.ppm" -colorspace gray tga_im_gray.tga
$IM "$tmp/colour.ppm" -colorspace gray -compress RLE tga_im_gray_rle.tga
# The 5-bit levels of the 16-bit file come from tgatoppm, which keeps them (maxval 31), where
# ImageMagick's 8-bit output of them is off by one level here and there.
tgatoppm tga_im_16.tga > tga_im_16.ref.ppm
for f in tga_im_24 tga_im_24_rle tga_im_mapped tga_im_mapped_rle; do $IM $f.tga -auto-orient -depth 8 $f.ref.ppm; done
for f in tga_im_32 tga_im_32_rle; do $IM $f.tga -auto-orient -background white -flatten $f.ref.ppm; done
for f in tga_im_gray tga_im_gray_rle; do $IM $f.tga -auto-orient $f.ref.pgm; done

# netpbm TGA: true colour and colour-mapped, coded and stored; gray.
ppmtotga -rgb "$tmp/colour.ppm" > tga_nb_rgb_rle.tga
ppmtotga -rgb -norle "$tmp/colour.ppm" > tga_nb_rgb.tga
ppmtotga -cmap "$tmp/sixteen.ppm" > tga_nb_mapped_rle.tga
ppmtotga -cmap -norle "$tmp/sixteen.ppm" > tga_nb_mapped.tga
ppmtopgm "$tmp/colour.ppm" | pamtotga > tga_nb_gray_rle.tga
for f in tga_nb_rgb_rle tga_nb_rgb tga_nb_mapped_rle tga_nb_mapped tga_nb_gray_rle; do
  tgatoppm $f.tga > $f.ref.ppm
done
