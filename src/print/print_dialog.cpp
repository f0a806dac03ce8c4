// print_dialog.cpp - PrintPageProc, the procedure of the print dialog "PRINTPAGE", and
// PrinterOpenName (printer_dialogs.hpp).
//
// PrepareToPrint runs this dialog when the caller gives no printer DC and asks for the dialog;
// the dialog's answer is the printer DC the job draws on (0: cancelled). The dialog reads the
// document title and the options in force from the job state (print_state.hpp) and writes the
// options back there on OK, where PrepareToPrint copies them to the caller.
//
// The printer combo holds either the one printer already chosen (in an earlier print dialog,
// or on PrepareToPrint's default-printer path), disabled, or the printers of the spooler's list,
// enumerated twice: level 1 gives the names shown, level 2 the records a printer is opened from
// (its server and share). Both answers stay in zero-filled local blocks from the start of the
// dialog to its destruction, because the combo's item data indexes them. Each enumeration asks
// for the size first and then fills a block of exactly that size; a list that grows between the
// two calls reads as empty, and an index without a level-2 record opens nothing new.
//
// OK opens the printer before it looks at the copies: a copy count that is not a positive
// number deletes that DC again, beeps and leaves the dialog open on the copies box. The options
// are written back either way; Cancel leaves them alone.
#include <algorithm>
#include <cstring>
#include <string>

#include "vexora.h"

#include "../../resources/resource_ids.h"
#include "core/library.hpp"
#include "outcome.hpp"
#include "print/print_state.hpp"
#include "print/printer_dialogs.hpp"

namespace vx::print {

std::string PrinterOpenName(const char* server, const char* share, const char* printer) {
    if (server != nullptr && *server != '\0') return std::string(server) + "\\" + (share ? share : "");
    return printer ? printer : "";
}

namespace {

constexpr DWORD kListedPrinters = PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS;
constexpr int kDefaultDeviceChars = 100;  // of the profile's default printer, before its ","

// One answer of the printer list: `count` records of one level, followed by their strings,
// in a zero-filled local block.
class PrinterRecords {
public:
    PrinterRecords() = default;
    PrinterRecords(const PrinterRecords&) = delete;
    PrinterRecords& operator=(const PrinterRecords&) = delete;
    ~PrinterRecords() { reset(); }

    void enumerate(DWORD level) {
        reset();
        DWORD needed = 0, returned = 0;
        EnumPrintersA(kListedPrinters, nullptr, level, nullptr, 0, &needed, &returned);
        if (needed == 0) return;
        block_ = LocalAlloc(LPTR, needed);
        if (block_ == nullptr) return;
        data_ = static_cast<BYTE*>(LocalLock(block_));
        if (data_ != nullptr &&
            EnumPrintersA(kListedPrinters, nullptr, level, data_, needed, &needed, &returned)) {
            count_ = returned;
        }
    }
    void reset() {
        if (block_ != nullptr) {
            LocalUnlock(block_);
            LocalFree(block_);
        }
        block_ = nullptr;
        data_ = nullptr;
        count_ = 0;
    }
    DWORD count() const { return count_; }
    template <typename Record>
    const Record* at(size_t index) const {
        return index < count_ ? reinterpret_cast<const Record*>(data_) + index : nullptr;
    }

private:
    HLOCAL block_ = nullptr;
    BYTE* data_ = nullptr;
    DWORD count_ = 0;
};

// The two enumeration answers of the dialog that is open (module-wide: one print dialog at a
// time, as there is one print job).
PrinterRecords g_names;    // level 1: what the combo shows
PrinterRecords g_printers; // level 2: what a printer is opened from

std::string ChosenNameFrom(const std::string& name) {
    return name.substr(0, std::min(name.size(), kPrinterNameLimit));
}

void FillPrinterCombo(HWND dialog) {
    const HWND combo = GetDlgItem(dialog, IDC_PRINTPAGE_PRINTER);
    if (!ChosenPrinterName().empty()) {
        SendMessageA(combo, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(ChosenPrinterName().c_str()));
        SendMessageA(combo, CB_SETCURSEL, 0, 0);
        EnableWindow(combo, FALSE);
        return;
    }
    g_names.enumerate(1);
    g_printers.enumerate(2);
    for (DWORD i = 0; i < g_names.count(); ++i) {
        const char* name = g_names.at<PRINTER_INFO_1A>(i)->pName;
        const LRESULT item = SendMessageA(combo, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(name ? name : ""));
        if (item >= 0) SendMessageA(combo, CB_SETITEMDATA, static_cast<WPARAM>(item), static_cast<LPARAM>(i));
    }
    if (SendMessageA(combo, CB_GETCOUNT, 0, 0) <= 0) {
        EnableWindow(GetDlgItem(dialog, IDOK), FALSE);
        return;
    }
    char device[kDefaultDeviceChars + 1] = {};
    GetProfileStringA("windows", "device", "", device, sizeof device);
    if (char* comma = std::strchr(device, ',')) *comma = '\0';
    if (device[0] == '\0') return;  // no default printer: nothing selected
    const LRESULT found = SendMessageA(combo, CB_FINDSTRING, static_cast<WPARAM>(-1), reinterpret_cast<LPARAM>(device));
    if (found != CB_ERR) SendMessageA(combo, CB_SETCURSEL, static_cast<WPARAM>(found), 0);
}

void InitDialog(HWND dialog) {
    const PrintJob& job = Job();
    SetDlgItemTextA(dialog, IDC_PRINTPAGE_TITLE, job.title.c_str());
    FillPrinterCombo(dialog);
    SetDlgItemInt(dialog, IDC_PRINTPAGE_COPIES, 1, FALSE);
    const VXPRINTOPTIONS& options = job.options;
    const struct { int id; int value; } boxes[] = {
        {IDC_PRINTPAGE_USE_IMAGE_DPI, options.useImageDpi}, {IDC_PRINTPAGE_CENTER_V, options.centreVertically},
        {IDC_PRINTPAGE_CENTER_H, options.centreHorizontally}, {IDC_PRINTPAGE_FIT, options.fitToPage},
        {IDC_PRINTPAGE_STRETCH, options.stretchToPage}, {IDC_PRINTPAGE_ALL_PAGES, options.printAllPages},
    };
    for (const auto& box : boxes) CheckDlgButton(dialog, box.id, box.value ? BST_CHECKED : BST_UNCHECKED);
}

// The combo's selection becomes the chosen printer; a disabled combo keeps the one chosen before.
void TakeSelectedPrinter(HWND dialog) {
    const HWND combo = GetDlgItem(dialog, IDC_PRINTPAGE_PRINTER);
    if (!IsWindowEnabled(combo)) return;
    const LRESULT selection = SendMessageA(combo, CB_GETCURSEL, 0, 0);
    if (selection == CB_ERR) return;
    const LRESULT index = SendMessageA(combo, CB_GETITEMDATA, static_cast<WPARAM>(selection), 0);
    if (const auto* printer = g_printers.at<PRINTER_INFO_2A>(static_cast<size_t>(index))) {
        ChosenPrinterName() =
            ChosenNameFrom(PrinterOpenName(printer->pServerName, printer->pShareName, printer->pPrinterName));
    }
}

void Ok(HWND dialog) {
    TakeSelectedPrinter(dialog);
    const HDC printer = CreateDCA("WINSPOOL", ChosenPrinterName().c_str(), nullptr, nullptr);
    VXPRINTOPTIONS& options = Job().options;
    const auto checked = [dialog](int id) { return IsDlgButtonChecked(dialog, id) == BST_CHECKED ? 1 : 0; };
    options.centreVertically = checked(IDC_PRINTPAGE_CENTER_V);
    options.centreHorizontally = checked(IDC_PRINTPAGE_CENTER_H);
    options.fitToPage = checked(IDC_PRINTPAGE_FIT);
    options.stretchToPage = checked(IDC_PRINTPAGE_STRETCH);
    options.printAllPages = checked(IDC_PRINTPAGE_ALL_PAGES);
    options.useImageDpi = checked(IDC_PRINTPAGE_USE_IMAGE_DPI);
    BOOL translated = FALSE;
    options.copies = static_cast<int>(GetDlgItemInt(dialog, IDC_PRINTPAGE_COPIES, &translated, TRUE));
    if (translated && options.copies > 0) {
        EndDialog(dialog, reinterpret_cast<INT_PTR>(printer));
        return;
    }
    if (printer != nullptr) DeleteDC(printer);
    MessageBeep(MB_OK);
    SetFocus(GetDlgItem(dialog, IDC_PRINTPAGE_COPIES));
}

}  // namespace
}  // namespace vx::print

extern "C" {

VXAPI INT_PTR VXCALL PrintPageProc(HWND hDlg, UINT message, WPARAM wParam, LPARAM) {
    using namespace vx::print;
    return vx::RunExport(vx::Silent{}, [&]() -> vx::Outcome<INT_PTR> {
        switch (message) {
        case WM_INITDIALOG:
            InitDialog(hDlg);
            return TRUE;
        case WM_COMMAND:
            if (LOWORD(wParam) == IDOK) {
                Ok(hDlg);
                return TRUE;
            }
            if (LOWORD(wParam) == IDCANCEL) {
                EndDialog(hDlg, 0);
                return TRUE;
            }
            return FALSE;
        case WM_DESTROY:
            g_names.reset();
            g_printers.reset();
            return FALSE;
        default:
            return FALSE;
        }
    });
}

}  // extern "C"
