// printers.hpp - the printer list of the Linux build (printers.cpp), as the profile and the
// printer DCs need it: the printers the user profile declares and the CUPS destinations.
#pragma once

#include <string>
#include <vector>

namespace vx::posix {

struct PrinterEntry {
    std::string name;
    std::string driver;  // "WINSPOOL" for CUPS destinations
    std::string port;    // "PDF:path", "PS:path", "BANDS:path", or "CUPS:" for CUPS destinations
};

// The user profile's file: $XDG_CONFIG_HOME/vexora/vexora.ini (~/.config when unset).
std::string UserProfilePath();

// The CUPS destinations (none when no server answers), and the default one's name (empty for none).
std::vector<PrinterEntry> CupsPrinters(std::string* defaultName = nullptr);

// Every printer: the user profile's [devices] first, then the CUPS destinations not declared
// there; and the default printer as "name,driver,port" (empty for none).
std::vector<PrinterEntry> AllPrinters(std::string* defaultDevice = nullptr);

// Submits a finished PDF to a CUPS destination under `title`; false when it is not accepted.
bool SubmitToCups(const std::string& destination, const std::string& file, const std::string& title);

}  // namespace vx::posix
