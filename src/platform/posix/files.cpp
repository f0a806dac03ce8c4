// files.cpp - the Win32 compatibility file calls over POSIX descriptors (_lopen, _lcreat,
// _lread, _hread, _lwrite, _hwrite, _llseek, _lclose, OpenFile), and platform::FileExists.
//
// An HFILE is a file descriptor. The calls keep their Win32 results: HFILE_ERROR (-1) for a
// failure, byte counts for reads and writes (reads stop short only at end of file), the new
// position for _llseek, and OpenFile's OFSTRUCT with the full path name and a DOS error code.
// Reads and writes are looped, so a single call of any length moves all the bytes it can.
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "vexora_win32.h"

#include "platform/platform.hpp"

namespace {

// DOS error codes as OpenFile reports them in nErrCode.
WORD DosErrorOf(int err) {
    switch (err) {
    case 0: return 0;
    case ENOENT: return 2;   // file not found
    case ENOTDIR: return 3;  // path not found
    case EMFILE:
    case ENFILE: return 4;   // too many open files
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR: return 5;   // access denied
    case EEXIST: return 80;  // file exists
    default: return 31;      // general failure
    }
}

int AccessFlags(unsigned mode) {
    switch (mode & 3u) {
    case OF_WRITE: return O_WRONLY;
    case OF_READWRITE: return O_RDWR;
    default: return O_RDONLY;
    }
}

int64_t ReadAll(int fd, void* buffer, uint64_t bytes) {
    auto* p = static_cast<char*>(buffer);
    uint64_t done = 0;
    while (done < bytes) {
        const ssize_t n = read(fd, p + done, bytes - done);
        if (n < 0) {
            if (errno == EINTR) continue;
            return done > 0 ? static_cast<int64_t>(done) : -1;
        }
        if (n == 0) break;
        done += static_cast<uint64_t>(n);
    }
    return static_cast<int64_t>(done);
}

int64_t WriteAll(int fd, const void* buffer, uint64_t bytes) {
    const auto* p = static_cast<const char*>(buffer);
    uint64_t done = 0;
    while (done < bytes) {
        const ssize_t n = write(fd, p + done, bytes - done);
        if (n < 0) {
            if (errno == EINTR) continue;
            return -1;
        }
        done += static_cast<uint64_t>(n);
    }
    return static_cast<int64_t>(done);
}

// A write of zero bytes truncates the file at the current position, as on Windows.
int64_t WriteOrTruncate(int fd, const void* buffer, uint64_t bytes) {
    if (bytes == 0) {
        const off_t at = lseek(fd, 0, SEEK_CUR);
        return at < 0 || ftruncate(fd, at) != 0 ? -1 : 0;
    }
    if (buffer == nullptr) return -1;
    return WriteAll(fd, buffer, bytes);
}

void FillPathName(OFSTRUCT* info, const char* path) {
    char full[PATH_MAX];
    const char* name = path;
    if (realpath(path, full) != nullptr) name = full;
    // The structure has room for 127 characters; a longer path is cut there, as on Windows.
    const size_t length = std::min<size_t>(std::strlen(name), OFS_MAXPATHNAME - 1);
    std::memcpy(info->szPathName, name, length);
    info->szPathName[length] = '\0';
}

}  // namespace

namespace vx::platform {

bool FileExists(const char* fileName) { return fileName != nullptr && access(fileName, F_OK) == 0; }

}  // namespace vx::platform

extern "C" {

VXPLATFORMAPI HFILE _lopen(LPCSTR path, int mode) {
    if (path == nullptr) return HFILE_ERROR;
    const int fd = open(path, AccessFlags(static_cast<unsigned>(mode)) | O_CLOEXEC);
    return fd < 0 ? HFILE_ERROR : fd;
}

VXPLATFORMAPI HFILE _lcreat(LPCSTR path, int /*attributes*/) {
    if (path == nullptr) return HFILE_ERROR;
    const int fd = open(path, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    return fd < 0 ? HFILE_ERROR : fd;
}

VXPLATFORMAPI UINT _lread(HFILE file, LPVOID buffer, UINT bytes) {
    if (buffer == nullptr && bytes > 0) return static_cast<UINT>(HFILE_ERROR);
    const int64_t n = ReadAll(file, buffer, bytes);
    return n < 0 ? static_cast<UINT>(HFILE_ERROR) : static_cast<UINT>(n);
}

VXPLATFORMAPI long _hread(HFILE file, LPVOID buffer, long bytes) {
    if (bytes < 0 || (buffer == nullptr && bytes > 0)) return HFILE_ERROR;
    const int64_t n = ReadAll(file, buffer, static_cast<uint64_t>(bytes));
    return n < 0 ? HFILE_ERROR : static_cast<long>(n);
}

VXPLATFORMAPI UINT _lwrite(HFILE file, LPCCH buffer, UINT bytes) {
    const int64_t n = WriteOrTruncate(file, buffer, bytes);
    return n < 0 ? static_cast<UINT>(HFILE_ERROR) : static_cast<UINT>(n);
}

VXPLATFORMAPI long _hwrite(HFILE file, LPCCH buffer, long bytes) {
    if (bytes < 0) return HFILE_ERROR;
    const int64_t n = WriteOrTruncate(file, buffer, static_cast<uint64_t>(bytes));
    return n < 0 ? HFILE_ERROR : static_cast<long>(n);
}

VXPLATFORMAPI LONG _llseek(HFILE file, LONG offset, int origin) {
    int whence = SEEK_SET;
    if (origin == FILE_CURRENT) whence = SEEK_CUR;
    else if (origin == FILE_END) whence = SEEK_END;
    else if (origin != FILE_BEGIN) return HFILE_ERROR;
    const off_t at = lseek(file, offset, whence);
    if (at < 0 || at > INT32_MAX) return HFILE_ERROR;
    return static_cast<LONG>(at);
}

VXPLATFORMAPI HFILE _lclose(HFILE file) {
    return close(file) == 0 ? 0 : HFILE_ERROR;
}

VXPLATFORMAPI HFILE OpenFile(LPCSTR path, LPOFSTRUCT info, UINT style) {
    OFSTRUCT scratch;
    if (info == nullptr) info = &scratch;
    std::memset(info, 0, sizeof *info);
    info->cBytes = sizeof(OFSTRUCT);
    info->fFixedDisk = 1;
    if (path == nullptr) {
        info->nErrCode = DosErrorOf(ENOENT);
        return HFILE_ERROR;
    }
    if (style & OF_PARSE) {
        FillPathName(info, path);
        return 0;
    }
    if (style & OF_DELETE) {
        FillPathName(info, path);
        if (unlink(path) != 0) {
            info->nErrCode = DosErrorOf(errno);
            return HFILE_ERROR;
        }
        return 1;
    }
    int flags = AccessFlags(style) | O_CLOEXEC;
    if (style & OF_CREATE) flags = O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC;
    const int fd = open(path, flags, 0666);
    if (fd < 0) {
        info->nErrCode = DosErrorOf(errno);
        FillPathName(info, path);
        return HFILE_ERROR;
    }
    struct stat st;
    if (fstat(fd, &st) == 0 && S_ISDIR(st.st_mode)) {  // Windows cannot open a directory
        close(fd);
        info->nErrCode = DosErrorOf(EACCES);
        return HFILE_ERROR;
    }
    FillPathName(info, path);
    if (style & OF_EXIST) {
        close(fd);
        return 1;
    }
    return fd;
}

}  // extern "C"
