// Runs a fuzz target over files, or all files of folders, in place of the fuzzer.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int count, char **arguments) {
    std::vector<std::filesystem::path> files;
    for (int i = 1; i < count; ++i) {
        if (std::filesystem::is_directory(arguments[i]))
            files.insert(files.end(), std::filesystem::directory_iterator(arguments[i]), {});
        else
            files.emplace_back(arguments[i]);
    }
    for (const auto &file : files) {
        std::ifstream stream(file, std::ios::binary);
        const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(stream), {}};
        std::printf("%s: %zu bytes\n", file.c_str(), bytes.size()); // the last one named is the one that failed
        std::fflush(stdout);
        if (!stream.is_open() || LLVMFuzzerTestOneInput(bytes.data(), bytes.size()) != 0)
            return 1;
    }
    return files.empty() ? 1 : 0;
}
