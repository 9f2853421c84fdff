#include "charset_host.h"

#include "encoding_names.h"
#include "errors.h"
#include "zucharset.h"

#include <limits>

namespace zucli {

namespace {

// The library never writes more than three bytes of UTF-8 for a byte of input.
constexpr size_t kMostGrowth = 3;

int32_t libraryLength(size_t length) {
    if (length > static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
        throw CommandError(kExitInternal, "a buffer is too long for the library");
    }
    return static_cast<int32_t>(length);
}

} // namespace

Detector::Detector() {
    if (g_stCharset_entry.pfnDetectorCreate(&m_handle, 0) != 0) {
        throw CommandError(kExitRefused, "the library cannot start a detection; memory may be short");
    }
}

Detector::~Detector() { g_stCharset_entry.pfnDetectorClose(m_handle); }

int32_t Detector::identify(Bytes text) {
    int32_t codeType = 0;
    if (g_stCharset_entry.pfnDetectorIdentStream(m_handle, text.data(), libraryLength(text.size()), 0, &codeType) !=
        0) {
        throw CommandError(kExitRefused,
                           "the library cannot name the encoding; 'zucharset convert --from' takes it from you");
    }
    return codeType;
}

Converter::Converter(int32_t codeType) : m_codeType(codeType) {
    // The find operation must come first: it alone makes the library's converters known.
    if (g_stCharset_entry.pfnConverterFind(codeType, ZU_CHARSET_CODETYPE_UTF8) != 0) {
        throw CommandError(kExitRefused, "the library has no converter for " + nameOf(codeType));
    }
    if (g_stCharset_entry.pfnConverterCreate(&m_handle, 0) != 0) {
        throw CommandError(kExitRefused, "the library cannot start a conversion; memory may be short");
    }
}

Converter::~Converter() { g_stCharset_entry.pfnConverterClose(m_handle); }

Conversion Converter::convert(Bytes text) {
    int32_t length = libraryLength(text.size() * kMostGrowth);
    // One byte more than the capacity, for the 0 byte that the library adds.
    if (m_output.size() < text.size() * kMostGrowth + 1) {
        m_output.resize(text.size() * kMostGrowth + 1);
    }
    uint32_t consumed = 0;
    if (g_stCharset_entry.pfnConverterConvStream(m_handle, text.data(), libraryLength(text.size()), m_output.data(),
                                                 &length, m_codeType, ZU_CHARSET_CODETYPE_UTF8, &consumed) != 0) {
        throw CommandError(kExitRefused, "the library refused to convert from " + nameOf(m_codeType) +
                                             "; VEMORA_LOG=2 in the environment shows its reason");
    }
    return {Bytes(m_output.data(), static_cast<size_t>(length)), consumed};
}

} // namespace zucli
