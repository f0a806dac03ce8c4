/*
 * vexora_win32_gdi.h - the GDI32 structures and calls libvexora.so exports, for platforms
 * without <windows.h>:
 *
 *   - objects: GetObjectType, GetObjectA, DeleteObject, GetStockObject;
 *   - logical palettes: CreatePalette, GetPaletteEntries, GetNearestPaletteIndex, and their
 *     realisation: SelectPalette, RealizePalette, GetSystemPaletteEntries, GetNearestColor;
 *   - bitmaps: device bitmaps, DIB sections and the transfer of bits between them and DIBs;
 *   - device contexts: memory DCs, what is selected into them, their saved states, colours,
 *     mapping modes and clipping; GetDeviceCaps of the screen (32 bits, 96 dpi, no palette);
 *   - drawing: bit transfers and stretching with every ternary raster operation, brushes,
 *     pens and lines with the binary raster operations, rectangular regions, shapes and
 *     polygons;
 *   - fonts and text (FreeType glyphs through fontconfig);
 *   - Windows and enhanced metafiles: recording DCs, their bytes, and players.
 *
 * A Linux application inspects and frees the GDI objects the library returns exactly as on
 * Windows. Every handle is checked before use: a deleted or never-issued handle, or a handle of
 * another kind, is refused with the call's failure result (0, NULL or FALSE), the answers
 * Windows gives under Wine; a deleted handle stays refused after its slot is reused.
 *
 * On Windows this file only includes <windows.h>.
 */
#ifndef VEXORA_WIN32_GDI_H
#define VEXORA_WIN32_GDI_H

#include "vexora_win32_types.h"

#if !defined(_WIN32)

typedef struct tagBITMAP {
    LONG bmType;
    LONG bmWidth;
    LONG bmHeight;
    LONG bmWidthBytes;
    WORD bmPlanes;
    WORD bmBitsPixel;
    LPVOID bmBits;
} BITMAP, *LPBITMAP;

typedef struct tagPALETTEENTRY {
    BYTE peRed;
    BYTE peGreen;
    BYTE peBlue;
    BYTE peFlags;
} PALETTEENTRY, *LPPALETTEENTRY;

typedef struct tagLOGPALETTE {
    WORD palVersion;
    WORD palNumEntries;
    PALETTEENTRY palPalEntry[1];
} LOGPALETTE, *LPLOGPALETTE;

typedef struct tagDIBSECTION {
    BITMAP dsBm;
    BITMAPINFOHEADER dsBmih;
    DWORD dsBitfields[3];
    HANDLE dshSection;
    DWORD dsOffset;
} DIBSECTION, *LPDIBSECTION;

typedef struct tagLOGPEN {
    UINT lopnStyle;
    POINT lopnWidth;
    COLORREF lopnColor;
} LOGPEN, *LPLOGPEN;

typedef struct tagLOGBRUSH {
    UINT lbStyle;
    COLORREF lbColor;
    ULONG_PTR lbHatch;
} LOGBRUSH, *LPLOGBRUSH;

/* Fonts and text. */
#define LF_FACESIZE 32
typedef struct tagLOGFONTA {
    LONG lfHeight;
    LONG lfWidth;
    LONG lfEscapement;
    LONG lfOrientation;
    LONG lfWeight;
    BYTE lfItalic;
    BYTE lfUnderline;
    BYTE lfStrikeOut;
    BYTE lfCharSet;
    BYTE lfOutPrecision;
    BYTE lfClipPrecision;
    BYTE lfQuality;
    BYTE lfPitchAndFamily;
    CHAR lfFaceName[LF_FACESIZE];
} LOGFONTA, *LPLOGFONTA;

typedef struct tagTEXTMETRICA {
    LONG tmHeight;
    LONG tmAscent;
    LONG tmDescent;
    LONG tmInternalLeading;
    LONG tmExternalLeading;
    LONG tmAveCharWidth;
    LONG tmMaxCharWidth;
    LONG tmWeight;
    LONG tmOverhang;
    LONG tmDigitizedAspectX;
    LONG tmDigitizedAspectY;
    BYTE tmFirstChar;
    BYTE tmLastChar;
    BYTE tmDefaultChar;
    BYTE tmBreakChar;
    BYTE tmItalic;
    BYTE tmUnderlined;
    BYTE tmStruckOut;
    BYTE tmPitchAndFamily;
    BYTE tmCharSet;
} TEXTMETRICA, *LPTEXTMETRICA;

/* Metafiles. */
typedef struct _RECTL {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
} RECTL, *LPRECTL;
typedef struct _POINTL {
    LONG x;
    LONG y;
} POINTL, *LPPOINTL;
typedef SIZE SIZEL, *LPSIZEL;

typedef struct tagENHMETAHEADER {
    DWORD iType;
    DWORD nSize;
    RECTL rclBounds;
    RECTL rclFrame;
    DWORD dSignature;
    DWORD nVersion;
    DWORD nBytes;
    DWORD nRecords;
    WORD nHandles;
    WORD sReserved;
    DWORD nDescription;
    DWORD offDescription;
    DWORD nPalEntries;
    SIZEL szlDevice;
    SIZEL szlMillimeters;
    DWORD cbPixelFormat;
    DWORD offPixelFormat;
    DWORD bOpenGL;
    SIZEL szlMicrometers;
} ENHMETAHEADER, *LPENHMETAHEADER;

typedef struct tagMETAFILEPICT {
    LONG mm;
    LONG xExt;
    LONG yExt;
    HMETAFILE hMF;
} METAFILEPICT, *LPMETAFILEPICT;

#define EMR_HEADER 1
#define ENHMETA_SIGNATURE 0x464D4520

#define RGB(r, g, b) ((COLORREF)(((BYTE)(r) | ((WORD)((BYTE)(g)) << 8)) | (((DWORD)(BYTE)(b)) << 16)))
#define GetRValue(rgb) ((BYTE)(rgb))
#define GetGValue(rgb) ((BYTE)(((WORD)(rgb)) >> 8))
#define GetBValue(rgb) ((BYTE)((rgb) >> 16))
#define CLR_INVALID 0xFFFFFFFF
#define PALETTEINDEX(i) ((COLORREF)(0x01000000 | (DWORD)(WORD)(i)))
#define PALETTERGB(r, g, b) (0x02000000 | RGB(r, g, b))
#define PC_RESERVED 0x01
#define PC_EXPLICIT 0x02
#define PC_NOCOLLAPSE 0x04

/* What GetObjectType answers for each kind of object; 0 for a handle that is not one. */
#define OBJ_PEN 1
#define OBJ_BRUSH 2
#define OBJ_DC 3
#define OBJ_METADC 4
#define OBJ_PAL 5
#define OBJ_FONT 6
#define OBJ_BITMAP 7
#define OBJ_REGION 8
#define OBJ_METAFILE 9
#define OBJ_MEMDC 10
#define OBJ_EXTPEN 11
#define OBJ_ENHMETADC 12
#define OBJ_ENHMETAFILE 13
#define OBJ_COLORSPACE 14

/* Stock objects. DEFAULT_PALETTE is the 20-colour palette every DC starts with. */
#define WHITE_BRUSH 0
#define LTGRAY_BRUSH 1
#define GRAY_BRUSH 2
#define DKGRAY_BRUSH 3
#define BLACK_BRUSH 4
#define NULL_BRUSH 5
#define HOLLOW_BRUSH NULL_BRUSH
#define WHITE_PEN 6
#define BLACK_PEN 7
#define NULL_PEN 8
#define DEFAULT_PALETTE 15

/* Device-independent bits. */
#define CBM_INIT 0x04L
#define DIB_RGB_COLORS 0
#define DIB_PAL_COLORS 1

/* Raster operations (ternary: pattern, source, destination). */
#define SRCCOPY 0x00CC0020
#define SRCPAINT 0x00EE0086
#define SRCAND 0x008800C6
#define SRCINVERT 0x00660046
#define SRCERASE 0x00440328
#define NOTSRCCOPY 0x00330008
#define NOTSRCERASE 0x001100A6
#define MERGECOPY 0x00C000CA
#define MERGEPAINT 0x00BB0226
#define PATCOPY 0x00F00021
#define PATPAINT 0x00FB0A09
#define PATINVERT 0x005A0049
#define DSTINVERT 0x00550009
#define BLACKNESS 0x00000042
#define WHITENESS 0x00FF0062

/* Binary raster operations of pens (SetROP2). */
#define R2_BLACK 1
#define R2_NOTMERGEPEN 2
#define R2_MASKNOTPEN 3
#define R2_NOTCOPYPEN 4
#define R2_MASKPENNOT 5
#define R2_NOT 6
#define R2_XORPEN 7
#define R2_NOTMASKPEN 8
#define R2_MASKPEN 9
#define R2_NOTXORPEN 10
#define R2_NOP 11
#define R2_MERGENOTPEN 12
#define R2_COPYPEN 13
#define R2_MERGEPENNOT 14
#define R2_MERGEPEN 15
#define R2_WHITE 16

/* Stretching modes. */
#define BLACKONWHITE 1
#define WHITEONBLACK 2
#define COLORONCOLOR 3
#define HALFTONE 4
#define STRETCH_ANDSCANS BLACKONWHITE
#define STRETCH_ORSCANS WHITEONBLACK
#define STRETCH_DELETESCANS COLORONCOLOR
#define STRETCH_HALFTONE HALFTONE

/* Background modes. */
#define TRANSPARENT 1
#define OPAQUE 2

/* GetDeviceCaps indices and answers. */
#define DRIVERVERSION 0
#define TECHNOLOGY 2
#define HORZSIZE 4
#define VERTSIZE 6
#define HORZRES 8
#define VERTRES 10
#define BITSPIXEL 12
#define PLANES 14
#define NUMBRUSHES 16
#define NUMPENS 18
#define NUMFONTS 22
#define NUMCOLORS 24
#define RASTERCAPS 38
#define LOGPIXELSX 88
#define LOGPIXELSY 90
#define SIZEPALETTE 104
#define NUMRESERVED 106
#define COLORRES 108
#define PHYSICALWIDTH 110
#define PHYSICALHEIGHT 111
#define PHYSICALOFFSETX 112
#define PHYSICALOFFSETY 113
#define DT_RASDISPLAY 1
#define DT_RASPRINTER 2
#define RC_BITBLT 0x0001
#define RC_BITMAP64 0x0008
#define RC_DI_BITMAP 0x0080
#define RC_PALETTE 0x0100
#define RC_DIBTODEV 0x0200
#define RC_STRETCHBLT 0x0800
#define RC_STRETCHDIB 0x2000

/* Mapping modes. */
#define MM_TEXT 1
#define MM_LOMETRIC 2
#define MM_HIMETRIC 3
#define MM_LOENGLISH 4
#define MM_HIENGLISH 5
#define MM_TWIPS 6
#define MM_ISOTROPIC 7
#define MM_ANISOTROPIC 8

/* Regions: how CombineRgn combines, and what region calls answer. */
#define RGN_AND 1
#define RGN_OR 2
#define RGN_XOR 3
#define RGN_DIFF 4
#define RGN_COPY 5
#define ERROR 0
#define NULLREGION 1
#define SIMPLEREGION 2
#define COMPLEXREGION 3

/* Pens and brushes. */
#define PS_SOLID 0
#define PS_DASH 1
#define PS_DOT 2
#define PS_DASHDOT 3
#define PS_DASHDOTDOT 4
#define PS_NULL 5
#define PS_INSIDEFRAME 6
#define BS_SOLID 0
#define BS_NULL 1
#define BS_HOLLOW BS_NULL
#define BS_PATTERN 3

/* Polygon fill modes. */
#define ALTERNATE 1
#define WINDING 2

/* Stock fonts (GetStockObject). */
#define OEM_FIXED_FONT 10
#define ANSI_FIXED_FONT 11
#define ANSI_VAR_FONT 12
#define SYSTEM_FONT 13
#define DEVICE_DEFAULT_FONT 14
#define SYSTEM_FIXED_FONT 16
#define DEFAULT_GUI_FONT 17

/* Font weights, character sets, pitches, and text output. */
#define FW_DONTCARE 0
#define FW_NORMAL 400
#define FW_BOLD 700
#define ANSI_CHARSET 0
#define DEFAULT_CHARSET 1
#define OEM_CHARSET 255
#define DEFAULT_PITCH 0
#define FIXED_PITCH 1
#define VARIABLE_PITCH 2
#define TMPF_FIXED_PITCH 0x01
#define TMPF_VECTOR 0x02
#define TMPF_TRUETYPE 0x04
#define ETO_OPAQUE 0x0002
#define ETO_CLIPPED 0x0004
#define TA_NOUPDATECP 0
#define TA_UPDATECP 1
#define TA_LEFT 0
#define TA_RIGHT 2
#define TA_CENTER 6
#define TA_TOP 0
#define TA_BOTTOM 8
#define TA_BASELINE 24
#define GDI_ERROR 0xFFFFFFFFL

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Objects. GetObjectType answers the OBJ_ code of a live object and 0 otherwise.
 * DeleteObject frees any object, a DC included, and answers TRUE; a stock object stays and
 * still answers TRUE; a null, deleted or invented handle answers FALSE.
 */
VXPLATFORMAPI DWORD GetObjectType(HGDIOBJ object);
VXPLATFORMAPI BOOL DeleteObject(HGDIOBJ object);
VXPLATFORMAPI HGDIOBJ GetStockObject(int which);

/*
 * Logical palettes. CreatePalette copies the entries (NULL for no palette or no entries).
 * GetPaletteEntries with a count of 0 answers the number of entries and copies nothing;
 * otherwise it copies at most count entries from start and answers how many (0 from start on
 * or past the end); with a null buffer it answers that number without copying.
 * GetNearestPaletteIndex answers the entry with the least sum of squared red, green and blue
 * differences, the lowest index winning a tie. For a handle that is not a palette both answer 0
 * (as Windows does under Wine; its documentation names CLR_INVALID for the look-up).
 */
VXPLATFORMAPI HPALETTE CreatePalette(const LOGPALETTE *palette);
VXPLATFORMAPI UINT GetPaletteEntries(HPALETTE palette, UINT start, UINT count, LPPALETTEENTRY entries);
VXPLATFORMAPI UINT GetNearestPaletteIndex(HPALETTE palette, COLORREF colour);

/*
 * Device contexts. CreateCompatibleDC(NULL) or of a live DC makes a memory DC (OBJ_MEMDC),
 * freed by DeleteDC. SelectPalette puts a palette into a DC and answers the one it held (the
 * stock default palette at first), NULL for a DC or palette that is not live. Deleting a
 * palette while it is selected frees it at once: the DC keeps its stale handle.
 */
VXPLATFORMAPI HDC CreateCompatibleDC(HDC dc);
VXPLATFORMAPI BOOL DeleteDC(HDC dc);
VXPLATFORMAPI HPALETTE SelectPalette(HDC dc, HPALETTE palette, BOOL forceBackground);

/*
 * Bitmaps. A device bitmap holds 1, 4, 8, 16, 24 or 32 bits per pixel in one plane, rows top
 * down, each padded to 16 bits (bmWidthBytes); a DIB section keeps the DIB's own layout in
 * memory the caller may write. A bitmap is selected into at most one memory DC at a time.
 * GetDIBits and SetDIBits convert between any two depths, each pixel taking the nearest colour
 * the destination holds; scan lines count from the DIB's bottom, its top row on the bitmap's.
 * Core (12-byte) headers, RLE bits and file-mapped DIB sections are not supported.
 */
VXPLATFORMAPI HBITMAP CreateBitmap(int width, int height, UINT planes, UINT bitsPerPixel, const void *bits);
VXPLATFORMAPI HBITMAP CreateBitmapIndirect(const BITMAP *bitmap);
VXPLATFORMAPI HBITMAP CreateCompatibleBitmap(HDC dc, int width, int height);
VXPLATFORMAPI HBITMAP CreateDIBitmap(HDC dc, const BITMAPINFOHEADER *header, DWORD init, const void *bits,
                                     const BITMAPINFO *info, UINT usage);
VXPLATFORMAPI HBITMAP CreateDIBSection(HDC dc, const BITMAPINFO *info, UINT usage, void **bits, HANDLE section,
                                       DWORD offset);
VXPLATFORMAPI int GetObjectA(HGDIOBJ object, int size, LPVOID out);
VXPLATFORMAPI LONG GetBitmapBits(HBITMAP bitmap, LONG size, LPVOID bits);
VXPLATFORMAPI LONG SetBitmapBits(HBITMAP bitmap, DWORD size, const void *bits);
VXPLATFORMAPI int GetDIBits(HDC dc, HBITMAP bitmap, UINT start, UINT lines, LPVOID bits, LPBITMAPINFO info,
                            UINT usage);
VXPLATFORMAPI int SetDIBits(HDC dc, HBITMAP bitmap, UINT start, UINT lines, const void *bits,
                            const BITMAPINFO *info, UINT usage);

/*
 * What a DC holds. SelectObject puts a bitmap (memory DCs only: monochrome, of the screen's
 * depth, or a DIB section), brush, pen or clipping region into a DC and answers the object it
 * replaced (for a region: the region's complexity), NULL (for a region: ERROR) when refused.
 * GetCurrentObject answers what is selected. A bitmap, brush or pen deleted while a DC holds it
 * stays usable there and goes when the last DC holding it lets go of it. GetDeviceCaps answers
 * the screen's capabilities for every DC.
 */
VXPLATFORMAPI HGDIOBJ SelectObject(HDC dc, HGDIOBJ object);
VXPLATFORMAPI HGDIOBJ GetCurrentObject(HDC dc, UINT type);
VXPLATFORMAPI int GetDeviceCaps(HDC dc, int index);
/*
 * SaveDC pushes everything a DC holds (selections, colours, modes, mapping, clipping region,
 * current position) and answers the new depth, from 1; RestoreDC(n) goes back to depth n, or
 * with n < 0 to n levels below the top, dropping what was saved after it; 0 and levels beyond
 * the stack answer FALSE. A selection deleted since it was saved stays as it is now.
 */
VXPLATFORMAPI int SaveDC(HDC dc);
VXPLATFORMAPI BOOL RestoreDC(HDC dc, int saved);
/*
 * A DC's colours (kept as given, PALETTEINDEX included) and background mode. Bad handles:
 * CLR_INVALID from the colour setters and GetBkColor, 0 from GetTextColor and the mode calls.
 */
VXPLATFORMAPI COLORREF SetTextColor(HDC dc, COLORREF colour);
VXPLATFORMAPI COLORREF GetTextColor(HDC dc);
VXPLATFORMAPI COLORREF SetBkColor(HDC dc, COLORREF colour);
VXPLATFORMAPI COLORREF GetBkColor(HDC dc);
VXPLATFORMAPI int SetBkMode(HDC dc, int mode);
VXPLATFORMAPI int GetBkMode(HDC dc);

/* Palettes realised into a DC, the system palette and colour matching. */
VXPLATFORMAPI UINT RealizePalette(HDC dc);
VXPLATFORMAPI UINT GetSystemPaletteEntries(HDC dc, UINT start, UINT count, LPPALETTEENTRY entries);
VXPLATFORMAPI COLORREF GetNearestColor(HDC dc, COLORREF colour);

/*
 * Bit transfers and stretching, with ternary raster operations on the destination's raw bits,
 * as Windows does them (mono/colour conversion through the DCs' colours, stretch modes
 * BLACKONWHITE to HALFTONE). The Linux screen has no pixels: a transfer to or from a screen DC
 * succeeds and draws nothing. StretchDIBits and SetDIBitsToDevice answer scan lines as Windows.
 */
VXPLATFORMAPI BOOL BitBlt(HDC dest, int x, int y, int width, int height, HDC source, int sourceX, int sourceY,
                          DWORD rop);
VXPLATFORMAPI BOOL StretchBlt(HDC dest, int x, int y, int width, int height, HDC source, int sourceX,
                              int sourceY, int sourceWidth, int sourceHeight, DWORD rop);
VXPLATFORMAPI BOOL PatBlt(HDC dc, int x, int y, int width, int height, DWORD rop);
VXPLATFORMAPI int SetDIBitsToDevice(HDC dc, int x, int y, DWORD width, DWORD height, int sourceX, int sourceY,
                                    UINT start, UINT lines, const void *bits, const BITMAPINFO *info, UINT usage);
VXPLATFORMAPI int StretchDIBits(HDC dc, int x, int y, int width, int height, int sourceX, int sourceY,
                                int sourceWidth, int sourceHeight, const void *bits, const BITMAPINFO *info,
                                UINT usage, DWORD rop);
VXPLATFORMAPI int SetStretchBltMode(HDC dc, int mode);
VXPLATFORMAPI int GetStretchBltMode(HDC dc);
VXPLATFORMAPI COLORREF GetPixel(HDC dc, int x, int y);
VXPLATFORMAPI COLORREF SetPixel(HDC dc, int x, int y, COLORREF colour);

/* Brushes: solid, pattern (the whole bitmap, copied when made), hollow; no hatched brushes. */
VXPLATFORMAPI HBRUSH CreateSolidBrush(COLORREF colour);
VXPLATFORMAPI HBRUSH CreatePatternBrush(HBITMAP bitmap);
VXPLATFORMAPI HBRUSH CreateBrushIndirect(const LOGBRUSH *brush);

/*
 * Mapping modes: logical to device coordinates. The fixed modes derive their extents from the
 * device's HORZSIZE / HORZRES (and vertical ones), y growing upwards; MM_ISOTROPIC starts as
 * MM_LOMETRIC and later extents shrink one viewport axis to keep units square. Set...ExtEx
 * reports the previous extent, is ignored (TRUE) in the other modes and refuses a zero
 * extent. Points are mapped through a single-precision matrix and rounded half up as Windows
 * does; a result beyond 32 bits is INT_MIN.
 */
VXPLATFORMAPI int SetMapMode(HDC dc, int mode);
VXPLATFORMAPI int GetMapMode(HDC dc);
VXPLATFORMAPI BOOL SetWindowOrgEx(HDC dc, int x, int y, LPPOINT previous);
VXPLATFORMAPI BOOL GetWindowOrgEx(HDC dc, LPPOINT origin);
VXPLATFORMAPI BOOL SetWindowExtEx(HDC dc, int x, int y, LPSIZE previous);
VXPLATFORMAPI BOOL GetWindowExtEx(HDC dc, LPSIZE extent);
VXPLATFORMAPI BOOL SetViewportOrgEx(HDC dc, int x, int y, LPPOINT previous);
VXPLATFORMAPI BOOL GetViewportOrgEx(HDC dc, LPPOINT origin);
VXPLATFORMAPI BOOL SetViewportExtEx(HDC dc, int x, int y, LPSIZE previous);
VXPLATFORMAPI BOOL GetViewportExtEx(HDC dc, LPSIZE extent);
VXPLATFORMAPI BOOL LPtoDP(HDC dc, LPPOINT points, int count);
VXPLATFORMAPI BOOL DPtoLP(HDC dc, LPPOINT points, int count);

/*
 * Rectangular regions and clipping. Regions keep Windows' bands, so the answers NULLREGION,
 * SIMPLEREGION and COMPLEXREGION (ERROR for a handle that is not a region, or an unknown
 * CombineRgn mode) are Windows' for any sequence of combinations. A DC's clipping region is in
 * device coordinates and may reach beyond its surface; SelectClipRgn copies (NULL removes it),
 * IntersectClipRect and ExcludeClipRect take logical rectangles, GetClipBox answers the
 * visible box in logical coordinates (NULLREGION when nothing is visible).
 */
VXPLATFORMAPI HRGN CreateRectRgn(int left, int top, int right, int bottom);
VXPLATFORMAPI HRGN CreateRectRgnIndirect(const RECT *rect);
VXPLATFORMAPI int CombineRgn(HRGN dest, HRGN source1, HRGN source2, int mode);
VXPLATFORMAPI int GetRgnBox(HRGN region, LPRECT box);
VXPLATFORMAPI int OffsetRgn(HRGN region, int x, int y);
VXPLATFORMAPI BOOL PtInRegion(HRGN region, int x, int y);
VXPLATFORMAPI int SelectClipRgn(HDC dc, HRGN region);
VXPLATFORMAPI int IntersectClipRect(HDC dc, int left, int top, int right, int bottom);
VXPLATFORMAPI int ExcludeClipRect(HDC dc, int left, int top, int right, int bottom);
VXPLATFORMAPI int GetClipBox(HDC dc, LPRECT box);

/*
 * Pens and lines. Lines light Windows' pixels, their last point left out, on every depth
 * through the DC's binary raster operation (SetROP2: R2_BLACK ... R2_WHITE, 0 for others),
 * clipped to the clipping region. Pens are drawn one pixel wide (dashed styles with Windows'
 * cosmetic patterns); CreatePen(PS_NULL, ...) answers the stock NULL_PEN. Rectangle draws the
 * outline and fills the inside with the brush as PatBlt fills, through the same operation.
 */
VXPLATFORMAPI HPEN CreatePen(int style, int width, COLORREF colour);
VXPLATFORMAPI int SetROP2(HDC dc, int mode);
VXPLATFORMAPI int GetROP2(HDC dc);
VXPLATFORMAPI BOOL MoveToEx(HDC dc, int x, int y, LPPOINT previous);
VXPLATFORMAPI BOOL LineTo(HDC dc, int x, int y);
VXPLATFORMAPI BOOL Polyline(HDC dc, const POINT *points, int count);
VXPLATFORMAPI BOOL Rectangle(HDC dc, int left, int top, int right, int bottom);

/*
 * Shapes, filled with the DC's brush and outlined with its pen through its binary raster
 * operation, as Windows draws them (to within the tolerance the tests name for curves).
 * Polygons fill by the DC's fill mode (ALTERNATE or WINDING). FillRgn, PaintRgn, FrameRgn and
 * InvertRgn paint a region given in logical coordinates.
 */
VXPLATFORMAPI BOOL Ellipse(HDC dc, int left, int top, int right, int bottom);
VXPLATFORMAPI BOOL RoundRect(HDC dc, int left, int top, int right, int bottom, int width, int height);
VXPLATFORMAPI BOOL Arc(HDC dc, int left, int top, int right, int bottom, int startX, int startY, int endX,
                       int endY);
VXPLATFORMAPI BOOL Pie(HDC dc, int left, int top, int right, int bottom, int startX, int startY, int endX,
                       int endY);
VXPLATFORMAPI BOOL Chord(HDC dc, int left, int top, int right, int bottom, int startX, int startY, int endX,
                         int endY);
VXPLATFORMAPI BOOL Polygon(HDC dc, const POINT *points, int count);
VXPLATFORMAPI BOOL PolyPolygon(HDC dc, const POINT *points, const INT *counts, int polygons);
VXPLATFORMAPI int SetPolyFillMode(HDC dc, int mode);
VXPLATFORMAPI int GetPolyFillMode(HDC dc);
VXPLATFORMAPI BOOL FillRgn(HDC dc, HRGN region, HBRUSH brush);
VXPLATFORMAPI BOOL PaintRgn(HDC dc, HRGN region);
VXPLATFORMAPI BOOL FrameRgn(HDC dc, HRGN region, HBRUSH brush, int width, int height);
VXPLATFORMAPI BOOL InvertRgn(HDC dc, HRGN region);

/* Moving and scaling the window and viewport (the extents as Set...ExtEx treats them). */
VXPLATFORMAPI BOOL OffsetWindowOrgEx(HDC dc, int x, int y, LPPOINT previous);
VXPLATFORMAPI BOOL OffsetViewportOrgEx(HDC dc, int x, int y, LPPOINT previous);
VXPLATFORMAPI BOOL ScaleWindowExtEx(HDC dc, int xNum, int xDenom, int yNum, int yDenom, LPSIZE previous);
VXPLATFORMAPI BOOL ScaleViewportExtEx(HDC dc, int xNum, int xDenom, int yNum, int yDenom, LPSIZE previous);

/*
 * Fonts and text. Glyphs come from a scalable font found through fontconfig and rendered by
 * FreeType without anti-aliasing, as GDI renders bitmap fonts; every DC starts with the stock
 * SYSTEM_FONT. Metrics are the font's, in logical units of the DC; text drawn in a mapping mode
 * is scaled with it. Text is compared by structure, never by pixels, against Windows.
 */
VXPLATFORMAPI HFONT CreateFontIndirectA(const LOGFONTA *font);
VXPLATFORMAPI HFONT CreateFontA(int height, int width, int escapement, int orientation, int weight,
                                DWORD italic, DWORD underline, DWORD strikeOut, DWORD charSet,
                                DWORD outPrecision, DWORD clipPrecision, DWORD quality,
                                DWORD pitchAndFamily, LPCSTR faceName);
VXPLATFORMAPI BOOL GetTextMetricsA(HDC dc, LPTEXTMETRICA metrics);
VXPLATFORMAPI BOOL GetTextExtentPoint32A(HDC dc, LPCSTR text, int count, LPSIZE size);
VXPLATFORMAPI BOOL TextOutA(HDC dc, int x, int y, LPCSTR text, int count);
VXPLATFORMAPI BOOL ExtTextOutA(HDC dc, int x, int y, UINT options, const RECT *rect, LPCSTR text, UINT count,
                               const INT *dx);
VXPLATFORMAPI UINT SetTextAlign(HDC dc, UINT align);
VXPLATFORMAPI UINT GetTextAlign(HDC dc);

/*
 * Windows metafiles (WMF) and enhanced metafiles (EMF), in the published record formats.
 * CreateMetaFileA / CreateEnhMetaFileA give a DC (OBJ_METADC, OBJ_ENHMETADC) that records
 * what is drawn on it (a null file name: in memory); Close...MetaFile ends the recording and
 * answers the metafile. Set...Bits make a metafile of bytes (copied), Get...Bits copy them out
 * (a null buffer: the size). Play... draw the records on a DC with the Linux GDI; a record the
 * player does not know is skipped. GetMetaFileA / GetEnhMetaFileA read a file (a placeable
 * header is not accepted by GetMetaFileA, as on Windows).
 */
VXPLATFORMAPI HDC CreateMetaFileA(LPCSTR fileName);
VXPLATFORMAPI HMETAFILE CloseMetaFile(HDC dc);
VXPLATFORMAPI BOOL DeleteMetaFile(HMETAFILE metafile);
VXPLATFORMAPI HMETAFILE GetMetaFileA(LPCSTR fileName);
VXPLATFORMAPI HMETAFILE CopyMetaFileA(HMETAFILE metafile, LPCSTR fileName);
VXPLATFORMAPI HMETAFILE SetMetaFileBitsEx(UINT size, const BYTE *bits);
VXPLATFORMAPI UINT GetMetaFileBitsEx(HMETAFILE metafile, UINT size, LPVOID bits);
VXPLATFORMAPI BOOL PlayMetaFile(HDC dc, HMETAFILE metafile);

VXPLATFORMAPI HDC CreateEnhMetaFileA(HDC reference, LPCSTR fileName, const RECT *frame, LPCSTR description);
VXPLATFORMAPI HENHMETAFILE CloseEnhMetaFile(HDC dc);
VXPLATFORMAPI BOOL DeleteEnhMetaFile(HENHMETAFILE metafile);
VXPLATFORMAPI HENHMETAFILE GetEnhMetaFileA(LPCSTR fileName);
VXPLATFORMAPI HENHMETAFILE CopyEnhMetaFileA(HENHMETAFILE metafile, LPCSTR fileName);
VXPLATFORMAPI HENHMETAFILE SetEnhMetaFileBits(UINT size, const BYTE *bits);
VXPLATFORMAPI UINT GetEnhMetaFileBits(HENHMETAFILE metafile, UINT size, LPBYTE bits);
VXPLATFORMAPI UINT GetEnhMetaFileHeader(HENHMETAFILE metafile, UINT size, LPENHMETAHEADER header);
VXPLATFORMAPI BOOL PlayEnhMetaFile(HDC dc, HENHMETAFILE metafile, const RECT *rect);
VXPLATFORMAPI HENHMETAFILE SetWinMetaFileBits(UINT size, const BYTE *bits, HDC reference,
                                              const METAFILEPICT *picture);

#ifdef __cplusplus
}
#endif

#endif /* _WIN32 */
#endif /* VEXORA_WIN32_GDI_H */
