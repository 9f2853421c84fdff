// The double-byte encodings whose readings are weighed against single-byte ones.
#pragma once

#include "double_byte.h"
#include "encodings.h"
#include "zucharset.h"

#include <string_view>

namespace zutext {

struct WideEncoding {
    int32_t encoding;
    const char *language;
};

inline constexpr WideEncoding kWideEncodings[] = {
    {ZU_CHARSET_CODETYPE_GBK, "zh"},
    {ZU_CHARSET_CODETYPE_BIG5, "zh"},
    {ZU_CHARSET_CODETYPE_CP949, "ko"},
    {kShiftJis, "ja"},
    {kEucJp, "ja"},
};
inline constexpr size_t kWideCount = std::size(kWideEncodings);

// The bit of an encoding's place in the list; 0 when it is not in it.
constexpr uint32_t wideBitOf(int32_t encoding) {
    for (size_t i = 0; i < kWideCount; ++i) {
        if (kWideEncodings[i].encoding == encoding) {
            return 1u << i;
        }
    }
    return 0;
}

// The bits of all encodings of a language.
constexpr uint32_t wideBitsOf(std::string_view language) {
    uint32_t bits = 0;
    for (const WideEncoding &wide : kWideEncodings) {
        bits |= wide.language == language ? wideBitOf(wide.encoding) : 0;
    }
    return bits;
}

} // namespace zutext
