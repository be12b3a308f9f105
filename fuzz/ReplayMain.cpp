// Runs a fuzz target over files without libFuzzer: every argument is a file or a directory whose
// files are replayed in name order. Each input sits in a buffer of exactly its size, so the
// sanitizers see a read past its end, and must come back unchanged.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/FuzzTarget.h"

namespace {

namespace fs = std::filesystem;

bool Replay(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const std::unique_ptr<uint8_t[]> input(new uint8_t[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), input.get());
    LLVMFuzzerTestOneInput(input.get(), bytes.size());
    if (!in || (!bytes.empty() && std::memcmp(input.get(), bytes.data(), bytes.size()) != 0)) {
        std::fprintf(stderr, "replay: %s: unreadable, or the target changed its input\n", path.c_str());
        return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<fs::path> files;
    for (int i = 1; i < argc; ++i) {
        if (!fs::is_directory(argv[i])) {
            files.emplace_back(argv[i]);
            continue;
        }
        for (const auto& entry : fs::directory_iterator(argv[i])) {
            if (entry.is_regular_file()) {
                files.push_back(entry.path());
            }
        }
    }
    std::sort(files.begin(), files.end());
    if (files.empty()) {
        std::fprintf(stderr, "usage: %s FILE|DIR...  (no inputs found)\n", argv[0]);
        return 2;
    }
    const size_t failed = static_cast<size_t>(
        std::count_if(files.begin(), files.end(), [](const fs::path& f) { return !Replay(f); }));
    std::printf("replayed %zu inputs, %zu failed\n", files.size(), failed);
    return failed == 0 ? 0 : 1;
}
