// Movable memory blocks: exact sizes, zero fill, lock counts, resizing and stale handles.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "vexora.h"

namespace {

bool All(const void* p, size_t n, uint8_t value) {
    return std::all_of(static_cast<const uint8_t*>(p), static_cast<const uint8_t*>(p) + n,
                       [value](uint8_t x) { return x == value; });
}

}  // namespace

// Large blocks are reused after a free: a new zero-initialised one must not show old content.
TEST(GlobalMemory, SizeIsExactAndZeroInitHoldsAfterReuse) {
    const size_t large = size_t{64} << 20;
    for (const size_t size : {size_t{1}, size_t{4097}, (size_t{1} << 20) + 1, large, large}) {
        HGLOBAL block = GlobalAlloc(GHND, size);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(GlobalSize(block), size);
        void* p = GlobalLock(block);
        EXPECT_TRUE(All(p, size, 0)) << size;
        std::memset(p, 0xFF, size);
        GlobalUnlock(block);
        EXPECT_EQ(GlobalFree(block), nullptr);
        EXPECT_EQ(GlobalFree(block), block);  // a stale handle is refused
    }
}

// A locked block is resized in place, or moved only when the caller allows it.
TEST(GlobalMemory, LocksAreCountedAndALockedBlockMovesOnlyWhenAllowed) {
    HGLOBAL block = GlobalAlloc(GHND, 16);
    void* p = GlobalLock(block);
    EXPECT_EQ(GlobalLock(block), p);
    std::memset(p, 0x11, 16);
    EXPECT_EQ(GlobalReAlloc(block, 8 << 20, 0), nullptr);
    EXPECT_EQ(GlobalSize(block), 16u);
    EXPECT_EQ(GlobalReAlloc(block, 8 << 20, GMEM_MOVEABLE), block);
    EXPECT_EQ(GlobalSize(block), size_t{8} << 20);
    EXPECT_TRUE(GlobalUnlock(block));  // still locked once
    EXPECT_FALSE(GlobalUnlock(block));
    EXPECT_TRUE(All(GlobalLock(block), 16, 0x11));
    GlobalUnlock(block);
    GlobalFree(block);
    HGLOBAL fixed = GlobalAlloc(GMEM_FIXED, 32);  // a fixed handle is its own memory
    EXPECT_EQ(GlobalLock(fixed), fixed);
    EXPECT_EQ(GlobalSize(fixed), 32u);
    GlobalUnlock(fixed);
    GlobalFree(fixed);
}

// Growth reads as zero, even where the block held data before it shrank.
TEST(GlobalMemory, ReAllocKeepsContentAndZeroFillsGrowth) {
    for (const size_t size : {size_t{100}, size_t{3} << 20}) {
        HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, size);
        std::memset(GlobalLock(block), 0xAB, size);
        GlobalUnlock(block);
        for (const size_t next : {size / 2, size, size * 3}) {
            SCOPED_TRACE(testing::Message() << size << " -> " << next);
            block = GlobalReAlloc(block, next, GMEM_ZEROINIT);
            ASSERT_EQ(GlobalSize(block), next);
            auto* p = static_cast<uint8_t*>(GlobalLock(block));
            EXPECT_TRUE(All(p, size / 2, 0xAB));
            EXPECT_TRUE(All(p + size / 2, next - size / 2, 0));
            GlobalUnlock(block);
        }
        GlobalFree(block);
    }
}
