// Detection by this library and by others, and the judging of libzutext, on the same bytes in the same process.
// Names: detection/TEXT/BYTES/WHO, with the answer as label; fixed/... for what every detection costs at least.
#include "detector_instance.h"
#include "texts.h"
#include "zutext.h"

#include <benchmark/benchmark.h>
#ifdef WITH_ENCA
#include <enca.h>
#endif
#ifdef WITH_ICU
#include <unicode/ucsdet.h>
#endif
#ifdef WITH_UCHARDET
#include <uchardet.h>
#endif

#include <cstring>
#include <map>

using namespace bench;

namespace {

constexpr size_t SIZES[] = {16, 128, 1024, 8192, 65536, 1048576, 4194304};

// Every detector: detect() does the work and answer() names the last result.
class Ours {
  public:
    explicit Ours(const Encoding &) {
        if (g_stCharset_entry.pfnDetectorCreate(&handle, 0) != 0)
            fail("the library creates no detector");
    }
    ~Ours() { g_stCharset_entry.pfnDetectorClose(handle); }
    Ours(const Ours &) = delete;
    Ours &operator=(const Ours &) = delete;

    void detect(const std::string &bytes) {
        if (g_stCharset_entry.pfnDetectorIdentStream(handle, reinterpret_cast<const uint8_t *>(bytes.data()),
                                                     static_cast<int32_t>(bytes.size()), 0, &codeType) != 0)
            fail("the library detects nothing");
    }
    std::string answer() const {
        for (const Encoding &known : encodings())
            if (known.codeType == codeType)
                return known.name;
        return "code type " + std::to_string(codeType);
    }

  private:
    ZU_CHARSET_HANDLE handle = nullptr;
    int32_t codeType = 0;
};

class Judging {
  public:
    explicit Judging(const Encoding &) {}

    void detect(const std::string &bytes) {
        if (zutext_detect(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size(), nullptr, &verdict) !=
            ZUTEXT_OK)
            fail("zutext judges nothing");
    }
    std::string answer() const {
        const zutext_encoding *judged = zutext_encoding_of(verdict.encoding);
        return verdict.kind == ZUTEXT_KIND_ASCII ? "ASCII" : judged == nullptr ? "" : judged->name;
    }

  private:
    zutext_verdict verdict{};
};

#ifdef WITH_UCHARDET
class Uchardet {
  public:
    explicit Uchardet(const Encoding &) {}
    ~Uchardet() { uchardet_delete(detector); }
    Uchardet(const Uchardet &) = delete;
    Uchardet &operator=(const Uchardet &) = delete;

    void detect(const std::string &bytes) {
        uchardet_reset(detector);
        if (uchardet_handle_data(detector, bytes.data(), bytes.size()) != 0)
            fail("uchardet refuses the text");
        uchardet_data_end(detector);
        benchmark::DoNotOptimize(uchardet_get_charset(detector));
    }
    std::string answer() const { return uchardet_get_charset(detector); }

  private:
    uchardet_t detector = uchardet_new();
};
#endif

#ifdef WITH_ENCA
class Enca { // is told the language
  public:
    explicit Enca(const Encoding &of) : analyser(enca_analyser_alloc(of.encaLanguage)) {
        if (analyser == nullptr)
            fail(std::string("enca does not know the language ") + of.encaLanguage);
    }
    ~Enca() { enca_analyser_free(analyser); }
    Enca(const Enca &) = delete;
    Enca &operator=(const Enca &) = delete;

    void detect(const std::string &bytes) {
        result = enca_analyse_const(analyser, reinterpret_cast<const unsigned char *>(bytes.data()), bytes.size());
    }
    std::string answer() const {
        return enca_charset_is_known(result.charset) ? enca_charset_name(result.charset, ENCA_NAME_STYLE_ENCA) : "";
    }

  private:
    EncaAnalyser analyser;
    EncaEncoding result{ENCA_CS_UNKNOWN, ENCA_SURFACE_UNKNOWN};
};
#endif

#ifdef WITH_ICU
class Icu {
  public:
    explicit Icu(const Encoding &) : detector(ucsdet_open(&error)) {}
    ~Icu() { ucsdet_close(detector); }
    Icu(const Icu &) = delete;
    Icu &operator=(const Icu &) = delete;

    void detect(const std::string &bytes) {
        ucsdet_setText(detector, bytes.data(), static_cast<int32_t>(bytes.size()), &error);
        match = ucsdet_detect(detector, &error);
        if (U_FAILURE(error))
            fail("ICU refuses the text");
    }
    std::string answer() {
        const char *name = match == nullptr ? nullptr : ucsdet_getName(match, &error);
        return name == nullptr ? "" : name;
    }

  private:
    UErrorCode error = U_ZERO_ERROR;
    UCharsetDetector *detector;
    const UCharsetMatch *match = nullptr;
};
#endif

const std::string &textBytes(const DetectionText &text, size_t size) {
    static std::map<std::pair<const DetectionText *, size_t>, std::string> made;
    std::string &bytes = made[{&text, size}];
    if (bytes.empty()) {
        const std::string mark = text.byteOrderMark ? "\xFF\xFE" : "";
        bytes = mark + makeSample(encoding(text.encoding), text.mix, size - mark.size()).bytes;
    }
    return bytes;
}

template <class Detector> void add(const DetectionText &text, size_t size, const char *who) {
    const std::string name = std::string("detection/") + text.name + "/" + std::to_string(size) + "/" + who;
    benchmark::RegisterBenchmark(name.c_str(), [&text, size](benchmark::State &state) {
        const std::string &bytes = textBytes(text, size);
        Detector detector(encoding(text.encoding));
        for (auto _ : state)
            detector.detect(bytes);
        state.SetLabel(detector.answer());
        state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes.size()));
    });
}

void clearInstance(benchmark::State &state) {
    std::string instance(sizeof(zucharset::ZU_CHARSETDETECTOR_Common_S), 'x');
    for (auto _ : state) {
        std::memset(instance.data(), 0, instance.size());
        benchmark::ClobberMemory();
    }
    state.SetLabel(std::to_string(instance.size()) + " bytes");
}

void createAndClose(benchmark::State &state) {
    for (auto _ : state) {
        ZU_CHARSET_HANDLE handle = nullptr;
        if (g_stCOMMON_detector.pfnDetectorCreate(&handle, 0) != 0)
            fail("the library creates no detector");
        g_stCOMMON_detector.pfnDetectorClose(handle);
    }
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RegisterBenchmark("fixed/memset of an instance", clearInstance);
    benchmark::RegisterBenchmark("fixed/create and close", createAndClose);
    for (const DetectionText &text : detectionTexts()) {
        for (const size_t size : SIZES) {
            add<Ours>(text, size, "zucharset");
            add<Judging>(text, size, "zutext");
#ifdef WITH_UCHARDET
            add<Uchardet>(text, size, "uchardet");
#endif
#ifdef WITH_ENCA
            add<Enca>(text, size, "enca");
#endif
#ifdef WITH_ICU
            add<Icu>(text, size, "ICU");
#endif
        }
    }
#ifdef WITH_UCHARDET
    benchmark::AddCustomContext("uchardet", WITH_UCHARDET);
#endif
#ifdef WITH_ENCA
    benchmark::AddCustomContext("enca", WITH_ENCA);
#endif
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
