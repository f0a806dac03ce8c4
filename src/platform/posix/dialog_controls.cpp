// dialog_controls.cpp - the controls of the library's dialogs: ControlWindowProc, the one
// procedure of static texts, push buttons, check boxes, edit boxes, list boxes and drop-down-list
// combo boxes, answering their messages as Windows' controls do (nothing is drawn).
//
// Text: WM_SETTEXT, WM_GETTEXT, WM_GETTEXTLENGTH; a single-line edit box tells its dialog
// EN_UPDATE and EN_CHANGE when its text is set. Buttons: BM_CLICK is a click (the button takes
// the focus, then, unless it is disabled, an auto check box toggles and the dialog gets
// BN_CLICKED); BM_SETCHECK clamps to
// checked. List and combo boxes keep items (text and item data) and one selection; an index out
// of range answers LB_ERR / CB_ERR (-1) and changes nothing, and setting the selection to -1
// clears it and answers -1 too, as documented. The find-string searches start after the given
// index (-1 or one past the end: from the first item) and wrap round, comparing without regard
// to ASCII case: FIND and SELECT by prefix, FINDSTRINGEXACT the whole text; an empty string is
// found nowhere. Items stay in the order added (the
// library's lists are unsorted). Focus changes are notified as Windows' controls notify them.
#include <algorithm>
#include <cstring>

#include "platform/posix/dialog_manager.hpp"

namespace vx::posix::user {
namespace {

constexpr uint32_t kBsTypeMask = 0x0F;
constexpr uint32_t kBsCheckBox = 2, kBsAutoCheckBox = 3;
constexpr uint32_t kEsMultiline = 4;
constexpr WORD kEnSetFocus = 0x0100, kEnKillFocus = 0x0200, kEnUpdate = 0x0400;
constexpr WORD kLbnSetFocus = 4, kLbnKillFocus = 5;
constexpr WORD kCbnSetFocus = 3, kCbnKillFocus = 4, kCbnSelEndCancel = 10;
constexpr LRESULT kError = -1;  // LB_ERR, CB_ERR

bool IsCheckBox(const DialogPart& part) {
    const uint32_t type = part.style & kBsTypeMask;
    return type == kBsCheckBox || type == kBsAutoCheckBox;
}

const char* TextArgument(LPARAM lParam) { return lParam != 0 ? reinterpret_cast<const char*>(lParam) : ""; }

bool PrefixNoCase(const std::string& text, const char* prefix) {
    const size_t length = std::strlen(prefix);
    if (length > text.size()) return false;
    for (size_t i = 0; i < length; ++i) {
        int a = static_cast<unsigned char>(text[i]), b = static_cast<unsigned char>(prefix[i]);
        if (a >= 'A' && a <= 'Z') a += 'a' - 'A';
        if (b >= 'A' && b <= 'Z') b += 'a' - 'A';
        if (a != b) return false;
    }
    return true;
}

LRESULT Find(const DialogPart& part, WPARAM start, LPARAM lParam, bool exact) {
    const int count = static_cast<int>(part.items.size());
    if (count == 0) return kError;
    const char* wanted = TextArgument(lParam);
    if (*wanted == '\0') return kError;
    int first = static_cast<int>(start);
    if (first < -1 || first >= count) first = -1;
    for (int step = 1; step <= count; ++step) {
        const int index = (first + step) % count;
        const std::string& text = part.items[static_cast<size_t>(index)].text;
        if (exact ? CompareNoCase(text.c_str(), wanted) == 0 : PrefixNoCase(text, wanted)) return index;
    }
    return kError;
}

bool ValidIndex(const DialogPart& part, WPARAM index) {
    return static_cast<INT_PTR>(index) >= 0 && static_cast<size_t>(index) < part.items.size();
}

// The list messages shared by list boxes and combo boxes, under their list-box numbers.
enum class ListMessage { Add, Insert, Delete, Reset, Count, SetSel, GetSel, GetText, GetTextLen,
                         SetData, GetData, Find, FindExact, Select, None };

ListMessage ListMessageOf(ControlClass kind, UINT message) {
    if (kind == ControlClass::ListBox) {
        switch (message) {
            case LB_ADDSTRING: return ListMessage::Add;
            case LB_INSERTSTRING: return ListMessage::Insert;
            case LB_DELETESTRING: return ListMessage::Delete;
            case LB_RESETCONTENT: return ListMessage::Reset;
            case LB_GETCOUNT: return ListMessage::Count;
            case LB_SETCURSEL: return ListMessage::SetSel;
            case LB_GETCURSEL: return ListMessage::GetSel;
            case LB_GETTEXT: return ListMessage::GetText;
            case LB_GETTEXTLEN: return ListMessage::GetTextLen;
            case LB_SETITEMDATA: return ListMessage::SetData;
            case LB_GETITEMDATA: return ListMessage::GetData;
            case LB_FINDSTRING: return ListMessage::Find;
            case LB_FINDSTRINGEXACT: return ListMessage::FindExact;
            case LB_SELECTSTRING: return ListMessage::Select;
            default: return ListMessage::None;
        }
    }
    switch (message) {
        case CB_ADDSTRING: return ListMessage::Add;
        case CB_INSERTSTRING: return ListMessage::Insert;
        case CB_DELETESTRING: return ListMessage::Delete;
        case CB_RESETCONTENT: return ListMessage::Reset;
        case CB_GETCOUNT: return ListMessage::Count;
        case CB_SETCURSEL: return ListMessage::SetSel;
        case CB_GETCURSEL: return ListMessage::GetSel;
        case CB_GETLBTEXT: return ListMessage::GetText;
        case CB_GETLBTEXTLEN: return ListMessage::GetTextLen;
        case CB_SETITEMDATA: return ListMessage::SetData;
        case CB_GETITEMDATA: return ListMessage::GetData;
        case CB_FINDSTRING: return ListMessage::Find;
        case CB_FINDSTRINGEXACT: return ListMessage::FindExact;
        case CB_SELECTSTRING: return ListMessage::Select;
        default: return ListMessage::None;
    }
}

LRESULT ListProc(DialogPart& part, ListMessage message, WPARAM wParam, LPARAM lParam) {
    auto& items = part.items;
    switch (message) {
        case ListMessage::Add:
            items.push_back(ListItem{TextArgument(lParam), 0});
            return static_cast<LRESULT>(items.size() - 1);
        case ListMessage::Insert: {
            INT_PTR index = static_cast<INT_PTR>(wParam);
            if (index == -1) index = static_cast<INT_PTR>(items.size());
            if (index < 0 || static_cast<size_t>(index) > items.size()) return kError;
            items.insert(items.begin() + index, ListItem{TextArgument(lParam), 0});
            if (part.selection >= index) ++part.selection;
            return index;
        }
        case ListMessage::Delete: {
            if (!ValidIndex(part, wParam)) return kError;
            const int index = static_cast<int>(wParam);
            items.erase(items.begin() + index);
            if (part.selection == index) part.selection = -1;
            else if (part.selection > index) --part.selection;
            return static_cast<LRESULT>(items.size());
        }
        case ListMessage::Reset:  // a combo box answers CB_OKAY as TRUE, a list box 0
            items.clear();
            part.selection = -1;
            return part.kind == ControlClass::ComboBox ? TRUE : 0;
        case ListMessage::Count: return static_cast<LRESULT>(items.size());
        case ListMessage::SetSel:
            if (!ValidIndex(part, wParam)) {
                if (static_cast<INT_PTR>(wParam) == -1) part.selection = -1;
                return kError;
            }
            part.selection = static_cast<int>(wParam);
            return part.selection;
        case ListMessage::GetSel: return part.selection;
        case ListMessage::GetText:
            if (!ValidIndex(part, wParam) || lParam == 0) return kError;
            std::strcpy(reinterpret_cast<char*>(lParam), items[wParam].text.c_str());
            return static_cast<LRESULT>(items[wParam].text.size());
        case ListMessage::GetTextLen:
            return ValidIndex(part, wParam) ? static_cast<LRESULT>(items[wParam].text.size()) : kError;
        case ListMessage::SetData:
            if (!ValidIndex(part, wParam)) return kError;
            items[wParam].data = lParam;
            return TRUE;
        case ListMessage::GetData: return ValidIndex(part, wParam) ? items[wParam].data : kError;
        case ListMessage::Find: return Find(part, wParam, lParam, false);
        case ListMessage::FindExact: return Find(part, wParam, lParam, true);
        case ListMessage::Select: {
            const LRESULT found = Find(part, wParam, lParam, false);
            if (found != kError) part.selection = static_cast<int>(found);
            return found;
        }
        case ListMessage::None: break;
    }
    return 0;
}

void NotifyFocus(HWND control, const DialogPart& part, bool gained) {
    switch (part.kind) {
        case ControlClass::Edit: Notify(control, gained ? kEnSetFocus : kEnKillFocus); break;
        case ControlClass::ListBox: Notify(control, gained ? kLbnSetFocus : kLbnKillFocus); break;
        case ControlClass::ComboBox:
            if (!gained) Notify(control, kCbnSelEndCancel);
            Notify(control, gained ? kCbnSetFocus : kCbnKillFocus);
            break;
        default: break;
    }
}

}  // namespace

LRESULT CALLBACK ControlWindowProc(HWND control, UINT message, WPARAM wParam, LPARAM lParam) {
    const std::shared_ptr<DialogPart> part = PartOf(control);
    if (part == nullptr) return DefWindowProcA(control, message, wParam, lParam);
    const bool isList = part->kind == ControlClass::ListBox || part->kind == ControlClass::ComboBox;
    if (isList) {
        const ListMessage list = ListMessageOf(part->kind, message);
        if (list != ListMessage::None) {
            try {
                return ListProc(*part, list, wParam, lParam);
            } catch (...) {
                return -2;  // LB_ERRSPACE, CB_ERRSPACE: no memory for the item
            }
        }
    }
    switch (message) {
        case WM_SETTEXT:
            if (part->kind == ControlClass::ComboBox) return kError;  // a drop-down list has no field to set
            try {
                part->text = TextArgument(lParam);
            } catch (...) {
                return FALSE;
            }
            if (part->kind == ControlClass::Edit && (part->style & kEsMultiline) == 0) {
                Notify(control, kEnUpdate);
                Notify(control, EN_CHANGE);
            }
            return TRUE;
        case WM_GETTEXT:
        case WM_GETTEXTLENGTH: {
            std::string text = part->text;
            if (part->kind == ControlClass::ComboBox)
                text = part->selection >= 0 ? part->items[static_cast<size_t>(part->selection)].text : std::string();
            if (message == WM_GETTEXTLENGTH) return static_cast<LRESULT>(text.size());
            return CopyText(text, reinterpret_cast<char*>(lParam), static_cast<int>(wParam));
        }
        case BM_GETCHECK: return part->kind == ControlClass::Button && IsCheckBox(*part) ? part->check : 0;
        case BM_SETCHECK:
            if (part->kind == ControlClass::Button && IsCheckBox(*part)) part->check = wParam != 0 ? BST_CHECKED : BST_UNCHECKED;
            return 0;
        case BM_CLICK:
            if (part->kind != ControlClass::Button) return 0;
            SetFocus(control);
            if (!IsWindowEnabled(control)) return 0;  // the click itself is refused
            if ((part->style & kBsTypeMask) == kBsAutoCheckBox) part->check = part->check != 0 ? BST_UNCHECKED : BST_CHECKED;
            Notify(control, BN_CLICKED);
            return 0;
        case LB_SETTABSTOPS:
            if (part->kind != ControlClass::ListBox) break;
            if (wParam > 1024 || (wParam > 0 && lParam == 0)) return FALSE;
            try {
                const int* stops = reinterpret_cast<const int*>(lParam);
                part->tabStops.assign(stops, stops + wParam);
            } catch (...) {
                return FALSE;
            }
            return TRUE;
        case LB_SETSEL: return part->kind == ControlClass::ListBox ? kError : 0;
        case WM_SETREDRAW: part->redraw = wParam != 0; return 0;
        case WM_SETFOCUS: NotifyFocus(control, *part, true); return 0;
        case WM_KILLFOCUS: NotifyFocus(control, *part, false); return 0;
        default: break;
    }
    return DefWindowProcA(control, message, wParam, lParam);
}

}  // namespace vx::posix::user
