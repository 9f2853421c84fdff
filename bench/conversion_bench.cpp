// Conversion to UTF-8 by this library and by others, on the same bytes in the same process.
// Names: conversion/ENCODING/MIX/BYTES/warm|cold/WHO. Warm: the converter is held. Cold: made and released every time.
// fixed/trace lines: what the two lines that every call logs take without any work of the library's own.
// fixed/memcpy/BYTES: what it takes to move a text without looking at it; ASCII cannot be converted faster.
#include "texts.h"
#include "vemora_utils.h"

#include <benchmark/benchmark.h>
#include <gnu/libc-version.h>
#include <iconv.h>
#ifdef WITH_ICU
#include <unicode/ucnv.h>
#endif

#include <cstdio>
#include <cstring>
#include <ctime>
#include <map>
#include <sys/time.h>

using namespace bench;

namespace {

constexpr size_t SIZES[] = {128, 1024, 65536, 4194304};
constexpr size_t GROWTH = 3; // UTF-8 is at most three times as long
char s_output[GROWTH * SIZES[3] + 1];

class Ours {
  public:
    explicit Ours(const Encoding &from) : codeType(from.codeType) {
        if (g_stCharset_entry.pfnConverterCreate(&handle, 0) != 0)
            fail("the library creates no converter");
    }
    ~Ours() { g_stCharset_entry.pfnConverterClose(handle); }
    Ours(const Ours &) = delete;
    Ours &operator=(const Ours &) = delete;

    size_t convert(const std::string &bytes) {
        auto length = static_cast<int32_t>(GROWTH * bytes.size());
        uint32_t consumed = 0;
        if (g_stCharset_entry.pfnConverterConvStream(
                handle, reinterpret_cast<const uint8_t *>(bytes.data()), static_cast<int32_t>(bytes.size()),
                reinterpret_cast<uint8_t *>(s_output), &length, codeType, ZU_CHARSET_CODETYPE_UTF8, &consumed) != 0 ||
            consumed != bytes.size())
            fail("the library does not convert all");
        return static_cast<size_t>(length);
    }

  private:
    ZU_CHARSET_HANDLE handle = nullptr;
    int32_t codeType;
};

class Iconv {
  public:
    explicit Iconv(const Encoding &from) : converter(iconv_open("UTF-8", from.iconvName)) {
        if (converter == reinterpret_cast<iconv_t>(-1))
            fail("iconv opens no converter");
    }
    ~Iconv() { iconv_close(converter); }
    Iconv(const Iconv &) = delete;
    Iconv &operator=(const Iconv &) = delete;

    size_t convert(const std::string &bytes) {
        char *input = const_cast<char *>(bytes.data());
        char *output = s_output;
        size_t inputLeft = bytes.size();
        size_t outputLeft = GROWTH * bytes.size();
        if (iconv(converter, &input, &inputLeft, &output, &outputLeft) != 0)
            fail("iconv does not convert all");
        return static_cast<size_t>(output - s_output);
    }

  private:
    iconv_t converter;
};

#ifdef WITH_ICU
class Icu { // to UTF-16 and from there to UTF-8, which is its only way
  public:
    explicit Icu(const Encoding &from) : source(ucnv_open(from.icuName, &error)), target(ucnv_open("UTF-8", &error)) {
        if (U_FAILURE(error))
            fail("ICU opens no converter");
    }
    ~Icu() {
        ucnv_close(source);
        ucnv_close(target);
    }
    Icu(const Icu &) = delete;
    Icu &operator=(const Icu &) = delete;

    size_t convert(const std::string &bytes) {
        UChar pivot[1024];
        UChar *pivotSource = pivot;
        UChar *pivotTarget = pivot;
        const char *input = bytes.data();
        char *output = s_output;
        ucnv_convertEx(target, source, &output, s_output + GROWTH * bytes.size(), &input, input + bytes.size(), pivot,
                       &pivotSource, &pivotTarget, pivot + std::size(pivot), true, true, &error);
        if (U_FAILURE(error))
            fail("ICU does not convert all");
        return static_cast<size_t>(output - s_output);
    }

  private:
    UErrorCode error = U_ZERO_ERROR;
    UConverter *source;
    UConverter *target;
};
#endif

template <class Converter> void verify(const Encoding &from, const Sample &sample, const char *who) {
    if (std::string_view(s_output, Converter(from).convert(sample.bytes)) != sample.utf8)
        fail(std::string("wrong output of ") + who + " for " + from.name);
}

// The bytes of a benchmark, made and checked with every converter when first asked for.
const std::string &checkedBytes(const Encoding &from, Mix mix, size_t size) {
    static std::map<std::tuple<int32_t, Mix, size_t>, std::string> made;
    std::string &bytes = made[{from.codeType, mix, size}];
    if (bytes.empty()) {
        Sample sample = makeSample(from, mix, size);
        verify<Iconv>(from, sample, "iconv");
        verify<Ours>(from, sample, "this library");
#ifdef WITH_ICU
        verify<Icu>(from, sample, "ICU");
#endif
        bytes = std::move(sample.bytes);
    }
    return bytes;
}

template <class Converter> void add(const Encoding &from, Mix mix, size_t size, const char *who) {
    const std::string name =
        std::string("conversion/") + from.name + "/" + mixName(mix) + "/" + std::to_string(size) + "/";
    const auto finish = [](benchmark::State &state, size_t length) {
        state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(length));
    };
    benchmark::RegisterBenchmark((name + "warm/" + who).c_str(), [=, &from](benchmark::State &state) {
        const std::string &bytes = checkedBytes(from, mix, size);
        Converter converter(from);
        for (auto _ : state)
            benchmark::DoNotOptimize(converter.convert(bytes));
        finish(state, bytes.size());
    });
    benchmark::RegisterBenchmark((name + "cold/" + who).c_str(), [=, &from](benchmark::State &state) {
        const std::string &bytes = checkedBytes(from, mix, size);
        for (auto _ : state)
            benchmark::DoNotOptimize(Converter(from).convert(bytes));
        finish(state, bytes.size());
    });
}

void traceLines(benchmark::State &state) {
    for (auto _ : state) {
        for (const char *text : {"[charset_public.cpp:330] CHARSET_CONVERTER_convstream\n",
                                 "[charset_public.cpp:290] CHARSET_ConvStream: use converter description:"
                                 "zucharset windows codepage converter\n"}) {
            timeval time{};
            gettimeofday(&time, nullptr);
            tm local{};
            localtime_r(&time.tv_sec, &local);
            SVR_LOG_Write("Vemora-CharsetMGR", 6, "[%02d:%02d:%02d.%03ld]: %s", local.tm_hour, local.tm_min,
                          local.tm_sec, static_cast<long>(time.tv_usec / 1000), text);
            std::fflush(stdout);
        }
    }
}

void copyText(benchmark::State &state, size_t size) {
    const std::string text(size, 'a');
    for (auto _ : state) {
        std::memcpy(s_output, text.data(), size);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(size));
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::AddCustomContext("iconv", std::string("glibc ") + gnu_get_libc_version());
#ifdef WITH_ICU
    benchmark::AddCustomContext("ICU", WITH_ICU);
#endif
    for (const Encoding &from : encodings()) {
        if (g_stCharset_entry.pfnConverterFind(from.codeType, ZU_CHARSET_CODETYPE_UTF8) != 0)
            fail(std::string("the library does not convert ") + from.name);
        for (const Mix mix : MIXES) {
            for (const size_t size : SIZES) {
                add<Ours>(from, mix, size, "zucharset");
                add<Iconv>(from, mix, size, "iconv");
#ifdef WITH_ICU
                add<Icu>(from, mix, size, "ICU");
#endif
            }
        }
    }
    benchmark::RegisterBenchmark("fixed/trace lines", traceLines);
    for (const size_t size : SIZES)
        benchmark::RegisterBenchmark(("fixed/memcpy/" + std::to_string(size)).c_str(), copyText, size);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
