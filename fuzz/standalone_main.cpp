// standalone_main.cpp - runs a fuzz target without a fuzzer, so that an ordinary build replays
// its corpus. Each argument is a file, or a directory whose files are replayed in name order.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    std::vector<fs::path> inputs;
    for (int i = 1; i < argc; ++i) {
        if (!fs::is_directory(argv[i])) {
            inputs.emplace_back(argv[i]);
            continue;
        }
        std::vector<fs::path> found;
        for (const auto& entry : fs::directory_iterator(argv[i]))
            if (entry.is_regular_file()) found.push_back(entry.path());
        std::sort(found.begin(), found.end());
        inputs.insert(inputs.end(), found.begin(), found.end());
    }
    if (inputs.empty()) {
        std::fprintf(stderr, "usage: %s FILE-OR-DIRECTORY...: no inputs found\n", argv[0]);
        return 1;
    }
    for (const fs::path& input : inputs) {
        std::ifstream file(input, std::ios::binary);
        if (!file) {
            std::fprintf(stderr, "cannot read %s\n", input.string().c_str());
            return 1;
        }
        const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        std::printf("%s (%zu bytes)\n", input.string().c_str(), bytes.size());
        std::fflush(stdout);
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    std::printf("replayed %zu inputs\n", inputs.size());
    return 0;
}
