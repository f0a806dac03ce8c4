/*
 * vexora_win32_print.h - the printer calls libvexora.so exports, for platforms without
 * <windows.h>: printer device contexts and their jobs (GDI32) and the printer list (WINSPOOL).
 *
 * Printers here are cairo surfaces:
 *   - CreateDCA("WINSPOOL", name, NULL, NULL) with the name of a CUPS destination: the job is
 *     rendered to a PDF file and submitted to that queue at EndDoc (nothing is submitted when
 *     the job is aborted). The page is the queue's default media at its default resolution.
 *   - A file printer: the device name "PDF:" or "PS:" followed by a file path writes a PDF or
 *     PostScript file (CreateDCA(NULL or "WINSPOOL", "PDF:/tmp/out.pdf", NULL, NULL)). The file
 *     is written whole at EndDoc, through a temporary file renamed into place, so that a failed
 *     or aborted job leaves no half-written file. The page is A4 or Letter from the locale's
 *     paper size, overridden by the environment variable VEXORA_PAPER ("a4" or "letter").
 *     File printers draw at 300 dots per inch.
 *   - The banding test printer: "BANDS:" followed by a file path is a PDF file printer that
 *     also reports RC_BANDING and hands out the page in bands through the NEXTBAND escape, so
 *     that banding code runs without a banding printer.
 * Printer DCs report what Windows' PostScript driver reports: DT_RASPRINTER, 32 bits in one
 * plane, NUMCOLORS -1, RASTERCAPS RC_BITBLT | RC_BITMAP64 | GDI20_OUTPUT | RC_DIBTODEV |
 * RC_STRETCHBLT | RC_STRETCHDIB (0x2a19; plus RC_BANDING for the banding printer),
 * HORZRES/VERTRES the page in dots (no margins: PHYSICALWIDTH/HEIGHT are the same),
 * LOGPIXELSX/Y the resolution, HORZSIZE/VERTSIZE the page in whole millimetres. StretchDIBits
 * (RLE DIBs too) paints the DIB into the page once, as an image, not as pixels of the
 * device's resolution; other drawing calls draw nothing on a printer.
 *
 * On Windows this file only includes <windows.h>.
 */
#ifndef VEXORA_WIN32_PRINT_H
#define VEXORA_WIN32_PRINT_H

#include "vexora_win32_types.h"

#if !defined(_WIN32)

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _DOCINFOA {
    int cbSize;
    LPCSTR lpszDocName;
    LPCSTR lpszOutput;
    LPCSTR lpszDatatype;
    DWORD fwType;
} DOCINFOA, *LPDOCINFOA;
#define DI_APPBANDING 0x00000001

/* Printer capabilities beyond the screen's (GetDeviceCaps). */
#define RC_BANDING 0x0002

/* Escapes. */
#define NEWFRAME 1
#define ABORTDOC 2
#define NEXTBAND 3
#define SETABORTPROC 9
#define STARTDOC 10
#define ENDDOC 11
#define QUERYESCSUPPORT 8
#define SP_ERROR (-1)
#define SP_APPABORT (-2)
#define SP_USERABORT (-3)
#define SP_OUTOFDISK (-4)
#define SP_OUTOFMEMORY (-5)

/*
 * CreateDCA makes a printer DC as described above (driver NULL or "WINSPOOL"): the device is
 * a "PDF:"/"PS:"/"BANDS:" name, a printer of the user profile's [devices] section (its port
 * says where it prints), or a CUPS destination; failing those, a "PDF:"/"PS:"/"BANDS:" port.
 * "DISPLAY" as the driver gives a DC of the screen. Unknown printers answer NULL.
 * StartDocA answers a job number > 0, StartPage/EndPage/EndDoc/AbortDoc > 0. Out of order
 * they answer as Windows does: StartPage 1 on any DC (it starts a page only inside a job),
 * EndPage/EndDoc/AbortDoc 0 outside a job (and on DCs that are not printers'), StartDocA 0
 * inside one; SP_ERROR for a handle that is not a DC, and StartDocA SP_ERROR when the output
 * file cannot be made (EndDoc SP_ERROR when it cannot be written to the end). SetAbortProc
 * installs the procedure the job calls (with the DC and 0) at each band, EndPage and EndDoc; a
 * FALSE answer aborts the job and the call answers SP_APPABORT. Escape answers
 * QUERYESCSUPPORT, NEXTBAND with the next band rectangle (the whole page once on a printer
 * that does not band, then an empty rectangle: the page is done and ended), ABORTDOC by
 * ending the job unwritten, SETABORTPROC as SetAbortProc.
 */
VXPLATFORMAPI HDC CreateDCA(LPCSTR driver, LPCSTR device, LPCSTR port, const void *devMode);
VXPLATFORMAPI int StartDocA(HDC dc, const DOCINFOA *info);
VXPLATFORMAPI int EndDoc(HDC dc);
VXPLATFORMAPI int StartPage(HDC dc);
VXPLATFORMAPI int EndPage(HDC dc);
VXPLATFORMAPI int AbortDoc(HDC dc);
VXPLATFORMAPI int SetAbortProc(HDC dc, ABORTPROC procedure);
VXPLATFORMAPI int Escape(HDC dc, int escape, int inputSize, LPCSTR input, LPVOID output);

/* The printer list: the user profile's printers, then the CUPS destinations (none without a
   CUPS server; a server that does not answer within half a second counts as none). */
#define PRINTER_ENUM_DEFAULT 0x00000001
#define PRINTER_ENUM_LOCAL 0x00000002
#define PRINTER_ENUM_CONNECTIONS 0x00000004
#define PRINTER_ENUM_NAME 0x00000008
#define PRINTER_ATTRIBUTE_DEFAULT 0x00000004
#define PRINTER_ATTRIBUTE_NETWORK 0x00000010
#define PRINTER_ATTRIBUTE_LOCAL 0x00000040
#define ERROR_INSUFFICIENT_BUFFER 122L
#define ERROR_INVALID_LEVEL 124L

typedef struct _PRINTER_INFO_1A {
    DWORD Flags;
    LPSTR pDescription;
    LPSTR pName;
    LPSTR pComment;
} PRINTER_INFO_1A, *PPRINTER_INFO_1A, *LPPRINTER_INFO_1A;

typedef struct _PRINTER_INFO_2A {
    LPSTR pServerName;
    LPSTR pPrinterName;
    LPSTR pShareName;
    LPSTR pPortName;
    LPSTR pDriverName;
    LPSTR pComment;
    LPSTR pLocation;
    void *pDevMode;
    LPSTR pSepFile;
    LPSTR pPrintProcessor;
    LPSTR pDatatype;
    LPSTR pParameters;
    void *pSecurityDescriptor;
    DWORD Attributes;
    DWORD Priority;
    DWORD DefaultPriority;
    DWORD StartTime;
    DWORD UntilTime;
    DWORD Status;
    DWORD cJobs;
    DWORD AveragePPM;
} PRINTER_INFO_2A, *PPRINTER_INFO_2A, *LPPRINTER_INFO_2A;

/*
 * EnumPrintersA at levels 1 and 2, the records followed by their strings in the caller's
 * buffer. A buffer too small (or NULL) answers FALSE with ERROR_INSUFFICIENT_BUFFER (see
 * GetLastError) and the size needed in *needed; an empty list answers TRUE, 0 needed, 0 returned.
 */
VXPLATFORMAPI BOOL EnumPrintersA(DWORD flags, LPSTR name, DWORD level, LPBYTE buffer, DWORD size,
                                 LPDWORD needed, LPDWORD returned);

#ifdef __cplusplus
}
#endif

#endif /* _WIN32 */
#endif /* VEXORA_WIN32_PRINT_H */
