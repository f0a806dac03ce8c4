#!/usr/bin/env python3
"""Writes the seed corpora of the fuzz targets: small files that each sit on one edge of their
format (run from anywhere; the files go to corpus/read_dib, corpus/expand_rle,
corpus/dib_exports and corpus/wmf_play beside this script)."""
import os
import struct

HERE = os.path.dirname(os.path.abspath(__file__))
OUT = os.path.join(HERE, "corpus", "read_dib")
RLE_OUT = os.path.join(HERE, "corpus", "expand_rle")
EXPORTS_OUT = os.path.join(HERE, "corpus", "dib_exports")
WMF_OUT = os.path.join(HERE, "corpus", "wmf_play")


def info(width, height, bits, compression=0, size_image=0, clr_used=0, size=40, planes=1):
    return struct.pack("<IiiHHIIiiII", size, width, height, planes, bits, compression, size_image,
                       2835, 2835, clr_used & 0xFFFFFFFF, 0)


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


def rle(bits, width, height, *codes):
    """The run-length target's input: depth, width and height, then the stream."""
    return bytes([1 if bits == 4 else 0, width & 0xFF, width >> 8, height]) + bytes(b for c in codes for b in c)


RLE_CORPUS = {
    # Runs longer than the row: cut, x back to column 0 of the same row.
    "rle8_runs_past_row": rle(8, 5, 2, (9, 7), (2, 3), (0, 0), (255, 1), (0, 1)),
    # Deltas right of the row and above the top row.
    "rle8_delta_off_image": rle(8, 5, 2, (0, 2, 255, 0), (3, 8), (0, 2, 0, 255), (4, 4)),
    # End-of-line codes past the height, then more pixels.
    "rle8_rows_past_height": rle(8, 3, 2, (0, 0), (0, 0), (0, 0), (3, 3), (0, 5, 1, 2, 3, 4, 5, 0)),
    # No end-of-bitmap code; the last code is cut in half.
    "rle8_no_end_code": rle(8, 6, 3, (3, 1), (0, 0), (2, 2), (5,)),
    # A literal group whose data runs past the end of the input.
    "rle8_literal_past_end": rle(8, 300, 2, (0, 255, 1, 2, 3)),
    # Long rows of maximal runs and literal groups.
    "rle8_wide": rle(8, 1000, 3, *[(255, i) for i in range(5)], (0, 0), (0, 200, *range(200)), (0, 1)),
    # 4-bit pixels from odd columns, runs past the row, a delta.
    "rle4_odd_columns": rle(4, 7, 2, (1, 0x9A), (9, 0x12), (0, 0), (1, 0x34), (0, 5, 0x12, 0x34, 0x50, 0),
                            (0, 2, 1, 0), (3, 0xCD), (0, 1)),
    # A 4-bit literal group running past the end of the input.
    "rle4_literal_past_end": rle(4, 9, 1, (0, 200, 0x12)),
    # Nothing after the header; no pixels at all.
    "rle4_empty": rle(4, 7, 3),
    "rle8_no_pixels": rle(8, 0, 4, (3, 3), (0, 0), (0, 1)),
}


def params(a, b, c):
    """The DIB-exports target's parameter bytes: three 16-bit values the exports draw on."""
    return struct.pack("<HHH", a, b, c)


def image(width, height, bits, rows=None, colours=None, **fields):
    """A packed DIB: info header, a full colour table (or `colours` entries) and `rows` rows
    (all of them unless told) of the stride that the width's magnitude gives."""
    entries = colours if colours is not None else (1 << bits if bits <= 8 else 0)
    stride = (abs(width) * bits + 31) // 32 * 4
    return info(width, height, bits, **fields) + table(entries) + pattern(stride * (abs(height) if rows is None else rows))


EXPORTS_CORPUS = {
    # Sound images of every depth the exports take, with awkward widths.
    "plain_8bit": params(0x0001, 0x0305, 0x0A0B) + image(7, 5, 8),
    "plain_24bit": params(0x0102, 0x0203, 0x1204) + image(5, 3, 24),
    "plain_4bit": params(0x0200, 0x0305, 0x2805) + image(9, 3, 4),
    "plain_1bit": params(0x0000, 0x0421, 0x0921) + image(33, 4, 1, clr_used=2),
    # Widths whose rows fill their stride: the reads one pixel past a row's end.
    "full_rows_1bit": params(0x8005, 0x0101, 0x0503) + image(32, 3, 1),
    "full_rows_24bit": params(0x2D03, 0x0902, 0x3F17) + image(4, 4, 24),
    "full_rows_4bit": params(0x0107, 0x0000, 0x0102) + image(8, 2, 4),
    # A long row and a tall column.
    "long_row_24bit": params(0x0059, 0x0180, 0x0240) + image(700, 1, 24),
    "tall_column_1bit": params(0x010E, 0x2C01, 0xFF01) + image(1, 300, 1),
    # Blocks shorter than their headers say.
    "rows_cut_short": params(0x0203, 0x0404, 0x0808) + image(6, 9, 8, rows=3),
    "table_past_end": params(0x0000, 0x0202, 0x0404) + image(2, 2, 8, colours=3, clr_used=0x10000),
    "short_table": params(0x0101, 0x0303, 0x0706) + image(5, 4, 8, colours=3, clr_used=3),
    "cut_in_header": params(0x0000, 0x0101, 0x0101) + info(8, 8, 8)[:30],
    # Header sizes other than 40.
    "header_108": params(0x0000, 0x0303, 0x0606) + info(3, 3, 24, size=108) + bytes(68) + pattern(36),
    "core_header": params(0x0100, 0x0202, 0x0303) + struct.pack("<IHHHH", 12, 3, 2, 1, 4) + table(16, 3) + pattern(8),
    "header_size_huge": params(0x0000, 0x0202, 0x0202) + info(2, 2, 8, size=0xFFFFFFF0) + table(256) + pattern(8),
    # Signs and sizes past what the arithmetic holds.
    "top_down": params(0x0001, 0x0203, 0x0405) + image(5, -4, 8),
    "negative_width": params(0x0000, 0x0202, 0x0303) + image(-3, 2, 24),
    "width_past_16_bits": params(0x0000, 0x0202, 0x0404) + info(0x10003, 2, 8) + table(256) + pattern(8),
    "size_image_huge": params(0x0102, 0x0303, 0x0505) + image(4, 4, 8, size_image=0xFFFFFF00),
    "no_width": params(0x0000, 0x0101, 0x0101) + image(0, 5, 8),
    "planes_zero": params(0x005A, 0x0303, 0x0303) + image(3, 3, 24, planes=0),
    # Depths and compressions the exports refuse or pass over.
    "depth_2": params(0x0001, 0x0404, 0x0404) + image(4, 4, 2),
    "depth_16_bitfields": params(0x0002, 0x0303, 0x0303) + image(3, 3, 16, compression=3),
    "depth_32": params(0x010F, 0x0202, 0x0202) + image(2, 2, 32),
    "rle8_stream": params(0x0000, 0x0303, 0x0404) + info(4, 3, 8, compression=1, size_image=10) + table(256)
    + bytes([3, 5, 0, 0, 0, 3, 1, 2, 3, 0, 0, 1]),
    "rle4_stream": params(0x0001, 0x0202, 0x0505) + info(5, 2, 4, compression=2, size_image=8) + table(16)
    + bytes([5, 0x12, 0, 0, 0, 3, 0x45, 0x60, 0, 1]),
}


def wmf(*records, objects=4, size=None):
    """A Windows metafile: the header (its size in words counted, or `size`), then records."""
    body = b"".join(records)
    words = (18 + len(body)) // 2 if size is None else size
    return struct.pack("<HHHIHIH", 1, 9, 0x300, words, objects, 64, 0) + body


def rec(function, *words, size=None, tail=b""):
    """A record of 16-bit parameter words (and raw bytes after them); `size` lies about it."""
    data = struct.pack("<%dh" % len(words), *words) + tail
    if len(data) % 2:
        data += b"\0"
    return struct.pack("<IH", (6 + len(data)) // 2 if size is None else size, function) + data


def long_words(value):
    return (value & 0xFFFF) - (0x10000 if value & 0x8000 else 0), (value >> 16) - (0x10000 if value & 0x80000000 else 0)


EOF_RECORD = rec(0)
RED_BRUSH = rec(0x2FC, 0, 0xFF, 0, 0) + rec(0x12D, 0)
DIB_4BIT = info(3, 2, 4, size_image=8, clr_used=2) + bytes([200, 2, 3, 0, 4, 5, 250, 0]) + bytes([0x01, 0x10, 0xAB, 0xCD, 0x10, 0x01, 0xEF, 0x12])
DIB_1BIT = info(2, 2, 1, size_image=8) + bytes([0, 0, 0, 0, 255, 255, 255, 0]) + bytes([0x40, 0, 0, 0, 0x80, 0, 0, 0])
REGION = struct.pack("<hhIhhh4h", 0, 6, 0x2F6, 60, 3, 2, 0, 0, 9, 8) + struct.pack("<6h", 2, 0, 3, 0, 5, 2) + struct.pack("<6h", 2, 3, 5, 0, 9, 2) + struct.pack("<6h", 2, 5, 8, 3, 9, 2)
FONT = struct.pack("<5h8B", -12, 0, 0, 0, 700, 1, 0, 0, 0, 0, 0, 0, 0) + b"Arial".ljust(32, b"\0")
PALETTE = struct.pack("<HH", 0x300, 2) + bytes([1, 2, 3, 0, 4, 5, 6, 4])
SRCCOPY = long_words(0x00CC0020)
PATCOPY = long_words(0x00F00021)

# Every record the player knows, in one file, as the recorder writes them.
EVERY_RECORD = wmf(
    rec(0x1E), rec(0x103, 8), rec(0x20C, 20, 10), rec(0x20E, 40, 30), rec(0x20B, -2, 1), rec(0x20D, 4, 3),
    rec(0x20F, 1, 1), rec(0x211, -1, -1), rec(0x410, 1, 1, 1, 1), rec(0x412, 2, 1, 2, 1), rec(0x103, 1),
    rec(0x209, 0x0201, 3), rec(0x201, 7, 0x100), rec(0x102, 1), rec(0x104, 7), rec(0x107, 3), rec(0x106, 2),
    rec(0x12E, 24, 0), rec(0x2FA, 1, 3, 0, 0x0201, 3), rec(0x12D, 0), rec(0x2FC, 0, 0xFF, 0, 0), rec(0x12D, 1),
    rec(0x2FB, tail=FONT), rec(0x12D, 2), rec(0xF7, tail=PALETTE), rec(0x234, 3), rec(0x35),
    rec(0x6FF, tail=REGION), rec(0x12D, 4), rec(0x1F0, 4), rec(0x416, 20, 20, 0, 0), rec(0x415, 4, 4, 2, 2),
    rec(0x214, 2, 1), rec(0x213, 4, 3), rec(0x325, 3, 0, 0, 5, -5, 9, 1), rec(0x324, 3, 0, 0, 10, 0, 10, 10),
    rec(0x538, 2, 3, 2, 0, 0, 10, 0, 10, 10, 0, 10, 5, 5), rec(0x41B, 4, 3, 2, 1), rec(0x61C, 6, 5, 40, 30, 2, 1),
    rec(0x418, 4, 3, 2, 1), rec(0x817, 8, 7, 6, 5, 4, 3, 2, 1), rec(0x81A, 8, 7, 6, 5, 4, 3, 2, 1),
    rec(0x830, 8, 7, 6, 5, 4, 3, 2, 1), rec(0x41F, 0x02C8, 3, 2, 1), rec(0x61D, *PATCOPY, 5, 4, 1, 0),
    rec(0x6FF, tail=REGION), rec(0x2FC, 2, 0x0201, 3, 4), rec(0x228, 6, 5), rec(0x429, 3, 2, 6, 5), rec(0x12B, 5),
    rec(0x12A, 5), rec(0x12C, 5), rec(0x521, 3, tail=b"abc\0" + struct.pack("<2h", 2, 1)), rec(0xA32, 2, 1, 3, 0, tail=b"abc"),
    rec(0xA32, 4, 3, 3, 6, 1, 2, 30, 40, tail=b"xyz\0" + struct.pack("<3h", 5, 6, 7)),
    rec(0x142, 3, 0, tail=DIB_1BIT), rec(0x12D, 6),
    rec(0xF43, *SRCCOPY, 0, 1, 3, 1, 0, 4, 6, 1, 0, tail=DIB_4BIT),
    rec(0xD33, 0, 2, 0, 1, 0, 1, 3, 3, 2, tail=DIB_4BIT),
    rec(0x940, *SRCCOPY, 0, 0, 2, 2, 2, 1, tail=DIB_1BIT),
    rec(0xB41, *long_words(0x00660046), -1, 2, 1, 1, -4, 6, 0, 0, tail=DIB_4BIT),
    rec(0x940, *long_words(0x00550009), 0, 0, 0, 2, 2, 0, 0), rec(0x127, -1), rec(0x1F0, 0), EOF_RECORD,
    objects=8)

WMF_CORPUS = {
    "every_record": EVERY_RECORD,
    "zero_size_record": wmf(RED_BRUSH, rec(0x61D, *PATCOPY, 4, 4, 0, 0), rec(0x61D, size=0), EOF_RECORD),
    "past_the_end": wmf(RED_BRUSH, rec(0x61D, *PATCOPY, 4, 4, 0, 4, size=100)),
    "table_overflow": wmf(rec(0x2FC, 0, 0xFF, 0, 0), rec(0x2FC, 0, 0, 0xFF, 0), rec(0x12D, 1), rec(0x1F0, 9),
                          EOF_RECORD, objects=1),
    "gigantic_dib": wmf(rec(0xF43, *SRCCOPY, 0, 1, 1, 0, 0, 0x7FFF, 0x7FFF, 0, 0,
                            tail=info(0x7FFFFFFF, 0x7FFFFFFF, 32)), EOF_RECORD),
    "dib_header_lies": wmf(rec(0x940, *SRCCOPY, 0, 0, 2, 2, 0, 0, tail=info(2, 2, 8, clr_used=0xFFFFFFFF)[:30]),
                           rec(0x142, 3, 0, tail=info(64, 64, 24)), EOF_RECORD),
    "counts_lie": wmf(rec(0x538, 0x7FFF, 3, 3), rec(0x325, 0x7FFF, 1, 1), rec(0xA32, 0, 0, 0x7FFF, 6, 1),
                      rec(0x6FF, 0, 6, 0, 0, 60, 0x7FFF, 2, 0, 0, 9, 8), EOF_RECORD),
    "huge_extents": wmf(rec(0x103, 8), rec(0x20C, 1, 1), rec(0x20E, 0x7FFF, 0x7FFF), RED_BRUSH,
                        rec(0x61D, *PATCOPY, 0x7FFF, 0x7FFF, -0x8000, -0x8000), rec(0x213, 0x7FFF, -0x8000),
                        rec(0xF43, *SRCCOPY, 0, 2, 3, 0, 0, 0x7FFF, 0x7FFF, 0, 0, tail=DIB_4BIT), EOF_RECORD),
}


def write(directory, corpus):
    os.makedirs(directory, exist_ok=True)
    for name, data in sorted(corpus.items()):
        with open(os.path.join(directory, name), "wb") as f:
            f.write(data)


def main():
    write(OUT, CORPUS)
    write(RLE_OUT, RLE_CORPUS)
    write(EXPORTS_OUT, EXPORTS_CORPUS)
    write(WMF_OUT, WMF_CORPUS)


if __name__ == "__main__":
    main()
