// object_table.cpp - the table of live GDI objects (see object_table.hpp) and the calls that
// work on any object: GetObjectType, DeleteObject and GetStockObject.
//
// Handle layout: the low bits hold the slot index plus one, the high bits the slot's
// generation (32 and 32 bits with 64-bit pointers, 16 and 16 otherwise). The generation moves
// on when an object leaves its slot, so every handle the slot issued before goes stale at
// once. No handle is null, and a value that names no slot, or a slot of another generation, is
// simply not found.
#include "platform/posix/gdi/object_table.hpp"

#include <limits>
#include <new>
#include <utility>

#include "platform/posix/gdi/metafile_recorder.hpp"
#include "platform/posix/gdi/objects.hpp"

namespace vx::posix::gdi {
namespace {

constexpr unsigned kIndexBits = sizeof(uintptr_t) >= 8 ? 32 : 16;
constexpr uintptr_t kIndexMask = (uintptr_t{1} << kIndexBits) - 1;
constexpr uintptr_t kGenerationMask = std::numeric_limits<uintptr_t>::max() >> kIndexBits;

HGDIOBJ Encode(size_t index, uintptr_t generation) {
    return reinterpret_cast<HGDIOBJ>((generation & kGenerationMask) << kIndexBits | (index + 1));
}

}  // namespace

ObjectTable::Slot* ObjectTable::live(HGDIOBJ handle) {
    const auto value = reinterpret_cast<uintptr_t>(handle);
    const uintptr_t slotPlusOne = value & kIndexMask;
    if (slotPlusOne == 0 || slotPlusOne > slots_.size()) return nullptr;
    Slot& slot = slots_[slotPlusOne - 1];
    if (slot.object == nullptr || (slot.generation & kGenerationMask) != value >> kIndexBits) return nullptr;
    return &slot;
}

HGDIOBJ ObjectTable::Access::add(std::unique_ptr<GdiObject> object, bool stock) {
    std::vector<Slot>& slots = table_.slots_;
    size_t index;
    if (!table_.free_.empty()) {
        index = table_.free_.back();
        table_.free_.pop_back();
    } else {
        if (slots.size() >= kIndexMask) throw std::bad_alloc();  // every slot number is taken
        table_.free_.reserve(slots.size() + 1);  // so that a later remove cannot fail
        slots.emplace_back();
        index = slots.size() - 1;
    }
    Slot& slot = slots[index];
    slot.object = std::move(object);
    slot.stock = stock;
    return Encode(index, slot.generation);
}

GdiObject* ObjectTable::Access::find(HGDIOBJ handle) const {
    Slot* slot = table_.live(handle);
    return slot != nullptr ? slot->object.get() : nullptr;
}

bool ObjectTable::Access::isStock(HGDIOBJ handle) const {
    Slot* slot = table_.live(handle);
    return slot != nullptr && slot->stock;
}

std::unique_ptr<GdiObject> ObjectTable::Access::remove(HGDIOBJ handle) {
    Slot* slot = table_.live(handle);
    if (slot == nullptr || slot->stock) return nullptr;
    std::unique_ptr<GdiObject> object = std::move(slot->object);
    ++slot->generation;
    table_.free_.push_back(static_cast<uint32_t>(slot - table_.slots_.data()));  // reserved by add
    return object;
}

ObjectTable::Access Objects() {
    static auto* table = new ObjectTable;  // never destroyed: handles may outlive statics
    return ObjectTable::Access(*table);
}

}  // namespace vx::posix::gdi

using vx::posix::gdi::Objects;

extern "C" {

VXPLATFORMAPI DWORD GetObjectType(HGDIOBJ handle) {
    auto objects = Objects();
    const vx::posix::gdi::GdiObject* object = objects.find(handle);
    return object != nullptr ? static_cast<DWORD>(object->kind()) : 0;
}

// Any object goes, a DC included (DeleteDC of it does the same), letting go of what it holds.
// A stock object stays; so does one a DC holds, until the DC lets go of it (selection.cpp).
VXPLATFORMAPI BOOL DeleteObject(HGDIOBJ handle) {
    std::unique_ptr<vx::posix::gdi::GdiObject> object;
    {
        auto objects = Objects();
        if (objects.isStock(handle)) return TRUE;
        if (objects.find(handle) != nullptr) vx::posix::gdi::TellRecordersDeleted(handle);
        if (vx::posix::gdi::DeferDeletion(objects, handle)) return TRUE;
        if (auto* context = objects.find<vx::posix::gdi::DeviceContext>(handle))
            vx::posix::gdi::ReleaseSelections(objects, static_cast<HDC>(handle), context->state);
        object = objects.remove(handle);
    }
    return object != nullptr ? TRUE : FALSE;  // the object goes after the lock is released
}

VXPLATFORMAPI HGDIOBJ GetStockObject(int which) {
    try {
        return vx::posix::gdi::StockObject(which);
    } catch (...) {
        return nullptr;
    }
}

}  // extern "C"
