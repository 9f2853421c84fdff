// Any bytes through detection: the entry's identify beside the plain detector, and the identification tests.
#include "fuzzing.h"

#include "support/plain_detector.h"

static ZU_CHARSET_HANDLE create(const ZU_CHARSET_S &record) {
    ZU_CHARSET_HANDLE handle = nullptr;
    CHECK(record.pfnDetectorCreate(&handle, 0) == 0);
    return handle;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const ZU_CHARSET_HANDLE host = create(g_stCharset_entry);
    static const auto &tables = *static_cast<const plain::Instance *>(create(g_stCOMMON_detector));
    if (size == 0)
        return 0;
    const Bytes text(data, data + size);
    const auto length = static_cast<int32_t>(size);
    const auto identify = [&] {
        int32_t type = -7;
        CHECK(g_stCharset_entry.pfnDetectorIdentStream(host, text.data(), length, 0, &type) == 0);
        recording::takeWhole();
        return type;
    };
    const int32_t type = identify();
    CHECK(isCodeType(type));
    CHECK(type == identify());
    const std::string_view plainText(reinterpret_cast<const char *>(text.data()), size);
    CHECK(type == plain::identify(tables, plainText));

    CHECK(plain::cascade.size() == 27);
    for (const auto &[test, named] : plain::cascade) {
        const int32_t answer = test(text.data(), length);
        CHECK(answer == 0 || answer == -1);
        CHECK(answer == test(text.data(), length));
        // Those that ask whether every byte is defined ask no more of a text than of its parts.
        const bool bytewise = test != IsUnicodeBE && test != IsUnicodeLE && test != IsIso8859_1;
        if (const int32_t cut = length / 3; bytewise && cut > 0)
            CHECK((answer == 0) == (test(text.data(), cut) == 0 && test(text.data() + cut, length - cut) == 0));
    }
    CHECK(text == Bytes(data, data + size)); // read only
    return 0;
}
