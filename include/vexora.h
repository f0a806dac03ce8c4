/*
 * vexora.h - the interface of the Vexora imaging library (VEXORA.DLL, libvexora.so).
 *
 * Every image the library computes on is a packed device-independent bitmap (DIB) in the
 * Windows layout, held in a movable memory block and passed as an HDIB:
 *
 *   BITMAPINFOHEADER (40 bytes) | colour table (RGBQUAD entries) | pixel rows, bottom row first
 *
 * Row stride is ((biWidth * biBitCount + 31) / 32) * 4 bytes. Every HDIB an export returns is a
 * new block owned by the caller, who frees it with GlobalFree. Exports lock the blocks they are
 * given and unlock them before returning.
 *
 * Failure is a zero or null result (or a negative status where a family says so); most exports
 * also leave the reason in the module error code (ImgError, ImgErrorString). Nothing throws.
 *
 * On Windows the exports use the __stdcall convention and undecorated names; on Linux the C
 * convention. The Win32 types come from <windows.h> or, elsewhere, from vexora_win32.h.
 */
#ifndef VEXORA_H
#define VEXORA_H

#include "vexora_win32.h"

#if defined(_WIN32)
#define VXCALL __stdcall
#define VXAPI
#elif defined(VEXORA_BUILDING_LIBRARY)
#define VXCALL
#define VXAPI __attribute__((visibility("default")))
#else
#define VXCALL
#define VXAPI
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* A movable memory block holding one packed DIB. */
typedef HGLOBAL HDIB;

/* Module error codes (ImgError, ImgErrorString). */
#define IMGERR_SUCCESS 0
#define IMGERR_NOMEMORY 1
#define IMGERR_CREATEDC 2
#define IMGERR_OPENFILE 3
#define IMGERR_IO 4
#define IMGERR_OPENCLIPBOARD 5
#define IMGERR_CLIPBOARDRECEIVE 6
#define IMGERR_COPYBITS 7
#define IMGERR_PARAMETER 8
#define IMGERR_FILEFORMAT 9
#define IMGERR_CREATEPALETTE 10
#define IMGERR_CREATEBITMAP 11
#define IMGERR_MAPMODE 12
#define IMGERR_BITCOUNT 13
#define IMGERR_CLIPFORMATNOTFOUND 14
#define IMGERR_BITMAPPARAMS 15
#define IMGERR_CREATEMETAFILE 16
#define IMGERR_LOCKMEMORY 17
#define IMGERR_COMPRESSED 18
#define IMGERR_DIBSIZE 19
#define IMGERR_DITHERPARAM 20
#define IMGERR_HEADERBITCOUNT 21
#define IMGERR_CAPIXDEPTH 22
#define IMGERR_PRINTERDC 23
#define IMGERR_NORASTER 24
#define IMGERR_DISPLAYDC 25
#define IMGERR_SETABORTPROC 26
#define IMGERR_STARTDOC 27
#define IMGERR_NEXTBAND 28
#define IMGERR_CLIPBOARD 29
#define IMGERR_NOTHINGTODO 30

/* ------------------------------------------------------------------------------------------ */
/* DIB model, version and library frame                                                       */
/* ------------------------------------------------------------------------------------------ */

/*
 * Byte size of the colour table of a locked DIB header: the colour count times 4 when biSize
 * is exactly 40, times 3 otherwise (a 12-byte core header has 3-byte entries). The colour
 * count is biClrUsed when biSize is 40 and biClrUsed is non-zero, else 2, 16 or 256 for 1, 4
 * and 8 bits and 0 for any other depth. The caller guarantees the header is readable (40
 * bytes, or 12 for a core header). Sets no error.
 */
VXAPI DWORD VXCALL PaletteSize(LPVOID header);

/* The colour count of a locked header (the count PaletteSize multiplies). */
VXAPI DWORD VXCALL DIBColorCount(LPVOID header);

/* The address of the pixel rows of a locked DIB: header + biSize + PaletteSize(header). */
VXAPI LPSTR VXCALL DIBPixelBits(LPVOID header);

/* The length of an open file; its position is left where it was. */
VXAPI DWORD VXCALL FileLength(HFILE file);

/*
 * Reads a DIB header and colour table from an open file at its current position: a
 * BITMAPFILEHEADER followed by a 40-byte or 12-byte header, or a bare packed DIB when the
 * file does not start with "BM". Returns a new block with the 40-byte header (a core header
 * is widened; a zero biSizeImage and biClrUsed are filled in) and the colour table, and leaves
 * the file at the first pixel byte (at bfOffBits when the file header gives one).
 * Errors: HFILE_ERROR -> IMGERR_PARAMETER; short header -> IMGERR_IO; header size other than
 * 12 or 40 -> IMGERR_FILEFORMAT. Allocation failure returns 0 and leaves the code alone.
 * Decided here, to keep every later size computation in range: a width of 0 or less, a
 * height of 0, a pixel area of 2^32 bytes or more, and a colour table of more than 256
 * entries that runs past the end of the file are refused with IMGERR_FILEFORMAT. A table of
 * up to 256 entries that the file cuts short is read as far as it goes, the rest left zero.
 * A negative height (rows stored top-down) is kept as it is; sizes count its |height| rows.
 */
VXAPI HDIB VXCALL ReadDIBInfo(HFILE file);

/*
 * A logical palette holding the DIB's colour table (peFlags 0), owned by the caller
 * (DeleteObject). Returns 0 without an error for a null handle, a block that cannot be
 * locked or is too small for its header and table, and a DIB without a colour table;
 * IMGERR_CREATEPALETTE when the palette cannot be made.
 */
VXAPI HPALETTE VXCALL CreateDIBPalette(HDIB dib);

/*
 * Copies the version text "Version 5.56": nothing for size <= 0, exactly size bytes without a
 * terminator for size 1 to 12, the text and its terminator for size 13 or more.
 */
VXAPI void VXCALL GetImageVersion(LPSTR buffer, int size);

#if defined(_WIN32)
/* The module entry point: records the instance handle at process attach. */
BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved);
#endif

/* ------------------------------------------------------------------------------------------ */
/* Error reporting                                                                            */
/* ------------------------------------------------------------------------------------------ */

/*
 * Stores code as the module error code when 0 <= code <= 31 and returns the code that was
 * current before the call; other values leave the code unchanged.
 */
VXAPI int VXCALL SetImgError(int code);

/* The current module error code. */
VXAPI int VXCALL ImgError(void);

/*
 * The message of code (of the current module error code when code < 0 or code > 31).
 * With a buffer, copies the message and its terminator (50 bytes hold any message) and
 * returns buffer. With a null buffer, shows the message in a box captioned "VEXORA error"
 * with the exclamation icon (on Linux: through the message sink) and returns null.
 * Codes without a message of their own (31 and the values some operations store directly)
 * give the text "Unknown error".
 */
VXAPI LPSTR VXCALL ImgErrorString(LPSTR buffer, int code);

/* ------------------------------------------------------------------------------------------ */
/* Windows bitmap files                                                                       */
/* ------------------------------------------------------------------------------------------ */

/*
 * Loads a BMP file (or a bare packed DIB) into a new DIB block of biSize + colour table +
 * biSizeImage bytes; pixels are read from bfOffBits when the file header gives it. A short
 * pixel area is not an error: the missing rows read as zero. Compressed (RLE) DIBs load with
 * their compressed size. Errors: IMGERR_OPENFILE when the file cannot be opened, else those of
 * ReadDIBInfo; a block that cannot be grown returns 0 with the code unchanged.
 * Decided here, for uncompressed DIBs whose biSizeImage disagrees with their rows (the header
 * is kept as it is): a biSizeImage smaller than the rows need still gets a block for all the
 * rows, so that every operation can use it; a larger one is honoured only as far as the file
 * holds bytes, so that a tiny file cannot ask for a huge block.
 */
VXAPI HDIB VXCALL LoadDIBFromFile(LPCSTR fileName);

/*
 * Writes the DIB as a BMP file: a 14-byte file header ("BM", bfSize = block size + 14,
 * bfOffBits = 14 + biSize + colour table) followed by the whole memory block, slack included.
 * Errors: null DIB -> IMGERR_PARAMETER; file cannot be created -> IMGERR_OPENFILE; a failed or
 * short write -> IMGERR_IO (the file is left as far as written). Does not clear the code on
 * success. Decided here: a block that cannot be locked or is too small to hold its own header
 * and colour table is refused with IMGERR_PARAMETER before the file is created.
 */
VXAPI BOOL VXCALL SaveDIB(LPCSTR fileName, HDIB dib);

/* Loads a BMP file into a device bitmap (LoadDIBFromFile, then ConvertDIBToBitmap; the DIB is
   freed). NULL on failure, with LoadDIBFromFile's code, or IMGERR_CREATEBITMAP when the bitmap
   cannot be made. */
VXAPI HBITMAP VXCALL LoadBitmapFromFile(LPCSTR fileName);

/* Saves a device bitmap as a BMP file (ConvertBitmapToDIB, then SaveDIB): SaveDIB's result and
   codes. A bitmap that cannot be converted gives FALSE without a code of its own. The
   intermediate DIB is freed (the classic library left it allocated). */
VXAPI BOOL VXCALL SaveBitmap(LPCSTR fileName, HBITMAP bitmap, HPALETTE palette);

/* ------------------------------------------------------------------------------------------ */
/* Colour-table inversions                                                                    */
/* ------------------------------------------------------------------------------------------ */

/*
 * For a 1-bit DIB: swaps the colours of entries 0 and 1 (reserved bytes stay) and inverts
 * every pixel byte, so the picture looks the same while every index is complemented. Other
 * depths, null handles and blocks too small for their header say are left alone.
 */
VXAPI void VXCALL InvertMonoDIB(HDIB dib);

/*
 * Replaces blue, green and red of the first biClrUsed colour entries with 255 minus
 * themselves and returns 1, for a DIB whose biSize is 40; returns 0 otherwise, for a null
 * handle and for a block too small for the entries.
 */
VXAPI BOOL VXCALL InvertDIBPalette(HDIB dib);

/* ------------------------------------------------------------------------ */
/* Constants and records                                                     */
/* ------------------------------------------------------------------------ */

/* Table modes shared by ComputeHistogram and ComputeLUT. */
#define TABLE_CREATE   30  /* allocate a new table */
#define TABLE_COMPUTE  31  /* (re)compute an existing table */
#define TABLE_FREE     32  /* free a table */

/* Format codes answered by GetImageFormat and taken by LoadImageIntoDIB /
   SaveDIBInImageFormat. Code 11 is never produced. */
#define FMT_UNKNOWN    0   /* nothing recognised */
#define FMT_TIFF       1   /* "II" or "MM" */
#define FMT_PCX        2   /* first byte 0x0A */
#define FMT_DCX        3   /* multi-page PCX, magic 0x3ADE68B1 */
#define FMT_GIF        4   /* "GIF87a" / "GIF89a" */
#define FMT_TGA        5   /* recognised by the ".TGA" name ending only */
#define FMT_BMP        6   /* "BM" */
#define FMT_WMF        7   /* Windows metafile (placeable or plain) */
#define FMT_CLP        8   /* clipboard file, signature 50000 */
#define FMT_COLORFAX   9   /* colour fax set description (profile file) */
#define FMT_TEXT       10  /* plain text with CR LF line ends */
#define FMT_CALS       12  /* CALS raster ("srcdocid:") */
#define FMT_JPEG       13  /* bytes FF D8 */
#define FMT_PNG        14  /* "PNG" at bytes 1..3 */
#define FMT_EMF        15  /* enhanced metafile (" EMF" at offset 40) */

/* Status values RotateDIB stores in its error cell (outside the IMGERR_
   message table). */
#define ROTATE_OK              0
#define ROTATE_ERR_COMPRESSED  500  /* biCompression is not 0 */
#define ROTATE_ERR_SIZE        501  /* width or height is 0 */
#define ROTATE_ERR_NOMEMORY    503  /* result block not allocated (after a retry) */
#define ROTATE_ERR_LOCK        505  /* source or result block not lockable */
#define ROTATE_ERR_PARAMETER   506  /* null handle, or biSize is not 40 */

/* Values CombineBMP / CombineDIB store directly in the module code
   (no message text exists for them). */
#define COMBINE_ERR_MASKSIZE   501  /* mask size differs from source size */
#define COMBINE_ERR_NOMEMORY   504  /* destination copy not allocated */
#define COMBINE_ERR_LOCK       505  /* source or new copy not lockable */
#define COMBINE_ERR_NOSOURCE   506  /* source handle is null */
#define COMBINE_ERR_DUPLICATE  507  /* source bitmap could not be duplicated */
#define COMBINE_ERR_COMPRESSED 508  /* compressed source when a copy is made */
#define COMBINE_ERR_TOBITMAP   510  /* DIB to device bitmap conversion failed */

/* A zoom ratio: x scale = xMul / xDiv, y scale = yMul / yDiv.
   Same layout as the four-integer zoom arrays the display calls take. */
typedef struct VXZOOMRATIO {
    LONG xMul;   /* offset 0 */
    LONG xDiv;   /* offset 4 */
    LONG yMul;   /* offset 8 */
    LONG yDiv;   /* offset 12 */
} VXZOOMRATIO;   /* 16 bytes */

/* Display flags (VXDISPLAYSTATE.flags, and the flags/mode arguments of the
   display, scrolling-view and print-layout calls). */
#define DISPLAY_ZOOMED      0x0004u /* set when a rubber-band zoom was applied;
                                       the scrolling view sets it when it had
                                       to drop DISPLAY_TRUESIZE */
#define DISPLAY_FIT         0x0008u /* fit to the client area, aspect kept */
#define DISPLAY_INVERT      0x0020u /* draw inverted (NOTSRCCOPY) */
#define DISPLAY_TRUESIZE    0x0040u /* scale by device dpi / image dpi */
#define DISPLAY_CENTER      0x0080u /* centre an image smaller than the client */
#define DISPLAY_STRETCH     0x0100u /* fill the client area, aspect not kept */
#define DISPLAY_NOVSCROLL   0x0200u /* never show the vertical scroll bar */
#define DISPLAY_NOHSCROLL   0x0400u /* never show the horizontal scroll bar */
#define DISPLAY_MAKEBITMAP  0x0800u /* DisplayDIBStart only: draw through a
                                       device bitmap; cleared once made */

/* Bits of VXDISPLAYSTATE.owned. */
#define DISPLAY_OWNS_BITMAP   0x1   /* engine made `bitmap` and deletes it */
#define DISPLAY_OWNS_PALETTE  0x2   /* engine made `palette` and deletes it */

/* Display state record: one per window, allocated by the application,
   cleared by DisplayWmCreate and passed to every Display... call.
   All integer fields are 32-bit; offsets are given for 32-bit Windows
   (4-byte handles) and, after "x64:", for 64-bit builds (8-byte handles). */
typedef struct VXDISPLAYSTATE {
    POINT       originLogical;  /*   0: device (0,0) in logical units (x 0, y 4) */
    POINT       originDevice;   /*   8: logical (0,0) in device units (x 8, y 12) */
    DWORD       flags;          /*  16: DISPLAY_... flags */
    LONG        hMin;           /*  20: horizontal scroll minimum, -1 = no scrolling */
    LONG        vMin;           /*  24: vertical scroll minimum, -1 = no scrolling */
    LONG        hMax;           /*  28: horizontal scroll maximum */
    LONG        vMax;           /*  32: vertical scroll maximum */
    LONG        scrollX;        /*  36: scroll position, device pixels */
    LONG        scrollY;        /*  40 */
    VXZOOMRATIO zoom;           /*  44: xMul 44, xDiv 48, yMul 52, yDiv 56 */
    LONG        centreX;        /*  60: centring offset, <= 0 when image is smaller */
    LONG        centreY;        /*  64 */
    LONG        imageWidth;     /*  68: pixels */
    LONG        imageHeight;    /*  72 */
    LONG        bitsPerPixel;   /*  76 */
    RECT        client;         /*  80: left 80, top 84, right 88, bottom 92 */
    LONG        windowOrgX;     /*  96: window origin of the last full mapping */
    LONG        windowOrgY;     /* 100 */
    LONG        deviceDpiX;     /* 104: window device, logical pixels per inch */
    LONG        deviceDpiY;     /* 108 */
    LONG        imageDpiX;      /* 112: image dots per inch */
    LONG        imageDpiY;      /* 116 */
    HPALETTE    palette;        /* 120 (x64: 120), or NULL */
    HDIB        dib;            /* 124 (x64: 128), or NULL */
    HBITMAP     bitmap;         /* 128 (x64: 136), or NULL */
    LONG        owned;          /* 132 (x64: 144): DISPLAY_OWNS_... bits */
    LONG        reserved[8];    /* 136..167 (x64: 148..179): spare room, cleared
                                   by DisplayWmCreate, unused */
} VXDISPLAYSTATE;   /* 168 bytes on 32-bit Windows; 184 on 64-bit builds */

/* View record of the scrolling DIB view (DisplayCPP...) and of the
   stateless DisplayImage / DisplayDIBImage painters. */
typedef struct VXVIEW {
    LONG x;    /* 0: horizontal scroll position in image pixels; -1 = dx holds
                     a position in hundredths of an inch */
    LONG y;    /* 4: the same vertically */
    LONG dx;   /* 8: pending horizontal move: device pixels when x >= 0,
                     hundredths of an inch when x < 0; cleared by the layout */
    LONG dy;   /* 12: the same vertically */
} VXVIEW;      /* 16 bytes */

/* Rubber-band zoom commands (VXBZOOM.mode and the mode argument of
   BZoomStart / BZoomStep). The codes carry the drag bit BZOOM_DRAG: a
   BZoomStart with one of them captures the mouse and tracks the band, and
   its BZoomEnd is a rectangle zoom when the end point lies 6 pixels or more
   from the start on both axes, else the command applied as a click
   (recentred on the end point). The same command without the drag bit (the
   code minus 0x10: 1 keep ... 5 fine out) makes a start that captures
   nothing, for a plain click. BZoomStep and BZoomScreenStep apply a command
   without the mouse whatever its drag bit: they store it without the bit,
   so the record's mode has BZOOM_DRAG exactly while a drag is under way. */
#define BZOOM_DRAG     0x10  /* a mouse drag is in progress (captures the mouse) */
#define BZOOM_KEEP     17    /* keep the zoom, recentre only */
#define BZOOM_STEPIN   18    /* next step of the zoom-in table */
#define BZOOM_STEPOUT  19    /* next step of the zoom-out table */
#define BZOOM_FINEIN   20    /* small increment in */
#define BZOOM_FINEOUT  21    /* small increment out */

/* Length of a scale-step table: entry 0 is the count (1..10), entries
   1..count the rising steps, entry 1 equal to the base. */
#define BZOOM_STEP_TABLE_LEN  11

/* Rubber-band zoom record, owned by the application, cleared by BZoomStart.
   All fields 32-bit signed. */
typedef struct VXBZOOM {
    LONG        mode;          /*  0: command in the low byte (with or without
                                      BZOOM_DRAG, which is set only while a
                                      drag is under way; BZoomEnd clears it) */
    VXZOOMRATIO newZoom;       /*  4: result: xMul 4, xDiv 8, yMul 12, yDiv 16 */
    LONG        newScrollX;    /* 20: logical point that becomes the view's top-left */
    LONG        newScrollY;    /* 24 */
    LONG        screenPoints;  /* 28: non-zero when points are screen coordinates */
    LONG        startX;        /* 32: band rectangle, client coordinates */
    LONG        startY;        /* 36 */
    LONG        endX;          /* 40 */
    LONG        endY;          /* 44 */
    VXZOOMRATIO curZoom;       /* 48: zoom before the command: 48, 52, 56, 60 */
    LONG        bandShown;     /* 64: 1 once the band has been drawn */
} VXBZOOM;   /* 68 bytes */

/* Screen view record of BZoomScreenEnd / BZoomScreenStep: an application's
   own view that keeps its zoom as floating-point factors (device pixels per
   image pixel) and scrolls in device pixels from 0. The zoom calls read the
   zoom, the image size and the scroll position, and write back the new zoom
   (xMul / xDiv, yMul / yDiv of the result), the new scroll position and the
   scroll maxima for the new zoom. */
typedef struct VXSCREENVIEW {
    double zoomX;        /*  0: in/out: horizontal zoom factor (<= 0: the
                                record's current zoom is taken instead) */
    double zoomY;        /*  8: in/out: vertical zoom factor */
    LONG   imageWidth;   /* 16: in: image size in pixels */
    LONG   imageHeight;  /* 20 */
    LONG   scrollX;      /* 24: in/out: scroll position, device pixels, >= 0 */
    LONG   scrollY;      /* 28 */
    LONG   hMax;         /* 32: out: horizontal scroll maximum, image width x
                                zoom - client width, 0 when the image fits */
    LONG   vMax;         /* 36: out: vertical scroll maximum */
    LONG   reserved[6];  /* 40..63: spare, keep zero */
} VXSCREENVIEW;   /* 64 bytes */

/* Print options block: ten 32-bit integers, read and written back by the
   print calls and filled by the print dialog. Pass NULL for the defaults
   (VXPRINTOPTIONS_DEFAULTS). */
typedef struct VXPRINTOPTIONS {
    int showPrintDialog;    /*  0 [0]: no printer DC given: 1 = print dialog,
                                       0 = default printer (default 1) */
    int centreVertically;   /*  4 [1]: default 1 */
    int centreHorizontally; /*  8 [2]: default 1 */
    int fitToPage;          /* 12 [3]: fit keeping the aspect (default 1) */
    int copies;             /* 16 [4]: page passes per image (default 1) */
    int useMemoryDC;        /* 20 [5]: draw through a printer-compatible memory
                                       DC on colour printers (default 0) */
    int stretchToPage;      /* 24 [6]: fill the page, aspect lost (default 0) */
    int printAllPages;      /* 28 [7]: show "Page: n / total" (default 1) */
    int useImageDpi;        /* 32 [8]: use the image's resolution (default 1) */
    int noCancelBox;        /* 36 [9]: 1 = no cancel box, no abort procedure
                                       (default 0) */
} VXPRINTOPTIONS;   /* 40 bytes */

#define VXPRINTOPTIONS_DEFAULTS { 1, 1, 1, 1, 1, 0, 0, 1, 1, 0 }

/* ------------------------------------------------------------------------ */
/* DIBs, device bitmaps and palettes                                        */
/* ------------------------------------------------------------------------ */

/* Makes a device bitmap from a DIB (monochrome when the DIB is 1-bit),
   realising the DIB's own palette. Returns NULL on failure; a failed
   CreateDIBitmap sets IMGERR_CREATEBITMAP in the module code, a null handle,
   a block that cannot be locked or a missing DC sets nothing. Decided here: a
   block shorter than its header, colour table and rows (biSizeImage bytes for
   RLE) is refused with IMGERR_CREATEBITMAP before GDI reads it, and so is a
   negative width (as Windows' CreateDIBitmap refuses it). A DIB without width
   or height gives GDI's answer: its 1 x 1 monochrome default bitmap. */
VXAPI HBITMAP VXCALL ConvertDIBToBitmap(HDIB dib);

/* Makes a DIB (1, 4, 8 or 24 bits) from a device bitmap, one scan line at a
   time: 40-byte header, 2^depth colours below 24 bits, 10 zero bytes after
   the rows. `palette` may be NULL: the display's palette or a default table is
   used. Each GetDIBits call is given the DIB's own header, so GDI rewrites the
   colour table with its own colours and sets biClrUsed to 0. Returns NULL on
   failure (a handle that is not a bitmap, a DIB of 2^32 bytes or more, no
   memory) without a code. Without a palette on a display that has none (true
   colour), the look-up of the display palette leaves IMGERR_CREATEPALETTE in
   the module code, as GetCurrentPalette does, although the DIB is made. */
VXAPI HDIB VXCALL ConvertBitmapToDIB(HBITMAP bitmap, HPALETTE palette);

/* Returns a new 1-bit device bitmap of the same size, each pixel mapped to
   black or white. NULL on failure: IMGERR_PARAMETER (null bitmap; decided
   here: any handle that is not a bitmap) or IMGERR_NOMEMORY in the module
   code. */
VXAPI HBITMAP VXCALL ConvertToMonochromeBitmap(HBITMAP bitmap);

/* Returns a copy of a device bitmap. NULL on failure: IMGERR_NOMEMORY or
   IMGERR_COPYBITS in the module code (decided here: IMGERR_COPYBITS for a
   handle that is not a bitmap, where the classic library answered the stock
   1 x 1 bitmap). */
VXAPI HBITMAP VXCALL DuplicateBitmap(HBITMAP bitmap);

/* Returns a logical palette holding the display's current system palette;
   the caller deletes it. NULL on failure: IMGERR_CREATEDC or
   IMGERR_CREATEPALETTE in the module code. */
VXAPI HPALETTE VXCALL GetCurrentPalette(void);

/* Fills `table` with the display's palette colours (SIZEPALETTE entries,
   normally 256; the caller provides the room). Returns TRUE, or FALSE when
   the display has no palette or table is NULL; sets no error code. */
VXAPI BOOL VXCALL GetSystemPalette(RGBQUAD *table);

/* Turns, flips and the negative of a device bitmap. Each takes a bitmap and
   returns a new one owned by the caller (DeleteObject); the source is left
   untouched. They go through the bridge: ConvertBitmapToDIB without a
   palette, the DIB operation of the same name (RotateDIB90, RotateDIB180,
   RotateDIB270, FlipDIBVertical, FlipDIBHorizontal), ConvertDIBToBitmap. So a
   bitmap turns exactly as its DIB does (RotateBitmap270 keeps RotateDIB270's
   one-column shift), a monochrome bitmap gives a monochrome bitmap and any
   other depth a bitmap of the display's format.
   InvertBitmap gives the photographic negative (255 - c in red, green and
   blue): the colour table of a 1-, 4- or 8-bit DIB is inverted, so every
   pixel's colour is inverted exactly and a monochrome bitmap has every bit
   complemented; the bytes of a 24-bit DIB's pixels are complemented.
   NULL on failure, with the module code: IMGERR_BITMAPPARAMS (not a bitmap:
   null, deleted or another object), IMGERR_COPYBITS (no DIB could be made),
   IMGERR_NOMEMORY (no turned DIB), IMGERR_CREATEBITMAP (no new bitmap). On
   success the module code is left as it was. */
VXAPI HBITMAP VXCALL RotateBitmap90(HBITMAP bitmap);
VXAPI HBITMAP VXCALL RotateBitmap180(HBITMAP bitmap);
VXAPI HBITMAP VXCALL RotateBitmap270(HBITMAP bitmap);
VXAPI HBITMAP VXCALL FlipBitmapVertical(HBITMAP bitmap);
VXAPI HBITMAP VXCALL FlipBitmapHorizontal(HBITMAP bitmap);
VXAPI HBITMAP VXCALL InvertBitmap(HBITMAP bitmap);

/* ------------------------------------------------------------------------ */
/* Geometry: quarter turns and flips                                         */
/* ------------------------------------------------------------------------ */

/* The five orthogonal transforms below share these rules.
   - The source is left unchanged; the result is a new zero-filled block of
     40 + PaletteSize + (new stride x new height) + 4 bytes, owned by the
     caller. Its first 40 + PaletteSize bytes are copied from the source.
   - The header is taken as 40 bytes whatever biSize says: the pixels are
     read at 40 + PaletteSize. biCompression is not examined.
   - Strides come from biPlanes x biBitCount; pixels are moved at biBitCount
     bits. 1, 4, 8 and 24 bits move pixels; any other depth gives a
     right-sized result whose pixels are all zero (FlipDIBVertical, which
     copies whole rows, excepted). Row padding of the result is zero.
   - No error code is ever set, on success or on failure.
   - NULL is returned, with nothing written, when: dib is NULL or cannot be
     locked; the block is shorter than 40 + PaletteSize + stride x biHeight
     bytes; biWidth or biHeight is negative; a row size would wrap
     (biWidth x biPlanes x biBitCount + 31, or for the quarter turns the
     same with biHeight, above 2^32 - 1); biPlanes is 0 while biBitCount is
     1, 4, 8 or 24 and the image is not empty (rows of no bytes that are
     said to hold pixels; FlipDIBVertical, which only copies rows, accepts
     it); the result would need more than 2^32 - 1 bytes; or the allocation
     fails. */

/* Quarter turn clockwise: source row y becomes result column y, source
   column W-1-k becomes result row k (the top row becomes the right-hand
   column). biWidth and biHeight swap, so do biXPelsPerMeter and
   biYPelsPerMeter; biSizeImage = new stride x source width. */
VXAPI HDIB VXCALL RotateDIB90(HDIB dib);

/* Quarter turn anticlockwise, landing one column in, as it always has:
   source row y goes to result column H-y (H = source height), so result
   column 0 stays zero and the bottom source row goes one pixel past the end
   of each result row -- into the row's padding when there is room,
   otherwise over the start of the next result row, and past the last row
   into the 4 bytes of slack that end the block. Header as RotateDIB90. */
VXAPI HDIB VXCALL RotateDIB270(HDIB dib);

/* Half turn: pixel (row r, column x) goes to (H-1-r, W-1-x). The header is
   copied unchanged. */
VXAPI HDIB VXCALL RotateDIB180(HDIB dib);

/* Rows in reverse order, each copied whole (padding included), at any
   depth. The header is copied unchanged. */
VXAPI HDIB VXCALL FlipDIBVertical(HDIB dib);

/* Each row mirrored left to right. The header is copied unchanged. */
VXAPI HDIB VXCALL FlipDIBHorizontal(HDIB dib);

/* ------------------------------------------------------------------------ */
/* Geometry: rotation by any angle and skew                                  */
/* ------------------------------------------------------------------------ */

/*
 * Turns a DIB by `angle` whole degrees about its centre (positive = counter-clockwise as
 * displayed) into a new DIB of even size large enough for the turned picture, nearest
 * neighbour; uncovered pixels are 0. W and H are the low 16 bits of biWidth and biHeight.
 * mode 0 walks the source in double precision, any other value (1 included) with the integer
 * walk. Resolution fields are blended by the angle: every non-zero multiple of 90 exchanges
 * them (360 too), 0 keeps them.
 * `status` (required) receives 0 on entry, then on failure: ROTATE_ERR_PARAMETER (null handle,
 * a block shorter than 40 bytes, biSize not 40), ROTATE_ERR_LOCK (source or result not
 * lockable), ROTATE_ERR_COMPRESSED (biCompression not 0), ROTATE_ERR_SIZE (W or H is 0, or the
 * block is too small for its colour table and H rows of the stride biWidth gives),
 * ROTATE_ERR_NOMEMORY (the result cannot be allocated after one retry; a result whose pixel
 * area would reach 2^32 bytes is refused this way). The module error code is never touched.
 * `corners` (8 ints, may be NULL) receives the turned corners (-W/2,-H/2), (W/2,-H/2),
 * (W/2,H/2), (-W/2,H/2) relative to the centre, truncated, before the result is allocated.
 * Decided here: a NULL `status` returns NULL and does nothing; depths other than 1, 4, 8 and
 * 24 get the enlarged canvas with header and colour table (biClrUsed entries, or none) and no
 * pixels; a status cell still non-zero at the end (one that shares memory with `corners`)
 * discards the result and returns NULL; on success the source block keeps the lock
 * RotateDIB took (one GlobalUnlock releases it), every failure unlocks it. Resolutions that
 * overflow the 32-bit arithmetic wrap, and a value out of the 32-bit range becomes
 * 0x80000000, as on x86.
 */
VXAPI HDIB VXCALL RotateDIB(HDIB dib, int angle, int mode, DWORD *status,
                            int *corners);

/*
 * Shears a DIB by |offset| whole pixels: direction non-zero = horizontal (rows move, result
 * |offset| wider), 0 = vertical (columns move, result |offset| taller); a positive offset
 * moves the top rows (horizontal) or right columns (vertical) furthest, a negative one the
 * bottom rows or left columns. 1-, 4-, 8- and 24-bit pixels move whole; other depths give a
 * blank image of the new size (colour table of biClrUsed entries, or none). Uncovered pixels
 * are 0. A horizontal shear copies each row's used bytes whole, padding bits included, and
 * with a bit remainder also stores the byte after them: into the next row's first byte when
 * the row fills its stride, dropped past the end of the block.
 * Clears the module code on entry; on failure returns NULL with the same code in the module
 * code and in *error: IMGERR_PARAMETER (null handle, a block shorter than 40 bytes, biSize
 * not 40), IMGERR_LOCKMEMORY (source or result not lockable), IMGERR_COMPRESSED,
 * IMGERR_DIBSIZE (width or height 0 or negative, or a block too small for its colour table
 * and rows), IMGERR_NOMEMORY (result not allocated; a result wider or taller than 2^31 - 1 or
 * with a pixel area of 2^32 bytes or more is refused this way). Success leaves *error alone.
 * `corners` (8 ints) is set once the size checks pass, before allocation, to
 * 0,0, W,0, W,H, 0,H with, for offset d: horizontal d > 0: [0] = d, [2] = W + d; horizontal
 * d <= 0: [6] = -d, [4] = W - d; vertical d > 0: [1] = [3] = d; vertical d <= 0:
 * [7] = [5] = H - d (values wrap to 32 bits).
 * Decided here: `error` and `corners` may be NULL (nothing is written through them); shifts
 * are computed without 32-bit overflow; on success the source block keeps the lock SkewDIB
 * took (one GlobalUnlock releases it), every failure unlocks it.
 */
VXAPI HDIB VXCALL SkewDIB(HDIB dib, int direction, int offset, DWORD *error,
                          int *corners);

/* ------------------------------------------------------------------------ */
/* Geometry: scaling and interactive zoom                                    */
/* ------------------------------------------------------------------------ */

/* Resamples a whole DIB to newWidth x newHeight (32-bit arguments, only the
   low 16 bits used, unsigned): 1-bit nearest neighbour (method ignored);
   4/8/24-bit bilinear (method 0) or cubic (any other method). The source is
   left unchanged; the result is a new block owned by the caller.
   Filtered results: the source's 40-byte header and colour table, biWidth,
   biHeight and biSizeImage set; 4/8-bit colours are mapped back to indices
   with GetNearestPaletteIndex in a palette of the colour table. The filters
   read the source's biWidth and biHeight as their low 16 bits (and its row
   stride from that width). 1-bit results: block of 40 + colour table +
   (newHeight + 1) x stride + 16 bytes, biSizeImage kept from the source.
   Returns NULL on failure; the checks, in order:
   - dib NULL: IMGERR_PARAMETER; the block cannot be locked: IMGERR_NOMEMORY;
   - a block under 40 bytes, or biSize below 40 or above the block's size:
     IMGERR_PARAMETER;
   - biBitCount not 1, 4, 8 or 24: IMGERR_HEADERBITCOUNT;
   - biCompression not BI_RGB: IMGERR_COMPRESSED;
   - a block shorter than its header, colour table and rows: IMGERR_PARAMETER;
   - 1-bit: a source width or height, or a requested size (after masking),
     below 1, or a failed allocation: NULL with the module code untouched;
   - 4/8/24-bit: a 16-bit source width or height of 0, a block shorter than
     the rows so read, or a requested width or height of 0 after masking
     (65536 included): IMGERR_PARAMETER; a result over 4 GiB, a failed
     allocation, or a palette that cannot be made: IMGERR_NOMEMORY.
   Success leaves the module code as it was. */
VXAPI HDIB VXCALL ScaleDIB(HDIB dib, int method, int newWidth, int newHeight);

/* Crops the rectangle (x, y, width, height) from a 4/8/24-bit DIB and
   magnifies it by xFactor and yFactor with ScaleDIB's filters: method 0
   bilinear, 1 cubic. The rectangle is counted from the top left of the
   picture and must lie inside the image (whose biWidth and biHeight are read
   as their low 16 bits); the crop is filtered as an image of its own, so its
   edge pixels are repeated outward (and the cubic filter sees black above its
   first stored row, its bottom row). The result, of the source's depth, header
   and colour table, is ((width x xFactor) & 0xFFFF) by
   ((height x yFactor) & 0xFFFF). 4/8-bit images are filtered as gray levels
   (the red component of each colour-table entry, taken to ascend; indices
   without an entry count as level 0) and mapped back to the nearest entry;
   24-bit images are filtered in their three colour planes, as ScaleDIB does.
   Returns NULL, never setting the module code, when: dib is NULL or cannot
   be locked; the block is under 40 bytes or shorter than its header, colour
   table and rows; biSize is below 40; biBitCount is not 4, 8 or 24;
   biCompression is not BI_RGB; method is neither 0 nor 1; x or y is
   negative, width or height below 1, or the rectangle passes the image's
   edge; a factor is below 1; a masked result size is 0; the result would
   pass 4 GiB, or an allocation fails. */
VXAPI HDIB VXCALL ScaleGrayDIB(HDIB dib, int x, int y, int width, int height,
                               int xFactor, int yFactor, int method);

/* Lets the user drag a rectangle from `start` (a mouse-message lParam:
   client x low 16 bits, y high 16 bits) and turns it into a percentage
   written to ratio[4] = {zoom, 100, zoom, 100}; ratio is read first as
   {xMul, xDiv, yMul, yDiv}. Runs a modal loop over the window's mouse
   messages (WM_MOUSEMOVE..WM_MBUTTONDBLCLK) that ends on WM_LBUTTONUP, with
   the cursor confined to the client area and the rectangle drawn inverted.
   zoom = floor(min(zx, zy) x 100), zx = (xMul / xDiv, 1 when xDiv is 0) x
   client width / rectangle width, zy likewise; each capped at 5 (an empty
   rectangle counts as the cap). When no more input can come (WaitMessage
   fails, as it does on Linux when the window's host has no input left, or
   the window is destroyed) the drag ends at the last position seen.
   Returns UpdateWindow's result after invalidating the client area with
   erase; FALSE with ratio untouched when hWnd or ratio is NULL or hWnd is
   not a window, and (after a beep) when the start point is outside the
   client area. */
VXAPI BOOL VXCALL Zoom(HWND hWnd, LPARAM start, int *ratio);

/* ------------------------------------------------------------------------ */
/* Tone: histogram and look-up tables                                        */
/* ------------------------------------------------------------------------ */

/*
 * Keeps a histogram of a 256 x 256 window of an 8-bit DIB: 256 unsigned 16-bit counters
 * (512 bytes), counter v = pixels of byte value v in the window, wrapping modulo 65536.
 * origin[2] = {x, y} is the window's requested top-left corner (x from the left, y from the
 * top row); it is clamped so that the window lies inside the image, or set to 0 where the
 * image is narrower or lower than 256. The last origin is one module-wide value: the same
 * origin again returns hHist at once, untouched (another image included, the histogram block
 * not even locked); a move of at most 128 pixels each way updates the counts by the strips
 * that leave and enter, from the stored origin whatever image it came from; larger moves
 * count afresh, clearing as many counters as the module's histogram size allows (none before
 * the first TABLE_CREATE, when the origin is (0, 0)).
 * mode TABLE_CREATE: a new zeroed 512-byte block; resets the stored origin to (-256, -256).
 * TABLE_COMPUTE: returns hHist. TABLE_FREE: frees hHist, returns NULL. Any other mode: NULL.
 * *error is set to 0 on entry and, on failure (NULL result), to the first of, in order:
 * creation not allocated IMGERR_NOMEMORY, not lockable IMGERR_LOCKMEMORY (block freed);
 * compute: hHist NULL, then dib NULL: IMGERR_PARAMETER; dib not lockable: IMGERR_LOCKMEMORY;
 * block under 40 bytes or biSize not 40: IMGERR_PARAMETER; biCompression not 0:
 * IMGERR_COMPRESSED; biBitCount not 8: IMGERR_BITCOUNT; biWidth or biHeight 0, a row wider
 * than the 32-bit stride arithmetic holds (biWidth * 8 + 31 > 2^32 - 1), or a block shorter
 * than 40 + colour table + stride * biHeight (rows counted when biHeight > 0):
 * IMGERR_DIBSIZE; origin NULL: IMGERR_PARAMETER; hHist not lockable: IMGERR_LOCKMEMORY;
 * hHist under 512 bytes: IMGERR_PARAMETER. A failure changes neither the counters nor the
 * stored origin. The module error code is never touched.
 * Decided here: error may be NULL (the call works, nothing is reported). Strips that the
 * stored origin of another image places outside this one read their bytes where the row
 * arithmetic puts them inside the block, and 0 outside it. Origins are compared in 64 bits.
 */
VXAPI HGLOBAL VXCALL ComputeHistogram(HDIB dib, int mode, HGLOBAL hHist,
                                      int *origin, DWORD *error);

/*
 * Tone table: 256 bytes, entry i = output level of input level i.
 * mode TABLE_CREATE: a new identity table; sets the module's LUT length to 256.
 * TABLE_COMPUTE: fills LUT-length entries of hLut (none before the first TABLE_CREATE) and
 * returns hLut: with m the histogram's mean level (sum(i * count[i]) / sum(count[i]) in
 * unsigned 32-bit arithmetic, low byte kept), or 128 when hHist is NULL or not lockable,
 * entry i = trunc((i * (contrast + 255) - contrast * m) * 0.00392156862745098 + brightness)
 * clamped to 0..255, the two integer products in wrapping 32-bit arithmetic, the rest in
 * double, a value outside the 32-bit range converting to INT32_MIN (so 0). contrast 0 shifts
 * by brightness; -255 gives the constant m + brightness, clamped.
 * TABLE_FREE: frees hLut and returns the handle it was given. Any other mode: NULL.
 * *error is set to 0 on entry and, on failure (NULL result), to: creation not allocated
 * IMGERR_NOMEMORY, not lockable IMGERR_LOCKMEMORY (block freed); compute, in order: hLut
 * NULL: IMGERR_PARAMETER; hHist lockable but under 512 bytes: IMGERR_PARAMETER; hLut not
 * lockable: IMGERR_LOCKMEMORY; hLut shorter than the LUT length: IMGERR_PARAMETER (nothing
 * written). The module error code is never touched.
 * Decided here: a histogram whose counters total 0 (a new one, or a full window of one value,
 * which wraps to 0) pivots on 128 like a missing one, with *error 0; error may be NULL.
 */
VXAPI HGLOBAL VXCALL ComputeLUT(HGLOBAL hHist, int mode, HGLOBAL hLut,
                                int contrast, int brightness, DWORD *error);

/*
 * Maps an 8-bit DIB through a tone table into a gray image: map[k] = LUT[(blue + green +
 * red + 1) / 3] of colour-table entry k, read for all 256 entries whatever biClrUsed says;
 * the table is then overwritten by 256 entries (i, i, i, 0) from offset 40, and each of the
 * biWidth pixels of each of the biHeight rows (none when biHeight < 0) becomes map[pixel];
 * padding is not written. newDib 0: in place, returns dib. Otherwise dib is left unchanged
 * and a new block of 40 + (biClrUsed * 4, or 1024) + (biSizeImage, or stride * biHeight)
 * bytes, computed in wrapping 32-bit arithmetic, gets the 40 header bytes unchanged, the ramp
 * and the pixels at 40 + table bytes. With biClrUsed below 256 the ramp runs over the first
 * pixel bytes (in place those bytes are then mapped as pixels; a new DIB's mapped pixels
 * cover them).
 * *error is set to 0 on entry and, on failure (NULL result, dib unchanged and unlocked), to
 * the first of: dib NULL, then hLut NULL: IMGERR_PARAMETER; dib not lockable:
 * IMGERR_LOCKMEMORY; then the image checks of ComputeHistogram (IMGERR_PARAMETER,
 * IMGERR_COMPRESSED, IMGERR_BITCOUNT, IMGERR_DIBSIZE); hLut not lockable: IMGERR_LOCKMEMORY;
 * hLut under 256 bytes: IMGERR_PARAMETER; new block not allocated after a second try (or its
 * 32-bit size 2^31 or more, which only a wrapped size reaches): IMGERR_NOMEMORY; not
 * lockable: IMGERR_LOCKMEMORY; the 512-byte working block not allocated after a second try:
 * IMGERR_NOMEMORY, not lockable: IMGERR_LOCKMEMORY. The module error code is never touched.
 * Decided here: the 256-entry table read and ramp write are kept, bounded only by the block:
 * table bytes beyond it read as 0, ramp bytes and pixels beyond it (a new block sized
 * smaller by biSizeImage) are dropped. error may be NULL.
 */
VXAPI HDIB VXCALL ApplyLUT(HDIB dib, HGLOBAL hLut, BOOL newDib, DWORD *error);

/* ------------------------------------------------------------------------ */
/* Tone: grayscale conversion                                                */
/* ------------------------------------------------------------------------ */

/*
 * Converts a 1-, 4-, 8- or 24-bit DIB to gray, into a new DIB. weighted non-zero: luminance
 * (3 blue + 15 green + 8 red) / 26, else (blue + green + red) / 3, both truncated.
 *  - 4/8-bit: pixel bytes kept (4-bit stays 4-bit with 16 entries, 8-bit gets 256); each of
 *    the biClrUsed (else 16/256) source colours becomes (g, g, g, 0), later entries 0; source
 *    colours past the result's table are not seen.
 *  - 24-bit: 8-bit with the ascending gray ramp, one luminance byte per pixel.
 *  - 1-bit: 8-bit with the ascending ramp; the 1-bits (whatever the colour table says) are
 *    rendered by monoMode: 0 expansion to 0/255, 1 3x3 spread, 2 5x5 spread (2 falls back
 *    to 0 below 4 rows and to 1 at 4 and 5 rows). A spread's result row i is centred on
 *    source row i - 1 (i - 2), rows below 0 counting as row 0. The expansion writes 8 bytes
 *    per source byte, so padding bits show as 0/255 in the row padding, and those of the
 *    last row in the block's slack.
 * Result header: the source's, with biBitCount 4 or 8, biClrUsed 16 or 256, biSizeImage =
 * new stride x biHeight. 1- and 24-bit results carry ((biWidth x 40 + 155) / 32) x 4 bytes
 * (32-bit arithmetic) of slack after the pixels.
 * Clears the module code; on failure returns NULL with, in this order: dib NULL:
 * IMGERR_PARAMETER; not lockable: IMGERR_LOCKMEMORY; a block under 40 bytes or biSize not 40:
 * IMGERR_PARAMETER; biCompression not 0: IMGERR_COMPRESSED; biWidth 0, then biHeight 0:
 * IMGERR_DIBSIZE; 1-bit with monoMode outside 0..2 (monoMode is ignored at other depths):
 * IMGERR_PARAMETER. Decided here: any depth other than 1, 4, 8, 24: IMGERR_BITCOUNT; a
 * negative width or height, or a block shorter than header, colour table and rows:
 * IMGERR_DIBSIZE; a result of 2^32 bytes or more: IMGERR_NOMEMORY. Then the result (and for
 * the spreads their working block): IMGERR_NOMEMORY, or IMGERR_LOCKMEMORY when not lockable.
 * On success the source keeps the lock taken on it (one GlobalUnlock releases it), as it
 * always has; every failure unlocks it.
 */
VXAPI HDIB VXCALL ConvColorDIBtoGrayscale(HDIB dib, int monoMode,
                                          BOOL weighted);

/*
 * Renders a plain 1-bit DIB as 8-bit gray, counting its darker colour: the pixels of entry 0
 * when blue x green x red of entry 0 is below that of entry 1, else the 1-bits. Counted
 * pixels show dark through the descending ramp (entry i = 255 - i). `mode` as monoMode of
 * ConvColorDIBtoGrayscale, with the same fallbacks, row lag and padding behaviour.
 * Result: a fresh header (40, biWidth, biHeight, 1 plane, 8 bits, BI_RGB, biSizeImage,
 * resolutions copied, biClrUsed and biClrImportant 0) in a block of 1064 + biSizeImage +
 * ((biWidth x 40 + 155) / 32) x 4 bytes. The pixels are read 48 bytes into the block, after
 * two entries, whatever biClrUsed says; bytes this reads past the block's end count as 0.
 * Clears the module code; on failure returns NULL with, in this order: dib NULL:
 * IMGERR_PARAMETER; not lockable: IMGERR_LOCKMEMORY; a block under 40 bytes or biSize not 40:
 * IMGERR_PARAMETER; biPlanes not 1, biBitCount not 1 or biCompression not 0 (any image that
 * is not plain 1-bit): IMGERR_COMPRESSED; biWidth or biHeight 0: IMGERR_DIBSIZE; mode outside
 * 0..2: IMGERR_PARAMETER. Decided here: a negative width or height, or a block shorter than
 * the header, biClrUsed (else 2) entries and the rows: IMGERR_DIBSIZE; a result of 2^32 bytes
 * or more: IMGERR_NOMEMORY. Then allocation and lock failures as for ConvColorDIBtoGrayscale.
 * The source is unlocked on every return.
 */
VXAPI HDIB VXCALL ConvMonoDIBtoGrayscale(HDIB dib, int mode);

/* ------------------------------------------------------------------------ */
/* Tone: convolution filters                                                 */
/* ------------------------------------------------------------------------ */

/*
 * Filters an 8-bit DIB with an n x n kernel, n = `size` 3..7, the pixel bytes read as gray
 * levels. newDib 0 filters in place and returns dib; non-zero returns a new DIB.
 *
 * Kernels. type 1: `kernel` holds n*n weights and a divisor (32-bit); type 2: the file
 * `kernelFile` holds the same entries, little-endian, read from its start (a file shorter than
 * n*n*4 + 4 bytes, or empty, is read as far as it goes and the missing entries are 0; bytes
 * after the kernel are ignored). Entry i*n + j is matrix row j, column i, and output pixel
 * (y, x) = sum of m[a][b] * pixel(y + n/2 - a, x + n/2 - b), y and x counted in stored rows
 * (bottom up) and columns: a reflected convolution, with the outermost rows and columns
 * repeated beyond the image for every kernel size (the two outermost columns of 5 x 5 and
 * larger kernels included). Weights must satisfy |w| <= 127 with the positive weights summing
 * to at most 127 and the negative ones to at least -127. Divisor 0 becomes (positive sum -
 * negative magnitude sum), or 1 when that is 0; a negative divisor is negated together with
 * every weight (INT_MIN stays negative, and every quotient is then 0).
 * Built-in kernels (divisor, then weights):
 *   3 mean, any size: n*n; all weights 1.
 *   4 smoothing: n 3: 16; 1 2 1 / 2 4 2 / 1 2 1. n 4: 64; the binomial 1 3 3 1 x 1 3 3 1.
 *     n 5: 44; 0 1 1 1 0 / 1 2 4 2 1 / 1 4 8 4 1 / 1 2 4 2 1 / 0 1 1 1 0.
 *   5 sharpening, n 3..5: 1; the type 4 weights negated, except the centre, which is 1 plus
 *     their sum: 13 (n 3), 56 (n 4), 37 (n 5).
 *   6 sharpening, n 3..5: 1; every weight -1 except the centre, n*n (9, 16, 25).
 * The centre of a 4 x 4 kernel is matrix cell (2, 2), the one that meets the pixel itself.
 * Sizes 6 and 7 exist for types 1 and 3 only.
 *
 * Each sum is clamped to 0..255 first when the kernel has both positive and negative weights
 * (types 1, 2) or sharpens (5, 6); it is then shifted right for the divisors 1, 2, 4 .. 64
 * (negative sums round down) or divided truncating toward zero, and its low 8 bits are
 * stored (without the clamp a quotient above 255 wraps).
 *
 * The colour table becomes 256 gray entries (i, i, i, 0) written after the header whatever
 * biClrUsed says: a shorter declared table is overrun into the pixel rows (in place, before
 * they are read), and nothing is written past the block. A new DIB is 40 + (biClrUsed * 4, or
 * 1024 when 0) + (biSizeImage, or stride * height when 0) bytes, zero-filled, with the 40
 * header bytes copied unchanged and its rows after the table; rows past a short biSizeImage
 * are dropped.
 *
 * Reports through *error only (set to IMGERR_SUCCESS on entry; the module code is never
 * touched), in this order: dib NULL: IMGERR_PARAMETER; not lockable: IMGERR_LOCKMEMORY; block
 * under 40 bytes or biSize not 40: IMGERR_PARAMETER; biCompression not 0: IMGERR_COMPRESSED;
 * biBitCount not 8: IMGERR_BITCOUNT; biWidth, then biHeight, 0 or negative, or a block smaller
 * than its header, table and rows: IMGERR_DIBSIZE; type outside 1..6, type 1 without kernel,
 * type 2 without kernelFile, size outside 3..7, size 6 or 7 with type other than 1 or 3, a
 * kernel file that cannot be opened, weights outside the limits: IMGERR_PARAMETER; working
 * rows or the new DIB not to be had: IMGERR_NOMEMORY. Every failure returns NULL with dib
 * unchanged and unlocked. A NULL error pointer is allowed: the call runs the same and reports
 * nothing.
 */
VXAPI HDIB VXCALL Convolve(HDIB dib, BOOL newDib, int type, int size,
                           LPCSTR kernelFile, const int *kernel, DWORD *error);

/*
 * Filters a 24-bit DIB through its brightness, keeping hue: each pixel's gray level, with
 * grayMode 1 (8 B + 15 G + 3 R) / 26 and with any other value (B + G + R) / 3, is filtered
 * as Convolve filters an 8-bit image (same built-in kernels, size rules, transposed caller
 * kernels, weight limits, divisor rules and edge repetition), but no sum is clamped before
 * its division. delta = filtered - gray (16-bit) is then added to the blue, green and red
 * bytes alike, each clamped to 0..255. newDib 0 filters in place and returns dib; non-zero
 * returns a new DIB.
 *
 * `type` is 16-bit (1..6) and `size` is read as its low 16 bits, signed (3..7). Caller kernels
 * have 16-bit entries: `kernel` holds n*n weights and a divisor; `kernelFile` the same,
 * little-endian, n*n*2 + 2 bytes read from its start; a shorter or empty file is read as far
 * as it goes, the rest being 0 (a file cut inside an entry keeps that entry's low byte). A
 * divisor of -32768 stays negative after negation, and every quotient is then 0. Type 4 with
 * size 4 uses the 4 x 4 binomial over 64.
 *
 * A new DIB is 40 + (biSizeImage, or stride * height when 0) bytes, zero-filled, with the 40
 * header bytes copied and the rows straight after them (a colour-table count in a 24-bit
 * header is copied but given no room); rows past a short biSizeImage are dropped. Source rows
 * are read after the header and its biClrUsed entries.
 *
 * Reports through *error only (0 on entry; the module code is never touched), in this order:
 * dib NULL: IMGERR_PARAMETER; not lockable: IMGERR_LOCKMEMORY; block under 40 bytes or biSize
 * not 40: IMGERR_PARAMETER; biCompression not 0: IMGERR_COMPRESSED; biBitCount not 24:
 * IMGERR_BITCOUNT; the low 16 bits of biWidth 0 (so 65536 is refused) or biHeight 0, a
 * negative width or height, or a block smaller than its header, table and rows:
 * IMGERR_DIBSIZE; type outside 1..6, type 2 without kernelFile, type 1 without kernel, size
 * outside 3..7, size 6 or 7 with type other than 1 or 3, a kernel file that cannot be opened,
 * weights outside the limits: IMGERR_PARAMETER; working rows or the new DIB not to be had
 * (the new DIB is tried twice): IMGERR_NOMEMORY. Every failure returns NULL with dib
 * unchanged and unlocked. A NULL error pointer is allowed: the call runs the same and reports
 * nothing.
 */
VXAPI HDIB VXCALL ColorConvolution(HDIB dib, BOOL newDib, int grayMode,
                                   short type, int size, LPCSTR kernelFile,
                                   const short *kernel, DWORD *error);

/* ------------------------------------------------------------------------ */
/* Tone: depth conversion, combining, brightness and contrast                */
/* ------------------------------------------------------------------------ */

/*
 * Expands a DIB of one byte per pixel (8-bit, or any depth but 1, 4 and 24, each read one
 * byte per pixel with its own stride) to 24 bits through its colour table, read at offset 40
 * and indexed without a bound: indices past the table read what follows it, and 0 past the
 * block. Arithmetic is 16-bit: width, height and colour count are the low halves of biWidth,
 * biHeight and biClrUsed, signed (a count of 0 means 256; the pixels follow that many
 * entries); both strides keep their low 16 bits; a pixel's byte offset within its result row
 * is a signed 16-bit value, so rows longer than 32767 bytes wrap back over earlier rows (from
 * the first row, over the header). Writes outside the block are dropped; source bytes past
 * its block read as 0.
 * Result: the source header with biPlanes 1, biBitCount 24, biSizeImage = height x stride,
 * biClrUsed and biClrImportant 0, biWidth and biHeight as stored; no colour table; the
 * allocation is tried twice.
 * Clears the module code; on failure returns NULL with, in this order: dib NULL:
 * IMGERR_PARAMETER; not lockable: IMGERR_LOCKMEMORY; a block under 40 bytes or biSize not 40:
 * IMGERR_PARAMETER; compressed: IMGERR_COMPRESSED; 1 or 4 bits: IMGERR_BITCOUNT; 24 bits: 31
 * (beyond the message table); 16-bit width or height 0: IMGERR_DIBSIZE. Decided here: a
 * negative 16-bit width, height or colour count, or a block shorter than 40 + 4 x count +
 * height x source stride: IMGERR_DIBSIZE. Then IMGERR_NOMEMORY, or IMGERR_LOCKMEMORY when the
 * result cannot be locked. On success the source keeps its lock; every failure unlocks it.
 */
VXAPI HDIB VXCALL Convert8to24(HDIB dib);

/* Pastes device bitmap hSrc into *phDest at (x, y): opaque, or OR'ed when
   altMode is set; with hMask, white mask pixels let the source through
   (altMode: XOR instead). hSrc and a 1-bit mask are left modified. A NULL
   *phDest receives a copy of hSrc (result TRUE). Without a mask the blit has
   the destination's size and GDI clips it to the source, so the destination
   beyond a smaller source stays as it was. Failure: FALSE, with a
   COMBINE_ERR_ value stored in the module code, or the raster operations'
   FALSE without a code. Decided here: a NULL phDest gives IMGERR_PARAMETER;
   a source or destination that cannot be selected into a DC (not a bitmap,
   deleted, selected into another DC) gives FALSE without a code before any
   drawing. */
VXAPI BOOL VXCALL CombineBMP(int x, int y, HBITMAP *phDest, HBITMAP hSrc,
                             HBITMAP hMask, BOOL altMode);

/* CombineBMP for DIBs: converts to device bitmaps, pastes, and reads the
   result back into *phDest's own block with GetDIBits and the DIB's own
   header (GDI rewrites its colour table and sets biClrUsed to 0; on a
   true-colour display the palette look-ups leave IMGERR_CREATEPALETTE in the
   module code). A NULL *phDest receives a copy of hSrc: header, 4 x colours
   and biSizeImage bytes (result TRUE). Failure: FALSE, COMBINE_ERR_ value in
   the module code. Decided here: a NULL phDest gives IMGERR_PARAMETER; a
   source to copy whose block is shorter than that copy gives
   IMGERR_DIBSIZE; the read-back never writes outside the block. */
VXAPI BOOL VXCALL CombineDIB(int x, int y, HDIB *phDest, HDIB hSrc,
                             HDIB hMask, BOOL altMode);

/*
 * Applies brightness b and contrast c (percent, -100..100; 32-bit arguments read as signed
 * 16-bit) through one level table, into a new DIB: p = b x 128 / 100, q = c x 128 / 100
 * (truncated); level i becomes trunc(x x (c + 100) x 0.01 - q) clamped to 0..255, with
 * x = i + p clamped to 0..255 (computed exactly in integers; equal to the double-precision
 * arithmetic at every setting). 4/8-bit: blue, green and red of each of the biClrUsed (else
 * 16/256) entries mapped, the fourth byte and the pixels kept. 24-bit: 3 x biWidth bytes
 * mapped in each of biHeight rows, rows advancing by the 24-bit stride kept to 16 bits (so
 * they overlap past 21844 pixels), padding 0, bytes past the result's pixel area dropped.
 * Other depths: header and table copied, pixels 0. Block: 40 + 4 x count + image bytes
 * (biSizeImage, or when 0 stride x biHeight, which the result's header then carries); the
 * allocation is tried twice.
 * Clears the module code; on failure returns NULL with, in this order: dib NULL:
 * IMGERR_PARAMETER; not lockable: IMGERR_LOCKMEMORY; a block under 40 bytes or biSize not 40:
 * IMGERR_PARAMETER; compressed: IMGERR_COMPRESSED; 1 bit: IMGERR_BITCOUNT; biWidth or
 * biHeight 0 in its low 16 bits: IMGERR_DIBSIZE; b or c outside -100..100: IMGERR_PARAMETER.
 * Decided here: a negative biWidth or biHeight, a computed image size of 2^32 bytes or more,
 * or a block shorter than header, table and image bytes: IMGERR_DIBSIZE. Then
 * IMGERR_NOMEMORY, or IMGERR_LOCKMEMORY (the new block freed). On success the source keeps
 * its lock; every failure unlocks it.
 */
VXAPI HDIB VXCALL ColorBrightnessContrast(HDIB dib, int brightness,
                                          int contrast);

/* ------------------------------------------------------------------------ */
/* Dithering and halftoning                                                  */
/* ------------------------------------------------------------------------ */

/*
 * Floyd-Steinberg error diffusion of a 4-, 8- or 24-bit DIB into a new DIB of `depth` 1, 4 or 8
 * bits, below the source depth. Palettes: 1 bit black, white; 4 bits red 255 if bit 3, green if
 * bit 2, blue if bit 1 (bit 0 unused: results hold even indices only); 8 bits the 3-3-2 cube,
 * red (i / 32) x 36, green (i / 4 % 8) x 36, blue (i % 4) x 85. Rows are diffused bottom row
 * first, left to right, in 16-bit wrapping error rows; the next row is stored into, not added
 * to, and for 4- and 8-bit output every channel takes the red channel's vertical error.
 * The source is read for biWidth, biHeight, biBitCount and the resolutions only: biSize,
 * biCompression and biClrUsed are not looked at, the pixels follow the header and the full table
 * of the depth (16 or 256 entries), and a 24-bit row is read for the width rounded up to 4
 * pixels (bytes of the next row, or 0 past the block's end; those slots are never quantised).
 * Result: header 40, biWidth, biHeight, 1, depth, 0, stride x biHeight, the source's
 * resolutions, 2^depth, 0; the table; the pixels. Block: 40 + 4 x 2^depth + biSizeImage.
 * Clears the module code; IMGERR_SUCCESS on success. On failure returns NULL with, in this
 * order: depth not 1, 4 or 8: IMGERR_PARAMETER; dib NULL: IMGERR_PARAMETER; not lockable:
 * IMGERR_LOCKMEMORY; depth >= biBitCount, or biBitCount not 4, 8 or 24: IMGERR_DITHERPARAM with
 * the source left locked (one GlobalUnlock releases it). Decided here: a block under 40 bytes
 * (checked before the depths); then a width outside 1..32767 (the row counts are signed 16-bit),
 * a height below 1 (bottom-up DIBs only), or a block shorter than header, full table and rows:
 * IMGERR_PARAMETER, source unlocked. Working memory: the channel planes not had:
 * IMGERR_NOMEMORY, source unlocked; the output planes or error rows not had: IMGERR_NOMEMORY,
 * source left locked (one GlobalUnlock releases it); the result not had or not lockable (tried
 * once, after the source is unlocked): IMGERR_NOMEMORY. On success the source is unlocked.
 */
VXAPI HDIB VXCALL DitherFS4(HDIB dib, int depth);

/*
 * Jarvis-Judice-Ninke error diffusion (12 neighbours, / 48; current and next rows added to, the
 * row after next stored into), otherwise as DitherFS4 with these differences: 8-bit blue levels
 * run 0..4, and a blue level 4 is ORed into the green field (index bit 2); for 1-bit output the
 * first row's luminance is taken from slot P down to slot 1 (P the width rounded up to 4, or to
 * 8 for 4-bit sources), so its leftmost pixel is dithered from its red value (the walk's read one
 * byte past the channel planes reads 0, and its result lands in an unused plane); dib NULL gives
 * IMGERR_LOCKMEMORY and a block that cannot be locked IMGERR_NOMEMORY. Checks, decided
 * refusals, locks left behind and allocation outcomes as for DitherFS4.
 */
VXAPI HDIB VXCALL DitherJJN(HDIB dib, int depth);

/*
 * Block-redistribution dither of a 4-, 8- or 24-bit DIB into a new DIB of `depth` 1 (black and
 * white from the luminance (30 R + 59 G + 11 B) / 100) or 4 bits (eight colours, each channel on
 * its own; palette and pixel packing as DitherFS4). A 2 x 2 window slides along each pair of
 * rows; its sum, plus what the previous window carried, goes back to its four cells in units of
 * 255, brightest cell first (ties: the lowest index ranks first, the highest index last, and of
 * the middle two the lower index is second only if strictly greater), the next ranked cell
 * taking the remainder. The window's bottom-left cell gives the pixel (255 sets it) and, when
 * not 255, is carried whole to the next window; carries restart on every row. Row 0 is first
 * redistributed with itself. For 1-bit output the first row's luminance follows DitherJJN's rule
 * (its leftmost pixel starts from its red value). The last window of a row reaches one slot past
 * the width: the row's padding pixel (for 24 bits bytes of the padding and of the next row, 0
 * past the block's end), or, when the width is a multiple of 4 (of 8 for 4-bit sources), a spare
 * cell that starts at 0 and keeps what the last windows of earlier rows left there.
 * Source reading and result as DitherFS4. Clears the module code; IMGERR_SUCCESS on success.
 * On failure returns NULL with, in this order: depth not 1 or 4 (8 included):
 * IMGERR_PARAMETER; dib NULL: IMGERR_LOCKMEMORY; not lockable: IMGERR_NOMEMORY; depth >=
 * biBitCount, or biBitCount not 4, 8 or 24: IMGERR_DITHERPARAM with the source left locked (one
 * GlobalUnlock releases it). Decided refusals, locks left behind by allocation failures and
 * their codes as DitherFS4.
 */
VXAPI HDIB VXCALL DitherSmooth(HDIB dib, int depth);

/*
 * As DitherSmooth, except that the remainder carried from one window to the next is halved
 * (truncated) first.
 */
VXAPI HDIB VXCALL DitherSharp(HDIB dib, int depth);

/*
 * Makes a black-and-white 1-bit DIB from a 4/8/24-bit DIB. Each entry of the source's
 * L-entry rows (L = row stride in bytes, doubled for 4 bits) gets the level
 * (30 red + 59 green + 11 blue) / 100 + brightness (truncating; the sum in 32-bit wrapping
 * arithmetic), clamped to 0..255. Mode 0: white from 129 up. Mode 1: Jarvis-Judice-Ninke
 * diffusion in 32-bit integers, white where the value is above 128; shares (e x w) / 48
 * truncated, current row x+1, x+2 (7 5) and next row x-2..x+2 (3 5 7 5 3) added to, the row
 * after x-2..x+2 (1 3 5 3 1) stored into; a pixel with error 0 writes nothing, rows then
 * move up and the third is not cleared. Mode 2: white where the level is above
 * screen[y mod 16][x mod 16], the 4x4 seed {0 8 2 10 / 12 4 14 6 / 3 11 1 9 / 15 7 13 5}
 * doubled twice (new = 4 old + 0, 2, 3, 1 by quadrant). Rows are taken in memory order.
 * Pixels start at biSize + PaletteSize. 4/8-bit sources: pixel x of row y, through the
 * colour table read at offset biSize as RGBQUADs (every index is looked up there, even past
 * biClrUsed entries; bytes past the block read 0). 24-bit sources keep their row
 * displacement: output row y is made from entries y x L onwards of planes loaded with
 * P8 = (width rounded up to 4) pixels per source row at stride P8, so it shows source row
 * (y L) / P8 from pixel (y L) mod P8, runs into the next row, and past height x P8 entries
 * is the level of black; pixels past the width are read from the padding and the next row,
 * bytes past the block as 0. biCompression is not read; widths of 32768 and more are
 * handled like any other (64-bit row arithmetic).
 * Result: 40-byte header (width, height, both resolutions of the source; 1 plane, 1 bit,
 * biSizeImage = ((width + 31) / 32) x 4 x height, biClrUsed 2), table black then white, rows.
 * Failure: NULL and a code in the 16-bit *error cell (error may be NULL: nothing is
 * reported), in this order: dib NULL: 8; mode > 2: 8; not lockable: 1; biBitCount not 4, 8
 * or 24 (1, 16, 32 included): 8, and the source is left locked (one lock count, as always);
 * negative width or height: 8; width or height 0 (working planes of 0 bytes cannot be
 * locked) or planes (L x height) of 2^32 bytes or more: 1; a block shorter than biSize +
 * colour table + stride x height (a header past the block's end reads as 0): 8; error rows
 * (mode 1, 16 L + 420 bytes) or result of 2^32 bytes or more, or no memory: 1. Failures
 * after the depth check leave the source unlocked. The cell is not written on success and
 * the module error code is never read or written.
 */
VXAPI HDIB VXCALL Halftone(HDIB dib, WORD mode, int brightness, WORD *error);

/* ------------------------------------------------------------------------ */
/* File formats: detection and load/save dispatch                            */
/* ------------------------------------------------------------------------ */

/*
 * Returns the FMT_ code of a file from its first 512 bytes (read into a zeroed buffer) and,
 * for two formats, from other signs. Tests, first match wins: TIFF ("II"/"MM"), PCX (first
 * byte 0x0A, whatever follows), DCX, GIF ("GIF87a"/"GIF89a"), BMP, clipboard file (50000),
 * metafile (placeable magic, or the word at offset 2 equal to 9), enhanced metafile (" EMF"
 * at offset 40), colour fax set (GetNumberOfImagesInFaxFile >= 1), TGA (the name is at least
 * 3 characters long and ends in "tga" in any letter case - no dot needed), JPEG (FF D8), CALS
 * ("srcdocid:" found by a C-string search of the buffer, which stops at its first zero byte;
 * the buffer's last byte is zeroed for the search), text (every byte actually read, taken
 * unsigned, is 6 or above, and some CR at offsets 0-510 is followed by an LF), PNG ("PNG" at
 * bytes 1-3); else FMT_UNKNOWN. Code 11 is never returned.
 * Decided here: a file that cannot be opened (and a null name) is tested as 512 zero bytes of
 * which none were read - it matches nothing but the TGA name test - and the fax-set test
 * leaves IMGERR_OPENFILE in the module code for it. Otherwise the code is not changed.
 */
VXAPI int VXCALL GetImageFormat(LPCSTR fileName);

/*
 * Loads image `page` of a file into a new DIB by its GetImageFormat code: BMP through
 * LoadDIBFromFile; clipboard files (LoadClipboardFormat, format 8) and metafiles (codes 7 and
 * 15, LoadMetaFileIntoBitmap) through a
 * device bitmap converted with ConvertBitmapToDIB in the current palette (both GDI objects are
 * deleted; a null bitmap gives NULL at once); fax sets through LoadColorFaxPage; TIFF, PCX,
 * DCX, GIF, TGA, CALS, JPEG and PNG through their format modules (VXTIFR.DLL LoadTiffIntoDIB
 * (file, page, NULL), LoadCALSIntoDIB (file, NULL); VXPCXR.DLL LoadPCXIntoDIB (file, status),
 * LoadDCXIntoDIB (file, page, status); VXGIFR.DLL LoadGIFIntoDIB (file, page, status);
 * VXTGAR.DLL LoadTGAIntoDIB (file, NULL); VXJPGR.DLL LoadJPEGIntoDIB (file); VXPNGR.DLL
 * LoadPNGIntoDIB (file, status)), whose DIB is returned as it is. Codes 0, 10 and 11 set
 * IMGERR_FILEFORMAT and store 9 in *status.
 * Modules are loaded by file name for each call and freed after it (nothing is cached): on
 * Linux "NAME.DLL" is the shared object NAME.so, looked up beside the object holding the
 * library code (libvexora.so, or the program the static library is linked into), then on the
 * loader's path. A missing module shows "'NAME.DLL' module has not found (0)" with the caption
 * "VEXORA DLL"; a missing entry point "'Entry' function has not found in 'NAME.DLL' module"
 * with the caption "VEXORA-DLL"; both with style MB_TASKMODAL (8192) and no owner, and on
 * Linux through the message sink. The value in parentheses is what the load returned, which
 * is 0 on every current platform. The call then gives NULL and leaves the module code and
 * *status alone.
 * Decided here: a null status pointer is passed to the modules as it is and receives no 9.
 */
VXAPI HDIB VXCALL LoadImageIntoDIB(LPCSTR fileName, int page, int *status);

/*
 * Saves a DIB in format `format` and returns the writer's result (non-zero for success).
 * Codes outside 1-15 give 0 at once, without an error code; 9, 10, 11 and 14 (there is no
 * PNG writer) give 0 too. BMP goes to SaveDIB; metafiles (7, 15) and clipboard files (8) go
 * through ConvertDIBToBitmap (a null bitmap gives 0 at once) to the metafile writers
 * (SaveBitmapIntoMetaFile, SaveBitmapIntoEnhMetaFile), given the DC of the active window, or
 * to SaveClipboardFormat, and the bitmap is deleted. The
 * others go to their format modules, loaded and reported as for LoadImageIntoDIB, with the
 * module's result returned as it is (0 for a missing module or entry point):
 * VXTIFW.DLL SaveDIBInTiffFormat (file, dib, param, 1), SAVEDIBINCALSFORMAT (file, dib,
 * 0, 0, 0); VXPCXW.DLL SaveDIBInPCXFormat (file, dib, &copy); VXGIFW.DLL SaveDIBInGIFFormat
 * (file, dib, option, &copy); VXTGAW.DLL SaveDIBInTGAFormat (file, dib, param != 0, 1);
 * VXJPGW.DLL SaveDIBInJPEGFile (file, dib, 75). DCX: when the file does not exist (the C
 * runtime's access test, existence only; a null name counts as missing) VXPCXW.DLL
 * MakeDCXFile (file, &copy) is called first, its result ignored; then SaveDIBInDCXFormat
 * (file, dib, &copy). `copy` is the library's own copy of param: a module may change it, and
 * MakeDCXFile's change is what SaveDIBInDCXFormat sees, but it never reaches the caller.
 * Each module call loads and frees its module, so a new DCX file loads VXPCXW.DLL twice.
*/
VXAPI int VXCALL SaveDIBInImageFormat(LPCSTR fileName, HDIB dib, int format,
                                      int option, int param);

/* ------------------------------------------------------------------------ */
/* File formats: run-length compression                                      */
/* ------------------------------------------------------------------------ */

/*
 * Encodes an uncompressed 8-bit (RLE8) or 4-bit (RLE4) DIB into a new DIB of 40 + 4 * 2^bits
 * + L bytes: the first 40 + 4 * 2^bits bytes of the source (header and a full 256- or 16-entry
 * colour table, whatever biSize and biClrUsed say) with biCompression 1 or 2 and biSizeImage L,
 * then the L-byte stream. The source's rows are read at that same fixed offset. Rows are coded
 * bottom first, each ended by 0,0, the stream by 0,1; no deltas. Runs are at most 250 pixels
 * (RLE8) or 125 pixel pairs (RLE4); odd literal groups are padded with 0xFF. The encoders look
 * past a row's last pixel (RLE8 emits two pixels when one is left): those bytes are the row's
 * padding, the next row, or 0 past the end of the source block.
 * Decided here: when three 4-bit pixels are left and the row's next bytes start no run, the
 * four pixels written (two 2-pixel runs, or a literal group of two bytes) end the row, where
 * the historic count wrapped below zero and ran on; every other byte is as the algorithm
 * gives. The stream is built in working memory sized for the longest stream the rows can give
 * (2 * biWidth + 4 bytes per 8-bit row, biWidth + 3 per 4-bit row, 2 per row of width 0, plus
 * 2): the historic scratch size, (biHeight + 1) * stride * 2 + 2, is too small for some images
 * (width 0, or 8-bit rows of a width divisible by 4 that cost two bytes a pixel).
 * Checks, in order, each giving NULL and the code: null handle, a block that cannot be locked
 * or is shorter than 40 bytes, biCompression not 0, biBitCount not 8 or 4, a negative width or
 * height, a row size that does not fit 32 bits, or a block shorter than 40 + 4 * 2^bits +
 * stride * biHeight: IMGERR_PARAMETER. A stream whose longest possible size would not fit a
 * 32-bit block, working memory that cannot be had (decided here; the library never tested
 * its scratch block), or a result block that cannot be allocated or locked: IMGERR_NOMEMORY. Success sets
 * IMGERR_SUCCESS. The source is never changed.
 */
VXAPI HDIB VXCALL CompressDIB(HDIB dib);

/*
 * Decodes an RLE8 or RLE4 DIB into a new zero-filled DIB of 40 + 4 * 2^bits + stride * biHeight
 * bytes: the first 40 + 4 * 2^bits bytes of the source (header and full colour table) with
 * biCompression 0 and biSizeImage = stride * biHeight, then the rows. The stream is read from
 * that fixed offset to the end of the source block (biSizeImage only has to be non-zero), from
 * x = 0 on the bottom row; pixels it never reaches stay 0.
 * Codes: (n, v) run; 0,0 next row at x = 0; 0,1 end; 0,2,dx,dy move right and up; 0,n (n >= 3)
 * literal pixels, input padded to an even byte count. RLE8 runs and literal groups are cut at
 * the row's end and x returns to 0 on the same row when it reaches the width exactly, so later
 * codes before an end of line overwrite the row from column 0; when x lies right of the row
 * (after a delta) a run or group writes nothing and also brings x back to 0. RLE4 writes each
 * pixel only while x < width (x then stays, no wrap) and changes only that pixel's nibble.
 * Decided here, so that no stream can reach outside either block or loop forever: decoding
 * stops at the end-of-bitmap code, at the end of the source block (a stream without an end
 * code keeps what it decoded and succeeds), or once the row reaches biHeight (y only grows, so
 * nothing more could be written); a code or literal group cut by the end of the block reads
 * its missing bytes as 0; every code advances the input.
 * Checks, in order, each giving NULL and the code: null handle, a block that cannot be locked
 * or is shorter than 40 bytes, biCompression 0, 1 with biBitCount not 8, 2 with biBitCount not
 * 4, any other biCompression (decided here), biSizeImage 0, then (decided here) a block shorter
 * than 40 + 4 * 2^bits or a negative width or height: IMGERR_PARAMETER. A row size or result
 * size that does not fit 32 bits (decided here), or a result block that cannot be allocated or
 * locked: IMGERR_NOMEMORY. A width or height of 0 gives a result without rows. Success sets
 * IMGERR_SUCCESS. The source is never changed.
 */
VXAPI HDIB VXCALL ExpandCompressedDIB(HDIB dib);

/* ------------------------------------------------------------------------ */
/* File formats: clipboard files                                             */
/* ------------------------------------------------------------------------ */

/*
 * A clipboard file: the signature 50000, a 16-bit entry count, that many 89-byte directory
 * entries (16-bit clipboard format, 32-bit data length, 32-bit data offset from the start of
 * the file, 79-byte name), and the entries' data.
 *
 * LoadClipboardFormat reads the first entry of clipboard format `format` and answers: for
 * CF_DIB (8) a device bitmap made by ConvertDIBToBitmap; for CF_TEXT (1) the bitmap
 * LoadASCIIIntoBitmap renders of the text; for CF_METAFILEPICT (3) the picture's metafile
 * played by DrawMetaFileIntoBitmap(metafile, w, h, NULL), w x h from its mapping mode m and
 * extents X, Y at the screen's LOGPIXELSX/Y (dx, dy), each product truncated: MM_TEXT X x Y;
 * MM_LOMETRIC X*dx*0.003937007874015748; MM_HIMETRIC dx*0.0003937007874015748*X;
 * MM_LOENGLISH dx*0.01*X; MM_HIENGLISH X*dx*0.001; MM_TWIPS X*20 (the resolution is not
 * used); MM_ISOTROPIC -(X*dx) when X < 1, else as MM_HIMETRIC; MM_ANISOTROPIC 5*dx when X < 1,
 * else as MM_ISOTROPIC (the heights alike from Y and dy, the branch decided by X alone); other
 * modes 5*dx x 5*dy. For CF_BITMAP (2) it answers a new movable block holding the entry's raw
 * bytes (the caller frees it with GlobalFree).
 * Errors, in the order checked: the file cannot be opened -> IMGERR_OPENFILE; signature not
 * 50000 -> IMGERR_FILEFORMAT; empty directory, no entry of the format, or an entry of another
 * format than these four -> IMGERR_CLIPFORMATNOTFOUND; data not read whole -> IMGERR_IO; a
 * block cannot be allocated -> IMGERR_NOMEMORY. A metafile that cannot be made of the picture's
 * bits gives NULL with no code; the converters and renderers report their own codes.
 * Decided here: a directory cut short by the end of the file ends the search (not found); an
 * entry whose data would run past the end of the file, or whose offset is 2^31 or more, is a
 * short read (IMGERR_IO) refused before anything is allocated; a picture entry shorter than its
 * 16-byte header is a short read too; a picture too large for DrawMetaFileIntoBitmap's limit is
 * refused by it.
 */
VXAPI HANDLE VXCALL LoadClipboardFormat(LPCSTR fileName, WORD format);

/*
 * Writes a new clipboard file holding the bitmap as one CF_DIB entry: a 93-byte header
 * (signature, count 1, format 8, length = 40 + PaletteSize + biSizeImage of the DIB that
 * ConvertBitmapToDIB(bitmap, NULL) makes, offset 93, a zeroed name field), then the first
 * `length` bytes of that DIB. Returns TRUE; FALSE when the bitmap cannot be converted (no
 * code) or the file cannot be created (IMGERR_OPENFILE). Write results are not tested.
 */
VXAPI BOOL VXCALL SaveClipboardFormat(LPCSTR fileName, HBITMAP bitmap);

/* ------------------------------------------------------------------------ */
/* File formats: metafiles                                                   */
/* ------------------------------------------------------------------------ */

/*
 * Pictures between metafiles and device bitmaps. Every function reports through the module
 * code and leaves it alone on success. Bitmaps are made compatible with the reference DC (the
 * screen's when NULL), filled white, and the picture is played over them. No picture may be
 * larger than 2^28 pixels (a 1 GiB bitmap at 32 bits): larger ones are refused with
 * IMGERR_NOMEMORY before anything is made; a width or height below 1 gives
 * IMGERR_BITMAPPARAMS; a DC or bitmap that cannot be made, IMGERR_CREATEDC or
 * IMGERR_CREATEBITMAP.
 */

/*
 * Reads a metafile file and plays it into a new device bitmap of the screen. A placeable
 * Windows metafile (key 0x9AC6CDD7, 22-byte header) is as large as its bounding box at its
 * units per inch, taken to the screen's LOGPIXELSX/Y and truncated, and its box is the window
 * the picture is fitted through. A plain Windows metafile is as large as the extent of its
 * first SetWindowExt record (one unit a pixel), or 5 inches square at the screen's resolution
 * without one. An enhanced metafile is as large as its frame (hundredths of a millimetre) at
 * the screen's resolution, rounded, and is fitted to the bitmap by PlayEnhMetaFile.
 * Errors: NULL name or a file that cannot be opened -> IMGERR_OPENFILE; a file that cannot be
 * read whole -> IMGERR_IO; not a metafile, bits the graphics interface refuses, or a placeable
 * header with zero units per inch -> IMGERR_FILEFORMAT; the size limits above.
 */
VXAPI HBITMAP VXCALL LoadMetaFileIntoBitmap(LPCSTR fileName);

/*
 * Plays a Windows metafile into a new width x height device bitmap compatible with `reference`
 * (NULL: the screen, which is what the clipboard reader passes). The DC is in MM_ANISOTROPIC
 * with window and viewport extents both width x height, so a metafile that sets its own window
 * extent is fitted to the bitmap and one that does not is drawn one unit a pixel. A NULL
 * metafile gives IMGERR_PARAMETER; the size limits above. The metafile stays the caller's.
 */
VXAPI HBITMAP VXCALL DrawMetaFileIntoBitmap(HMETAFILE metafile, int width, int height, HDC reference);

/*
 * Write a DIB (or a device bitmap, converted with ConvertBitmapToDIB(bitmap, NULL): 1-bit
 * bitmaps stay 1-bit, others as the bridge gives them) into a new metafile file: a window origin
 * of (0, 0), a window extent of the image's width x height (Windows metafiles only), then one
 * StretchDIBits record of the whole DIB (header, colour table and rows as they are) at (0, 0)
 * at its size. Enhanced metafiles are recorded against `reference` (NULL: the screen) with a
 * frame of the image at that DC's LOGPIXELSX/Y, rounded to hundredths of a millimetre, so that
 * LoadMetaFileIntoBitmap gives a picture of the same size back. Windows metafiles record
 * device-independent bits and do not use the DC (it may be NULL). Return 1, or 0 with:
 * NULL bitmap or DIB, a bitmap that cannot be converted, or a block that does not hold the
 * rows its header promises (or has a width or height below 1) -> IMGERR_PARAMETER; a DIB that
 * cannot be locked -> IMGERR_LOCKMEMORY; NULL file name -> IMGERR_OPENFILE; the metafile (or
 * its file) cannot be made -> IMGERR_CREATEMETAFILE.
 */
VXAPI int VXCALL SaveBitmapIntoMetaFile(HDC reference, HBITMAP bitmap, LPCSTR fileName);
VXAPI int VXCALL SaveBitmapIntoEnhMetaFile(HDC reference, HBITMAP bitmap, LPCSTR fileName);
VXAPI int VXCALL SaveDIBIntoMetaFile(HDC reference, HDIB dib, LPCSTR fileName);
VXAPI int VXCALL SaveDIBIntoEnhMetaFile(HDC reference, HDIB dib, LPCSTR fileName);

/*
 * Place the metafile picture (CF_METAFILEPICT) of a clipboard file into the rectangle `area`
 * of an image (NULL: all of it), read with LoadClipboardFormat's checks and codes. The picture
 * is drawn at the size the clipboard reader gives it and scaled to the rectangle, clipped to
 * it; what lies outside stays as it was.
 * PlaceMetaFileIntoBMPFromCLP draws into the caller's device bitmap (which must not be selected
 * into a DC) and returns TRUE. PlaceMetaFileIntoDIBFromCLP leaves the DIB alone and returns a
 * new DIB: the image through ConvertDIBToBitmap, the picture placed, and back through
 * ConvertBitmapToDIB(bitmap, NULL) - so a 1-bit image stays 1-bit and other depths come back
 * as the bridge gives them (24 bits on a true-colour screen).
 * Errors: NULL or unusable bitmap or DIB, or an empty rectangle -> IMGERR_PARAMETER (a DIB the
 * bridge cannot convert keeps the bridge's code or IMGERR_CREATEBITMAP); the clipboard codes;
 * the size limits above, applied to the picture's size.
 */
VXAPI BOOL VXCALL PlaceMetaFileIntoBMPFromCLP(LPCSTR fileName, HBITMAP bitmap, const RECT *area);
VXAPI HDIB VXCALL PlaceMetaFileIntoDIBFromCLP(LPCSTR fileName, HDIB dib, const RECT *area);

/* ------------------------------------------------------------------------ */
/* File formats: colour fax sets                                             */
/* ------------------------------------------------------------------------ */

/*
 * A colour fax set is a profile (INI file): section [ColorFax] with TotalPages, FirstPage,
 * Planes, Files and BitsPixel, and either [Page<n>] sections (Plane0, Plane1, ...: one image
 * file per plane) or [File<n>] sections (Pages, Name: multi-image files). It is read with
 * GetPrivateProfileIntA / GetPrivateProfileStringA (on Linux the library's reader, with the
 * same rules). Windows resolves a relative set name against the Windows directory, while the
 * existence test and the plane files use the working directory: give sets absolute names.
 *
 * Returns TotalPages of [ColorFax] (default -1, so a profile without it is no fax set). A set
 * file that does not exist (OpenFile with OF_EXIST; a null name counts as missing) gives -1
 * and IMGERR_OPENFILE; otherwise the module code is not changed.
 */
VXAPI int VXCALL GetNumberOfImagesInFaxFile(LPCSTR fileName);

/*
 * Loads page `page` (from 1) of a colour fax set. P = Planes & 255, T = TotalPages (default
 * 0), F = FirstPage (default 1), N = Files (default 0). A missing set file gives NULL,
 * IMGERR_OPENFILE and *status = 3; page < 1 or page > T - F + 1, or BitsPixel other than 1,
 * give NULL without a code. With N = T x P (layout A) the planes are keys Plane<p> of
 * [Page<page - F + 1>], each loaded as image `page`. Otherwise (layout B) the files are
 * walked: sum s = 1, file k = 1; before each step stop when page <= s; a step remembers s as
 * the file's first page, adds Pages of [File<k + F - 1>] to s and takes that file; the walk
 * stops after file N (after one file when N < 1). The file is Name of the last section taken
 * ([File<F>] when the walk stopped at once, whose first page counts as 1) and plane p is its
 * image (page - first page) x P + 1 + p. Plane names are read into 128 bytes. Every plane is
 * loaded with LoadImageIntoDIB(name, image, status). With P = 1 that DIB is the page. Else
 * the page is a new 4-bit DIB the size of the first plane with its resolutions (biSizeImage =
 * stride x height, biClrUsed = biClrImportant = 16, a fixed table: index bit 3 red, bit 2
 * green, bit 1 blue, bit 0 raises 128 to 255) and plane p ORs 128 >> p (even x) or 8 >> p
 * (odd x) into byte x / 2 of the page row for each set bit x of its row; plane rows are read
 * as 1-bit rows after 48 bytes (40-byte header, two colour entries). Counts are 32-bit and
 * the page arithmetic wraps as 32-bit integers do.
 * Decided here: the merge stops at the end of each row, whatever the width's remainder
 * modulo 8 (pixels past the width are never set). Only the rows and columns a plane shares
 * with the page are merged: a plane of another size is clipped, one of another depth is still
 * read as 1-bit rows after 48 bytes, and plane bytes past the end of its block read as 0;
 * planes 8 and above set nothing. A first plane that fails to load (or is shorter than a
 * header) gives NULL at once, the loader's code and *status standing, when P is not 1. A
 * first plane with a negative width or height gives no page block, as when the block cannot
 * be allocated: the other planes are still loaded and freed and NULL is returned without a
 * code of its own. A later plane that fails to load leaves its bits clear; the page is
 * returned, with the loader's code and *status standing. The layout-B walk jumps over runs of
 * files whose sections are missing (they add no pages), so a huge N costs no more than the
 * sections the set holds. A plane that is itself a colour fax set is not followed: loading it
 * gives NULL with IMGERR_FILEFORMAT and *status = 9. A null status pointer receives nothing.
 */
VXAPI HDIB VXCALL LoadColorFaxPage(LPCSTR fileName, int page, int *status);

/* ------------------------------------------------------------------------ */
/* File formats: text rendered into bitmaps                                  */
/* ------------------------------------------------------------------------ */

/*
 * LoadASCIIFile reads a whole text file into a zero-filled block 10 bytes longer than the
 * file, converts it from the OEM code page (437) to the ANSI one (Windows-1252) with
 * OemToCharA when ansi is FALSE, and renders it with LoadASCIIIntoBitmap. The module code is
 * set ahead of each step, so a failure leaves the code of the step that failed: NULL with
 * IMGERR_OPENFILE (the file cannot be opened), IMGERR_NOMEMORY (no block for it: files of
 * 4 GB and more are refused this way) or IMGERR_IO (a short read). After the rendering the
 * code is IMGERR_SUCCESS whatever it gave, so a text that could not be rendered answers NULL
 * with IMGERR_SUCCESS. The wait cursor shows meanwhile.
 *
 * LoadASCIIIntoBitmap renders the text in a movable block, black on white, into a new 1-bit
 * device bitmap the caller deletes. The block's last byte (at GlobalSize - 1) is overwritten
 * with 0, so the text ends there at the latest; its first zero byte ends it. The text is
 * measured and drawn with the default font of a memory DC compatible with the active window
 * (the screen's when none is active), through DrawTextA with DT_EXTERNALLEADING: lines break
 * at CR, LF, CR LF and LF CR; a '&' underlines the character after it and "&&" shows one
 * (DT_NOPREFIX is not given); tabs are not expanded. Every line is one font height (tmHeight
 * plus tmExternalLeading) below the last, and the bitmap is as wide as the widest line.
 *   - Fonts: on Windows the stock system font. On Linux the same layout is drawn with DejaVu
 *     Sans Condensed Bold (the fonts-dejavu-extra package), whose metrics match the system
 *     font's (16-pixel lines, ascent 13, descent 3, average width 7); the glyphs differ, so the
 *     bitmaps have the same height and a similar width, not the same pixels.
 *   - Long texts: a first pass estimates the extent counting carriage returns only; when it
 *     comes within one line of 32767 pixels (2047 lines of the system font) the text is cut
 *     there (a 0 is written into the block) and "Lines truncated" goes to the message sink
 *     (caption "SORRY", MB_ICONEXCLAMATION); the bitmap holds the lines before the cut. A text
 *     of line feeds alone is not cut by the estimate and is drawn whole.
 *   - When no bitmap of the full height can be made, the height is halved until one can or it
 *     is no longer above one line, and the text is squeezed vertically into it (an
 *     MM_ANISOTROPIC mapping).
 *   - A text that measures 0 wide or high (an empty text, or only line breaks) gets the
 *     stock 1 x 1 bitmap that CreateBitmap answers for an empty size, as on Windows; deleting
 *     it does nothing.
 *   - DrawTextA shows at most the first 1024 characters of a line, as Windows' USER does, so
 *     a line is at most 1024 characters wide in the bitmap, however long it is in the text.
 *   - 100 MB of text: the estimate, the measuring and the drawing are one pass each, well under
 *     a second on Linux. Bytes below 32 are drawn as the font's default glyph.
 * NULL on failure with IMGERR_NOMEMORY (the block cannot be locked, is empty, or no bitmap can
 * be made) or IMGERR_CREATEDC (no memory DC; on Linux also no font file at all). The module
 * code is left alone on success.
 */
VXAPI HBITMAP VXCALL LoadASCIIFile(LPCSTR fileName, BOOL ansi);
VXAPI HBITMAP VXCALL LoadASCIIIntoBitmap(HGLOBAL text);

/* ------------------------------------------------------------------------ */
/* Display engine (state record)                                             */
/* ------------------------------------------------------------------------ */

/* Starts showing a device bitmap in hWnd. resolution: {x, y} dpi or NULL
   (device's); position: in {x, y} image pixels to scroll to, out the four
   origin fields (room for 4 ints), or NULL; zoom: {xMul, xDiv, yMul, yDiv}
   or NULL (1:1); the palette is used, not owned. Returns the stored flags.
   Decided here: NULL state, a NULL or destroyed window, and a handle that is
   not a bitmap return 0 and leave the record and the window alone. A bitmap
   or palette the engine made for an earlier start of the same record is
   deleted when this start replaces it, and the record's DIB is cleared.
   Zero zoom or resolution terms never divide: GDI refuses a scale with a
   zero term, so that step (both axes) acts as 1; with DISPLAY_FIT a zero
   resolution gives a scale GDI refuses likewise (defined, not meaningful).
   Sets no error code. */
VXAPI DWORD VXCALL DisplayStart(HWND hWnd, HBITMAP hBitmap, HPALETTE hPalette,
                                const int *resolution, int *position,
                                const int *zoom, DWORD flags,
                                VXDISPLAYSTATE *state);

/* Starts showing a DIB in hWnd: resolution from its header (pels per metre
   x 0.0254 rounded; the device's when below 1, and for a 12-byte header),
   an owned palette made from it unless the record holds one of the
   caller's, and with DISPLAY_MAKEBITMAP an owned device bitmap for drawing
   (DISPLAY_MAKEBITMAP is then cleared in the stored flags). The scroll
   position starts at 0. position and zoom as for DisplayStart. Returns the
   flags argument as given. Decided here: NULL state, a NULL or destroyed
   window, and a DIB whose block cannot be locked, is shorter than its
   header and colour table, or has a negative width return 0 and change
   nothing. imageHeight is |biHeight|; a top-down DIB is drawn from its
   first stored row. A block shorter than its rows is started but never
   drawn (the class background shows). Sets no error code. */
VXAPI DWORD VXCALL DisplayDIBStart(HWND hWnd, HDIB hDIB, int *position,
                                   const int *zoom, DWORD flags,
                                   VXDISPLAYSTATE *state);

/* WM_CREATE handler: clears the whole state record. Returns 0; 1 when hWnd
   is NULL (the record is then left alone); 0 with nothing done when state
   is NULL. */
VXAPI LRESULT VXCALL DisplayWmCreate(HWND hWnd, WPARAM wParam, LPARAM lParam,
                                     VXDISPLAYSTATE *state);

/* WM_DESTROY handler: deletes the bitmap and palette the engine owns and
   clears those handles and their `owned` bits (a second call does nothing);
   a caller's bitmap or palette stays in the record, undeleted. Returns 0;
   1 when hWnd is NULL, with nothing deleted. */
VXAPI LRESULT VXCALL DisplayWmDestroy(HWND hWnd, WPARAM wParam, LPARAM lParam,
                                      VXDISPLAYSTATE *state);

/* WM_SIZE handler: stores the client rectangle (read with GetClientRect;
   wParam and lParam are not used), recomputes the mapping and scroll bars.
   A size message arriving while one is handled (the scroll bars shown or
   hidden here resize the client area) is ignored: one guard for the whole
   library. Returns 0; 1 when hWnd is NULL. */
VXAPI LRESULT VXCALL DisplayWmSize(HWND hWnd, WPARAM wParam, LPARAM lParam,
                                   VXDISPLAYSTATE *state);

/* WM_VSCROLL handler: scroll code in LOWORD(wParam) (SB_LINEUP ... SB_BOTTOM;
   other codes move nothing), thumb in HIWORD(wParam). A line is the zoomed
   pixel size (the reduced viewport extent, at least 1) but at least 8, a
   page half the client height; a thumb on either end of the range goes one
   zoomed pixel beyond it; the move is then snapped to whole zoomed pixels
   from the old position and clamped. Only the uncovered strip is repainted.
   Limits near 2^31 do not wrap. Returns 0; 1 when hWnd is NULL. */
VXAPI LRESULT VXCALL DisplayWmVertScroll(HWND hWnd, WPARAM wParam,
                                         LPARAM lParam, VXDISPLAYSTATE *state);

/* WM_HSCROLL handler, as DisplayWmVertScroll on the horizontal axis.
   Returns 0; 1 when hWnd is NULL. */
VXAPI LRESULT VXCALL DisplayWmHorzScroll(HWND hWnd, WPARAM wParam,
                                         LPARAM lParam, VXDISPLAYSTATE *state);

/* WM_PAINT handler: draws the visible part of the image and fills the rest
   of the paint rectangle (right and bottom edges included) with the class
   background brush (without one, the DC's brush). With state NULL it only
   begins and ends painting. Returns 0 (1 when hWnd is NULL). */
VXAPI LRESULT VXCALL DisplayWmPaint(HWND hWnd, VXDISPLAYSTATE *state);

/* Scrolls both axes to `point` (device pixels), snapped and clamped as the
   scroll messages do, and repaints the uncovered strips, each axis's at
   once, then what else was uncovered. When neither axis moves it returns
   at once, scroll bars untouched. Returns 0; 1 when hWnd or point is NULL;
   0 with nothing done when state is NULL. */
VXAPI int VXCALL DisplaySetScrollPos(HWND hWnd, VXDISPLAYSTATE *state,
                                     LPPOINT point);

/* Draws the current image into any device context (printer, memory, window)
   with the state's mapping, after clamping the scroll position; the part
   within the DC's clip box (the record's client rectangle when that is
   empty). The DC's state is saved and restored around it. Returns the
   flags; 0, record untouched, when state is NULL or hDC is not a DC. */
VXAPI DWORD VXCALL DisplayDIBImageDC(HDC hDC, VXDISPLAYSTATE *state);

/* Same operation as DisplayDIBImageDC, kept under its second name. Returns
   the flags, 0 when state is NULL or hDC is not a DC. */
VXAPI DWORD VXCALL DisplayImageDC(HDC hDC, VXDISPLAYSTATE *state);

/* Applies the state's mapping to a device context without resetting scroll
   or centring, for the application's own drawing over the image; the DC
   keeps that mapping (save and restore it around the call to undo it). The
   record's two origin fields are updated. Returns the flags; 0, record
   untouched, when state is NULL or hDC is not a DC. */
VXAPI DWORD VXCALL MapDisplayDC(HDC hDC, VXDISPLAYSTATE *state);

/* Returns the library-wide low-memory stretch switch (default 0): when on,
   visible parts of DIBs are resampled by the library before drawing. */
VXAPI int VXCALL GetLowMemStretch(void);

/* Sets the low-memory stretch switch (any value; non-zero is on) and returns
   its previous value. */
VXAPI int VXCALL SetLowMemStretch(int value);

/*
 * Stateless WM_PAINT handler for a device bitmap, measured in hundredths of an inch; the whole
 * paint (BeginPaint to EndPaint) is done here. Returns EndPaint's result; FALSE when hWnd is
 * NULL (nothing is done) or BeginPaint gives no context.
 *   resolution {x, y} dpi of the bitmap, or NULL; a NULL or 0 entry means the device's.
 *   zoom {xMul, xDiv, yMul, yDiv}, or NULL; a pair with a term of 0 or less counts as 1:1.
 *   mode DISPLAY_FIT: the whole bitmap, shrunk (never enlarged) to fit the client, aspect and
 *        resolution kept, at the top left; scroll bars are left alone. DISPLAY_INVERT: drawn
 *        with NOTSRCCOPY.
 * Image size in units = pixels / (dpi / 100), rounded; the client's = pixels / (device dpi /
 * 100); the visible extent = client units x xDiv / xMul, rounded.
 * Outside fit mode `view` carries the position: x, y in bitmap pixels, dx, dy a pending move in
 * device pixels. The position in units is x / (dpi / 100) + dx x (xDiv / xMul) / (device dpi /
 * 100), rounded once and clamped to 0..(image units - visible units); that is the scroll bar's
 * position, its range 0..that maximum (0..0 when the whole image shows). The source starts at
 * the position's pixel (units x dpi / 100, rounded, moved back so a full window of pixels fits
 * when rounding would pass the last column) and spans the visible units in pixels; it is
 * stretched over the client area, or, when the bitmap ends before the client does, drawn at
 * its zoomed size from the top left. x and y come back as the source's first pixel, dx and dy
 * as 0. A NULL view is a view at the top left whose updates are dropped.
 * The rest of the paint rectangle is filled with the class background brush. A bitmap that
 * GetObjectA cannot describe (NULL, deleted) paints only the background; a client of zero size
 * draws nothing. MM_TEXT, COLORONCOLOR, the palette (if any) selected as a background palette
 * into both contexts and realised.
 */
VXAPI BOOL VXCALL DisplayImage(HWND hWnd, HBITMAP hBitmap, HPALETTE hPalette,
                               VXVIEW *view, const int *resolution,
                               const int *zoom, DWORD mode);

/*
 * Stateless WM_PAINT handler for a DIB, as DisplayImage with these differences. Returns
 * EndPaint's result; FALSE when hWnd is NULL or BeginPaint gives no context.
 *   - Resolution from the header: pels per metre x 0.025400052 (not rounded), the device's
 *     when 0 or negative. The palette is made from the colour table and deleted at the end.
 *   - Scale per axis = device dpi / image dpi x xMul / xDiv (a pair with a term of 0 or less is
 *     1:1). When a scaled side would reach 32767 pixels or more both scales are 1.
 *   - Fit (DISPLAY_FIT): both scroll bars are hidden and the image, at its physical size, is
 *     scaled by the one factor that makes it meet the client's width or height (it may
 *     enlarge), at the top left.
 *   - Otherwise an axis shows its scroll bar only when its scaled size S is larger than the
 *     client C (ShowScrollBar, then the client is read again). The position P = x x scale + dx
 *     (device pixels), clamped to 0..S, is the bar's position on a range of 0..S; the view is
 *     scrolled floor(P x (S - C) / S + 0.5) device pixels in, so the end of the bar shows the
 *     image's far edge. x comes back as P / scale, rounded; dx as 0.
 *   - Scrolled picture: whole source pixels at the exact scale. The first is offset / scale
 *     rounded; the last is the one the client's far edge falls in, partial ones included,
 *     never past the image; the destination is that span scaled and may reach up to one
 *     scaled pixel past the client's right or bottom edge (the window clips it). Where the
 *     rounding would leave the image's last pixel short of the client's far edge, the picture
 *     is drawn flush with that edge instead. No strip of the client stays unpainted and the
 *     picture is never squeezed at the edges.
 *   - With the low-memory stretch switch on (SetLowMemStretch) and a bottom-up 1-, 4-, 8- or
 *     24-bit DIB, the visible source rectangle is resampled to the destination size by
 *     VexoraCropScaleDIB's nearest neighbour and drawn 1:1. At a scale of 1 this is the same
 *     picture as StretchDIBits; scaled, the crop-and-scale samples column round(i / scale)
 *     where GDI samples floor((i + 1/2) / scale), so a share of the columns and rows differ.
 *     When the resampled block would be empty or hold more than 2^24 pixels, or cannot be
 *     made, StretchDIBits scales instead.
 *   - Accepted DIBs: a 40-byte-or-larger header, uncompressed, 1, 4, 8, 16, 24 or 32 bits,
 *     width and height at least 1 (top-down rows are drawn by StretchDIBits), the block holding
 *     its header, colour table and every row. Any other block (NULL, unlockable, short)
 *     paints only the background.
 */
VXAPI BOOL VXCALL DisplayDIBImage(HWND hWnd, HDIB hDIB, VXVIEW *view,
                                  const int *zoom, DWORD mode);

/* ------------------------------------------------------------------------ */
/* Display: scrolling DIB view in physical units                             */
/* ------------------------------------------------------------------------ */

/*
 * The scrolling view: a DIB in MM_TEXT, scroll bars counting hundredths of an inch of the
 * image, a VXVIEW kept by the application. All four calls run one layout:
 *   - DISPLAY_STRETCH: the whole image over the whole client; the result is
 *     (flags & DISPLAY_INVERT) | DISPLAY_STRETCH.
 *   - Scales: zoom {xNum, xDen, yNum, yDen} when all four are >= 1, else 1; with
 *     DISPLAY_TRUESIZE and a header resolution (pels per metre x 0.0254, rounded) of at least
 *     1 dpi on both axes, times device dpi / image dpi. DISPLAY_TRUESIZE without a resolution
 *     is cleared and DISPLAY_ZOOMED set. An image without a resolution counts as the device's
 *     in hundredths of an inch. A scaled side of 32767 pixels or more sets both scales to 1.
 *   - DISPLAY_FIT: the whole image scaled by min(client / scaled size) on both axes, the
 *     view untouched, the scroll bars set to 0..0.
 *   - Otherwise the offset in device pixels is x x scale + dx (rounded) when x >= 0, or
 *     dpi x dx / 100 x scale when x < 0 (dx then holds hundredths of an inch), clamped to
 *     0..(scaled size - client). A pending move of less than one image pixel still moves the
 *     view one pixel its way (line steps at zooms above 1 would otherwise stall). The
 *     scroll range is 0..(scaled - client) / scale x 100 / dpi, rounded (0..0 when the image
 *     fits); the position is x x 100 / dpi, rounded, at most the range.
 *   - The source starts at offset / scale rounded (that is the x or y stored back, dx and dy
 *     cleared) and ends with the pixel the client's far edge falls in, partial ones included;
 *     the destination is that span at the exact scale, so the last partial pixel reaches past
 *     the client (clipped). At the image's far end a picture that rounding would leave short
 *     of the client's edge is drawn flush with that edge instead.
 *   - DISPLAY_CENTER: an axis narrower than the client is moved to the middle.
 * Bad input: a NULL window answers 0 and does nothing; a NULL view is a view at the top left
 * whose updates are dropped; a DIB that is NULL, unlockable, compressed, under 1 x 1 or
 * shorter than its header, colour table and rows leaves the window and the scroll bars alone
 * and answers `flags` as given. A client of zero size draws nothing.
 */

/* Paints inside BeginPaint/EndPaint: the laid-out source rectangle into the destination
   (nothing when it misses the client) with StretchDIBits, COLORONCOLOR, NOTSRCCOPY with
   DISPLAY_INVERT, the DIB's palette selected as a background palette. With the low-memory
   stretch switch on and a bottom-up 1-, 4-, 8- or 24-bit DIB the source is first resampled by
   VexoraCropScaleDIB's nearest neighbour to the destination size less one pixel each way and
   drawn 1:1 (the destination's last column and row stay as they were; the sampling differs
   from GDI's by up to one source pixel). Returns the flags after layout. */
VXAPI DWORD VXCALL DisplayCPPImage(HWND hWnd, HDIB hDIB, VXVIEW *view,
                                   const int *zoom, DWORD flags);

/* WM_SIZE handler of the scrolling view: `size` is the message's lParam
   (width low 16 bits, height high 16 bits), the client the layout uses. Lays out, sets both
   scroll bars (hundredths of an inch; 0..0 with fit or stretch) and invalidates the client
   with erase. Returns the flags after layout. */
VXAPI DWORD VXCALL DisplayCPPSize(HWND hWnd, HDIB hDIB, VXVIEW *view,
                                  const int *zoom, DWORD flags, LPARAM size);

/* WM_HSCROLL handler of the scrolling view. `code`: SB_LINELEFT/RIGHT move dx by -1/+1
   device pixel, SB_PAGELEFT/RIGHT by half the client width; SB_THUMBPOSITION and
   SB_THUMBTRACK set x = -1, dx = thumb (hundredths of an inch); SB_LEFT sets x = dx = 0;
   SB_RIGHT sets x = -1, dx = the scroll bar's maximum; other codes move nothing. Then lays
   out, sets both scroll bars and invalidates without erase. Returns the flags after layout. */
VXAPI DWORD VXCALL DisplayCPPHScroll(HWND hWnd, HDIB hDIB, VXVIEW *view,
                                     const int *zoom, DWORD flags, int code,
                                     int thumb);

/* WM_VSCROLL handler of the scrolling view, as DisplayCPPHScroll on the
   vertical axis (y, dy, half the client height). Returns the flags after layout. */
VXAPI DWORD VXCALL DisplayCPPVScroll(HWND hWnd, HDIB hDIB, VXVIEW *view,
                                     const int *zoom, DWORD flags, int code,
                                     int thumb);

/* ------------------------------------------------------------------------ */
/* Zoom: rubber band and zoom steps                                          */
/* ------------------------------------------------------------------------ */

/* Sets the library-wide scale steps: base 1..1000 (default 10) and two tables
   of BZOOM_STEP_TABLE_LEN ints (count 1..10, then strictly rising steps, the
   first equal to the base), each optional: a table not given is kept as it
   is. Defaults: zoom in {5, 10, 20, 40, 60, 80}, zoom out {5, 10, 15, 30,
   40, 50}. Returns TRUE, or FALSE with nothing changed when the base or a
   given table is invalid (both tables are checked before either is stored). */
VXAPI BOOL VXCALL BZoomSetScaleSteps(int base, const int *zoomIn,
                                     const int *zoomOut);

/* Copies the scale-step tables into the given arrays (each optional, room
   for BZOOM_STEP_TABLE_LEN ints) and returns the base. */
VXAPI int VXCALL BZoomGetScaleSteps(int *zoomIn, int *zoomOut);

/* Starts a zoom on button-down: clears `zoom`, records the start point
   (optional; screen coordinates when screenPoints, client otherwise), the
   current zoom {xMul, xDiv, yMul, yDiv} (optional, else base:base) and the
   mode; with BZOOM_DRAG in mode (every BZOOM_ command has it) it captures
   the mouse for hWnd. Nothing happens when zoom is NULL. */
VXAPI void VXCALL BZoomStart(HWND hWnd, LPPOINT start, const int *currentZoom,
                             int mode, VXBZOOM *zoom, BOOL screenPoints);

/* Mouse-move during a drag: once the point is 6 pixels or more from the
   start on both axes, draws and then tracks the rubber band, inverting the
   outline's pixels on the window DC (R2_NOTXORPEN, black pen) so that
   drawing it again restores them. Does nothing outside a drag, or when hWnd
   or point is NULL. */
VXAPI void VXCALL BZoomUpdate(HWND hWnd, LPPOINT point, VXBZOOM *zoom);

/* Button-up: ends a drag (releases the mouse, erases the band), computes the
   new zoom into zoom->newZoom and, with a window and a state record, applies
   it to the state: zoom stored, mapping and scroll ranges recomputed,
   DISPLAY_FIT cleared, DISPLAY_ZOOMED set. zoom->newScrollX/Y receive the
   logical point the application should scroll the view's top-left to: the
   view's current top-left (state->originLogical), or, when a point is known
   (the end point of a click, the centre of a dragged rectangle), that point
   less half the client area, so that it lands in the middle of the view.
   A rectangle zoom makes the rectangle fill the client area (seen at 1:1,
   without fitting), limited to base / last zoom-out step .. last zoom-in
   step / base; a command is applied to the x pair of the current zoom and
   copied to the y pair. Without a state record only zoom->newZoom is set. */
VXAPI void VXCALL BZoomEnd(HWND hWnd, LPPOINT end, VXBZOOM *zoom,
                           VXDISPLAYSTATE *state);

/* Applies a zoom command (BZOOM_STEPIN...) without the mouse, starting from
   `currentZoom` {xMul, xDiv, yMul, yDiv} (NULL: base:base): a BZoomStart
   without a point and without the drag bit, then a BZoomEnd without a point
   (the zoom changes, the view keeps its top-left point). */
VXAPI void VXCALL BZoomStep(HWND hWnd, const int *currentZoom, int mode,
                            VXBZOOM *zoom, VXDISPLAYSTATE *state);

/* BZoomEnd for a VXSCREENVIEW: the new zoom is computed as by BZoomEnd (a
   rectangle fills the client area in device pixels) and written to the view
   as factors. Each scroll position is rescaled by new / old zoom: without a
   point so that the image point at the view's top-left stays there, with one
   so that the image point under it lands in the middle of the client area;
   then it is kept within 0..maximum, the maximum being the zoomed image
   size less the client size (0 when the image fits). newScrollX/Y repeat the
   view's new scroll position. Nothing is applied when view is NULL. */
VXAPI void VXCALL BZoomScreenEnd(HWND hWnd, LPPOINT end, VXBZOOM *zoom,
                                 VXSCREENVIEW *view);

/* BZoomStep for a VXSCREENVIEW. */
VXAPI void VXCALL BZoomScreenStep(HWND hWnd, const int *currentZoom, int mode,
                                  VXBZOOM *zoom, VXSCREENVIEW *view);

/* ------------------------------------------------------------------------ */
/* Magnifier lens (one per process)                                          */
/* ------------------------------------------------------------------------ */

/* Sets the lens size in pixels (default 180 x 80), used from the next
   M_StartMagnify. Returns 1. */
VXAPI int VXCALL M_SetSizes(int width, int height);

/* Returns the lens width in pixels. */
VXAPI int VXCALL M_GetWidth(void);

/* Returns the lens height in pixels. */
VXAPI int VXCALL M_GetHeight(void);

/* Starts the lens on hWnd: updates the window, snapshots its client area,
   hides the cursor and makes the lens bitmap, which shows the stock gray
   brush inside its frame until M_StretchBitmap fills it; hPalette
   (optional) is used for every blit. A lens already active is first taken
   off its window. Returns 1; 0 (nothing started) when hWnd is NULL or not a
   window. */
VXAPI int VXCALL M_StartMagnify(HWND hWnd, HPALETTE hPalette);

/* Computes in *rect the source rectangle centred on (x, y) that fills the
   lens interior (lens size less 8 each way) at ratio {xNum, xDen, yNum,
   yDen}: width = interior width x xDen / xNum, height likewise. A pair that
   does not magnify (x: xDen > xNum or xNum 0; y: yDen > yNum) is reset to
   10:10 in the caller's array. Returns 1, or 0 when ratio or rect is NULL
   or ratio[2]/ratio[3] is 0. */
VXAPI int VXCALL M_CalcRect(int x, int y, int *ratio, LPRECT rect);

/* Fills the lens from the (x, y, width, height) rectangle of hBitmap,
   stretched over the whole lens, gray where the rectangle passes the
   bitmap's edges, and draws the frame: black lines at the edge and at inset
   3, a raised bevel at inset 1 (white top and left, gray 0x808080 right and
   bottom) and a sunken one at inset 2. Does nothing when the lens is not
   active. */
VXAPI void VXCALL M_StretchBitmap(HBITMAP hBitmap, int x, int y, int width,
                                  int height);

/* Moves the lens to client point (x, y) of hWnd: the snapshot is put back
   over the previous place (the new place excluded, so nothing flickers),
   then the lens is drawn. Does nothing when the lens is not active or hWnd
   is NULL. */
VXAPI void VXCALL M_CopyBitmap(HWND hWnd, int x, int y);

/* Stops the lens: restores the window and the cursor and frees the lens
   bitmaps. Returns 1. */
VXAPI int VXCALL M_StopMagnify(void);

/* ------------------------------------------------------------------------ */
/* Printing: jobs                                                            */
/* ------------------------------------------------------------------------ */

/* Print jobs: one job at a time per process, kept by the library.
   PrepareToPrint -> (PrintDIBPage [PrintPageContinue])... -> EndPrint, or PrintDIB /
   PrintImage for a one-page job. None of these sets the module error code: each returns its
   own result (codes 23 to 28 of ImgErrorString describe the failures for callers that show
   them). The layout of a page, in inches: the image's resolution (below) gives its size;
   fitToPage scales it by min(page width / image width, page height / image height);
   stretchToPage makes it the page's size on each axis (applied after the fit scale when both
   are set); centring splits the room left over on that axis. Each piece of the printed
   rectangle inside a band (the whole page on a printer that does not band) is drawn with
   StretchDIBits, its source and destination edges rounded by adding 0.5 and truncating. */

/* Opens the job. The printer DC is hPrinterDC; when NULL, options->showPrintDialog != 0 runs
   the print dialog ("PRINTPAGE", PrintPageProc) and takes the DC it ends with, and 0 opens
   the default printer of the profile: "device" of section "windows" (127 characters read),
   cut into name (up to the first comma), driver and port (each up to the next comma or
   space); the name is kept as the chosen printer (100 characters) and the DC made with the
   name as kept. options (in/out; NULL: VXPRINTOPTIONS_DEFAULTS) are copied into the job and
   written back on success, after the dialog has changed them. With useMemoryDC on a printer
   that is not monochrome the job draws on a memory DC compatible with the printer. Unless
   noCancelBox is 1 the modeless cancel box "PRINTCANCELDLGBOX" is created (owner hWnd) and
   PrintAbortProc installed. The document is started with the title (docName after its last
   backslash; "" for NULL), data type "Tiff Document", application banding.
   Returns 0; IMGERR_NOTHINGTODO when the dialog is cancelled; IMGERR_PRINTERDC when there is
   no DC (also when the dialog cannot be shown, or the default printer cannot be opened); 1
   when the device cannot transfer bitmaps (RC_BITBLT; its DC - even the caller's - is
   deleted); -5 when the cancel box cannot be created; SetAbortProc's negative answer; -1 when
   StartDocA fails (or the memory DC cannot be made).
   Decided here: a failure after the DC was had closes the job again - the cancel box is
   destroyed, the memory DC and a DC the job opened itself are deleted - and leaves a DC the
   caller gave to the caller (EndPrint(hPrinterDC) deletes it, as PrintDIB does). A
   PrepareToPrint while a job is open first ends that job's page and document and lets go of
   what that job opened itself; a DC its caller gave stays the caller's. */
VXAPI int VXCALL PrepareToPrint(HWND hWnd, HDC hPrinterDC,
                                VXPRINTOPTIONS *options, LPCSTR docName,
                                int pageCount);

/* Prints one DIB as page `page` (from 0) of the open job: ends the page in progress first
   unless PrintPageContinue was called, shows "title  Page: n / total" in the cancel box (with
   printAllPages), moves the output by (xOffset, yOffset) dots (the window origin, negated as
   32-bit words), and starts `copies` pages (none for copies < 1), each sent band by band
   (NEXTBAND on a printer with RC_BANDING) with PrintAbortProc before and after each band. A
   page is never ended here: the next PrintDIBPage or EndPrint ends it. The image's resolution
   is the printer's, or with useImageDpi the caller's {x, y} dpi (resolution, when not NULL),
   else the DIB's pels per metre x 0.025400052 when both are non-zero; a value that is not a
   positive number counts as absent (the printer's is used on that axis). `reserved` is
   ignored. Returns 0 at once when no job is open; else 0, the negative answer of a failed
   band, or, once the job is aborted (Cancel, the abort procedure, a page that cannot be
   started), the negative answer of the abort escape (0 when it succeeds).
   Decided here: a DIB that cannot be printed - a null or freed handle, a block shorter than
   its header, colour table and rows, rows stored any way but BI_RGB (RLE, bit fields) -
   returns SP_ERROR (-1) before the job is touched: no page is ended or started. Rows of a top-down DIB are addressed as the
   header's height says (source y = biHeight - bottom). */
VXAPI int VXCALL PrintDIBPage(HDIB hDIB, const int *resolution, DWORD reserved,
                              int page, int xOffset, int yOffset);

/* Sets the job's continue flag: the next PrintDIBPage draws on the page in progress instead of
   ending it first. */
VXAPI void VXCALL PrintPageContinue(void);

/* With a job open, ends the page in progress and the document; deletes hPrinterDC (when not
   NULL) and the job's DC when it is a different one, deletes a printer DC the job opened
   itself (default printer, dialog), destroys the cancel box, and closes the job. Returns 0, or
   -1 when EndPage or EndDoc answers a negative value. */
VXAPI int VXCALL EndPrint(HDC hPrinterDC);

/* One-call print of a DIB: PrepareToPrint (one page), PrintDIBPage (page 0, no offset) when
   that returned 0, then always EndPrint(hPrinterDC). Returns the first non-zero code of those,
   else 0. */
VXAPI int VXCALL PrintDIB(HWND hWnd, HDC hPrinterDC, HDIB hDIB, LPCSTR docName,
                          const int *resolution, VXPRINTOPTIONS *options,
                          DWORD reserved);

/* One-call print of a device bitmap: ConvertBitmapToDIB(hBitmap, hPalette) (failure: 1, and
   nothing else is done - hPrinterDC is not deleted), then PrintDIB, then frees the DIB.
   Returns PrintDIB's result. The conversion may leave IMGERR_CREATEPALETTE in the module code
   (see ConvertBitmapToDIB), and so may the palette PrintDIBPage makes (CreateDIBPalette). */
VXAPI int VXCALL PrintImage(HWND hWnd, HDC hPrinterDC, HBITMAP hBitmap,
                            HPALETTE hPalette, LPCSTR docName,
                            const int *resolution, VXPRINTOPTIONS *options,
                            DWORD reserved);

/* Dialog procedure of the modeless "Cancel Printing" box: WM_INITDIALOG greys Close in the
   system menu and takes the focus; any WM_COMMAND (the Cancel button) sets the job's abort
   flag; message 2024 (WM_USER + 1000) sets the text of control 121 from lParam. Other
   messages are not handled (FALSE). */
VXAPI INT_PTR VXCALL PrintCancelDlgProc(HWND hDlg, UINT message, WPARAM wParam,
                                        LPARAM lParam);

/* Abort procedure of the print job. A non-zero `code` aborts the job; once aborted (by that,
   or by Cancel) the code is kept as the job's last error and the answer is FALSE. Otherwise
   every waiting message of the thread is removed and dispatched (the cancel box's through
   IsDialogMessageA) until the queue is empty or the job is aborted; the answer is TRUE unless
   the job was aborted meanwhile. The abort flag stays set until the next PrepareToPrint. */
VXAPI BOOL VXCALL PrintAbortProc(HDC hDC, int code);

/* ------------------------------------------------------------------------ */
/* Printing: print and printer-setup dialogs                                 */
/* ------------------------------------------------------------------------ */

/* Runs the modal printer-setup dialog "PRINTERSETUP" (owner hWndOwner, may be
   NULL) with the library's instance. It lists the printers of the profile's
   "devices" section, one entry per printer and port, shown as "name on port",
   and selects the printer set up last in this dialog, else the default printer
   (same driver and port), else the first. OK and Setup pass the selection to
   the printer driver's set-up, which no driver offers here: every time the
   message "Invalid printer driver." is shown. OK then writes the selection as
   "device" of section "windows" ("name,driver,port") and ends the dialog.
   Returns on OK a 239-byte zero-filled movable block the caller frees with
   GlobalFree: the chosen printer's name at offset 0 (80 bytes), its driver at
   80 (80 bytes) and its port at 160 (79 bytes), each zero-terminated and cut
   to fit. Returns NULL on Cancel, when the profile names no printer (message
   "No printers installed."), when the block cannot be allocated ("Insufficient
   memory.") and when the dialog cannot be created. A "devices" section longer
   than 1,088 characters is cut back to its last whole name, after the message
   "Too many printers installed.<TAB>List truncated.". Messages go through the
   message sink (VexoraSetMessageSink) or a message box without owner, caption
   "Printer setup", MB_ICONEXCLAMATION. */
VXAPI HGLOBAL VXCALL PrinterSetup(HWND hWndOwner);

/* Dialog procedure of the printer-setup dialog (see PrinterSetup). Besides the
   dialog's own messages it answers 1324 (WM_USER + 300: fill the list from the
   profile) and 1325 (WM_USER + 301: select the entry), which it posts to
   itself, and refills the list on WM_WININICHANGE for section "devices" or for
   every section (lParam NULL). One setup dialog at a time: its result block and
   work buffers are module-wide. */
VXAPI INT_PTR VXCALL PrinterSetupProc(HWND hDlg, UINT message, WPARAM wParam,
                                      LPARAM lParam);

/* Dialog procedure of the print dialog "PRINTPAGE", which PrepareToPrint runs
   when it is given no printer DC and option 0 is set. It shows the document
   title and the options of the job being prepared; the printer combo holds the
   printer chosen before (disabled), or every local and connected printer of
   the spooler with the default printer selected, and OK is disabled when there
   is none. OK opens the selected printer (CreateDCA "WINSPOOL"; a printer of a
   print server as "server\share") and keeps it as the chosen printer for
   later jobs, reads the check boxes and the copies into the job's options, and
   ends with the printer DC when the copies are a number above 0; otherwise it
   deletes the DC, beeps and leaves the focus on the copies. Cancel ends with
   0 and leaves the options alone. */
VXAPI INT_PTR VXCALL PrintPageProc(HWND hDlg, UINT message, WPARAM wParam,
                                   LPARAM lParam);

/* ------------------------------------------------------------------------ */
/* Extensions: calls this library adds to the classic interface             */
/* ------------------------------------------------------------------------ */

/* The version of this library and its header, the same number as the package's (CMake's
   project version and pkg-config's Version; the build checks that they agree). */
#define VEXORA_VERSION_MAJOR 1
#define VEXORA_VERSION_MINOR 0
#define VEXORA_VERSION_PATCH 0
#define VEXORA_VERSION_STRING "1.0.0"

/*
 * A message sink receives what the library would show in a message box: the text, the
 * caption and the box style (MB_ICONEXCLAMATION and friends tell the severity; the loader
 * messages of the format modules are task-modal, 0x2000). Its result is what the box would
 * have returned (IDOK for a plain notice). The sink is called with the C calling convention.
 *
 * Without a sink the library shows a real message box on Windows (MessageBoxA, no owner) and
 * writes one line "caption: text" to standard error on Linux. A console program or a service
 * on Windows installs a sink so that no box waits for a click nobody can give.
 */
typedef int (*VXMESSAGESINK)(const char *text, const char *caption, UINT style, void *context);

/* Installs a sink (null restores the default) and returns the previous one (null for the
   default). The sink is module-wide, like the module error code. */
VXAPI VXMESSAGESINK VXCALL VexoraSetMessageSink(VXMESSAGESINK sink, void *context);


/* Cuts the rectangle (x, y, width, height), counted in pixels from the top
   left of the picture, out of a 1/4/8/24-bit DIB and resizes it to outWidth
   x outHeight by nearest neighbour, as the display does in low-memory mode.
   Output row j (from the top) takes source row
   y + floor((2 j height + outHeight) / (2 outHeight)) and output column i
   takes column x + floor((2 i width + outWidth) / (2 outWidth)); pixels are
   copied as stored (bits, nibbles, bytes, BGR triples).
   The result starts with the source's first 40 + PaletteSize bytes (its
   header and colour table when biSize is 40) unchanged, but for biWidth =
   outWidth and biHeight = outHeight: biSize and biSizeImage keep the
   source's values. Decisions kept from the display's
   use: the block holds one spare zero row and 16 zero bytes after the
   pixel rows; a source column or row at or beyond the image's edge leaves
   that output pixel (and the rest of its row, or every row below) zero,
   so a rectangle reaching past the image gives zero pixels there, and
   nothing outside the source's rows is ever read.
   Returns NULL, never setting the module code, when: dib is NULL or cannot
   be locked; the block is under 40 bytes or shorter than its header, colour
   table and rows (image height x row stride); biSize is below 40; biBitCount
   is not 1, 4, 8 or 24; biWidth or biHeight is below 1; width, height,
   outWidth or outHeight is below 1; x or y is negative or not inside the
   image; the result would pass 4 GiB, or an allocation fails. */
VXAPI HDIB VXCALL VexoraCropScaleDIB(HDIB dib, int x, int y, int width,
                                     int height, int outWidth, int outHeight);

/* Reads a BMP file the way today's writers make them, where LoadDIBFromFile keeps the classic
   reader's limits. Returns a new DIB in the classic form: a 40-byte header, bottom-up rows,
   1, 4, 8 or 24 bits, BI_RGB, biSizeImage filled in, the file's resolution kept, and for 1, 4
   and 8 bits a colour table of exactly 2^bits entries (biClrUsed says so); or NULL with the
   module error code set and, when reason is not NULL, a sentence saying why written into
   reason (at most reasonSize bytes, always terminated; empty on success). Success leaves the
   module error code as it was.
   Reads: the "BM" signature only; headers of 12 (OS/2 1.x), 16 and 64 (OS/2 2.x), 40, 52, 56,
   108 and 124 bytes; planes 1.
     - 1, 4, 8 and 24 bits stay; 2 bits become 4 (same indices); 16 and 32 bits become 24.
       BI_RGB 16 bits is 5-5-5, BI_RGB 32 bits is 8-8-8 with the fourth byte ignored.
       BI_BITFIELDS and BI_ALPHABITFIELDS take any contiguous, non-overlapping masks inside
       the pixel; a field of n bits holding v becomes (v * 255 + m / 2) / m, m = 2^n - 1.
     - Alpha: when the header carries an alpha mask (52 bytes or more, or BI_ALPHABITFIELDS)
       that is not 0, each colour is composited on white, c' = (c * a + 255 * (255 - a) +
       127) / 255, as the format modules do. A 24-bit file's colour table is ignored.
     - Colour tables: biClrUsed 0 means 2^bits entries, more than 2^bits is cut to 2^bits, a
       table running into the pixel data is cut there; missing entries, and so indices past
       the table, are black.
     - Top-down files (negative height) come out bottom-up.
     - RLE8, RLE4 and OS/2's RLE24 (compression 4 under a 16- or 64-byte header) are decoded
       with their own bounds: delta and end-of-line move without wrapping, what passes the
       right edge or the top is dropped, pixels the stream never sets are index 0 (black for
       RLE24), and a stream cut short keeps what it decoded.
     - BI_JPEG and BI_PNG: the embedded file is read by the JPEG or PNG format module through
       a temporary file, and the result is the module's DIB, with the BMP header's resolution
       when it gives one; a missing module is reported as LoadImageIntoDIB reports one.
     - The pixels start at bfOffBits when it lies after the headers and inside the file, and
       right after the colour table otherwise.
     - Uncompressed rows must all be there; only the last row's padding may be missing.
   Refuses (the code, and the cause named in reason):
     IMGERR_OPENFILE    the file cannot be opened (fileName NULL included);
     IMGERR_PARAMETER   data is NULL;
     IMGERR_IO          the file ends inside its headers, masks, colour table or rows
                        ("the pixel data needs 4.2 GB but the file holds 58 bytes");
     IMGERR_FILEFORMAT  no "BM", another header size, planes not 1, a bit count that is not a
                        BMP depth ("bit count 30000 is not a BMP depth"; 64-bit pixels are not
                        read), width below 1 or height 0, a compression the depth cannot have
                        or that is not read (OS/2 Huffman, CMYK, unknown codes), masks that
                        overlap, have gaps or pass the pixel, top-down run-length data, an
                        embedded image its module cannot read;
     IMGERR_DIBSIZE     a side over 65535 (VXMOD_MAX_SIDE), more than 2^28 pixels
                        (VXMOD_MAX_PIXELS), or a run-length image of more than 2^24 pixels
                        and more than 1024 per byte of its stream;
     IMGERR_NOMEMORY    the result cannot be allocated.
   Every refusal is decided before the result is allocated. */
VXAPI HDIB VXCALL VexoraLoadBMPFile(LPCSTR fileName, char *reason, UINT reasonSize);

/* The same reader over a BMP file's bytes in memory (size bytes at data; nothing is read
   past them). */
VXAPI HDIB VXCALL VexoraReadBMPMemory(const void *data, DWORD size, char *reason, UINT reasonSize);

/* Resamples a DIB to outWidth x outHeight for viewing, each axis on its own: an axis that
   shrinks is averaged over the exact area each output pixel covers (a box over its
   footprint, partly covered pixels weighted by their share); an axis that grows is filtered
   by Lanczos-3 (sinc windowed by sinc over three lobes, pixel centres aligned, the edge pixel
   repeated past the edge); an axis that keeps its size is copied. Both sizes equal to the
   source's give a copy of its header, colour table and pixels.
   Depths: 24 bits give 24 bits. An 8-bit image whose colour table is the gray ramp, and any
   1-, 4- or 8-bit image whose entries are all gray, give 8 bits with the 256-entry gray
   ramp; other 1-, 4- and 8-bit images are expanded through their colour table and give 24
   bits (an index past the table reads as black). The result has a 40-byte header, bottom-up
   rows, BI_RGB, biClrUsed 0, and resolution fields scaled with their axis (rounded half up;
   zero or negative ones kept), so the picture keeps its physical size. Top-down and
   12-byte-header sources are accepted.
   Arithmetic is integer with fixed-point weights; each level is rounded half up and clamped
   to 0..255, and lies within one level of exact filtering for any reduction down to 1/300
   per axis.
   Returns a new DIB, or NULL with the module error code set: IMGERR_PARAMETER for a null
   handle or a size below 1; IMGERR_LOCKMEMORY when the block cannot be locked;
   IMGERR_HEADERBITCOUNT for depths other than 1, 4, 8 and 24; IMGERR_COMPRESSED for a
   compressed DIB; IMGERR_DIBSIZE for a header other than 40 or 12 bytes, a width or height
   below 1, a block shorter than its header says, or a source or result of more than
   VXMOD_MAX_PIXELS (2^28) pixels; IMGERR_NOMEMORY when memory runs out. The code is left
   alone on success. */
VXAPI HDIB VXCALL VexoraResampleDIB(HDIB dib, int outWidth, int outHeight);



#ifdef __cplusplus
}
#endif

#endif /* VEXORA_H */
