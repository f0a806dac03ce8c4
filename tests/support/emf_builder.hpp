// emf_builder.hpp - EmfBuilder, enhanced metafile bytes made record by record for the tests:
// a header of the given frame and reference device, records of 32-bit fields, bitmap records
// with their header and bits placed after the fixed fields (offsets filled in), and an EOF
// record; `bytes()` fixes nBytes, nRecords and nHandles.
#pragma once

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <vector>

#include "vexora_win32.h"

namespace vxtest {

class EmfBuilder {
public:
    // A header of 108 bytes: no description, bounds (0, 0, 0, 0).
    explicit EmfBuilder(RECT frame, SIZE device = {1280, 1024}, SIZE millimetres = {339, 271}) {
        add(EMR_HEADER, {0, 0, 0, 0, frame.left, frame.top, frame.right, frame.bottom, ENHMETA_SIGNATURE, 0x10000, 0, 0,
                         1, 0, 0, 0, device.cx, device.cy, millimetres.cx, millimetres.cy, 0, 0, 0,
                         millimetres.cx * 1000, millimetres.cy * 1000});
    }
    // A record of `fields` after its type and size.
    EmfBuilder& add(uint32_t type, std::initializer_list<int32_t> fields) {
        start(type);
        for (int32_t f : fields) put(f);
        return end();
    }
    // A record of `data` after its type and size.
    EmfBuilder& raw(uint32_t type, const std::vector<uint8_t>& data) {
        start(type);
        bytes_.insert(bytes_.end(), data.begin(), data.end());
        return end();
    }
    // A bitmap record: `fields` (offsets of the bitmap at `offsetsAt` within them, as four
    // zero placeholders), then the BITMAPINFO and the bits.
    EmfBuilder& bitmap(uint32_t type, std::initializer_list<int32_t> fields, size_t offsetsAt,
                       const std::vector<uint8_t>& info, const std::vector<uint8_t>& bits) {
        const size_t at = start(type);
        for (int32_t f : fields) put(f);
        const size_t offsets = at + 8 + 4 * offsetsAt;
        const size_t infoAt = bytes_.size() - at;
        bytes_.insert(bytes_.end(), info.begin(), info.end());
        const size_t bitsAt = bytes_.size() - at;
        bytes_.insert(bytes_.end(), bits.begin(), bits.end());
        const uint32_t values[4] = {uint32_t(infoAt), uint32_t(info.size()), uint32_t(bitsAt), uint32_t(bits.size())};
        std::memcpy(&bytes_[offsets], values, sizeof values);
        return end();
    }
    // The bytes, with an EOF record unless `eof` is false.
    std::vector<uint8_t> bytes(bool eof = true, uint16_t handles = 4) const {
        EmfBuilder copy = *this;
        if (eof) copy.add(kEof, {0, 16, 20});
        copy.set(48, uint32_t(copy.bytes_.size()));
        copy.set(52, copy.records_);
        std::memcpy(&copy.bytes_[56], &handles, 2);
        return copy.bytes_;
    }
    // The records after the header, EOF included.
    std::vector<uint8_t> records() const {
        const std::vector<uint8_t> b = bytes();
        return {b.begin() + 108, b.end()};
    }
    HENHMETAFILE make() const {
        const std::vector<uint8_t> b = bytes();
        return SetEnhMetaFileBits(static_cast<UINT>(b.size()), b.data());
    }
    void set(size_t offset, uint32_t value) { std::memcpy(&bytes_[offset], &value, 4); }

private:
    static constexpr uint32_t kEof = 14;
    size_t start(uint32_t type) {
        open_ = bytes_.size();
        put(static_cast<int32_t>(type));
        put(0);
        return open_;
    }
    EmfBuilder& end() {
        bytes_.resize((bytes_.size() + 3) / 4 * 4, 0);
        set(open_ + 4, uint32_t(bytes_.size() - open_));
        ++records_;
        return *this;
    }
    void put(int32_t value) {
        bytes_.resize(bytes_.size() + 4);
        std::memcpy(&bytes_[bytes_.size() - 4], &value, 4);
    }
    std::vector<uint8_t> bytes_;
    size_t open_ = 0;
    uint32_t records_ = 0;
};

}  // namespace vxtest
