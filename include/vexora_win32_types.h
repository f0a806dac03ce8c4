/*
 * vexora_win32_types.h - the Win32 base types, handles and DIB structures of Vexora's interface,
 * for platforms without <windows.h>; and VXPLATFORMAPI, which marks the Win32 calls that
 * libvexora.so itself exports.
 *
 * The types have the sizes they have on Windows: BOOL, INT and LONG are 32-bit, so are DWORD
 * and COLORREF; WPARAM, LPARAM and the *_PTR types are as wide as a pointer; handles are
 * pointers to distinct incomplete-looking structures, so that an HPALETTE does not convert to
 * an HDC silently, as with STRICT on Windows. The DIB structures (BITMAPINFOHEADER,
 * BITMAPFILEHEADER, RGBQUAD, ...) have Windows' layout, the file header packed to 2 bytes.
 *
 * On Windows this file only includes <windows.h>.
 */
#ifndef VEXORA_WIN32_TYPES_H
#define VEXORA_WIN32_TYPES_H

#if defined(_WIN32)
#include <windows.h>
#else

#include <stddef.h>
#include <stdint.h>

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
typedef uintptr_t DWORD_PTR;
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
VX_DECLARE_HANDLE(HMENU);
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

#define BI_RGB 0L
#define BI_RLE8 1L
#define BI_RLE4 2L
#define BI_BITFIELDS 3L

#endif /* _WIN32 */
#endif /* VEXORA_WIN32_TYPES_H */
