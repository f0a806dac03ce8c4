// Dialogs and their USER calls, over the library's own templates: the layout of each template
// in pixels, the modal loop driven through WM_ENTERIDLE from a test window, the controls'
// answers (list and combo boxes, check boxes, edit boxes with GetDlgItemInt), focus, enabling
// and the system menu; then wsprintfA, the local blocks and the string calls. Written once:
// natively against the library's dialog manager, under Wine against the real one.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "gdi_support.hpp"
#include "test_window.hpp"
#include "../../resources/resource_ids.h"

namespace {

using vxtest::TestWindow;

constexpr UINT kFillRequest = 1324;  // a private message the setup dialog posts itself

// What the test dialog procedure saw, as words: "init <focus id> <param>", "cmd <id>/<code>",
// "fill", "destroy". IDOK ends the dialog with 77, IDCANCEL with 5 unless ignoreCancel.
struct Journal {
    std::vector<std::string> events;
    INT_PTR initAnswer = TRUE;
    bool ignoreCancel = false;
    std::string joined() const {
        std::string all;
        for (const std::string& e : events) all += (all.empty() ? "" : ", ") + e;
        return all;
    }
};
Journal* g_journal = nullptr;

INT_PTR CALLBACK JournalProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    auto& events = g_journal->events;
    switch (message) {
        case WM_INITDIALOG:
            events.push_back("init " + std::to_string(GetDlgCtrlID(reinterpret_cast<HWND>(wParam))) + " " + std::to_string(lParam));
            if (lParam == 1) PostMessageA(dialog, kFillRequest, 0, 0);
            return g_journal->initAnswer;
        case WM_COMMAND:
            events.push_back("cmd " + std::to_string(LOWORD(wParam)) + "/" + std::to_string(HIWORD(wParam)));
            if (LOWORD(wParam) == IDOK) EndDialog(dialog, 77);
            if (LOWORD(wParam) == IDCANCEL && !g_journal->ignoreCancel) EndDialog(dialog, 5);
            return TRUE;
        case kFillRequest: events.push_back("fill"); return TRUE;
        case WM_DESTROY: events.push_back("destroy"); return TRUE;
        default: return FALSE;
    }
}

// A modeless dialog of a library template, destroyed with the test. Its procedure writes to
// the journal of the dialog made (or being destroyed) last.
struct Dialog {
    Journal journal;
    HWND handle;
    explicit Dialog(const char* name, HWND owner = nullptr) {
        g_journal = &journal;
        handle = CreateDialogParamA(nullptr, name, owner, JournalProc, 0);
    }
    ~Dialog() {
        g_journal = &journal;
        DestroyWindow(handle);
    }
    HWND item(int id) const { return GetDlgItem(handle, id); }
    LRESULT send(int id, UINT message, WPARAM wParam, LPARAM lParam = 0) const {
        return SendDlgItemMessageA(handle, id, message, wParam, lParam);
    }
};

// The pixel rectangles Wine gives the library's templates: both platforms lay them out with
// the base units of the templates' font there (7 x 13 per 4 x 8 dialog units), so they agree.
TEST(Dialogs, TemplatesLayOutInPixelsAsWindowsDoes) {
    struct Case { const char* dialog; SIZE client; int id; RECT rect; };  // rect: control client, in dialog client
    const Case cases[] = {
        {"PRINTPAGE", {385, 258}, IDC_PRINTPAGE_PRINTER, {12, 31, 373, 52}},
        {"PRINTPAGE", {385, 258}, IDC_PRINTPAGE_COPIES, {76, 64, 125, 83}},
        {"PRINTPAGE", {385, 258}, IDC_PRINTPAGE_FIT, {12, 94, 373, 110}},
        {"PRINTPAGE", {385, 258}, IDC_VX_OK, {191, 224, 279, 247}},
        {"PRINTPAGE", {385, 258}, IDC_PRINTPAGE_TITLE, {12, 11, 373, 24}},
        {"PRINTPAGE", {385, 258}, IDC_PRINTPAGE_SPARE3, {298, 65, 373, 78}},
        {"PRINTERSETUP", {455, 164}, IDC_PRINTERSETUP_LIST, {14, 31, 343, 151}},
        {"PRINTERSETUP", {455, 164}, IDC_PRINTERSETUP_SETUP, {355, 88, 443, 111}},
        {"PRINTCANCELDLGBOX", {315, 101}, IDC_PRINTCANCEL_TEXT, {12, 31, 303, 57}},
        {"PRINTCANCELDLGBOX", {315, 101}, IDC_VX_CANCEL, {114, 67, 202, 90}},
        {"PRINTDLGSETUP", {455, 164}, IDC_PRINTDLGSETUP_LIST, {14, 31, 343, 151}},
        {"PRINTDLGSETUP", {455, 164}, IDC_PRINTDLGSETUP_HEADING, {12, 11, 345, 24}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.dialog) + " control " + std::to_string(c.id));
        Dialog dialog(c.dialog);
        ASSERT_NE(dialog.handle, nullptr);
        RECT client{}, rect{};
        GetClientRect(dialog.handle, &client);
        EXPECT_EQ(client.right, c.client.cx);
        EXPECT_EQ(client.bottom, c.client.cy);
        HWND control = dialog.item(c.id);
        ASSERT_NE(control, nullptr);
        EXPECT_EQ(GetParent(control), dialog.handle);
        EXPECT_EQ(GetDlgCtrlID(control), c.id);
        GetClientRect(control, &rect);
        POINT origin{0, 0};
        ClientToScreen(control, &origin);
        ScreenToClient(dialog.handle, &origin);
        EXPECT_EQ(origin.x, c.rect.left);
        EXPECT_EQ(origin.y, c.rect.top);
        EXPECT_EQ(rect.right, c.rect.right - c.rect.left);
        EXPECT_EQ(rect.bottom, c.rect.bottom - c.rect.top);
    }
}

// WM_INITDIALOG names the first tab stop; a TRUE answer gives it the focus. Only the cancel
// box's template is visible; each default button is DM_GETDEFID's answer until DM_SETDEFID.
TEST(Dialogs, CreationFocusVisibilityAndDefaultButton) {
    struct Case { const char* name; int focus; bool visible; int defaultId; };
    const Case cases[] = {{"PRINTPAGE", IDC_PRINTPAGE_PRINTER, false, IDC_VX_OK},
                          {"PRINTERSETUP", IDC_PRINTERSETUP_LIST, false, IDC_VX_OK},
                          {"PRINTCANCELDLGBOX", IDC_VX_CANCEL, true, IDC_VX_CANCEL}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Dialog dialog(c.name);
        EXPECT_EQ(dialog.journal.events.at(0), "init " + std::to_string(c.focus) + " 0");
        EXPECT_EQ(GetDlgCtrlID(GetFocus()), c.focus);
        EXPECT_EQ(IsWindowVisible(dialog.handle) != 0, c.visible);
        EXPECT_EQ(IsWindowVisible(dialog.item(c.focus)) != 0, c.visible);
        EXPECT_EQ(SendMessageA(dialog.handle, DM_GETDEFID, 0, 0), MAKELONG(c.defaultId, DC_HASDEFID));
        SendMessageA(dialog.handle, DM_SETDEFID, 115, 0);
        EXPECT_EQ(SendMessageA(dialog.handle, DM_GETDEFID, 0, 0), MAKELONG(115, DC_HASDEFID));
    }
    Journal quiet;
    quiet.initAnswer = FALSE;
    g_journal = &quiet;
    SetFocus(nullptr);
    HWND dialog = CreateDialogParamA(nullptr, "PRINTPAGE", nullptr, JournalProc, 0);
    EXPECT_EQ(GetFocus(), nullptr);
    EXPECT_EQ(CreateDialogParamA(nullptr, "NO SUCH DIALOG", nullptr, JournalProc, 0), nullptr);
    EXPECT_EQ(DialogBoxParamA(nullptr, "NO SUCH DIALOG", nullptr, JournalProc, 0), -1);
    HWND button = GetDlgItem(dialog, IDC_VX_OK);
    EXPECT_TRUE(DestroyWindow(dialog));
    EXPECT_FALSE(IsWindow(button));
    EXPECT_FALSE(DestroyWindow(dialog));
}

// The owner drives the modal setup dialog from WM_ENTERIDLE: the dialog's own posted request
// is handled first, the owner is disabled while the loop runs and the dialog is shown by then,
// and a click on OK ends the loop with EndDialog's result.
TEST(Dialogs, ModalLoopIsDrivenThroughEnterIdle) {
    Journal journal;
    g_journal = &journal;
    std::vector<std::string> idle;
    TestWindow owner(200, 100, [&](HWND window, UINT message, WPARAM wParam, LPARAM lParam) -> std::optional<LRESULT> {
        if (message != WM_ENTERIDLE) return std::nullopt;
        const auto dialog = reinterpret_cast<HWND>(lParam);
        idle.push_back(std::to_string(wParam) + (IsWindowVisible(dialog) ? " shown" : " hidden") +
                       (IsWindowEnabled(window) ? " enabled" : " disabled"));
        if (idle.size() == 1) PostMessageA(dialog, kFillRequest, 0, 0);
        else SendDlgItemMessageA(dialog, IDC_VX_OK, BM_CLICK, 0, 0);
        return 0;
    });
    EXPECT_EQ(DialogBoxParamA(nullptr, "PRINTERSETUP", owner.get(), JournalProc, 1), 77);
    EXPECT_EQ(idle, (std::vector<std::string>{"0 shown disabled", "0 shown disabled"}));
    EXPECT_EQ(journal.joined(), "init 122 1, cmd 122/4, fill, fill, cmd 122/5, cmd 1/0, destroy");
    EXPECT_TRUE(IsWindowEnabled(owner.get()));
}

// With no owner and no input to come the loop cannot wait: the dialog is cancelled as the
// Escape key would, and ends with -1 when it ignores that.
TEST(Dialogs, ModalLoopWithNothingToWaitForIsCancelled) {
    if (vxtest::SkippedOnWindows("ModalLoopWithNothingToWaitForIsCancelled", "Windows waits for input for good")) return;
    Journal journal;
    g_journal = &journal;
    EXPECT_EQ(DialogBoxParamA(nullptr, "PRINTCANCELDLGBOX", nullptr, JournalProc, 0), 5);
    journal.ignoreCancel = true;
    EXPECT_EQ(DialogBoxParamA(nullptr, "PRINTCANCELDLGBOX", nullptr, JournalProc, 0), -1);
}

// The same script on the setup dialog's list box and the print dialog's combo box, answers
// side by side: the find rules (prefix or exact, without case, after the start, wrapping),
// insertion, selection and item data, and -1 for every bad index.
TEST(Dialogs, ListAndComboBoxesAnswerAsWindowsDoes) {
    enum Op { Add, Insert, Delete, Reset, Count, SetSel, GetSel, TextLen, Text, SetData, GetData, Find, Exact, Select };
    const UINT kList[] = {LB_ADDSTRING, LB_INSERTSTRING, LB_DELETESTRING, LB_RESETCONTENT, LB_GETCOUNT, LB_SETCURSEL, LB_GETCURSEL,
                          LB_GETTEXTLEN, LB_GETTEXT, LB_SETITEMDATA, LB_GETITEMDATA, LB_FINDSTRING, LB_FINDSTRINGEXACT, LB_SELECTSTRING};
    const UINT kCombo[] = {CB_ADDSTRING, CB_INSERTSTRING, CB_DELETESTRING, CB_RESETCONTENT, CB_GETCOUNT, CB_SETCURSEL, CB_GETCURSEL,
                           CB_GETLBTEXTLEN, CB_GETLBTEXT, CB_SETITEMDATA, CB_GETITEMDATA, CB_FINDSTRING, CB_FINDSTRINGEXACT, CB_SELECTSTRING};
    struct Step { Op op; WPARAM w; const char* text; LRESULT list, combo; };
    const Step script[] = {
        {Add, 0, "Alpha", 0, 0}, {Add, 0, "beta", 1, 1}, {Add, 0, "ALPHABET", 2, 2}, {Add, 0, "Gamma", 3, 3},
        {Insert, 1, "delta", 1, 1}, {Insert, 9, "x", -1, -1}, {Insert, WPARAM(-1), "omega", 5, 5}, {Count, 0, "", 6, 6},
        {Find, WPARAM(-1), "alp", 0, 0}, {Find, 0, "alp", 3, 3}, {Find, 3, "alp", 0, 0}, {Find, 99, "gam", 4, 4},
        {Find, WPARAM(-1), "zzz", -1, -1}, {Find, 2, "", -1, -1}, {Exact, WPARAM(-1), "alpha", 0, 0}, {Exact, 0, "ALPHA", 0, 0},
        {Exact, WPARAM(-1), "alp", -1, -1}, {Select, WPARAM(-1), "BET", 2, 2}, {Select, WPARAM(-1), "nope", -1, -1},
        {GetSel, 0, "", 2, 2}, {SetSel, 9, "", -1, -1}, {GetSel, 0, "", 2, 2}, {SetSel, 4, "", 4, 4},
        {SetSel, WPARAM(-1), "", -1, -1}, {GetSel, 0, "", -1, -1}, {SetData, 1, "1234", 1, 1}, {GetData, 1, "", 1234, 1234},
        {GetData, 9, "", -1, -1}, {SetData, 9, "5", -1, -1}, {TextLen, 3, "", 8, 8}, {TextLen, 9, "", -1, -1},
        {Text, 1, "delta", 5, 5}, {Text, 9, "", -1, -1}, {SetSel, 2, "", 2, 2}, {Delete, 0, "", 5, 5}, {GetSel, 0, "", 1, 1},
        {Delete, 9, "", -1, -1}, {Reset, 0, "", 0, 1}, {Count, 0, "", 0, 0}, {GetSel, 0, "", -1, -1}, {Find, WPARAM(-1), "", -1, -1},
    };
    Dialog setup("PRINTERSETUP"), print("PRINTPAGE");
    for (const Step& step : script) {
        SCOPED_TRACE("step " + std::to_string(&step - script));
        char text[32] = "";
        LPARAM lParam = reinterpret_cast<LPARAM>(step.text);
        if (step.op == SetData) lParam = std::atoi(step.text);
        if (step.op == Text) lParam = reinterpret_cast<LPARAM>(text);
        EXPECT_EQ(setup.send(IDC_PRINTERSETUP_LIST, kList[step.op], step.w, lParam), step.list);
        if (step.op == Text) { EXPECT_STREQ(text, step.text); }
        EXPECT_EQ(print.send(IDC_PRINTPAGE_PRINTER, kCombo[step.op], step.w, lParam), step.combo);
        if (step.op == Text) { EXPECT_STREQ(text, step.text); }
    }
    EXPECT_EQ(setup.send(IDC_PRINTERSETUP_LIST, LB_SETSEL, TRUE, 0), LB_ERR);
    const int stops[] = {100};
    EXPECT_EQ(setup.send(IDC_PRINTERSETUP_LIST, LB_SETTABSTOPS, 1, reinterpret_cast<LPARAM>(stops)), TRUE);
}

// Check boxes, buttons, edit boxes and the dialog calls over them.
TEST(Dialogs, ButtonsAndEditBoxes) {
    Dialog print("PRINTPAGE");
    auto& events = print.journal.events;
    events.clear();
    print.send(IDC_PRINTPAGE_FIT, BM_CLICK, 0);
    EXPECT_EQ(IsDlgButtonChecked(print.handle, IDC_PRINTPAGE_FIT), BST_CHECKED);
    EXPECT_EQ(GetFocus(), print.item(IDC_PRINTPAGE_FIT));
    print.send(IDC_PRINTPAGE_FIT, BM_CLICK, 0);
    EXPECT_EQ(IsDlgButtonChecked(print.handle, IDC_PRINTPAGE_FIT), BST_UNCHECKED);
    EXPECT_TRUE(CheckDlgButton(print.handle, IDC_PRINTPAGE_STRETCH, 2));
    EXPECT_EQ(IsDlgButtonChecked(print.handle, IDC_PRINTPAGE_STRETCH), BST_CHECKED);
    EXPECT_EQ(print.send(IDC_VX_OK, BM_GETCHECK, 0), 0);
    EXPECT_FALSE(EnableWindow(print.item(IDC_VX_OK), FALSE));
    EXPECT_TRUE(EnableWindow(print.item(IDC_VX_OK), FALSE));
    EXPECT_FALSE(IsWindowEnabled(print.item(IDC_VX_OK)));
    EXPECT_TRUE(EnableWindow(print.item(IDC_VX_OK), TRUE));
    EXPECT_FALSE(EnableWindow(nullptr, TRUE));
    EXPECT_TRUE(SetDlgItemTextA(print.handle, IDC_PRINTPAGE_COPIES, "3"));
    EXPECT_EQ(print.journal.joined(), "cmd 1000/10, cmd 1000/4, cmd 117/0, cmd 117/0, cmd 116/1024, cmd 116/768");
    EXPECT_TRUE(SetDlgItemInt(print.handle, IDC_PRINTPAGE_COPIES, UINT(-12), TRUE));
    char text[8] = "";
    EXPECT_EQ(GetDlgItemTextA(print.handle, IDC_PRINTPAGE_COPIES, text, 3), 2u);
    EXPECT_STREQ(text, "-1");
    EXPECT_EQ(GetDlgItemTextA(print.handle, 4242, text, 8), 0u);
    EXPECT_STREQ(text, "");

    struct Case { const char* text; BOOL isSigned; UINT value; BOOL translated; };
    const Case cases[] = {
        {"12", TRUE, 12, TRUE}, {"  12", TRUE, 12, TRUE}, {"\t7", FALSE, 7, TRUE}, {"12  ", TRUE, 12, TRUE},
        {"12abc", TRUE, 12, TRUE}, {"-5", TRUE, UINT(-5), TRUE}, {"-5", FALSE, UINT(-5), TRUE}, {"+5", FALSE, 5, TRUE},
        {"-", TRUE, 0, FALSE}, {"abc", TRUE, 0, FALSE}, {"", TRUE, 0, FALSE}, {"2147483647", TRUE, 2147483647u, TRUE},
        {"4294967295", FALSE, 0xFFFFFFFFu, TRUE}, {"2147483648", TRUE, 0, FALSE}, {"4294967296", FALSE, 0, FALSE},
        {"-4294967296", FALSE, 1, TRUE}, {"-2147483649", TRUE, 0, FALSE},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string("'") + c.text + "' signed " + std::to_string(c.isSigned));
        SetDlgItemTextA(print.handle, IDC_PRINTPAGE_COPIES, c.text);
        BOOL translated = 2;
        EXPECT_EQ(GetDlgItemInt(print.handle, IDC_PRINTPAGE_COPIES, &translated, c.isSigned), c.value);
        EXPECT_EQ(translated, c.translated);
    }
}

// The cancel box's calls: the Close item of the system menu, the cursor counter, base units.
TEST(Dialogs, SystemMenuCursorAndBaseUnits) {
    Dialog cancel("PRINTCANCELDLGBOX");
    HMENU menu = GetSystemMenu(cancel.handle, FALSE);
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(EnableMenuItem(menu, SC_CLOSE, MF_BYCOMMAND | MF_GRAYED), MF_ENABLED);
    EXPECT_EQ(EnableMenuItem(menu, SC_CLOSE, MF_BYCOMMAND | MF_GRAYED), MF_GRAYED);
    EXPECT_EQ(EnableMenuItem(menu, 0x1234, MF_BYCOMMAND | MF_GRAYED), -1);
    EXPECT_EQ(EnableMenuItem(menu, SC_CLOSE, MF_BYCOMMAND | MF_ENABLED), MF_GRAYED);
    EXPECT_EQ(EnableMenuItem(nullptr, SC_CLOSE, MF_GRAYED), -1);
    const int shown = ShowCursor(TRUE);
    EXPECT_EQ(ShowCursor(FALSE), shown - 1);
    EXPECT_EQ(GetDialogBaseUnits(), MAKELONG(9, 16));
}

// A disabled button told to click takes the focus but does not click; a destroyed dialog, or a
// window that is not a dialog, gets every call's failure answer.
TEST(Dialogs, DisabledButtonsStaleAndForeignWindows) {
    TestWindow plain(50, 50);
    HWND stale = nullptr, staleButton = nullptr;
    {
        Dialog print("PRINTPAGE");
        EnableWindow(print.item(IDC_VX_CANCEL), FALSE);
        print.send(IDC_VX_CANCEL, BM_CLICK, 0);
        EXPECT_EQ(print.journal.events.back(), "cmd 1000/4");
        stale = print.handle;
        staleButton = print.item(IDC_VX_OK);
    }
    for (HWND window : {stale, plain.get()}) {
        EXPECT_FALSE(EndDialog(window, 1));
        EXPECT_EQ(GetDlgItem(window, IDC_VX_OK), nullptr);
        EXPECT_EQ(SendDlgItemMessageA(window, IDC_VX_OK, BM_GETCHECK, 0, 0), 0);
        EXPECT_FALSE(SetDlgItemTextA(window, IDC_VX_OK, "x"));
    }
    EXPECT_EQ(GetSystemMenu(stale, FALSE), nullptr);
    EXPECT_EQ(GetDlgCtrlID(staleButton), 0);
    EXPECT_EQ(GetParent(staleButton), nullptr);
    EXPECT_FALSE(IsWindowVisible(stale));
    EXPECT_FALSE(ShowWindow(stale, SW_SHOW));
    EXPECT_FALSE(EnableWindow(stale, FALSE));
    EXPECT_EQ(SetFocus(stale), nullptr);
    MSG message{stale, WM_NULL, 0, 0, 0, {0, 0}};
    EXPECT_FALSE(IsDialogMessageA(stale, &message));
}

TEST(Strings, WsprintfFormatsAsWindowsDoes) {
    struct Case { const char* expected; int (*format)(char*); };
    const Case cases[] = {
        {"-42|17|4000000000", [](char* b) { return wsprintfA(b, "%d|%i|%u", -42, 17, 4000000000u); }},
        {"  -42|-42  |-0042|-7", [](char* b) { return wsprintfA(b, "%5d|%-5d|%05d|%.2d", -42, -42, -42, -7); }},
        {"ff|FF|0xff|0XFF|000000ff|0x000000ff|0x1a    ", [](char* b) { return wsprintfA(b, "%x|%X|%#x|%#X|%08x|%#08x|%-#6x", 255, 255, 255, 255, 255, 255, 26); }},
        {"007|     007|0|5", [](char* b) { return wsprintfA(b, "%.3d|%8.3d|%.0d|%.0d", 7, 7, 0, 5); }},
        {"abc|ab|   ab|ab   |   ab|(null)", [](char* b) { return wsprintfA(b, "%s|%.2s|%5s|%-5s|%05s|%s", "abc", "abc", "ab", "ab", "ab", nullptr); }},
        {"A|  B|C  |", [](char* b) { return wsprintfA(b, "%c|%3c|%-3c|", 'A', 'B', 'C'); }},
        {"-5|5|abc|70000|wide|WIDE", [](char* b) { return wsprintfA(b, "%ld|%lu|%lx|%hd|%ls|%S", -5, 5u, 0xabc, 70000, u"wide", u"WIDE"); }},
        {"-5d|3    |o|q|%|", [](char* b) { return wsprintfA(b, "%0-5d|%-05d|%#o|%q|%%|%", 3); }},
        {"+d| d|    x|     -6x|000000000000001A", [](char* b) { return wsprintfA(b, "%+d|% d|%5.1s|%#5-6x|%p", "xyz", reinterpret_cast<void*>(26)); }},
        {"5|6|ld|Title  Page: 1 / 3", [](char* b) { return wsprintfA(b, "%I64d|%I32d|%lld|%s  Page: %d / %d", 5ll, 6, "Title", 1, 3); }},
    };
    for (const Case& c : cases) {
        char buffer[64];
        EXPECT_EQ(c.format(buffer), static_cast<int>(std::strlen(c.expected)));
        EXPECT_STREQ(buffer, c.expected);
    }
    // 1023 characters fill the output and answer 1024; 1022 do not; longer output is cut.
    std::vector<char> big(2000, 'a'), out(1100, 'Z');
    big.back() = '\0';
    const std::pair<int, int> lengths[] = {{1022, 1022}, {1023, 1024}, {1999, 1024}};
    for (const auto& [length, answer] : lengths) {
        EXPECT_EQ(wsprintfA(out.data(), "%s", big.data() + 1999 - length), answer);
        EXPECT_EQ(std::strlen(out.data()), static_cast<size_t>(std::min(length, 1023)));
        EXPECT_EQ(out[1024], 'Z');
    }
}

TEST(Strings, LocalBlocksAndStringCalls) {
    HLOCAL block = LocalAlloc(LHND, 239);
    ASSERT_NE(block, nullptr);
    auto* bytes = static_cast<unsigned char*>(LocalLock(block));
    ASSERT_NE(bytes, nullptr);
    EXPECT_EQ(bytes[0] | bytes[238], 0);
    EXPECT_EQ(LocalHandle(bytes), block);
    EXPECT_FALSE(LocalUnlock(block));
    EXPECT_EQ(LocalFree(block), nullptr);

    char buffer[8] = "xxxxxxx";
    EXPECT_EQ(lstrcpynA(buffer, "hello world", 4), buffer);
    EXPECT_STREQ(buffer, "hel");
    EXPECT_EQ(lstrcpynA(buffer, "zz", 0), buffer);
    EXPECT_STREQ(buffer, "hel");
    EXPECT_EQ(lstrcpynA(buffer, nullptr, 4), nullptr);
    EXPECT_EQ(lstrcpyA(nullptr, "x"), nullptr);
    EXPECT_EQ(lstrcpyA(buffer, nullptr), nullptr);
    EXPECT_EQ(lstrcpyA(buffer, "abc"), buffer);
    EXPECT_EQ(lstrlenA(buffer), 3);
    EXPECT_EQ(lstrlenA(nullptr), 0);
    struct Compare { const char* a; const char* b; int sign; };
    const Compare compares[] = {{"abc", "ABD", -1}, {"ABC", "abc", 0}, {"a_", "aB", -1}, {"b", "A", 1}, {"ab", "a", 1},
                                {nullptr, "", -1}, {"a", nullptr, 1}, {nullptr, nullptr, 0}};
    for (const Compare& c : compares) {
        const int result = lstrcmpiA(c.a, c.b);
        EXPECT_EQ((result > 0) - (result < 0), c.sign) << (c.a ? c.a : "null") << " vs " << (c.b ? c.b : "null");
    }
}

}  // namespace
