#include "support/plain_detector.h"
#include "support/recording_utils.h"

#include <gtest/gtest.h>
#include <map>

using namespace recording;
using std::string;

namespace {

// The bytes from 80 to FF that the codecs of Python define, a bit for each, and all of them for the sets not listed.
const std::map<int32_t, string> DEFINED = {
    {5, "FFFFFFFFFBFDFFFDEFFF7FFFEFFF7FFF"},  {8, "FFFFFFFF880C00117FFFFFE0FFFFE000"},
    {9, "FFFFFFFFFFFDFFFFFFFFDFFFFFFFFFFE"},  {10, "FFFFFFFFBFFFFFFE00000001FFFFFFE6"},
    {13, "FFFFFFFFFFFFFFFFFFFFFFE1FFFFFFF0"}, {21, "AF7F7F7FFFFFFFFFFFFFFFFFFFFFFFFF"},
    {22, "FFFFFF7FFFFFFFFFFFFFFFFFFFFFFFFF"}, {23, "BFFA7FFBFFFFFFFFFFFFFFFFFFFFFFFF"},
    {24, "BF507F50FFDFFFFFFFFFDFFFFFFFFFFE"}, {25, "BFF87FF9FFFFFFFFFFFFFFFFFFFFFFFF"},
    {26, "BFD07FD0FFFFFFFFFFDFFF80FFFFFFE6"}, {28, "AF577F56BBFFFFFFFFFFFFFFFFFFFFFF"},
    {29, "BFD87FD9FFFFFFFFFFFFFFFFFFFFFFFF"}, {30, "84007F00FFFFFFFFFFFFFFE1FFFFFFF0"}};

bool knows(int32_t codeType, int byte) {
    const bool isCodePage = codeType >= ZU_CHARSET_CODETYPE_CP1250;
    if (byte < (isCodePage ? 0x80 : 0xA0))
        return isCodePage || (byte >= 0x20 && byte <= 0x7E);
    const auto set = DEFINED.find(codeType);
    const auto digit = static_cast<size_t>(byte - 0x80) / 4;
    return set == DEFINED.end() || (std::stoi(set->second.substr(digit, 1), nullptr, 16) >> (3 - byte % 4) & 1) != 0;
}

bool accepts(int32_t (*test)(const uint8_t *, int32_t), const string &text) {
    const std::vector<uint8_t> block(text.begin(), text.end()); // ends where the text ends
    const int32_t result = test(block.data(), static_cast<int32_t>(block.size()));
    EXPECT_TRUE(result == 0 || result == -1) << result;
    return result == 0;
}

TEST(Identification, EveryByteOfEverySet) {
    for (const auto &[test, codeType] : plain::cascade) {
        for (int byte = 0; byte < 256 && test != IsUnicodeBE && test != IsUnicodeLE; ++byte) {
            for (const size_t before : {0U, 7U, 250U}) { // one foreign byte decides, however long the text is
                const string text = string(before, 'a') + static_cast<char>(byte) + string(before / 2, 'b');
                const bool tooManySymbols = test == IsIso8859_1 && before == 0 && byte > 0xA0 && byte < 0xC0;
                EXPECT_EQ(accepts(test, text), knows(codeType, byte) && !tooManySymbols) << codeType << ' ' << byte;
            }
        }
    }
}

// Symbols of ISO-8859-1 and ASCII units of UTF-16 are counted.
TEST(Identification, Thresholds) {
    const std::tuple<int32_t (*)(const uint8_t *, int32_t), const char *, const char *> cases[] = {
        {IsIso8859_1, "61*4 E9, 61*5 A9, 61*4 A0, 61*4 C0, 61*9 A1 BF, 61*81 B5*19",
         "61*4 A9, 61*4 A1, 61*4 BF, A0*8 A1 BF, 61*80 B5*20, 61*5 A9 0A"},
        {IsUnicodeBE, "FEFF, FEFF80, 00410042, 0041E9, 0041 80*17, 80*60 0020, 0000, 00*5, 00*2 80*17, 00*4 80*35",
         "FFFE, 41004200, 4100E9, FE, 00, 61*40, E90041, 0041 80*18, 00*4 80*36, 80*60 007F, 80*61 0020 80"},
        {IsUnicodeLE, "FFFE, FFFE80, 41004200, 4100E9, 80*16 4100 80, 80*60 2000, 0000, 00*5, 00*2 80*17, 00*4 80*35",
         "FEFF, 00410042, 0041E9, FE, 00, 61*40, 00E941, 4100 80*18, 00*4 80*36, 80*61 0020 80"}};
    for (const auto &[test, accepted, refused] : cases) {
        for (const string &text : plain::fromHex(accepted))
            EXPECT_TRUE(accepts(test, text)) << testing::PrintToString(text);
        for (const string &text : plain::fromHex(refused))
            EXPECT_FALSE(accepts(test, text)) << testing::PrintToString(text);
    }
    for (int low = 0; low < 256; ++low) { // among so many other bytes only a separator is enough
        const bool separates = low == '\n' || low == ' ' || low == '\t' || low == ',' || low == '.';
        EXPECT_EQ(accepts(IsUnicodeBE, string(32, '\x80') + string{'\0', static_cast<char>(low)}), separates) << low;
        EXPECT_EQ(accepts(IsUnicodeLE, string{static_cast<char>(low), '\0'} + string(32, '\x80')), separates) << low;
    }
}

TEST(Identification, NoTextAndNotices) {
    const uint8_t marks[] = {0xFE, 0xFF, 0xFE};
    for (const auto &[test, codeType] : plain::cascade) {
        takeLines();
        EXPECT_EQ(test(nullptr, 0) + test(nullptr, -1) + test(marks, 0) + test(marks, INT32_MIN), -4);
        EXPECT_EQ(test(nullptr, 5), test == IsCp1256 ? 0 : -1) << codeType; // it has nothing to read
        const bool logs = codeType == 18 || codeType == 19 || codeType == 21 || codeType == 22;
        EXPECT_EQ(takeLines("detector_identification.cpp:"), Lines(logs ? 5 : 0, failure("invalid param!")))
            << codeType;
    }
    EXPECT_EQ(IsUnicodeBE(marks, 3) + IsUnicodeLE(marks + 1, 2), 0);
    EXPECT_EQ(takeLines(), (Lines{"4 IsUnicodeBE, ret 0x0 \n", "4 IsUnicodeLE, ret 0x0 \n"}));
}

// Longer than a percentage in 32 bits could bear.
TEST(Identification, VeryLongText) {
    string text(22'000'001, '\xA9');
    for (const int last : {0xA9, 0x98}) {
        text.back() = static_cast<char>(last);
        for (const auto &[test, codeType] : plain::cascade) {
            const bool refusesAll = test == IsUnicodeBE || test == IsUnicodeLE || test == IsIso8859_1;
            EXPECT_EQ(accepts(test, text), !refusesAll && knows(codeType, 0xA9) && knows(codeType, last)) << codeType;
        }
    }
    for (size_t i = 0; i < 4'000'000; ++i) // in little endian 18 per cent of the bytes are in ASCII units
        text[i] = "A"[i % 2];
    EXPECT_TRUE(accepts(IsUnicodeLE, text) && !accepts(IsUnicodeBE, text));
}

} // namespace
