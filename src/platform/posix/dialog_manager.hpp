// dialog_manager.hpp - what the dialog files share: DialogPart (the dialog manager's record of
// a dialog or a control, kept in Window::dialogPart), PartOf, ControlWindowProc (the procedure
// of every control, dialog_controls.cpp), Notify (a control's WM_COMMAND to its dialog), the
// template font's base units, and the Windows integer and text helpers both files use.
//
// A record is reached through the window table and used with no lock held: dialogs, like all
// the library's windows, belong to the one thread that drives them, and their procedures call
// back into everything.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "vexora_win32.h"

#include "platform/posix/dialog_templates.hpp"

namespace vx::posix::user {

// Pixels per 4 horizontal and per 8 vertical dialog units of the templates' font (8-point
// "MS Shell Dlg"), as Wine lays the library's dialogs out. Both are font metrics: Wine gets them
// from Tahoma; headless, nothing is drawn, so the numbers are taken as they are there, and the
// dialogs and controls get the same pixel rectangles on both platforms.
inline constexpr int kTemplateBaseX = 7;
inline constexpr int kTemplateBaseY = 13;
// The height Wine gives a drop-down-list combo box (its selection field), whatever the
// template says: the font's line plus the field's frame.
inline constexpr int kComboFieldHeight = 21;
// The frame of a bordered edit or list box, each side, inside its window rectangle.
inline constexpr int kClientEdge = 2;

struct ListItem {
    std::string text;
    LPARAM data = 0;
};

struct DialogPart {
    bool isDialog = false;
    // A dialog.
    DLGPROC procedure = nullptr;
    bool modal = false;
    bool ended = false;
    INT_PTR result = 0;
    int defaultId = 0;         // DM_GETDEFID; 0: none
    HWND disabledOwner = nullptr;  // the owner a modal dialog disabled, until EndDialog
    bool systemMenu = false;
    UINT closeItemState = MF_ENABLED;
    // A control.
    ControlClass kind = ControlClass::Static;
    uint32_t style = 0;
    std::string text;          // a dialog's caption, a static's, button's or edit box's text
    UINT check = BST_UNCHECKED;
    std::vector<ListItem> items;
    int selection = -1;
    bool redraw = true;
    std::vector<int> tabStops;
};

// The record of a dialog or a control, or null for any other window.
std::shared_ptr<DialogPart> PartOf(HWND window);
LRESULT CALLBACK ControlWindowProc(HWND control, UINT message, WPARAM wParam, LPARAM lParam);
// Sends WM_COMMAND (the control's id, `code`, the control) to the control's dialog.
void Notify(HWND control, WORD code);

// Windows' case-insensitive comparison of the library's strings: ASCII letters fold.
int CompareNoCase(const char* a, const char* b);
// Copies `text` into `buffer` of `size` characters, cut and terminated; answers the count
// copied without the terminator (0 and nothing written when size < 1 or buffer is null).
int CopyText(const std::string& text, char* buffer, int size);

}  // namespace vx::posix::user
