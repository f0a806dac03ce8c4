// metafile_records.cpp - the record lines of `vexora info` for metafiles (see
// metafile_records.hpp). This file must not include vexora.h: on Windows that brings in
// <windows.h>, whose META_... macros would rename the walkers' record names.
#include "metafile_records.hpp"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <map>
#include <span>

#include "formats/emf_records.hpp"
#include "formats/wmf_records.hpp"

namespace vexora_tool {

namespace {

[[gnu::format(printf, 1, 2)]] std::string Format(const char* format, ...) {
    char line[1024];
    va_list args;
    va_start(args, format);
    std::vsnprintf(line, sizeof line, format, args);
    va_end(args);
    return line;
}

}  // namespace

std::string DescribeWindowsRecords(const std::vector<unsigned char>& file) {
    const std::span<const uint8_t> bytes(file.data(), file.size());
    std::string out;
    std::map<uint16_t, unsigned long> functions;
    unsigned long records = 0;
    const auto end = vx::formats::WalkWmfRecords(bytes, [&](const vx::formats::WmfRecord& record) {
        ++records;
        ++functions[record.function];
    });
    const char* ending = end == vx::formats::WmfWalkEnd::Eof            ? ", then the end record"
                         : end == vx::formats::WmfWalkEnd::Unterminated ? ", without an end record"
                         : end == vx::formats::WmfWalkEnd::BadSize      ? ", then a record whose size lies"
                                                                        : ", the last cut by the end of the file";
    out += Format("  records      %lu%s\n", records, ending);
    std::string played, skipped;
    for (const auto& [function, count] : functions) {
        const char* name = vx::formats::WmfRecordName(function);
        char number[16];
        std::snprintf(number, sizeof number, "0x%04X", static_cast<unsigned>(function));
        std::string& list = vx::formats::WmfRecordPlayed(function) ? played : skipped;
        list += (list.empty() ? "" : ", ") + std::string(name ? name : number) + " (" + std::to_string(count) + "x)";
    }
    out += Format("  played       %s\n", played.empty() ? "none" : played.c_str());
    out += Format("  not played   %s\n", skipped.empty() ? "none" : skipped.c_str());
    return out;
}

std::string DescribeEnhancedRecords(const std::vector<unsigned char>& b) {
    std::string out;
    vx::formats::EmfRecords walk(std::span<const uint8_t>(b.data(), b.size()));
    std::map<uint32_t, unsigned long> unknown;
    unsigned long records = 0;
    for (vx::formats::EmfRecordView record; walk.next(record);) {
        ++records;
        if (!vx::formats::EmfRecordPlayed(record.type)) ++unknown[record.type];
    }
    out += Format("  records      %lu walked%s\n", records, walk.broken() ? ", then a record whose size lies" : "");
    std::string skipped;
    for (const auto& [type, count] : unknown)
        skipped += (skipped.empty() ? "" : ", ") + std::to_string(type) + " (" + std::to_string(count) + "x)";
    out += Format("  not played   %s\n", skipped.empty() ? "none" : ("record types " + skipped).c_str());
    return out;
}


}  // namespace vexora_tool
