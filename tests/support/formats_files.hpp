// formats_files.hpp - helpers shared by the tests of format detection and routing, colour fax
// sets, profile files and messages: text as file bytes, a file read back as text, the report a
// stand-in format module (tests/formats/modules) writes into the pixels of the DIB it returns,
// and the message boxes the library showed.
#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

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

// What the library showed in message boxes, "caption|text|style", collected by the message
// sink while the collector lives.
struct Messages {
    std::vector<std::string> shown;
    Messages() {
        VexoraSetMessageSink([](const char* text, const char* caption, UINT style, void* self) {
            static_cast<Messages*>(self)->shown.push_back(std::string(caption) + "|" + text + "|" + std::to_string(style));
            return IDOK;
        }, this);
    }
    ~Messages() { VexoraSetMessageSink(nullptr, nullptr); }
    // Expects exactly these boxes since the last look.
    void expect(const std::vector<std::string>& expected) { EXPECT_EQ(std::exchange(shown, {}), expected); }
};

}  // namespace vxtest
