/*
 * vexora_win32.h - the Win32 types and calls that Vexora's interface uses, for platforms
 * without <windows.h>.
 *
 * An application written against VEXORA.DLL recompiles against libvexora.so unchanged: the
 * types below have the sizes they have on Windows (LONG and DWORD are 32-bit, handles are
 * pointers), and libvexora.so itself exports the handful of Win32 calls a caller needs to
 * work with the library's handles:
 *
 *   - movable memory blocks: GlobalAlloc, GlobalReAlloc, GlobalLock, GlobalUnlock,
 *     GlobalFree, GlobalSize (an HDIB is such a block);
 *   - the compatibility file calls over POSIX descriptors: _lopen, _lcreat, _lread, _hread,
 *     _lwrite, _hwrite, _llseek, _lclose, OpenFile (an HFILE is a file descriptor);
 *   - logical palettes: CreatePalette, GetPaletteEntries, GetNearestPaletteIndex, DeleteObject;
 *   - MessageBoxA, which has no screen here and reports through the library's message sink
 *     (VexoraSetMessageSink in vexora.h);
 *   - profile (INI) files: GetPrivateProfileStringA, GetPrivateProfileIntA;
 *   - GetVersion.
 *
 * On Windows this file only includes <windows.h>.
 */
#ifndef VEXORA_WIN32_H
#define VEXORA_WIN32_H

#if defined(_WIN32)
#include <windows.h>
#else

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(VEXORA_BUILDING_LIBRARY)
#define VXPLATFORMAPI __attribute__((visibility("default")))
#else
#define VXPLATFORMAPI
#endif

#define WINAPI
#define CALLBACK
#define APIENTRY

typedef int BOOL;
typedef unsigned char BYTE;
typedef uint16_t WORD;
typedef int32_t LONG;
typedef uint32_t DWORD;
typedef uint32_t ULONG;
typedef unsigned int UINT;
typedef int INT;
typedef short SHORT;
typedef unsigned short USHORT;
typedef char CHAR;
typedef char CCHAR;
typedef intptr_t INT_PTR;
typedef uintptr_t UINT_PTR;
typedef intptr_t LONG_PTR;
typedef uintptr_t ULONG_PTR;
typedef uintptr_t WPARAM;
typedef intptr_t LPARAM;
typedef intptr_t LRESULT;
typedef DWORD COLORREF;
typedef void *LPVOID;
typedef const void *LPCVOID;
typedef char *LPSTR;
typedef const char *LPCSTR;
typedef const char *LPCCH;
typedef BYTE *LPBYTE;
typedef WORD *LPWORD;
typedef DWORD *LPDWORD;
typedef LONG *LPLONG;
typedef int *LPINT;
typedef BOOL *LPBOOL;

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

typedef void *HANDLE;
typedef HANDLE HGLOBAL;
typedef HANDLE HLOCAL;
#define VX_DECLARE_HANDLE(name) \
    struct name##__ { int unused; }; \
    typedef struct name##__ *name
VX_DECLARE_HANDLE(HWND);
VX_DECLARE_HANDLE(HDC);
VX_DECLARE_HANDLE(HBITMAP);
VX_DECLARE_HANDLE(HPALETTE);
VX_DECLARE_HANDLE(HINSTANCE);
VX_DECLARE_HANDLE(HCURSOR);
VX_DECLARE_HANDLE(HMETAFILE);
VX_DECLARE_HANDLE(HENHMETAFILE);
VX_DECLARE_HANDLE(HRGN);
VX_DECLARE_HANDLE(HBRUSH);
VX_DECLARE_HANDLE(HPEN);
VX_DECLARE_HANDLE(HFONT);
#undef VX_DECLARE_HANDLE
typedef HINSTANCE HMODULE;
typedef void *HGDIOBJ;
typedef int HFILE;
#define HFILE_ERROR ((HFILE)-1)

typedef INT_PTR(CALLBACK *DLGPROC)(HWND, UINT, WPARAM, LPARAM);
typedef BOOL(CALLBACK *ABORTPROC)(HDC, int);

typedef struct tagPOINT {
    LONG x;
    LONG y;
} POINT, *PPOINT, *LPPOINT;

typedef struct tagSIZE {
    LONG cx;
    LONG cy;
} SIZE, *PSIZE, *LPSIZE;

typedef struct tagRECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
} RECT, *PRECT, *LPRECT;

typedef struct tagRGBQUAD {
    BYTE rgbBlue;
    BYTE rgbGreen;
    BYTE rgbRed;
    BYTE rgbReserved;
} RGBQUAD, *LPRGBQUAD;

typedef struct tagRGBTRIPLE {
    BYTE rgbtBlue;
    BYTE rgbtGreen;
    BYTE rgbtRed;
} RGBTRIPLE;

typedef struct tagBITMAPINFOHEADER {
    DWORD biSize;
    LONG biWidth;
    LONG biHeight;
    WORD biPlanes;
    WORD biBitCount;
    DWORD biCompression;
    DWORD biSizeImage;
    LONG biXPelsPerMeter;
    LONG biYPelsPerMeter;
    DWORD biClrUsed;
    DWORD biClrImportant;
} BITMAPINFOHEADER, *LPBITMAPINFOHEADER, *PBITMAPINFOHEADER;

typedef struct tagBITMAPCOREHEADER {
    DWORD bcSize;
    WORD bcWidth;
    WORD bcHeight;
    WORD bcPlanes;
    WORD bcBitCount;
} BITMAPCOREHEADER, *LPBITMAPCOREHEADER;

typedef struct tagBITMAPINFO {
    BITMAPINFOHEADER bmiHeader;
    RGBQUAD bmiColors[1];
} BITMAPINFO, *LPBITMAPINFO;

#pragma pack(push, 2)
typedef struct tagBITMAPFILEHEADER {
    WORD bfType;
    DWORD bfSize;
    WORD bfReserved1;
    WORD bfReserved2;
    DWORD bfOffBits;
} BITMAPFILEHEADER, *LPBITMAPFILEHEADER;
#pragma pack(pop)

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

#define OFS_MAXPATHNAME 128
typedef struct _OFSTRUCT {
    BYTE cBytes;
    BYTE fFixedDisk;
    WORD nErrCode;
    WORD Reserved1;
    WORD Reserved2;
    CHAR szPathName[OFS_MAXPATHNAME];
} OFSTRUCT, *LPOFSTRUCT;

#define BI_RGB 0L
#define BI_RLE8 1L
#define BI_RLE4 2L
#define BI_BITFIELDS 3L

#define RGB(r, g, b) ((COLORREF)(((BYTE)(r) | ((WORD)((BYTE)(g)) << 8)) | (((DWORD)(BYTE)(b)) << 16)))
#define GetRValue(rgb) ((BYTE)(rgb))
#define GetGValue(rgb) ((BYTE)(((WORD)(rgb)) >> 8))
#define GetBValue(rgb) ((BYTE)((rgb) >> 16))
#define CLR_INVALID 0xFFFFFFFF

/* Movable memory blocks. */
#define GMEM_FIXED 0x0000
#define GMEM_MOVEABLE 0x0002
#define GMEM_ZEROINIT 0x0040
#define GMEM_MODIFY 0x0080
#define GHND (GMEM_MOVEABLE | GMEM_ZEROINIT)
#define GPTR (GMEM_FIXED | GMEM_ZEROINIT)

VXPLATFORMAPI HGLOBAL GlobalAlloc(UINT flags, size_t bytes);
VXPLATFORMAPI HGLOBAL GlobalReAlloc(HGLOBAL block, size_t bytes, UINT flags);
VXPLATFORMAPI LPVOID GlobalLock(HGLOBAL block);
VXPLATFORMAPI BOOL GlobalUnlock(HGLOBAL block);
VXPLATFORMAPI HGLOBAL GlobalFree(HGLOBAL block);
VXPLATFORMAPI size_t GlobalSize(HGLOBAL block);

/* Compatibility file calls over POSIX descriptors. */
#define OF_READ 0x0000
#define OF_WRITE 0x0001
#define OF_READWRITE 0x0002
#define OF_SHARE_COMPAT 0x0000
#define OF_SHARE_EXCLUSIVE 0x0010
#define OF_SHARE_DENY_WRITE 0x0020
#define OF_SHARE_DENY_READ 0x0030
#define OF_SHARE_DENY_NONE 0x0040
#define OF_PARSE 0x0100
#define OF_DELETE 0x0200
#define OF_CREATE 0x1000
#define OF_EXIST 0x4000
#define FILE_BEGIN 0
#define FILE_CURRENT 1
#define FILE_END 2

VXPLATFORMAPI HFILE _lopen(LPCSTR path, int mode);
VXPLATFORMAPI HFILE _lcreat(LPCSTR path, int attributes);
VXPLATFORMAPI UINT _lread(HFILE file, LPVOID buffer, UINT bytes);
VXPLATFORMAPI long _hread(HFILE file, LPVOID buffer, long bytes);
VXPLATFORMAPI UINT _lwrite(HFILE file, LPCCH buffer, UINT bytes);
VXPLATFORMAPI long _hwrite(HFILE file, LPCCH buffer, long bytes);
VXPLATFORMAPI LONG _llseek(HFILE file, LONG offset, int origin);
VXPLATFORMAPI HFILE _lclose(HFILE file);
VXPLATFORMAPI HFILE OpenFile(LPCSTR path, LPOFSTRUCT info, UINT style);

/* Logical palettes. An HPALETTE holds the palette's entries; DeleteObject frees it. */
VXPLATFORMAPI HPALETTE CreatePalette(const LOGPALETTE *palette);
VXPLATFORMAPI UINT GetPaletteEntries(HPALETTE palette, UINT start, UINT count, LPPALETTEENTRY entries);
VXPLATFORMAPI UINT GetNearestPaletteIndex(HPALETTE palette, COLORREF colour);
VXPLATFORMAPI BOOL DeleteObject(HGDIOBJ object);

/* Message boxes: no screen, so the text goes to the message sink (VexoraSetMessageSink). */
#define MB_OK 0x00000000L
#define MB_ICONHAND 0x00000010L
#define MB_ICONQUESTION 0x00000020L
#define MB_ICONEXCLAMATION 0x00000030L
#define MB_ICONASTERISK 0x00000040L
#define IDOK 1

VXPLATFORMAPI int MessageBoxA(HWND owner, LPCSTR text, LPCSTR caption, UINT style);

/*
 * Profile (INI) files, read with the rules of the Windows calls: sections and keys are found
 * without regard to ASCII letter case, and only the first section of a name counts; names and
 * values are trimmed of white space; a value enclosed in matching quotes (' or ") loses them;
 * at most size - 1 characters and a terminator are copied and the count copied is returned.
 * A missing key, section or file gives the default, trailing spaces removed and then copied
 * like a value (a file that cannot be opened reads as an empty one). A null key lists
 * the section's keys, a null section the profile's sections: names each followed by a
 * terminator, one more at the end; a list cut short returns size - 2. GetPrivateProfileIntA
 * gives the default for a missing or empty value and otherwise parses it: optional sign,
 * optional 0x / 0o / 0b prefix, digits up to the first other character, 32-bit wrap-around.
 * The file is read afresh on every call; a relative name is relative to the working
 * directory (Windows resolves it against the Windows directory).
 */
VXPLATFORMAPI DWORD GetPrivateProfileStringA(LPCSTR section, LPCSTR key, LPCSTR defaultValue,
                                             LPSTR buffer, DWORD size, LPCSTR fileName);
VXPLATFORMAPI UINT GetPrivateProfileIntA(LPCSTR section, LPCSTR key, INT defaultValue, LPCSTR fileName);

/* The platform version word. The high bit is clear (not a 16-bit hosting layer). */
VXPLATFORMAPI DWORD GetVersion(void);

#ifdef __cplusplus
}
#endif

#endif /* _WIN32 */
#endif /* VEXORA_WIN32_H */
