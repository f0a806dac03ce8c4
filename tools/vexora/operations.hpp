// operations.hpp - the image operations the tool offers, as one table that `convert` turns
// into options and `--help` lists. Each library family adds its entries here.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli.hpp"

namespace vexora_tool {

struct Operation {
    std::string_view option;    // the long option, without "--"
    std::string_view argument;  // the argument's name in --help, empty when it takes none
    std::string_view help;      // one line for --help
    // Replaces *image by the result; throws OperationFailed or UsageError. With a null image it
    // only checks the argument, so that a command line is refused before any file is read.
    void (*apply)(Dib* image, const std::string& argument);
};

const std::vector<Operation>& Operations();

// The operations of each library family, in the order --help lists them.
std::vector<Operation> GeometryOperations();
std::vector<Operation> ResizeOperations();
std::vector<Operation> ToneOperations();
std::vector<Operation> DitherOperations();
std::vector<Operation> FormatOperations();
std::vector<Operation> DeviceOperations();

// The operation for `option` (without "--"), or null.
const Operation* FindOperation(std::string_view option);

}  // namespace vexora_tool
