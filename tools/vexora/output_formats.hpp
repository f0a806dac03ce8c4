// output_formats.hpp - what `vexora convert` writes: the formats by name and file extension,
// the writing choices users give (--format, --compression, --interlace), and which module (or
// the tool itself, for PNG) writes each one.
#pragma once

#include <string>
#include <string_view>

#include "cli.hpp"

namespace vexora_tool {

// A format the tool can write.
struct OutputFormat {
    std::string_view name;        // as given to --format
    std::string_view extensions;  // space-separated, with the dot
    int code;                     // GetImageFormat's code, or 0 for PNG (written by the tool)
    std::string_view description;
};

// How the output is written, chosen on the command line.
struct WriteChoices {
    std::string format;       // --format NAME; empty: from the output's extension
    std::string compression;  // --compression NAME; empty: the writer's default
    bool interlace = false;   // --interlace
};

// The format of `path` under `choices`, checked before anything is read: throws UsageError
// naming the formats that can be written for an unknown extension or name, a format the
// library reads but cannot write, or a compression the format does not have.
const OutputFormat& ChooseOutputFormat(const std::string& path, const WriteChoices& choices);

// The formats that can be written, one per line, for help texts and errors.
std::string WritableFormatsList();

// Saves `dib` in `format` as `path` (already a temporary file beside the real output).
// Returns false with the library's error code set when the writer fails.
bool WriteInFormat(const Dib& dib, const std::string& path, const OutputFormat& format, const WriteChoices& choices);

// PNG through libpng: 1, 4 and 8 bits as palette images (gray ramps as gray), 24 bits as RGB,
// the resolution as pHYs. Throws OperationFailed with the reason.
void WritePngFile(const Dib& dib, const std::string& path);

}  // namespace vexora_tool
