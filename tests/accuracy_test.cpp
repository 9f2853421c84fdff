// How often natural text is named right: the figures are printed, those that hosts rely on asserted.
#include "support/plain_detector.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iconv.h>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>

using std::string;

namespace {

// The characters of a sample, each encoded; none when the C library cannot do it.
std::vector<string> charactersOf(const string &sample, const string &encoding) {
    std::vector<string> characters;
    std::ifstream file(SAMPLES "/" + sample + ".txt", std::ios::binary);
    string text(std::istreambuf_iterator<char>(file), {});
    const iconv_t converter = iconv_open(encoding.c_str(), "UTF-8");
    if (converter == reinterpret_cast<iconv_t>(-1))
        return characters;
    for (char *from = text.data(); *from != '\0';) {
        char encoded[16];
        char *to = encoded;
        size_t left = 1, room = sizeof encoded;
        while ((from[left] & 0xC0) == 0x80)
            ++left;
        if (iconv(converter, &from, &left, &to, &room) != 0)
            throw std::runtime_error(sample + " does not fit " + encoding);
        characters.emplace_back(encoded, to);
    }
    iconv_close(converter);
    return characters;
}

// Cuts of whole characters with so many bytes; for size 0 subtitle files of twenty cues, a line each.
std::vector<string> cutsOf(const std::vector<string> &characters, size_t size) {
    std::vector<string> cuts;
    for (size_t first = 0; first < characters.size(); first += size == 0 ? 150 : 17) {
        string cut;
        size_t at = first;
        for (int cue = 10;
             at < characters.size() && (size == 0 ? cue < 30 : cut.size() + characters[at].size() <= size); ++at) {
            const string time = "00:00:" + std::to_string(cue);
            if (size == 0 && (at == first || characters[at] == "\n"))
                cut += "\r\n\r\n" + std::to_string(++cue) + "\r\n" + time + ",000 --> " + time + ",900\r\n";
            cut += characters[at];
        }
        if (at < characters.size())
            cuts.push_back(cut);
    }
    return cuts;
}

TEST(Accuracy, NaturalText) {
    const ZU_CHARSET_S &record = g_stCOMMON_detector;
    ZU_CHARSET_HANDLE handle = nullptr;
    ASSERT_EQ(record.pfnDetectorCreate(&handle, 0), 0);
    const std::unique_ptr<void, ZU_CHARSET_CLOSE_FN> detector(handle, record.pfnDetectorClose);
    std::puts("Right of the cuts of 30, 100, 300 and 1000 bytes and of the subtitle files");
    // With 0 for what the vote has no name for.
    for (const char *row :
         {"chinese_simplified GBK 20", "chinese_traditional BIG5 1", "korean CP949 33", "chinese_simplified UTF-8 2",
          "korean UTF-8 2", "japanese UTF-8 2", "russian UTF-8 2", "japanese EUC-JP 0", "japanese SHIFT_JIS 0"}) {
        string sample, encoding;
        int32_t expected = -1;
        std::istringstream(row) >> sample >> encoding >> expected;
        const std::vector<string> characters = charactersOf(sample, encoding);
        if (characters.empty())
            GTEST_SKIP() << "the C library has no " << encoding << " here";
        std::printf("%-30s", row);
        for (const size_t size : {30, 100, 300, 1000, 0}) {
            const std::vector<string> cuts = cutsOf(characters, size);
            size_t right = 0;
            for (const string &cut : cuts) {
                int32_t n = -7;
                const auto *bytes = reinterpret_cast<const uint8_t *>(cut.data());
                record.pfnDetectorIdentStream(detector.get(), bytes, static_cast<int32_t>(cut.size()), 0, &n);
                right += (n == 20 || n == 1 || n == 33 || n == 2 ? n : 0) == expected ? 1 : 0;
            }
            std::printf("  %zu of %zu", right, cuts.size());
            EXPECT_GE(100 * right, (size == 30 ? 95 : 99) * std::max<size_t>(cuts.size(), 1)) << row << ' ' << size;
        }
        std::puts("");
    }
}

} // namespace
