#pragma once

#include "zutext.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace zucli {

inline constexpr int32_t kUtf8 = 2;
inline constexpr int32_t kUtf16LittleEndian = 18;
inline constexpr int32_t kGbk = 20;

std::span<const zutext_encoding> allEncodings();

// "GBK", or "encoding 31" for a number without a name.
std::string nameOf(int32_t encoding);

bool hasTrait(int32_t encoding, uint32_t trait);

// The user's choice of an encoding.
struct NamedEncoding {
    int32_t id;
    bool markOpen; // "utf-16" without a byte order: a byte order mark decides
};

// Takes a number, a name or an alias; "//TRANSLIT" and the like behind it, iconv's habit, do not count. A name that
// nothing has, or an encoding that is not converted, is a usage error that helps on.
NamedEncoding parseEncoding(const std::string &name);

// The command of another tool that converts an encoding: "iconv -f KOI8-R -t UTF-8 converts it".
std::string otherTool(int32_t encoding);

// Checks a list of encodings and languages. An unknown name is a usage error; `origin` says where the list stands.
void checkPreferences(const std::string &list, std::string_view origin);

} // namespace zucli
