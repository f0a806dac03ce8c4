// print_state.hpp - what the printing family keeps for the whole module: the job (one at a time
// per process), the options in force, and the printer chosen in the print dialog. The print
// jobs, the cancel box and the two dialogs all work on this one state.
#pragma once

#include <string>

#include "vexora.h"

namespace vx::print {

// The cancel box's private message: lParam points to the text for its control 121.
constexpr UINT kSetCancelText = 2024;

// Longest printer name kept from the profile or the print dialog.
constexpr size_t kPrinterNameLimit = 100;

struct PrintJob {
    HDC dc = nullptr;             // where the job draws: the printer's DC or a compatible memory DC
    HDC printerDC = nullptr;      // the printer's DC (dc itself unless drawing through memory)
    bool ownsPrinterDC = false;   // printerDC was opened by the job (default printer, dialog)
    HWND cancelBox = nullptr;     // the modeless cancel box, or none; with it the abort procedure
    std::string title;            // the document name after its last backslash
    int pageCount = 0;            // total pages, for "Page: n / total"
    VXPRINTOPTIONS options = VXPRINTOPTIONS_DEFAULTS;  // the options in force
    bool continuePage = true;     // set: the next page starts without ending the one before
    bool aborted = false;         // set by the cancel box or the abort procedure
    int lastError = 0;
    double dpiX = 0, dpiY = 0;                    // printer resolution
    double pageWidthInches = 0, pageHeightInches = 0;
    double imageWidthInches = 0, imageHeightInches = 0;  // of the page being printed
};

// The module's one job.
PrintJob& Job();

// The printer chosen in the print dialog (empty: none chosen yet), at most kPrinterNameLimit
// characters. Shared with the default-printer path of PrepareToPrint.
std::string& ChosenPrinterName();

}  // namespace vx::print
