#include "support/plain_detector.h"
#include "support/recording_utils.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <thread>

using namespace recording;
using namespace zucharset;
using std::string;

namespace {

const ZU_CHARSET_S &record = g_stCOMMON_detector;

// A handle of the record, which is the detector's instance.
struct Detector {
    plain::Instance *instance = nullptr;

    Detector() { EXPECT_EQ(record.pfnDetectorCreate(reinterpret_cast<ZU_CHARSET_HANDLE *>(&instance), 0), 0); }
    ~Detector() { EXPECT_EQ(record.pfnDetectorClose(instance), 0); }

    plain::Scores scores(const uint8_t *text, size_t size) const {
        SCORES_S scores;
        _Detector_scoreAll(*instance, {text, static_cast<int32_t>(size)}, scores);
        return std::to_array(scores.as32);
    }
    int32_t identify(const uint8_t *text, int32_t size, ZU_CHARSET_OPTION option, int32_t &codeType) const {
        return record.pfnDetectorIdentStream(instance, text, size, option, &codeType);
    }
    int32_t setQuit(int32_t quit) const { return record.pfnDetectorSetDataAsync(instance, ZU_CHARSET_CMD_QUIT, &quit); }
};

// The library beside the plain detector.
class Comparison : public testing::Test {
  protected:
    Comparison() { EXPECT_EQ(g_stCharset_entry.pfnDetectorCreate(&host, 0), 0); }
    ~Comparison() override { EXPECT_EQ(g_stCharset_entry.pfnDetectorClose(host), 0); }

    void compare(const string &text, size_t alignment = 0) {
        const std::unique_ptr<uint8_t[]> block(new uint8_t[alignment + text.size()]); // ends where the text ends
        const uint8_t *bytes = std::copy(text.begin(), text.end(), block.get() + alignment) - text.size();
        const auto size = static_cast<int32_t>(text.size());
        int32_t codeType = -7;
        EXPECT_EQ(g_stCharset_entry.pfnDetectorIdentStream(host, bytes, size, 0, &codeType), 0);
        takeLines();
        named.insert(codeType);
        ASSERT_EQ(std::pair(detector.scores(bytes, text.size()), codeType),
                  std::pair(plain::scores(*detector.instance, text), plain::identify(*detector.instance, text)))
            << testing::PrintToString(text.substr(0, 300)) << " at " << alignment;
    }

    size_t upTo(size_t last) { return random() % (last + 1); }
    char byteIn(char low, char high) {
        return static_cast<char>(low + static_cast<int>(upTo(static_cast<uint8_t>(high - low))));
    }
    // A text of a few kinds, so that it is not just noise to every estimator.
    string mixture(size_t size) {
        // Pairs from two ranges with the most in a row: ASCII, high and any bytes, double-byte encodings, halves of
        // four-byte codes, parts of UTF-8 and UTF-16.
        static const std::vector<string> kinds =
            plain::fromHex("207E207E28, 7FFF7FFF05, 00FF00FF05, B0F7A1FE14, A1FEA1FE14, A4C740FF14, 81FE40FF14, "
                           "819F40FC14, A0F040FF09, 80FF303909, 81FE303909, C0DF80BF20, C0FF80C003, 0000207E03");
        static const std::vector<string> marks =
            plain::fromHex("1B2429413021, 1B242941, 1B242947, 1B242943, 1B2442, 1B2842, 1B, 7E7B, 7E7B44637E7D, 7E7D, "
                           "7E7E, 7E, 0A, 0D, 242941, FEFF, FFFE, EFBBBF, 00, 20, 7F, 80, 81, A0, FE, E4B8AD*20, E4B8");
        const size_t chosen[] = {upTo(13), upTo(13), upTo(13), 14};
        const size_t most = upTo(3);
        string text;
        while (text.size() < size) {
            const size_t kind = chosen[upTo(most)];
            text += kind == 14 ? marks[upTo(marks.size() - 1)] : string(upTo(12) / 12, ' ');
            for (size_t count = kind == 14 ? 0 : upTo(static_cast<size_t>(kinds[kind][4])); count > 0; --count)
                text += {byteIn(kinds[kind][0], kinds[kind][1]), byteIn(kinds[kind][2], kinds[kind][3])};
        }
        return text.substr(0, size);
    }

    Detector detector;
    ZU_CHARSET_HANDLE host = nullptr;
    std::mt19937 random{20011};
    std::set<int32_t> named;
};

TEST_F(Comparison, EveryLengthAndAlignment) {
    for (size_t i = 0; i < 200 * 16; ++i)
        ASSERT_NO_FATAL_FAILURE(compare(mixture(1 + i / 16), i % 16));
    EXPECT_GT(named.size(), 12u);
}

TEST_F(Comparison, SnippetsAtEveryPlace) {
    for (const string &filler : plain::fromHex("61*134, C4E3*67, E4B8AD*45, 7E7B3021*34")) {
        for (const string &snippet :
             plain::fromHex("1B2429413021, 1B2442, 7E7B44637E7D, 7E, E4B8AD, E4B8, 80, 7F, 0A, "
                            "81308130, 8130813081, 00, 0020, C3A9, F09F9880, F09F98, F888808080")) {
            for (size_t place = 0; place <= filler.size(); ++place)
                ASSERT_NO_FATAL_FAILURE(compare(filler.substr(0, place) + snippet + filler.substr(place)));
        }
    }
}

// Texts in which a double-byte encoding overtakes late, or just fails to: GB2312 an escape that is worth 100 and
// Shift_JIS EUC-KR, which the vote names.
TEST_F(Comparison, ScoresThatRiseLate) {
    for (const auto &[head, poor, good, first, last, ratio] :
         {std::tuple{"1B2442", "8080*", "C4E3*", 20, 60, 558}, {"", "C0CC*", "82E9*", 500, 505, 141}}) {
        named.clear();
        for (int n = first; n <= last; ++n) {
            for (int m = n * ratio / 100 - n / 8; m <= n * ratio / 100 + n / 8; ++m) {
                const string text = string(head) + " " + poor + std::to_string(n) + " " + good + std::to_string(m);
                ASSERT_NO_FATAL_FAILURE(compare(plain::fromHex(text)[0]));
            }
        }
        EXPECT_EQ(named.size(), 2u);
    }
}

TEST_F(Comparison, LongTextsAndRepeatedPairs) {
    for (const char *count : {"254", "255", "256", "257", "511", "512", "513", "65535", "65536", "65537"})
        ASSERT_NO_FATAL_FAILURE(compare(plain::fromHex(string("C4E3 8130 FF20 A4A4*") + count)[0]));
    for (int i = 0; i < 6; ++i)
        ASSERT_NO_FATAL_FAILURE(compare(mixture(100000)));
}

// Texts that the vote does not name, each of bytes that one test knows.
TEST_F(Comparison, Cascade) {
    for (const auto &[test, expected] : plain::cascade) {
        for (int i = 0; i < 150; ++i) {
            string text = expected == 19 ? "\xFE\xFF" : expected == 18 ? "\xFF\xFE" : "word";
            for (size_t count = upTo(30); count > 0; --count) {
                const auto byte = static_cast<uint8_t>(upTo(1) == 0 ? upTo(0xFF) : 0x80 + upTo(0x1F));
                text += test(&byte, 1) == 0 ? string{static_cast<char>(byte), ' '} : "";
            }
            ASSERT_NO_FATAL_FAILURE(compare(text));
        }
    }
    EXPECT_EQ(named, (std::set<int32_t>{5, 8, 9, 10, 13, 17, 18, 19, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30}));
}

TEST(Detector, Votes) {
    for (size_t i = 0; i < 19 * 19 * 4; ++i) {
        SCORES_S scores{};
        scores.as32[i % 19] = 66;
        scores.as32[i / 19 % 19] = std::array{-1, 65, 66, 109}[i / (19 * 19)];
        EXPECT_EQ(guessEncoding(_Detector_winner(scores)), plain::vote(std::to_array(scores.as32))) << i;
    }
}

TEST(Detector, TablesAndScoresComputedElsewhere) {
    const Detector detector;
    const int32_t *cell = detector.instance->as32FreqGB[0];
    std::ifstream file(SCORE_TABLE);
    size_t lines = 0;
    for (string line; std::getline(file, line);) {
        constexpr size_t sizes[] = {94 * 94, 126 * 191, 94 * 158, 126 * 191, 94 * 94, 94 * 94, 94 * 94};
        if (line[0] == '#')
            continue;
        std::istringstream expected(line.substr(line.find('=') + 1));
        if (lines++ < std::size(sizes)) { // the tables, in the order of the instance
            uint32_t hash = 0, expectedHash = 0;
            for (const int32_t *end = cell + sizes[lines - 1]; cell < end; ++cell)
                hash = hash * 1000003 + static_cast<uint32_t>(*cell);
            EXPECT_TRUE(expected >> expectedHash && hash == expectedHash) << line;
            continue;
        }
        plain::Scores scores{};
        for (const size_t index : {0, 1, 2, 3, 4, 5, 7, 8, 9, 10, 12, 13, 14, 15, 17})
            expected >> scores[index];
        const string text = plain::fromHex(line.substr(0, line.find('=')))[0];
        EXPECT_EQ(detector.scores(reinterpret_cast<const uint8_t *>(text.data()), text.size()), scores) << line;
        EXPECT_EQ(plain::scores(*detector.instance, text), scores) << line;
    }
    EXPECT_GT(lines, 60u);
}

TEST(Detector, RefusalsInOrder) {
    const Detector detector;
    const uint8_t byte = 'a';
    int32_t n = 77;
    takeLines();
    for (const int32_t result :
         {record.pfnDetectorCreate(nullptr, 0), record.pfnDetectorIdentStream(nullptr, nullptr, 0, 5, &n),
          detector.identify(nullptr, 0, 5, n), detector.identify(&byte, 0, 5, n), detector.identify(&byte, -5, 5, n),
          record.pfnDetectorSetDataAsync(nullptr, 3, &n), record.pfnDetectorSetDataAsync(detector.instance, 3, &n),
          record.pfnDetectorClose(nullptr)})
        EXPECT_EQ(result, -1);
    const string noText = failure("ZU_CHARSET_IdentStream: stream is null");
    const string unknown = error("TESTCHARSET_CONVERTER_setDataAsync: unknow commands\n");
    EXPECT_EQ(takeLines("detector.cpp:"), (Lines{failure("invalid param"), failure("null"), failure("u8Input is null"),
                                                 noText, noText, failure("null"), unknown, failure("null")}));
    EXPECT_EQ(n, 77);
    EXPECT_EQ(detector.instance->stControl.u32Option, 0u);
}

TEST(Detector, QuitAndOption) {
    const Detector detector;
    const auto &option = detector.instance->stControl.u32Option;
    const uint8_t text[] = {0xC4, 0xE3};
    int32_t n = 77;
    takeLines();
    for (const int32_t quit : {1, 0, 2, -1}) {
        EXPECT_EQ(detector.setQuit(quit), 0);
        EXPECT_EQ(detector.identify(text, 2, static_cast<ZU_CHARSET_OPTION>(9 + quit), n), quit > 0 ? -1 : 0);
        EXPECT_EQ(std::exchange(n, 77), quit > 0 ? 77 : 20);
        EXPECT_EQ(option, static_cast<ZU_CHARSET_OPTION>(9 + quit));
    }
    EXPECT_EQ(record.pfnDetectorSetDataAsync(detector.instance, ZU_CHARSET_CMD_OPTION, &n), 0);
    EXPECT_EQ(option, reinterpret_cast<ZU_CHARSET_OPTION>(&n));
    EXPECT_EQ(detector.setQuit(1), 0);
    EXPECT_EQ(takeLines(), Lines{});
    // Each estimator scores what it has seen, which is nothing.
    for (const string &all : plain::fromHex("61*9, C4E3 81308130, 1B2442 1B242943 1B2429413021 7E7B3021, E4B8AD"))
        EXPECT_EQ(detector.scores(reinterpret_cast<const uint8_t *>(all.data()), all.size()),
                  (plain::Scores{50, 49, 49, 0, 50, 49, 0, 50, 50, 50, 0, 0, 50, 50, 0, 0, 0, 70}));
}

TEST(Detector, QuitFromAnotherThread) {
    const Detector detector;
    const std::vector<uint8_t> text(2'000'000, 0xA4);
    int32_t n = 33;
    std::thread other([&] { EXPECT_EQ(detector.setQuit(1), 0); });
    while (detector.identify(text.data(), 2'000'000, 0, n) == 0)
        EXPECT_EQ(n, 33);
    other.join();
}

} // namespace
