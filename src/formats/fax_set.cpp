// fax_set.cpp - GetNumberOfImagesInFaxFile and LoadColorFaxPage: multi-page colour fax sets.
//
// A colour fax set is a profile (INI file) whose [ColorFax] section says how many pages the
// set has, from which page number it counts, how many 1-bit colour planes make a page and
// where the plane images are. The planes are loaded with LoadImageIntoDIB, so they may be in
// any format the library reads, and are combined into one 4-bit DIB: plane p sets bit 3 - p of
// each pixel's index, and the fixed 16-colour table reads bit 3 as red, bit 2 as green, bit 1
// as blue and bit 0 as "bright" (128 becomes 255). A page of one plane is that plane's DIB.
//
// Two layouts exist, told apart by "Files" = "TotalPages" x "Planes":
//   A. one image file per plane per page, named by keys Plane0, Plane1, ... of the section
//      [Page<n>] (n counted from 1), each loaded as image number `page`;
//   B. multi-image files, [File<n>] sections numbered from "FirstPage", each holding the planes
//      of "Pages" pages one after the other. The file of a page is found by walking the files
//      while adding up their pages, and the page's first plane is image
//      (page - first page of that file) x planes + 1 of it, the further planes the images
//      after it. The walk keeps the library's rule exactly: it stops as soon as page <= the
//      running sum (so a page equal to the sum stays with the file taken last), or after
//      "Files" files, and the file is the last one whose section it took. Files whose
//      sections are missing add no pages; the walk jumps over runs of them at once, so a huge
//      "Files" costs no more than the sections the set really has.
//
// The merge reads a plane's rows as a 1-bit DIB's, after a 40-byte header and two colour
// entries, and ORs each set bit into the page: whole source bytes first through a table of
// four destination bytes per source byte, then the pixels that remain. It covers the rows and
// columns the plane and the page have in common and stops at the end of each row (the
// library's remainder loop did not end for widths whose remainder modulo 8 is odd). Profile
// counts are 32-bit signed integers and the page arithmetic wraps as the library's did.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "vexora.h"

#include "dib_layout.hpp"
#include "guards.hpp"
#include "outcome.hpp"

namespace vx::formats {

namespace {

constexpr char kSetSection[] = "ColorFax";
constexpr DWORD kNameBytes = 128;        // room for a plane file name, terminator included
constexpr uint32_t kPlaneRows = 48;      // 1-bit plane: 40-byte header and two colour entries
constexpr uint32_t kPageRows = 40 + 64;  // 4-bit page: 40-byte header and sixteen entries

// 32-bit arithmetic that wraps, as the library's int arithmetic did.
int32_t Wrap(int64_t value) { return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(value))); }

bool SetExists(LPCSTR fileName) {
    if (fileName == nullptr) return false;
    OFSTRUCT info;
    return OpenFile(fileName, &info, OF_EXIST) != HFILE_ERROR;
}

int ProfileInt(const char* section, const char* key, int fallback, LPCSTR fileName) {
    return static_cast<int>(GetPrivateProfileIntA(section, key, fallback, fileName));
}

std::string ProfileName(const char* section, const char* key, LPCSTR fileName) {
    char name[kNameBytes] = {};
    GetPrivateProfileStringA(section, key, "", name, kNameBytes, fileName);
    return name;
}

std::string FileSection(uint32_t number) { return "File" + std::to_string(number); }

// The numbers n of the sections "File<n>" (n written as %u writes it) that the set holds, read
// from its list of sections.
std::vector<uint32_t> FileSectionNumbers(LPCSTR fileName) {
    std::vector<char> list(1u << 16);
    for (;;) {
        const DWORD n = GetPrivateProfileStringA(nullptr, nullptr, "", list.data(), static_cast<DWORD>(list.size()),
                                                 fileName);
        if (n + 2 < list.size() || list.size() >= (1u << 26)) {
            list.resize(n);
            break;
        }
        list.resize(list.size() * 4);  // the list was cut short
    }
    std::vector<uint32_t> numbers;
    for (size_t at = 0; at < list.size();) {
        const char* name = list.data() + at;
        const char* end = list.data() + list.size();
        const size_t length = static_cast<size_t>(std::find(name, end, '\0') - name);
        at += length + 1;
        if (length < 5 || length > 14 || (name[0] | 0x20) != 'f' || (name[1] | 0x20) != 'i' ||
            (name[2] | 0x20) != 'l' || (name[3] | 0x20) != 'e')
            continue;
        if (name[4] == '0' && length > 5) continue;  // "%u" writes no leading zeros
        uint64_t value = 0;
        bool digits = true;
        for (size_t i = 4; i < length && digits; ++i) {
            digits = name[i] >= '0' && name[i] <= '9';
            value = value * 10 + static_cast<uint64_t>(name[i] - '0');
        }
        if (digits && value <= UINT32_MAX) numbers.push_back(static_cast<uint32_t>(value));
    }
    return numbers;
}

struct PageFile {
    uint32_t section;  // n of the section File<n> that names the file
    int32_t firstPage;  // the page the file starts with
};

// Layout B: the walk over the files that finds the one holding `page`. File k (from 1) is
// section File<k + first - 1>. Before each step the walk stops when page <= sum; a step
// remembers the sum as the file's first page and adds the file's "Pages"; the walk stops after
// file `files` (after the first file when `files` is less than 1).
PageFile WalkFiles(int32_t page, int32_t first, int32_t files, LPCSTR fileName) {
    const int64_t lastFile = std::max<int64_t>(files, 1);
    std::vector<int64_t> visits;  // the k of every file whose section exists
    for (const uint32_t number : FileSectionNumbers(fileName)) {
        const int64_t k = static_cast<uint32_t>(number - static_cast<uint32_t>(first) + 1u);
        if (k >= 1 && k <= lastFile) visits.push_back(k);
    }
    std::sort(visits.begin(), visits.end());
    visits.erase(std::unique(visits.begin(), visits.end()), visits.end());

    int32_t sum = 1, firstOfFile = 1;
    int64_t taken = 1, k = 1;  // section File<first> when the walk stops at once
    auto next = visits.begin();
    while (page > sum) {
        next = std::lower_bound(next, visits.end(), k);
        if (next == visits.end() || *next != k) {
            // Files k .. upTo have no section: each is taken and adds nothing.
            const int64_t upTo = next == visits.end() ? lastFile : std::min(*next - 1, lastFile);
            firstOfFile = sum;
            taken = upTo;
            k = upTo + 1;
        } else {
            firstOfFile = sum;
            taken = k;
            const std::string section = FileSection(static_cast<uint32_t>(k + first - 1));
            sum = Wrap(int64_t{sum} + ProfileInt(section.c_str(), "Pages", 0, fileName));
            ++k;
        }
        if (k > lastFile) break;
    }
    return {static_cast<uint32_t>(taken + first - 1), firstOfFile};
}

// The 16-entry table of a combined page: bit 3 red, bit 2 green, bit 1 blue, bit 0 bright.
void WriteColorTable(uint8_t* table) {
    for (int index = 0; index < 16; ++index) {
        const uint8_t level = (index & 1) ? 255 : 128;
        table[index * 4 + 0] = (index & 2) ? level : 0;  // blue
        table[index * 4 + 1] = (index & 4) ? level : 0;  // green
        table[index * 4 + 2] = (index & 8) ? level : 0;  // red
        table[index * 4 + 3] = 0;
    }
}

// A field of a block's 40-byte header, 0 where the block ends first.
int32_t HeaderField(const BlockLock& block, size_t offset) {
    return block.size() >= offset + 4 ? LoadI32(block.data() + offset) : 0;
}

// The page being built: a zero-filled 4-bit DIB the size of the first plane, locked while the
// planes are merged into it. Empty when the block cannot be had; every merge then does nothing.
struct Page {
    OwnedBlock block;
    BlockLock lock;
    int64_t width = 0, height = 0;
};

Page NewPage(const BlockLock& firstPlane) {
    Page page;
    const int32_t width = HeaderField(firstPlane, bih::kWidth), height = HeaderField(firstPlane, bih::kHeight);
    if (width < 0 || height < 0) return page;  // no block for rows that run backwards
    const uint64_t stride = RowStride64(static_cast<uint64_t>(width), 4);
    const uint64_t imageBytes = stride * static_cast<uint64_t>(height);
    page.block = OwnedBlock::Allocate(kPageRows + imageBytes);
    if (!page.block) return page;
    page.lock = BlockLock(page.block.get());
    if (!page.lock) return page;
    uint8_t* header = page.lock.data();
    WriteInfoHeader(header, {.width = width,
                             .height = height,
                             .bitCount = 4,
                             .sizeImage = static_cast<uint32_t>(imageBytes),
                             .xPels = HeaderField(firstPlane, bih::kXPels),
                             .yPels = HeaderField(firstPlane, bih::kYPels),
                             .clrUsed = 16,
                             .clrImportant = 16});
    WriteColorTable(header + kInfoHeaderSize);
    page.width = width;
    page.height = height;
    return page;
}

// ORs the set bits of one plane into the page: pixel x of a plane row sets mask 128 >> plane
// in the high nibble (even x) or 8 >> plane in the low nibble (odd x) of page byte x / 2.
// Planes 8 and above set nothing. Plane bytes past the end of the plane's block read as 0.
void MergePlane(Page& page, const BlockLock& plane, int planeIndex) {
    if (!page.lock || !plane || planeIndex >= 8) return;
    const int64_t width = std::min<int64_t>(HeaderField(plane, bih::kWidth), page.width);
    const int64_t rows = std::min<int64_t>(HeaderField(plane, bih::kHeight), page.height);
    if (width <= 0 || rows <= 0) return;
    const uint8_t high = static_cast<uint8_t>(128u >> planeIndex), low = static_cast<uint8_t>(8u >> planeIndex);
    uint32_t spread[256];  // four page bytes (little-endian) for each plane byte
    for (uint32_t byte = 0; byte < 256; ++byte) {
        uint32_t out = 0;
        for (uint32_t x = 0; x < 8; ++x) {
            if (byte & (0x80u >> x)) out |= uint32_t{(x & 1) ? low : high} << (8 * (x / 2));
        }
        spread[byte] = out;
    }
    const uint64_t planeStride = RowStride64(static_cast<uint64_t>(HeaderField(plane, bih::kWidth)), 1);
    const uint64_t pageStride = RowStride64(static_cast<uint64_t>(page.width), 4);
    const uint8_t* planeBytes = plane.data();
    const uint64_t planeSize = plane.size();
    for (int64_t y = 0; y < rows; ++y) {
        const uint64_t rowStart = kPlaneRows + static_cast<uint64_t>(y) * planeStride;
        if (rowStart >= planeSize) break;
        const uint8_t* source = planeBytes + rowStart;
        const int64_t available = static_cast<int64_t>(std::min<uint64_t>(planeSize - rowStart, planeStride));
        const int64_t pixels = std::min(width, available * 8);
        uint8_t* target = page.lock.data() + kPageRows + static_cast<uint64_t>(y) * pageStride;
        const int64_t wholeBytes = pixels / 8;
        for (int64_t i = 0; i < wholeBytes; ++i) {
            const uint32_t bits = spread[source[i]];
            if (bits == 0) continue;
            uint32_t word;
            std::memcpy(&word, target + 4 * i, 4);
            word |= bits;
            std::memcpy(target + 4 * i, &word, 4);
        }
        for (int64_t x = wholeBytes * 8; x < pixels; ++x) {
            if (source[x / 8] & (0x80u >> (x % 8))) target[x / 2] |= (x & 1) ? low : high;
        }
    }
}

// Loads plane `planeIndex` and merges it into the page; the plane is freed.
void LoadAndMerge(Page& page, const std::string& file, int index, int* status, int planeIndex) {
    OwnedBlock plane(LoadImageIntoDIB(file.c_str(), index, status));
    const BlockLock lock(plane.get());
    MergePlane(page, lock, planeIndex);
}

// Set while a page is being loaded: a plane that is itself a fax set is not followed.
thread_local bool t_loadingPage = false;

class LoadingPage {
public:
    LoadingPage() { t_loadingPage = true; }
    ~LoadingPage() { t_loadingPage = false; }
    LoadingPage(const LoadingPage&) = delete;
    LoadingPage& operator=(const LoadingPage&) = delete;
};

HDIB LoadPage(LPCSTR fileName, int page, int* status) {
    const int planes = ProfileInt(kSetSection, "Planes", 0, fileName) & 0xFF;
    const int total = ProfileInt(kSetSection, "TotalPages", 0, fileName);
    const int first = ProfileInt(kSetSection, "FirstPage", 1, fileName);
    const int files = ProfileInt(kSetSection, "Files", 0, fileName);
    if (page < 1 || page > Wrap(int64_t{total} - first + 1)) return nullptr;
    if (ProfileInt(kSetSection, "BitsPixel", 0, fileName) != 1) return nullptr;

    const bool onePerPlane = files == Wrap(int64_t{total} * planes);
    char pageSection[24];
    std::snprintf(pageSection, sizeof pageSection, "Page%d", Wrap(int64_t{page} - first + 1));
    std::string file;
    int index = page;
    if (onePerPlane) {
        file = ProfileName(pageSection, "Plane0", fileName);
    } else {
        const PageFile found = WalkFiles(page, first, files, fileName);
        file = ProfileName(FileSection(found.section).c_str(), "Name", fileName);
        index = Wrap(int64_t{Wrap(int64_t{page} - found.firstPage)} * planes + 1);
    }

    OwnedBlock firstPlane(LoadImageIntoDIB(file.c_str(), index, status));
    if (planes == 1) return firstPlane.release();
    if (!firstPlane) return nullptr;  // nothing to size the page by; the loader's code stands
    Page result;
    {
        const BlockLock lock(firstPlane.get());
        if (lock) result = NewPage(lock);
        MergePlane(result, lock, 0);
    }
    firstPlane.reset();
    for (int p = 1; p < planes; ++p) {
        if (onePerPlane) {
            char key[16];
            std::snprintf(key, sizeof key, "Plane%d", p);
            LoadAndMerge(result, ProfileName(pageSection, key, fileName), page, status, p);
        } else {
            LoadAndMerge(result, file, Wrap(int64_t{index} + p), status, p);
        }
    }
    if (!result.lock) return nullptr;
    result.lock.unlock();
    return result.block.release();
}

}  // namespace

}  // namespace vx::formats

using namespace vx;
using namespace vx::formats;

extern "C" {

// A set that does not exist is refused with IMGERR_OPENFILE in the module code: the count is
// then -1, and LoadColorFaxPage's *status receives 3, the same code.
VXAPI int VXCALL GetNumberOfImagesInFaxFile(LPCSTR fileName) {
    const Both channel{ModuleCode{.outOfMemory = kNoCode}, NegativeResult{}};
    return RunExport(channel, [&]() -> Outcome<int> {
        if (!SetExists(fileName)) return Fail(IMGERR_OPENFILE);
        return ProfileInt(kSetSection, "TotalPages", -1, fileName);
    });
}

VXAPI HDIB VXCALL LoadColorFaxPage(LPCSTR fileName, int page, int* status) {
    const Both channel{ModuleCode{.outOfMemory = kNoCode}, StatusOut{.cell = status}};
    return RunExport(channel, [&]() -> Outcome<HDIB> {
        if (!SetExists(fileName)) return Fail(IMGERR_OPENFILE);
        if (t_loadingPage) return Fail(IMGERR_FILEFORMAT);  // *status: 9
        const LoadingPage loading;
        return LoadPage(fileName, page, status);
    });
}

}  // extern "C"
