#!/usr/bin/python3
# Writes bmpsuite/refs.txt: for every file of bmpsuite/g, its size and a hash of its pixels as
# ImageMagick (/usr/bin/convert, Debian's imagemagick) decodes them, for bmp_tolerant_test.cpp.
#
# Each line is "NAME WIDTH HEIGHT HASH": HASH is the 64-bit FNV-1a of the RGB bytes, rows from
# the top. Alpha is composited on white. ImageMagick widens 5- and 6-bit fields by its own
# rounding, which differs by one from the exact (v * 255 + m / 2) / m the reader uses in a few
# values; the field value is recovered (round(c * m / 255)) and scaled exactly, so the reference
# still comes from the independent decode of layout, masks and row order.
#
# Run from anywhere: /usr/bin/python3 tests/formats/data/make_bmpsuite_refs.py
import glob, os, struct, subprocess

HERE = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'bmpsuite')


def fnv1a(data):
    h = 0xcbf29ce484222325
    for b in data:
        h = ((h ^ b) * 0x100000001b3) & 0xFFFFFFFFFFFFFFFF
    return h


# Widths of the red, green, blue fields of a 16-bit file, or None.
def field_widths(path):
    d = open(path, 'rb').read()
    bits, comp = struct.unpack_from('<HI', d, 28)
    if bits != 16:
        return None
    if comp == 0:
        return (5, 5, 5)
    masks = struct.unpack_from('<III', d, 54)
    return tuple(bin(m).count('1') for m in masks)


def decode(path):
    w, h = map(int, subprocess.run(['/usr/bin/identify', '-format', '%w %h\n', path], check=True,
                                   capture_output=True, text=True).stdout.split()[:2])
    rgb = bytearray(subprocess.run(['/usr/bin/convert', path, '-background', 'white', '-alpha', 'remove',
                                    '-depth', '8', 'rgb:-'], check=True, capture_output=True).stdout)
    widths = field_widths(path)
    if widths:
        for i in range(len(rgb)):
            m = (1 << widths[i % 3]) - 1
            v = round(rgb[i] * m / 255)
            rgb[i] = (v * 255 + m // 2) // m
    return w, h, bytes(rgb)


with open(os.path.join(HERE, 'refs.txt'), 'w') as out:
    for path in sorted(glob.glob(os.path.join(HERE, 'g', '*.bmp'))):
        w, h, rgb = decode(path)
        out.write(f'g/{os.path.basename(path)} {w} {h} {fnv1a(rgb):016x}\n')
