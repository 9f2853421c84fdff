#pragma once
#include "buffer.h"
namespace zutext {
inline constexpr int64_t kNoCost = INT64_MAX;
inline int64_t wideCost(int32_t, Bytes) { return kNoCost; }
} // namespace zutext
