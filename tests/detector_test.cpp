#include "estimators.h"
#include "support/plain_detector.h"
#include "support/recording_utils.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <random>
#include <set>
#include <span>
#include <sstream>

using namespace recording;
using namespace zucharset;
using plain::fromHex;
using std::string;

namespace {

const ZU_CHARSET_S &record = g_stCOMMON_detector;

string repeated(const string &unit, size_t times) {
    string text;
    while (times-- > 0)
        text += unit;
    return text;
}

// A handle of the record, which is the detector's instance, beside the plain detector.
class Detector : public testing::Test {
  protected:
    Detector() { EXPECT_EQ(record.pfnDetectorCreate(reinterpret_cast<ZU_CHARSET_HANDLE *>(&instance), 5), 0); }
    ~Detector() override { EXPECT_EQ(record.pfnDetectorClose(instance), 0); }

    plain::Scores scores(const uint8_t *text, size_t size) const {
        SCORES_S scores;
        _Detector_scoreAll(*instance, {text, static_cast<int32_t>(size)}, scores);
        return std::to_array(scores.as32);
    }
    int32_t identify(const uint8_t *text, size_t size, ZU_CHARSET_OPTION option, int32_t &codeType) const {
        return record.pfnDetectorIdentStream(instance, text, static_cast<int32_t>(size), option, &codeType);
    }
    void compare(const string &text, size_t alignment = 0) {
        const std::unique_ptr<uint8_t[]> block(new uint8_t[alignment + text.size()]); // ends where the text ends
        const uint8_t *bytes = std::copy(text.begin(), text.end(), block.get() + alignment) - text.size();
        int32_t codeType = 0;
        const int32_t result = identify(bytes, text.size(), 0, codeType);
        EXPECT_EQ(result, codeType == 0 ? -1 : 0);
        named.insert(codeType);
        ASSERT_EQ(std::pair(scores(bytes, text.size()), codeType),
                  std::pair(plain::scores(*instance, text), plain::identify(*instance, text)))
            << testing::PrintToString(text.substr(0, 300)) << " at " << alignment;
    }

    size_t upTo(size_t last) { return random() % (last + 1); }
    // A text of a few of the parts, with some bytes changed.
    string mixture(size_t size) {
        const size_t chosen[] = {upTo(parts.size() - 1), upTo(parts.size() - 1), upTo(parts.size() - 1)};
        const size_t kinds = upTo(3), changes = upTo(3);
        string text;
        while (text.size() < size) {
            const string &part = parts[kinds == 3 ? upTo(parts.size() - 1) : chosen[upTo(kinds)]];
            for (size_t count = upTo(12); count > 0; --count) {
                text += part;
                if (upTo(3) < changes) // the byte stays in its half
                    text[text.size() - 1 - upTo(part.size() - 1)] ^= static_cast<char>(upTo(0x7F));
            }
        }
        return text.substr(0, size);
    }

    // ASCII, double-byte encodings, four-byte codes, UTF-8, UTF-16, escapes and halves of all of them.
    const std::vector<string> parts =
        fromHex("61, 20, 7F, 80, 0A, 0D, 00, FE, C4E3, D8A1, A4C7, A440, C640, 8141, 93FA, E04082A0, FF20, 8130, "
                "81308130, 8130813081, C3A9, E4B8AD, E4B8AD*20, E4B8, F09F9880, F09F98, F888808080, EFBBBF, FEFF, "
                "C080, DFBF, E08080, EFBFBF, F0808080, F7BFBFBF, E0B881*9, FFFE, 0020, 4100, E0EFF0E8, D8E1C0, F9FC20, "
                "1B, 1B2429413021, 1B2429474463, 1B242943, "
                "1B2442, 1B2842, "
                "242941, 7E7B, 7E7D, 7E7E, "
                "7E, 7E7B44637E7D, 7E7B3021");
    plain::Instance *instance = nullptr;
    std::mt19937 random{20011};
    std::set<int32_t> named;
};

TEST_F(Detector, EveryLengthAndAlignment) {
    for (size_t i = 0; i < 200 * 16; ++i)
        ASSERT_NO_FATAL_FAILURE(compare(mixture(1 + i / 16), i % 16));
    EXPECT_GT(named.size(), 12u);
}

TEST_F(Detector, SnippetsAtEveryPlace) {
    for (const string &filler : fromHex("61*134, C4E3*67, E4B8AD*45, 7E7B3021*34")) {
        for (size_t i = 0; i < parts.size() * (filler.size() + 1); ++i)
            ASSERT_NO_FATAL_FAILURE(compare(string(filler).insert(i / parts.size(), parts[i % parts.size()])));
    }
}

// Long texts, and some in which a double-byte encoding overtakes late, or just fails to: GB2312 an escape that is worth
// 100 and Shift_JIS EUC-KR, which the vote names, or EUC-KR the score below which nothing is named.
TEST_F(Detector, LongTextsAndScoresThatRiseLate) {
    for (int i = 0; i < 6; ++i)
        ASSERT_NO_FATAL_FAILURE(compare(mixture(100000)));
    for (const char *count : {"254", "255", "256", "257", "511", "512", "513", "65535", "65536", "65537"})
        ASSERT_NO_FATAL_FAILURE(compare(fromHex(string("C4E3 8130 FF20 A4A4*") + count)[0]));
    for (const auto &[poor, good, first, last, ratio] : {std::tuple{"1B2442 8080*", " C4E3*", 20, 60, 558},
                                                         {"C0CC*", " 82E9*", 500, 505, 141},
                                                         {"E0EF*", " B4D9*", 200, 202, 37}}) {
        named.clear();
        for (int n = first; n <= last; ++n) {
            for (int m = n * ratio / 100 - n / 8; m <= n * ratio / 100 + n / 8; ++m)
                ASSERT_NO_FATAL_FAILURE(compare(fromHex(poor + std::to_string(n) + good + std::to_string(m))[0]));
        }
        EXPECT_EQ(named.size(), 2u);
    }
}

// With a target an estimator may stop early, but never where its score would have reached the target: not even where it
// only just does.
TEST_F(Detector, TargetsCutOnlyWhatFallsShort) {
    const auto check = [&](const string &text, int32_t aim) {
        const TEXT_S bytes{reinterpret_cast<const uint8_t *>(text.data()), static_cast<int32_t>(text.size())};
        const plain::Scores exact = scores(bytes.pu8, text.size());
        for (const size_t candidate : {0u, 1u, 2u, 4u, 5u, 8u, 9u, 12u, 13u}) {
            const int32_t target = aim > 0 ? aim : exact[candidate];
            const TARGET_S goal{target, takeCensus(instance->stControl, bytes)};
            SCORES_S early{};
            _Detector_pairs_probability(*instance, bytes, goal, early);
            early.as32[DETECTOR_ENCODING_SJIS] = _Detector_sjis_probability(*instance, bytes, goal);
            const int32_t score = early.as32[candidate];
            const int32_t lost = exact[candidate] >= target ? exact[candidate] : std::min(score, target - 1);
            ASSERT_EQ(score, lost) << candidate << " " << target << testing::PrintToString(text);
        }
    };
    for (int i = 0; i < 6000; ++i)
        ASSERT_NO_FATAL_FAILURE(
            check(mixture(1 + upTo(i % 20 == 0 ? 3000 : 300)), i % 2 == 0 ? static_cast<int32_t>(40 + upTo(68)) : 0));
    // The most frequent character so often that only rounding lifts the score to 110.
    for (const string &text : fromHex("C5CB*60000, AABB*60000, C0CC*60000, 82E9*60000"))
        ASSERT_NO_FATAL_FAILURE(check(text, 0));
    // Few bytes, of ends of ranges and frequent characters.
    const string bytes = fromHex("20304081829FA1B0B1B5C4CCD8E0E3EFF1F9FCFF")[0];
    for (int i = 0; i < 20000; ++i) {
        string text;
        for (size_t count = 1 + upTo(12); count > 0; --count)
            text += bytes[upTo(bytes.size() - 1)];
        ASSERT_NO_FATAL_FAILURE(check(text, 0));
    }
    // Frequent characters of each ranking behind pairs that weigh nothing or are refused by some, with and without a
    // byte at the end that starts no pair; few of each, and many.
    const std::vector<string> heavy = fromHex("B5C4, C4E3, A7DA, A4EB, 82CC, B4D9"),
                              light = fromHex("F9FC, FEFE, E0EF, EAE120, E130E139, E040, B1, 82CC82F1");
    for (size_t i = 0; i < heavy.size() * light.size() * 13 * 5 * 2; ++i) {
        const string &good = heavy[i % heavy.size()], &poor = light[i / heavy.size() % light.size()];
        const size_t counts = i / heavy.size() / light.size();
        for (const size_t factor : {1u, 150u}) {
            if (factor > 1 && counts % 7 != 0)
                continue;
            const string text = " " + repeated(poor, factor * (counts / 5 % 13)) +
                                repeated(good, factor * (counts % 5)) + string(counts / 65, '\xFF');
            ASSERT_NO_FATAL_FAILURE(check(text, 0));
            ASSERT_NO_FATAL_FAILURE(compare(text));
        }
    }
}

// Texts that the vote does not name, each of bytes that one test knows.
TEST_F(Detector, Cascade) {
    for (size_t i = 0; i < 150 * plain::cascade.size(); ++i) {
        const auto &[test, expected] = plain::cascade[i / 150];
        string text = expected == 19 ? "\xFE\xFF" : expected == 18 ? "\xFF\xFE" : "word";
        for (size_t count = upTo(30); count > 0; --count) {
            const auto byte = static_cast<uint8_t>(upTo(1) == 0 ? upTo(0xFF) : 0x80 + upTo(0x1F));
            text += test(&byte, 1) == 0 ? string{static_cast<char>(byte), ' '} : "";
        }
        if (i % 8 == 1) // one byte late that may prove the test wrong
            text += string(600, 'w') + static_cast<char>(upTo(0xFF)) + string(70, ' ');
        if (i % 2 == 0) // some of the bytes far from the start
            text.insert(2 + upTo(text.size() - 2), string(1, ' ') + string(upTo(1500), 'w'));
        ASSERT_NO_FATAL_FAILURE(compare(text));
    }
    EXPECT_EQ(named, (std::set<int32_t>{5, 8, 9, 10, 13, 17, 18, 19, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30}));
}

TEST_F(Detector, Votes) {
    for (size_t i = 0; i < 19 * 19 * 4; ++i) {
        SCORES_S votes{};
        votes.as32[i % 19] = 66;
        votes.as32[i / 19 % 19] = std::array{-1, 65, 66, 109}[i / (19 * 19)];
        EXPECT_EQ(guessEncoding(_Detector_winner(votes)), plain::vote(std::to_array(votes.as32))) << i;
    }
}

TEST_F(Detector, TablesAndScoresComputedElsewhere) {
    std::ifstream file(SCORE_TABLE);
    size_t lines = 0;
    for (string text, results; std::getline(file, text, '=') && std::getline(file, results);) {
        text.erase(0, text.rfind('\n') + 1); // comments
        std::istringstream numbers(results);
        uint32_t hash = 0, power = 1, expectedHash = 0;
        if (++lines == 1) {
            for (const int32_t cell : std::span(reinterpret_cast<const int32_t *>(instance), FREQUENCY_CELLS))
                hash += static_cast<uint32_t>(cell) * power, power *= 1000003;
            EXPECT_TRUE(numbers >> expectedHash && hash == expectedHash) << hash;
            continue;
        }
        if (const size_t any = text.find("??"); any != string::npos) {
            const string before = fromHex(text.substr(0, any))[0], after = fromHex(text.substr(any + 2))[0];
            for (uint32_t code = 0; code < 65536; ++code) {
                const string all = before + static_cast<char>(code >> 8) + static_cast<char>(code) + after;
                for (const int32_t score : scores(reinterpret_cast<const uint8_t *>(all.data()), all.size()))
                    hash = hash * 1000003 + static_cast<uint32_t>(score);
            }
            EXPECT_TRUE(numbers >> expectedHash && hash == expectedHash) << text << hash;
            continue;
        }
        plain::Scores expected{-1};
        for (int32_t &score : expected)
            numbers >> score;
        EXPECT_EQ(plain::scores(*instance, fromHex(text)[0]), expected) << text;
        compare(fromHex(text)[0]);
    }
    EXPECT_GT(lines, 55u);
}

TEST_F(Detector, RefusalsInOrder) {
    const uint8_t byte = 'a';
    int32_t n = 77;
    takeLines();
    for (const int32_t result :
         {record.pfnDetectorCreate(nullptr, 0), record.pfnDetectorIdentStream(nullptr, nullptr, 0, 5, &n),
          identify(nullptr, 0, 5, n), identify(&byte, 0, 5, n),
          record.pfnDetectorIdentStream(instance, &byte, -5, 5, &n), record.pfnDetectorSetDataAsync(nullptr, 3, &n),
          record.pfnDetectorSetDataAsync(instance, 3, &n), record.pfnDetectorClose(nullptr)})
        EXPECT_EQ(result, -1);
    const string noText = failure("ZU_CHARSET_IdentStream: stream is null");
    const string unknown = error("TESTCHARSET_CONVERTER_setDataAsync: unknow commands\n");
    EXPECT_EQ(takeLines("detector.cpp:"), (Lines{failure("invalid param"), failure("null"), failure("u8Input is null"),
                                                 noText, noText, failure("null"), unknown, failure("null")}));
    EXPECT_EQ(std::pair(n, instance->stControl.u32Option), std::pair(77, ZU_CHARSET_OPTION{5})); // the one of create
}

TEST_F(Detector, QuitAndOption) {
    const auto &option = instance->stControl.u32Option;
    const uint8_t text[] = {0xC4, 0xE3};
    takeLines();
    for (int32_t quit : {1, 0, 2, -1, 1}) {
        int32_t n = 77;
        EXPECT_EQ(record.pfnDetectorSetDataAsync(instance, ZU_CHARSET_CMD_QUIT, &quit), 0);
        EXPECT_EQ(identify(text, 2, static_cast<ZU_CHARSET_OPTION>(9 + quit), n), quit > 0 ? -1 : 0);
        EXPECT_EQ(std::pair(n, option), std::pair(quit > 0 ? 77 : 20, static_cast<ZU_CHARSET_OPTION>(9 + quit)));
    }
    EXPECT_EQ(record.pfnDetectorSetDataAsync(instance, ZU_CHARSET_CMD_OPTION, &named), 0);
    EXPECT_EQ(option, reinterpret_cast<ZU_CHARSET_OPTION>(&named));
    EXPECT_EQ(takeLines(), Lines{});
    // Each estimator scores what it has seen, which is nothing.
    for (const string &all : fromHex("61*9, C4E3 81308130, 1B2442 1B242943 1B2429413021 7E7B3021, E4B8AD"))
        EXPECT_EQ(scores(reinterpret_cast<const uint8_t *>(all.data()), all.size()),
                  (plain::Scores{50, 49, 49, 0, 50, 49, 0, 50, 50, 50, 0, 0, 50, 50, 0, 0, 0, 70}));
}

} // namespace
