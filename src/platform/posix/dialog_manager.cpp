// dialog_manager.cpp - dialogs over the library's window layer: CreateDialogParamA,
// DialogBoxParamA, EndDialog, IsDialogMessageA, TranslateMessage, DestroyWindow, ShowWindow,
// IsWindowVisible, GetParent, GetDlgItem, GetDlgCtrlID, SendDlgItemMessageA, Set/GetDlgItemTextA,
// Set/GetDlgItemInt, CheckDlgButton, IsDlgButtonChecked, Set/GetWindowTextA, EnableWindow,
// IsWindowEnabled, SetFocus, GetFocus, GetDialogBaseUnits, GetSystemMenu, EnableMenuItem and
// ShowCursor; and PartOf and Notify of dialog_manager.hpp.
//
// A dialog is a window of VexoraCreateWindow whose procedure is the dialog manager's: it hands
// each message to the DLGPROC first and does the default dialog work (DM_GETDEFID, DM_SETDEFID,
// WM_CLOSE as Cancel, the caption) for what the DLGPROC leaves. Its controls are child windows
// made from the template in template order (which is also the tab order), with the pixel
// rectangles Wine gives the same template. WM_INITDIALOG carries the first enabled tab stop
// and the caller's parameter; a TRUE answer puts the focus on that control.
//
// The modal loop is Windows': the owner is disabled before WM_INITDIALOG and enabled again by
// EndDialog; the dialog is shown when the queue first runs dry; whenever the loop would wait it
// first sends WM_ENTERIDLE (MSGF_DIALOGBOX, the dialog) to the owner. It never spins: when
// nothing is queued after that and no window host will post input (WaitMessage answers FALSE),
// the dialog is cancelled as the Escape key would (WM_COMMAND IDCANCEL), and a dialog that still
// does not end then ends with -1.
//
// The system menu of a dialog with WS_SYSMENU is only the state of its Close item: the HMENU is
// the dialog's handle plus 8, so it goes stale with the dialog.
#include <algorithm>
#include <cstdio>
#include <utility>

#include "platform/posix/dialog_manager.hpp"
#include "platform/posix/window.hpp"

namespace vx::posix::user {
namespace {

constexpr uintptr_t kMenuTag = 8;
constexpr uint32_t kWsTabStop = 0x00010000u;
constexpr uint32_t kWsVisible = 0x10000000u;
constexpr uint32_t kWsDisabled = 0x08000000u;
constexpr uint32_t kWsSysMenu = 0x00080000u;
constexpr uint32_t kBsTypeMask = 0x0Fu;
constexpr uint32_t kBsDefPushButton = 1;
constexpr int kScreenWidth = 1280, kScreenHeight = 1024;
constexpr WPARAM kVkReturn = 0x0D, kVkEscape = 0x1B;

HWND g_focus = nullptr;
int g_cursorCount = 0;

int DialogUnitsX(int units) { return (units * kTemplateBaseX * 2 + (units < 0 ? -4 : 4)) / 8; }
int DialogUnitsY(int units) { return (units * kTemplateBaseY * 2 + (units < 0 ? -8 : 8)) / 16; }

const DialogTemplate* FindTemplate(LPCSTR name) {
    if (name == nullptr || reinterpret_cast<uintptr_t>(name) <= 0xFFFF) return nullptr;  // by number: none
    for (const DialogTemplate& candidate : DialogTemplates())
        if (CompareNoCase(candidate.name, name) == 0) return &candidate;
    return nullptr;
}

// The dialog a window belongs to: itself for a dialog, the parent for a control.
HWND DialogOf(HWND window) {
    auto windows = Windows();
    const Window* found = windows.find(window);
    if (found == nullptr) return nullptr;
    return found->control ? found->parent : window;
}

LRESULT CALLBACK DialogWindowProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    const std::shared_ptr<DialogPart> part = PartOf(dialog);
    if (part == nullptr) return DefWindowProcA(dialog, message, wParam, lParam);
    const INT_PTR answered = part->procedure != nullptr ? part->procedure(dialog, message, wParam, lParam) : FALSE;
    if (message == WM_INITDIALOG) return answered;
    if (answered != FALSE) return 0;  // what the procedure would leave in DWLP_MSGRESULT: never set here
    switch (message) {
        case DM_GETDEFID: return part->defaultId != 0 ? MAKELONG(part->defaultId, DC_HASDEFID) : 0;
        case DM_SETDEFID: part->defaultId = static_cast<int>(wParam); return TRUE;
        case WM_SETTEXT:
            part->text = lParam != 0 ? reinterpret_cast<const char*>(lParam) : "";
            return TRUE;
        case WM_GETTEXT: return CopyText(part->text, reinterpret_cast<char*>(lParam), static_cast<int>(wParam));
        case WM_GETTEXTLENGTH: return static_cast<LRESULT>(part->text.size());
        case WM_CLOSE: {
            HWND cancel = GetDlgItem(dialog, IDCANCEL);
            if (cancel != nullptr && !IsWindowEnabled(cancel)) {
                MessageBeep(0);
                return 0;
            }
            PostMessageA(dialog, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), reinterpret_cast<LPARAM>(cancel));
            return 0;
        }
        default: return DefWindowProcA(dialog, message, wParam, lParam);
    }
}

// Makes one control of the template, hidden from the table until it is complete.
HWND CreateControl(HWND dialog, POINT origin, const ControlTemplate& item) {
    int width = std::max(1, DialogUnitsX(item.cx)), height = std::max(1, DialogUnitsY(item.cy));
    const bool bordered = item.kind == ControlClass::Edit || item.kind == ControlClass::ListBox;
    if (item.kind == ControlClass::ComboBox) height = kComboFieldHeight;
    if (bordered) {
        width = std::max(1, width - 2 * kClientEdge);
        height = std::max(1, height - 2 * kClientEdge);
    }
    VXWINDOWHOST host{};
    host.windowProc = ControlWindowProc;
    HWND control = VexoraCreateWindow(width, height, &host);
    if (control == nullptr) return nullptr;
    try {
        auto part = std::make_shared<DialogPart>();
        part->kind = item.kind;
        part->style = item.style;
        part->text = item.text;
        auto windows = Windows();
        Window* window = windows.find(control);
        window->parent = dialog;
        window->control = true;
        window->id = item.id;
        window->disabled = (item.style & kWsDisabled) != 0;
        window->visible = (item.style & kWsVisible) != 0;
        const int edge = bordered ? kClientEdge : 0;
        window->origin = POINT{origin.x + DialogUnitsX(item.x) + edge, origin.y + DialogUnitsY(item.y) + edge};
        window->dialogPart = std::move(part);
    } catch (...) {
        VexoraDestroyWindow(control);
        return nullptr;
    }
    return control;
}

// The first control that is a visible, enabled tab stop, or null.
HWND FirstTabStop(HWND dialog) {
    auto windows = Windows();
    for (const Window* window : windows.all()) {
        if (!window->control || window->parent != dialog || window->disabled || !window->visible) continue;
        const auto* part = static_cast<const DialogPart*>(window->dialogPart.get());
        if (part != nullptr && (part->style & kWsTabStop) != 0) return window->handle;
    }
    return nullptr;
}

HWND CreateDialogFrom(const DialogTemplate& form, HWND owner, DLGPROC procedure, LPARAM parameter, bool modal) {
    const int width = std::max(1, DialogUnitsX(form.cx)), height = std::max(1, DialogUnitsY(form.cy));
    VXWINDOWHOST host{};
    host.windowProc = DialogWindowProc;
    HWND dialog = VexoraCreateWindow(width, height, &host);
    if (dialog == nullptr) return nullptr;
    const POINT origin{(kScreenWidth - width) / 2, (kScreenHeight - height) / 2};
    if (!IsWindow(owner)) owner = nullptr;
    try {
        auto part = std::make_shared<DialogPart>();
        part->isDialog = true;
        part->procedure = procedure;
        part->modal = modal;
        part->text = form.caption;
        part->systemMenu = (form.style & kWsSysMenu) != 0;
        for (const ControlTemplate& item : form.controls)
            if (item.kind == ControlClass::Button && (item.style & kBsTypeMask) == kBsDefPushButton) {
                part->defaultId = item.id;
                break;
            }
        auto windows = Windows();
        Window* window = windows.find(dialog);
        window->parent = owner;
        window->visible = false;
        window->origin = origin;
        window->dialogPart = std::move(part);
    } catch (...) {
        VexoraDestroyWindow(dialog);
        return nullptr;
    }
    for (const ControlTemplate& item : form.controls) {
        if (CreateControl(dialog, origin, item) == nullptr) {
            VexoraDestroyWindow(dialog);
            return nullptr;
        }
    }
    if (modal && owner != nullptr && IsWindowEnabled(owner)) {
        EnableWindow(owner, FALSE);
        if (auto part = PartOf(dialog)) part->disabledOwner = owner;
    }
    HWND first = FirstTabStop(dialog);
    const LRESULT focus = SendMessageA(dialog, WM_INITDIALOG, reinterpret_cast<WPARAM>(first), parameter);
    if (!IsWindow(dialog)) return nullptr;
    if (focus != 0 && (first = FirstTabStop(dialog)) != nullptr) SetFocus(first);
    if ((form.style & kWsVisible) != 0) ShowWindow(dialog, SW_SHOWNORMAL);
    return dialog;
}

// One turn of the modal loop with nothing queued: show the dialog the first time, tell the
// owner, and when still nothing is queued ask the hosts for input. False: none will come.
bool IdleTurn(HWND dialog, HWND owner, bool& shown) {
    if (!shown) {
        ShowWindow(dialog, SW_SHOWNORMAL);
        shown = true;
    }
    if (owner != nullptr) SendMessageA(owner, WM_ENTERIDLE, MSGF_DIALOGBOX, reinterpret_cast<LPARAM>(dialog));
    const std::shared_ptr<DialogPart> part = PartOf(dialog);
    if (part == nullptr || part->ended) return true;
    MSG waiting;
    return PeekMessageA(&waiting, nullptr, 0, 0, PM_NOREMOVE) || WaitMessage();
}

}  // namespace

std::shared_ptr<DialogPart> PartOf(HWND window) {
    auto windows = Windows();
    const Window* found = windows.find(window);
    return found != nullptr ? std::static_pointer_cast<DialogPart>(found->dialogPart) : nullptr;
}

void Notify(HWND control, WORD code) {
    HWND dialog = nullptr;
    int id = 0;
    {
        auto windows = Windows();
        const Window* found = windows.find(control);
        if (found == nullptr || !found->control) return;
        dialog = found->parent;
        id = found->id;
    }
    SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(id, code), reinterpret_cast<LPARAM>(control));
}

int CompareNoCase(const char* a, const char* b) {
    for (;; ++a, ++b) {
        int x = static_cast<unsigned char>(*a), y = static_cast<unsigned char>(*b);
        if (x >= 'A' && x <= 'Z') x += 'a' - 'A';
        if (y >= 'A' && y <= 'Z') y += 'a' - 'A';
        if (x != y) return x < y ? -1 : 1;
        if (x == 0) return 0;
    }
}

int CopyText(const std::string& text, char* buffer, int size) {
    if (buffer == nullptr || size < 1) return 0;
    const int count = std::min(static_cast<int>(text.size()), size - 1);
    std::copy_n(text.data(), count, buffer);
    buffer[count] = '\0';
    return count;
}

}  // namespace vx::posix::user

using namespace vx::posix::user;

extern "C" {

VXPLATFORMAPI HWND CreateDialogParamA(HINSTANCE, LPCSTR templateName, HWND owner, DLGPROC dialogProc, LPARAM initParam) {
    const DialogTemplate* form = FindTemplate(templateName);
    return form != nullptr ? CreateDialogFrom(*form, owner, dialogProc, initParam, false) : nullptr;
}

VXPLATFORMAPI INT_PTR DialogBoxParamA(HINSTANCE, LPCSTR templateName, HWND owner, DLGPROC dialogProc, LPARAM initParam) {
    const DialogTemplate* form = FindTemplate(templateName);
    if (form == nullptr) return -1;
    if (owner != nullptr && !IsWindow(owner)) owner = nullptr;
    const bool ownerEnabled = owner != nullptr && IsWindowEnabled(owner);
    HWND dialog = CreateDialogFrom(*form, owner, dialogProc, initParam, true);
    if (dialog == nullptr) return -1;
    bool shown = false, cancelled = false;
    for (;;) {
        std::shared_ptr<DialogPart> part = PartOf(dialog);
        if (part == nullptr) break;
        if (part->ended) {
            const INT_PTR result = part->result;
            DestroyWindow(dialog);
            return result;
        }
        MSG message;
        if (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
            if (!IsDialogMessageA(dialog, &message)) {
                TranslateMessage(&message);
                DispatchMessageA(&message);
            }
            continue;
        }
        if (IdleTurn(dialog, owner, shown)) continue;
        if (!cancelled) {
            cancelled = true;
            SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED),
                         reinterpret_cast<LPARAM>(GetDlgItem(dialog, IDCANCEL)));
        } else {
            EndDialog(dialog, -1);
        }
    }
    // Destroyed without EndDialog: the owner is not left disabled by the loop.
    if (ownerEnabled && IsWindow(owner)) EnableWindow(owner, TRUE);
    return 0;
}

VXPLATFORMAPI BOOL EndDialog(HWND dialog, INT_PTR result) {
    const std::shared_ptr<DialogPart> part = PartOf(dialog);
    if (part == nullptr || !part->isDialog) return FALSE;
    part->ended = true;
    part->result = result;
    if (HWND owner = std::exchange(part->disabledOwner, nullptr)) EnableWindow(owner, TRUE);
    ShowWindow(dialog, SW_HIDE);
    PostMessageA(dialog, WM_NULL, 0, 0);
    return TRUE;
}

VXPLATFORMAPI BOOL IsDialogMessageA(HWND dialog, LPMSG message) {
    if (message == nullptr || dialog == nullptr || message->hwnd == nullptr) return FALSE;
    const std::shared_ptr<DialogPart> part = PartOf(dialog);
    if (part == nullptr || DialogOf(message->hwnd) != dialog) return FALSE;
    if (message->message == WM_KEYDOWN && (message->wParam == kVkReturn || message->wParam == kVkEscape)) {
        const int id = message->wParam == kVkEscape ? IDCANCEL : (part->defaultId != 0 ? part->defaultId : IDOK);
        HWND button = GetDlgItem(dialog, id);
        if (button == nullptr || IsWindowEnabled(button))
            SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(button));
        return TRUE;
    }
    DispatchMessageA(message);
    return TRUE;
}

// Key messages are translated (nonzero) whatever the key; a key that types a character posts
// WM_CHAR: digits, letters (lower case: no shift state is kept), space, Return, Escape,
// Backspace and Tab.
VXPLATFORMAPI BOOL TranslateMessage(const MSG* message) {
    if (message == nullptr) return FALSE;
    if (message->message != WM_KEYDOWN && message->message != WM_KEYUP && message->message != 0x0104 &&
        message->message != 0x0105)
        return FALSE;
    if (message->message == WM_KEYDOWN) {
        const WPARAM key = message->wParam;
        WPARAM character = 0;
        if ((key >= '0' && key <= '9') || key == ' ' || key == 0x0D || key == 0x1B || key == 0x08 || key == 0x09) character = key;
        else if (key >= 'A' && key <= 'Z') character = key + ('a' - 'A');
        if (character != 0) PostMessageA(message->hwnd, WM_CHAR, character, message->lParam);
    }
    return TRUE;
}

VXPLATFORMAPI BOOL DestroyWindow(HWND window) { return VexoraDestroyWindow(window); }

VXPLATFORMAPI BOOL ShowWindow(HWND window, int command) {
    auto windows = Windows();
    Window* found = windows.find(window);
    if (found == nullptr) return FALSE;
    return std::exchange(found->visible, command != SW_HIDE) ? TRUE : FALSE;
}

VXPLATFORMAPI BOOL IsWindowVisible(HWND window) {
    auto windows = Windows();
    for (const Window* found = windows.find(window); found != nullptr; found = windows.find(found->parent)) {
        if (!found->visible) return FALSE;
        if (!found->control) return TRUE;
    }
    return FALSE;
}

VXPLATFORMAPI HWND GetParent(HWND window) {
    auto windows = Windows();
    const Window* found = windows.find(window);
    return found != nullptr && windows.find(found->parent) != nullptr ? found->parent : nullptr;
}

VXPLATFORMAPI HWND GetDlgItem(HWND dialog, int id) {
    auto windows = Windows();
    if (windows.find(dialog) == nullptr) return nullptr;
    for (const Window* window : windows.all())
        if (window->control && window->parent == dialog && window->id == id) return window->handle;
    return nullptr;
}

VXPLATFORMAPI int GetDlgCtrlID(HWND control) {
    auto windows = Windows();
    const Window* found = windows.find(control);
    return found != nullptr && found->control ? found->id : 0;
}

VXPLATFORMAPI LRESULT SendDlgItemMessageA(HWND dialog, int id, UINT message, WPARAM wParam, LPARAM lParam) {
    HWND control = GetDlgItem(dialog, id);
    return control != nullptr ? SendMessageA(control, message, wParam, lParam) : 0;
}

VXPLATFORMAPI BOOL SetWindowTextA(HWND window, LPCSTR text) {
    if (!IsWindow(window)) return FALSE;
    return SendMessageA(window, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text)) != 0 ? TRUE : FALSE;
}

VXPLATFORMAPI int GetWindowTextA(HWND window, LPSTR buffer, int size) {
    if (buffer != nullptr && size > 0) buffer[0] = '\0';
    if (!IsWindow(window)) return 0;
    return static_cast<int>(SendMessageA(window, WM_GETTEXT, static_cast<WPARAM>(std::max(size, 0)),
                                         reinterpret_cast<LPARAM>(buffer)));
}

VXPLATFORMAPI BOOL SetDlgItemTextA(HWND dialog, int id, LPCSTR text) {
    return SetWindowTextA(GetDlgItem(dialog, id), text);
}

VXPLATFORMAPI UINT GetDlgItemTextA(HWND dialog, int id, LPSTR buffer, int size) {
    return static_cast<UINT>(GetWindowTextA(GetDlgItem(dialog, id), buffer, size));
}

VXPLATFORMAPI BOOL SetDlgItemInt(HWND dialog, int id, UINT value, BOOL isSigned) {
    char text[16];
    if (isSigned) std::snprintf(text, sizeof text, "%d", static_cast<int>(value));
    else std::snprintf(text, sizeof text, "%u", value);
    return SetDlgItemTextA(dialog, id, text);
}

// The text is read as the C library of Windows reads a 32-bit long (signed) or unsigned long:
// leading blanks skipped, an optional sign (also when unsigned: "-5" is 4294967291), decimal
// digits up to the first other character, which ends the number. No digit at all is not a
// number, nor is a signed value out of range. An unsigned one out of range saturates to
// 4294967295 and is refused, unless a minus sign then turns it into 1, as it does there.
VXPLATFORMAPI UINT GetDlgItemInt(HWND dialog, int id, BOOL* translated, BOOL isSigned) {
    if (translated != nullptr) *translated = FALSE;
    char text[64];
    if (GetDlgItemTextA(dialog, id, text, sizeof text) == 0) return 0;
    const char* p = text;
    while (*p == ' ' || (*p >= '\t' && *p <= '\r')) ++p;
    bool negative = false;
    if (*p == '-' || *p == '+') negative = *p++ == '-';
    if (*p < '0' || *p > '9') return 0;
    const long long limit = isSigned ? (negative ? 0x80000000ll : 0x7FFFFFFFll) : 0xFFFFFFFFll;
    long long magnitude = 0;
    bool overflow = false;
    for (; *p >= '0' && *p <= '9'; ++p) {
        magnitude = magnitude * 10 + (*p - '0');
        if (magnitude > limit) {
            overflow = true;
            magnitude = limit;
        }
    }
    const uint32_t value = negative ? 0u - static_cast<uint32_t>(magnitude) : static_cast<uint32_t>(magnitude);
    if (overflow && (isSigned || value == 0xFFFFFFFFu)) return 0;
    if (translated != nullptr) *translated = TRUE;
    return value;
}

VXPLATFORMAPI BOOL CheckDlgButton(HWND dialog, int id, UINT check) {
    SendDlgItemMessageA(dialog, id, BM_SETCHECK, check, 0);
    return TRUE;
}

VXPLATFORMAPI UINT IsDlgButtonChecked(HWND dialog, int id) {
    return static_cast<UINT>(SendDlgItemMessageA(dialog, id, BM_GETCHECK, 0, 0));
}

VXPLATFORMAPI BOOL EnableWindow(HWND window, BOOL enable) {
    bool wasDisabled = false;
    {
        auto windows = Windows();
        Window* found = windows.find(window);
        if (found == nullptr) return FALSE;
        wasDisabled = std::exchange(found->disabled, enable == FALSE);
        if (wasDisabled == (enable == FALSE)) return wasDisabled ? TRUE : FALSE;
    }
    if (!enable && g_focus == window) SetFocus(nullptr);
    SendMessageA(window, WM_ENABLE, enable ? TRUE : FALSE, 0);
    return wasDisabled ? TRUE : FALSE;
}

VXPLATFORMAPI BOOL IsWindowEnabled(HWND window) {
    auto windows = Windows();
    const Window* found = windows.find(window);
    return found != nullptr && !found->disabled ? TRUE : FALSE;
}

VXPLATFORMAPI HWND SetFocus(HWND window) {
    if (window != nullptr && !IsWindow(window)) return nullptr;
    HWND previous = GetFocus();
    if (previous == window) return previous;
    g_focus = window;
    if (previous != nullptr) SendMessageA(previous, WM_KILLFOCUS, reinterpret_cast<WPARAM>(window), 0);
    if (window != nullptr && g_focus == window) SendMessageA(window, WM_SETFOCUS, reinterpret_cast<WPARAM>(previous), 0);
    return previous;
}

VXPLATFORMAPI HWND GetFocus(void) { return IsWindow(g_focus) ? g_focus : nullptr; }

// Wine's answer on its virtual display: the system font's 9 x 16 pixels.
VXPLATFORMAPI LONG GetDialogBaseUnits(void) { return MAKELONG(9, 16); }

VXPLATFORMAPI HMENU GetSystemMenu(HWND window, BOOL revert) {
    const std::shared_ptr<DialogPart> part = PartOf(window);
    if (part == nullptr || !part->isDialog || !part->systemMenu) return nullptr;
    if (revert) {
        part->closeItemState = MF_ENABLED;
        return nullptr;
    }
    return reinterpret_cast<HMENU>(reinterpret_cast<uintptr_t>(window) + kMenuTag);
}

VXPLATFORMAPI BOOL EnableMenuItem(HMENU menu, UINT item, UINT flags) {
    const auto value = reinterpret_cast<uintptr_t>(menu);
    if ((value & 0xF) != kMenuTag) return -1;
    const std::shared_ptr<DialogPart> part = PartOf(reinterpret_cast<HWND>(value - kMenuTag));
    if (part == nullptr || !part->systemMenu || (flags & 0x400) != 0 || item != SC_CLOSE) return -1;
    return static_cast<BOOL>(std::exchange(part->closeItemState, flags & (MF_GRAYED | MF_DISABLED)));
}

VXPLATFORMAPI int ShowCursor(BOOL show) { return show ? ++g_cursorCount : --g_cursorCount; }

}  // extern "C"
