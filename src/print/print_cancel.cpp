// print_cancel.cpp - PrintCancelDlgProc and PrintAbortProc: the cancel box of a print job and
// the abort procedure that keeps it (and the application) alive while the job prints.
//
// Printing runs on the caller's thread, so nothing would answer a click while pages are sent.
// The job therefore installs PrintAbortProc on its DC: GDI calls it from StartDoc, and the job
// calls it itself before and after each band. It empties the thread's message queue, passing
// the cancel box's messages through the dialog path (so its Cancel button and keyboard work)
// and dispatching everything else to the application's windows, and stops as soon as the job
// is aborted - by a click on Cancel (any command of the box sets the job's abort flag) or by a
// non-zero code from GDI, which it keeps as the job's last error. Once set, the abort flag
// stays set until the next PrepareToPrint; the job stops sending bands and copies and ends the
// page with the abort escape.
//
// The box shows "Printing:" and, in control 121, the document title or the page counter the
// job sends it with kSetCancelText. Its Close item is greyed: Cancel is the only way out.
#include "vexora.h"

#include "print/print_state.hpp"

using vx::print::Job;

namespace {
constexpr int kCancelTextControl = 121;  // the template's title and page line
}

VXAPI INT_PTR VXCALL PrintCancelDlgProc(HWND hDlg, UINT message, WPARAM, LPARAM lParam) {
    switch (message) {
    case WM_INITDIALOG:
        EnableMenuItem(GetSystemMenu(hDlg, FALSE), SC_CLOSE, MF_GRAYED);
        SetFocus(hDlg);
        return FALSE;  // the focus is set
    case WM_COMMAND:
        Job().aborted = true;
        return TRUE;
    case vx::print::kSetCancelText:
        SetDlgItemTextA(hDlg, kCancelTextControl, reinterpret_cast<LPCSTR>(lParam));
        return TRUE;
    default:
        return FALSE;
    }
}

VXAPI BOOL VXCALL PrintAbortProc(HDC, int code) {
    vx::print::PrintJob& job = Job();
    if (!job.aborted) job.aborted = code != 0;
    if (job.aborted) {
        job.lastError = code;
        return FALSE;
    }
    MSG message;
    while (!job.aborted && PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (job.cancelBox != nullptr && IsDialogMessageA(job.cancelBox, &message)) continue;
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
    return job.aborted ? FALSE : TRUE;
}
