// commands.hpp - the subcommands of the vexora tool and their help texts.
#pragma once

#include <string>
#include <vector>

#include "cli.hpp"

namespace vexora_tool {

inline constexpr const char* kToolHelp =
    "usage: vexora [--quiet] COMMAND [ARGS...]\n"
    "       vexora --version | --help | help COMMAND\n"
    "\n"
    "Load, convert and inspect device-independent bitmaps with the Vexora library.\n"
    "\n"
    "commands:\n"
    "  info FILE...          name each file's format and describe its image\n"
    "  convert IN OUT [OP]   load IN, apply the operations OP in order, save OUT\n"
    "  demo [DIR]            write a sample image, every operation's result and an\n"
    "                        index.html showing them side by side (default DIR: vexora-demo)\n"
    "  view FILE             show an image in a window: scroll, zoom, fit, magnifier\n"
    "  print FILE...         print images, one page each, to a printer or a PDF file\n"
    "  printers              list the printers and the default one\n"
    "\n"
    "options:\n"
    "  -q, --quiet           report only failures (no \"wrote ...\" lines)\n"
    "  --version             the tool's and the library's versions\n"
    "\n"
    "A file name '-' is standard input or standard output. Only regular files are read;\n"
    "messages name the file and give the library's reason, then the system's.\n"
    "Run 'vexora help COMMAND' or 'vexora COMMAND --help' for a command's options.\n"
    "Exit status: 0 success, 1 an operation failed, 2 the command line is wrong.\n";

// Where the format module `moduleFile` ("VXPNGR.DLL") was found, or where the library looks.
struct ModuleSearch {
    bool found = false;
    std::string path;   // the file loaded, when found
    std::string where;  // the places searched, in words
};
ModuleSearch FindFormatModule(const std::string& moduleFile);

// The file the library was loaded from (libvexora.so.1.0.0, VEXORA.DLL), for --version.
std::string LibraryLocation();

// LoadTGAIntoDIB of the TGA module, called directly. The library's detection tests signatures
// before a .tga name, and two kinds of TGA file match one: a run-length colour-mapped file has
// image type 9 in its third byte, a metafile's header word, and a file with a 10-byte ID field
// starts with byte 10, the PCX signature. Null when the module or the file cannot be read.
HDIB LoadTgaThroughModule(const std::string& fileName, int* status);

inline constexpr const char* kInfoHelp =
    "usage: vexora info [--page N] FILE...\n"
    "\n"
    "Names each file's format as the library detects it. For bitmaps it describes the\n"
    "header: size, depth, colours, compression, resolution in dots per inch, header kind\n"
    "and where the pixel data lies; for TIFF, CALS, PCX, DCX, GIF, TGA, JPEG and PNG the\n"
    "format module that reads it (or where it was looked for) and the image it gives for\n"
    "page 1 (--page N for another); a colour fax set is listed page by page (50 pages from\n"
    "page 1, or from --page N), each checked plane by plane; a clipboard\n"
    "file entry by entry (format, length, offset, and the size of its DIB or picture); a\n"
    "metafile by kind, bounds, units and records.\n"
    "Exit status 1 when any file cannot be read.\n";

inline constexpr const char* kDemoHelp =
    "usage: vexora demo [DIR]\n"
    "\n"
    "Synthesises sample images (24-bit, 8-bit gray and a dithered 1-bit one: gradients,\n"
    "colour bars, fine lines and small lettering), runs every operation of the library on\n"
    "them and writes each result as a BMP file into DIR (default: vexora-demo), with an\n"
    "index.html in sections (geometry, tone, convolution, dithering, halftones, formats)\n"
    "that shows each result beside its source at true size, with the command that made it.\n"
    "Oddities an export keeps for compatibility are labelled as such. It also renders a\n"
    "text file, and takes the samples through a clipboard file, a Windows metafile and an\n"
    "enhanced metafile and back. Every file written is read back and compared.\n";

inline constexpr const char* kPrintHelp =
    "usage: vexora print FILE... [--printer NAME | --pdf OUT.pdf] [--fit | --stretch]\n"
    "                            [--centre] [--copies N] [--dpi X[,Y]] [--title TEXT]\n"
    "\n"
    "Prints each image as one page of one job, through the library's print calls.\n"
    "  --printer NAME  the printer (see 'vexora printers'); default: the default printer\n"
    "  --pdf OUT.pdf   write the pages to a PDF file instead (Linux; the paper is A4 or\n"
    "                  Letter from the locale, or VEXORA_PAPER=a4|letter)\n"
    "  --fit           scale the image to fill the page, keeping its proportions\n"
    "  --stretch       scale the image to cover the page (proportions lost)\n"
    "  --centre        centre the image on the page (else it sits at the top left)\n"
    "  --copies N      print each image on N pages (the tool prints the copies itself:\n"
    "                  the library's copies option puts them all on one sheet)\n"
    "  --dpi X[,Y]     print at this resolution; default: the image's own resolution from\n"
    "                  its header, or the printer's when the image has none\n"
    "  --title TEXT    the document name (default: the first file's name)\n"
    "Run-length compressed bitmaps are expanded first, since the library prints only\n"
    "uncompressed images. No dialog or cancel box is shown.\n";

inline constexpr const char* kPrintersHelp =
    "usage: vexora printers\n"
    "\n"
    "Lists the printers the print dialog offers, one per line, and marks the default one\n"
    "(the \"device\" entry of the profile's [windows] section).\n";

std::string ConvertHelp();

int RunInfo(const std::vector<std::string>& args);
int RunConvert(const std::vector<std::string>& args);
int RunDemo(const std::vector<std::string>& args);
int RunView(const std::vector<std::string>& args);
int RunPrint(const std::vector<std::string>& args);
int RunPrinters(const std::vector<std::string>& args);

}  // namespace vexora_tool
