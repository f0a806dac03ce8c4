// test_printer.hpp - TestPrinter: a printer that writes its jobs to a file, installed for the
// lifetime of a test, the same test code on both platforms.
//
// On Windows (Wine) it is a printer of the spooler: the PostScript driver with the test PPD
// (300 dpi, Letter) printing to a file port; the output is PostScript. On Linux it is a
// file printer of the user profile: $XDG_CONFIG_HOME points to a scratch folder whose
// vexora/vexora.ini lists the printer in [devices] with a "PDF:" port; the output is PDF. On
// both, CUPS is kept out (no printers but the test's), so the printer list is exactly what
// the test installs. NoPrinters sets up the same scratch profile with none.
#pragma once

#include <string>

#include "vexora_win32.h"

namespace vxtest {

class PrinterScope {
public:
    PrinterScope();
    ~PrinterScope();
    PrinterScope(const PrinterScope&) = delete;
    PrinterScope& operator=(const PrinterScope&) = delete;
    // A scratch folder of this scope, removed with it (ends with a path separator).
    const std::string& folder() const { return folder_; }

private:
    std::string folder_;
    std::string savedConfigHome_, savedCupsServer_;
    bool hadConfigHome_ = false, hadCupsServer_ = false;
};

// No printers at all, and no default.
class NoPrinters : public PrinterScope {};

class TestPrinter : public PrinterScope {
public:
    explicit TestPrinter(const std::string& name = "Vexora Test Printer", bool makeDefault = true);
    ~TestPrinter();
    explicit operator bool() const { return installed_; }
    const std::string& name() const { return name_; }
    // The file the printer's jobs are written to (PostScript on Windows, PDF on Linux).
    const std::string& output() const { return output_; }

private:
    std::string name_, output_;
    bool installed_ = false;
};

}  // namespace vxtest
