// Every byte and every pair of bytes against the C library's iconv; where that lacks its tables, against a digest of
// the same answers.
#include "support/conversion.h"
#include "support/recording_utils.h"

#include <iconv.h>
#include <map>
#include <sstream>

using std::string;

namespace {

// clang-format off
// Behind some the first lead byte, and where the converter means to differ from iconv: one or more codes and the code
// point of the first one, which rises with the codes unless it is U+FFFD.
const struct Encoding { int32_t type; const char *name; int firstLead = 0xFF; string differences = ""; } encodings[] = {
    {3, "ISO-8859-1"}, {4, "ISO-8859-2"}, {5, "ISO-8859-3"}, {6, "ISO-8859-4"}, {7, "ISO-8859-5"}, {8, "ISO-8859-6"},
    {9, "ISO-8859-7"}, {10, "ISO-8859-8"}, {11, "ISO-8859-9"}, {12, "ISO-8859-10"}, {13, "ISO-8859-11"},
    {14, "ISO-8859-13"}, {15, "ISO-8859-14"}, {16, "ISO-8859-15"}, {17, "ISO-8859-16"}, {21, "CP1250"}, {22, "CP1251"},
    {23, "CP1252"}, {24, "CP1253"}, {25, "CP1254"}, {26, "CP1255"}, {27, "CP1256"}, {28, "CP1257"}, {29, "CP1258"},
    {30, "CP874"}, {18, "UTF-16LE"}, {19, "UTF-16BE"},
    // GBK gives Private Use code points to what code page 936 leaves undefined; GB 18030 has assigned some since.
    {20, "GB18030", 0x81,
     "80=4F2C A2E3=E76C A6D9-A6DF=E78D A6EC-A6ED=E794 A6F3=E796 A8BC=E7C7 A8BF=E7C8 A989-A995=E7E7 FE50-FE7E=E815 "
     "FE80-FEA0=E844"},
    // The user-defined rows of code page 949; single bytes that iconv reads otherwise or not at all.
    {33, "UHC", 0x81, "80=FE65 FF=FFFD C9A1-C9FE=E000 FEA1-FEFE=E05E"},
    // Big5 without the euro sign, the extensions of code page 950 and some duplicates, with older meanings of symbols,
    // and with kana, Cyrillic and numbers in C6A1 to C7FC, which iconv has in the Private Use Area.
    {1, "BIG5", 0xA1,
     "80=FE65 A145=2022 A14E=FF64 A15A=FFFD A1C2=203E A1C3=FFFD A1C5=FFFD A1E3=223C A1F2=2641 A1F3=2609 A1FE=FFFD "
     "A240=FFFD A241=FF0F A242=FF3C A244=00A5 A246-A247=00A2 A2CC=FFFD A2CE=FFFD A3E1=FFFD C7FD-C8FE=FFFD "
     "F9D6-F9FE=FFFD C6A1=30FE C6A2-C6A3=309D C6A4=3005 C6A5-C6F7=3041 C6F8-C6FE=30A1 C740-C77E=30A8 C7A1-C7B0=30E7 "
     "C7B1-C7B2=0414 C7B3=0401 C7B4-C7BA=0416 C7BB-C7CD=0423 C7CE=0451 C7CF-C7E8=0436 C7E9-C7F2=2460 C7F3-C7FC=2474"}};
// clang-format on

string utf8(uint32_t codePoint) {
    uint8_t bytes[8];
    return {bytes, bytes + ZU_CHARSET_UNICODEToUTF8code(codePoint, bytes)};
}

struct Oracle {
    const Encoding &encoding;
    const bool isWide = encoding.type == 18 || encoding.type == 19;
    const iconv_t descriptor = iconv_open("UTF-8", encoding.name);
    std::map<uint32_t, uint32_t> meant;

    explicit Oracle(const Encoding &which) : encoding(which) {
        std::istringstream rows(encoding.differences);
        rows >> std::hex;
        for (uint32_t code = 0, last = 0, codePoint = 0; rows >> code;) {
            const bool many = rows.get() == '-';
            last = many && rows >> last && rows.get() == '=' ? last : code;
            for (rows >> codePoint; code <= last; ++code, codePoint += codePoint == 0xFFFD ? 0 : 1)
                meant[code] = codePoint;
        }
    }

    // What one code gives, by the differences and else by iconv.
    string character(string code) const {
        char out[16], *from = code.data(), *to = out;
        size_t left = code.size(), room = sizeof out;
        iconv(descriptor, nullptr, nullptr, nullptr, nullptr);
        const bool known = iconv(descriptor, &from, &left, &to, &room) == 0;
        iconv(descriptor, nullptr, nullptr, &to, &room);
        const uint32_t first = static_cast<uint8_t>(code[0]), last = static_cast<uint8_t>(code.back());
        const uint32_t number = code.size() == 1 ? first : first << 8 | last;
        if (const auto row = meant.find(number); row != meant.end()) {
            EXPECT_FALSE(known && string(out, to) == utf8(row->second)) << encoding.name << " agrees on " << number;
            return utf8(row->second);
        }
        if (known)
            return {out, to};
        if (isWide) // a surrogate, which is encoded by itself
            return utf8(encoding.type == 19 ? number : last << 8 | first);
        return code.size() == 2 || (encoding.type >= 8 && encoding.type <= 10) ? utf8(0xFFFD) : "";
    }

    Converted expected(const string &in) const {
        const auto lead = static_cast<uint8_t>(in[0]), trail = static_cast<uint8_t>(in.back());
        const bool isLead = lead >= encoding.firstLead && lead < 0xFF;
        const bool isTrail = encoding.type == 33 || (trail >= 0x40 && trail != 0x7F && trail != 0xFF &&
                                                     (encoding.type == 20 || trail < 0x7F || trail > 0xA0));
        if (isWide || (isLead && isTrail && in.size() == 2))
            return {0, character(in), 2};
        if (isLead && in.size() == 1)
            return {0, "", 0};
        const Converted rest = in.size() == 2 ? expected(in.substr(1)) : Converted{0, "", 0};
        return {0, (isLead ? utf8(0xFFFD) : character(in.substr(0, 1))) + rest.output, 1 + rest.consumed};
    }
};

TEST(ConverterOracle, EveryByteAndPair) {
    uint32_t digest = 0;
    for (const Encoding &encoding : encodings) {
        const Oracle oracle(encoding);
        const Handle handle(converterOf(encoding.type));
        const bool hasTables = oracle.descriptor != reinterpret_cast<iconv_t>(-1);
#if !defined(__arm__) && !defined(__aarch64__)
        ASSERT_TRUE(hasTables) << encoding.name;
#endif
        string text, whole;
        for (uint32_t code = oracle.isWide ? 256 : 0; code < 256 + 65536; ++code) {
            const auto first = static_cast<char>((code - 256) >> 8), last = static_cast<char>(code);
            const string in = code < 256 ? string{last} : string{first, last};
            const Converted got = handle.convert(encoding.type, in);
            for (const char byte : got.output)
                digest = digest * 1000003 + static_cast<uint8_t>(byte);
            digest = digest * 1000003 + got.consumed;
            if (hasTables) {
                const Converted meant = oracle.expected(in);
                ASSERT_EQ(got.output, meant.output) << encoding.name << " " << code;
                ASSERT_EQ(got.consumed, meant.consumed) << encoding.name << " " << code;
            }
            text += got.consumed == in.size() ? in : "";
            whole += got.consumed == in.size() ? got.output : "";
        }
        EXPECT_EQ(handle.convert(encoding.type, text).output, whole) << encoding.name << " in one piece";
        recording::takeLines();
        if (hasTables)
            iconv_close(oracle.descriptor);
    }
    EXPECT_EQ(digest, 3138850126u); // seen with the tables of x86-64
}

} // namespace
