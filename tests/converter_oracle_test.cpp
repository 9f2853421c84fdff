// Every byte and every pair of bytes against the C library's iconv. Where iconv has no tables, as under emulation, the
// digests stand in: they are of outputs that iconv has confirmed.
#include "support/conversion.h"
#include "support/recording_utils.h"

#include <iconv.h>

using std::string;

namespace {

const string REPLACEMENT = "\xEF\xBF\xBD";

// clang-format off
const struct Encoding { int32_t type; const char *name; } encodings[] = {
    {3, "ISO-8859-1"}, {4, "ISO-8859-2"}, {5, "ISO-8859-3"}, {6, "ISO-8859-4"}, {7, "ISO-8859-5"}, {8, "ISO-8859-6"},
    {9, "ISO-8859-7"}, {10, "ISO-8859-8"}, {11, "ISO-8859-9"}, {12, "ISO-8859-10"}, {13, "ISO-8859-11"},
    {14, "ISO-8859-13"}, {15, "ISO-8859-14"}, {16, "ISO-8859-15"}, {17, "ISO-8859-16"}, {21, "CP1250"}, {22, "CP1251"},
    {23, "CP1252"}, {24, "CP1253"}, {25, "CP1254"}, {26, "CP1255"}, {27, "CP1256"}, {28, "CP1257"}, {29, "CP1258"},
    {30, "CP874"}, {18, "UTF-16LE"}, {19, "UTF-16BE"}, {20, "GB18030"}, {33, "UHC"}, {1, "BIG5"}};
// FNV-1a of all outputs, each ended by the number of bytes consumed.
constexpr uint64_t DIGEST = 10017730132707401045u;

// Where the converters mean to differ from iconv: the code point of the first code, which rises with the codes unless
// it is U+FFFD.
const struct { int32_t type; uint32_t first, last, codePoint; } differences[] = {
    // Single bytes that iconv reads otherwise or not at all.
    {20, 0x80, 0x80, 0x4F2C}, {1, 0x80, 0x80, 0xFE65}, {33, 0x80, 0x80, 0xFE65}, {33, 0xFF, 0xFF, 0xFFFD},
    // GBK gives Private Use code points to what code page 936 leaves undefined; GB 18030 has assigned some since.
    {20, 0xA2E3, 0xA2E3, 0xE76C}, {20, 0xA6D9, 0xA6DF, 0xE78D}, {20, 0xA6EC, 0xA6ED, 0xE794}, {20, 0xA6F3, 0xA6F3, 0xE796},
    {20, 0xA8BC, 0xA8BC, 0xE7C7}, {20, 0xA8BF, 0xA8BF, 0xE7C8}, {20, 0xA989, 0xA995, 0xE7E7}, {20, 0xFE50, 0xFE7E, 0xE815},
    {20, 0xFE80, 0xFEA0, 0xE844},
    // The user-defined rows of code page 949.
    {33, 0xC9A1, 0xC9FE, 0xE000}, {33, 0xFEA1, 0xFEFE, 0xE05E},
    // Big5 without the euro sign, the extensions of code page 950 and some duplicates, with older meanings of symbols.
    {1, 0xA145, 0xA145, 0x2022}, {1, 0xA14E, 0xA14E, 0xFF64}, {1, 0xA15A, 0xA15A, 0xFFFD}, {1, 0xA1C2, 0xA1C2, 0x203E},
    {1, 0xA1C3, 0xA1C3, 0xFFFD}, {1, 0xA1C5, 0xA1C5, 0xFFFD}, {1, 0xA1E3, 0xA1E3, 0x223C}, {1, 0xA1F2, 0xA1F2, 0x2641},
    {1, 0xA1F3, 0xA1F3, 0x2609}, {1, 0xA1FE, 0xA1FE, 0xFFFD}, {1, 0xA240, 0xA240, 0xFFFD}, {1, 0xA241, 0xA241, 0xFF0F},
    {1, 0xA242, 0xA242, 0xFF3C}, {1, 0xA244, 0xA244, 0x00A5}, {1, 0xA246, 0xA247, 0x00A2}, {1, 0xA2CC, 0xA2CC, 0xFFFD},
    {1, 0xA2CE, 0xA2CE, 0xFFFD}, {1, 0xA3E1, 0xA3E1, 0xFFFD}, {1, 0xC7FD, 0xC8FE, 0xFFFD}, {1, 0xF9D6, 0xF9FE, 0xFFFD},
    // Big5 with kana, Cyrillic and numbers in C6A1 to C7FC, which iconv has in the Private Use Area.
    {1, 0xC6A1, 0xC6A1, 0x30FE}, {1, 0xC6A2, 0xC6A3, 0x309D}, {1, 0xC6A4, 0xC6A4, 0x3005}, {1, 0xC6A5, 0xC6F7, 0x3041},
    {1, 0xC6F8, 0xC6FE, 0x30A1}, {1, 0xC740, 0xC77E, 0x30A8}, {1, 0xC7A1, 0xC7B0, 0x30E7}, {1, 0xC7B1, 0xC7B2, 0x0414},
    {1, 0xC7B3, 0xC7B3, 0x0401}, {1, 0xC7B4, 0xC7BA, 0x0416}, {1, 0xC7BB, 0xC7CD, 0x0423}, {1, 0xC7CE, 0xC7CE, 0x0451},
    {1, 0xC7CF, 0xC7E8, 0x0436}, {1, 0xC7E9, 0xC7F2, 0x2460}, {1, 0xC7F3, 0xC7FC, 0x2474}};
// clang-format on

string utf8(uint32_t codePoint) {
    uint8_t bytes[8];
    return {bytes, bytes + ZU_CHARSET_UNICODEToUTF8code(codePoint, bytes)};
}

bool isWide(const Encoding &encoding) { return encoding.type == 18 || encoding.type == 19; }

// What one code gives, by the differences and else by iconv.
string character(const Encoding &encoding, iconv_t descriptor, string code) {
    char out[16], *from = code.data(), *to = out;
    size_t left = code.size(), room = sizeof out;
    iconv(descriptor, nullptr, nullptr, nullptr, nullptr);
    const bool known = iconv(descriptor, &from, &left, &to, &room) == 0;
    iconv(descriptor, nullptr, nullptr, &to, &room);
    const uint32_t first = static_cast<uint8_t>(code[0]), last = static_cast<uint8_t>(code.back());
    const uint32_t number = code.size() == 1 ? first : first << 8 | last;
    for (const auto &row : differences) {
        if (row.type == encoding.type && number >= row.first && number <= row.last) {
            const string meant = utf8(row.codePoint == 0xFFFD ? 0xFFFD : row.codePoint + number - row.first);
            EXPECT_FALSE(known && string(out, to) == meant) << encoding.name << " no longer differs: " << number;
            return meant;
        }
    }
    if (known)
        return {out, to};
    if (isWide(encoding)) // a surrogate, which is encoded by itself
        return utf8(encoding.type == 19 ? number : last << 8 | first);
    return code.size() == 2 || (encoding.type >= 8 && encoding.type <= 10) ? REPLACEMENT : "";
}

Converted expected(const Encoding &encoding, iconv_t descriptor, const string &in) {
    const auto lead = static_cast<uint8_t>(in[0]), trail = static_cast<uint8_t>(in.back());
    const uint32_t firstLead = encoding.type == 1 ? 0xA1 : encoding.type == 20 || encoding.type == 33 ? 0x81 : 0xFF;
    const bool isLead = lead >= firstLead && lead < 0xFF;
    const bool isTrail = encoding.type == 33 || (trail >= 0x40 && trail != 0x7F && trail != 0xFF &&
                                                 (encoding.type == 20 || trail < 0x7F || trail > 0xA0));
    if (isWide(encoding) || (isLead && isTrail && in.size() == 2))
        return {0, character(encoding, descriptor, in), 2};
    if (isLead && in.size() == 1)
        return {0, "", 0};
    const string first = isLead ? REPLACEMENT : character(encoding, descriptor, in.substr(0, 1));
    const Converted rest = in.size() == 2 ? expected(encoding, descriptor, in.substr(1)) : Converted{0, "", 0};
    return {0, first + rest.output, 1 + rest.consumed};
}

TEST(ConverterOracle, EveryByteAndPair) {
    bool compared = true;
    uint64_t digest = 0xCBF29CE484222325;
    for (const Encoding &encoding : encodings) {
        const Handle handle(converterOf(encoding.type));
        const iconv_t descriptor = iconv_open("UTF-8", encoding.name);
        compared = compared && descriptor != reinterpret_cast<iconv_t>(-1);
        string text, whole;
        for (uint32_t code = isWide(encoding) ? 256 : 0; code < 256 + 65536; ++code) {
            string in(1, static_cast<char>(code));
            if (code >= 256)
                in.insert(0, 1, static_cast<char>((code - 256) >> 8));
            const Converted got = handle.convert(encoding.type, in);
            for (const char byte : got.output + static_cast<char>(got.consumed))
                digest = (digest ^ static_cast<uint8_t>(byte)) * 0x100000001B3;
            text += got.consumed == in.size() ? in : "";
            whole += got.consumed == in.size() ? got.output : "";
            if (compared) {
                const Converted meant = expected(encoding, descriptor, in);
                ASSERT_EQ(got.output, meant.output) << encoding.name << " " << code;
                ASSERT_EQ(got.consumed, meant.consumed) << encoding.name << " " << code;
            }
        }
        EXPECT_EQ(handle.convert(encoding.type, text).output, whole) << encoding.name << " in one piece";
        recording::takeLines();
        if (compared)
            iconv_close(descriptor);
    }
    EXPECT_EQ(digest, DIGEST);
#ifdef __arm__
    if (!compared)
        GTEST_SKIP() << "no iconv tables here: the outputs were compared with their digest only";
#endif
    EXPECT_TRUE(compared);
}

} // namespace
