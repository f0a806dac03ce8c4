// user_profile.hpp - the profile reader of profile.cpp over any stream, for the user profile
// (user_profile.cpp), which answers its "devices" and "windows" sections from text it composes.
#pragma once

#include <cstdio>

#include "vexora_win32.h"

namespace vx::posix {

// GetPrivateProfileStringA's answer for a profile read from `file` (null: an empty profile;
// the caller keeps and closes it).
DWORD ReadProfileString(std::FILE* file, LPCSTR section, LPCSTR key, LPCSTR defaultValue, LPSTR buffer, DWORD size);

}  // namespace vx::posix
