// guards.hpp - BlockLock, OwnedHandle, OwnedBlock and FileHandle: RAII for every pair the platform pairs
// (lock and unlock of a memory block, allocation and release of a block being built, open and
// close of a file; the wait cursor is platform::WaitCursor). An export builds its result
// inside an OwnedBlock and hands it to the caller with release(), so that ownership passing
// out of the library is visible where it happens; every other exit path frees what was taken.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

#include "vexora.h"

#include "dib_layout.hpp"
#include "platform/platform.hpp"

namespace vx {

// A block locked for the lifetime of the guard.
class BlockLock {
public:
    BlockLock() = default;
    explicit BlockLock(HGLOBAL block) : block_(block) {
        if (block_ != nullptr) {
            data_ = static_cast<uint8_t*>(GlobalLock(block_));
            if (data_ != nullptr) size_ = GlobalSize(block_);
        }
    }
    BlockLock(const BlockLock&) = delete;
    BlockLock& operator=(const BlockLock&) = delete;
    BlockLock(BlockLock&& other) noexcept { *this = std::move(other); }
    BlockLock& operator=(BlockLock&& other) noexcept {
        if (this != &other) {
            unlock();
            block_ = std::exchange(other.block_, nullptr);
            data_ = std::exchange(other.data_, nullptr);
            size_ = std::exchange(other.size_, 0);
        }
        return *this;
    }
    ~BlockLock() { unlock(); }

    explicit operator bool() const { return data_ != nullptr; }
    uint8_t* data() const { return data_; }
    size_t size() const { return size_; }

    void unlock() {
        if (data_ != nullptr) GlobalUnlock(block_);
        data_ = nullptr;
        size_ = 0;
    }

    // Ends the guard without unlocking: the block keeps this lock, for the few exports that
    // return with their source still locked.
    void keepLocked() {
        block_ = nullptr;
        data_ = nullptr;
        size_ = 0;
    }

private:
    HGLOBAL block_ = nullptr;
    uint8_t* data_ = nullptr;
    size_t size_ = 0;
};

// A handle the library owns: Free(handle) on destruction unless released. The owners of
// blocks (here) and of GDI objects (gdi_guards.hpp) are this one template.
template <typename Handle, typename Free>
class OwnedHandle {
public:
    OwnedHandle() = default;
    explicit OwnedHandle(Handle handle) : handle_(handle) {}
    OwnedHandle(const OwnedHandle&) = delete;
    OwnedHandle& operator=(const OwnedHandle&) = delete;
    OwnedHandle(OwnedHandle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    OwnedHandle& operator=(OwnedHandle&& other) noexcept {
        if (this != &other) {
            reset();
            handle_ = std::exchange(other.handle_, nullptr);
        }
        return *this;
    }
    ~OwnedHandle() { reset(); }

    explicit operator bool() const { return handle_ != nullptr; }
    Handle get() const { return handle_; }
    [[nodiscard]] Handle release() { return std::exchange(handle_, nullptr); }
    void reset() {
        if (handle_ != nullptr) Free{}(handle_);
        handle_ = nullptr;
    }

protected:
    Handle handle_ = nullptr;
};

struct FreeBlock {
    void operator()(HGLOBAL block) const { GlobalFree(block); }
};

// A block the library allocated and still owns; freed on destruction unless released.
class OwnedBlock : public OwnedHandle<HGLOBAL, FreeBlock> {
public:
    using OwnedHandle::OwnedHandle;
    // Allocates a zero-filled movable block, the way the library allocates every result.
    static OwnedBlock Allocate(uint64_t bytes, UINT flags = GMEM_MOVEABLE | GMEM_ZEROINIT) {
        if (bytes > kMaxBlockBytes) return OwnedBlock();
        return OwnedBlock(GlobalAlloc(flags, static_cast<size_t>(bytes)));
    }
    // Replaces the handle after a successful GlobalReAlloc.
    void assign(HGLOBAL block) { handle_ = block; }
};

// An open file handle, closed on destruction.
class FileHandle {
public:
    FileHandle() = default;
    explicit FileHandle(HFILE file) : file_(file) {}
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;
    ~FileHandle() {
        if (valid()) _lclose(file_);
    }
    bool valid() const { return file_ != HFILE_ERROR && file_ >= 0; }
    HFILE get() const { return file_; }

private:
    HFILE file_ = HFILE_ERROR;
};

}  // namespace vx
