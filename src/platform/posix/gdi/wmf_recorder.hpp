// wmf_recorder.hpp - the recorder of a Windows metafile DC (WmfRecorder, wmf_recorder.cpp)
// as CreateMetaFileA makes it and CloseMetaFile ends it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/posix/gdi/metafile_recorder.hpp"

namespace vx::posix::gdi {

// A recorder that writes Windows metafile records, to be written to `fileName` when it is
// closed (empty: kept in memory); its DC keeps no state.
std::shared_ptr<MetaRecorder> NewWmfRecorder(std::string fileName);

// The metafile a WMF recorder has made so far (header, records and the closing WMF_EOF) and
// the file it goes to. Throws std::bad_alloc.
std::vector<uint8_t> FinishWmf(const MetaRecorder& recorder, std::string& fileName);

// Writes a metafile's bytes to a file; false when it cannot.
bool WriteMetaFile(const char* fileName, const std::vector<uint8_t>& bytes);

}  // namespace vx::posix::gdi
