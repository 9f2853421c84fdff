// Vectors, in the terms of the compiler. What no compiler has in these terms stands at the end, once for each family of
// processors: this is the only file with instructions by name.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

// The families of processors that this file knows.
#if defined(ZUCHARSET_WITHOUT_VECTORS)
#elif defined(__SSE2__)
#define ZU_SSE2
#if defined(__SSSE3__)
#define ZU_SSSE3
#endif
#if defined(__AVX2__)
#define ZU_AVX2
#endif
#include <immintrin.h>
#elif defined(__ARM_NEON)
#define ZU_NEON
#include <arm_neon.h>
#elif defined(__wasm_simd128__)
#define ZU_WASM
#include <wasm_simd128.h>
#endif

// For what stands in the innermost loop of a conversion: a call there costs more than the work itself.
#define ZU_HOT [[gnu::always_inline]] inline

namespace zucharset {

static_assert(std::endian::native == std::endian::little, "bytes are taken from words from the low end");

template <class Word> Word loadAs(const uint8_t *pu8) {
    Word wWord;
    std::memcpy(&wWord, pu8, sizeof wWord);
    return wWord;
}

template <class Word> void storeAs(uint8_t *pu8, Word wWord) { std::memcpy(pu8, &wWord, sizeof wWord); }

// A target without vector registers does well with vectors of words, but bytes and 16-bit units it takes one by one.
typedef uint64_t VECTOR_U64 __attribute__((vector_size(16)));
typedef uint32_t VECTOR_U32 __attribute__((vector_size(16)));
typedef uint16_t VECTOR_U16 __attribute__((vector_size(16)));
typedef uint16_t VECTOR_U16_HALF __attribute__((vector_size(8)));
typedef uint8_t VECTOR_U8 __attribute__((vector_size(16)));
typedef uint8_t VECTOR_U8_HALF __attribute__((vector_size(8)));
typedef uint8_t VECTOR_U8_QUARTER __attribute__((vector_size(4)));
typedef int8_t VECTOR_MASK __attribute__((vector_size(16))); // of a comparison of bytes: -1 where it holds

// As wide as the target's registers.
#if defined(ZU_AVX2)
typedef uint16_t WIDE_U16 __attribute__((vector_size(32)));
typedef uint8_t WIDE_U8 __attribute__((vector_size(32)));
typedef int8_t WIDE_MASK __attribute__((vector_size(32)));

ZU_HOT VECTOR_U8 lowHalf(WIDE_U8 vWide) {
    return __builtin_shufflevector(vWide, vWide, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
}

ZU_HOT VECTOR_U8 highHalf(WIDE_U8 vWide) {
    return __builtin_shufflevector(vWide, vWide, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31);
}
#else
typedef VECTOR_U16 WIDE_U16;
typedef VECTOR_U8 WIDE_U8;
typedef VECTOR_MASK WIDE_MASK;

// Never called, but there to be named.
ZU_HOT VECTOR_U8 lowHalf(VECTOR_U8 vWide) { return vWide; }
ZU_HOT VECTOR_U8 highHalf(VECTOR_U8 vWide) { return vWide; }
#endif
constexpr int32_t WIDE_BYTES = sizeof(WIDE_U8);

#if defined(ZU_SSE2) || defined(ZU_NEON) || defined(ZU_WASM)
constexpr bool HAS_VECTORS = true;
#else
constexpr bool HAS_VECTORS = false;
#endif

// Whether bytes that lie a few places off are better loaded once more than shifted together from two vectors.
#if defined(__SSE2__)
constexpr bool LOADS_BEAT_SHUFFLES = true;
#else
constexpr bool LOADS_BEAT_SHUFFLES = false;
#endif

// Whether bitsOf() is a single instruction.
#if defined(ZU_SSE2) || defined(ZU_WASM)
constexpr bool HAS_QUICK_BITS = true;
#else
constexpr bool HAS_QUICK_BITS = false;
#endif

// Whether single lanes are quickly taken out of vectors and put in.
#if defined(ZU_SSSE3) || (defined(ZU_NEON) && defined(__aarch64__))
constexpr bool HAS_QUICK_LANES = true;
#else
constexpr bool HAS_QUICK_LANES = false;
#endif

// Two bytes for each byte from 80 on, in rows of sixteen.
struct ROWS_OF_TWO_S {
    static constexpr int32_t ROWS = 8;

    alignas(16) uint8_t au8First[ROWS][16];
    alignas(16) uint8_t au8Second[ROWS][16];
};

struct TWO_BYTES_S {
    WIDE_U8 vFirst;
    WIDE_U8 vSecond;
};

ZU_HOT bool isZeroWide([[maybe_unused]] WIDE_U8 vAny) {
#if defined(ZU_AVX2)
    return _mm256_testz_si256(std::bit_cast<__m256i>(vAny), std::bit_cast<__m256i>(vAny)) != 0;
#else
    const auto vWords = std::bit_cast<VECTOR_U64>(vAny);
    return (vWords[0] | vWords[1]) == 0;
#endif
}

template <class Vector> ZU_HOT bool isZero(Vector vAny) {
    if constexpr (sizeof(Vector) == sizeof(uint64_t)) {
        return std::bit_cast<uint64_t>(vAny) == 0;
    } else if constexpr (sizeof(Vector) == sizeof(WIDE_U8)) {
        return isZeroWide(std::bit_cast<WIDE_U8>(vAny));
    } else {
        const auto vWords = std::bit_cast<VECTOR_U64>(vAny);
        return (vWords[0] | vWords[1]) == 0;
    }
}

// --- What processors offer beyond that ---
//   shuffled()  the bytes of vText at the places 0 to 15 that vPlaces names
//   bitsOf()    a bit for each byte of a mask, that of the first byte lowest
//   lookedUp()  what stands in the table for each byte; zeros for bytes below 80
//   gathered()  what stands in a table of 16-bit entries at each place; two bytes more are read behind the entry

#if defined(ZU_SSE2)

ZU_HOT uint32_t bitsOf(VECTOR_U8 vMask) {
    return static_cast<uint32_t>(_mm_movemask_epi8(std::bit_cast<__m128i>(vMask)));
}

#if defined(ZU_AVX2)
ZU_HOT uint32_t bitsOf(WIDE_U8 vMask) {
    return static_cast<uint32_t>(_mm256_movemask_epi8(std::bit_cast<__m256i>(vMask)));
}
#endif

#endif

#if defined(ZU_SSSE3)

constexpr bool HAS_SHUFFLE = true;

ZU_HOT VECTOR_U8 shuffled(VECTOR_U8 vText, VECTOR_U8 vPlaces) {
    return std::bit_cast<VECTOR_U8>(_mm_shuffle_epi8(std::bit_cast<__m128i>(vText), std::bit_cast<__m128i>(vPlaces)));
}

// A place of which the high bit is set gives a zero, and adding 70 sets it for all that lie outside a row.
ZU_HOT void lookUpRow(TWO_BYTES_S &stFound, const ROWS_OF_TWO_S &stRows, int32_t s32Row, WIDE_U8 vText) {
    const WIDE_U8 vPlaces = vText ^ static_cast<uint8_t>(0x80 + 16 * s32Row);
    const __m128i vFirst = _mm_load_si128(reinterpret_cast<const __m128i *>(stRows.au8First[s32Row]));
    const __m128i vSecond = _mm_load_si128(reinterpret_cast<const __m128i *>(stRows.au8Second[s32Row]));
#if defined(ZU_AVX2)
    const __m256i vInRow = _mm256_adds_epu8(std::bit_cast<__m256i>(vPlaces), _mm256_set1_epi8(0x70));
    stFound.vFirst |= std::bit_cast<WIDE_U8>(_mm256_shuffle_epi8(_mm256_broadcastsi128_si256(vFirst), vInRow));
    stFound.vSecond |= std::bit_cast<WIDE_U8>(_mm256_shuffle_epi8(_mm256_broadcastsi128_si256(vSecond), vInRow));
#else
    const __m128i vInRow = _mm_adds_epu8(std::bit_cast<__m128i>(vPlaces), _mm_set1_epi8(0x70));
    stFound.vFirst |= std::bit_cast<WIDE_U8>(_mm_shuffle_epi8(vFirst, vInRow));
    stFound.vSecond |= std::bit_cast<WIDE_U8>(_mm_shuffle_epi8(vSecond, vInRow));
#endif
}

#elif defined(ZU_NEON)

constexpr bool HAS_SHUFFLE = true;

ZU_HOT VECTOR_U8 shuffled(VECTOR_U8 vText, VECTOR_U8 vPlaces) {
    const auto vFrom = std::bit_cast<uint8x16_t>(vText);
    const auto vAt = std::bit_cast<uint8x16_t>(vPlaces);
#if defined(__aarch64__)
    return std::bit_cast<VECTOR_U8>(vqtbl1q_u8(vFrom, vAt));
#else
    const uint8x8x2_t vHalves{{vget_low_u8(vFrom), vget_high_u8(vFrom)}};
    return std::bit_cast<VECTOR_U8>(
        vcombine_u8(vtbl2_u8(vHalves, vget_low_u8(vAt)), vtbl2_u8(vHalves, vget_high_u8(vAt))));
#endif
}

ZU_HOT uint32_t bitsOf(VECTOR_U8 vMask) {
    constexpr VECTOR_U8 vBits = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
    const auto vChosen = std::bit_cast<uint8x16_t>(vMask & vBits);
    uint8x8_t vSums = vpadd_u8(vget_low_u8(vChosen), vget_high_u8(vChosen));
    vSums = vpadd_u8(vSums, vSums);
    return vget_lane_u16(vreinterpret_u16_u8(vpadd_u8(vSums, vSums)), 0);
}

#if defined(__aarch64__)
// A place behind a table gives a zero.
ZU_HOT VECTOR_U8 lookedUp(const uint8_t (&au8Rows)[ROWS_OF_TWO_S::ROWS][16], VECTOR_U8 vText) {
    const uint8x16x4_t vLow{{vld1q_u8(au8Rows[0]), vld1q_u8(au8Rows[1]), vld1q_u8(au8Rows[2]), vld1q_u8(au8Rows[3])}};
    const uint8x16x4_t vHigh{{vld1q_u8(au8Rows[4]), vld1q_u8(au8Rows[5]), vld1q_u8(au8Rows[6]), vld1q_u8(au8Rows[7])}};
    return std::bit_cast<VECTOR_U8>(vqtbl4q_u8(vLow, std::bit_cast<uint8x16_t>(vText - 0x80))) |
           std::bit_cast<VECTOR_U8>(vqtbl4q_u8(vHigh, std::bit_cast<uint8x16_t>(vText - 0xC0)));
}

ZU_HOT TWO_BYTES_S lookedUp(const ROWS_OF_TWO_S &stRows, VECTOR_U8 vText) {
    return {lookedUp(stRows.au8First, vText), lookedUp(stRows.au8Second, vText)};
}
#endif

#elif defined(ZU_WASM)

constexpr bool HAS_SHUFFLE = true;

ZU_HOT VECTOR_U8 shuffled(VECTOR_U8 vText, VECTOR_U8 vPlaces) {
    return std::bit_cast<VECTOR_U8>(wasm_i8x16_swizzle(std::bit_cast<v128_t>(vText), std::bit_cast<v128_t>(vPlaces)));
}

ZU_HOT uint32_t bitsOf(VECTOR_U8 vMask) { return wasm_i8x16_bitmask(std::bit_cast<v128_t>(vMask)); }

// A place outside a row gives a zero.
ZU_HOT void lookUpRow(TWO_BYTES_S &stFound, const ROWS_OF_TWO_S &stRows, int32_t s32Row, VECTOR_U8 vText) {
    const VECTOR_U8 vPlaces = vText ^ static_cast<uint8_t>(0x80 + 16 * s32Row);
    stFound.vFirst |= shuffled(loadAs<VECTOR_U8>(stRows.au8First[s32Row]), vPlaces);
    stFound.vSecond |= shuffled(loadAs<VECTOR_U8>(stRows.au8Second[s32Row]), vPlaces);
}

#else

constexpr bool HAS_SHUFFLE = false;

// Never called, but there to be named.
ZU_HOT VECTOR_U8 shuffled(VECTOR_U8 vText, VECTOR_U8) { return vText; }
#if !defined(ZU_SSE2)
ZU_HOT uint32_t bitsOf(VECTOR_U8) { return 0; }
#endif

#endif

#if defined(ZU_AVX2)
constexpr bool HAS_GATHER = true;

// Taken apart and put together again within each half of the vector, which keeps the order.
ZU_HOT WIDE_U16 gathered(const uint8_t *pu8Table, WIDE_U16 vPlaces) {
    const auto *const ps32Table = reinterpret_cast<const int32_t *>(pu8Table);
    const __m256i vZero = _mm256_setzero_si256();
    const __m256i vEntry = _mm256_set1_epi32(0xFFFF);
    const __m256i vLow = _mm256_unpacklo_epi16(std::bit_cast<__m256i>(vPlaces), vZero);
    const __m256i vHigh = _mm256_unpackhi_epi16(std::bit_cast<__m256i>(vPlaces), vZero);
    return std::bit_cast<WIDE_U16>(
        _mm256_packus_epi32(_mm256_and_si256(_mm256_i32gather_epi32(ps32Table, vLow, 2), vEntry),
                            _mm256_and_si256(_mm256_i32gather_epi32(ps32Table, vHigh, 2), vEntry)));
}
#else
constexpr bool HAS_GATHER = false;

// Never called, but there to be named.
ZU_HOT WIDE_U16 gathered(const uint8_t *, WIDE_U16 vPlaces) { return vPlaces; }
#endif

// 32-bit ARM is faster without: the rows fill all its vector registers.
#if defined(ZU_NEON) && defined(__aarch64__)
constexpr bool HAS_ROWS = true;
#elif defined(ZU_SSSE3) || defined(ZU_WASM)
constexpr bool HAS_ROWS = true;

ZU_HOT TWO_BYTES_S lookedUp(const ROWS_OF_TWO_S &stRows, WIDE_U8 vText) {
    TWO_BYTES_S stFound{};
#pragma GCC unroll 4
    for (int32_t s32Row = ROWS_OF_TWO_S::ROWS / 2; s32Row < ROWS_OF_TWO_S::ROWS; ++s32Row)
        lookUpRow(stFound, stRows, s32Row, vText);
    // The lower half of the rows holds few letters: often there are none of its bytes.
    if (!isZero(std::bit_cast<WIDE_MASK>(vText) < static_cast<int8_t>(0xC0))) {
#pragma GCC unroll 4
        for (int32_t s32Row = 0; s32Row < ROWS_OF_TWO_S::ROWS / 2; ++s32Row)
            lookUpRow(stFound, stRows, s32Row, vText);
    }
    return stFound;
}
#else
constexpr bool HAS_ROWS = false;
ZU_HOT TWO_BYTES_S lookedUp(const ROWS_OF_TWO_S &, WIDE_U8 vText) { return {vText, vText}; }
#endif

} // namespace zucharset
