// profile.cpp - GetPrivateProfileStringA and GetPrivateProfileIntA over INI files, with the
// rules of the Windows calls.
//
// A profile is read line by line; a line ends at CR or LF, and an optional UTF-8 byte-order
// mark at the start is skipped. Each line is trimmed of white space (the C locale's, plus
// Ctrl-Z); blank lines are skipped. A line that starts with '[' and holds a ']' opens a
// section named by the text up to the last ']' (trimmed). Any other line is a key: the name is
// the text before the first '=' (trimmed) and the value the text after it (trimmed); a line
// without '=' is a key without a value, which no look-up finds and no list shows - this is
// how comment lines (";...") drop out. Keys before the first section belong to none.
//
// Look-ups trim the names they are given and compare them without regard to ASCII letter
// case. Only the first section of a name counts (a later one of the same name is invisible),
// and in it the first key of a name.
//
// Values are copied the way the Windows calls copy them:
//   - A value that starts and ends with the same quote character (' or "), and is at least two
//     characters long, loses the opening quote; the closing one is dropped when the buffer had
//     room for the rest of the value including it (so a buffer one byte short of the unquoted
//     value plus terminator loses the value's last character instead - the rule as the
//     reference implementation has it).
//   - At most size - 1 characters are copied and a terminator always follows; the result is
//     the number of characters copied.
//   - The default value loses its trailing spaces (its first character stays) and is then
//     copied like a value, enclosing quotes and all. A profile that cannot be opened reads as
//     an empty one.
//   - With a null key, the buffer receives the names of the section's keys, each followed by
//     a terminator, and one more terminator at the end; with a null section, the names of all
//     sections. A list that does not fit is cut to size - 2 characters and two terminators,
//     and size - 2 is returned. An empty or missing section gives the default instead.
// GetPrivateProfileIntA reads the value as a string of at most 29 characters; an empty or
// missing value gives the default, anything else is parsed: leading control characters and
// spaces skipped, an optional sign, an optional prefix 0x (hexadecimal), 0o (octal) or 0b
// (binary), then digits of that base up to the first character that is not one, accumulated
// in 32 bits with wrap-around.
//
// Two limits keep a profile's cost bounded whatever the file is (a huge file without line
// breaks, /dev/zero named as a profile): a line keeps its first 64 KiB, the rest of it skipped,
// and reading stops after the first 4 MiB of the file, as if it ended there. Real profiles are
// a few kilobytes; the Windows calls have limits of their own far below these.
//
// The file name is used as it is: a relative name is relative to the working directory (on
// Windows, profile calls resolve it against the Windows directory). A null name, or a file
// that cannot be opened, reads as an empty profile. Nothing is cached: every call reads the
// file afresh, and a value look-up stops reading at the end of the section it needs.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/posix/user_profile.hpp"
#include "vexora_win32.h"

namespace {

bool IsBlank(unsigned char c) { return c == ' ' || (c >= '\t' && c <= '\r') || c == 0x1A; }

std::string_view TrimLeft(std::string_view s) {
    while (!s.empty() && IsBlank(static_cast<unsigned char>(s.front()))) s.remove_prefix(1);
    return s;
}

std::string_view TrimRight(std::string_view s) {
    while (!s.empty() && IsBlank(static_cast<unsigned char>(s.back()))) s.remove_suffix(1);
    return s;
}

std::string_view Trim(std::string_view s) { return TrimRight(TrimLeft(s)); }

bool SameName(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        unsigned char x = static_cast<unsigned char>(a[i]), y = static_cast<unsigned char>(b[i]);
        if (x >= 'A' && x <= 'Z') x = static_cast<unsigned char>(x + 32);
        if (y >= 'A' && y <= 'Z') y = static_cast<unsigned char>(y + 32);
        if (x != y) return false;
    }
    return true;
}

// One line of a profile, as the rules above read it.
struct Line {
    enum Kind { Blank, Section, Key } kind = Blank;
    std::string_view name;
    std::optional<std::string_view> value;
};

Line Classify(std::string_view raw) {
    Line line;
    const std::string_view text = Trim(raw);
    if (text.empty()) return line;
    if (text.front() == '[') {
        const size_t close = text.rfind(']');
        if (close != std::string_view::npos) {
            line.kind = Line::Section;
            line.name = Trim(text.substr(1, close - 1));
            return line;
        }
    }
    line.kind = Line::Key;
    const size_t equals = text.find('=');
    if (equals == std::string_view::npos) {
        line.name = text;
    } else {
        line.name = TrimRight(text.substr(0, equals));
        line.value = TrimLeft(text.substr(equals + 1));
    }
    return line;
}

constexpr size_t kMaxLineLength = size_t{64} << 10;
constexpr size_t kMaxProfileBytes = size_t{4} << 20;

// Reads a profile one line at a time, within the limits above.
class ProfileFile {
public:
    explicit ProfileFile(const char* fileName)
        : file_(fileName ? std::fopen(fileName, "rb") : nullptr), owned_(true) {}
    explicit ProfileFile(std::FILE* file) : file_(file), owned_(false) {}
    ~ProfileFile() {
        if (file_ != nullptr && owned_) std::fclose(file_);
    }
    ProfileFile(const ProfileFile&) = delete;
    ProfileFile& operator=(const ProfileFile&) = delete;

    // The next line without its end, or false at the end of the file.
    bool next(std::string& line) {
        line.clear();
        for (;;) {
            if (at_ == filled_ && !refill()) return !line.empty();
            const char* begin = buffer_ + at_;
            const char* end = buffer_ + filled_;
            const char* stop = begin;
            while (stop != end && *stop != '\n' && *stop != '\r') ++stop;
            const size_t room = kMaxLineLength - line.size();
            line.append(begin, std::min(static_cast<size_t>(stop - begin), room));
            at_ = static_cast<size_t>(stop - buffer_);
            if (stop != end) {
                ++at_;  // a CR LF pair ends a line and leaves a blank one, which is skipped
                return true;
            }
        }
    }

private:
    bool refill() {
        if (file_ == nullptr || consumed_ >= kMaxProfileBytes) return false;
        filled_ = std::fread(buffer_, 1, std::min(sizeof buffer_, kMaxProfileBytes - consumed_), file_);
        consumed_ += filled_;
        at_ = 0;
        if (first_) {
            first_ = false;
            if (filled_ >= 3 && std::memcmp(buffer_, "\xEF\xBB\xBF", 3) == 0) at_ = 3;
        }
        return filled_ > at_;
    }

    std::FILE* file_;
    bool owned_;
    char buffer_[16384];
    size_t at_ = 0;
    size_t filled_ = 0;
    size_t consumed_ = 0;
    bool first_ = true;
};

// Copies text into a buffer of `size` bytes (size >= 1): at most size - 1 characters and a
// terminator, the quote rule applied when asked. Returns the characters left in the buffer.
DWORD CopyEntry(char* buffer, DWORD size, std::string_view text, bool stripQuotes) {
    char quote = 0;
    if (stripQuotes && text.size() >= 2 && (text.front() == '"' || text.front() == '\'') &&
        text.back() == text.front()) {
        quote = text.front();
        text.remove_prefix(1);
    }
    size_t length = text.size() < size - 1 ? text.size() : size - 1;
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
    if (quote != 0 && size >= text.size() && length > 0) buffer[--length] = '\0';
    return static_cast<DWORD>(length);
}

// Copies a list of names, each followed by a terminator, and a final terminator.
DWORD CopyList(char* buffer, DWORD size, const std::string& names) {
    if (names.size() + 1 <= size) {
        std::memcpy(buffer, names.data(), names.size());
        buffer[names.size()] = '\0';
        return static_cast<DWORD>(names.size());
    }
    if (size < 2) {
        buffer[0] = '\0';
        return 0;
    }
    std::memcpy(buffer, names.data(), size - 2);
    buffer[size - 2] = '\0';
    buffer[size - 1] = '\0';
    return size - 2;
}

// The default as the Windows calls take it: trailing spaces removed, the first character kept.
std::string_view DefaultValue(const char* given) {
    std::string_view value = given != nullptr ? given : "";
    while (value.size() > 1 && value.back() == ' ') value.remove_suffix(1);
    return value;
}

// The names of all sections, each followed by a terminator.
std::string SectionNames(ProfileFile& file) {
    std::string names, raw;
    while (file.next(raw)) {
        const Line line = Classify(raw);
        if (line.kind == Line::Section) names.append(line.name).push_back('\0');
    }
    return names;
}

// Walks the first section of the given name, calling visit(line) for each of its keys until
// visit returns true.
template <typename Visit>
void WalkSection(ProfileFile& file, std::string_view section, Visit&& visit) {
    std::string raw;
    bool inside = false;
    while (file.next(raw)) {
        const Line line = Classify(raw);
        if (line.kind == Line::Section) {
            if (inside) return;
            inside = SameName(line.name, section);
        } else if (inside && line.kind == Line::Key && visit(line)) {
            return;
        }
    }
}

// The reading of GetPrivateProfileStringA over an open profile.
DWORD ReadProfile(ProfileFile& file, LPCSTR section, LPCSTR key, LPCSTR defaultValue, LPSTR buffer, DWORD size) {
    if (buffer == nullptr || size == 0) return 0;
    try {
        const std::string_view fallback = DefaultValue(defaultValue);
        if (section == nullptr) return CopyList(buffer, size, SectionNames(file));
        const std::string_view wantedSection = Trim(section);
        if (key == nullptr) {
            std::string names;
            WalkSection(file, wantedSection, [&](const Line& line) {
                if (line.value) names.append(line.name).push_back('\0');
                return false;
            });
            if (names.empty()) return CopyEntry(buffer, size, fallback, true);
            return CopyList(buffer, size, names);
        }
        const std::string_view wantedKey = Trim(key);
        std::optional<std::string> value;
        if (!wantedKey.empty()) {
            WalkSection(file, wantedSection, [&](const Line& line) {
                if (!SameName(line.name, wantedKey)) return false;
                if (line.value) value.emplace(*line.value);
                return true;
            });
        }
        return CopyEntry(buffer, size, value ? std::string_view(*value) : fallback, true);
    } catch (...) {  // no memory for a line: nothing found
        buffer[0] = '\0';
        return 0;
    }
}

}  // namespace

DWORD vx::posix::ReadProfileString(std::FILE* file, LPCSTR section, LPCSTR key, LPCSTR defaultValue, LPSTR buffer,
                                   DWORD size) {
    ProfileFile profile(file);
    return ReadProfile(profile, section, key, defaultValue, buffer, size);
}

extern "C" {

VXPLATFORMAPI DWORD GetPrivateProfileStringA(LPCSTR section, LPCSTR key, LPCSTR defaultValue, LPSTR buffer,
                                             DWORD size, LPCSTR fileName) {
    if (buffer == nullptr || size == 0) return 0;
    ProfileFile file(fileName);
    return ReadProfile(file, section, key, defaultValue, buffer, size);
}

VXPLATFORMAPI UINT GetPrivateProfileIntA(LPCSTR section, LPCSTR key, INT defaultValue, LPCSTR fileName) {
    char text[30];
    const DWORD length = GetPrivateProfileStringA(section, key, "", text, sizeof text, fileName);
    if (length == 0) return static_cast<UINT>(defaultValue);
    const char* p = text;
    const char* end = text + length;
    while (p != end && static_cast<unsigned char>(*p) <= ' ') ++p;
    bool negative = false;
    if (p != end && (*p == '+' || *p == '-')) negative = *p++ == '-';
    UINT base = 10;
    if (end - p >= 2 && p[0] == '0') {
        if (p[1] == 'x') base = 16;
        else if (p[1] == 'o') base = 8;
        else if (p[1] == 'b') base = 2;
        if (base != 10) p += 2;
    }
    UINT total = 0;
    for (; p != end; ++p) {
        const char c = *p;
        UINT digit = 36;
        if (c >= '0' && c <= '9') digit = static_cast<UINT>(c - '0');
        else if (c >= 'a' && c <= 'z') digit = static_cast<UINT>(c - 'a' + 10);
        else if (c >= 'A' && c <= 'Z') digit = static_cast<UINT>(c - 'A' + 10);
        if (digit >= base) break;
        total = total * base + digit;
    }
    return negative ? 0u - total : total;
}

}  // extern "C"
