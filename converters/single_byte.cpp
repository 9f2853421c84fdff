#include "single_byte.h"

#include "converter_output.h"

namespace zucharset {
namespace {

// The sequence of each byte as a word, its length in the topmost byte.
struct SEQUENCES_S {
    uint32_t au32[256];
};

// Every byte being its own code point.
constexpr SEQUENCES_S s_stLatin1 = [] {
    SEQUENCES_S stSequences{};
    for (uint32_t u32Byte = 0; u32Byte < 0x100; ++u32Byte)
        stSequences.au32[u32Byte] =
            u32Byte < 0x80 ? 0x1000000 | u32Byte : 0x20080C0 | u32Byte >> 6 | (u32Byte & 0x3F) << 8;
    return stSequences;
}();

class SingleByteDecoder : public CodePointDecoder<SingleByteDecoder> {
  public:
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

    // A byte costs one look-up in a table of sequences, and no decision: alphabets mix with spaces in no order that a
    // processor could foresee.
    CURSOR_S convertStretch(CURSOR_S stCursor, STRETCH_S stStretch) const {
        if (pu32Sequences == nullptr) {
            if (stStretch.pu8InputStop - stCursor.pu8Input < EXPANSION_PAYS)
                return CodePointDecoder::convertStretch(stCursor, stStretch);
            pu32Sequences = expand();
        }
        const uint32_t *const pu32Table = pu32Sequences;
        PlainCounter<8> stPlain;
        while (stStretch.goesOn(stCursor)) {
            const auto u64Word = loadAs<uint64_t>(stCursor.pu8Input);
            if ((u64Word & HIGH_BITS) == 0) {
                storeAs(stCursor.pu8Output, u64Word);
                stCursor = advanced(stCursor, 8, 8);
                if (stPlain.isLong(true))
                    break;
                continue;
            }
            stPlain.isLong(false);
#pragma GCC unroll 8
            for (int32_t s32Shift = 0; s32Shift < 64; s32Shift += 8)
                stCursor.pu8Output = storeSequence(stCursor.pu8Output, pu32Table[u64Word >> s32Shift & 0xFF]);
            stCursor.pu8Input += 8;
        }
        return stCursor;
    }

  private:
    static constexpr int32_t EXPANSION_PAYS = 256;

    const uint32_t *expand() const {
        if (stPage.au16ToUnicode.empty())
            return s_stLatin1.au32;
        stSequences = s_stLatin1;
        uint32_t *pu32Sequence = stSequences.au32 + stPage.u8FirstByte;
        for (size_t i = 0; i < stPage.au16ToUnicode.size(); i += 8) {
            VECTOR_U16 vUnicode;
            std::memcpy(&vUnicode, stPage.au16ToUnicode.data() + i, sizeof vUnicode);
            const EIGHT_SEQUENCES_S stEight = anySequences(vUnicode);
            std::memcpy(pu32Sequence + i, &stEight, sizeof stEight);
        }
        if (stPage.enGap == GAP_E::PASSED_OVER) {
            for (size_t i = 0; i < stPage.au16ToUnicode.size(); ++i)
                pu32Sequence[i] = stPage.au16ToUnicode[i] == UNDEFINED ? 0 : pu32Sequence[i];
        }
        return stSequences.au32;
    }

    const SINGLE_BYTE_PAGE_S &stPage;
    // Made when a long text turns out to need it.
    mutable const uint32_t *pu32Sequences = nullptr;
    mutable SEQUENCES_S stSequences;
};

} // namespace

int32_t singleByteToUtf8(const SINGLE_BYTE_PAGE_S &stPage, const HANDLE_CONTROL_S &stControl, uint8_t *pu8Output,
                         int32_t *ps32OutputLen, const uint8_t *pu8Input, int32_t s32InputLen) {
    return convertToUtf8(SingleByteDecoder{stPage}, stControl, pu8Output, ps32OutputLen, pu8Input, s32InputLen);
}

} // namespace zucharset
