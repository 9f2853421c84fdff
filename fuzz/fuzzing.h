// What the fuzz targets share: a check that ends the program, so that a fuzzer keeps the input, and a conversion with
// everything that holds for every conversion.
#pragma once

#include "recording_utils.h"
#include "zucharset.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#define CHECK(condition) ((condition) ? void() : failed(#condition, __FILE__, __LINE__))

[[noreturn]] inline void failed(const char *condition, const char *file, int line) {
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
    std::abort();
}

using Bytes = std::vector<uint8_t>;

inline bool isCodeType(int32_t type) { return type >= 1 && type <= 33 && type != 31 && type != 32; }

inline bool areWholeSequences(const Bytes &text) {
    size_t continuing = 0;
    for (const uint8_t byte : text) {
        const bool continues = byte >= 0x80 && byte < 0xC0;
        if (continues != (continuing > 0))
            return false;
        if (continues)
            --continuing;
        else
            continuing = byte < 0x80 ? 0 : byte < 0xE0 ? 1 : byte < 0xF0 ? 2 : byte < 0xF8 ? 3 : byte < 0xFC ? 4 : 5;
    }
    return continuing == 0;
}

struct Converted {
    int32_t result = -1;
    uint32_t consumed = 0;
    Bytes output;
};

// The output has the one byte behind the capacity that a host must provide, and guard bytes behind that.
inline Converted convert(ZU_CHARSET_HANDLE handle, const Bytes &text, size_t capacity, int32_t source,
                         int32_t destination) {
    constexpr uint8_t GUARD = 0xA5;
    Converted converted;
    converted.output.assign(capacity + 1 + 32, GUARD);
    auto written = static_cast<int32_t>(capacity);
    converted.result = g_stCharset_entry.pfnConverterConvStream(handle, text.data(), static_cast<int32_t>(text.size()),
                                                                converted.output.data(), &written, source, destination,
                                                                &converted.consumed);
    CHECK(std::count(converted.output.end() - 32, converted.output.end(), GUARD) == 32);
    if (converted.result == 0) {
        CHECK(converted.consumed <= text.size());
        CHECK(written >= 0 && static_cast<size_t>(written) <= capacity);
        CHECK(converted.output[static_cast<size_t>(written)] == 0);
        converted.output.resize(static_cast<size_t>(written));
        CHECK(areWholeSequences(converted.output));
    }
    return converted;
}
