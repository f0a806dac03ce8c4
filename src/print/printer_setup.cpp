// printer_setup.cpp - PrinterSetup and PrinterSetupProc, the printer-setup dialog
// "PRINTERSETUP"; ParsePrinterEntry and SetupListEntries (printer_dialogs.hpp).
//
// The dialog lists the printers of the profile's "devices" section, one entry per printer and
// port, and makes the chosen one the default printer ("device" of section "windows"). Each list
// entry is "name on port<TAB>name=driver,port": the tab stop is set at the list's right edge, so
// only the part before the tab shows, and the part after it is what the dialog works with.
//
// The work happens in steps the dialog posts to itself, so that it runs inside the modal loop
// once the dialog exists: initialisation allocates the result block and posts the fill request;
// filling reads the section (at most 1,090 characters: a list cut short is said so and cut back
// to its last whole name), rebuilds the list with redraw off and posts the select request;
// selecting picks the entry of the printer in the result block, else the entry of the default
// printer (same driver and port), else the first. A profile change of "devices" (or of every
// section) fills the list again.
//
// OK and Setup hand the selected printer to the driver set-up hook. Printer drivers here offer
// no set-up entry the library could call, so the hook declines every driver as invalid, and
// "Invalid printer driver." is shown each time; OK then still makes the printer the default and
// ends the dialog with the result block, which the caller frees. The result block (239 bytes,
// SetupResultLayout) holds the chosen printer's name, driver and port, written before the hook
// is called; the select step reads its driver and port back when the list is filled again.
//
// Messages go through the library's message path with the dialog's title as caption and the
// exclamation icon. The result block and the section buffer are module-wide, as there is one
// setup dialog at a time.
#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "vexora.h"

#include "../../resources/resource_ids.h"
#include "core/library.hpp"
#include "guards.hpp"
#include "outcome.hpp"
#include "platform/platform.hpp"
#include "print/printer_dialogs.hpp"

namespace vx::print {

PrinterEntry ParsePrinterEntry(std::string_view text, bool addDriverExtension) {
    PrinterEntry entry;
    const size_t nameEnd = std::min(text.find_first_of("=,"), text.size());
    entry.name = text.substr(0, nameEnd);
    if (nameEnd < text.size()) {
        const std::string_view rest = text.substr(nameEnd + 1);
        const size_t driverEnd = std::min(rest.find(','), rest.size());
        entry.driver = rest.substr(0, driverEnd);
        if (driverEnd < rest.size()) entry.port = rest.substr(driverEnd + 1);
    }
    if (addDriverExtension && !entry.driver.empty() && entry.driver.find('.') == std::string::npos)
        entry.driver += ".DRV";
    return entry;
}

std::vector<std::string> SetupListEntries(std::string_view name, std::string_view value) {
    std::vector<std::string> entries;
    const size_t driverEnd = value.find(',');
    if (driverEnd == std::string_view::npos) return entries;
    const std::string_view driver = value.substr(0, driverEnd);
    std::string_view ports = value.substr(driverEnd + 1);
    for (;;) {
        const size_t portEnd = std::min(ports.find(','), ports.size());
        const std::string_view port = ports.substr(0, portEnd);
        std::string entry;
        entry.append(name).append(" on ").append(port).append("\t");
        entry.append(name).append("=").append(driver).append(",").append(port);
        entries.push_back(std::move(entry));
        if (portEnd == ports.size()) break;
        ports.remove_prefix(portEnd + 1);
    }
    return entries;
}

namespace {

constexpr UINT kFillList = 1324;     // posted: read the profile and rebuild the list
constexpr UINT kSelectEntry = 1325;  // posted: select the entry of the chosen or default printer
constexpr DWORD kSectionChars = 1090;   // the "devices" key names read at once
constexpr DWORD kNullPortChars = 25 + 1;
constexpr DWORD kDeviceChars = 109 + 1;  // a "devices" value, or the default "device"
constexpr const char* kCaption = "Printer setup";

// The answers of the driver set-up hook and what each one tells the user.
constexpr int kDriverNotFound = 1, kDriverInvalid = 2, kDriverNoMemory = 3;

struct SetupWork {
    HGLOBAL result = nullptr;  // the block the dialog ends with on OK
    char names[kSectionChars] = {};
    char nullPort[kNullPortChars] = {};
};
SetupWork g_work;

void Tell(const char* text) { platform::ShowMessage(text, kCaption, MB_OK | MB_ICONEXCLAMATION); }

HWND List(HWND dialog) { return GetDlgItem(dialog, IDC_PRINTERSETUP_LIST); }

void Cancel(HWND dialog) {
    if (g_work.result != nullptr) GlobalFree(std::exchange(g_work.result, nullptr));
    EndDialog(dialog, 0);
}

// The text of list entry `index` after its tab: "name=driver,port".
std::string EntryDevice(HWND list, WPARAM index) {
    const LRESULT length = SendMessageA(list, LB_GETTEXTLEN, index, 0);
    if (length < 0) return {};
    std::string text(static_cast<size_t>(length) + 1, '\0');
    const LRESULT copied = SendMessageA(list, LB_GETTEXT, index, reinterpret_cast<LPARAM>(text.data()));
    text.resize(static_cast<size_t>(std::clamp<LRESULT>(copied, 0, length)));
    const size_t tab = text.find('\t');
    return tab == std::string::npos ? std::string() : text.substr(tab + 1);
}

void InitDialog(HWND dialog) {
    g_work.result = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, SetupResultLayout::kBytes);
    if (g_work.result == nullptr) {
        Tell("Insufficient memory.");
        EndDialog(dialog, 0);
        return;
    }
    // One tab stop at the list's right edge, in dialog units: the device part stays out of view.
    RECT client = {};
    GetClientRect(List(dialog), &client);
    const int baseX = std::max(1, static_cast<int>(LOWORD(GetDialogBaseUnits())));
    int tabStop = client.right * 4 / baseX;
    SendMessageA(List(dialog), LB_SETTABSTOPS, 1, reinterpret_cast<LPARAM>(&tabStop));
    PostMessageA(dialog, kFillList, 0, 0);
}

void FillList(HWND dialog) {
    DWORD length = GetProfileStringA("devices", nullptr, "", g_work.names, kSectionChars);
    if (length == kSectionChars - 2) {
        Tell("Too many printers installed.\tList truncated.");
        // The last name may be cut: keep the names before it.
        const size_t lastEnd = std::string_view(g_work.names, length).rfind('\0');
        length = lastEnd == std::string_view::npos ? 0 : static_cast<DWORD>(lastEnd + 1);
        g_work.names[length] = '\0';
    }
    length = std::min(length, kSectionChars - 1);
    // The name of the port of unconnected printers is read with the rest; such entries are
    // listed like any other.
    GetProfileStringA("windows", "NullPort", "", g_work.nullPort, kNullPortChars);

    const HWND list = List(dialog);
    SendMessageA(list, WM_SETREDRAW, FALSE, 0);
    SendMessageA(list, LB_RESETCONTENT, 0, 0);
    for (size_t at = 0; at < length && g_work.names[at] != '\0';) {
        const char* name = g_work.names + at;
        at += std::strlen(name) + 1;
        char value[kDeviceChars] = {};
        GetProfileStringA("devices", name, "", value, kDeviceChars);
        for (const std::string& entry : SetupListEntries(name, value))
            SendMessageA(list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(entry.c_str()));
    }
    if (SendMessageA(list, LB_GETCOUNT, 0, 0) <= 0) {
        SendMessageA(list, WM_SETREDRAW, TRUE, 0);
        Tell("No printers installed.");
        Cancel(dialog);
        return;
    }
    PostMessageA(dialog, kSelectEntry, 0, 0);
    SendMessageA(list, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(list, nullptr, TRUE);
}

PrinterEntry ResultPrinter() {
    PrinterEntry printer;
    BlockLock block(g_work.result);
    if (block && block.size() >= SetupResultLayout::kBytes) {
        const auto field = [&block](size_t offset, size_t bytes) {
            const char* text = reinterpret_cast<const char*>(block.data()) + offset;
            return std::string(text, strnlen(text, bytes));
        };
        printer.driver = field(SetupResultLayout::kDriverOffset, SetupResultLayout::kDriverBytes);
        printer.port = field(SetupResultLayout::kPortOffset, SetupResultLayout::kPortBytes);
    }
    return printer;
}

void StoreResultPrinter(const PrinterEntry& printer) {
    BlockLock block(g_work.result);
    if (!block || block.size() < SetupResultLayout::kBytes) return;
    const auto field = [&block](size_t offset, size_t bytes, const std::string& text) {
        char* out = reinterpret_cast<char*>(block.data()) + offset;
        std::memset(out, 0, bytes);
        std::memcpy(out, text.data(), std::min(text.size(), bytes - 1));
    };
    field(SetupResultLayout::kNameOffset, SetupResultLayout::kNameBytes, printer.name);
    field(SetupResultLayout::kDriverOffset, SetupResultLayout::kDriverBytes, printer.driver);
    field(SetupResultLayout::kPortOffset, SetupResultLayout::kPortBytes, printer.port);
}

bool SameDevice(const PrinterEntry& a, const PrinterEntry& b) {
    return lstrcmpiA(a.driver.c_str(), b.driver.c_str()) == 0 && lstrcmpiA(a.port.c_str(), b.port.c_str()) == 0;
}

void SelectEntry(HWND dialog) {
    char device[kDeviceChars] = {};
    GetProfileStringA("windows", "device", "", device, kDeviceChars);
    const PrinterEntry current = ParsePrinterEntry(device, false);
    const PrinterEntry chosen = ResultPrinter();
    const HWND list = List(dialog);
    const LRESULT count = SendMessageA(list, LB_GETCOUNT, 0, 0);
    LRESULT selection = -1;
    for (LRESULT i = 0; i < count; ++i) {
        const PrinterEntry entry = ParsePrinterEntry(EntryDevice(list, static_cast<WPARAM>(i)), false);
        if (SameDevice(entry, chosen)) {
            selection = i;
            break;
        }
        if (selection < 0 && SameDevice(entry, current)) selection = i;
    }
    SendMessageA(list, LB_SETCURSEL, static_cast<WPARAM>(std::max<LRESULT>(selection, 0)), 0);
}

// The driver set-up hook: where a printer driver's own set-up would run. No driver offers one
// the library can call, so every driver is declined as invalid.
int RunDriverSetup([[maybe_unused]] HWND dialog, [[maybe_unused]] const std::string& driverFile,
                   [[maybe_unused]] HGLOBAL result) {
    return kDriverInvalid;
}

// OK and Setup: the selected printer goes to the driver set-up; OK then makes it the default.
void TakeSelection(HWND dialog, bool ok) {
    const HWND list = List(dialog);
    const LRESULT selection = SendMessageA(list, LB_GETCURSEL, 0, 0);
    if (selection == LB_ERR) return;
    std::string device = EntryDevice(list, static_cast<WPARAM>(selection));
    StoreResultPrinter(ParsePrinterEntry(device, false));
    switch (RunDriverSetup(dialog, ParsePrinterEntry(device, true).driver, g_work.result)) {
    case kDriverNotFound: Tell("Cannot find printer driver."); break;
    case kDriverInvalid: Tell("Invalid printer driver."); break;
    case kDriverNoMemory: Tell("Insufficient memory."); break;
    default: break;
    }
    if (!ok) {
        SendMessageA(dialog, DM_SETDEFID, IDOK, 0);
        SetFocus(list);
        return;
    }
    if (const size_t equals = device.find('='); equals != std::string::npos) device[equals] = ',';
    WriteProfileStringA("windows", "device", device.c_str());
    EndDialog(dialog, reinterpret_cast<INT_PTR>(std::exchange(g_work.result, nullptr)));
}

bool Command(HWND dialog, int id, int notification) {
    if (id == IDC_PRINTERSETUP_LIST && notification == LBN_DBLCLK) {
        const LRESULT defaultButton = SendMessageA(dialog, DM_GETDEFID, 0, 0);
        if (HIWORD(defaultButton) != DC_HASDEFID) return true;
        id = LOWORD(defaultButton);
    }
    switch (id) {
    case IDOK: TakeSelection(dialog, true); return true;
    case IDC_PRINTERSETUP_SETUP: TakeSelection(dialog, false); return true;
    case IDCANCEL: Cancel(dialog); return true;
    default: return false;
    }
}

}  // namespace
}  // namespace vx::print

extern "C" {

VXAPI INT_PTR VXCALL PrinterSetupProc(HWND hDlg, UINT message, WPARAM wParam, LPARAM lParam) {
    using namespace vx::print;
    return vx::RunExport(vx::Silent{}, [&]() -> vx::Outcome<INT_PTR> {
        switch (message) {
        case WM_INITDIALOG: InitDialog(hDlg); return TRUE;
        case kFillList: FillList(hDlg); return TRUE;
        case kSelectEntry: SelectEntry(hDlg); return TRUE;
        case WM_COMMAND: return Command(hDlg, LOWORD(wParam), HIWORD(wParam)) ? TRUE : FALSE;
        case WM_WININICHANGE: {
            const auto* section = reinterpret_cast<const char*>(lParam);
            if (section == nullptr || lstrcmpiA(section, "devices") == 0) PostMessageA(hDlg, kFillList, 0, 0);
            return FALSE;
        }
        case WM_DESTROY:
            // Ended some other way than OK or Cancel: the block has no taker.
            if (g_work.result != nullptr) GlobalFree(std::exchange(g_work.result, nullptr));
            return FALSE;
        default: return FALSE;
        }
    });
}

VXAPI HGLOBAL VXCALL PrinterSetup(HWND hWndOwner) {
    return vx::RunExport(vx::Silent{}, [&]() -> vx::Outcome<HGLOBAL> {
        const INT_PTR answer =
            DialogBoxParamA(vx::LibraryInstance(), VX_DLG_PRINTER_SETUP, hWndOwner, PrinterSetupProc, 0);
        if (answer == -1) return static_cast<HGLOBAL>(nullptr);
        return reinterpret_cast<HGLOBAL>(answer);
    });
}

}  // extern "C"
