// The single-byte stage: tests in a fixed order, the first that accepts a text naming its code type.
#pragma once

#include "detector_identification.h"
#include "detector_vote.h"

#include <span>

namespace zucharset {

struct CASCADE_ROW_S {
    IDENTIFICATION_TEST_FN pfnTest;
    int32_t s32CodeType;
    const char *pszName; // of the test
};

// The rows in the order in which they are asked.
std::span<const CASCADE_ROW_S> cascadeRows();

// The code type of the first row that accepts; 0 when none does or a quit request arrived.
int32_t identifySingleByte(const HANDLE_CONTROL_S &stControl, TEXT_S stText);

} // namespace zucharset
