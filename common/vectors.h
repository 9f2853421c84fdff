// Vectors, in the terms of the compiler. What no compiler has in these terms stands at the end, once for each family of
// processors: this is the only file with instructions by name.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

#if defined(__SSSE3__)
#include <immintrin.h>
#elif defined(__ARM_NEON)
#include <arm_neon.h>
#elif defined(__wasm_simd128__)
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
#if defined(__AVX2__)
typedef uint16_t WIDE_U16 __attribute__((vector_size(32)));
typedef uint8_t WIDE_U8 __attribute__((vector_size(32)));

ZU_HOT VECTOR_U8 lowHalf(WIDE_U8 vWide) {
    return __builtin_shufflevector(vWide, vWide, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
}

ZU_HOT VECTOR_U8 highHalf(WIDE_U8 vWide) {
    return __builtin_shufflevector(vWide, vWide, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31);
}
#else
typedef VECTOR_U16 WIDE_U16;
typedef VECTOR_U8 WIDE_U8;

// Never called, but there to be named.
ZU_HOT VECTOR_U8 lowHalf(VECTOR_U8 vWide) { return vWide; }
ZU_HOT VECTOR_U8 highHalf(VECTOR_U8 vWide) { return vWide; }
#endif
constexpr int32_t WIDE_BYTES = sizeof(WIDE_U8);

#if defined(__SSE2__) || defined(__ARM_NEON) || defined(__wasm_simd128__)
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

// --- What processors offer beyond that ---

#if defined(__SSSE3__)

constexpr bool HAS_SHUFFLE = true;

// The bytes of vText at the places 0 to 15 that vPlaces names.
ZU_HOT VECTOR_U8 shuffled(VECTOR_U8 vText, VECTOR_U8 vPlaces) {
    return std::bit_cast<VECTOR_U8>(_mm_shuffle_epi8(std::bit_cast<__m128i>(vText), std::bit_cast<__m128i>(vPlaces)));
}

// A bit for each byte of a mask, that of the first byte lowest.
ZU_HOT uint32_t bitsOf(VECTOR_U8 vMask) {
    return static_cast<uint32_t>(_mm_movemask_epi8(std::bit_cast<__m128i>(vMask)));
}

#if defined(__AVX2__)
ZU_HOT uint32_t bitsOf(WIDE_U8 vMask) {
    return static_cast<uint32_t>(_mm256_movemask_epi8(std::bit_cast<__m256i>(vMask)));
}
#endif

#elif defined(__ARM_NEON)

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

#elif defined(__wasm_simd128__)

constexpr bool HAS_SHUFFLE = true;

ZU_HOT VECTOR_U8 shuffled(VECTOR_U8 vText, VECTOR_U8 vPlaces) {
    return std::bit_cast<VECTOR_U8>(wasm_i8x16_swizzle(std::bit_cast<v128_t>(vText), std::bit_cast<v128_t>(vPlaces)));
}

ZU_HOT uint32_t bitsOf(VECTOR_U8 vMask) { return wasm_i8x16_bitmask(std::bit_cast<v128_t>(vMask)); }

#else

constexpr bool HAS_SHUFFLE = false;

// Never called, but there to be named.
ZU_HOT VECTOR_U8 shuffled(VECTOR_U8 vText, VECTOR_U8) { return vText; }
ZU_HOT uint32_t bitsOf(VECTOR_U8) { return 0; }

#endif

ZU_HOT bool isZeroWide([[maybe_unused]] WIDE_U8 vAny) {
#if defined(__AVX2__)
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

} // namespace zucharset
