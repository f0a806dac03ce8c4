// wmf_recorder.hpp - the recorder of a Windows metafile DC (WmfRecorder, wmf_recorder.cpp)
// as CreateMetaFileA makes it and CloseMetaFile ends it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/posix/gdi/metafile_recorder.hpp"

namespace vx::posix::gdi {

// A recorder that writes Windows metafile records; its DC keeps no state.
std::shared_ptr<MetaRecorder> NewWmfRecorder();

// The metafile a WMF recorder has made so far: header, records and the closing META_EOF;
// `disk` marks it as a file's (mtType 2) rather than memory's (1). Throws std::bad_alloc.
std::vector<uint8_t> FinishWmf(MetaRecorder& recorder, bool disk);

}  // namespace vx::posix::gdi
