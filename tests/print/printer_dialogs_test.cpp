// printer_dialogs_test.cpp - the print dialog and the printer-setup dialog, run modally under a
// test window that plays one scripted step each time the modal loop goes idle (WM_ENTERIDLE):
// a step reads the controls and presses buttons. Messages are caught by a sink.
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "vexora.h"

#include "../../resources/resource_ids.h"
#include "core/library.hpp"
#include "gdi_support.hpp"
#include "print/print_state.hpp"
#include "print/printer_dialogs.hpp"
#include "test_printer.hpp"
#include "test_window.hpp"

namespace {

using Step = std::function<void(HWND dialog)>;
using Strings = std::vector<std::string>;
Strings g_messages;                                   // "caption style: text"
const std::string kSetupBox = "Printer setup 48: ";  // the dialog's title, MB_ICONEXCLAMATION

// Opens a modal dialog and plays `steps` one per idle; a dialog still open after them is ended
// with -2. One owner serves every run: under Wine without a window manager each top-level window
// costs two seconds to take down.
INT_PTR RunDialog(const std::function<INT_PTR(HWND owner)>& open, const std::vector<Step>& steps) {
    static vxtest::TestWindow owner(200, 100);
    g_messages.clear();
    VexoraSetMessageSink([](const char* text, const char* caption, UINT style, void*) {
        g_messages.push_back(caption + (" " + std::to_string(style)) + ": " + text);
        return IDOK;
    }, nullptr);
    size_t idles = 0;
    owner.setHandler([&](HWND, UINT message, WPARAM, LPARAM lParam) -> std::optional<LRESULT> {
        const auto dialog = reinterpret_cast<HWND>(lParam);
        if (message != WM_ENTERIDLE) return std::nullopt;
        if (idles < steps.size()) steps[idles++](dialog);
        else EndDialog(dialog, -2);
        PostMessageA(dialog, WM_NULL, 0, 0);  // wakes the modal loop for the next idle
        return 0;
    });
    const INT_PTR result = open(owner.get());
    VexoraSetMessageSink(nullptr, nullptr);
    EXPECT_EQ(idles, steps.size()) << "the dialog ended early";
    return result;
}
INT_PTR PrintDialog(HWND owner) { return DialogBoxParamA(vx::LibraryInstance(), VX_DLG_PRINT_PAGE, owner, PrintPageProc, 0); }
INT_PTR SetupDialog(HWND owner) { return reinterpret_cast<INT_PTR>(PrinterSetup(owner)); }
void Press(HWND dialog, int id) { SendMessageA(GetDlgItem(dialog, id), BM_CLICK, 0, 0); }

// The items of the print dialog's printer combo or of the setup list, then the selection.
Strings Items(HWND dialog, int id) {
    const bool combo = id == IDC_PRINTPAGE_PRINTER;
    Strings items(static_cast<size_t>(SendDlgItemMessageA(dialog, id, combo ? CB_GETCOUNT : LB_GETCOUNT, 0, 0)));
    for (size_t i = 0; i < items.size(); ++i) {
        char text[600] = {};
        SendDlgItemMessageA(dialog, id, combo ? CB_GETLBTEXT : LB_GETTEXT, i, reinterpret_cast<LPARAM>(text));
        items[i] = text;
    }
    items.push_back(std::to_string(SendDlgItemMessageA(dialog, id, combo ? CB_GETCURSEL : LB_GETCURSEL, 0, 0)));
    return items;
}

// The profile's printers as a test declares them: "devices" and the default printer are emptied
// at the end (the test's profile holds no printers of its own).
struct Devices {
    ~Devices() {
        WriteProfileStringA("devices", nullptr, nullptr);
        WriteProfileStringA("windows", "device", nullptr);
    }
    void add(const char* name, const char* value) const { WriteProfileStringA("devices", name, value); }
};

class PrinterDialogs : public testing::Test {};

}  // namespace

TEST(PrinterEntries, SplitAndOpen) {
    const struct { const char* text; bool extension; const char* parts; } parses[] = {
        {"Laser=HPPCL,LPT1:", false, "Laser|HPPCL|LPT1:"}, {"Laser,HPPCL,LPT1:", true, "Laser|HPPCL.DRV|LPT1:"},
        {"Laser=ps.dll,FILE:,x", true, "Laser|ps.dll|FILE:,x"}, {"Laser", true, "Laser||"}, {"=,", false, "||"}};
    for (const auto& [text, extension, parts] : parses) {
        const auto entry = vx::print::ParsePrinterEntry(text, extension);
        EXPECT_EQ(entry.name + "|" + entry.driver + "|" + entry.port, parts) << text;
    }
    EXPECT_EQ(vx::print::PrinterOpenName("\\\\spool", "laser", "\\\\spool\\Laser 5") + "|" +
              vx::print::PrinterOpenName("", "laser", "Laser 5"), "\\\\spool\\laser|Laser 5");
}

TEST_F(PrinterDialogs, WithoutPrintersNeitherDialogCanPrint) {
    vxtest::NoPrinters none;
    vx::print::ChosenPrinterName().clear();
    EXPECT_EQ(RunDialog(PrintDialog, {[](HWND dialog) {
        EXPECT_EQ(Items(dialog, IDC_PRINTPAGE_PRINTER), Strings{"-1"});
        EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog, IDOK)));
        Press(dialog, IDCANCEL);
    }}), 0);
    EXPECT_EQ(RunDialog(SetupDialog, {}), 0);
    EXPECT_EQ(g_messages, Strings{kSetupBox + "No printers installed."});
}

TEST_F(PrinterDialogs, PrintDialogOpensThePrinterOnceTheCopiesAreANumber) {
    vxtest::TestPrinter printer;
    ASSERT_TRUE(printer);
    vx::print::ChosenPrinterName().clear();
    vx::print::Job().options = VXPRINTOPTIONS{1, 0, 1, 0, 1, 0, 1, 0, 1, 0};
    const auto copies = [&](const char* text) {
        return [&, text](HWND dialog) {
            EXPECT_EQ(Items(dialog, IDC_PRINTPAGE_PRINTER), (Strings{printer.name(), "0"}));  // the default
            EXPECT_EQ(GetFocus() == GetDlgItem(dialog, IDC_PRINTPAGE_COPIES), *text != '0') << "after a refusal";
            if (*text == '0') {  // the first OK: one copy shown; fit turned on
                EXPECT_EQ(GetDlgItemInt(dialog, IDC_PRINTPAGE_COPIES, nullptr, FALSE), 1u);
                Press(dialog, IDC_PRINTPAGE_FIT);
            }
            SetDlgItemTextA(dialog, IDC_PRINTPAGE_COPIES, text);
            Press(dialog, IDOK);
        };
    };
    const auto dc = reinterpret_cast<HDC>(RunDialog(PrintDialog, {copies("0"), copies("x"), copies("-2"), copies("2")}));
    ASSERT_NE(dc, nullptr);
    EXPECT_EQ(GetDeviceCaps(dc, TECHNOLOGY), DT_RASPRINTER);
    DeleteDC(dc);
    // The boxes showed the options, fit was turned on, and OK read them all back.
    const auto* options = reinterpret_cast<const int*>(&vx::print::Job().options);
    EXPECT_EQ(std::vector<int>(options, options + 10), (std::vector<int>{1, 0, 1, 1, 2, 0, 1, 0, 1, 0}));
    EXPECT_EQ(vx::print::ChosenPrinterName(), printer.name()) << "kept for the jobs to come";
    vx::print::ChosenPrinterName().clear();
}

TEST_F(PrinterDialogs, SetupListsEveryPortAndMakesTheChoiceTheDefault) {
    vxtest::NoPrinters none;
    const Devices devices;
    devices.add("Alpha", "drvA,LPT1:,LPT2:");
    devices.add("Beta", "drvB,COM1:");
    WriteProfileStringA("windows", "device", "Beta,DRVB,com1:");
    const auto block = reinterpret_cast<HGLOBAL>(RunDialog(SetupDialog, {[&](HWND dialog) {
        EXPECT_EQ(Items(dialog, IDC_PRINTERSETUP_LIST), (Strings{"Alpha on LPT1:\tAlpha=drvA,LPT1:",
                  "Alpha on LPT2:\tAlpha=drvA,LPT2:", "Beta on COM1:\tBeta=drvB,COM1:", "2"}));  // the default
        SendDlgItemMessageA(dialog, IDC_PRINTERSETUP_LIST, LB_SETCURSEL, 1, 0);
        Press(dialog, IDC_PRINTERSETUP_SETUP);
        EXPECT_EQ(SendMessageA(dialog, DM_GETDEFID, 0, 0), MAKELONG(IDOK, DC_HASDEFID));
        EXPECT_EQ(GetFocus(), GetDlgItem(dialog, IDC_PRINTERSETUP_LIST));
        // Another section's change is ignored; one of "devices" (or of all) refills the list.
        SendMessageA(dialog, WM_WININICHANGE, 0, reinterpret_cast<LPARAM>("windows"));
        devices.add("Gamma", "drvC,FILE:");
        SendMessageA(dialog, WM_WININICHANGE, 0, 0);
    }, [&](HWND dialog) {
        const Strings list = Items(dialog, IDC_PRINTERSETUP_LIST);
        EXPECT_EQ(list.size() * 10 + std::stoul(list.back()), 51u) << "4 entries, the one set up before selected";
        SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(IDC_PRINTERSETUP_LIST, LBN_DBLCLK), 0);  // = OK
    }}));
    EXPECT_EQ(g_messages, Strings(2, kSetupBox + "Invalid printer driver."));
    char device[64] = {};
    GetProfileStringA("windows", "device", "", device, sizeof device);
    ASSERT_NE(block, nullptr);
    const auto* bytes = static_cast<const char*>(GlobalLock(block));
    EXPECT_EQ(device + std::string("|") + bytes + "|" + (bytes + 80) + "|" + (bytes + 160) + "|" +
              std::to_string(GlobalSize(block)), "Alpha,drvA,LPT2:|Alpha|drvA|LPT2:|239");
    GlobalUnlock(block);
    GlobalFree(block);
}

TEST_F(PrinterDialogs, SetupCutsALongListBackToItsLastWholeName) {
    if (vxtest::SkippedOnWindows("setup list truncation", "Wine's GetProfileStringA answers size - 1 for a "
                                 "key list it cuts (Windows: size - 2), so the cut is never seen")) return;
    vxtest::NoPrinters none;
    const Devices devices;
    for (int i = 0; i < 37; ++i)  // 1,081 characters of whole names, then one cut to "Printer", a printer too
        devices.add(("Printer " + std::to_string(100 + i) + " on the west floor" + (i == 35 ? "s" : "")).c_str(), "d,P:");
    devices.add("Printer", "d,P:");
    EXPECT_EQ(RunDialog(SetupDialog, {[](HWND dialog) {
        const Strings list = Items(dialog, IDC_PRINTERSETUP_LIST);
        ASSERT_EQ(list.size(), 37u);
        EXPECT_EQ(list[35], "Printer 135 on the west floors on P:\tPrinter 135 on the west floors=d,P:");
        Press(dialog, IDCANCEL);
    }}), 0);
    EXPECT_EQ(g_messages, Strings{kSetupBox + "Too many printers installed.\tList truncated."});
}
