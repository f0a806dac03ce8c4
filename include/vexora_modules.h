/*
 * vexora_modules.h - the entry points of the format modules, the separate libraries that read
 * and write TIFF, CALS, PCX, DCX, GIF, TGA, JPEG and PNG files for LoadImageIntoDIB and
 * SaveDIBInImageFormat.
 *
 * Each module is a file of its own, beside the library: "NAME.DLL" beside VEXORA.DLL on
 * Windows, "NAME.so" beside libvexora.so on Linux. Reading and writing are separate files:
 *
 *   VXTIFR  LoadTiffIntoDIB, LoadCALSIntoDIB        VXTIFW  SaveDIBInTiffFormat, SAVEDIBINCALSFORMAT
 *   VXPCXR  LoadPCXIntoDIB, LoadDCXIntoDIB          VXPCXW  SaveDIBInPCXFormat, MakeDCXFile,
 *                                                           SaveDIBInDCXFormat
 *   VXGIFR  LoadGIFIntoDIB                          VXGIFW  SaveDIBInGIFFormat
 *   VXTGAR  LoadTGAIntoDIB                          VXTGAW  SaveDIBInTGAFormat
 *   VXJPGR  LoadJPEGIntoDIB                         VXJPGW  SaveDIBInJPEGFile
 *   VXPNGR  LoadPNGIntoDIB                          (no PNG writer)
 *
 * The library loads a module for one call and frees it again; an application may also load a
 * module itself and call its entry points, which is how the options the library never passes
 * (a TIFF page appended, a GIF transparent index) are reached. Entry points use __stdcall and
 * undecorated names on Windows, the C convention on Linux.
 *
 * The codecs are the maintained libraries, the same versions on both platforms: libtiff (with
 * its CCITT Group 4 coding for CALS), giflib, libjpeg-turbo and libpng, with zlib. PCX, DCX and
 * TGA are the modules' own code.
 *
 * What every loader does
 *   - The DIB is what the file holds, in the smallest DIB that holds it exactly: 1-bit images
 *     stay 1-bit, paletted images stay paletted (4 or 8 bits; 2-bit ones become 4-bit), gray
 *     images become 8-bit with a gray table (0 to 255 in steps of 1), colour images 24-bit.
 *   - 16-bit samples are reduced to 8 bits rounded: (v * 255 + 32767) / 65535.
 *   - Alpha is composited on white, since a DIB has none: c' = (c * a + 255 * (255 - a) + 127)
 *     / 255 per 8-bit sample (a paletted image with transparent entries gets those entries
 *     composited the same way, and stays paletted).
 *   - CMYK and YCbCr are converted to RGB.
 *   - The resolution of the file (PNG pHYs in metres, JFIF or EXIF density, TIFF resolution
 *     tags, PCX dpi, CALS rdensty) becomes biXPelsPerMeter and biYPelsPerMeter, rounded; a file
 *     without one gives 0.
 *   - Pages count from 1; a page of 0 or less means the first. A page past the end fails with
 *     VXSTATUS_NOPAGE.
 *   - An image of more than VXMOD_MAX_PIXELS pixels, or wider or taller than VXMOD_MAX_SIDE,
 *     is refused before anything is allocated for it (VXSTATUS_TOOLARGE): a decompression
 *     bomb costs nothing.
 *   - A file that ends early or whose data the codec rejects fails as a whole: no partial
 *     image is returned.
 *
 * What every writer does
 *   - It takes an uncompressed DIB (BI_RGB) of 1, 4, 8 or 24 bits with the 40-byte header, as
 *     every export of the library makes. Writes the file from scratch (DCX pages are appended),
 *     and removes what it wrote when it fails part-way. Returns 1 on success, 0 on failure.
 *
 * Status and error codes
 *   The loaders that take a status word write one of the VXSTATUS values into it (a null status
 *   is allowed everywhere). Every loader and writer also sets the library's module error code
 *   (SetImgError) on failure, so ImgError and ImgErrorString tell the reason; success leaves
 *   the module error code as it was.
 *
 *   status                      value  module error code (loaders)  meaning
 *   VXSTATUS_OK                   0    (unchanged)                  the image was loaded
 *   VXSTATUS_OPENFILE             1    IMGERR_OPENFILE              the file cannot be opened
 *   VXSTATUS_TRUNCATED            2    IMGERR_IO                    the file ends early or cannot be read
 *   VXSTATUS_NOTFORMAT            3    IMGERR_FILEFORMAT            not a file of the module's format
 *   VXSTATUS_UNSUPPORTED          4    IMGERR_FILEFORMAT            a variant the module does not read
 *   VXSTATUS_CORRUPT              5    IMGERR_FILEFORMAT            the codec rejected the data
 *   VXSTATUS_NOPAGE               6    IMGERR_FILEFORMAT            the page asked for is past the end
 *   VXSTATUS_TOOLARGE             7    IMGERR_DIBSIZE               over the pixel limit
 *   VXSTATUS_NOMEMORY             8    IMGERR_NOMEMORY              the DIB cannot be allocated
 *   VXSTATUS_NOTLOADABLE          9    IMGERR_FILEFORMAT            (the library's own: LoadImageIntoDIB
 *                                                                   knows no loader for the file)
 *
 *   Writers set: IMGERR_PARAMETER (a null or unreadable DIB, a file name of null, an option or
 *   param the writer does not know), IMGERR_COMPRESSED (a run-length DIB), IMGERR_BITCOUNT (a
 *   depth the format or the chosen compression cannot hold), IMGERR_OPENFILE (the file cannot
 *   be created), IMGERR_IO (a write failed), IMGERR_NOMEMORY.
 */
#ifndef VEXORA_MODULES_H
#define VEXORA_MODULES_H

#include "vexora.h"

#if defined(_WIN32)
#define VXMODULECALL __stdcall
#if defined(VEXORA_BUILDING_MODULE)
#define VXMODULEAPI __declspec(dllexport)
#else
#define VXMODULEAPI
#endif
#else
#define VXMODULECALL
#if defined(VEXORA_BUILDING_MODULE)
#define VXMODULEAPI __attribute__((visibility("default")))
#else
#define VXMODULEAPI
#endif
#endif

#ifdef __cplusplus
extern "C" {
#endif

#define VXSTATUS_OK 0
#define VXSTATUS_OPENFILE 1
#define VXSTATUS_TRUNCATED 2
#define VXSTATUS_NOTFORMAT 3
#define VXSTATUS_UNSUPPORTED 4
#define VXSTATUS_CORRUPT 5
#define VXSTATUS_NOPAGE 6
#define VXSTATUS_TOOLARGE 7
#define VXSTATUS_NOMEMORY 8
#define VXSTATUS_NOTLOADABLE 9

/* The largest image a loader makes: 2^28 pixels (16384 x 16384), no side over 65535. */
#define VXMOD_MAX_PIXELS 268435456
#define VXMOD_MAX_SIDE 65535

/* ---- VXTIFR / VXTIFW: TIFF and CALS type 1 rasters ---------------------------------------- */

/* TIFF reading (LoadTiffIntoDIB): page `page` (from 1; 0 or less means 1) of a TIFF or BigTIFF
   file of either byte order; status may be null (the library passes null).
     - Every compression the libtiff it is built with decodes: none, CCITT RLE, Group 3 and 4,
       LZW, PackBits, Deflate, JPEG (YCbCr converted to RGB by the JPEG codec), and others libtiff
       has. Old-style JPEG (compression 6) is read through libtiff's RGBA reader when libtiff
       can make sense of it, and fails otherwise.
     - Strips or tiles, one sample plane or one plane per sample, any rows per strip.
     - Bilevel (1 bit, min-is-white or min-is-black): a 1-bit DIB whose bits are the file's and
       whose table keeps their meaning (min-is-white: entry 0 white, entry 1 black).
     - Palette, 1, 2, 4 or 8 bits: a 1-, 4-, 4- or 8-bit DIB with the colour map (2^bits
       entries; a 16-bit map whose values are all below 256 is taken as 8-bit values).
     - Gray, 2, 4, 8 or 16 bits (min-is-white inverted): an 8-bit DIB with the gray table,
       v * 255 / (2^bits - 1) for 2 and 4 bits.
     - RGB and CMYK (ink set CMYK; R = (255 - C) * (255 - K) / 255 rounded), 8 or 16 bits: 24-bit.
     - A first extra sample marked as alpha (straight or premultiplied) is composited on white;
       other extra samples are ignored. Samples that are not unsigned integers: UNSUPPORTED.
     - Anything else libtiff's RGBA reader takes (YCbCr without JPEG, CIELab, other sample
       widths): a 24-bit DIB from that reader, whose alpha comes premultiplied (c + 255 - a).
       Layouts it does not take either: UNSUPPORTED.
     - The orientation tag is honoured: the DIB shows the image as the tag says it is to be seen
       (orientations 5 to 8 exchange width and height, and the two resolutions).
     - Resolution with unit inch or centimetre becomes pels per metre; unit "none" or no
       resolution gives 0.
     - A file whose data ends early (a read past the last byte, or a fax-coded strip running out)
       is TRUNCATED; data libtiff rejects is CORRUPT; a page past the last directory is NOPAGE
       (a directory chain that loops ends at the loop). libtiff prints nothing.
   CALS reading (LoadCALSIntoDIB): the 2048-byte header must contain "srcdocid:" (else
   NOTFORMAT); records are "name: value" in 16 fields of 128 bytes, names in any case.
     - "rtype" other than 1: UNSUPPORTED (missing: 1).
     - "rpelcnt: pels,lines" gives the stored size; missing or unreadable: CORRUPT.
     - "rorient: pel path,line progression" (missing: 000,270): the four turns 000,270 090,000
       180,090 270,180 and the four mirror images 000,090 090,180 180,270 270,000 are honoured,
       the DIB showing the image upright; other pairs UNSUPPORTED.
     - "rdensty" dots per inch becomes pels per metre (missing: 0).
     - The raster (CCITT Group 4, 0 white) is every byte after the header; a file of 2048 bytes
       or less is TRUNCATED, and so is a raster that runs out before its last line.
     - The DIB is 1-bit with entry 0 white and entry 1 black. */
VXMODULEAPI HDIB VXMODULECALL LoadTiffIntoDIB(LPCSTR fileName, int page, int *status);
VXMODULEAPI HDIB VXMODULECALL LoadCALSIntoDIB(LPCSTR fileName, int *status);

/* TIFF writing (SaveDIBInTiffFormat): compression is a TIFF compression value (the library
   passes SaveDIBInImageFormat's param): 1 none, 4 CCITT Group 4, 5 LZW, 7 JPEG (quality 75),
   8 Deflate, 32773 PackBits, or 0 for the default: Group 4 for bilevel DIBs, LZW for the rest.
   LZW and Deflate use horizontal differencing (predictor 2) on 24-bit and 8-bit gray images.
     - A 1-bit DIB whose table is white and black is written min-is-white, black and white
       min-is-black (the bits unchanged); other 1-bit tables, and 4- and 8-bit DIBs whose table
       is not the full gray ramp, as palette images (the map padded with black); 4- and 8-bit
       DIBs with the full gray ramp as gray; 24-bit DIBs as RGB (JPEG: YCbCr, subsampled 2 x 2).
     - Group 4 holds only bilevel DIBs, JPEG only 24-bit and 8-bit gray ones: other depths fail
       with IMGERR_PARAMETER, as do unknown compression values (this writer's choice, where the
       writers' general rule would say IMGERR_BITCOUNT).
     - The resolution is written in dots per inch to the hundredth when the DIB has one.
     - mode 1 writes a new file; mode 2 appends the DIB as a new page (directory) of an existing
       TIFF file, or writes a new file when there is none or it is empty; an existing file that
       is not TIFF fails with IMGERR_FILEFORMAT and is left alone. Other modes: IMGERR_PARAMETER.
     - The file is composed in memory and written only when complete: a failure leaves no new
       file, and an appended-to file is changed only by the final write.
   CALS writing (SAVEDIBINCALSFORMAT; the three ints are ignored): 1-bit DIBs only (else
   IMGERR_BITCOUNT). The header holds srcdocid, dstdocid, txtfilid, figid, srcgph, docls and
   notes "NONE", rtype 1, rorient 000,270, rpelcnt from the size (six digits each) and rdensty
   from biXPelsPerMeter in dots per inch (0200 when there is none). The raster is Group 4 coded
   by libtiff, 0 white: when the DIB's entry 0 is darker than entry 1 the bits are inverted. */
VXMODULEAPI int VXMODULECALL SaveDIBInTiffFormat(LPCSTR fileName, HDIB dib, int compression, int mode);
VXMODULEAPI int VXMODULECALL SAVEDIBINCALSFORMAT(LPCSTR fileName, HDIB dib, int reserved1, int reserved2,
                                                 int reserved3);

/* ---- VXPCXR / VXPCXW: PCX and DCX -------------------------------------------------------- */

/* Reading (versions 0, 2, 3, 4 and 5, run-length coded or stored):
     1 bit x 1 plane      1-bit DIB; the header's EGA palette entries 0 and 1, or black and white
                          for version 3 files and files whose two entries are equal
     1 bit x 2 to 4 planes, 2 or 4 bits x 1 plane
                          4-bit DIB of 4, 8 or 16 entries from the EGA palette (the standard EGA
                          colours for version 3); 2-bit (CGA) files take entries 0 to 3 of it
     8 bits x 1 plane     8-bit DIB; the 256-colour palette after the 0x0C marker at 769 bytes
                          from the end, or the gray ramp when the file has none
     8 bits x 3 planes    24-bit DIB (planes red, green, blue)
     8 bits x 4 planes    24-bit DIB, the fourth plane alpha, composited on white
   The window (xmax - xmin + 1 by ymax - ymin + 1) is the size; the header's dpi the resolution.
   Lines are decoded as one stream: a run crossing the end of a line continues into the next.
   A run pair expands to at most 63 bytes, so a file claiming more scan-line bytes than 31.5
   times its data fails with VXSTATUS_TRUNCATED before anything is allocated (after the pixel
   limit's VXSTATUS_TOOLARGE). Other depths: VXSTATUS_UNSUPPORTED; lines shorter than the width
   or an unknown version or encoding: VXSTATUS_CORRUPT.
   DCX: page `page` (from 1) is at the page-th offset of the table after the signature; its bytes
   run to the next larger offset or the end of the file. An offset into the table:
   VXSTATUS_CORRUPT; past the end: VXSTATUS_TRUNCATED.
   Writing: version 5, run-length coded (runs end at every plane and line), lines padded to an
   even length: 1-bit DIBs as 1 bit x 1 plane and 4-bit ones as 1 bit x 4 planes with the table
   in the EGA palette, 8-bit as 8 bits x 1 plane with the 256-colour palette, 24-bit as 8 bits x
   3 planes; palette info 2 for a gray table, else 1; dpi from the DIB's resolution. Images
   wider or taller than 65536, or whose padded line exceeds 65535 bytes: IMGERR_DIBSIZE.
   SaveDIBInPCXFormat: *param (when not null) receives the file's length in bytes.
   MakeDCXFile: a new file of the signature and a table of 1024 slots, all 0 (4100 bytes), so
   pages append without moving anything; *param receives 0.
   SaveDIBInDCXFormat: appends the page to an existing DCX file (the page at the end, then the
   0 after its slot, its slot last; on failure the file is cut back to its former length);
   *param receives the new page's number. Not a DCX file: IMGERR_FILEFORMAT; a table with no
   free slot (1023 pages, or a first page leaving no room for one more slot): IMGERR_PARAMETER;
   a file that cannot be opened: IMGERR_OPENFILE. */

VXMODULEAPI HDIB VXMODULECALL LoadPCXIntoDIB(LPCSTR fileName, int *status);
VXMODULEAPI HDIB VXMODULECALL LoadDCXIntoDIB(LPCSTR fileName, int page, int *status);
VXMODULEAPI int VXMODULECALL SaveDIBInPCXFormat(LPCSTR fileName, HDIB dib, int *param);
VXMODULEAPI int VXMODULECALL MakeDCXFile(LPCSTR fileName, int *param);
VXMODULEAPI int VXMODULECALL SaveDIBInDCXFormat(LPCSTR fileName, HDIB dib, int *param);

/* ---- VXGIFR / VXGIFW: GIF ---------------------------------------------------------------- */

/* GIF reader (giflib). Page N (from 1) is frame N of an animation as a viewer shows it: the
   logical screen with frames 1 to N drawn in order, each disposed of before the next as its
   graphic control extension says (0, 1 and the undefined 4 to 7 keep the frame; 2 makes its
   rectangle transparent again; 3 restores the screen as it was before the frame). The screen
   starts transparent, the background colour index is not used, transparent pixels let through
   what is below, and what is transparent at the end shows as white. Frames are clipped to the
   screen; a screen of no width or height takes the first frame's extent. Interlaced frames are
   de-interlaced. Frames disposed of before the page asked for are passed over undecoded.
   Depth: when every pixel shown was drawn with the same colour table (tables with equal entries
   count as one) and, if white shows, that table has a white entry, the DIB is paletted with
   that table, padded with black to 2, 16 or 256 entries (1, 4 or 8 bits: the smallest that
   holds the table and every index drawn; white shows as the first white entry). Otherwise the
   DIB is 24-bit. Indices past a table read black. A frame with neither a local nor a global
   table reads its indices through a gray ramp of 2^(LZW code size) levels from black to white.
   Resolution 0 (the aspect-ratio byte is ignored). Status: not starting with "GIF" ->
   NOTFORMAT; the file ending inside a record -> TRUNCATED (a file that ends where a record
   would start ends there, as if the trailer followed); an LZW code size of 0 or over 8, bad
   codes, too few pixels, unknown records -> CORRUPT; the screen or a frame over the pixel limit
   -> TOOLARGE, checked before decoding it; no frame N -> NOPAGE. status may be null. */
VXMODULEAPI HDIB VXMODULECALL LoadGIFIntoDIB(LPCSTR fileName, int page, int *status);

/* GIF writer (giflib). One image with a global table. option: bit 0 interlaced, other bits
   must be 0. param may be null (as 0). *param on input: 0 no transparency, n in 1..256 writes
   index n - 1 as transparent in a graphic control extension (and so GIF89a, else GIF87a); an
   index past the table written, or any other value, is IMGERR_PARAMETER. *param on output
   (success only): the entries of the colour table written, a power of two from 2 to 256 (the
   library passes its own copy). Tables: a 1-, 4- or 8-bit DIB writes its table padded with
   black to 2, 16 or 256 entries (the LZW code size follows the depth). A 24-bit DIB of at most
   256 colours writes those colours exactly, in the order they first appear top-down, in the
   smallest power-of-two table; above 256 colours giflib's GifQuantizeBuffer reduces it (median
   cut over 5-bit samples, no dithering) and each entry is then set to the rounded mean colour
   of the pixels mapped to it. A side over 65535 is IMGERR_DIBSIZE. */
VXMODULEAPI int VXMODULECALL SaveDIBInGIFFormat(LPCSTR fileName, HDIB dib, int option, int *param);

/* ---- VXTGAR / VXTGAW: TGA ---------------------------------------------------------------- */

/* Reading (types 1, 2, 3 and their run-length forms 9, 10, 11; every origin corner; packets
   may cross rows):
     colour-mapped, 8-bit indices   8-bit DIB whose table is the map placed from its first-entry
                                    index, up to 256 entries (entries below the first black);
                                    map entries of 15/16, 24 or 32 bits; an index past the map,
                                    or a map of 0 entries: VXSTATUS_CORRUPT
     true colour 15/16 bits         24-bit DIB, 5-5-5 levels scaled to v * 255 / 31 rounded
     true colour 24 and 32 bits     24-bit DIB
     gray 8 bits, 16 bits (gray and alpha)
                                    8-bit DIB with the gray table
   Alpha (32-bit pixels and map entries, the attribute bit of 16-bit pixels, gray's second
   byte) is composited on white when a TGA 2.0 footer's extension area says attribute type 3
   (4: premultiplied, c + 255 - a), or, without an extension area, when the descriptor counts
   alpha bits; otherwise it is ignored. The resolution is 0. The file must be long enough for
   its claimed size (one packet of at most 1 + 4 bytes gives 128 pixels), checked before
   anything is allocated: VXSTATUS_TRUNCATED. Types 32 and 33, and other depths:
   VXSTATUS_UNSUPPORTED; other types or colour map types: VXSTATUS_NOTFORMAT.
   Writing: runLength 1 writes types 9, 10, 11 (packets do not cross rows), 0 types 1, 2, 3;
   mode 1 puts the origin bottom-left (descriptor 0), 0 top-left (descriptor 0x20); other
   values of either: IMGERR_PARAMETER. 24-bit DIBs as 24-bit true colour; 8-bit DIBs with the
   256-level gray ramp as 8-bit gray; other 8-bit DIBs and 1- and 4-bit ones, expanded to 8-bit
   indices, colour-mapped with a 24-bit map of the DIB's table. No identification field and no
   TGA 2.0 footer. A run-length colour-mapped file (type 9, first entry 0) has the 16-bit word 9
   at offset 2, which GetImageFormat takes for a metafile before it looks at the name: such
   files load through LoadTGAIntoDIB itself, not through LoadImageIntoDIB. */

VXMODULEAPI HDIB VXMODULECALL LoadTGAIntoDIB(LPCSTR fileName, int *status);
VXMODULEAPI int VXMODULECALL SaveDIBInTGAFormat(LPCSTR fileName, HDIB dib, int runLength, int mode);

/* ---- VXJPGR / VXJPGW: JPEG --------------------------------------------------------------- */

/* JPEG reader (libjpeg-turbo, the accurate integer DCT and fancy upsampling: djpeg's pixels).
   Baseline, progressive and arithmetic-coded files. Gray gives an 8-bit DIB with the gray
   ramp; YCbCr and RGB a 24-bit DIB; CMYK and YCCK (YCCK converted to CMYK by the codec) a
   24-bit DIB from the inverted inks every CMYK JPEG stores: R = (C * K + 127) / 255,
   G = (M * K + 127) / 255, B = (Y * K + 127) / 255 on the stored values. Resolution: the JFIF
   density in dots per inch or per centimetre; when the JFIF segment has none (an aspect ratio
   only, or no segment), EXIF XResolution, YResolution and ResolutionUnit (inch or centimetre)
   of the first image directory; else 0. There is no status word: failures set the module
   error code only (IMGERR_IO when the data ends early, which the codec would otherwise fill
   with gray). The codec's warnings about damaged data it resynchronises past (bytes before a
   marker, a misplaced restart marker) do not fail the file, as djpeg does not. A file of more
   than 500 scans fails (IMGERR_FILEFORMAT): each scan is a pass over the image. */
VXMODULEAPI HDIB VXMODULECALL LoadJPEGIntoDIB(LPCSTR fileName);

/* JPEG writer: a baseline JFIF file with cjpeg's defaults, so the file is the one cjpeg writes
   from the same pixels. quality 1 to 100, clamped into that range (the library passes 75);
   YCbCr with 2 x 2 chroma subsampling; the standard Huffman tables (not optimised). 24-bit
   DIBs are written in colour; 1, 4 and 8-bit DIBs whose every table entry is gray as a gray
   JPEG of those levels, others in colour through the table (indices past the table black).
   The resolution is written as the JFIF density in dots per inch, rounded, when both pels per
   metre are positive (else the density is the aspect ratio 1:1). */
VXMODULEAPI int VXMODULECALL SaveDIBInJPEGFile(LPCSTR fileName, HDIB dib, int quality);

/* ---- VXPNGR: PNG ------------------------------------------------------------------------- */

/* PNG reader (libpng). Palette images of 1, 4 and 8 bits keep their depth and indices, 2-bit
   ones become 4-bit; the table is the full table of the DIB's depth, entries past the file's
   palette black. Gray of 1 bit gives a 1-bit DIB (black, white); gray of 2, 4, 8 and 16 bits
   an 8-bit DIB with the gray ramp, 2 and 4-bit samples widened as PNG defines (v * 255 /
   (2^n - 1)); RGB of 8 and 16 bits a 24-bit DIB. Alpha channels and tRNS transparency are
   composited on white; a palette's tRNS composites its entries and the image stays paletted.
   Interlaced files are read. pHYs in metres gives the pels per metre (unit unknown: 0).
   Gamma, chromaticities, sRGB and ICC profiles are ignored: samples are taken as stored.
   Damage: a CRC error in a critical chunk fails (VXSTATUS_CORRUPT), an ancillary chunk with
   a bad CRC is dropped (libpng's default), a palette index past the palette shows black; a
   file that ends before IEND fails with VXSTATUS_TRUNCATED, image data that ends early or a
   palette of 0 or more than 256 entries with VXSTATUS_CORRUPT. */
VXMODULEAPI HDIB VXMODULECALL LoadPNGIntoDIB(LPCSTR fileName, int *status);

#ifdef __cplusplus
}
#endif

#endif /* VEXORA_MODULES_H */
