// errors.hpp - SetModuleError and ErrorMessage: the module error code, as the library's
// operations set it (through the ModuleCode channel of outcome.hpp), and its messages.
#pragma once

namespace vx {

// Stores a code without the range test of SetImgError: a few operations store values that
// have no message (the 500 range), and must be able to.
void SetModuleError(int code);

// The message of a code from 0 to 30; a fixed text for any code without a message.
const char* ErrorMessage(int code);

}  // namespace vx
