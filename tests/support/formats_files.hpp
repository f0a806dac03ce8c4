// formats_files.hpp - helpers shared by the tests of format detection and routing, colour fax
// sets and profile files: text as file bytes, a file read back as text, and the report a
// stand-in format module (tests/formats/modules) writes into the pixels of the DIB it returns.
#pragma once

#include <algorithm>
#include <string>

#include "dib_builder.hpp"

namespace vxtest {

inline Bytes Text(const std::string& text) { return Bytes(text.begin(), text.end()); }

inline std::string FileText(const std::string& path) {
    const Bytes b = ReadFileBytes(path);
    return std::string(b.begin(), b.end());
}

// The report is as many bytes as the DIB is wide, after a 4-byte table.
inline std::string Reported(HDIB dib) {
    const Bytes b = BlockBytes(dib);
    if (b.size() < 44) return "(no DIB)";
    return std::string(b.begin() + 44, b.begin() + 44 + std::min<size_t>(GetU32(b, 4), b.size() - 44));
}

}  // namespace vxtest
