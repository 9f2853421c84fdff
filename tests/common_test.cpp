#include "support/conversion.h"
#include "support/recording_utils.h"
#include "utf8_kernel.h"

#include <cstdlib>
#include <cstring>
#include <random>
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

// --- Vectors of code points and blocks of UTF-8 against the sequences one by one ---

using namespace zucharset;

string sequences(const std::vector<uint16_t> &units) {
    string text;
    for (const uint16_t unit : units) {
        uint8_t bytes[6];
        text.append(reinterpret_cast<const char *>(bytes),
                    static_cast<size_t>(ZU_CHARSET_UNICODEToUTF8code(unit, bytes)));
    }
    return text;
}

// What a way of writing gives for a vector of code points; nothing behind the margin is touched.
template <class Vector, class Store> string stored(const std::vector<uint16_t> &units, Store store) {
    uint8_t output[3 * 16 + KERNEL_MARGIN + 1];
    std::memset(output, 0xFF, sizeof output);
    Vector vector;
    std::memcpy(&vector, units.data(), sizeof vector);
    const uint8_t *const end = store(output, vector);
    const auto most = 3 * static_cast<int32_t>(units.size()) + KERNEL_MARGIN;
    EXPECT_TRUE(std::all_of(output + most, std::end(output), [](uint8_t byte) { return byte == 0xFF; }));
    return {reinterpret_cast<const char *>(output), static_cast<size_t>(end - output)};
}

template <class Vector> void compareUnits(const std::vector<uint16_t> &units) {
    const string expected = sequences(units);
    ASSERT_EQ(stored<Vector>(units, [](uint8_t *output, Vector v) { return storeSequences(output, v); }), expected);
    if constexpr (sizeof(Vector) == sizeof(VECTOR_U16)) {
        ASSERT_EQ(stored<Vector>(units, [](uint8_t *output, Vector v) { return storePlain(output, v); }), expected);
        const auto storeThrees = [](uint8_t *output, Vector v) {
            storeThreeByteSequences(output, v);
            return output + 24;
        };
        if (HAS_SHUFFLE && expected.size() == 24) {
            ASSERT_EQ(stored<Vector>(units, storeThrees), expected);
        }
    }
}

TEST(Kernel, EveryMixOfWidths) {
    const uint16_t edges[][4] = {{0, 1, '@', 0x7F}, {0x80, 0xBF, 0x400, 0x7FF}, {0x800, 0xFFFF, 0xD800, 0x4E2D}};
    std::mt19937 random{11};
    for (int mix = 0; mix < 3 * 6561; ++mix) { // each way to give eight code points one of three widths
        std::vector<uint16_t> units;
        for (int i = 0, rest = mix; i < 16; ++i, rest = i == 8 ? mix : rest / 3)
            units.push_back(edges[rest % 3][random() % 4]);
        ASSERT_NO_FATAL_FAILURE(compareUnits<WIDE_U16>({units.begin(), units.begin() + WIDE_BYTES / 2}));
        units.resize(8);
        ASSERT_NO_FATAL_FAILURE(compareUnits<VECTOR_U16>(units));
    }
    for (int unit = 0; unit < 0x10000; unit += 8) {
        std::vector<uint16_t> units;
        for (int i = 0; i < 8; ++i)
            units.push_back(static_cast<uint16_t>(unit + i));
        ASSERT_NO_FATAL_FAILURE(compareUnits<VECTOR_U16>(units));
    }
}

// A block that begins a character, and one that goes on with the text before it.
TEST(Kernel, FormOfBlocks) {
    if (!HAS_VECTORS)
        GTEST_SKIP() << "Without vectors there are no fast ways to compare";
    constexpr size_t LEAD = 8;
    std::mt19937 random{12};
    int seen[3] = {};
    for (int i = 0; i < 60000; ++i) {
        string text = sequences(std::vector<uint16_t>(LEAD, '.'));
        while (text.size() < LEAD + TEXT_BLOCK + 6) {
            const auto kind = random() % 8;
            uint8_t bytes[6] = {};
            const uint32_t narrow = i % 2 == 0 ? 0x80 : 0x800;
            const uint32_t limit = i % 8 == 0 || kind < 4 ? narrow : kind < 7 ? 0x10000 : 0x110000;
            const auto unicode = static_cast<uint32_t>(random() % limit);
            text.append(reinterpret_cast<const char *>(bytes),
                        static_cast<size_t>(ZU_CHARSET_UNICODEToUTF8code(unicode, bytes)));
        }
        if (i % 3 == 0) // any byte somewhere, a lead of five bytes now and then
            text[LEAD + random() % TEXT_BLOCK] = static_cast<char>(i % 9 == 0 ? 0xF8 : random());
        const size_t start = LEAD + random() % 4;
        for (const bool goesOn : {false, true}) {
            const size_t first = goesOn ? 0 : start, end = start + TEXT_BLOCK;
            size_t position = first;
            bool wellFormed = true, plain = true;
            while (position < end && wellFormed) {
                const auto lead = static_cast<uint8_t>(text[position]);
                const auto length = static_cast<size_t>(utf8SequenceLength(lead));
                wellFormed = length > 0 && length < 5;
                for (size_t n = 1; n < length && position + n < end; ++n)
                    wellFormed = wellFormed && (static_cast<uint8_t>(text[position + n]) & 0xC0) == 0x80;
                position += wellFormed ? length : 0;
            }
            for (size_t n = start; n < end; ++n)
                plain = plain && static_cast<uint8_t>(text[n]) < 0x80;
            if (goesOn && position < end && position < start)
                continue; // what stands before is flawed itself
            const auto *block = reinterpret_cast<const uint8_t *>(text.data()) + start;
            const FORM_E form = goesOn ? formOf<BEFORE_E::TEXT>(block) : formOf<BEFORE_E::NOTHING>(block);
            ASSERT_EQ(form, !wellFormed ? FORM_E::FLAWED
                            : plain     ? FORM_E::PLAIN
                                        : FORM_E::WELL_FORMED)
                << testing::PrintToString(text) << start << goesOn;
            ++seen[static_cast<int>(form)];
            if (wellFormed) {
                const auto past = static_cast<int32_t>(position - end); // bytes missing of a sequence cut by the end
                const int32_t open = openBytes(block + TEXT_BLOCK);
                ASSERT_TRUE(past == 0 ? open == 0 : open > 0 && open + past <= 4) << past << " " << open;
            }
        }
    }
    EXPECT_TRUE(seen[0] > 1000 && seen[1] > 1000 && seen[2] > 1000) << seen[0] << " " << seen[1] << " " << seen[2];
}

} // namespace
