#include "support/conversion.h"
#include "support/recording_utils.h"

#include <cstdlib>
#include <cstring>
#include <tuple>

using namespace recording;
using std::string;

namespace {

TEST(Log, MapsLevelsToTheHost) {
    const int32_t levels[][2] = {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 6}, {6, 5}, {0, 5}, {-1, 5}, {99, 5}};
    for (const auto &[level, host] : levels)
        EXPECT_EQ(CHARSET_GetLoglevel(level), host) << level;
}

TEST(Log, LinesWithAReturnCode) {
    const std::tuple<bool, int32_t, const char *, const char *, int32_t, Lines> cases[] = {
        {true, 2, "a.cpp", "x", -1, {"Vemora-CharsetMGR/2 [03:04:05.007]: [a.cpp:17] x, ret 0xffffffff \n"}},
        {true, 4, "/s.d/a.cpp", "9%s", 0, {"Vemora-CharsetMGR/4 [03:04:05.007]: [a.cpp:17] 9%s, ret 0x0 \n"}},
        {false, 5, "d/a.cpp", nullptr, 26, {"Vemora-CharsetMGR/6 [a.cpp:17] , ret 0x1a \n"}},
        {true, 2, nullptr, "x", -1, {}},
        {true, 0, "a.cpp", "x", -1, {}},
    };
    for (const auto &[timeKnown, level, file, message, code, expected] : cases) {
        setLocalTime(timeKnown);
        CHARSET_DBG_Printf(level, file, 17, message, code);
        EXPECT_EQ(takeWhole(), expected);
    }
}

TEST(Log, FormattedLines) {
    const string f2040(2040, 'f'), f3000(3000, 'f'), prefix = "Vemora-CharsetMGR/2 [";
    const std::tuple<bool, int32_t, string, string, Lines> cases[] = {
        {true, 5, "d/a.cpp", "x\n", {"Vemora-CharsetMGR/6 [03:04:05.007]: [a.cpp:17] 8x\n"}},
        {false, 2, "a.cpp", "9%s", {prefix + "a.cpp:17] 89%s"}},
        {true, 0, "a.cpp", "x", {}},
        {false, 2, "a.cpp", f3000, {prefix + "a.cpp:17] 8" + string(2047 - 12, 'f')}},
        // A file name that leaves room for one character, for none, and that has itself to be cut.
        {false, 2, f2040, "x", {prefix + f2040 + ":17] 8"}},
        {false, 2, f2040 + "f", "x", {prefix + f2040 + "f:17] "}},
        {false, 2, "d/" + f3000, "x", {prefix + string(2046, 'f')}},
    };
    for (const auto &[timeKnown, level, file, text, expected] : cases) {
        const int before = flushes();
        setLocalTime(timeKnown);
        CHARSET_Printf(level, file.c_str(), 17, "%d%s", 8, text.c_str());
        EXPECT_EQ(takeWhole(), expected);
        EXPECT_EQ(flushes() - before, static_cast<int>(expected.size()));
    }
}

TEST(Memory, GrowsWithZeros) {
    EXPECT_EQ(CHARSET_MALLOCZ(0), nullptr);
    const std::tuple<uint32_t, uint32_t, bool> cases[] = {{8, 8, false}, {8, 4, false},  {8, 0, false}, {8, 16, false},
                                                          {8, 9, true},  {0, 16, false}, {0, 16, true}};
    for (const auto &[oldSize, newSize, fails] : cases) {
        SCOPED_TRACE(std::to_string(oldSize) + " to " + std::to_string(newSize));
        const string content = string("abcdefgh").substr(0, oldSize);
        std::free(std::memset(std::malloc(16), 0xFF, 16)); // so that a fresh block is not zero by chance
        void *const old = CHARSET_MALLOCZ(oldSize);
        content.copy(static_cast<char *>(old), oldSize);
        failMalloc(fails ? 1 : 0);
        void *const block = CHARSET_REALLOC(old, oldSize, newSize);
        EXPECT_EQ(liveBlocks(), fails ? 0 : 1);
        EXPECT_EQ(takeWhole(), Lines{});
        ASSERT_EQ(block == nullptr, fails);
        EXPECT_EQ(block == old, newSize <= oldSize || (fails && oldSize == 0));
        const string zeros(newSize > oldSize ? newSize - oldSize : 0, '\0');
        EXPECT_TRUE(fails || std::memcmp(block, (content + zeros).data(), oldSize + zeros.size()) == 0);
        std::free(block);
    }
}

TEST(Utf8, EncodesEveryLength) {
    // clang-format off
    const std::pair<uint32_t, const char *> cases[] = {
        {0, "00"}, {0x7F, "7F"}, {0x80, "C280"}, {0x7FF, "DFBF"}, {0x800, "E0A080"}, {0x20AC, "E282AC"},
        {0xD800, "EDA080"}, {0xFFFD, "EFBFBD"}, {0xFFFF, "EFBFBF"}, {0x10000, "F0908080"}, {0x10FFFF, "F48FBFBF"},
        {0x1FFFFF, "F7BFBFBF"}, {0x200000, "F888808080"}, {0x3FFFFFF, "FBBFBFBFBF"}, {0x4000000, "FC8480808080"},
        {0x7FFFFFFF, "FDBFBFBFBFBF"}, {0x80000000, "FE8080808080"}, {0xFFFFFFFF, "FFBFBFBFBFBF"}};
    // clang-format on
    for (const auto &[codePoint, hex] : cases) {
        string out(8, 'Z');
        const int32_t length = ZU_CHARSET_UNICODEToUTF8code(codePoint, reinterpret_cast<uint8_t *>(out.data()));
        EXPECT_EQ(out, (fromHex(hex) + "ZZZZZZZZ").substr(0, 8)) << codePoint;
        EXPECT_EQ(length, static_cast<int32_t>(string(hex).size() / 2)) << codePoint;
        EXPECT_EQ(ZU_CHARSET_TestUnicode_Len(codePoint), length) << codePoint;
    }
    EXPECT_EQ(ZU_CHARSET_GetMinCodetype(), 1);
    EXPECT_EQ(ZU_CHARSET_GetMaxCodetype(), 33);
}

} // namespace
