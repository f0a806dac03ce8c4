// test_printer.cpp - TestPrinter and NoPrinters (test_printer.hpp).
#include "test_printer.hpp"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#if !defined(_WIN32)
#include <unistd.h>
#endif
#include <fstream>

#include <gtest/gtest.h>

namespace vxtest {
namespace {

std::string Unique(const char* stem) {
    static int serial = 0;
#if defined(_WIN32)
    const unsigned long process = GetCurrentProcessId();
#else
    const unsigned long process = static_cast<unsigned long>(getpid());
#endif
    return std::string(stem) + std::to_string(process) + "-" + std::to_string(++serial);
}

// The test printer's PPD: a 300-dpi colour PostScript printer, Letter by default.
[[maybe_unused]] constexpr const char* kTestPpd =
    "*PPD-Adobe: \"4.3\"\n"
    "*FormatVersion: \"4.3\"\n"
    "*FileVersion: \"1.0\"\n"
    "*LanguageVersion: English\n"
    "*LanguageEncoding: ISOLatin1\n"
    "*PCFileName: \"VXTEST.PPD\"\n"
    "*Manufacturer: \"Vexora\"\n"
    "*Product: \"(Vexora Test)\"\n"
    "*PSVersion: \"(3010.000) 0\"\n"
    "*ModelName: \"Vexora Test Printer\"\n"
    "*ShortNickName: \"Vexora Test Printer\"\n"
    "*NickName: \"Vexora Test Printer\"\n"
    "*ColorDevice: True\n"
    "*DefaultColorSpace: RGB\n"
    "*LanguageLevel: \"3\"\n"
    "*DefaultResolution: 300dpi\n"
    "*OpenUI *PageSize/Page Size: PickOne\n"
    "*OrderDependency: 10 AnySetup *PageSize\n"
    "*DefaultPageSize: Letter\n"
    "*PageSize Letter/US Letter: \"<</PageSize[612 792]/ImagingBBox null>>setpagedevice\"\n"
    "*PageSize A4/A4: \"<</PageSize[595 842]/ImagingBBox null>>setpagedevice\"\n"
    "*CloseUI: *PageSize\n"
    "*DefaultImageableArea: Letter\n"
    "*ImageableArea Letter: \"0 0 612 792\"\n"
    "*ImageableArea A4: \"0 0 595 842\"\n"
    "*DefaultPaperDimension: Letter\n"
    "*PaperDimension Letter: \"612 792\"\n"
    "*PaperDimension A4: \"595 842\"\n";

#if !defined(_WIN32)
void SaveEnv(const char* name, std::string& saved, bool& had) {
    const char* value = std::getenv(name);
    had = value != nullptr;
    if (had) saved = value;
}
void RestoreEnv(const char* name, const std::string& saved, bool had) {
    if (had) setenv(name, saved.c_str(), 1);
    else unsetenv(name);
}
#endif

}  // namespace

PrinterScope::PrinterScope() {
    const auto folder = std::filesystem::temp_directory_path() / Unique("vexora-print-");
    std::filesystem::create_directories(folder);
    folder_ = folder.string() + static_cast<char>(std::filesystem::path::preferred_separator);
#if !defined(_WIN32)
    // A user profile of the test's own, and a CUPS server that is not there.
    SaveEnv("XDG_CONFIG_HOME", savedConfigHome_, hadConfigHome_);
    SaveEnv("CUPS_SERVER", savedCupsServer_, hadCupsServer_);
    std::filesystem::create_directories(folder / "vexora");
    setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
    setenv("CUPS_SERVER", (folder / "no-cups.sock").c_str(), 1);
#endif
}

PrinterScope::~PrinterScope() {
#if !defined(_WIN32)
    RestoreEnv("XDG_CONFIG_HOME", savedConfigHome_, hadConfigHome_);
    RestoreEnv("CUPS_SERVER", savedCupsServer_, hadCupsServer_);
#endif
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

#if defined(_WIN32)

TestPrinter::TestPrinter(const std::string& name, bool makeDefault) : name_(name) {
    output_ = folder() + "job.ps";
    // The driver's data file is read from the driver directory's version folder.
    char driverDirectory[MAX_PATH] = {};
    DWORD needed = 0;
    if (!GetPrinterDriverDirectoryA(nullptr, nullptr, 1, reinterpret_cast<BYTE*>(driverDirectory),
                                    sizeof driverDirectory, &needed)) {
        ADD_FAILURE() << "no printer driver directory";
        return;
    }
    const std::string versionFolder = std::string(driverDirectory) + "\\3";
    CreateDirectoryA(versionFolder.c_str(), nullptr);
    {
        std::ofstream ppd(versionFolder + "\\vexora-test.ppd", std::ios::binary | std::ios::trunc);
        ppd << kTestPpd;
    }
    DRIVER_INFO_3A driver = {};
    driver.cVersion = 3;
    driver.pName = const_cast<char*>("Vexora Test PostScript");
    driver.pDriverPath = const_cast<char*>("wineps.drv");
    driver.pDataFile = const_cast<char*>("vexora-test.ppd");
    driver.pConfigFile = const_cast<char*>("wineps.drv");
    AddPrinterDriverExA(nullptr, 3, reinterpret_cast<BYTE*>(&driver), APD_COPY_NEW_FILES);

    PRINTER_INFO_2A printer = {};
    printer.pPrinterName = name_.data();
    printer.pPortName = output_.data();
    printer.pDriverName = driver.pName;
    printer.pPrintProcessor = const_cast<char*>("winprint");  // the one that writes to a file port
    printer.pDatatype = const_cast<char*>("RAW");
    HANDLE handle = AddPrinterA(nullptr, 2, reinterpret_cast<BYTE*>(&printer));
    if (!handle) {
        ADD_FAILURE() << "AddPrinterA failed: " << GetLastError();
        return;
    }
    ClosePrinter(handle);
    installed_ = true;
    if (makeDefault) SetDefaultPrinterA(name_.c_str());
}

TestPrinter::~TestPrinter() {
    if (!installed_) return;
    HANDLE handle = nullptr;
    if (OpenPrinterA(name_.data(), &handle, nullptr)) {
        DeletePrinter(handle);
        ClosePrinter(handle);
    }
    WriteProfileStringA("windows", "device", nullptr);
}

#else

TestPrinter::TestPrinter(const std::string& name, bool makeDefault) : name_(name) {
    output_ = folder() + "job.pdf";
    std::ofstream profile(folder() + "vexora/vexora.ini", std::ios::binary | std::ios::trunc);
    profile << "[devices]\n" << name_ << "=WINSPOOL,PDF:" << output_ << "\n";
    if (makeDefault) profile << "[windows]\ndevice=" << name_ << ",WINSPOOL,PDF:" << output_ << "\n";
    installed_ = static_cast<bool>(profile);
}

TestPrinter::~TestPrinter() = default;

#endif

}  // namespace vxtest
