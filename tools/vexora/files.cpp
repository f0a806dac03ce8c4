// files.cpp - how the tool meets the file system: CheckInputFile, StandardInputFile,
// WriteOutputFile, SystemReason, and TemporaryFile beneath them.
//
// Inputs. Every file the tool hands to the library is a regular file it can open. The library
// reads whole files and waits on reads, so a character device (/dev/zero never ends), a FIFO
// (nobody may ever write to it) or a directory would hang it or feed it without end. The type
// is taken with stat first (which follows symbolic links), and only a regular file is opened,
// non-blocking, to learn whether it can be read; a missing or unreadable file is reported with
// the library's own "Can't open file" and the system's reason after it. "-" is standard input,
// copied into a temporary file (at most kStandardInputLimit bytes) that the library then reads.
//
// Outputs. A result is written into a temporary file and then put in place, so a failure leaves
// nothing half-written behind. What "in place" means depends on what the name is:
//   - nothing yet, or a regular file: the temporary file sits in a private directory with a
//     short name in the same directory (so the rename is atomic, and an output name of any
//     length the file system allows can be written); a replaced file keeps its mode and, where
//     the system lets the tool, its owner and group;
//   - a symbolic link: followed (link by link) to the file it names, which is replaced in its
//     own directory as above; the link stays a link;
//   - a character device or a FIFO (/dev/null, /dev/stdout, a pipe made with mkfifo): written
//     through, never replaced: the temporary file is made in the system's temporary directory
//     and copied into the device once complete;
//   - a directory, a block device or a socket: refused.
// A file that is write-protected is refused with the system's reason. Write-protected means
// what access(2) says for the user, and also, for every user including root, a file whose mode
// grants nobody write permission (as rm and mv treat it): a tool run as root must not silently
// replace a file its owner marked read-only. On Windows that is the read-only attribute.
// "-" is standard output (binary mode on Windows), written once the whole file is complete.
#include "cli.hpp"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

namespace vexora_tool {
namespace fs = std::filesystem;

namespace {

// Standard input is copied whole before the library reads it; this bounds what a stream that
// never ends (`< /dev/zero`) can make the tool store.
constexpr std::uintmax_t kStandardInputLimit = std::uintmax_t{1} << 30;

std::string LibraryText(int code) {
    char text[64] = {};
    return ImgErrorString(text, code);
}

const char* KindOf(fs::file_type type) {
    switch (type) {
    case fs::file_type::directory: return "a directory";
    case fs::file_type::character: return "a character device";
    case fs::file_type::block: return "a block device";
    case fs::file_type::fifo: return "a FIFO";
    case fs::file_type::socket: return "a socket";
    default: return "not a regular file";
    }
}

int OpenForReading(const std::string& path) {
#if defined(_WIN32)
    return _open(path.c_str(), _O_RDONLY | _O_BINARY);
#else
    return open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY);
#endif
}

void CloseDescriptor(int fd) {
#if defined(_WIN32)
    _close(fd);
#else
    close(fd);
#endif
}

}  // namespace

// A name for a new file in `directory`, short whatever the output's name, owned by the object:
// the file and the private directory made for it (mkdir is exclusive, so no other program
// holds the name) are removed with it unless released. The file itself is not made, since some
// writers add a page to a file that exists instead of replacing it.
class TemporaryFile {
public:
    TemporaryFile(const fs::path& directory, const std::string& shownName) {
        std::random_device entropy;
        for (int attempt = 0; attempt < 100; ++attempt) {
            char name[32];
            std::snprintf(name, sizeof name, ".vexora-%08x", static_cast<unsigned>(entropy()));
            std::error_code ec;
            if (fs::create_directory(directory / name, ec)) {
                directory_ = directory / name;
                path_ = directory_ / "image";
                return;
            }
            if (ec) throw OperationFailed("cannot write '" + shownName + "': " + ec.message());
        }
        throw OperationFailed("cannot find a temporary name in '" + directory.string() + "'");
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        std::error_code ec;
        if (!path_.empty()) fs::remove(path_, ec);
        fs::remove(directory_, ec);
    }
    const fs::path& path() const { return path_; }
    // The file has been moved away (or is kept); the directory still goes.
    void release() { path_.clear(); }

private:
    fs::path directory_;
    fs::path path_;
};

namespace {

fs::path SystemTemporaryDirectory() {
    std::error_code ec;
    fs::path directory = fs::temp_directory_path(ec);
    return ec ? fs::path(".") : directory;
}

// Copies the file at `from` into the open stream `to`; returns 0 or the errno value.
int CopyInto(const fs::path& from, std::FILE* to) {
    std::FILE* in = std::fopen(from.string().c_str(), "rb");
    if (in == nullptr) return errno;
    char buffer[1 << 16];
    int error = 0;
    for (size_t n; error == 0 && (n = std::fread(buffer, 1, sizeof buffer, in)) > 0;)
        if (std::fwrite(buffer, 1, n, to) != n) error = errno != 0 ? errno : EIO;
    if (error == 0 && std::ferror(in)) error = EIO;
    std::fclose(in);
    if (std::fflush(to) != 0 && error == 0) error = errno != 0 ? errno : EIO;
    return error;
}

void SetBinaryMode([[maybe_unused]] std::FILE* stream) {
#if defined(_WIN32)
    _setmode(_fileno(stream), _O_BINARY);
#endif
}

// The file a name finally stands for: symbolic links followed one by one, each relative link
// taken from the directory of the link itself. A dangling link gives the name it points at.
fs::path FollowLinks(const fs::path& name, const std::string& shownName) {
    fs::path path = name;
    for (int hop = 0; hop < 40; ++hop) {
        std::error_code ec;
        if (!fs::is_symlink(fs::symlink_status(path, ec))) return path;
        const fs::path target = fs::read_symlink(path, ec);
        if (ec) throw OperationFailed("cannot write '" + shownName + "': " + ec.message());
        path = target.is_absolute() ? target : path.parent_path() / target;
    }
    throw OperationFailed("cannot write '" + shownName + "': " + SystemReason(ELOOP));
}

// Why the existing regular file `path` may not be replaced, or empty when it may.
std::string WriteProtection(const fs::path& path) {
#if !defined(_WIN32)
    if (access(path.c_str(), W_OK) != 0) return SystemReason(errno);
#endif
    std::error_code ec;
    const fs::perms mode = fs::status(path, ec).permissions();
    constexpr fs::perms anyWrite = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
    if (!ec && (mode & anyWrite) == fs::perms::none) return SystemReason(EACCES);
    return {};
}

// Gives the temporary file the mode, owner and group of the file it replaces.
void KeepAttributes(const fs::path& temporary, const fs::path& replaced) {
#if !defined(_WIN32)
    struct stat info {};
    if (stat(replaced.c_str(), &info) == 0 && chown(temporary.c_str(), info.st_uid, info.st_gid) != 0) {
        // Only root may give a file away; an ordinary user's copy keeps the user as owner.
    }
#endif
    std::error_code ec;
    fs::permissions(temporary, fs::status(replaced, ec).permissions(), ec);
}

// Writes through a device or FIFO that exists under `path`, without creating or replacing it.
void CopyIntoDevice(const fs::path& from, const fs::path& path, const std::string& shownName) {
#if defined(_WIN32)
    std::FILE* to = std::fopen(path.string().c_str(), "wb");
    const int opened = to == nullptr ? errno : 0;
#else
    const int fd = open(path.c_str(), O_WRONLY | O_NOCTTY);
    std::FILE* to = fd < 0 ? nullptr : fdopen(fd, "wb");
    const int opened = to == nullptr ? errno : 0;
    if (fd >= 0 && to == nullptr) close(fd);
#endif
    if (to == nullptr) throw OperationFailed("cannot write '" + shownName + "': " + SystemReason(opened));
    const int error = CopyInto(from, to);
    std::fclose(to);
    if (error != 0) throw OperationFailed("cannot write '" + shownName + "': " + SystemReason(error));
}

}  // namespace

std::string SystemReason(int error) { return std::generic_category().message(error); }

void CheckInputFile(const std::string& path, const std::string& shownName) {
    std::error_code ec;
    const fs::file_status status = fs::status(path, ec);
    if (status.type() == fs::file_type::not_found || (ec && status.type() == fs::file_type::none))
        throw OperationFailed("cannot load '" + shownName + "': " + LibraryText(IMGERR_OPENFILE) + ": " +
                              (ec ? ec.message() : SystemReason(ENOENT)));
    if (status.type() != fs::file_type::regular)
        throw OperationFailed("cannot load '" + shownName + "': it is " + KindOf(status.type()) +
                              ", not a file the tool can read");
    const int fd = OpenForReading(path);
    if (fd < 0)
        throw OperationFailed("cannot load '" + shownName + "': " + LibraryText(IMGERR_OPENFILE) + ": " + SystemReason(errno));
    CloseDescriptor(fd);
}

StandardInputFile::StandardInputFile()
    : file_(std::make_unique<TemporaryFile>(SystemTemporaryDirectory(), "a temporary copy of standard input")) {
    const TemporaryFile& file = *file_;
    SetBinaryMode(stdin);
    std::FILE* out = std::fopen(file.path().string().c_str(), "wb");
    if (out == nullptr) throw OperationFailed("cannot store standard input: " + SystemReason(errno));
    char buffer[1 << 16];
    std::uintmax_t total = 0;
    int error = 0;
    for (size_t n; error == 0 && (n = std::fread(buffer, 1, sizeof buffer, stdin)) > 0;) {
        total += n;
        if (total > kStandardInputLimit) error = EFBIG;
        else if (std::fwrite(buffer, 1, n, out) != n) error = errno != 0 ? errno : EIO;
    }
    if (error == 0 && std::ferror(stdin)) error = EIO;
    if (std::fclose(out) != 0 && error == 0) error = errno != 0 ? errno : EIO;
    if (error == EFBIG) throw OperationFailed("standard input holds more than 1 GiB; give the image as a file");
    if (error != 0) throw OperationFailed("cannot store standard input: " + SystemReason(error));
    path_ = file.path().string();
}

StandardInputFile::~StandardInputFile() = default;

void WriteOutputFile(const std::string& path, const std::function<void(const std::string&)>& write) {
    if (path == kStandardStream) {
        TemporaryFile file(SystemTemporaryDirectory(), "standard output");
        write(file.path().string());
        SetBinaryMode(stdout);
        if (const int error = CopyInto(file.path(), stdout); error != 0)
            throw OperationFailed("cannot write standard output: " + SystemReason(error));
        return;
    }
    const fs::path target = FollowLinks(path, path);
    std::error_code ec;
    const fs::file_type type = fs::status(target, ec).type();
    if (type == fs::file_type::character || type == fs::file_type::fifo) {
        TemporaryFile file(SystemTemporaryDirectory(), path);
        write(file.path().string());
        CopyIntoDevice(file.path(), target, path);
        return;
    }
    if (type == fs::file_type::directory)
        throw OperationFailed("cannot write '" + path + "': " + SystemReason(EISDIR));
    if (type != fs::file_type::regular && type != fs::file_type::not_found)
        throw OperationFailed("cannot write '" + path + "': it is " + std::string(KindOf(type)) + "; the tool writes files");
    if (type == fs::file_type::regular)
        if (const std::string reason = WriteProtection(target); !reason.empty())
            throw OperationFailed("cannot write '" + path + "': " + reason);
    const fs::path directory = target.has_parent_path() ? target.parent_path() : fs::path(".");
    TemporaryFile file(directory, path);
    write(file.path().string());
    if (type == fs::file_type::regular) KeepAttributes(file.path(), target);
    fs::rename(file.path(), target, ec);
    if (ec) throw OperationFailed("cannot write '" + path + "': " + ec.message());
    file.release();
}

}  // namespace vexora_tool
