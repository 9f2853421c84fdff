// The GBK converter. GBK is read through one flat table of code points, which the handle carries as a private copy.
#include "two_byte.h"

#include "tables/gbk_table.h"

namespace zucharset {
namespace {

constexpr PAIR_GRID_S GBK_GRID{0x81, 0xFE, 0x40, 0xFE, 0, 0};
constexpr uint32_t GBK_ENTRIES = 24080;

static_assert(sizeof g_Converter_GBKConverterToUnicodeTable == GBK_ENTRIES * sizeof(uint16_t));
static_assert(GBK_GRID.columns() == 191 && GBK_GRID.rows() * GBK_GRID.columns() <= GBK_ENTRIES);

struct ZU_CHARSETCONVERTER_Gbk_S {
    uint16_t au16ToUnicode[GBK_ENTRIES];
    CONVERTER_TAIL_S stTail;
};

#if UINTPTR_MAX == 0xFFFFFFFFu
static_assert(sizeof(ZU_CHARSETCONVERTER_Gbk_S) == 48160 + 4 * 4);
#endif

int32_t initGbk(ZU_CHARSET_HANDLE hNew) {
    if (copyTable(static_cast<ZU_CHARSETCONVERTER_Gbk_S *>(hNew)->au16ToUnicode,
                  g_Converter_GBKConverterToUnicodeTable) != 0)
        logText(LOG_ERROR, "memcpy_s fail");
    return 0;
}

constexpr bool isGbkLead(uint8_t u8Byte) { return u8Byte >= 0x81 && u8Byte <= 0xFE; }
constexpr bool isGbkTrail(uint8_t u8Byte) { return u8Byte >= 0x40 && u8Byte <= 0xFE && u8Byte != 0x7F; }

struct GbkDecoder : TwoByteDecoder<GbkDecoder> {
    // The column of 7F, which is no trail byte, holds code points below 800.
    static constexpr PAIR_GRID_S GRID = GBK_GRID;
    [[maybe_unused]] static constexpr bool HIGH_BYTE_FIRST = false;
    static constexpr bool LONG_RUNS = true;

    const uint16_t *pu16ToUnicode;

    explicit GbkDecoder(const ZU_CHARSETCONVERTER_Gbk_S &stConv) : pu16ToUnicode(stConv.au16ToUnicode) {}

    ZU_HOT CHARACTER_S next(const uint8_t *pu8Input, int32_t s32Left) const {
        const uint8_t u8Lead = pu8Input[0];
        if (u8Lead < 0x80)
            return character(u8Lead, 1);
        if (!isGbkLead(u8Lead))
            return u8Lead == 0x80 ? character(0x4F2C, 1) : passedOver(1);
        if (s32Left < 2)
            return CUT_OFF;
        const uint8_t u8Trail = pu8Input[1];
        // A stray lead byte gives up one replacement and no more: what follows it is read afresh, so that a line end
        // or a letter after a damaged character survives.
        if (!isGbkTrail(u8Trail))
            return character(REPLACEMENT, 1);
        return character(entry(u8Lead - 0x81u, u8Trail - 0x40u), 2);
    }

    ZU_HOT uint32_t entry(uint32_t u32Row, uint32_t u32Column) const {
        return pu16ToUnicode[u32Row * GRID.columns() + u32Column];
    }

    const uint8_t *table() const { return reinterpret_cast<const uint8_t *>(pu16ToUnicode); }
};

constexpr auto _Converter_GBK_ToUTF8 = decoderToUtf8<ZU_CHARSETCONVERTER_Gbk_S, GbkDecoder>;

constexpr int32_t s32ConvSrcCodeType[] = {ZU_CHARSET_CODETYPE_GBK, 0};
constexpr int32_t s32ConvDstCodeType[] = {ZU_CHARSET_CODETYPE_UTF8, 0};

constexpr CONVERTER_ROUTINE_S s_astRoutines[] = {{ZU_CHARSET_CODETYPE_GBK, _Converter_GBK_ToUTF8}};

constexpr CONVERTER_CLASS_S s_stGbk = {
    .ps32ConvSrcCodeType = s32ConvSrcCodeType,
    .ps32ConvDstCodeType = s32ConvDstCodeType,
    .enFindOrder = FIND_ORDER_E::SOURCE_THEN_DEST,
    .pszSrcUnknown = "unknown src codetype!!",
    .pszDstUnknown = "unknown dst codetype!!",
    .pszNotListed = nullptr,
    .pszSrcNotListed = "src type is not support, not use gbk converter.",
    .pszDstNotListed = "dst type is not support, not use gbk converter.",
    .u32HandleSize = sizeof(ZU_CHARSETCONVERTER_Gbk_S),
    .u32TailOffset = offsetof(ZU_CHARSETCONVERTER_Gbk_S, stTail),
    .pfnInit = initGbk,
    .astRoutines = s_astRoutines,
    .enQuitTest = QUIT_TEST_E::AFTER_LOOKUP,
    .pszUnknownCommand = "TESTCHARSET_CONVERTER_setDataAsync: unknow commands\n",
};

int32_t GBK_CONVERTER_find(int32_t s32SrcCodeType, int32_t s32DstCodeType) {
    return converterFind(s_stGbk, s32SrcCodeType, s32DstCodeType);
}

int32_t GBK_CONVERTER_create(ZU_CHARSET_HANDLE *phHandle, ZU_CHARSET_OPTION u32Option) {
    return converterCreate(s_stGbk, phHandle, u32Option);
}

int32_t GBK_CONVERTER_convstream(ZU_CHARSET_HANDLE hHandle, const uint8_t *pu8Input, int32_t s32InputLen,
                                 uint8_t *pu8Output, int32_t *ps32OutputLen, int32_t s32SrcCodeType,
                                 int32_t s32DstCodeType, uint32_t *pu32ConsumedLen) {
    return converterConvStream(s_stGbk, {hHandle, pu8Input, s32InputLen, pu8Output, ps32OutputLen, s32SrcCodeType,
                                         s32DstCodeType, pu32ConsumedLen});
}

int32_t GBK_CONVERTER_setDataAsync(ZU_CHARSET_HANDLE hHandle, int32_t s32Cmd, void *pArg) {
    return converterSetDataAsync(s_stGbk, hHandle, s32Cmd, pArg);
}

int32_t GBK_CONVERTER_close(ZU_CHARSET_HANDLE hHandle) { return converterClose(s_stGbk, hHandle); }

} // namespace
} // namespace zucharset

constinit ZU_CHARSET_S g_stGBK_converter = zucharset::converterRecord(
    "zucharset gbk converter", zucharset::GBK_CONVERTER_find, zucharset::GBK_CONVERTER_create,
    zucharset::GBK_CONVERTER_convstream, zucharset::GBK_CONVERTER_setDataAsync, zucharset::GBK_CONVERTER_close);
