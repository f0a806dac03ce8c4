// clipboard_files.cpp - the clipboard-file and metafile builders (see clipboard_files.hpp).
#include "clipboard_files.hpp"

namespace vxtest {

Bytes ClipboardFile(const std::vector<ClipEntry>& entries, int count, uint16_t signature) {
    const size_t directory = 4 + 89 * entries.size();
    Bytes out(directory, 0);
    PutU16(out, 0, signature);
    PutU16(out, 2, uint16_t(count < 0 ? entries.size() : count));
    for (size_t i = 0; i < entries.size(); ++i) {
        const ClipEntry& e = entries[i];
        PutU16(out, 4 + 89 * i, e.format);
        PutU32(out, 4 + 89 * i + 2, uint32_t(e.length < 0 ? e.data.size() : e.length));
        PutU32(out, 4 + 89 * i + 6, uint32_t(e.offset < 0 ? out.size() : e.offset));
        for (const uint8_t b : e.data) out.push_back(b);
    }
    return out;
}

Bytes MetafilePicture(int32_t mapMode, int32_t x, int32_t y, const Bytes& wmf) {
    Bytes out(16, 0);
    for (const uint8_t b : wmf) out.push_back(b);
    PutU32(out, 0, uint32_t(mapMode));
    PutU32(out, 4, uint32_t(x));
    PutU32(out, 8, uint32_t(y));
    PutU32(out, 12, 0xDEADBEEF);
    return out;
}

Bytes Placeable(int16_t left, int16_t top, int16_t right, int16_t bottom, uint16_t inch, const Bytes& wmf) {
    Bytes out(22, 0);
    for (const uint8_t b : wmf) out.push_back(b);
    PutU32(out, 0, 0x9AC6CDD7);
    PutU16(out, 6, uint16_t(left));
    PutU16(out, 8, uint16_t(top));
    PutU16(out, 10, uint16_t(right));
    PutU16(out, 12, uint16_t(bottom));
    PutU16(out, 14, inch);
    uint16_t sum = 0;
    for (size_t i = 0; i < 20; i += 2) sum ^= GetU16(out, i);
    PutU16(out, 20, sum);
    return out;
}

}  // namespace vxtest
