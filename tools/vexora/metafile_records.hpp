// metafile_records.hpp - the record lines of `vexora info` for metafiles: DescribeWindowsRecords
// and DescribeEnhancedRecords. They walk the bytes with the players' own walkers, which are
// kept in a translation unit of their own: the Windows headers define the record names as
// macros, so the walkers' headers and <windows.h> do not meet.
#pragma once

#include <string>
#include <vector>

namespace vexora_tool {

// The records of a Windows metafile (the bytes from its 18-byte header on): how many, how the
// walk ended, which functions the player draws and which it skips, each with its count.
std::string DescribeWindowsRecords(const std::vector<unsigned char>& file);

// The records of an enhanced metafile: how many, and the types the player skips.
std::string DescribeEnhancedRecords(const std::vector<unsigned char>& file);

}  // namespace vexora_tool
