// The detector put plainly: every estimator walks the text by itself, a byte or a pair at a time, and the cascade asks
// one test after another. Slow, but easy to hold against the rules; the library must give the same answers.
#pragma once

#include "detector_vote.h"

#include <array>
#include <string>
#include <vector>

namespace plain {

using Instance = zucharset::ZU_CHARSETDETECTOR_Common_S; // only its tables are read
using Scores = std::array<int32_t, 19>;

struct CascadeRow {
    int32_t (*test)(const uint8_t *, int32_t);
    int32_t codeType;
};
extern const std::vector<CascadeRow> cascade;

Scores scores(const Instance &tables, std::string_view text);
int32_t vote(const Scores &scores); // a code type or 0
int32_t identify(const Instance &tables, std::string_view text);

// Texts given in tokens of hexadecimal bytes; *N repeats a token, a comma begins the next text.
std::vector<std::string> fromHex(const std::string &hex);

} // namespace plain
