// Bytes by the block: vectors of the compiler's own, and the question whether a block of text is well-formed UTF-8.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

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

#if (defined(__SSE2__) || defined(__ARM_NEON) || defined(__wasm_simd128__)) && !defined(ZUCHARSET_WITHOUT_VECTORS)
constexpr bool HAS_VECTORS = true;
#else
constexpr bool HAS_VECTORS = false;
#endif

template <class Vector> bool isZero(Vector vAny) {
    if constexpr (sizeof(Vector) == sizeof(uint64_t)) {
        return std::bit_cast<uint64_t>(vAny) == 0;
    } else {
        const auto vWords = std::bit_cast<VECTOR_U64>(vAny);
        return (vWords[0] | vWords[1]) == 0;
    }
}

constexpr uint64_t EVERY_BYTE = 0x0101010101010101;
constexpr uint64_t HIGH_BITS = 0x80 * EVERY_BYTE;

// The sum of sixteen bytes, each at most 15.
template <class Vector> int32_t sumOfBytes(Vector vBytes) {
    const auto vWords = std::bit_cast<VECTOR_U64>(vBytes);
    return static_cast<int32_t>((vWords[0] + vWords[1]) * EVERY_BYTE >> 56);
}

// Length of the sequence that a byte of UTF-8 begins, in the definition of up to six bytes; 0 for a continuation byte,
// which begins none.
constexpr int32_t utf8SequenceLength(uint8_t u8Lead) {
    if (u8Lead < 0x80)
        return 1;
    if (u8Lead < 0xC0)
        return 0;
    if (u8Lead < 0xE0)
        return 2;
    if (u8Lead < 0xF0)
        return 3;
    if (u8Lead < 0xF8)
        return 4;
    return u8Lead < 0xFC ? 5 : 6;
}

constexpr int32_t TEXT_BLOCK = 64;

inline bool isAsciiBlock(const uint8_t *pu8Block) {
    VECTOR_U64 vAny{};
    for (int32_t i = 0; i < TEXT_BLOCK; i += 16)
        vAny |= loadAs<VECTOR_U64>(pu8Block + i);
    return isZero(vAny & HIGH_BITS);
}

// Bytes of a block that are 80 or more.
inline int32_t countForeign(const uint8_t *pu8Block) {
    uint64_t u64Sums = 0; // eight sums side by side, each at most eight
    for (int32_t i = 0; i < TEXT_BLOCK; i += 8)
        u64Sums += loadAs<uint64_t>(pu8Block + i) >> 7 & EVERY_BYTE;
    return static_cast<int32_t>(u64Sums * EVERY_BYTE >> 56);
}

// Marks the bytes that are continuation bytes though nothing before them asks for one, or the reverse. The bytes one,
// two and three places before them come with them.
inline VECTOR_MASK outOfPlace(VECTOR_U8 vText, VECTOR_U8 vBefore1, VECTOR_U8 vBefore2, VECTOR_U8 vBefore3) {
    const auto vWanted = (vBefore1 >= 0xC0) | (vBefore2 >= 0xE0) | (vBefore3 >= 0xF0);
    const auto vContinuation = (vText & 0xC0) == 0x80;
    return vWanted ^ vContinuation;
}

// UTF-8 is well-formed when continuation bytes stand exactly where the lead bytes before them ask for them. Of a block
// that begins with a new character this gives the length of the whole sequences; 0 when a byte is out of place, when
// one begins a sequence of more than four bytes, or when the target has no vectors to tell it fast. A block is a
// multiple of 16 bytes.
inline int32_t wellFormedLength(const uint8_t *pu8Block, int32_t s32Bytes = TEXT_BLOCK) {
    if (!HAS_VECTORS)
        return 0;
    // Zeros stand before the block: nothing there asks for a continuation.
    const VECTOR_U8 vNone{};
    auto vHighest = loadAs<VECTOR_U8>(pu8Block);
    VECTOR_MASK vWrong = outOfPlace(
        vHighest,
        __builtin_shufflevector(vNone, vHighest, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30),
        __builtin_shufflevector(vNone, vHighest, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29),
        __builtin_shufflevector(vNone, vHighest, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28));
    for (int32_t i = 16; i < s32Bytes; i += 16) {
        const auto vText = loadAs<VECTOR_U8>(pu8Block + i);
        vWrong |= outOfPlace(vText, loadAs<VECTOR_U8>(pu8Block + i - 1), loadAs<VECTOR_U8>(pu8Block + i - 2),
                             loadAs<VECTOR_U8>(pu8Block + i - 3));
        vHighest = vText > vHighest ? vText : vHighest;
    }
    if (!isZero(vWrong | (vHighest >= 0xF8)))
        return 0;
    // A sequence that goes on behind the block is left for the next one.
    if (pu8Block[s32Bytes - 1] >= 0xC0)
        return s32Bytes - 1;
    if (pu8Block[s32Bytes - 2] >= 0xE0)
        return s32Bytes - 2;
    return pu8Block[s32Bytes - 3] >= 0xF0 ? s32Bytes - 3 : s32Bytes;
}

} // namespace zucharset
