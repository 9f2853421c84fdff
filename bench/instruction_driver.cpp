// instruction_driver convert|detect|judge CODETYPE FILE TIMES: does one thing with the file's bytes several times, so
// that the difference between two runs is what one time takes.
#include "zucharset.h"
#include "zutext.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

int main(int argc, char **argv) {
    if (argc != 5)
        return 2;
    const bool convert = std::strcmp(argv[1], "convert") == 0;
    const bool judge = std::strcmp(argv[1], "judge") == 0;
    const int32_t codeType = std::atoi(argv[2]);
    std::vector<uint8_t> bytes(1 << 20);
    std::FILE *file = std::fopen(argv[3], "rb");
    if (file == nullptr)
        return 2;
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
    std::fclose(file);
    const auto length = static_cast<int32_t>(bytes.size());
    std::vector<uint8_t> output(3 * bytes.size() + 1);

    ZU_CHARSET_S &library = g_stCharset_entry;
    ZU_CHARSET_HANDLE handle = nullptr;
    if (convert) {
        library.pfnConverterFind(codeType, ZU_CHARSET_CODETYPE_UTF8);
        library.pfnConverterCreate(&handle, 0);
    } else {
        library.pfnDetectorCreate(&handle, 0);
    }
    for (int times = std::atoi(argv[4]); times > 0; times--) {
        if (convert) {
            int32_t outputLength = 3 * length;
            uint32_t consumed = 0;
            if (library.pfnConverterConvStream(handle, bytes.data(), length, output.data(), &outputLength, codeType,
                                               ZU_CHARSET_CODETYPE_UTF8, &consumed) != 0 ||
                consumed != bytes.size())
                return 1;
        } else if (judge) {
            zutext_verdict verdict;
            if (zutext_detect(bytes.data(), bytes.size(), nullptr, &verdict) != ZUTEXT_OK)
                return 1;
        } else {
            int32_t detected = 0;
            if (library.pfnDetectorIdentStream(handle, bytes.data(), length, 0, &detected) != 0)
                return 1;
        }
    }
    (convert ? library.pfnConverterClose : library.pfnDetectorClose)(handle);
    return 0;
}
