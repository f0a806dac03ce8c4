// user_profile.cpp - the user's profile of the Linux build: GetProfileStringA and
// WriteProfileStringA over $XDG_CONFIG_HOME/vexora/vexora.ini (printers.hpp, UserProfilePath).
//
// Reading follows GetPrivateProfileStringA (profile.cpp reads it). Two sections are answered
// from more than the file: "devices" also lists the CUPS destinations the file does not
// declare ("name=WINSPOOL,CUPS:"), and "windows" has a "device" key, when the file sets none,
// naming CUPS's default destination ("name,WINSPOOL,CUPS:"). Those lines are added to the
// file's text, at the end of the section's first occurrence (or as a section of their own),
// and the reader runs over that text; without CUPS printers the file is read as it is.
//
// Writing follows WriteProfileStringA: a value replaces the first key of that name in the
// first section of that name (or is added at the end of that section, or in a new section at
// the end of the file); a null value removes the key, a null key the whole section. The file
// is rewritten whole through a temporary file renamed over it, so a reader never sees half of
// it, and the folder is made when missing. Line endings and lines not touched stay as they are.
#include <fcntl.h>
#include <strings.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/posix/printers.hpp"
#include "platform/posix/user_profile.hpp"

namespace vx::posix {
namespace {

std::string_view Trim(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r')) s.remove_suffix(1);
    return s;
}

bool Same(std::string_view a, std::string_view b) {
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

// A line of the file as the writer sees it: a section header (its name), a key (its name),
// or anything else.
struct ProfileLine {
    std::string text;
    enum { Other, Section, Key } kind = Other;
    std::string name;

    explicit ProfileLine(std::string line) : text(std::move(line)) {
        const std::string_view t = Trim(text);
        if (!t.empty() && t.front() == '[' && t.find(']') != std::string_view::npos) {
            kind = Section;
            name = Trim(t.substr(1, t.rfind(']') - 1));
        } else if (const size_t equals = t.find('='); equals != std::string_view::npos) {
            kind = Key;
            name = Trim(t.substr(0, equals));
        }
    }
};

std::vector<ProfileLine> ReadLines(const std::string& text) {
    std::vector<ProfileLine> lines;
    std::istringstream in(text);
    for (std::string raw; std::getline(in, raw);) lines.emplace_back(std::move(raw));
    return lines;
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// [first, end) of the lines of the first section named `section`; first == lines.size() when
// there is none.
std::pair<size_t, size_t> FindSection(const std::vector<ProfileLine>& lines, std::string_view section) {
    size_t first = 0;
    while (first < lines.size() && !(lines[first].kind == ProfileLine::Section && Same(lines[first].name, section)))
        ++first;
    size_t end = first < lines.size() ? first + 1 : first;
    while (end < lines.size() && lines[end].kind != ProfileLine::Section) ++end;
    return {first, end};
}

// `added` lines put at the end of the first section named `section` of `lines`.
void AddToSection(std::vector<ProfileLine>& lines, std::string_view section, const std::vector<std::string>& added) {
    if (added.empty()) return;
    auto [first, end] = FindSection(lines, section);
    std::vector<ProfileLine> extra;
    if (first == lines.size()) extra.emplace_back("[" + std::string(section) + "]");
    for (const std::string& text : added) extra.emplace_back(text);
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(end), extra.begin(), extra.end());
}

std::string Joined(const std::vector<ProfileLine>& lines) {
    std::string text;
    for (const ProfileLine& line : lines) text.append(line.text).push_back('\n');
    return text;
}

// The text the profile reads as: the file with the CUPS printers added.
std::string ProfileText(const std::string& path) {
    std::string text = ReadFile(path);
    std::string cupsDefault;
    const std::vector<PrinterEntry> cups = CupsPrinters(&cupsDefault);
    if (cups.empty()) return text;
    std::vector<ProfileLine> lines = ReadLines(text);
    std::vector<std::string> devices;
    auto [first, end] = FindSection(lines, "devices");
    for (const PrinterEntry& printer : cups) {
        bool declared = false;
        for (size_t i = first; i < end && !declared; ++i)
            declared = lines[i].kind == ProfileLine::Key && Same(lines[i].name, printer.name);
        if (!declared) devices.push_back(printer.name + "=WINSPOOL,CUPS:");
    }
    bool hasDevice = false;
    auto [wFirst, wEnd] = FindSection(lines, "windows");
    for (size_t i = wFirst; i < wEnd && !hasDevice; ++i)
        hasDevice = lines[i].kind == ProfileLine::Key && Same(lines[i].name, "device");
    AddToSection(lines, "devices", devices);
    if (!hasDevice && !cupsDefault.empty()) AddToSection(lines, "windows", {"device=" + cupsDefault + ",WINSPOOL,CUPS:"});
    return Joined(lines);
}

bool WriteWhole(const std::string& path, const std::string& text) {
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
    std::string temporary = path + ".XXXXXX";
    const int file = mkostemp(temporary.data(), O_CLOEXEC);
    if (file < 0) return false;
    bool written = true;
    for (size_t at = 0; at < text.size() && written;) {
        const ssize_t n = write(file, text.data() + at, text.size() - at);
        written = n > 0;
        if (written) at += static_cast<size_t>(n);
    }
    written = fsync(file) == 0 && written;
    written = close(file) == 0 && written;
    written = written && std::rename(temporary.c_str(), path.c_str()) == 0;
    if (!written) unlink(temporary.c_str());
    return written;
}

}  // namespace
}  // namespace vx::posix

extern "C" {

VXPLATFORMAPI DWORD GetProfileStringA(LPCSTR section, LPCSTR key, LPCSTR defaultValue, LPSTR buffer, DWORD size) {
    if (buffer == nullptr || size == 0) return 0;
    try {
        const std::string path = vx::posix::UserProfilePath();
        const bool printers = section == nullptr || vx::posix::Same(vx::posix::Trim(section), "devices") ||
                              vx::posix::Same(vx::posix::Trim(section), "windows");
        if (!printers) return GetPrivateProfileStringA(section, key, defaultValue, buffer, size, path.c_str());
        std::string text = vx::posix::ProfileText(path);
        std::FILE* file = text.empty() ? nullptr : fmemopen(text.data(), text.size(), "rb");
        const DWORD length = vx::posix::ReadProfileString(file, section, key, defaultValue, buffer, size);
        if (file != nullptr) std::fclose(file);
        return length;
    } catch (...) {
        buffer[0] = '\0';
        return 0;
    }
}

VXPLATFORMAPI BOOL WriteProfileStringA(LPCSTR section, LPCSTR key, LPCSTR value) {
    if (section == nullptr) return FALSE;
    try {
        using vx::posix::ProfileLine;
        const std::string path = vx::posix::UserProfilePath();
        std::vector<ProfileLine> lines = vx::posix::ReadLines(vx::posix::ReadFile(path));
        const std::string_view wanted = vx::posix::Trim(section);
        auto [first, end] = vx::posix::FindSection(lines, wanted);
        if (key == nullptr) {
            if (first == lines.size()) return TRUE;
            lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(first), lines.begin() + static_cast<std::ptrdiff_t>(end));
        } else {
            const std::string_view name = vx::posix::Trim(key);
            size_t at = first;
            while (at < end && !(lines[at].kind == ProfileLine::Key && vx::posix::Same(lines[at].name, name))) ++at;
            if (value == nullptr) {
                if (at == end) return TRUE;
                lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(at));
            } else if (at < end) {
                lines[at] = ProfileLine{std::string(name) + "=" + value};
            } else {
                vx::posix::AddToSection(lines, wanted, {std::string(name) + "=" + value});
            }
        }
        return vx::posix::WriteWhole(path, vx::posix::Joined(lines)) ? TRUE : FALSE;
    } catch (...) {
        return FALSE;
    }
}

}  // extern "C"
