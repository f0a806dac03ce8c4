// arguments.hpp - parsing of operation arguments ("90", "640x480", "10,20,100,80:2x3") and
// swapping an image for an operation's result. Malformed arguments are usage errors.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli.hpp"

namespace vexora_tool {

// A whole number in [low, high]; `what` names the argument in the error message.
long ParseNumber(std::string_view text, std::string_view what, long low, long high);

// "AxB" as two numbers in [low, high].
std::pair<long, long> ParsePair(std::string_view text, std::string_view what, long low, long high);

// Splits at the first `separator`: "30:fast" -> {"30", "fast"}; no separator -> {text, ""}.
std::pair<std::string, std::string> SplitOnce(std::string_view text, char separator);

// Splits at every `separator`.
std::vector<std::string> SplitAll(std::string_view text, char separator);

// Replaces `image` by `result`, or throws OperationFailed("OPTION: reason") when it is null.
void TakeResult(Dib& image, HDIB result, std::string_view option, const std::string& reason);

}  // namespace vexora_tool
