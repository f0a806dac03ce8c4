#!/usr/bin/env python3
"""Writes the seed corpus of the BMP reader's fuzz target: small files that each sit on one
edge of the format (run from anywhere; the files go to corpus/read_dib beside this script)."""
import os
import struct

OUT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "corpus", "read_dib")


def info(width, height, bits, compression=0, size_image=0, clr_used=0, size=40):
    return struct.pack("<IiiHHIIiiII", size, width, height, 1, bits, compression, size_image,
                       2835, 2835, clr_used, 0)


def core(width, height, bits):
    return struct.pack("<IHHHH", 12, width, height, 1, bits)


def bmp(dib, off_bits):
    return b"BM" + struct.pack("<IHHI", 14 + len(dib), 0, 0, off_bits) + dib


def table(n, entry=4):
    return bytes((i * 37 + c * 11) & 0xFF if c < 3 else 0 for i in range(n) for c in range(entry))


def pattern(n):
    return bytes((i * 73 + 5) & 0xFF for i in range(n))


CORPUS = {
    # A plain 1-bit image with a width that is not a multiple of 8, rows stored top-down.
    "mono_top_down.bmp": bmp(info(9, -3, 1) + table(2) + pattern(12), 14 + 48),
    # A 4-bit core header, widened on reading.
    "core_4bit.bmp": bmp(core(3, 2, 4) + table(16, 3) + pattern(8), 0),
    # A bare packed DIB without a file header.
    "bare_8bit.dib": info(2, 2, 8, clr_used=4) + table(4) + pattern(8),
    # RLE8 data loads with its own biSizeImage.
    "rle8.bmp": bmp(info(4, 2, 8, compression=1, size_image=6, clr_used=2) + table(2)
                    + bytes([2, 1, 0, 0, 0, 1]), 0),
    # 65536 x 65536 x 8 bits: the pixel area wraps to 0 in 32 bits.
    "wraps_32_bits.bmp": bmp(info(65536, 65536, 8, clr_used=2) + table(2), 0),
    # A colour table far larger than the file.
    "colours_past_end.bmp": bmp(info(2, 2, 8, clr_used=0x10000) + table(3), 0),
    # A 256-entry table cut short by the end of the file.
    "short_table.bmp": bmp(info(4, 2, 8) + table(20), 0),
    # bfOffBits so large that the position overflows.
    "offbits_overflow.bmp": bmp(info(2, 2, 24) + pattern(16), 0xFFFFFFF0),
    # A 108-byte header, refused.
    "header_108.bmp": bmp(info(2, 2, 24, size=108) + bytes(68) + pattern(16), 0),
    # Cut inside the info header.
    "cut_header.bmp": bmp(info(2, 2, 24), 0)[:30],
}


def main():
    os.makedirs(OUT, exist_ok=True)
    for name, data in sorted(CORPUS.items()):
        with open(os.path.join(OUT, name), "wb") as f:
            f.write(data)


if __name__ == "__main__":
    main()
