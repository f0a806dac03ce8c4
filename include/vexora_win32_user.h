/*
 * vexora_win32_user.h - the USER32 calls libvexora.so exports, for platforms without
 * <windows.h>:
 *
 *   - MessageBoxA, which has no screen here and reports through the library's message sink
 *     (VexoraSetMessageSink in vexora.h);
 *   - windows without a windowing system (VexoraCreateWindow): a client area the library
 *     keeps as pixels, with Windows' paint, invalidation, scroll-bar, capture and message
 *     semantics for what the display calls use; a toolkit presents it through VXWINDOWHOST;
 *   - GetDC and ReleaseDC for the screen (a null window) and for those windows;
 *   - GetActiveWindow (NULL: no window is active), DrawTextA over the GDI's fonts, and
 *     OemToCharA (code page 437 to Windows-1252);
 *   - the rectangle helpers (SetRect, IntersectRect, ...).
 *
 * On Windows this file only includes <windows.h>.
 */
#ifndef VEXORA_WIN32_USER_H
#define VEXORA_WIN32_USER_H

#include "vexora_win32_types.h"

#if !defined(_WIN32)

#ifdef __cplusplus
extern "C" {
#endif

/* Message boxes: no screen, so the text goes to the message sink (VexoraSetMessageSink). */
#define MB_OK 0x00000000L
#define MB_ICONHAND 0x00000010L
#define MB_ICONQUESTION 0x00000020L
#define MB_ICONEXCLAMATION 0x00000030L
#define MB_ICONASTERISK 0x00000040L
#define IDOK 1

VXPLATFORMAPI int MessageBoxA(HWND owner, LPCSTR text, LPCSTR caption, UINT style);

/*
 * Device contexts of windows. GetDC(NULL) gives a context of the screen, the default palette
 * selected. ReleaseDC gives it back (1) to a cache, so the handle stays a DC and a later GetDC
 * may lend it out again; releasing a context that is not lent out answers 0. GetDC of a window
 * gives a context whose surface is the window's client pixels, clipped to the client area;
 * GetDC of a destroyed or unknown window answers NULL.
 */
VXPLATFORMAPI HDC GetDC(HWND window);
VXPLATFORMAPI int ReleaseDC(HWND window, HDC dc);
VXPLATFORMAPI HWND GetActiveWindow(void);

/*
 * DrawTextA lays text out in a rectangle as Windows does: lines break at CR, LF and CR LF,
 * each line one font height (plus the external leading with DT_EXTERNALLEADING) below the
 * last. DT_CALCRECT only measures: the rectangle's right and bottom grow or shrink to the
 * text's extent and the answer is its height. DT_NOCLIP draws without clipping to the
 * rectangle. Answers the height of the text drawn, 0 on failure.
 */
#define DT_TOP 0x00000000
#define DT_LEFT 0x00000000
#define DT_CENTER 0x00000001
#define DT_RIGHT 0x00000002
#define DT_VCENTER 0x00000004
#define DT_BOTTOM 0x00000008
#define DT_WORDBREAK 0x00000010
#define DT_SINGLELINE 0x00000020
#define DT_EXPANDTABS 0x00000040
#define DT_NOCLIP 0x00000100
#define DT_EXTERNALLEADING 0x00000200
#define DT_CALCRECT 0x00000400
#define DT_NOPREFIX 0x00000800
VXPLATFORMAPI int DrawTextA(HDC dc, LPCSTR text, int count, LPRECT rect, UINT format);

/* Converts OEM (code page 437) text to ANSI (Windows-1252), in place when both are the same. */
VXPLATFORMAPI BOOL OemToCharA(LPCSTR source, LPSTR destination);


/* ------------------------------------------------------------------------------------------ */
/* Windows without a windowing system                                                          */
/* ------------------------------------------------------------------------------------------ */

typedef LRESULT(CALLBACK *WNDPROC)(HWND, UINT, WPARAM, LPARAM);

/*
 * The callbacks through which a toolkit shows a library window. Every member may be NULL, and
 * so may the whole table (a headless window, for tests and servers). The table is copied at
 * creation. Callbacks are called with no lock of the library held.
 *
 *   windowProc  receives the window's messages: WM_PAINT (from UpdateWindow, at once), WM_SIZE
 *               when the client area changes (a scroll bar shown or hidden, VexoraSetWindowPos),
 *               WM_ERASEBKGND from BeginPaint, and whatever the host sends or posts. NULL means
 *               DefWindowProcA.
 *   background  the class background brush (GetClassLongPtrA(GCLP_HBRBACKGROUND)), used by
 *               DefWindowProcA's WM_ERASEBKGND; NULL erases nothing.
 *   context     handed back to every callback below.
 *   present     the client pixels inside `changed` (client coordinates) have changed: show
 *               them (VexoraWindowPixels).
 *   scrollBars  a scroll bar's range, position or visibility changed: read them back with
 *               GetScrollRange/GetScrollPos/VexoraScrollBarShown.
 *   cursor      the cursor to show over the window changed (NULL: hidden).
 *   clipCursor  the cursor is confined to a screen rectangle, or released (NULL).
 *   waitMessage the library waits for input (WaitMessage with an empty queue): post at least
 *               one message (PostMessageA) and answer TRUE, or answer FALSE when no input will
 *               come; NULL answers FALSE.
 *   beep        MessageBeep.
 */
typedef struct VXWINDOWHOST {
    WNDPROC windowProc;
    HBRUSH background;
    void *context;
    void (*present)(void *context, HWND window, const RECT *changed);
    void (*scrollBars)(void *context, HWND window);
    void (*cursor)(void *context, HWND window, HCURSOR cursor);
    void (*clipCursor)(void *context, HWND window, const RECT *screen);
    BOOL (*waitMessage)(void *context, HWND window);
    void (*beep)(void *context, UINT type);
} VXWINDOWHOST;

/*
 * Makes a window whose client area is clientWidth x clientHeight pixels (32-bit true colour,
 * filled with the background brush, or white without one), no scroll bar shown, its client
 * origin at screen (0, 0), nothing invalid. The window procedure receives no WM_CREATE (it
 * exists before the call returns). Handles are never reused. Answers NULL for a size below 1 or above 16384 on either side, or when memory
 * runs out.
 */
VXPLATFORMAPI HWND VexoraCreateWindow(int clientWidth, int clientHeight, const VXWINDOWHOST *host);
/*
 * Sends WM_DESTROY, then frees the window and its pixels; its handle is stale afterwards and
 * every call answers its failure value for it. The DCs it lent draw nothing from then on.
 */
VXPLATFORMAPI BOOL VexoraDestroyWindow(HWND window);
/*
 * Moves the window's frame so that its client origin, with no scroll bar shown, is at screen
 * (x, y), and sizes the frame to width x height: the client area is that less the scroll
 * bars shown. Sends WM_SIZE when the client size changes. FALSE for bad sizes.
 */
VXPLATFORMAPI BOOL VexoraSetWindowPos(HWND window, int x, int y, int width, int height);
/*
 * The client pixels, for a host to present or a test to read: top row first, 4 bytes a pixel
 * (blue, green, red, unused), `stride` bytes a row. Valid until the next call into the library
 * on this window. NULL for an unknown window.
 */
VXPLATFORMAPI const void *VexoraWindowPixels(HWND window, int *width, int *height, int *stride);
/* Whether the window's SB_HORZ or SB_VERT bar is shown (it then takes client area). */
VXPLATFORMAPI BOOL VexoraScrollBarShown(HWND window, int bar);

#define WM_NULL 0x0000
#define WM_CREATE 0x0001
#define WM_DESTROY 0x0002
#define WM_SIZE 0x0005
#define WM_PAINT 0x000F
#define WM_CLOSE 0x0010
#define WM_ERASEBKGND 0x0014
#define WM_KEYDOWN 0x0100
#define WM_KEYUP 0x0101
#define WM_CHAR 0x0102
#define WM_TIMER 0x0113
#define WM_HSCROLL 0x0114
#define WM_VSCROLL 0x0115
#define WM_MOUSEFIRST 0x0200
#define WM_MOUSEMOVE 0x0200
#define WM_LBUTTONDOWN 0x0201
#define WM_LBUTTONUP 0x0202
#define WM_LBUTTONDBLCLK 0x0203
#define WM_RBUTTONDOWN 0x0204
#define WM_RBUTTONUP 0x0205
#define WM_RBUTTONDBLCLK 0x0206
#define WM_MBUTTONDOWN 0x0207
#define WM_MBUTTONUP 0x0208
#define WM_MBUTTONDBLCLK 0x0209
#define WM_MOUSEWHEEL 0x020A
#define WM_MOUSELAST 0x020A
#define WM_CAPTURECHANGED 0x0215
#define WM_USER 0x0400

#define SIZE_RESTORED 0
#define MK_LBUTTON 0x0001
#define MK_RBUTTON 0x0002

#define LOWORD(l) ((WORD)(((DWORD_PTR)(l)) & 0xffff))
#define HIWORD(l) ((WORD)((((DWORD_PTR)(l)) >> 16) & 0xffff))
#define MAKELONG(a, b) ((LONG)(((WORD)(((DWORD_PTR)(a)) & 0xffff)) | ((DWORD)((WORD)(((DWORD_PTR)(b)) & 0xffff))) << 16))
#define MAKELPARAM(l, h) ((LPARAM)(DWORD)MAKELONG(l, h))
#define MAKEWPARAM(l, h) ((WPARAM)(DWORD)MAKELONG(l, h))
#define GET_X_LPARAM(lp) ((int)(short)LOWORD(lp))
#define GET_Y_LPARAM(lp) ((int)(short)HIWORD(lp))

typedef struct tagMSG {
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time;
    POINT pt;
} MSG, *LPMSG;

#define PM_NOREMOVE 0x0000
#define PM_REMOVE 0x0001

/*
 * Messages. SendMessageA calls the window procedure at once; PostMessageA queues the message
 * (one queue for the process: the library's windows belong to the thread that drives them);
 * PeekMessageA takes the oldest queued message of the window (any window for NULL) whose
 * number lies in [first, last] (any with 0, 0); WaitMessage returns at once when a message is
 * queued, else asks the host to post one (VXWINDOWHOST.waitMessage) and answers FALSE when
 * none will come. DispatchMessageA hands a message to its window's procedure. DefWindowProcA: WM_ERASEBKGND fills the update area with the background
 * brush (answers 1 when it had one), WM_PAINT validates the window, anything else answers 0.
 */
VXPLATFORMAPI LRESULT SendMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
VXPLATFORMAPI BOOL PostMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
VXPLATFORMAPI BOOL PeekMessageA(LPMSG message, HWND window, UINT first, UINT last, UINT remove);
VXPLATFORMAPI BOOL WaitMessage(void);
VXPLATFORMAPI LRESULT DispatchMessageA(const MSG *message);
VXPLATFORMAPI LRESULT DefWindowProcA(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

VXPLATFORMAPI BOOL IsWindow(HWND window);
VXPLATFORMAPI BOOL GetClientRect(HWND window, LPRECT rect);
VXPLATFORMAPI BOOL ClientToScreen(HWND window, LPPOINT point);
VXPLATFORMAPI BOOL ScreenToClient(HWND window, LPPOINT point);

#define GWLP_USERDATA (-21)
#define GCL_HBRBACKGROUND (-10)
#define GCLP_HBRBACKGROUND (-10)
/*
 * Only GWLP_USERDATA (a value kept for the application) and GCL(P)_HBRBACKGROUND are known.
 * GetClassLongA answers the low 32 bits of the brush handle, as 64-bit Windows does: use
 * GetClassLongPtrA for a handle to draw with.
 */
VXPLATFORMAPI LONG_PTR GetWindowLongPtrA(HWND window, int index);
VXPLATFORMAPI LONG_PTR SetWindowLongPtrA(HWND window, int index, LONG_PTR value);
VXPLATFORMAPI DWORD GetClassLongA(HWND window, int index);
VXPLATFORMAPI ULONG_PTR GetClassLongPtrA(HWND window, int index);

/*
 * Painting: the update region (client coordinates, cut to the client area; a rectangle given
 * the wrong way round counts by its corners) and the context BeginPaint hands out clipped to
 * it. Invalidating with erase makes the region wait for WM_ERASEBKGND, which is sent once, by
 * BeginPaint (or earlier by GetUpdateRect with erase TRUE); when the procedure answers 0,
 * BeginPaint's fErase is TRUE. BeginPaint validates the whole region; its DC draws only inside
 * the region whatever clipping is selected, and GetClipBox answers the region's box (NULLREGION
 * when nothing was invalid). UpdateWindow sends WM_PAINT at once when the region is not empty.
 *
 * ScrollDC moves the pixels of the scroll rectangle that stay inside the clip rectangle (both
 * logical; NULL scroll: all, NULL clip: the DC's clip box) by (dx, dy) mapped to device units.
 * The update region is the scroll rectangle intersected with the clip rectangle, within what
 * the DC may draw on, less where pixels landed, in device coordinates; the update rectangle is
 * its box, also in device coordinates (as Wine answers, even under a mapping). With both
 * rectangles NULL the pixels move but the update region is empty. It moves nothing and reports
 * an empty update area when dx and dy are 0.
 */
typedef struct tagPAINTSTRUCT {
    HDC hdc;
    BOOL fErase;
    RECT rcPaint;
    BOOL fRestore;
    BOOL fIncUpdate;
    BYTE rgbReserved[32];
} PAINTSTRUCT, *LPPAINTSTRUCT;

VXPLATFORMAPI HDC BeginPaint(HWND window, LPPAINTSTRUCT paint);
VXPLATFORMAPI BOOL EndPaint(HWND window, const PAINTSTRUCT *paint);
VXPLATFORMAPI BOOL InvalidateRect(HWND window, const RECT *rect, BOOL erase);
VXPLATFORMAPI BOOL InvalidateRgn(HWND window, HRGN region, BOOL erase);
VXPLATFORMAPI BOOL ValidateRect(HWND window, const RECT *rect);
VXPLATFORMAPI BOOL ValidateRgn(HWND window, HRGN region);
VXPLATFORMAPI BOOL UpdateWindow(HWND window);
VXPLATFORMAPI BOOL GetUpdateRect(HWND window, LPRECT rect, BOOL erase);
VXPLATFORMAPI BOOL ScrollDC(HDC dc, int dx, int dy, const RECT *scroll, const RECT *clip, HRGN update,
                            LPRECT updateRect);

/*
 * Standard scroll bars. Setting a range that differs from the bar's shows the bar when the
 * range is not empty (minimum below maximum) and hides it otherwise (so -1..-1 hides it),
 * whatever `redraw` says; an inverted range, or one spanning 2^31 or more, becomes 0..0. The
 * position stays inside the range (SetScrollPos clamps and answers the previous one). A bar
 * shown or hidden resizes the client area by SM_CXVSCROLL / SM_CYHSCROLL (17) before the call
 * returns: an uncovered strip is invalidated and erased (WM_ERASEBKGND) at once, then WM_SIZE
 * is sent. A range never set reads 0..0 (Wine starts its bars at 0..100, so there a first
 * range of exactly 0..100 shows nothing).
 */
#define SB_HORZ 0
#define SB_VERT 1
#define SB_CTL 2
#define SB_BOTH 3
#define SB_LINEUP 0
#define SB_LINELEFT 0
#define SB_LINEDOWN 1
#define SB_LINERIGHT 1
#define SB_PAGEUP 2
#define SB_PAGELEFT 2
#define SB_PAGEDOWN 3
#define SB_PAGERIGHT 3
#define SB_THUMBPOSITION 4
#define SB_THUMBTRACK 5
#define SB_TOP 6
#define SB_LEFT 6
#define SB_BOTTOM 7
#define SB_RIGHT 7
#define SB_ENDSCROLL 8
VXPLATFORMAPI BOOL SetScrollRange(HWND window, int bar, int minimum, int maximum, BOOL redraw);
VXPLATFORMAPI BOOL GetScrollRange(HWND window, int bar, LPINT minimum, LPINT maximum);
VXPLATFORMAPI int SetScrollPos(HWND window, int bar, int position, BOOL redraw);
VXPLATFORMAPI int GetScrollPos(HWND window, int bar);
VXPLATFORMAPI BOOL ShowScrollBar(HWND window, int bar, BOOL show);

#define SM_CXSCREEN 0
#define SM_CYSCREEN 1
#define SM_CXVSCROLL 2
#define SM_CYHSCROLL 3
VXPLATFORMAPI int GetSystemMetrics(int index);

/*
 * Mouse capture, cursor and beeps. SetCapture and ReleaseCapture send WM_CAPTURECHANGED to the
 * window that held the capture (lParam: the new holder or NULL), even when the same window
 * takes it again. SetCursor answers the previous cursor (NULL at first; NULL hides it).
 * LoadCursorA knows the stock IDC_ cursors of a NULL instance and answers NULL for any other.
 */
#define MAKEINTRESOURCEA(i) ((LPSTR)(ULONG_PTR)((WORD)(i)))
#define IDC_ARROW MAKEINTRESOURCEA(32512)
#define IDC_IBEAM MAKEINTRESOURCEA(32513)
#define IDC_WAIT MAKEINTRESOURCEA(32514)
#define IDC_CROSS MAKEINTRESOURCEA(32515)
#define IDC_SIZEALL MAKEINTRESOURCEA(32646)
#define IDC_HAND MAKEINTRESOURCEA(32649)
VXPLATFORMAPI HWND SetCapture(HWND window);
VXPLATFORMAPI BOOL ReleaseCapture(void);
VXPLATFORMAPI HWND GetCapture(void);
VXPLATFORMAPI HCURSOR LoadCursorA(HINSTANCE instance, LPCSTR name);
VXPLATFORMAPI HCURSOR SetCursor(HCURSOR cursor);
VXPLATFORMAPI HCURSOR GetCursor(void);
VXPLATFORMAPI BOOL ClipCursor(const RECT *rect);
VXPLATFORMAPI BOOL MessageBeep(UINT type);

/*
 * Dialogs, built from the library's own templates (the print and printer-setup dialogs and
 * the cancel box). A dialog is a window of the message queue above whose procedure is the
 * DLGPROC; its controls are child windows found by id. DialogBoxParamA and CreateDialogParamA
 * take the library's instance (or NULL) and a template name; the dialog gets WM_INITDIALOG
 * with the parameter and a WM_COMMAND (control id, notification) for each control action.
 * DialogBoxParamA runs a modal loop until EndDialog and answers EndDialog's result (-1 when
 * the template is unknown); before it would wait for a message, it sends WM_ENTERIDLE
 * (MSGF_DIALOGBOX, the dialog) to the owner, which is how a program without a user drives a
 * modal dialog. The loop never waits for good: when after WM_ENTERIDLE nothing is queued and no
 * window host will post input (WaitMessage answers FALSE), the dialog is cancelled as the
 * Escape key would (WM_COMMAND IDCANCEL), and if it still does not end, the next such turn
 * ends it with -1. Controls: static text, push buttons, (auto) check boxes, edit boxes,
 * drop-down combo boxes and list boxes, answering the messages below as Windows' controls do.
 * Nothing is drawn. wsprintfA formats as Windows' does (%lc %C %ls %S read 16-bit characters).
 */
#define WM_SETREDRAW 0x000B
#define WM_SETTEXT 0x000C
#define WM_GETTEXT 0x000D
#define WM_GETTEXTLENGTH 0x000E
#define WM_WININICHANGE 0x001A
#define WM_SETTINGCHANGE WM_WININICHANGE
#define WM_SETFOCUS 0x0007
#define WM_KILLFOCUS 0x0008
#define WM_ENABLE 0x000A
#define WM_INITDIALOG 0x0110
#define WM_COMMAND 0x0111
#define WM_SYSCOMMAND 0x0112
#define WM_ENTERIDLE 0x0121
#define MSGF_DIALOGBOX 0
#define IDCANCEL 2
#define DM_GETDEFID (WM_USER + 0)
#define DM_SETDEFID (WM_USER + 1)
#define DC_HASDEFID 0x534B

#define BN_CLICKED 0
#define BM_GETCHECK 0x00F0
#define BM_SETCHECK 0x00F1
#define BM_CLICK 0x00F5
#define BST_UNCHECKED 0
#define BST_CHECKED 1

#define EN_CHANGE 0x0300

#define CB_ERR (-1)
#define CBN_SELCHANGE 1
#define CB_GETEDITSEL 0x0140
#define CB_ADDSTRING 0x0143
#define CB_DELETESTRING 0x0144
#define CB_GETCOUNT 0x0146
#define CB_GETCURSEL 0x0147
#define CB_GETLBTEXT 0x0148
#define CB_GETLBTEXTLEN 0x0149
#define CB_INSERTSTRING 0x014A
#define CB_RESETCONTENT 0x014B
#define CB_FINDSTRING 0x014C
#define CB_SELECTSTRING 0x014D
#define CB_SETCURSEL 0x014E
#define CB_GETITEMDATA 0x0150
#define CB_SETITEMDATA 0x0151
#define CB_FINDSTRINGEXACT 0x0158

#define LB_ERR (-1)
#define LBN_SELCHANGE 1
#define LBN_DBLCLK 2
#define LB_ADDSTRING 0x0180
#define LB_INSERTSTRING 0x0181
#define LB_DELETESTRING 0x0182
#define LB_RESETCONTENT 0x0184
#define LB_SETSEL 0x0185
#define LB_SETCURSEL 0x0186
#define LB_GETCURSEL 0x0188
#define LB_GETTEXT 0x0189
#define LB_GETTEXTLEN 0x018A
#define LB_GETCOUNT 0x018B
#define LB_SELECTSTRING 0x018C
#define LB_FINDSTRING 0x018F
#define LB_SETTABSTOPS 0x0192
#define LB_GETITEMDATA 0x0199
#define LB_SETITEMDATA 0x019A
#define LB_FINDSTRINGEXACT 0x01A2

#define SC_CLOSE 0xF060
#define MF_BYCOMMAND 0x00000000L
#define MF_ENABLED 0x00000000L
#define MF_GRAYED 0x00000001L
#define MF_DISABLED 0x00000002L

#define SW_HIDE 0
#define SW_SHOWNORMAL 1
#define SW_SHOW 5

VXPLATFORMAPI INT_PTR DialogBoxParamA(HINSTANCE instance, LPCSTR templateName, HWND owner,
                                      DLGPROC dialogProc, LPARAM initParam);
VXPLATFORMAPI HWND CreateDialogParamA(HINSTANCE instance, LPCSTR templateName, HWND owner,
                                      DLGPROC dialogProc, LPARAM initParam);
VXPLATFORMAPI BOOL EndDialog(HWND dialog, INT_PTR result);
VXPLATFORMAPI BOOL IsDialogMessageA(HWND dialog, LPMSG message);
VXPLATFORMAPI BOOL TranslateMessage(const MSG *message);
VXPLATFORMAPI BOOL DestroyWindow(HWND window);
VXPLATFORMAPI BOOL ShowWindow(HWND window, int command);
VXPLATFORMAPI BOOL IsWindowVisible(HWND window);
VXPLATFORMAPI HWND GetParent(HWND window);
VXPLATFORMAPI HWND GetDlgItem(HWND dialog, int id);
VXPLATFORMAPI int GetDlgCtrlID(HWND control);
VXPLATFORMAPI LRESULT SendDlgItemMessageA(HWND dialog, int id, UINT message, WPARAM wParam, LPARAM lParam);
VXPLATFORMAPI BOOL SetDlgItemTextA(HWND dialog, int id, LPCSTR text);
VXPLATFORMAPI UINT GetDlgItemTextA(HWND dialog, int id, LPSTR buffer, int size);
VXPLATFORMAPI BOOL SetDlgItemInt(HWND dialog, int id, UINT value, BOOL isSigned);
VXPLATFORMAPI UINT GetDlgItemInt(HWND dialog, int id, BOOL *translated, BOOL isSigned);
VXPLATFORMAPI BOOL CheckDlgButton(HWND dialog, int id, UINT check);
VXPLATFORMAPI UINT IsDlgButtonChecked(HWND dialog, int id);
VXPLATFORMAPI BOOL SetWindowTextA(HWND window, LPCSTR text);
VXPLATFORMAPI int GetWindowTextA(HWND window, LPSTR buffer, int size);
VXPLATFORMAPI BOOL EnableWindow(HWND window, BOOL enable);
VXPLATFORMAPI BOOL IsWindowEnabled(HWND window);
VXPLATFORMAPI HWND SetFocus(HWND window);
VXPLATFORMAPI HWND GetFocus(void);
VXPLATFORMAPI LONG GetDialogBaseUnits(void);
VXPLATFORMAPI HMENU GetSystemMenu(HWND window, BOOL revert);
VXPLATFORMAPI BOOL EnableMenuItem(HMENU menu, UINT item, UINT flags);
VXPLATFORMAPI int ShowCursor(BOOL show);
VXPLATFORMAPI int wsprintfA(LPSTR buffer, LPCSTR format, ...);

/* Rectangles. */
VXPLATFORMAPI BOOL SetRect(LPRECT rect, int left, int top, int right, int bottom);
VXPLATFORMAPI BOOL SetRectEmpty(LPRECT rect);
VXPLATFORMAPI BOOL CopyRect(LPRECT destination, const RECT *source);
VXPLATFORMAPI BOOL IsRectEmpty(const RECT *rect);
VXPLATFORMAPI BOOL EqualRect(const RECT *a, const RECT *b);
VXPLATFORMAPI BOOL PtInRect(const RECT *rect, POINT point);
VXPLATFORMAPI BOOL OffsetRect(LPRECT rect, int dx, int dy);
VXPLATFORMAPI BOOL InflateRect(LPRECT rect, int dx, int dy);
VXPLATFORMAPI BOOL IntersectRect(LPRECT destination, const RECT *a, const RECT *b);
VXPLATFORMAPI BOOL UnionRect(LPRECT destination, const RECT *a, const RECT *b);

#ifdef __cplusplus
}
#endif

#endif /* _WIN32 */
#endif /* VEXORA_WIN32_USER_H */
