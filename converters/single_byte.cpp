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

    CURSOR_S convertStretch(CURSOR_S stCursor, STRETCH_S stStretch) const {
        const bool bBlocks = stStretch.hasRoom(stCursor, PLAIN_BLOCK, BLOCK_MOST);
        if (HAS_SHUFFLE && bBlocks && stPage.au16ToUnicode.empty())
            return convertLatin1(stCursor, stStretch);
        if (pu32Sequences == nullptr) {
            if (stStretch.pu8InputStop - stCursor.pu8Input < EXPANSION_PAYS)
                return CodePointDecoder::convertStretch(stCursor, stStretch);
            pu32Sequences = expand();
        }
        if (HAS_ROWS && bBlocks && countForeign(stCursor.pu8Input) >= ROWS_PAY)
            return convertPage(stCursor, stStretch);
        return convertBySequences(stCursor, stStretch);
    }

  private:
    static constexpr int32_t BLOCK_MOST = PLAIN_BLOCK * 3 + KERNEL_MARGIN;

    // Block by block, up to plain text.
    template <class ConvertBlock>
    ZU_HOT static CURSOR_S convertBlocks(CURSOR_S stCursor, STRETCH_S stStretch, ConvertBlock convertBlock) {
        do
            stCursor = convertBlock(stCursor);
        while (stStretch.goesOn(stCursor) && stStretch.hasRoom(stCursor, PLAIN_BLOCK, BLOCK_MOST) &&
               !isAsciiBlock(stCursor.pu8Input));
        return stCursor;
    }

    [[gnu::noinline]] static CURSOR_S convertLatin1(CURSOR_S stCursor, STRETCH_S stStretch) {
        return convertBlocks(stCursor, stStretch, [](CURSOR_S stBlock) {
#pragma GCC unroll 4
            for (int32_t i = 0; i < PLAIN_BLOCK; i += WIDE_BYTES) {
                const auto vText = loadAs<WIDE_U8>(stBlock.pu8Input);
                stBlock = {stBlock.pu8Input + WIDE_BYTES,
                           storeOneOrTwo(stBlock.pu8Output, vText, std::bit_cast<WIDE_MASK>(vText) < 0,
                                         vText >> 6 | 0xC0, vText & 0xBF)};
            }
            return stBlock;
        });
    }

    // Where all foreign bytes of a vector have sequences of two bytes, these come from rows. The others have none
    // there.
    [[gnu::noinline]] CURSOR_S convertPage(CURSOR_S stCursor, STRETCH_S stStretch) const {
        const uint32_t *const pu32Table = pu32Sequences;
        return convertBlocks(stCursor, stStretch, [&](CURSOR_S stBlock) {
            for (int32_t i = 0; i < PLAIN_BLOCK; i += WIDE_BYTES) {
                const auto vText = loadAs<WIDE_U8>(stBlock.pu8Input);
                const WIDE_MASK vForeign = std::bit_cast<WIDE_MASK>(vText) < 0;
                const auto [vFirst, vLast] = lookedUp(stRows, vText);
                if (isZero(vForeign & (vFirst == 0)))
                    stBlock.pu8Output = storeOneOrTwo(stBlock.pu8Output, vText, vForeign, vFirst, vLast);
                else
                    stBlock.pu8Output = storeLookedUp<WIDE_BYTES>(stBlock, pu32Table);
                stBlock.pu8Input += WIDE_BYTES;
            }
            return stBlock;
        });
    }

    template <int32_t s32Bytes> static uint8_t *storeLookedUp(CURSOR_S stCursor, const uint32_t *pu32Table) {
#pragma GCC unroll 8
        for (int32_t i = 0; i < s32Bytes; ++i)
            stCursor.pu8Output = storeSequence(stCursor.pu8Output, pu32Table[stCursor.pu8Input[i]]);
        return stCursor.pu8Output;
    }

    // A byte costs one look-up in a table of sequences, and no decision: alphabets mix with spaces in no order that a
    // processor could foresee.
    CURSOR_S convertBySequences(CURSOR_S stCursor, STRETCH_S stStretch) const {
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
            stCursor = {stCursor.pu8Input + 8, storeLookedUp<8>(stCursor, pu32Table)};
        }
        return stCursor;
    }

    static constexpr int32_t EXPANSION_PAYS = 256;
    static constexpr int32_t ROWS_PAY = PLAIN_BLOCK / 4; // foreign bytes in a block

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
        for (uint32_t i = 0; HAS_ROWS && i < 0x80; ++i) {
            const uint32_t u32Sequence = stSequences.au32[0x80 + i];
            const bool bTwo = u32Sequence >> 24 == 2;
            stRows.au8First[i / 16][i % 16] = static_cast<uint8_t>(bTwo ? u32Sequence : 0);
            stRows.au8Second[i / 16][i % 16] = static_cast<uint8_t>(u32Sequence >> 8);
        }
        return stSequences.au32;
    }

    const SINGLE_BYTE_PAGE_S &stPage;
    // Made when a long text turns out to need it.
    mutable const uint32_t *pu32Sequences = nullptr;
    mutable SEQUENCES_S stSequences;
    mutable ROWS_OF_TWO_S stRows;
};

} // namespace

int32_t singleByteToUtf8(const SINGLE_BYTE_PAGE_S &stPage, const HANDLE_CONTROL_S &stControl, uint8_t *pu8Output,
                         int32_t *ps32OutputLen, const uint8_t *pu8Input, int32_t s32InputLen) {
    return convertToUtf8(SingleByteDecoder{stPage}, stControl, pu8Output, ps32OutputLen, pu8Input, s32InputLen);
}

} // namespace zucharset
