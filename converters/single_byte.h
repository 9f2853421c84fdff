// Single-byte encodings as rows of data: a table, the first byte that it covers, and what a gap in it does.
#pragma once

#include "converter_skeleton.h"

namespace zucharset {

// The entry of a byte that a page does not define.
constexpr uint16_t UNDEFINED = 0xFFFD;

// What becomes of a byte whose table entry is U+FFFD.
enum class GAP_E : uint8_t {
    WRITTEN,     // written like any other character
    PASSED_OVER, // dropped
};

// Bytes below the first or behind the table, whose length is a multiple of eight, are their own code points. An empty
// table makes that every byte.
struct SINGLE_BYTE_PAGE_S {
    std::span<const uint16_t> au16ToUnicode;
    uint8_t u8FirstByte;
    GAP_E enGap;
};

int32_t singleByteToUtf8(const SINGLE_BYTE_PAGE_S &stPage, const HANDLE_CONTROL_S &stControl, uint8_t *pu8Output,
                         int32_t *ps32OutputLen, const uint8_t *pu8Input, int32_t s32InputLen);

} // namespace zucharset
