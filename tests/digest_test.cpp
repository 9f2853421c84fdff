// One digest over what the library answers to a large fixed set of inputs. It must be the same on every target.
#include "support/conversion.h"
#include "support/plain_detector.h"
#include "support/recording_utils.h"

#include <random>

namespace {

// Written down after x86-64 and 32-bit ARM had been seen to agree on it. The answers themselves are held against other
// sources by the other tests; a change of this value is a change of answers and wants a reason.
constexpr uint64_t EXPECTED = 0xDD425A1AF95CFEE3;
constexpr size_t EXPECTED_BYTES = 2098121; // of input, to each operation

struct Fnv1a {
    uint64_t value = 0xCBF29CE484222325;

    void add(std::string_view bytes) {
        for (const char byte : bytes)
            value = (value ^ static_cast<uint8_t>(byte)) * 0x100000001B3;
    }
    void add(int32_t number) {
        for (int shift = 0; shift < 32; shift += 8)
            value = (value ^ (static_cast<uint32_t>(number) >> shift & 0xFF)) * 0x100000001B3;
    }
};

// Runs of ASCII between runs of pairs from two ranges of bytes, the first four of the kind.
std::string mixture(const std::string &kind, size_t size, std::mt19937 &random) {
    const auto byteIn = [&](size_t at) {
        const auto low = static_cast<uint8_t>(kind[at]), high = static_cast<uint8_t>(kind[at + 1]);
        return static_cast<char>(low + random() % (high - uint32_t{low} + 1));
    };
    std::string text;
    while (text.size() < size) {
        for (auto i = random() % 41; i > 0; --i)
            text += {byteIn(0), byteIn(2)};
        if (random() % 4 == 0)
            text.append(random() % 31, ' ');
    }
    return text.substr(0, size);
}

TEST(Digest, IsTheSameOnEveryTarget) {
    Fnv1a digest;
    std::mt19937 random{7};
    size_t bytes = 0;
    ZU_CHARSET_HANDLE detection = nullptr;
    EXPECT_EQ(g_stCharset_entry.pfnConverterFind(2, 2) + g_stCharset_entry.pfnDetectorCreate(&detection, 0), 0);
    const auto add = [&](const std::string &text) {
        const auto *input = reinterpret_cast<const uint8_t *>(text.data());
        const auto size = static_cast<int32_t>(text.size());
        bytes += text.size();
        int32_t type = -7;
        digest.add(g_stCharset_entry.pfnDetectorIdentStream(detection, input, size, 0, &type));
        digest.add(type);
        for (const plain::CascadeRow &row : plain::cascade)
            digest.add(row.test(input, size));
        const Handle conversion(g_stCharset_entry);
        for (int32_t source = 0; source <= 34; ++source) {
            for (const size_t capacity : {text.size(), 3 * text.size()}) {
                const Converted converted = conversion.convert(source, text, capacity);
                digest.add(converted.result);
                digest.add(converted.result == 0 ? static_cast<int32_t>(converted.consumed) : -1);
                digest.add(converted.output);
            }
            recording::takeWhole();
        }
    };
    // Plain text, high bytes, any bytes, pairs of each encoding, halves of four-byte codes, UTF-8, UTF-16, escapes.
    for (const std::string &kind :
         plain::fromHex("207E207E, 80FF80FF, 00FF00FF, B0F7A1FE, A4C640FF, 81FE40FF, 819F40FC, "
                        "81FE3039, C0DF80BF, 20FE0000, 00004EFF, 1B2824FF, 7B7E2177")) {
        for (size_t size = 1; size <= 70; ++size)
            add(mixture(kind, size, random));
        for (const size_t size : {999U, 1024U, 4095U, 120000U})
            add(mixture(kind, size, random));
    }
    for (const std::string &unit :
         plain::fromHex("E4B8AD, E4B8ADC3A9F09F9880, C4E3BAC3, A7DAA640, BEC8B3E7, 4E2D, 2D4E, "
                        "CFF0E8E2E5F220, 7E7B30217E7D, 1B2429413021, C4E3*200 E4B8AD")) {
        for (const size_t times : {1U, 2U, 3U, 22U, 65U, 3000U}) {
            std::string text;
            for (size_t i = 0; i < times && text.size() < 30000; ++i)
                text += unit;
            add(text);
            add("\xFF" + text + "\x81");
        }
    }
    for (uint32_t unicode = 0; unicode < 0xFFFF0000; unicode += 1 + unicode / 97) {
        uint8_t sequence[6] = {};
        digest.add(ZU_CHARSET_UNICODEToUTF8code(unicode, sequence));
        digest.add({reinterpret_cast<const char *>(sequence), 6});
        digest.add(ZU_CHARSET_TestUnicode_Len(unicode));
    }
    EXPECT_EQ(g_stCharset_entry.pfnDetectorClose(detection), 0);
    EXPECT_EQ(bytes, EXPECTED_BYTES);
    EXPECT_EQ(digest.value, EXPECTED) << std::hex << digest.value;
}

} // namespace
