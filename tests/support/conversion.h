// A conversion as a host makes it, with the checks that hold for every one.
#pragma once

#include "zucharset.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

inline ZU_CHARSET_S *const CONVERTERS[] = {&g_stUCS_converter,     &g_stGBK_converter,   &g_stBIG5_converter,
                                           &g_stISO8859_converter, &g_stWINCP_converter, &g_stCP949_converter};

inline std::string fromHex(std::string_view hex) {
    std::string bytes;
    for (size_t i = 0; i < hex.size(); i += 2)
        bytes += static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16));
    return bytes;
}

inline const ZU_CHARSET_S &converterOf(int32_t codeType) {
    return **std::find_if(CONVERTERS, std::end(CONVERTERS) - 1, [codeType](const ZU_CHARSET_S *record) {
        return record->pfnConverterFind(codeType, ZU_CHARSET_CODETYPE_UTF8) == 0;
    });
}

struct Converted {
    int32_t result = -1;
    std::string output;
    uint32_t consumed = 0xABCD;
};

// A converter handle, closed at the end of its scope.
struct Handle {
    const ZU_CHARSET_S &record;
    ZU_CHARSET_HANDLE handle = nullptr;

    explicit Handle(const ZU_CHARSET_S &owner, uint32_t option = 0) : record(owner) {
        EXPECT_EQ(record.pfnConverterCreate(&handle, option), 0);
    }
    Handle(const ZU_CHARSET_S &owner, ZU_CHARSET_HANDLE existing) : record(owner), handle(existing) {}
    Handle(const Handle &) = delete;
    ~Handle() { EXPECT_EQ(record.pfnConverterClose(handle), 0); }

    int32_t setQuit(int32_t quit) const { return record.pfnConverterSetDataAsync(handle, ZU_CHARSET_CMD_QUIT, &quit); }

    // Converts between buffers of the exact sizes that a host must provide, the room being three times the input.
    Converted convert(int32_t codeType, std::string_view input, size_t room = SIZE_MAX) const {
        const size_t capacity = room < SIZE_MAX ? room : 3 * input.size();
        const std::vector<uint8_t> in(input.begin(), input.end());
        std::vector<uint8_t> out(capacity + 1 + 8, 0xA5);
        auto length = static_cast<int32_t>(capacity);
        Converted converted;
        converted.result =
            record.pfnConverterConvStream(handle, in.data(), static_cast<int32_t>(in.size()), out.data(), &length,
                                          codeType, ZU_CHARSET_CODETYPE_UTF8, &converted.consumed);
        EXPECT_EQ(std::vector<uint8_t>(out.end() - 8, out.end()), std::vector<uint8_t>(8, 0xA5)) << "behind the output";
        if (converted.result == 0 && length <= static_cast<int32_t>(capacity)) {
            converted.output.assign(out.begin(), out.begin() + length);
            EXPECT_EQ(out[converted.output.size()], 0) << "terminating zero";
        }
        return converted;
    }
};
