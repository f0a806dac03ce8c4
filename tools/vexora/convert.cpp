// convert.cpp - `vexora convert IN OUT [OPERATION...]`: load, transform in order, save.
// The whole command line is checked before anything is read or written.
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "commands.hpp"
#include "arguments.hpp"
#include "operations.hpp"
#include "output_formats.hpp"

namespace vexora_tool {

namespace {

// Words of `text` in lines of at most `width` characters, continuation lines indented.
std::string Wrapped(std::string_view text, size_t indent, size_t width) {
    std::string out;
    size_t column = indent;
    while (!text.empty()) {
        const size_t space = text.find(' ');
        const std::string_view word = text.substr(0, space);
        if (column > indent && column + 1 + word.size() > width) {
            out += "\n" + std::string(indent, ' ');
            column = indent;
        } else if (column > indent) {
            out += ' ';
            ++column;
        }
        out += word;
        column += word.size();
        text = space == std::string_view::npos ? std::string_view() : text.substr(space + 1);
    }
    return out;
}

}  // namespace

std::string ConvertHelp() {
    std::string help =
        "usage: vexora convert IN OUT [--page N] [--format NAME] [--compression NAME]\n"
        "                      [--interlace] [--max-pixels N] [--quiet] [OPERATION...]\n"
        "\n"
        "Loads the image IN, applies the operations in the order given and saves the result\n"
        "as OUT, in the format its extension names (or --format NAME). OUT is written to a\n"
        "temporary file first and renamed into place, so a failure leaves no partial file; OUT\n"
        "may not be IN. The output format is checked before IN is read.\n"
        "IN '-' is standard input and OUT '-' standard output (a bitmap unless --format says\n"
        "otherwise; the \"wrote\" line then goes to standard error). A symbolic link as OUT is\n"
        "followed and the file it names replaced; a replaced file keeps its permissions; a\n"
        "device or FIFO as OUT is written through, not replaced; a directory, or a file that\n"
        "is write-protected (no write permission for the user, or none at all in its mode,\n"
        "even for root), is refused. IN must be a regular file: devices and FIFOs are\n"
        "refused. A colour fax page is loaded only when every plane file it names loads.\n"
        "\n"
        "IN may be any file the library recognises: a bitmap (run-length encoded ones are\n"
        "expanded), TIFF, CALS, PCX, DCX, GIF, TGA, JPEG and PNG (read by the format modules\n"
        "beside the library), a clipboard file (its CF_DIB entry), a Windows or enhanced\n"
        "metafile (played at its own size) or a colour fax set. A text file (.txt, or detected\n"
        "as text) is rendered black on white by LoadASCIIFile: the library's load dispatch\n"
        "refuses text by design, so the tool calls the text renderer itself. Some TGA files\n"
        "start with bytes the library's detection takes for a metafile or a PCX file (it tests\n"
        "signatures before the .tga name); for a .tga file so detected the tool calls the TGA\n"
        "module itself.\n"
        "  --page N              the page of a multi-page file (TIFF, DCX, GIF frames, fax\n"
        "                        sets) to load, from 1 (default 1)\n"
        "  --format NAME         the output format, whatever OUT's extension\n"
        "  --compression NAME    TIFF: none, g4 (1-bit only), lzw, packbits, deflate, jpeg\n"
        "                        (default: g4 for 1-bit images, lzw otherwise); TGA: none, rle\n"
        "  --interlace           GIF: write the rows interlaced\n"
        "  --max-pixels N        refuse an input of more than N pixels (default 268435456,\n"
        "                        2^28); BMP headers are checked before decoding\n"
        "  -q, --quiet           print nothing on success\n"
        "\n"
        "output formats (the library has no PNG writer: the tool writes PNG through libpng):\n" +
        WritableFormatsList() +
        "\n"
        "operations:\n";
    for (const auto& op : Operations()) {
        std::string name = "  --" + std::string(op.option);
        if (!op.argument.empty()) name += " " + std::string(op.argument);
        if (name.size() < 24) name.resize(24, ' ');
        else name += "\n" + std::string(24, ' ');
        help += name + Wrapped(op.help, 24, 92) + "\n";
    }
    return help;
}

int RunConvert(const std::vector<std::string>& args) {
    std::vector<std::string> files;
    std::vector<std::pair<const Operation*, std::string>> steps;
    long page = 1;
    WriteChoices choices;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--help" || arg == "-h") {
            std::cout << ConvertHelp();
            return kExitSuccess;
        }
        if (arg.rfind("--", 0) != 0 || arg.size() == 2) {
            files.push_back(arg);
            continue;
        }
        if (arg == "--page" || arg.rfind("--page=", 0) == 0) {
            const bool inlinePage = arg.size() > 6;
            if (!inlinePage && i + 1 >= args.size()) throw UsageError("convert: --page needs N");
            page = ParseNumber(inlinePage ? arg.substr(7) : args[++i], "--page", 1, 65535);
            continue;
        }
        if (arg == "--max-pixels" || arg.rfind("--max-pixels=", 0) == 0) {
            const bool inlineValue = arg.size() > 12;
            if (!inlineValue && i + 1 >= args.size()) throw UsageError("convert: --max-pixels needs N");
            SetMaxPixels(static_cast<uint64_t>(ParseNumber(inlineValue ? arg.substr(13) : args[++i], "--max-pixels", 1, 2147483647)));
            continue;
        }
        if (arg == "--interlace") {
            choices.interlace = true;
            continue;
        }
        if (arg == "--quiet" || arg == "-q") {
            quietRun = true;
            continue;
        }
        if (arg == "--format" || arg == "--compression" || arg.rfind("--format=", 0) == 0 ||
            arg.rfind("--compression=", 0) == 0) {
            const size_t equals = arg.find('=');
            const std::string option = arg.substr(0, equals);
            if (equals == std::string::npos && i + 1 >= args.size()) throw UsageError("convert: " + option + " needs NAME");
            const std::string value = equals == std::string::npos ? args[++i] : arg.substr(equals + 1);
            (option == "--format" ? choices.format : choices.compression) = value;
            continue;
        }
        std::string name = arg.substr(2), value;
        const bool inlineValue = name.find('=') != std::string::npos;
        if (inlineValue) {
            value = name.substr(name.find('=') + 1);
            name.resize(name.find('='));
        }
        const Operation* op = FindOperation(name);
        if (op == nullptr) throw UsageError("convert: unknown operation '--" + name + "'");
        if (op->argument.empty() && inlineValue)
            throw UsageError("convert: --" + name + " takes no argument");
        if (!op->argument.empty() && !inlineValue) {
            if (i + 1 >= args.size()) throw UsageError("convert: --" + name + " needs " + std::string(op->argument));
            value = args[++i];
        }
        steps.emplace_back(op, value);
    }
    if (files.size() != 2) throw UsageError("convert: name one input and one output file");
    // Standard output has no extension to name a format: a bitmap unless --format says otherwise.
    if (files[1] == kStandardStream && choices.format.empty()) choices.format = "bmp";

    ChooseOutputFormat(files[1], choices);
    for (const auto& [op, value] : steps) op->apply(nullptr, value);

    Dib image = LoadImageFile(files[0], static_cast<int>(page));
    CheckPixelCount(image, files[0]);
    for (const auto& [op, value] : steps) op->apply(&image, value);
    SaveImageFile(image, files[1], files[0], choices);
    if (quietRun) return kExitSuccess;
    const BITMAPINFOHEADER h = HeaderOf(image);
    // With the image on standard output the report goes to standard error.
    std::ostream& report = files[1] == kStandardStream ? std::cerr : std::cout;
    report << "wrote " << (files[1] == kStandardStream ? "standard output" : files[1]) << " (" << h.biWidth << " x "
           << h.biHeight << ", " << h.biBitCount << " bits per pixel)\n";
    return kExitSuccess;
}

}  // namespace vexora_tool
