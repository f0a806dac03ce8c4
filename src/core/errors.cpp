// errors.cpp - SetImgError, ImgError, ImgErrorString, and inside the library SetModuleError
// and ErrorMessage: the library-wide error code and its messages.
//
// One signed 32-bit code is shared by every caller, without locking, as it always has been.
// SetImgError accepts 0 to 31 (31 has no message but is a legal code); ImgErrorString uses the
// current code for any code outside 0 to 31. The message texts are the library's own and are
// kept letter for letter, spelling slips included, because applications compare and show them.
#include <cstring>

#include "vexora.h"

#include "errors.hpp"
#include "platform/platform.hpp"

namespace vx {
namespace {

int g_moduleError = IMGERR_SUCCESS;

constexpr const char* kMessages[] = {
    "Operation was successful.",
    "Not enough memory.",
    "Unable to create DC",
    "Can't open file",
    "General I/O error in reading or writting.",
    "Can't open clipboard",
    "Could not receive from clipboard",
    "Can't copy bits from bitmap",
    "Parameter error",
    "Invalid file format",
    "Can't create palette",
    "Can't create bitmap",
    "Mapping mode is improperly set in metafile",
    "Invalid bit/pixel value",
    "Format not found in clipboard file",
    "Can't get bitmap parameters",
    "Can't create metafile",
    "Can't lock global memory",
    "DIB must be uncompressed",
    "Invalid DIB size",
    "Paramater error in Dithering",
    "Bad bit/pixel value in DIB header",
    "The CAPIX algorithm creates only 1 or 4 bit image",
    "Could not get printer DC",
    "Device not capable to handle raster",
    "Could not get dispaly DC",
    "Escape failed SETABORTPROC",
    "Escape failed STARTDOC",
    "Escape failed NEXTBAND",
    "Clipboard error",
    "Nothing to do.",
};
constexpr int kMessageCount = static_cast<int>(sizeof kMessages / sizeof kMessages[0]);
static_assert(kMessageCount == IMGERR_NOTHINGTODO + 1);

// Codes 0 to 31 are accepted by SetImgError; 31 is a valid code without a message.
constexpr int kCodeLimit = 32;
constexpr const char* kNoMessage = "Unknown error";
constexpr const char* kCaption = "VEXORA error";

}  // namespace

void SetModuleError(int code) { g_moduleError = code; }

const char* ErrorMessage(int code) {
    return code >= 0 && code < kMessageCount ? kMessages[code] : kNoMessage;
}

}  // namespace vx

extern "C" {

VXAPI int VXCALL SetImgError(int code) {
    const int previous = vx::g_moduleError;
    if (code >= 0 && code < vx::kCodeLimit) vx::g_moduleError = code;
    return previous;
}

VXAPI int VXCALL ImgError(void) { return vx::g_moduleError; }

VXAPI LPSTR VXCALL ImgErrorString(LPSTR buffer, int code) {
    if (code < 0 || code >= vx::kCodeLimit) code = vx::g_moduleError;
    const char* text = vx::ErrorMessage(code);
    if (buffer == nullptr) {
        vx::platform::ShowMessage(text, vx::kCaption, MB_OK | MB_ICONEXCLAMATION);
        return nullptr;
    }
    std::memcpy(buffer, text, std::strlen(text) + 1);
    return buffer;
}

}  // extern "C"
