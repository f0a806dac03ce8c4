// object_table.hpp - the one table of live GDI objects of the Linux subset: ObjectKind (the
// kind tag, whose values are what GetObjectType answers), GdiObject (the base every kind of
// object derives from), ObjectTable and its locked view ObjectTable::Access, and Objects(),
// the process's table.
//
// A handle is a pointer-sized value that encodes a slot of the table and the generation of
// that slot, as Windows encodes an index and a uniqueness count in its GDI handles; it is
// never the address of the object. Every call that takes a handle looks it up here first, so
// a null, invented or deleted handle, or a handle of another kind, gets the call's failure
// result instead of a wild dereference. A slot freed by a deletion is reused by a later object
// under the next generation, so a stale handle stays refused even then, and a double
// DeleteObject answers FALSE instead of freeing a stranger.
//
// Each object type says which kinds its handles may carry (Holds), so a look-up asks for a
// type and gets null for any other kind: a palette call given a DC is refused like a stale
// handle. Stock objects (GetStockObject) live in the table too, marked so that DeleteObject
// leaves them alone.
//
// One mutex guards the whole table. A call takes it once through Objects() and holds it for
// all the look-ups and changes it makes, so a call that joins two objects (a palette into a
// DC) sees both alive at the same moment. Code holding an Access must not call an exported GDI
// function, which would take the lock again.
#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "vexora_win32.h"

namespace vx::posix::gdi {

enum class ObjectKind : DWORD {
    Pen = OBJ_PEN,
    Brush = OBJ_BRUSH,
    DC = OBJ_DC,
    MetaDC = OBJ_METADC,
    Palette = OBJ_PAL,
    Font = OBJ_FONT,
    Bitmap = OBJ_BITMAP,
    Region = OBJ_REGION,
    MetaFile = OBJ_METAFILE,
    MemoryDC = OBJ_MEMDC,
    ExtPen = OBJ_EXTPEN,
    EnhMetaDC = OBJ_ENHMETADC,
    EnhMetaFile = OBJ_ENHMETAFILE,
};

// What every object in the table is. The kind is fixed at construction.
class GdiObject {
public:
    GdiObject(const GdiObject&) = delete;
    GdiObject& operator=(const GdiObject&) = delete;
    virtual ~GdiObject() = default;
    ObjectKind kind() const { return kind_; }

protected:
    explicit GdiObject(ObjectKind kind) : kind_(kind) {}

private:
    const ObjectKind kind_;
};

// An object type of the table: derived from GdiObject, naming the kinds it is found under.
template <typename T>
concept TableObject = std::derived_from<T, GdiObject> && requires(ObjectKind kind) {
    { T::Holds(kind) } -> std::same_as<bool>;
};

class ObjectTable {
public:
    // The table, locked for the lifetime of this view.
    class Access {
    public:
        explicit Access(ObjectTable& table) : table_(table), lock_(table.mutex_) {}

        // Issues a handle for a new object (never null; throws std::bad_alloc when the table
        // cannot grow). A stock object is never freed.
        HGDIOBJ add(std::unique_ptr<GdiObject> object, bool stock = false);
        // The live object behind a handle, or null.
        GdiObject* find(HGDIOBJ handle) const;
        // The live object behind a handle when it is of one of T's kinds, or null.
        template <TableObject T>
        T* find(HGDIOBJ handle) const {
            GdiObject* object = find(handle);
            return object != nullptr && T::Holds(object->kind()) ? static_cast<T*>(object) : nullptr;
        }
        bool isStock(HGDIOBJ handle) const;
        // Takes a live, non-stock object out of the table (its handle is stale from now on);
        // null when there is no such object.
        std::unique_ptr<GdiObject> remove(HGDIOBJ handle);

    private:
        ObjectTable& table_;
        std::lock_guard<std::mutex> lock_;
    };

private:
    struct Slot {
        std::unique_ptr<GdiObject> object;  // null while the slot is free
        uintptr_t generation = 0;           // counts the objects the slot has held
        bool stock = false;
    };

    // The slot a handle names when it is live, or null.
    Slot* live(HGDIOBJ handle);

    std::mutex mutex_;
    std::vector<Slot> slots_;
    std::vector<uint32_t> free_;  // indices of free slots, the last freed reused first
};

// The process's table, locked for the caller.
ObjectTable::Access Objects();

}  // namespace vx::posix::gdi
