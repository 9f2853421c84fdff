// Any bytes through detection: the detector beside the plain one, and the identification tests.
#include "fuzzing.h"

#include "support/plain_detector.h"

// One instance for all executions: nothing of a text stays in it.
static ZU_CHARSET_HANDLE createDetector() {
    ZU_CHARSET_HANDLE handle = nullptr;
    CHECK(g_stCOMMON_detector.pfnDetectorCreate(&handle, 0) == 0);
    recording::keepLines(false);
    return handle;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const ZU_CHARSET_HANDLE detector = createDetector();
    if (size == 0)
        return 0;
    const Bytes text(data, data + size);
    const auto length = static_cast<int32_t>(size);
    int32_t type = -7;
    CHECK(g_stCOMMON_detector.pfnDetectorIdentStream(detector, text.data(), length, 0, &type) == 0);
    CHECK(isCodeType(type));
    const std::string_view plainText(reinterpret_cast<const char *>(text.data()), size);
    CHECK(type == plain::identify(*static_cast<const plain::Instance *>(detector), plainText));

    // One of the tests, by the first byte. Those that ask whether every byte is defined ask no more of a text than of
    // its parts.
    const auto &[test, named] = plain::cascade[data[0] % plain::cascade.size()];
    const int32_t answer = test(text.data(), length);
    CHECK(answer == 0 || answer == -1);
    const bool bytewise = test != IsUnicodeBE && test != IsUnicodeLE && test != IsIso8859_1;
    if (const int32_t cut = length / 3; bytewise && cut > 0)
        CHECK((answer == 0) == (test(text.data(), cut) == 0 && test(text.data() + cut, length - cut) == 0));
    CHECK(text == Bytes(data, data + size)); // read only
    return 0;
}
