// How often natural text is named right: the figures are printed, those that hosts rely on asserted.
#include "support/plain_detector.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iconv.h>
#include <sstream>

using std::string;

namespace {

// The characters of a sample, each encoded, with this in the place of each line break.
std::vector<string> charactersOf(const string &sample, iconv_t converter, const string &lineBreak) {
    std::vector<string> characters;
    std::ifstream file(SAMPLES "/" + sample + ".txt");
    for (string character; file.peek() != EOF; character.clear()) {
        do
            character += static_cast<char>(file.get());
        while ((file.peek() & 0xC0) == 0x80);
        character = character == "\n" ? lineBreak : character;
        char encoded[64], *from = character.data(), *to = encoded;
        size_t left = character.size(), room = sizeof encoded;
        EXPECT_EQ(iconv(converter, &from, &left, &to, &room), 0u) << sample << ": " << character;
        characters.emplace_back(encoded, to);
    }
    return characters;
}

TEST(Accuracy, NaturalText) {
    ZU_CHARSET_HANDLE detector = nullptr;
    ASSERT_EQ(g_stCOMMON_detector.pfnDetectorCreate(&detector, 0), 0);
    std::puts("Right of the cuts of 30, 100, 300 and 1000 bytes and of those of 2000 bytes from subtitle files");
    // With 0 for what the vote has no name for.
    for (const char *row :
         {"chinese_simplified GBK 20", "chinese_traditional BIG5 1", "korean CP949 33", "chinese_simplified UTF-8 2",
          "korean UTF-8 2", "japanese UTF-8 2", "russian UTF-8 2", "japanese EUC-JP 0", "japanese SHIFT_JIS 0"}) {
        string sample, encoding;
        int32_t expected = -1;
        std::istringstream(row) >> sample >> encoding >> expected;
        const iconv_t converter = iconv_open(encoding.c_str(), "UTF-8");
        if (converter == reinterpret_cast<iconv_t>(-1))
            GTEST_SKIP() << "the C library has no " << encoding << " here";
        std::printf("%-30s", row);
        for (const size_t size : {30U, 100U, 300U, 1000U, 2000U}) {
            const char *cue = "\r\n\r\n12\r\n00:00:12,000 --> 00:00:12,900\r\n";
            const auto characters = charactersOf(sample, converter, size == 2000 ? cue : "\n");
            size_t right = 0, cuts = 0;
            for (size_t first = 0, at = 0; at < characters.size(); first += 17, ++cuts) {
                string cut;
                for (at = first; at < characters.size() && cut.size() + characters[at].size() <= size; ++at)
                    cut += characters[at];
                int32_t n = -7;
                g_stCOMMON_detector.pfnDetectorIdentStream(detector, reinterpret_cast<const uint8_t *>(cut.data()),
                                                           static_cast<int32_t>(cut.size()), 0, &n);
                right += (n == 20 || n == 1 || n == 33 || n == 2 ? n : 0) == expected ? 1 : 0;
            }
            std::printf("  %zu of %zu", right, cuts);
            EXPECT_GE(100 * right, (size == 30 ? 95 : 99) * std::max<size_t>(cuts, 1)) << row << ' ' << size;
        }
        std::puts("");
        iconv_close(converter);
    }
    g_stCOMMON_detector.pfnDetectorClose(detector);
}

} // namespace
