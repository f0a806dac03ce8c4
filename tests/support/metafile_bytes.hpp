// metafile_bytes.hpp - MetaBytes, a Windows metafile written word by word for the tests that
// read, play and route metafiles, lying records included.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

namespace vxtest {

// A Windows metafile written word by word: the 18-byte header with `objects` slots (its size
// and largest record set by bytes()), then records, each its size in words (as given, or
// counted), its function and its parameters.
struct MetaBytes {
    std::vector<uint8_t> data;
    uint32_t largest = 3;
    explicit MetaBytes(int objects = 0) {
        for (int v : {1, 9, 0x300, 0, 0, objects, 0, 0, 0}) word(v);
    }
    void word(int v) { data.push_back(static_cast<uint8_t>(v)), data.push_back(static_cast<uint8_t>(v >> 8)); }
    MetaBytes& record(uint32_t words, int function, std::initializer_list<int> params) {
        word(static_cast<int>(words & 0xFFFF)), word(static_cast<int>(words >> 16)), word(function);
        for (int v : params) word(v);
        largest = std::max(largest, words);
        return *this;
    }
    MetaBytes& record(int function, std::initializer_list<int> params) {
        return record(3 + static_cast<uint32_t>(params.size()), function, params);
    }
    MetaBytes& end() { return record(0, {}); }
    MetaBytes& red() { return record(0x2FC, {0, 0xFF, 0, 0}).record(0x12D, {0}); }  // a red brush, selected
    MetaBytes& patBlt(int x) { return record(0x61D, {0x21, 0xF0, 4, 4, 0, x}); }   // PATCOPY of 4 x 4 at x, 0
    std::vector<uint8_t> bytes() const {
        std::vector<uint8_t> out = data;
        const auto size = static_cast<uint32_t>(out.size() / 2);
        for (size_t i = 0; i < 4; ++i) out[6 + i] = uint8_t(size >> 8 * i), out[12 + i] = uint8_t(largest >> 8 * i);
        return out;
    }
};

}  // namespace vxtest
