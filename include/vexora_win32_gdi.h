/*
 * vexora_win32_gdi.h - the GDI32 structures and calls libvexora.so exports, for platforms
 * without <windows.h>:
 *
 *   - objects: GetObjectType, DeleteObject, GetStockObject (DEFAULT_PALETTE);
 *   - logical palettes: CreatePalette, GetPaletteEntries, GetNearestPaletteIndex;
 *   - memory device contexts: CreateCompatibleDC, DeleteDC, and SelectPalette into any DC.
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

#define RGB(r, g, b) ((COLORREF)(((BYTE)(r) | ((WORD)((BYTE)(g)) << 8)) | (((DWORD)(BYTE)(b)) << 16)))
#define GetRValue(rgb) ((BYTE)(rgb))
#define GetGValue(rgb) ((BYTE)(((WORD)(rgb)) >> 8))
#define GetBValue(rgb) ((BYTE)((rgb) >> 16))
#define CLR_INVALID 0xFFFFFFFF

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

/* Stock objects: GetStockObject(DEFAULT_PALETTE) is the 20-colour palette every DC starts with. */
#define DEFAULT_PALETTE 15

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

#ifdef __cplusplus
}
#endif

#endif /* _WIN32 */
#endif /* VEXORA_WIN32_GDI_H */
