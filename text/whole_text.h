// A text that is there as a whole.
#pragma once

#include "judge.h"

namespace zutext {

// The verdict, as a stream would give it. A ZUTEXT result.
[[nodiscard]] int32_t judgeWhole(const Settings &settings, Bytes text, zutext_verdict &verdict);

} // namespace zutext
