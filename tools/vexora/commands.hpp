// commands.hpp - the subcommands of the vexora tool and their help texts.
#pragma once

#include <string>
#include <vector>

#include "cli.hpp"

namespace vexora_tool {

inline constexpr const char* kToolHelp =
    "usage: vexora COMMAND [ARGS...]\n"
    "\n"
    "Load, convert and inspect device-independent bitmaps with the Vexora library.\n"
    "\n"
    "commands:\n"
    "  info FILE...          name each file's format and describe its image\n"
    "  convert IN OUT [OP]   load IN, apply the operations OP in order, save OUT\n"
    "  demo [DIR]            write a sample image, every operation's result and an\n"
    "                        index.html showing them side by side (default DIR: vexora-demo)\n"
    "  view FILE             show an image in a window: scroll, zoom, fit, magnifier\n"
    "\n"
    "Run 'vexora COMMAND --help' for a command's options.\n"
    "Exit status: 0 success, 1 an operation failed, 2 the command line is wrong.\n";

inline constexpr const char* kInfoHelp =
    "usage: vexora info FILE...\n"
    "\n"
    "Names each file's format as the library detects it. For bitmaps it describes the\n"
    "header: size, depth, colours, compression, resolution in dots per inch, header kind\n"
    "and where the pixel data lies; a colour fax set is listed page by page; a clipboard\n"
    "file entry by entry (format, length, offset, and the size of its DIB or picture); a\n"
    "metafile by kind, bounds, units and records.\n"
    "Exit status 1 when any file cannot be read.\n";

inline constexpr const char* kDemoHelp =
    "usage: vexora demo [DIR]\n"
    "\n"
    "Synthesises a sample image (24-bit and 8-bit: gradients, colour bars, fine lines and\n"
    "small lettering), runs every operation of the library on it and writes each result as\n"
    "a BMP file into DIR (default: vexora-demo), with an index.html that shows them side by\n"
    "side with captions. It also renders a text file, and takes the samples through a\n"
    "clipboard file, a Windows metafile and an enhanced metafile and back. Every file\n"
    "written is read back and compared.\n";

std::string ConvertHelp();

int RunInfo(const std::vector<std::string>& args);
int RunConvert(const std::vector<std::string>& args);
int RunDemo(const std::vector<std::string>& args);
int RunView(const std::vector<std::string>& args);

}  // namespace vexora_tool
