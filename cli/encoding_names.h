#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zucli {

using IdentificationTest = int32_t (*)(const uint8_t *, int32_t);

struct Encoding {
    int32_t codeType;
    std::string_view name;
    std::string_view aliases; // separated by spaces
    std::string_view description;
    bool reported;           // can detection answer with it?
    IdentificationTest test; // null unless it is a single-byte encoding
};

// All encodings in the order of their code types.
std::span<const Encoding> allEncodings();

// The entry of a code type, or null when the number names nothing.
const Encoding *findByCodeType(int32_t codeType);

// "GBK", or "code type 31" for a number without a name.
std::string nameOf(int32_t codeType);

// The user's choice of an encoding.
struct NamedEncoding {
    int32_t codeType;
    bool byteOrderOpen; // "utf-16" without a byte order: a byte order mark decides
};

// Takes a code type number, a name or an alias, in any case and with or without '-', '_' and spaces. An unknown name
// is a usage error that lists the nearest known ones.
NamedEncoding parseEncoding(std::string_view text);

// A comma-separated list of encodings for --prefer; each must have an identification test.
std::vector<int32_t> parsePreferences(std::string_view list);

// The parts of a comma-separated list, empty ones left out.
std::vector<std::string> splitList(std::string_view list);

// Single-byte code pages have one character for every byte.
bool isSingleByte(int32_t codeType);

// The Unicode encodings: code types 2, 18 and 19.
bool isUnicode(int32_t codeType);

} // namespace zucli
