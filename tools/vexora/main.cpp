// main.cpp - the vexora command-line tool: the global options (--quiet, --version, --help),
// dispatch to a subcommand, and one place that turns failures into plain words and exit codes
// (0 success, 1 operation failed, 2 usage error).
#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "vexora.h"

#include "commands.hpp"

using namespace vexora_tool;

// The tool is built with the package's version (CMake's project version); the header that
// states the library's must say the same.
static_assert(std::string_view(VEXORA_TOOL_VERSION) == VEXORA_VERSION_STRING,
              "project(VERSION) and VEXORA_VERSION_STRING in vexora.h differ");

namespace {

// The library's message boxes (a format module that cannot be loaded, for one) become lines on
// standard error, on Windows too, where a box would wait for a click in a console program.
int MessageToStandardError(const char* text, const char* caption, UINT /*style*/, void* /*context*/) {
    std::cerr << caption << ": " << text << std::endl;
    return IDOK;
}

using Command = int (*)(const std::vector<std::string>&);

Command CommandNamed(const std::string& name) {
    if (name == "info") return RunInfo;
    if (name == "convert") return RunConvert;
    if (name == "demo") return RunDemo;
    if (name == "view") return RunView;
    if (name == "print") return RunPrint;
    if (name == "printers") return RunPrinters;
    return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
    VexoraSetMessageSink(MessageToStandardError, nullptr);
    std::vector<std::string> args(argv + 1, argv + argc);
    while (!args.empty() && (args.front() == "--quiet" || args.front() == "-q")) {
        quietRun = true;
        args.erase(args.begin());
    }
    if (args.empty()) {
        std::cerr << kToolHelp;
        return kExitUsage;
    }
    const std::string command = args.front();
    args.erase(args.begin());
    try {
        if (command == "--version" || command == "-V") {
            std::cout << "vexora " << VEXORA_TOOL_VERSION << "\n"
                      << "library " << VEXORA_VERSION_STRING << " (" << LibraryLocation() << ")\n";
            return kExitSuccess;
        }
        if (command == "--help" || command == "-h" || (command == "help" && args.empty())) {
            std::cout << kToolHelp;
            return kExitSuccess;
        }
        if (command == "help") {
            const Command run = CommandNamed(args.front());
            if (run == nullptr) throw UsageError("help: unknown command '" + args.front() + "'");
            return run({"--help"});
        }
        if (const Command run = CommandNamed(command)) return run(args);
        throw UsageError("unknown command '" + command + "'");
    } catch (const UsageError& e) {
        std::cerr << "vexora: " << e.what() << "\n"
                  << "Run 'vexora --help' for usage.\n";
        return kExitUsage;
    } catch (const OperationFailed& e) {
        std::cerr << "vexora: " << e.what() << "\n";
        return kExitFailed;
    } catch (const std::bad_alloc&) {
        std::cerr << "vexora: Not enough memory.\n";
        return kExitFailed;
    } catch (const std::exception& e) {
        std::cerr << "vexora: " << e.what() << "\n";
        return kExitFailed;
    }
}
