// The identification tests as the detector sees them: a single-byte test is the set of bytes that it knows.
#pragma once

#include "zucharset.h"

#include <cstdint>

namespace zucharset {

// A set of byte values.
struct ByteSet {
    uint32_t au32Bits[8];

    constexpr bool has(uint8_t u8Byte) const { return (au32Bits[u8Byte / 32] >> (u8Byte % 32) & 1) != 0; }
    constexpr void add(uint8_t u8Byte) { au32Bits[u8Byte / 32] |= 1u << (u8Byte % 32); }
    constexpr void remove(uint8_t u8Byte) { au32Bits[u8Byte / 32] &= ~(1u << (u8Byte % 32)); }

    constexpr bool includes(const ByteSet &stOther) const {
        for (int i = 0; i < 8; ++i) {
            if ((stOther.au32Bits[i] & ~au32Bits[i]) != 0)
                return false;
        }
        return true;
    }
};

using IDENTIFICATION_TEST_FN = int32_t (*)(const uint8_t *pu8Input, int32_t s32InputLen);

// The bytes that a single-byte test knows; null for the tests of UTF-16, which weigh code units. For every text that is
// not empty, a test with a set accepts exactly when all bytes are in it; IsIso8859_1 limits symbols besides.
const ByteSet *knownBytes(IDENTIFICATION_TEST_FN pfnTest);

} // namespace zucharset
