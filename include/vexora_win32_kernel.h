/*
 * vexora_win32_kernel.h - the KERNEL32 calls libvexora.so exports, for platforms without
 * <windows.h>:
 *
 *   - movable memory blocks: GlobalAlloc, GlobalReAlloc, GlobalLock, GlobalUnlock,
 *     GlobalFree, GlobalSize (an HDIB is such a block);
 *   - the compatibility file calls over POSIX descriptors: _lopen, _lcreat, _lread, _hread,
 *     _lwrite, _hwrite, _llseek, _lclose, OpenFile (an HFILE is a file descriptor);
 *   - profile (INI) files: GetPrivateProfileStringA, GetPrivateProfileIntA;
 *   - GetVersion.
 *
 * On Windows this file only includes <windows.h>.
 */
#ifndef VEXORA_WIN32_KERNEL_H
#define VEXORA_WIN32_KERNEL_H

#include "vexora_win32_types.h"

#if !defined(_WIN32)

#define OFS_MAXPATHNAME 128
typedef struct _OFSTRUCT {
    BYTE cBytes;
    BYTE fFixedDisk;
    WORD nErrCode;
    WORD Reserved1;
    WORD Reserved2;
    CHAR szPathName[OFS_MAXPATHNAME];
} OFSTRUCT, *LPOFSTRUCT;

#ifdef __cplusplus
extern "C" {
#endif

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

/*
 * The user's profile (WIN.INI on Windows): sections "windows" and "devices" name the printers.
 * Here they are answered from the user profile file $XDG_CONFIG_HOME/vexora/vexora.ini
 * (~/.config when unset), whose [devices] section may declare printers of its own ("name=
 * WINSPOOL,PDF:/path/out.pdf"), and from the CUPS destinations (driver "WINSPOOL", port
 * "CUPS:"); "device" of "windows" is the file's value, else CUPS's default destination.
 * WriteProfileStringA stores into the file, so the chosen default printer persists there. Any
 * other section is read from and written to that file alone. The reading rules are those of
 * GetPrivateProfileStringA.
 */
VXPLATFORMAPI DWORD GetProfileStringA(LPCSTR section, LPCSTR key, LPCSTR defaultValue,
                                      LPSTR buffer, DWORD size);
VXPLATFORMAPI BOOL WriteProfileStringA(LPCSTR section, LPCSTR key, LPCSTR value);

/* Local memory blocks (the dialogs' work buffers): the Global calls' rules. */
#define LMEM_FIXED 0x0000
#define LMEM_MOVEABLE 0x0002
#define LMEM_ZEROINIT 0x0040
#define LHND (LMEM_MOVEABLE | LMEM_ZEROINIT)
#define LPTR (LMEM_FIXED | LMEM_ZEROINIT)
VXPLATFORMAPI HLOCAL LocalAlloc(UINT flags, size_t bytes);
VXPLATFORMAPI HLOCAL LocalFree(HLOCAL block);
VXPLATFORMAPI LPVOID LocalLock(HLOCAL block);
VXPLATFORMAPI BOOL LocalUnlock(HLOCAL block);
VXPLATFORMAPI HLOCAL LocalHandle(LPCVOID pointer);

/* Strings: lstrcpynA copies at most size - 1 characters and always terminates; lstrcmpiA
   compares without regard to ASCII letter case. */
VXPLATFORMAPI LPSTR lstrcpyA(LPSTR destination, LPCSTR source);
VXPLATFORMAPI LPSTR lstrcpynA(LPSTR destination, LPCSTR source, int size);
VXPLATFORMAPI int lstrcmpiA(LPCSTR a, LPCSTR b);
VXPLATFORMAPI int lstrlenA(LPCSTR text);

/* The calling thread's last error code. */
VXPLATFORMAPI DWORD GetLastError(void);
VXPLATFORMAPI void SetLastError(DWORD error);

/* The platform version word. The high bit is clear (not a 16-bit hosting layer). */
VXPLATFORMAPI DWORD GetVersion(void);

#ifdef __cplusplus
}
#endif

#endif /* _WIN32 */
#endif /* VEXORA_WIN32_KERNEL_H */
