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

/* TIFF: page `page` (from 1) of a TIFF file. status may be null (the library passes null). */
VXMODULEAPI HDIB VXMODULECALL LoadTiffIntoDIB(LPCSTR fileName, int page, int *status);

/* CALS type 1 (a 2048-byte header of 128-byte records, then a CCITT Group 4 raster): a 1-bit
   DIB, 0 white. status may be null. */
VXMODULEAPI HDIB VXMODULECALL LoadCALSIntoDIB(LPCSTR fileName, int *status);

/* TIFF writer. compression: a TIFF compression value. mode: 1 writes a new file, 2 appends a
   page to an existing TIFF file (or writes a new one). */
VXMODULEAPI int VXMODULECALL SaveDIBInTiffFormat(LPCSTR fileName, HDIB dib, int compression, int mode);

/* CALS type 1 writer: a 1-bit DIB as a Group 4 raster. The three ints are reserved. */
VXMODULEAPI int VXMODULECALL SAVEDIBINCALSFORMAT(LPCSTR fileName, HDIB dib, int reserved1, int reserved2,
                                                 int reserved3);

/* ---- VXPCXR / VXPCXW: PCX and DCX -------------------------------------------------------- */

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

VXMODULEAPI HDIB VXMODULECALL LoadTGAIntoDIB(LPCSTR fileName, int *status);
VXMODULEAPI int VXMODULECALL SaveDIBInTGAFormat(LPCSTR fileName, HDIB dib, int runLength, int mode);

/* ---- VXJPGR / VXJPGW: JPEG --------------------------------------------------------------- */

VXMODULEAPI HDIB VXMODULECALL LoadJPEGIntoDIB(LPCSTR fileName);
VXMODULEAPI int VXMODULECALL SaveDIBInJPEGFile(LPCSTR fileName, HDIB dib, int quality);

/* ---- VXPNGR: PNG ------------------------------------------------------------------------- */

VXMODULEAPI HDIB VXMODULECALL LoadPNGIntoDIB(LPCSTR fileName, int *status);

#ifdef __cplusplus
}
#endif

#endif /* VEXORA_MODULES_H */
