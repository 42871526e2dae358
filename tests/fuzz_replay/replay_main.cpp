// Replays a fuzz corpus through one harness: every file named on the command
// line, or found in a directory named there, is one input. A harness that
// finds a fault aborts, which fails the test.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "harness.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> CorpusFiles(int argc, char **argv) {
    std::vector<fs::path> files;
    for (int i = 1; i < argc; ++i) {
        fs::path arg(argv[i]);
        if (!fs::is_directory(arg)) {
            files.push_back(arg);
            continue;
        }
        for (const fs::directory_entry &entry : fs::directory_iterator(arg)) {
            if (entry.is_regular_file()) {
                files.push_back(entry.path());
            }
        }
    }
    // A fixed order makes a failure reproducible.
    std::sort(files.begin(), files.end());
    return files;
}

bool Replay(const fs::path &file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", file.c_str());
        return false;
    }
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)),
                               std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    return true;
}

}  // namespace

int main(int argc, char **argv) {
    std::vector<fs::path> files = CorpusFiles(argc, argv);
    if (files.empty()) {
        std::fprintf(stderr, "no corpus files\n");
        return 1;
    }
    for (const fs::path &file : files) {
        if (!Replay(file)) {
            return 1;
        }
    }
    std::printf("replayed %zu inputs\n", files.size());
    return 0;
}
