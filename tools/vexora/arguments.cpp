#include "arguments.hpp"

#include <charconv>

namespace vexora_tool {

long ParseNumber(std::string_view text, std::string_view what, long low, long high) {
    long value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size())
        throw UsageError(std::string(what) + " must be a whole number, not '" + std::string(text) + "'");
    if (value < low || value > high)
        throw UsageError(std::string(what) + " must lie between " + std::to_string(low) + " and " + std::to_string(high));
    return value;
}

std::pair<long, long> ParsePair(std::string_view text, std::string_view what, long low, long high) {
    const auto x = text.find('x');
    if (x == std::string_view::npos) throw UsageError(std::string(what) + " must read AxB, not '" + std::string(text) + "'");
    return {ParseNumber(text.substr(0, x), what, low, high), ParseNumber(text.substr(x + 1), what, low, high)};
}

std::pair<std::string, std::string> SplitOnce(std::string_view text, char separator) {
    const auto at = text.find(separator);
    if (at == std::string_view::npos) return {std::string(text), std::string()};
    return {std::string(text.substr(0, at)), std::string(text.substr(at + 1))};
}

std::vector<std::string> SplitAll(std::string_view text, char separator) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (;;) {
        const auto at = text.find(separator, start);
        parts.emplace_back(text.substr(start, at - start));
        if (at == std::string_view::npos) return parts;
        start = at + 1;
    }
}

void TakeResult(Dib& image, HDIB result, std::string_view option, const std::string& reason) {
    if (result == nullptr) throw OperationFailed("--" + std::string(option) + ": " + reason);
    image = Dib(result);
}

}  // namespace vexora_tool
