// The encodings by id and by name.
#pragma once

#include "zutext.h"

#include <span>
#include <string_view>

namespace zutext {

// Ids of the encodings that are recognised and not converted. Those up to 33 are the code types of zucharset.h.
enum EncodingId : int32_t {
    kShiftJis = 100,
    kEucJp,
    kIso2022Jp,
    kIso2022Kr,
    kIso2022Cn,
    kHz,
    kGb18030,
    kKoi8R,
    kKoi8U,
    kCp866,
    kCp437,
    kCp850,
    kCp852,
    kMacCyrillic,
    kUtf32Le,
    kUtf32Be,
};

std::span<const zutext_encoding> allEncodings();

// Null when the id names nothing.
const zutext_encoding *encodingOf(int32_t id);

bool hasTrait(int32_t id, uint32_t trait);

// Do two names mean the same? Case, '-', '_' and spaces do not count.
bool sameName(std::string_view a, std::string_view b);

} // namespace zutext
