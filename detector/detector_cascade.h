// The single-byte stage: tests in a fixed order, the first that accepts a text naming its code type.
#pragma once

#include "detector_vote.h"
#include "known_bytes.h"

#include <span>

namespace zucharset {

using IDENTIFICATION_TEST_FN = int32_t (*)(const uint8_t *pu8Input, int32_t s32InputLen);

struct CASCADE_ROW_S {
    IDENTIFICATION_TEST_FN pfnTest;
    const char *pszName; // of the test
    int32_t s32CodeType;
    const ByteSet *pstKnown; // null for the tests of UTF-16, which weigh code units
};

// The rows in the order in which they are asked.
std::span<const CASCADE_ROW_S> cascadeRows();

// The code type of the first row that accepts; 0 when none does or a quit request arrived.
int32_t identifySingleByte(const HANDLE_CONTROL_S &stControl, TEXT_S stText);

} // namespace zucharset
