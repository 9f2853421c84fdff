// UTF-8 to UTF-16, for strings of JavaScript: browsers and Node make them of UTF-16 many times as fast.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <wasm_simd128.h>

namespace {

uint32_t leadingOnes(uint32_t bits) { return static_cast<uint32_t>(__builtin_ctz(~bits)); }

/** One character, at the edges and beyond the runs. @return its bytes */
size_t widenOne(const uint8_t *bytes, uint16_t *&units) {
    const uint32_t first = bytes[0];
    const auto tail = [bytes](size_t i) { return bytes[i] & 0x3Fu; };
    if (first < 0x80) {
        *units++ = static_cast<uint16_t>(first);
        return 1;
    }
    if (first < 0xE0) {
        *units++ = static_cast<uint16_t>((first & 0x1F) << 6 | tail(1));
        return 2;
    }
    if (first < 0xF0) {
        *units++ = static_cast<uint16_t>((first & 0x0F) << 12 | tail(1) << 6 | tail(2));
        return 3;
    }
    const uint32_t above = ((first & 0x07) << 18 | tail(1) << 12 | tail(2) << 6 | tail(3)) - 0x10000;
    *units++ = static_cast<uint16_t>(0xD800 + (above >> 10));
    *units++ = static_cast<uint16_t>(0xDC00 + (above & 0x3FF));
    return 4;
}

} // namespace

/**
 * @param bytes   well-formed UTF-8, whole characters; 16 bytes behind them can be read
 * @param length  in bytes
 * @param units   room for length + 16 units
 * @return how many units there are
 */
extern "C" __attribute__((export_name("zutext_web_widen"))) size_t zutext_web_widen(const uint8_t *bytes, size_t length,
                                                                                    uint16_t *units) {
    const uint16_t *const begin = units;
    const uint8_t *const end = bytes + length;
    while (bytes < end) {
        // A block is taken for a run of what it begins with; what is stored beyond the run is written over.
        const v128_t block = wasm_v128_load(bytes);
        const auto left = static_cast<size_t>(end - bytes);
        size_t taken = 0;
        size_t made = 0;
        if (*bytes < 0x80) {
            taken = made = leadingOnes(~static_cast<uint32_t>(wasm_i8x16_bitmask(block)) & 0xFFFF);
            wasm_v128_store(units, wasm_u16x8_extend_low_u8x16(block));
            wasm_v128_store(units + 8, wasm_u16x8_extend_high_u8x16(block));
        } else if (*bytes < 0xE0) {
            const v128_t form = wasm_v128_and(block, wasm_i16x8_splat(static_cast<int16_t>(0xC0E0)));
            const v128_t pairs = wasm_i16x8_eq(form, wasm_i16x8_splat(static_cast<int16_t>(0x80C0)));
            made = leadingOnes(static_cast<uint32_t>(wasm_i16x8_bitmask(pairs)));
            taken = 2 * made;
            const v128_t high = wasm_i16x8_shl(wasm_v128_and(block, wasm_i16x8_splat(0x1F)), 6);
            const v128_t low = wasm_v128_and(wasm_u16x8_shr(block, 8), wasm_i16x8_splat(0x3F));
            wasm_v128_store(units, wasm_v128_or(high, low));
        } else if (*bytes < 0xF0) {
            // Five characters of three bytes: their first, second and third bytes, one in each lane.
            const v128_t leads = wasm_i8x16_shuffle(block, block, 0, 0, 3, 3, 6, 6, 9, 9, 12, 12, 0, 0, 0, 0, 0, 0);
            const v128_t middles = wasm_i8x16_shuffle(block, block, 1, 1, 4, 4, 7, 7, 10, 10, 13, 13, 1, 1, 1, 1, 1, 1);
            const v128_t lasts = wasm_i8x16_shuffle(block, block, 2, 2, 5, 5, 8, 8, 11, 11, 14, 14, 2, 2, 2, 2, 2, 2);
            const v128_t isLead = wasm_i16x8_eq(wasm_v128_and(leads, wasm_i16x8_splat(0xF0)), wasm_i16x8_splat(0xE0));
            made = leadingOnes(static_cast<uint32_t>(wasm_i16x8_bitmask(isLead)) & 0x1F);
            taken = 3 * made;
            const v128_t high = wasm_i16x8_shl(leads, 12);
            const v128_t middle = wasm_i16x8_shl(wasm_v128_and(middles, wasm_i16x8_splat(0x3F)), 6);
            const v128_t low = wasm_v128_and(lasts, wasm_i16x8_splat(0x3F));
            wasm_v128_store(units, wasm_v128_or(wasm_v128_or(high, middle), low));
        }
        if (taken == 0 || taken > left) { // beyond the BMP, or the end is near
            bytes += widenOne(bytes, units);
        } else {
            bytes += taken;
            units += made;
        }
    }
    return static_cast<size_t>(units - begin);
}
