// main.cpp - the vexora command-line tool: dispatch to a subcommand, and one place that turns
// failures into plain words and exit codes (0 success, 1 operation failed, 2 usage error).
#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "vexora.h"

#include "commands.hpp"

using namespace vexora_tool;

namespace {

// The library's message boxes (a format module that cannot be loaded, for one) become lines on
// standard error, on Windows too, where a box would wait for a click in a console program.
int MessageToStandardError(const char* text, const char* caption, UINT /*style*/, void* /*context*/) {
    std::cerr << caption << ": " << text << std::endl;
    return IDOK;
}

}  // namespace

int main(int argc, char** argv) {
    VexoraSetMessageSink(MessageToStandardError, nullptr);
    std::vector<std::string> args(argv + 1, argv + argc);
    if (args.empty()) {
        std::cerr << kToolHelp;
        return kExitUsage;
    }
    const std::string command = args.front();
    args.erase(args.begin());
    try {
        if (command == "--help" || command == "-h" || command == "help") {
            std::cout << kToolHelp;
            return kExitSuccess;
        }
        if (command == "info") return RunInfo(args);
        if (command == "convert") return RunConvert(args);
        if (command == "demo") return RunDemo(args);
        if (command == "view") return RunView(args);
        if (command == "print") return RunPrint(args);
        if (command == "printers") return RunPrinters(args);
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
