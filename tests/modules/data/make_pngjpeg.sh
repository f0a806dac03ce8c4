#!/bin/sh
# Writes the PNG and JPEG test files of the module tests with other tools (ImageMagick, netpbm,
# libjpeg-turbo's cjpeg and djpeg), and the pixels those tools decode them to: X.png has X.png.pnm
# (ImageMagick's decoding, alpha composited on white), X.jpg has X.jpg.pnm (djpeg's defaults).
# Run by hand from this directory when the set changes; CI only reads the committed files.
set -eu
cd "$(dirname "$0")"
IM=/usr/bin/convert
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Sources: a 37 x 23 colour picture (odd sizes catch row padding and chroma edges), its gray
# version, an alpha ramp with fully clear and fully opaque corners.
$IM -size 37x23 -seed 3 plasma:fractal -depth 8 "$work/src.ppm"
$IM -size 37x23 -seed 5 plasma:fractal -depth 16 "$work/src16.ppm"
ppmtopgm "$work/src.ppm" > "$work/gray.pgm"
ppmtopgm "$work/src16.ppm" > "$work/gray16.pgm"
$IM -size 23x37 gradient:white-black -rotate 90 -depth 8 "$work/alpha.pgm"
$IM "$work/alpha.pgm" -depth 16 "$work/alpha16.pgm"

# PNG: palettes of 2, 4, 16 and 200 colours (1, 2, 4 and 8 bits), gray of 1, 2, 4, 8 and 16 bits,
# RGB of 8 and 16 bits, the transparency of each kind, interlacing, the resolution chunk.
pnmquant 2 "$work/src.ppm" 2>/dev/null | pnmtopng > png_palette1.png
pnmquant 4 "$work/src.ppm" 2>/dev/null | pnmtopng > png_palette2.png
pnmquant 4 "$work/src.ppm" 2>/dev/null | pnmtopng -interlace > png_palette2_interlaced.png
pnmquant 16 "$work/src.ppm" 2>/dev/null | pnmtopng > png_palette4.png
pnmquant 200 "$work/src.ppm" 2>/dev/null | pnmtopng > png_palette8.png
pnmquant 60 "$work/src.ppm" 2>/dev/null > "$work/pal60.ppm"
pgmtopgm < "$work/alpha.pgm" | pamthreshold -simple -threshold=0.5 | pamtopnm | pbmtopgm 1 1 > "$work/mask.pgm"
pnmtopng -alpha="$work/mask.pgm" "$work/pal60.ppm" > png_palette8_trns.png
pgmtopbm -threshold "$work/gray.pgm" > "$work/mono.pbm"
pnmtopng "$work/mono.pbm" > png_gray1.png
pnmdepth 3 "$work/gray.pgm" | pnmtopng > png_gray2.png
pnmdepth 15 "$work/gray.pgm" | pnmtopng > png_gray4.png
pnmtopng "$work/gray.pgm" > png_gray8.png
pnmtopng "$work/gray16.pgm" > png_gray16.png
pnmdepth 15 "$work/gray.pgm" | pnmtopng -transparent=rgb:88/88/88 > png_gray4_trns.png
corner=$($IM "$work/src.ppm" -format '%[hex:p{0,0}]' info:)
pnmtopng -transparent="#$corner" "$work/src.ppm" > png_rgb8_trns.png
corner16=$($IM "$work/gray16.pgm" -depth 8 -format '%[hex:p{0,0}]' info:)
pnmtopng -transparent="#$corner16" "$work/gray16.pgm" > png_gray16_trns.png
pnmtopng "$work/src.ppm" > png_rgb8.png
pnmtopng -interlace "$work/src.ppm" > png_rgb8_interlaced.png
pnmtopng "$work/src16.ppm" > png_rgb16.png
pnmtopng -alpha="$work/alpha.pgm" "$work/src.ppm" > png_rgba8.png
pnmtopng -interlace -alpha="$work/alpha.pgm" "$work/src.ppm" > png_rgba8_interlaced.png
pnmtopng -alpha="$work/alpha.pgm" "$work/gray.pgm" > png_graya8.png
pnmtopng -alpha="$work/alpha16.pgm" "$work/src16.ppm" > png_rgba16.png
pnmtopng -size "3780 2835 1" "$work/src.ppm" > png_phys_metre.png
pnmtopng -size "2 1 0" "$work/src.ppm" > png_phys_unknown.png
for f in png_*.png; do
  $IM "$f" -background white -alpha remove -alpha off "$f.pnm"
done

# Hostile PNGs, every byte chosen here: a 4 x 3 8-bit paletted image of two entries, and
# versions with a huge size, palettes of 0, 300 or no entries, rows cut short in the image data,
# a damaged header CRC, the file cut in the image data, an ancillary chunk with a bad CRC.
python3 - <<'PY'
import struct, zlib
def chunk(kind, data, crc=None):
    return struct.pack('>I', len(data)) + kind + data + struct.pack('>I', zlib.crc32(kind + data) if crc is None else crc)
def png(width=4, height=3, palette=b'\xff\x00\x00\x00\x00\xff', rows=b'\x00\x00\x01\xc8\x01' * 3, before=b'',
        header_crc=None):
    header = chunk(b'IHDR', struct.pack('>IIBBBBB', width, height, 8, 3, 0, 0, 0), header_crc)
    plte = b'' if palette is None else chunk(b'PLTE', palette)
    return b'\x89PNG\r\n\x1a\n' + header + plte + before + chunk(b'IDAT', zlib.compress(rows)) + chunk(b'IEND', b'')
files = {
    'index_past_palette': png(),
    'huge': png(100000, 100000),
    'palette0': png(palette=b''),
    'palette300': png(palette=b'\x07' * 900),
    'no_palette': png(palette=None),
    'rows_short': png(rows=b'\x00' * 9),
    'header_crc': png(header_crc=1),
    'cut': png()[:-20],
    'text_crc': png(before=chunk(b'tEXt', b'a\x00b', 1)),
}
for name, data in files.items():
    open('hostile_%s.png' % name, 'wb').write(data)
PY

# JPEG: cjpeg's baseline (4:2:0), progressive, arithmetic, gray, 4:4:4 and 4:2:2 with restart
# markers; CMYK (Adobe, inverted) from ImageMagick; densities in dpi and dots per cm; an EXIF
# resolution without a JFIF segment.
cjpeg -quality 90 "$work/src.ppm" > jpeg_baseline.jpg
cjpeg -quality 90 -progressive "$work/src.ppm" > jpeg_progressive.jpg
cjpeg -quality 90 -arithmetic "$work/src.ppm" > jpeg_arithmetic.jpg
cjpeg -quality 90 -grayscale "$work/src.ppm" > jpeg_gray.jpg
cjpeg -quality 90 -sample 1x1 "$work/src.ppm" > jpeg_444.jpg
cjpeg -quality 90 -sample 2x1 -restart 1 "$work/src.ppm" > jpeg_422_restart.jpg
$IM "$work/src.ppm" -colorspace CMYK -quality 90 jpeg_cmyk.jpg
$IM "$work/src.ppm" -density 300 -units PixelsPerInch -quality 90 jpeg_300dpi.jpg
$IM "$work/src.ppm" -density 50 -units PixelsPerCentimeter -quality 90 jpeg_50dpcm.jpg
python3 - jpeg_baseline.jpg jpeg_exif.jpg <<'PY'
import struct, sys
data = open(sys.argv[1], 'rb').read()
assert data[2:4] == b'\xff\xe0'
rest = data[4 + struct.unpack('>H', data[4:6])[0]:]
# Big-endian TIFF: IFD0 at 8 with XResolution 200/1, YResolution 150/1, ResolutionUnit inch.
ifd = struct.pack('>H', 3)
ifd += struct.pack('>HHII', 0x011A, 5, 1, 50) + struct.pack('>HHII', 0x011B, 5, 1, 58)
ifd += struct.pack('>HHIHH', 0x0128, 3, 1, 2, 0) + struct.pack('>I', 0)
tiff = b'MM\x00\x2a' + struct.pack('>I', 8) + ifd + struct.pack('>IIII', 200, 1, 150, 1)
app1 = b'Exif\x00\x00' + tiff
open(sys.argv[2], 'wb').write(data[:2] + b'\xff\xe1' + struct.pack('>H', len(app1) + 2) + app1 + rest)
PY
python3 - jpeg_baseline.jpg <<'PY'
import struct, sys
data = open(sys.argv[1], 'rb').read()
frame = data.index(b'\xff\xc0')
huge = data[:frame + 5] + struct.pack('>HH', 65000, 65000) + data[frame + 9:]
open('hostile_huge.jpg', 'wb').write(huge)       # refused from the frame header
open('hostile_cut.jpg', 'wb').write(data[:-40])  # ends in the scan
open('hostile_no_eoi.jpg', 'wb').write(data[:-2])
PY
for f in jpeg_*.jpg; do
  djpeg -pnm "$f" > "$f.pnm"
done
# What the writer must give byte for byte: cjpeg's defaults at the library's quality 75.
cjpeg -quality 75 "$work/src.ppm" > cjpeg_q75.jpg
cjpeg -quality 75 "$work/gray.pgm" > cjpeg_gray_q75.jpg
cp "$work/src.ppm" source.ppm
cp "$work/gray.pgm" source.pgm
