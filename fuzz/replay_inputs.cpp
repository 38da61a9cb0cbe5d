// Runs files through a fuzzer once each, without libFuzzer: any compiler, any processor, any sanitizer.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/fuzzer.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> files_of(const fs::path &path)
{
    if (!fs::is_directory(path))
        return {path};
    std::vector<fs::path> files;
    for (const auto &entry : fs::directory_iterator(path))
        if (entry.is_regular_file())
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

// The name comes first: when the input ends the process, it is the last line.
bool run(const fs::path &file)
{
    std::fprintf(stderr, "%s\n", file.c_str());
    std::ifstream input(file, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(input), {}};
    if (!input) {
        std::fprintf(stderr, "replay_inputs: %s cannot be read\n", file.c_str());
        return false;
    }
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    LLVMFuzzerInitialize(&argc, &argv);
    std::size_t inputs = 0;
    for (int i = 1; i < argc; ++i) {
        for (const fs::path &file : files_of(argv[i])) {
            if (!run(file))
                return 1;
            ++inputs;
        }
    }
    std::fprintf(stderr, "%zu inputs\n", inputs);
    return inputs == 0 ? 1 : 0;
}
