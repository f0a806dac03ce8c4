// metafile_dc.cpp - NewMetaDC and TellRecordersDeleted (metafile_recorder.hpp): the making of
// metafile DCs and the list of live recorders a deletion is told to.
//
// A recorder has to hear of every DeleteObject, not only of those made on its DC, because a
// metafile refers to the objects it has recorded by the slots of its own object table and
// frees a slot when its object goes. The list holds weak references, so a metafile DC that is
// closed or deleted drops out of it by itself; it is kept under the table lock, which every
// caller holds.
#include <memory>
#include <utility>
#include <vector>

#include "platform/posix/gdi/metafile_recorder.hpp"

namespace vx::posix::gdi {
namespace {

std::vector<std::weak_ptr<MetaRecorder>>& LiveRecorders() {
    static auto* recorders = new std::vector<std::weak_ptr<MetaRecorder>>;
    return *recorders;
}

}  // namespace

HDC NewMetaDC(ObjectKind kind, std::shared_ptr<MetaRecorder> recorder) {
    try {
        auto context = std::make_unique<DeviceContext>(kind);
        context->state = InitialState(kind);
        context->recorder = recorder;
        auto objects = Objects();
        auto& live = LiveRecorders();
        std::erase_if(live, [](const std::weak_ptr<MetaRecorder>& r) { return r.expired(); });
        live.push_back(recorder);
        return static_cast<HDC>(objects.add(std::move(context)));
    } catch (...) {
        return nullptr;
    }
}

void TellRecordersDeleted(HGDIOBJ handle) {
    for (const std::weak_ptr<MetaRecorder>& weak : LiveRecorders()) {
        if (const std::shared_ptr<MetaRecorder> recorder = weak.lock()) recorder->ObjectDeleted(handle);
    }
}

}  // namespace vx::posix::gdi
