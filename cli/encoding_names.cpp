#include "encoding_names.h"

#include "errors.h"
#include "zucharset.h"

#include <algorithm>
#include <array>

namespace zucli {

namespace {

constexpr std::array<Encoding, 31> kEncodings = {{
    {1, "Big5", "cp950 ms950 windows-950 950 big-five cn-big5", "Chinese, traditional", true, nullptr},
    {2, "UTF-8", "u8 unicode-1-1-utf-8 cp65001 65001 ascii us-ascii", "Unicode, plain ASCII", true, nullptr},
    {3, "ISO-8859-1", "latin1 l1 8859-1 iso-ir-100 cp28591", "Western European", false, IsIso8859_1},
    {4, "ISO-8859-2", "latin2 l2 8859-2 iso-ir-101 cp28592", "Central European", false, IsIso8859_2},
    {5, "ISO-8859-3", "latin3 l3 8859-3 iso-ir-109 cp28593", "South European, Maltese", true, IsIso8859_3},
    {6, "ISO-8859-4", "latin4 l4 8859-4 iso-ir-110 cp28594", "North European", false, IsIso8859_4},
    {7, "ISO-8859-5", "cyrillic 8859-5 iso-ir-144 cp28595", "Cyrillic", false, IsIso8859_5},
    {8, "ISO-8859-6", "arabic 8859-6 asmo-708 ecma-114 iso-ir-127 cp28596", "Arabic", true, IsIso8859_6},
    {9, "ISO-8859-7", "greek 8859-7 elot-928 ecma-118 iso-ir-126 cp28597", "Greek", true, IsIso8859_7},
    {10, "ISO-8859-8", "hebrew 8859-8 iso-ir-138 iso-8859-8-i cp28598", "Hebrew", true, IsIso8859_8},
    {11, "ISO-8859-9", "latin5 l5 8859-9 iso-ir-148 cp28599", "Turkish", false, IsIso8859_9},
    {12, "ISO-8859-10", "latin6 l6 8859-10 iso-ir-157", "Nordic", false, IsIso8859_10},
    {13, "ISO-8859-11", "tis-620 8859-11 iso-ir-166", "Thai", true, IsIso8859_11},
    {14, "ISO-8859-13", "latin7 l7 8859-13 iso-ir-179 cp28603", "Baltic", false, IsIso8859_13},
    {15, "ISO-8859-14", "latin8 l8 8859-14 iso-ir-199 iso-celtic", "Celtic", false, IsIso8859_14},
    {16, "ISO-8859-15", "latin9 l9 8859-15 latin0 iso-ir-203 cp28605", "Western European with euro", false,
     IsIso8859_15},
    {17, "ISO-8859-16", "latin10 l10 8859-16 iso-ir-226", "South-Eastern European", true, IsIso8859_16},
    {18, "UTF-16LE", "utf-16 ucs-2 unicode ucs-2le ucs16le unicodelittle cp1200 1200", "Unicode, little endian", true,
     nullptr},
    {19, "UTF-16BE", "ucs-2be ucs16be unicodebig cp1201 1201", "Unicode, big endian", true, nullptr},
    {20, "GBK", "cp936 ms936 windows-936 936 gb2312 euc-cn gb-2312-80 cn-gb", "Chinese, simplified", true, nullptr},
    {21, "Windows-1250", "cp1250 win1250 ms1250 1250", "Central European", true, IsCp1250},
    {22, "Windows-1251", "cp1251 win1251 ms1251 1251", "Cyrillic", true, IsCp1251},
    {23, "Windows-1252", "cp1252 win1252 ms1252 1252 ansi", "Western European", true, IsCp1252},
    {24, "Windows-1253", "cp1253 win1253 ms1253 1253", "Greek", true, IsCp1253},
    {25, "Windows-1254", "cp1254 win1254 ms1254 1254", "Turkish", true, IsCp1254},
    {26, "Windows-1255", "cp1255 win1255 ms1255 1255", "Hebrew", true, IsCp1255},
    {27, "Windows-1256", "cp1256 win1256 ms1256 1256", "Arabic, Persian", true, IsCp1256},
    {28, "Windows-1257", "cp1257 win1257 ms1257 1257", "Baltic", true, IsCp1257},
    {29, "Windows-1258", "cp1258 win1258 ms1258 1258", "Vietnamese", true, IsCp1258},
    {30, "Windows-874", "cp874 win874 ms874 874 thai", "Thai", true, IsCp874},
    {33, "CP949", "uhc ms949 windows-949 949 euc-kr ks-c-5601-1987 ksc5601 ks-c-5601 ks-x-1001 korean", "Korean", true,
     nullptr},
}};

std::string foldName(std::string_view name) {
    std::string folded;
    for (const char c : name) {
        if (c == '-' || c == '_' || c == ' ') {
            continue;
        }
        folded += (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return folded;
}

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> parts;
    while (!text.empty()) {
        const size_t end = std::min(text.find(separator), text.size());
        if (end > 0) {
            parts.emplace_back(text.substr(0, end));
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts;
}

std::vector<std::string> namesOf(const Encoding &encoding) {
    std::vector<std::string> names = split(encoding.aliases, ' ');
    names.emplace(names.begin(), encoding.name);
    return names;
}

// The number of typing slips between two names: a wrong, missing or extra character, or two in the wrong order.
size_t slipsBetween(std::string_view a, std::string_view b) {
    std::vector<std::vector<size_t>> slips(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); ++i) {
        for (size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                slips[i][j] = i + j;
                continue;
            }
            const size_t wrong = slips[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            slips[i][j] = std::min({wrong, slips[i - 1][j] + 1, slips[i][j - 1] + 1});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                slips[i][j] = std::min(slips[i][j], slips[i - 2][j - 2] + 1);
            }
        }
    }
    return slips[a.size()][b.size()];
}

std::string nearestNames(const std::string &folded) {
    constexpr size_t kMostNames = 3;
    const size_t farthest = std::max<size_t>(1, folded.size() / 3);
    std::vector<std::pair<size_t, std::string>> near;
    for (const Encoding &encoding : kEncodings) {
        for (const std::string &name : namesOf(encoding)) {
            if (const size_t d = slipsBetween(folded, foldName(name)); d <= farthest) {
                near.emplace_back(d, name);
            }
        }
    }
    std::stable_sort(near.begin(), near.end(), [](const auto &a, const auto &b) { return a.first < b.first; });
    std::string list;
    for (size_t i = 0; i < std::min(near.size(), kMostNames); ++i) {
        list += (i == 0 ? "" : ", ") + near[i].second;
    }
    return list;
}

} // namespace

std::span<const Encoding> allEncodings() { return kEncodings; }

const Encoding *findByCodeType(int32_t codeType) {
    const auto *found = std::find_if(kEncodings.begin(), kEncodings.end(),
                                     [codeType](const Encoding &encoding) { return encoding.codeType == codeType; });
    return found == kEncodings.end() ? nullptr : found;
}

std::string nameOf(int32_t codeType) {
    const Encoding *encoding = findByCodeType(codeType);
    return encoding != nullptr ? std::string(encoding->name) : "code type " + std::to_string(codeType);
}

NamedEncoding parseEncoding(std::string_view text) {
    const std::string folded = foldName(text);
    for (const Encoding &encoding : kEncodings) {
        if (folded == std::to_string(encoding.codeType)) {
            return {encoding.codeType, false};
        }
        for (const std::string &name : namesOf(encoding)) {
            if (folded == foldName(name)) {
                return {encoding.codeType, folded == "utf16" || folded == "ucs2" || folded == "unicode"};
            }
        }
    }
    std::string message = "unknown encoding '" + std::string(text) + "'";
    if (const std::string near = nearestNames(folded); !near.empty()) {
        message += "; did you mean " + near + "?";
    }
    throw CommandError(kExitUsage, message + " ('zucharset list' shows every encoding)");
}

std::vector<int32_t> parsePreferences(std::string_view list) {
    std::vector<int32_t> codeTypes;
    for (const std::string &name : splitList(list)) {
        const Encoding *encoding = findByCodeType(parseEncoding(name).codeType);
        if (encoding->test == nullptr) {
            throw CommandError(kExitUsage, "--prefer takes single-byte encodings, and " + std::string(encoding->name) +
                                               " is none; use --from to force it");
        }
        codeTypes.push_back(encoding->codeType);
    }
    return codeTypes;
}

std::vector<std::string> splitList(std::string_view list) { return split(list, ','); }

bool isUnicode(int32_t codeType) {
    return codeType == ZU_CHARSET_CODETYPE_UTF8 || codeType == ZU_CHARSET_CODETYPE_UCS16LE ||
           codeType == ZU_CHARSET_CODETYPE_UCS16BE;
}

bool isSingleByte(int32_t codeType) {
    const Encoding *encoding = findByCodeType(codeType);
    return encoding != nullptr && encoding->test != nullptr;
}

} // namespace zucli
