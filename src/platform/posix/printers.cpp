// printers.cpp - the printer list of the Linux build: EnumPrintersA, GetLastError and
// SetLastError, and for the profile and the printer DCs UserProfilePath, CupsPrinters,
// AllPrinters, SubmitToCups (printers.hpp) and ResolvePrinter (gdi/printer_device.hpp).
//
// The printers are those the user profile declares in its [devices] section ("name=driver,port",
// the port a "PDF:", "PS:" or "BANDS:" file or "CUPS:") followed by the CUPS destinations not
// declared there (driver "WINSPOOL", port "CUPS:"). CUPS is asked only after a connection to
// its server has been made within half a second, so that a machine without a server (or a
// CUPS_SERVER naming a socket that does not exist) gives an empty list at once and quietly,
// and the server is asked directly rather than by a network browse.
//
// Pages: file printers draw at 300 dpi on A4, or on Letter when the locale's paper is Letter
// (LC_PAPER); VEXORA_PAPER ("a4" or "letter") overrides both. A CUPS queue's page is its
// default media at its default resolution, the file printers' values where it has none.
//
// EnumPrintersA lays its records out as Windows does: the array of records first, then the
// strings they point to; the size needed is answered with ERROR_INSUFFICIENT_BUFFER when the
// buffer (or none) is too small. Level 1 records carry the name as name and description and the
// flag PRINTER_ENUM_ICON8, as Windows answers for local printers; level 2 records the name,
// port and driver, and PRINTER_ATTRIBUTE_LOCAL (and PRINTER_ATTRIBUTE_DEFAULT for the default).
// PRINTER_ENUM_DEFAULT lists the default printer alone.
#include "platform/posix/printers.hpp"

#include <cups/cups.h>
#include <langinfo.h>
#include <locale.h>
#include <strings.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "platform/posix/gdi/printer_device.hpp"
#include "vexora_win32.h"

namespace vx::posix {
namespace {

thread_local DWORD lastError = 0;

constexpr DWORD kEnumIcon8 = 0x00800000;  // PRINTER_ENUM_ICON8

bool StartsWith(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && strncasecmp(text.data(), prefix.data(), prefix.size()) == 0;
}

std::string Trimmed(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    return std::string(text);
}

// A whole profile value (or key list) of the user profile file, however long.
std::string ReadUserProfile(const char* section, const char* key) {
    const std::string path = UserProfilePath();
    std::vector<char> buffer(512);
    for (;;) {
        const DWORD length = GetPrivateProfileStringA(section, key, "", buffer.data(),
                                                      static_cast<DWORD>(buffer.size()), path.c_str());
        if (length + 2 < buffer.size()) return std::string(buffer.data(), length);
        if (buffer.size() >= (1u << 26)) return {};
        buffer.resize(buffer.size() * 4);
    }
}

std::vector<PrinterEntry> ProfilePrinters() {
    std::vector<PrinterEntry> printers;
    const std::string names = ReadUserProfile("devices", nullptr);
    for (size_t at = 0; at < names.size();) {
        const size_t end = names.find('\0', at);
        const std::string name = names.substr(at, end == std::string::npos ? std::string::npos : end - at);
        at = end == std::string::npos ? names.size() : end + 1;
        if (name.empty()) continue;
        const std::string value = ReadUserProfile("devices", name.c_str());
        const size_t comma = value.find(',');
        printers.push_back({name, Trimmed(value.substr(0, comma)),
                            comma == std::string::npos ? std::string() : Trimmed(value.substr(comma + 1))});
    }
    return printers;
}

// A connection to the CUPS server, or null when none answers within half a second.
http_t* ConnectToCups() {
    int cancel = 0;
    return httpConnect2(cupsServer(), ippPort(), nullptr, AF_UNSPEC, cupsEncryption(), 1, 500, &cancel);
}

int Dots(double hundredthsOfMillimetre, int dpi) {
    return static_cast<int>(hundredthsOfMillimetre * dpi / 2540.0 + 0.5);
}

void FilePage(gdi::PrinterTarget& target) {
    target.dpi = 300;
    bool letter = false;
    const char* paper = std::getenv("VEXORA_PAPER");
    if (paper != nullptr && *paper != '\0') {
        letter = strcasecmp(paper, "letter") == 0;
    } else if (locale_t locale = newlocale(LC_PAPER_MASK, "", static_cast<locale_t>(0))) {
        const auto width = static_cast<int>(reinterpret_cast<intptr_t>(nl_langinfo_l(_NL_PAPER_WIDTH, locale)));
        const auto height = static_cast<int>(reinterpret_cast<intptr_t>(nl_langinfo_l(_NL_PAPER_HEIGHT, locale)));
        letter = width == 216 && height == 279;
        freelocale(locale);
    }
    target.width = letter ? 2550 : 2480;  // 8.5 x 11 in, or 210 x 297 mm
    target.height = letter ? 3300 : 3508;
}

bool CupsPage(const std::string& name, gdi::PrinterTarget& target) {
    http_t* http = ConnectToCups();
    if (http == nullptr) return false;
    cups_dest_t* dests = nullptr;
    const int count = cupsGetDests2(http, &dests);
    std::string instance;
    std::string queue = name;
    if (const size_t slash = name.find('/'); slash != std::string::npos) {
        queue = name.substr(0, slash);
        instance = name.substr(slash + 1);
    }
    cups_dest_t* dest = cupsGetDest(queue.c_str(), instance.empty() ? nullptr : instance.c_str(), count, dests);
    if (dest != nullptr) {
        target.kind = gdi::PrinterTarget::Kind::Cups;
        target.where = name;
        if (cups_dinfo_t* info = cupsCopyDestInfo(http, dest)) {
            if (ipp_attribute_t* resolution = cupsFindDestDefault(http, dest, info, "printer-resolution")) {
                int yres = 0;
                ipp_res_t units = IPP_RES_PER_INCH;
                const int xres = ippGetResolution(resolution, 0, &yres, &units);
                if (xres > 0 && units == IPP_RES_PER_INCH) target.dpi = xres;
                if (xres > 0 && units == IPP_RES_PER_CM) target.dpi = static_cast<int>(xres * 2.54 + 0.5);
            }
            cups_size_t size{};
            if (cupsGetDestMediaDefault(http, dest, info, 0, &size) && size.width > 0 && size.length > 0) {
                target.width = Dots(size.width, target.dpi);
                target.height = Dots(size.length, target.dpi);
            }
            cupsFreeDestInfo(info);
        }
    }
    cupsFreeDests(count, dests);
    httpClose(http);
    return dest != nullptr;
}

// A "PDF:", "PS:" or "BANDS:" name as a file printer.
bool FilePrinter(std::string_view name, gdi::PrinterTarget& target) {
    using Kind = gdi::PrinterTarget::Kind;
    static constexpr std::pair<std::string_view, Kind> kinds[] = {
        {"PDF:", Kind::Pdf}, {"PS:", Kind::PostScript}, {"BANDS:", Kind::Bands}};
    for (const auto& [prefix, kind] : kinds) {
        if (!StartsWith(name, prefix) || name.size() == prefix.size()) continue;
        target.kind = kind;
        target.where = std::string(name.substr(prefix.size()));
        FilePage(target);
        return true;
    }
    return false;
}

// The printers EnumPrintersA lists for `flags`, and the default printer's name.
std::vector<PrinterEntry> Listed(DWORD flags, std::string& defaultName) {
    std::string defaultDevice;
    std::vector<PrinterEntry> printers = AllPrinters(&defaultDevice);
    defaultName = defaultDevice.substr(0, defaultDevice.find(','));
    if ((flags & (PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS | PRINTER_ENUM_NAME)) == 0 &&
        (flags & PRINTER_ENUM_DEFAULT) != 0) {
        std::erase_if(printers, [&](const PrinterEntry& p) { return p.name != defaultName; });
        if (printers.size() > 1) printers.resize(1);
    }
    return printers;
}

}  // namespace

std::string UserProfilePath() {
    const char* config = std::getenv("XDG_CONFIG_HOME");
    std::string folder;
    if (config != nullptr && config[0] == '/') {
        folder = config;
    } else {
        const char* home = std::getenv("HOME");
        folder = std::string(home != nullptr ? home : "") + "/.config";
    }
    return folder + "/vexora/vexora.ini";
}

std::vector<PrinterEntry> CupsPrinters(std::string* defaultName) {
    std::vector<PrinterEntry> printers;
    if (defaultName != nullptr) defaultName->clear();
    http_t* http = ConnectToCups();
    if (http == nullptr) return printers;
    cups_dest_t* dests = nullptr;
    const int count = cupsGetDests2(http, &dests);
    for (int i = 0; i < count; ++i) {
        std::string name = dests[i].name;
        if (dests[i].instance != nullptr) name += std::string("/") + dests[i].instance;
        if (dests[i].is_default && defaultName != nullptr) *defaultName = name;
        printers.push_back({std::move(name), "WINSPOOL", "CUPS:"});
    }
    cupsFreeDests(count, dests);
    httpClose(http);
    return printers;
}

std::vector<PrinterEntry> AllPrinters(std::string* defaultDevice) {
    std::vector<PrinterEntry> printers = ProfilePrinters();
    std::string cupsDefault;
    for (PrinterEntry& cups : CupsPrinters(&cupsDefault)) {
        const bool declared = std::any_of(printers.begin(), printers.end(), [&](const PrinterEntry& p) {
            return strcasecmp(p.name.c_str(), cups.name.c_str()) == 0;
        });
        if (!declared) printers.push_back(std::move(cups));
    }
    if (defaultDevice != nullptr) {
        *defaultDevice = ReadUserProfile("windows", "device");
        if (defaultDevice->empty() && !cupsDefault.empty()) *defaultDevice = cupsDefault + ",WINSPOOL,CUPS:";
    }
    return printers;
}

bool SubmitToCups(const std::string& destination, const std::string& file, const std::string& title) {
    http_t* http = ConnectToCups();
    if (http == nullptr) return false;
    const int job = cupsPrintFile2(http, destination.c_str(), file.c_str(), title.c_str(), 0, nullptr);
    httpClose(http);
    return job > 0;
}

}  // namespace vx::posix

bool vx::posix::gdi::ResolvePrinter(const char* device, const char* port, PrinterTarget& target) {
    if (FilePrinter(device, target)) return true;
    for (const PrinterEntry& entry : ProfilePrinters()) {
        if (strcasecmp(entry.name.c_str(), device) != 0) continue;
        if (FilePrinter(entry.port, target)) return true;
        if (StartsWith(entry.port, "CUPS:")) break;
        return false;
    }
    if (port != nullptr && FilePrinter(port, target)) return true;
    FilePage(target);
    return CupsPage(device, target);
}

using vx::posix::PrinterEntry;

extern "C" {

VXPLATFORMAPI DWORD GetLastError(void) { return vx::posix::lastError; }
VXPLATFORMAPI void SetLastError(DWORD error) { vx::posix::lastError = error; }

VXPLATFORMAPI BOOL EnumPrintersA(DWORD flags, LPSTR /*name*/, DWORD level, LPBYTE buffer, DWORD size,
                                 LPDWORD needed, LPDWORD returned) {
    if (needed == nullptr || returned == nullptr) {
        SetLastError(87);  // ERROR_INVALID_PARAMETER
        return FALSE;
    }
    *needed = 0;
    *returned = 0;
    if (level != 1 && level != 2) {
        SetLastError(ERROR_INVALID_LEVEL);
        return FALSE;
    }
    try {
        std::string defaultName;
        const std::vector<PrinterEntry> printers = vx::posix::Listed(flags, defaultName);
        const size_t record = level == 1 ? sizeof(PRINTER_INFO_1A) : sizeof(PRINTER_INFO_2A);
        uint64_t total = record * printers.size();
        for (const PrinterEntry& p : printers)
            total += level == 1 ? 2 * (p.name.size() + 1) : p.name.size() + p.port.size() + p.driver.size() + 3;
        if (total > UINT32_MAX) {
            SetLastError(8);  // ERROR_NOT_ENOUGH_MEMORY
            return FALSE;
        }
        *needed = static_cast<DWORD>(total);
        if (total > 0 && (buffer == nullptr || size < total)) {
            SetLastError(ERROR_INSUFFICIENT_BUFFER);
            return FALSE;
        }
        char* strings = reinterpret_cast<char*>(buffer) + record * printers.size();
        auto place = [&](const std::string& text) {
            char* at = strings;
            std::memcpy(at, text.c_str(), text.size() + 1);
            strings += text.size() + 1;
            return at;
        };
        for (size_t i = 0; i < printers.size(); ++i) {
            const PrinterEntry& p = printers[i];
            if (level == 1) {
                PRINTER_INFO_1A info{};
                info.Flags = vx::posix::kEnumIcon8;
                info.pDescription = place(p.name);
                info.pName = place(p.name);
                std::memcpy(buffer + i * record, &info, sizeof info);
            } else {
                PRINTER_INFO_2A info{};
                info.pPrinterName = place(p.name);
                info.pPortName = place(p.port);
                info.pDriverName = place(p.driver);
                info.Attributes = PRINTER_ATTRIBUTE_LOCAL | (p.name == defaultName ? PRINTER_ATTRIBUTE_DEFAULT : 0);
                std::memcpy(buffer + i * record, &info, sizeof info);
            }
        }
        *returned = static_cast<DWORD>(printers.size());
        return TRUE;
    } catch (...) {
        SetLastError(8);
        return FALSE;
    }
}

}  // extern "C"
