#include "charset_handle.h"

#include "zutext.h"

#include <climits>

namespace zutext {

namespace {

// libzucharset never writes more than three bytes of UTF-8 for a byte of input.
constexpr size_t kMostGrowth = 3;

// Nothing but a lack of memory makes it refuse good arguments; a quit request is told apart by whoever sent it.
constexpr int32_t kRefusal = ZUTEXT_ERROR_MEMORY;

} // namespace

Converter::~Converter() {
    if (m_handle != nullptr) {
        g_stCharset_entry.pfnConverterClose(m_handle);
    }
}

int32_t Converter::start(int32_t codeType) {
    m_codeType = codeType;
    // The find operation must come first: it alone makes the library's converters known.
    if (g_stCharset_entry.pfnConverterFind(codeType, ZU_CHARSET_CODETYPE_UTF8) != 0) {
        return ZUTEXT_ERROR_REFUSED;
    }
    ZU_CHARSET_HANDLE handle = nullptr;
    if (g_stCharset_entry.pfnConverterCreate(&handle, 0) != 0) {
        return ZUTEXT_ERROR_MEMORY;
    }
    __atomic_store_n(&m_handle, handle, __ATOMIC_RELEASE);
    return ZUTEXT_OK;
}

int32_t Converter::convert(Bytes text, Buffer &output, size_t &consumed) {
    const size_t capacity = text.size() * kMostGrowth;
    // One byte more than the capacity, for the 0 byte that the library adds.
    if (!output.reserve(capacity + 1)) {
        return ZUTEXT_ERROR_MEMORY;
    }
    auto length = static_cast<int32_t>(capacity);
    uint32_t used = 0;
    if (g_stCharset_entry.pfnConverterConvStream(m_handle, text.data(), static_cast<int32_t>(text.size()),
                                                 output.data() + output.size(), &length, m_codeType,
                                                 ZU_CHARSET_CODETYPE_UTF8, &used) != 0) {
        return kRefusal;
    }
    output.extend(static_cast<size_t>(length));
    consumed = used;
    return ZUTEXT_OK;
}

void Converter::cancel() {
    if (ZU_CHARSET_HANDLE handle = __atomic_load_n(&m_handle, __ATOMIC_ACQUIRE); handle != nullptr) {
        int32_t quit = 1;
        g_stCharset_entry.pfnConverterSetDataAsync(handle, ZU_CHARSET_CMD_QUIT, &quit);
    }
}

int32_t identify(Bytes text, int32_t &codeType) {
    ZU_CHARSET_HANDLE handle = nullptr;
    if (g_stCharset_entry.pfnDetectorCreate(&handle, 0) != 0) {
        return ZUTEXT_ERROR_MEMORY;
    }
    const auto length = static_cast<int32_t>(std::min<size_t>(text.size(), INT_MAX));
    const int32_t result = g_stCharset_entry.pfnDetectorIdentStream(handle, text.data(), length, 0, &codeType);
    g_stCharset_entry.pfnDetectorClose(handle);
    return result == 0 ? ZUTEXT_OK : kRefusal;
}

} // namespace zutext
