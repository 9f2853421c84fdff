// The languages that readings are told by.
#pragma once

#include "zutext.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace zutext {

// Those of single-byte text in the order of languages(), then those of double-byte text.
std::span<const zutext_language> allLanguages();

// The place of a code or a name in allLanguages(), -1 for neither.
int32_t languageIndex(std::string_view name);

} // namespace zutext
