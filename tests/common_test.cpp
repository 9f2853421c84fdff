#include "support/conversion.h"
#include "support/recording_utils.h"

#include <cstdlib>
#include <cstring>
#include <tuple>

using namespace recording;
using std::string;

namespace {

TEST(Log, LevelsOfTheHost) {
    const int32_t levels[][2] = {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 6}, {6, 5}, {0, 5}, {-1, 5}, {99, 5}};
    for (const auto &[level, host] : levels)
        EXPECT_EQ(CHARSET_GetLoglevel(level), host) << level;
}

TEST(Log, Lines) {
    const string f2040(2040, 'f'), f2041(2041, 'f'), f3000(3000, 'f');
    const string folder = "d/" + f3000, stamp = "03:04:05.007]: [";
    const std::tuple<bool, int32_t, const char *, const char *, int32_t, string> cases[] = {
        {true, 2, "a.cpp", "x", -1, "2 [" + stamp + "a.cpp:17] x, ret 0xffffffff \n"},
        {true, 4, "/s.d/a.cpp", "9%s", 0, "4 [" + stamp + "a.cpp:17] 9%s, ret 0x0 \n"},
        {true, 5, "d/a.cpp", nullptr, 26, "6 [" + stamp + "a.cpp:17] , ret 0x1a \n"},
        {true, 2, nullptr, "x", -1, ""},
        {true, 0, "a.cpp", "x", -1, ""},
        {false, 5, "d/a.cpp", "x\n", 8, "6 [" + stamp + "a.cpp:17] 8x\n"},
        {false, 2, "a.cpp", "9%s", 8, "2 [" + stamp + "a.cpp:17] 89%s"},
        {false, 0, "a.cpp", "x", 8, ""},
        {false, 2, "a.cpp", f3000.c_str(), 8, "2 [" + stamp + "a.cpp:17] 8" + string(2047 - 12, 'f')},
        // A file name that leaves room for one character, for none, and that has itself to be cut.
        {false, 2, f2040.c_str(), "x", 8, "2 [" + stamp + f2040 + ":17] 8"},
        {false, 2, f2041.c_str(), "x", 8, "2 [" + stamp + f2041 + ":17] "},
        {false, 2, folder.c_str(), "x", 8, "2 [" + stamp + string(2046, 'f')}};
    for (const auto &[line, shown] : {std::pair(-1, "-1"),
                                      {-1234567890, "-1234567890"},
                                      {INT32_MIN, "-2147483648"},
                                      {INT32_MAX, "2147483647"},
                                      {0, "0"}}) {
        CHARSET_DBG_Printf(2, "a", line, "", 0);
        CHARSET_Printf(2, "a", line, ".");
        const string place = "Vemora-CharsetMGR/2 [" + stamp + "a:" + shown + "] ";
        EXPECT_EQ(takeWhole(), (Lines{place + ", ret 0x0 \n", place + "."}));
    }
    for (const auto &[withCode, level, file, text, number, expected] : cases) {
        const int before = flushes();
        if (withCode)
            CHARSET_DBG_Printf(level, file, 17, text, number);
        else
            CHARSET_Printf(level, file, 17, "%d%s", number, text);
        EXPECT_EQ(takeWhole(), expected.empty() ? Lines{} : Lines{"Vemora-CharsetMGR/" + expected});
        EXPECT_EQ(flushes() - before, withCode || expected.empty() ? 0 : 1);
    }
}

TEST(Memory, GrowsWithZeros) {
    EXPECT_EQ(CHARSET_MALLOCZ(0), nullptr);
    for (const uint32_t oldSize : {0U, 8U}) {
        for (const uint32_t newSize : {0U, 4U, 8U, 9U, 16U, 100U}) { // the last one cannot be had
            string content = string("abcdefgh").substr(0, oldSize);
            std::free(std::memset(std::malloc(16), 0xFF, 16)); // so that a fresh block is not zero by chance
            void *const old = CHARSET_MALLOCZ(oldSize);
            content.copy(static_cast<char *>(old), oldSize);
            failMalloc(newSize == 100 ? 1 : 0);
            void *const block = CHARSET_REALLOC(old, oldSize, newSize);
            const bool has = newSize < 100 && oldSize + newSize > 0;
            EXPECT_TRUE(liveBlocks() == (has ? 1 : 0) && (block != nullptr) == has) << oldSize << " to " << newSize;
            EXPECT_TRUE(newSize > oldSize || block == old);
            content.resize(std::max(oldSize, newSize));
            EXPECT_TRUE(!has || std::memcmp(block, content.data(), content.size()) == 0) << newSize;
            std::free(block);
        }
    }
    failMalloc(0);
}

TEST(Utf8, EncodesEveryLength) {
    // clang-format off
    const std::pair<uint32_t, const char *> cases[] = {
        {0, "00"}, {0x7F, "7F"}, {0x80, "C280"}, {0x7FF, "DFBF"}, {0x800, "E0A080"}, {0xD800, "EDA080"},
        {0xFFFF, "EFBFBF"}, {0x10000, "F0908080"}, {0x1FFFFF, "F7BFBFBF"}, {0x200000, "F888808080"},
        {0x3FFFFFF, "FBBFBFBFBF"}, {0x4000000, "FC8480808080"}, {0x7FFFFFFF, "FDBFBFBFBFBF"},
        {0x80000000, "FE8080808080"}, {0xFFFFFFFF, "FFBFBFBFBFBF"}};
    // clang-format on
    for (const auto &[codePoint, hex] : cases) {
        string out(8, 'Z');
        const int32_t length = ZU_CHARSET_UNICODEToUTF8code(codePoint, reinterpret_cast<uint8_t *>(out.data()));
        EXPECT_EQ(out, (fromHex(hex) + "ZZZZZZZZ").substr(0, 8)) << codePoint;
        EXPECT_TRUE(2 * length == static_cast<int32_t>(strlen(hex)) && ZU_CHARSET_TestUnicode_Len(codePoint) == length);
    }
    EXPECT_TRUE(ZU_CHARSET_GetMinCodetype() == 1 && ZU_CHARSET_GetMaxCodetype() == 33);
}

} // namespace
