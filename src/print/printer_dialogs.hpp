// printer_dialogs.hpp - the string work of the print and printer-setup dialogs, kept apart from
// the dialog procedures so that it can be checked on its own: PrinterOpenName (the name a
// printer of the printer list is opened under), PrinterEntry and ParsePrinterEntry (a printer
// entry of the profile split into name, driver and port), SetupListEntries (the setup list's
// entries for one printer of the profile's "devices" section), and SetupResultLayout (where
// the printer-setup dialog's result block keeps the chosen printer).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vx::print {

// A printer reached through a print server is opened as "server\share" (the server name
// already carries its leading backslashes); any other printer by its own name. A null or empty
// server means a local printer. Null names read as empty.
std::string PrinterOpenName(const char* server, const char* share, const char* printer);

// A printer as the profile names it: "name=driver,port" (a setup list entry after its tab) or
// "name,driver,port" (the "device" key of section "windows").
struct PrinterEntry {
    std::string name, driver, port;
};

// Splits an entry: the characters up to the first "=" or "," are the name, up to the next ","
// the driver, the rest the port (which may hold further commas). Missing pieces are empty.
// With addDriverExtension a driver without a "." gets ".DRV", the file a driver is loaded from.
PrinterEntry ParsePrinterEntry(std::string_view text, bool addDriverExtension);

// The setup list's entries for one printer of section "devices": its value is the driver
// followed by one or more ports, separated by commas, and each port gives one entry
// "name on port<TAB>name=driver,port". A value without a comma names no port and gives none.
std::vector<std::string> SetupListEntries(std::string_view name, std::string_view value);

// The printer-setup dialog's result: a zero-filled movable block of 239 bytes holding the
// chosen printer's name, driver and port as three zero-terminated fields at fixed offsets, each
// cut to its field's size less its terminator.
struct SetupResultLayout {
    static constexpr size_t kBytes = 239;
    static constexpr size_t kNameOffset = 0, kNameBytes = 80;
    static constexpr size_t kDriverOffset = 80, kDriverBytes = 80;
    static constexpr size_t kPortOffset = 160, kPortBytes = 79;
};

}  // namespace vx::print
