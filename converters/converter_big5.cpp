// The Big5 converter. Big5 is read through one table of code points stored high byte first, which the handle carries as
// a private copy. The table holds only the two bands of trail bytes, 157 entries for each lead byte.
#include "two_byte.h"

#include "tables/big5_table.h"

namespace zucharset {
namespace {

// Trail bytes 40 to 7E and A1 to FE.
constexpr PAIR_GRID_S BIG5_GRID{0xA1, 0xF9, 0x40, 0xFE, 0x7F, 0xA1 - 0x7F};
constexpr int32_t BIG5_TABLE_SIZE = 27946;

static_assert(sizeof g_Converter_Big5ConverterToUnicodeTable == BIG5_TABLE_SIZE);
static_assert(BIG5_GRID.columns() == 157 && BIG5_GRID.rows() * BIG5_GRID.columns() * 2 == BIG5_TABLE_SIZE);

struct ZU_CHARSETCONVERTER_Big5_S {
    uint8_t au8ToUnicode[BIG5_TABLE_SIZE];
    CONVERTER_TAIL_S stTail;
};

#if UINTPTR_MAX == 0xFFFFFFFFu
static_assert(sizeof(ZU_CHARSETCONVERTER_Big5_S) == 27948 + 4 * 4);
#endif

int32_t initBig5(ZU_CHARSET_HANDLE hNew) {
    if (copyTable(static_cast<ZU_CHARSETCONVERTER_Big5_S *>(hNew)->au8ToUnicode,
                  g_Converter_Big5ConverterToUnicodeTable) != 0)
        logText(LOG_ERROR, "memcpy_s fail");
    return 0;
}

// Byte position of a pair's entry, which may lie behind the table; -1 when the second byte is no trail byte.
constexpr int32_t converterGetIndex(uint8_t u8Lead, uint8_t u8Trail) {
    const uint32_t u32Column = BIG5_GRID.columnOf(u8Trail);
    if (u32Column == PAIR_GRID_S::NOWHERE)
        return -1;
    return static_cast<int32_t>(2 * ((u8Lead - BIG5_GRID.u8FirstLead) * BIG5_GRID.columns() + u32Column));
}

static_assert(converterGetIndex(0xA1, 0x7E) == 2 * 62 && converterGetIndex(0xA1, 0xA1) == 2 * 63);
static_assert(converterGetIndex(0xF9, 0xFE) == BIG5_TABLE_SIZE - 2);
static_assert(converterGetIndex(0xA4, 0x7F) == -1 && converterGetIndex(0xA4, 0xA0) == -1 &&
              converterGetIndex(0xA4, 0x3F) == -1 && converterGetIndex(0xA4, 0xFF) == -1);

struct Big5Decoder : TwoByteDecoder<Big5Decoder> {
    static constexpr PAIR_GRID_S GRID = BIG5_GRID;
    [[maybe_unused]] static constexpr bool HIGH_BYTE_FIRST = true;
    static constexpr bool LONG_RUNS = true;

    const uint8_t *pu8ToUnicode;

    explicit Big5Decoder(const ZU_CHARSETCONVERTER_Big5_S &stConv) : pu8ToUnicode(stConv.au8ToUnicode) {}

    ZU_HOT CHARACTER_S next(const uint8_t *pu8Input, int32_t s32Left) const {
        const uint8_t u8Lead = pu8Input[0];
        if (u8Lead <= 0x80)
            return converterLow(u8Lead);
        if (u8Lead <= 0xA0 || u8Lead == 0xFF)
            return passedOver(1);
        return converterHigh(pu8Input, s32Left);
    }

    ZU_HOT uint32_t entry(uint32_t u32Row, uint32_t u32Column) const {
        return at(size_t{2} * (u32Row * GRID.columns() + u32Column));
    }

    const uint8_t *table() const { return pu8ToUnicode; }

  private:
    // Swapped as a word: a processor is slow at half registers.
    ZU_HOT uint32_t at(size_t u32Index) const {
        return __builtin_bswap32(loadAs<uint16_t>(pu8ToUnicode + u32Index)) >> 16;
    }

    static CHARACTER_S converterLow(uint8_t u8Byte) { return character(u8Byte == 0x80 ? 0xFE65u : u8Byte, 1); }

    ZU_HOT CHARACTER_S converterHigh(const uint8_t *pu8Input, int32_t s32Left) const {
        if (s32Left < 2)
            return CUT_OFF;
        const int32_t s32Index = converterGetIndex(pu8Input[0], pu8Input[1]);
        // A stray lead byte gives up one replacement and no more: what follows it is read afresh, so that a line end
        // or a letter after a damaged character survives.
        if (s32Index < 0)
            return character(REPLACEMENT, 1);
        if (s32Index >= BIG5_TABLE_SIZE)
            return character(REPLACEMENT, 2);
        return character(at(static_cast<size_t>(s32Index)), 2);
    }
};

int32_t _Converter_BIG5_ToUTF8(ZU_CHARSET_HANDLE hHandle, uint8_t *pu8Output, int32_t *ps32OutputLen,
                               const uint8_t *pu8Input, int32_t s32InputLen) {
    logText(LOG_TRACE, "_Converter_BIG5_ToUTF8\n");
    return decoderToUtf8<ZU_CHARSETCONVERTER_Big5_S, Big5Decoder>(hHandle, pu8Output, ps32OutputLen, pu8Input,
                                                                  s32InputLen);
}

constexpr int32_t s32ConvSrcCodeType[] = {ZU_CHARSET_CODETYPE_BIG5, 0};
constexpr int32_t s32ConvDstCodeType[] = {ZU_CHARSET_CODETYPE_UTF8, 0};

constexpr CONVERTER_ROUTINE_S s_astRoutines[] = {{ZU_CHARSET_CODETYPE_BIG5, _Converter_BIG5_ToUTF8}};

constexpr CONVERTER_CLASS_S s_stBig5 = {
    .ps32ConvSrcCodeType = s32ConvSrcCodeType,
    .ps32ConvDstCodeType = s32ConvDstCodeType,
    .enFindOrder = FIND_ORDER_E::RANGES_FIRST,
    .pszSrcUnknown = "unknown codetype!!",
    .pszDstUnknown = "unknown codetype!!",
    .pszNotListed = nullptr,
    .pszSrcNotListed = "src type is not support, not use big5 converter.",
    .pszDstNotListed = "dst type is not support, not use big5 converter.",
    .u32HandleSize = sizeof(ZU_CHARSETCONVERTER_Big5_S),
    .u32TailOffset = offsetof(ZU_CHARSETCONVERTER_Big5_S, stTail),
    .pfnInit = initBig5,
    .astRoutines = s_astRoutines,
    .enQuitTest = QUIT_TEST_E::AFTER_LOOKUP,
    .pszUnknownCommand = "BIG5_CONVERTER_setDataAsync: unknow commands\n",
};

int32_t BIG5_CONVERTER_find(int32_t s32SrcCodeType, int32_t s32DstCodeType) {
    return converterFind(s_stBig5, s32SrcCodeType, s32DstCodeType);
}

int32_t BIG5_CONVERTER_create(ZU_CHARSET_HANDLE *phHandle, ZU_CHARSET_OPTION u32Option) {
    return converterCreate(s_stBig5, phHandle, u32Option);
}

int32_t BIG5_CONVERTER_convstream(ZU_CHARSET_HANDLE hHandle, const uint8_t *pu8Input, int32_t s32InputLen,
                                  uint8_t *pu8Output, int32_t *ps32OutputLen, int32_t s32SrcCodeType,
                                  int32_t s32DstCodeType, uint32_t *pu32ConsumedLen) {
    return converterConvStream(s_stBig5, {hHandle, pu8Input, s32InputLen, pu8Output, ps32OutputLen, s32SrcCodeType,
                                          s32DstCodeType, pu32ConsumedLen});
}

int32_t BIG5_CONVERTER_setDataAsync(ZU_CHARSET_HANDLE hHandle, int32_t s32Cmd, void *pArg) {
    return converterSetDataAsync(s_stBig5, hHandle, s32Cmd, pArg);
}

int32_t BIG5_CONVERTER_close(ZU_CHARSET_HANDLE hHandle) { return converterClose(s_stBig5, hHandle); }

} // namespace
} // namespace zucharset

constinit ZU_CHARSET_S g_stBIG5_converter = zucharset::converterRecord(
    "zucharset Big5 converter", zucharset::BIG5_CONVERTER_find, zucharset::BIG5_CONVERTER_create,
    zucharset::BIG5_CONVERTER_convstream, zucharset::BIG5_CONVERTER_setDataAsync, zucharset::BIG5_CONVERTER_close);
