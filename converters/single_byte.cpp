#include "single_byte.h"

#include "converter_output.h"

namespace zucharset {
namespace {

struct SingleByteDecoder : CodePointDecoder<SingleByteDecoder> {
    const SINGLE_BYTE_PAGE_S &stPage;

    explicit SingleByteDecoder(const SINGLE_BYTE_PAGE_S &stPageIn) : stPage(stPageIn) {}

    ZU_HOT CHARACTER_S next(const uint8_t *pu8Input, int32_t) const {
        const uint8_t u8Byte = pu8Input[0];
        const size_t u32Index = static_cast<size_t>(u8Byte) - stPage.u8FirstByte; // wraps for a byte below the first
        if (u32Index >= stPage.au16ToUnicode.size())
            return character(u8Byte, 1);
        const uint16_t u16Unicode = stPage.au16ToUnicode[u32Index];
        if (u16Unicode == UNDEFINED && stPage.enGap == GAP_E::PASSED_OVER)
            return passedOver(1);
        return character(u16Unicode, 1);
    }
};

// For long input: the sequence of each byte as a word, its length in the topmost byte, so that a byte costs one look-up
// and no decision. Alphabets mix with spaces in no order that a processor could foresee.
struct ExpandedDecoder : SingleByteDecoder {
    uint32_t au32Sequence[256];

    explicit ExpandedDecoder(const SINGLE_BYTE_PAGE_S &stPageIn) : SingleByteDecoder(stPageIn) {
        for (uint32_t u32Byte = 0; u32Byte < 0x80; ++u32Byte)
            au32Sequence[u32Byte] = u32Byte | 1u << 24;
        for (uint32_t u32Byte = 0x80; u32Byte < 0x100; ++u32Byte) {
            const auto u8Byte = static_cast<uint8_t>(u32Byte);
            const CHARACTER_S stChar = next(&u8Byte, 1);
            au32Sequence[u32Byte] = wideSequence(stChar) | static_cast<uint32_t>(stChar.s32Length) << 24;
        }
    }

    BLOCK_CURSOR_S convertBlock(BLOCK_CURSOR_S stCursor) const {
        for (int32_t i = 0; i < BLOCK_INPUT; i += 8) {
            const auto u64Word = loadAs<uint64_t>(stCursor.pu8Input);
            if ((u64Word & HIGH_BITS) == 0) {
                storeAs(stCursor.pu8Output, u64Word);
                stCursor = advanced(stCursor, 8, 8);
                continue;
            }
            for (int32_t s32Shift = 0; s32Shift < 64; s32Shift += 8) {
                const uint32_t u32Sequence = au32Sequence[u64Word >> s32Shift & 0xFF];
                storeAs(stCursor.pu8Output, u32Sequence);
                stCursor.pu8Output += u32Sequence >> 24;
            }
            stCursor.pu8Input += 8;
        }
        return stCursor;
    }
};

// From here on the table of sequences pays.
constexpr int32_t EXPANSION_PAYS = 1024;

} // namespace

int32_t singleByteToUtf8(const SINGLE_BYTE_PAGE_S &stPage, const HANDLE_CONTROL_S &stControl, uint8_t *pu8Output,
                         int32_t *ps32OutputLen, const uint8_t *pu8Input, int32_t s32InputLen) {
    if (s32InputLen < EXPANSION_PAYS)
        return convertToUtf8(SingleByteDecoder{stPage}, stControl, pu8Output, ps32OutputLen, pu8Input, s32InputLen);
    return convertToUtf8(ExpandedDecoder{stPage}, stControl, pu8Output, ps32OutputLen, pu8Input, s32InputLen);
}

} // namespace zucharset
