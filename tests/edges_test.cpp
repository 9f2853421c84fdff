// Buffers at the edges of mapped memory, at every alignment, and as long as a length can say.
#include "support/conversion.h"
#include "support/plain_detector.h"
#include "support/recording_utils.h"
#include "support/vast_text.h"

#include <climits>
#include <sys/mman.h>
#include <tuple>

using std::string;

namespace {

constexpr size_t LONGEST = 300;
constexpr size_t PAGES = 1 << 16; // a multiple of every page size in use

// Memory between two stretches that nobody may touch.
struct Island {
    uint8_t *const first =
        PAGES + static_cast<uint8_t *>(mmap(nullptr, 3 * PAGES, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    uint8_t *const end = first + PAGES;

    Island() { EXPECT_EQ(mprotect(first, PAGES, PROT_READ | PROT_WRITE), 0); }
    ~Island() { munmap(first - PAGES, 3 * PAGES); }
    Island(const Island &) = delete;
};

// Plain text, pairs, every byte, UTF-8, nothing but FF, and escapes.
std::vector<string> patterns() {
    std::vector<string> patterns = plain::fromHex("61*300, B0A1*150, 61C3A9E4B8ADF09F9880*30, FF*300, "
                                                  "7E7B30217E7D1B24294130211B2442*20");
    patterns.emplace_back();
    for (unsigned i = 0; i < LONGEST; ++i)
        patterns.back() += static_cast<char>(i * 37 + 11);
    return patterns;
}

const uint8_t *copyTo(uint8_t *place, std::string_view text) {
    std::copy(text.begin(), text.end(), place);
    return place;
}

TEST(Edges, ConversionsTouchNothingElse) {
    const Island input, output;
    for (int32_t type = 1; type <= 33; ++type) {
        if (type == 31 || type == 32)
            continue;
        const Handle handle(converterOf(type));
        const auto check = [&](std::string_view text, size_t capacity, uint8_t *in, uint8_t *out) {
            const Converted expected = handle.convert(type, text, capacity);
            auto written = static_cast<int32_t>(capacity);
            uint32_t consumed = 0xABCD;
            ASSERT_EQ(handle.record.pfnConverterConvStream(handle.handle, copyTo(in, text),
                                                           static_cast<int32_t>(text.size()), out, &written, type, 2,
                                                           &consumed),
                      text.empty() ? -1 : 0);
            ASSERT_EQ(consumed, expected.consumed);
            ASSERT_EQ(text.empty() ? "" : string(out, out + written), expected.output) << type << " " << text.size();
        };
        for (const string &pattern : patterns()) {
            for (size_t size = 0; size <= LONGEST; ++size) {
                const std::string_view text(pattern.data(), size);
                for (const size_t capacity : {size, 3 * size})
                    ASSERT_NO_FATAL_FAILURE(check(text, capacity, input.end - size, output.end - (capacity + 1)));
                ASSERT_NO_FATAL_FAILURE(check(text, 2 * size, input.first, output.first));
            }
            for (size_t place = 0; place < 16 * 16; ++place)
                ASSERT_NO_FATAL_FAILURE(
                    check({pattern.data(), 200}, 600, input.first + place % 16, output.first + place / 16));
        }
        recording::takeWhole();
    }
}

TEST(Edges, DetectionTouchesNothingElse) {
    const Island input;
    ZU_CHARSET_HANDLE host = nullptr;
    EXPECT_EQ(g_stCharset_entry.pfnDetectorCreate(&host, 0), 0);
    const auto answers = [&](const uint8_t *text, size_t size) {
        const auto length = static_cast<int32_t>(size);
        std::vector<int32_t> all(1, -7);
        all.push_back(g_stCharset_entry.pfnDetectorIdentStream(host, text, length, 0, all.data()));
        for (const plain::CascadeRow &row : plain::cascade)
            all.push_back(row.test(text, length));
        recording::takeWhole();
        return all;
    };
    for (const string &pattern : patterns()) {
        for (size_t size = 0; size <= LONGEST; ++size) {
            const std::string_view text(pattern.data(), size);
            std::vector<uint8_t> roomy(64 + size + 64, 'a');
            const auto expected = answers(copyTo(roomy.data() + 64, text), size);
            ASSERT_EQ(answers(copyTo(input.end - size, text), size), expected) << size;
            ASSERT_EQ(answers(copyTo(input.first + size % 16, text), size), expected) << size;
        }
    }
    EXPECT_EQ(g_stCharset_entry.pfnDetectorClose(host), 0);
}

TEST(Edges, NoLengthNoAccess) {
    const Island island;
    const Handle conversion(g_stCharset_entry);
    ZU_CHARSET_HANDLE detection = nullptr;
    EXPECT_EQ(g_stCharset_entry.pfnDetectorCreate(&detection, 0), 0);
    for (const int32_t length : {0, -1, -64, INT32_MIN}) {
        int32_t type = -7, capacity = INT32_MAX;
        uint32_t consumed = 0;
        for (const plain::CascadeRow &row : plain::cascade)
            EXPECT_EQ(row.test(island.end, length), -1);
        EXPECT_EQ(g_stCharset_entry.pfnDetectorIdentStream(detection, island.end, length, 0, &type), -1);
        for (const int32_t source : {1, 2, 5, 18, 20, 21, 33})
            EXPECT_EQ(g_stCharset_entry.pfnConverterConvStream(conversion.handle, island.end, length, island.end,
                                                               &capacity, source, 2, &consumed),
                      -1);
        EXPECT_TRUE(type == -7 && capacity == INT32_MAX);
    }
    EXPECT_EQ(g_stCharset_entry.pfnDetectorClose(detection), 0);
}

class Longest : public testing::Test {
    void SetUp() override {
        if (sizeof(void *) == 4)
            GTEST_SKIP() << "no room for 4 GiB of addresses";
#if defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "the thread sanitizer keeps a shadow of everything read";
#endif
    }
};

TEST_F(Longest, Conversions) {
    const VastText output("-");
    const std::tuple<int32_t, string, uint32_t, int32_t> cases[] = {
        {2, "61", INT32_MAX, INT32_MAX},                    // byte for byte
        {18, "6100", INT32_MAX - 1, INT32_MAX / 2},         // half a unit is left
        {20, "D6D0", INT32_MAX / 3 * 2, INT32_MAX / 3 * 3}, // three bytes for two, until the room is used up
        {23, "E9", INT32_MAX / 2, INT32_MAX - 1},           // two for one
        {7, "C1", INT32_MAX / 2, INT32_MAX - 1},
    };
    for (const auto &[type, unit, consumes, writes] : cases) {
        const VastText input(fromHex(unit));
        const Handle handle(converterOf(type));
        int32_t written = INT32_MAX;
        uint32_t consumed = 0;
        EXPECT_EQ(handle.record.pfnConverterConvStream(handle.handle, input.first, INT32_MAX, output.first, &written,
                                                       type, 2, &consumed),
                  0);
        EXPECT_TRUE(written == writes && consumed == consumes) << type << ": " << written << " of " << consumed;
        EXPECT_EQ(output.first[writes], 0);
    }
}

TEST_F(Longest, Detections) {
    ZU_CHARSET_HANDLE host = nullptr;
    EXPECT_EQ(g_stCharset_entry.pfnDetectorCreate(&host, 0), 0);
    const std::tuple<string, int32_t, int32_t> cases[] = {
        {"C4E3BAC3", INT32_MAX - 3, 20}, {"C3A9", INT32_MAX - 1, 2}, {"61", INT32_MAX, 8}};
    for (const auto &[unit, length, expected] : cases) {
        const VastText input(fromHex(unit));
        int32_t type = 0;
        EXPECT_EQ(g_stCharset_entry.pfnDetectorIdentStream(host, input.first, length, 0, &type), 0);
        EXPECT_EQ(type, expected);
    }
    EXPECT_EQ(g_stCharset_entry.pfnDetectorClose(host), 0);
}

TEST_F(Longest, IdentificationTests) {
#if defined(ZUCHARSET_WITHOUT_VECTORS)
    GTEST_SKIP() << "the same code as with vectors";
#endif
    const VastText eighth("aaaaaaa\xA9"), units(string("a\0", 2)); // one sign in eight bytes
    EXPECT_EQ(IsIso8859_1(eighth.first, INT32_MAX), 0);
    EXPECT_EQ(IsUnicodeLE(units.first, INT32_MAX), 0);
#if !defined(__SANITIZE_ADDRESS__) // the same sums, slow to work out again there
    const VastText fourth("aaa\xA9");
    EXPECT_EQ(IsIso8859_1(fourth.first, INT32_MAX), -1);
    EXPECT_EQ(IsUnicodeBE(units.first + 1, INT32_MAX - 1), 0);
#endif
}

} // namespace
