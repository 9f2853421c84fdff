// The ISO-8859 converter: fifteen parts of ISO/IEC 8859. Each handle carries copies of the tables of those parts that
// need one; the routines read only the copies.
#include "single_byte.h"

#include "tables/iso8859_tables.h"

namespace zucharset {
namespace {

struct ZU_CHARSETCONVERTER_Iso8859_S {
    uint16_t au16Part2[96];
    uint16_t au16Part3[96];
    uint16_t au16Part4[96];
    uint16_t au16Part5[96];
    uint16_t au16Part6[96];
    uint16_t au16Part7[96];
    uint16_t au16Part8[96];
    uint16_t au16Part9[48];
    uint16_t au16Part10[96];
    uint16_t au16Part13[96];
    uint16_t au16Part14[96];
    uint16_t au16Part15[32];
    uint16_t au16Part16[96];
    CONVERTER_TAIL_S stTail;
};

#if UINTPTR_MAX == 0xFFFFFFFFu
static_assert(sizeof(ZU_CHARSETCONVERTER_Iso8859_S) == (11 * 96 + 48 + 32) * 2 + 4 * 4);
#endif

int32_t _Converter_ISO8859_init(ZU_CHARSET_HANDLE hHandle) {
    if (hHandle == nullptr)
        return refuse("pstCharset is null");
    auto &stConv = *static_cast<ZU_CHARSETCONVERTER_Iso8859_S *>(hHandle);
    int32_t s32Failed = 0;
    s32Failed |= copyTable(stConv.au16Part2, g_Converter_iso8859_2ToUnicodeTable);
    s32Failed |= copyTable(stConv.au16Part3, g_Converter_iso8859_3ToUnicodeTable);
    s32Failed |= copyTable(stConv.au16Part4, g_Converter_iso8859_4ToUnicodeTable);
    s32Failed |= copyTable(stConv.au16Part5, g_Converter_iso8859_5ToUnicodeTable);
    s32Failed |= copyTable(stConv.au16Part6, g_Converter_iso8859_6ToUnicodeTable);
    s32Failed |= copyTable(stConv.au16Part7, g_Converter_iso8859_7ToUnicodeTable);
    s32Failed |= copyTable(stConv.au16Part8, g_Converter_iso8859_8ToUnicodeTable);
    s32Failed |= copyTable(stConv.au16Part9, g_Converter_iso8859_9ToUnicodeTable);
    s32Failed |= copyTable(stConv.au16Part10, g_Converter_iso8859_10ToUnicodeTable);
    s32Failed |= copyTable(stConv.au16Part13, g_Converter_iso8859_13ToUnicodeTable);
    s32Failed |= copyTable(stConv.au16Part14, g_Converter_iso8859_14ToUnicodeTable);
    s32Failed |= copyTable(stConv.au16Part15, g_Converter_iso8859_15ToUnicodeTable);
    s32Failed |= copyTable(stConv.au16Part16, g_Converter_iso8859_16ToUnicodeTable);
    if (s32Failed != 0)
        logText(LOG_ERROR, "memcpy_s fail");
    return 0;
}

// ISO-8859-11 is TIS-620, whose letters stand in Unicode in the same order; the bytes that it does not assign are
// refused.
constexpr int32_t _Converter_ISO8859_11ToUTF8_GetUnocode(uint8_t u8Byte, uint32_t *pu32Unicode) {
    const bool bThai = (u8Byte >= 0xA1 && u8Byte <= 0xDA) || (u8Byte >= 0xDF && u8Byte <= 0xFB);
    if (u8Byte > 0xA0 && !bThai)
        return -1;
    *pu32Unicode = bThai ? u8Byte + 0x0D60u : u8Byte;
    return 0;
}

struct THAI_TABLE_S {
    uint16_t au16[96];
};

constexpr THAI_TABLE_S s_stThai = [] {
    THAI_TABLE_S stTable{};
    for (uint32_t i = 0; i < 96; ++i) {
        uint32_t u32Unicode = UNDEFINED;
        _Converter_ISO8859_11ToUTF8_GetUnocode(static_cast<uint8_t>(0xA0 + i), &u32Unicode);
        stTable.au16[i] = static_cast<uint16_t>(u32Unicode);
    }
    return stTable;
}();

using ISO = ZU_CHARSETCONVERTER_Iso8859_S;

// The routine of a part: where its table lies in the handle, and from which byte on.
template <auto pau16Table, uint8_t u8FirstByte, GAP_E enGap = GAP_E::WRITTEN>
int32_t partToUtf8(ZU_CHARSET_HANDLE hHandle, uint8_t *pu8Output, int32_t *ps32OutputLen, const uint8_t *pu8Input,
                   int32_t s32InputLen) {
    const auto &stConv = *static_cast<const ISO *>(hHandle);
    return singleByteToUtf8({stConv.*pau16Table, u8FirstByte, enGap}, stConv.stTail.stControl, pu8Output, ps32OutputLen,
                            pu8Input, s32InputLen);
}

// The routine of a part without a table in the handle.
template <const SINGLE_BYTE_PAGE_S &stPage>
int32_t fixedPartToUtf8(ZU_CHARSET_HANDLE hHandle, uint8_t *pu8Output, int32_t *ps32OutputLen, const uint8_t *pu8Input,
                        int32_t s32InputLen) {
    return singleByteToUtf8(stPage, static_cast<const ISO *>(hHandle)->stTail.stControl, pu8Output, ps32OutputLen,
                            pu8Input, s32InputLen);
}

constexpr SINGLE_BYTE_PAGE_S s_stPart1 = {{}, 0, GAP_E::WRITTEN};
constexpr SINGLE_BYTE_PAGE_S s_stPart11 = {s_stThai.au16, 0xA0, GAP_E::PASSED_OVER};

constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_ISO8859_1ToUTF8 = fixedPartToUtf8<s_stPart1>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_ISO8859_2ToUTF8 = partToUtf8<&ISO::au16Part2, 0xA0>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_ISO8859_3ToUTF8 =
    partToUtf8<&ISO::au16Part3, 0xA0, GAP_E::PASSED_OVER>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_ISO8859_4ToUTF8 = partToUtf8<&ISO::au16Part4, 0xA0>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_ISO8859_5ToUTF8 = partToUtf8<&ISO::au16Part5, 0xA0>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_ISO8859_6ToUTF8 = partToUtf8<&ISO::au16Part6, 0xA0>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_ISO8859_7ToUTF8 = partToUtf8<&ISO::au16Part7, 0xA0>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_ISO8859_8ToUTF8 = partToUtf8<&ISO::au16Part8, 0xA0>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_ISO8859_9ToUTF8 = partToUtf8<&ISO::au16Part9, 0xD0>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_ISO8859_10ToUTF8 = partToUtf8<&ISO::au16Part10, 0xA0>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_ISO8859_11ToUTF8 = fixedPartToUtf8<s_stPart11>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_ISO8859_13ToUTF8 = partToUtf8<&ISO::au16Part13, 0xA0>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_ISO8859_14ToUTF8 = partToUtf8<&ISO::au16Part14, 0xA0>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_ISO8859_15ToUTF8 = partToUtf8<&ISO::au16Part15, 0xA0>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_ISO8859_16ToUTF8 = partToUtf8<&ISO::au16Part16, 0xA0>;

constexpr CONVERTER_ROUTINE_S g_iso8859_default_conv_table[] = {
    {ZU_CHARSET_CODETYPE_ISO8859_1, _Converter_ISO8859_1ToUTF8},
    {ZU_CHARSET_CODETYPE_ISO8859_2, _Converter_ISO8859_2ToUTF8},
    {ZU_CHARSET_CODETYPE_ISO8859_3, _Converter_ISO8859_3ToUTF8},
    {ZU_CHARSET_CODETYPE_ISO8859_4, _Converter_ISO8859_4ToUTF8},
    {ZU_CHARSET_CODETYPE_ISO8859_5, _Converter_ISO8859_5ToUTF8},
    {ZU_CHARSET_CODETYPE_ISO8859_6, _Converter_ISO8859_6ToUTF8},
    {ZU_CHARSET_CODETYPE_ISO8859_7, _Converter_ISO8859_7ToUTF8},
    {ZU_CHARSET_CODETYPE_ISO8859_8, _Converter_ISO8859_8ToUTF8},
    {ZU_CHARSET_CODETYPE_ISO8859_9, _Converter_ISO8859_9ToUTF8},
    {ZU_CHARSET_CODETYPE_ISO8859_10, _Converter_ISO8859_10ToUTF8},
    {ZU_CHARSET_CODETYPE_ISO8859_11, _Converter_ISO8859_11ToUTF8},
    {ZU_CHARSET_CODETYPE_ISO8859_13, _Converter_ISO8859_13ToUTF8},
    {ZU_CHARSET_CODETYPE_ISO8859_14, _Converter_ISO8859_14ToUTF8},
    {ZU_CHARSET_CODETYPE_ISO8859_15, _Converter_ISO8859_15ToUTF8},
    {ZU_CHARSET_CODETYPE_ISO8859_16, _Converter_ISO8859_16ToUTF8},
};
static_assert(std::size(g_iso8859_default_conv_table) == 15);

constexpr int32_t s32ConvSrcCodeType[] = {3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 0};
constexpr int32_t s32ConvDstCodeType[] = {ZU_CHARSET_CODETYPE_UTF8, 0};

constexpr CONVERTER_CLASS_S s_stIso8859 = {
    .ps32ConvSrcCodeType = s32ConvSrcCodeType,
    .ps32ConvDstCodeType = s32ConvDstCodeType,
    .enFindOrder = FIND_ORDER_E::SOURCE_THEN_DEST,
    .pszSrcUnknown = "unknown src codetype!!",
    .pszDstUnknown = "unknown dst codetype!!",
    .pszNotListed = nullptr,
    .pszSrcNotListed = "src type is not support, not use iso8859 converter.",
    .pszDstNotListed = "dst type is not support, not use iso8859 converter.",
    .u32HandleSize = sizeof(ZU_CHARSETCONVERTER_Iso8859_S),
    .u32TailOffset = offsetof(ZU_CHARSETCONVERTER_Iso8859_S, stTail),
    .pfnInit = _Converter_ISO8859_init,
    .astRoutines = g_iso8859_default_conv_table,
    .enQuitTest = QUIT_TEST_E::BEFORE_LOOKUP,
    .pszUnknownCommand = "TESTCHARSET_CONVERTER_setDataAsync: unknow commands\n",
};

int32_t ISO8859_CONVERTER_find(int32_t s32SrcCodeType, int32_t s32DstCodeType) {
    return converterFind(s_stIso8859, s32SrcCodeType, s32DstCodeType);
}

int32_t ISO8859_CONVERTER_create(ZU_CHARSET_HANDLE *phHandle, ZU_CHARSET_OPTION u32Option) {
    return converterCreate(s_stIso8859, phHandle, u32Option);
}

int32_t ISO8859_CONVERTER_convstream(ZU_CHARSET_HANDLE hHandle, const uint8_t *pu8Input, int32_t s32InputLen,
                                     uint8_t *pu8Output, int32_t *ps32OutputLen, int32_t s32SrcCodeType,
                                     int32_t s32DstCodeType, uint32_t *pu32ConsumedLen) {
    return converterConvStream(s_stIso8859, {hHandle, pu8Input, s32InputLen, pu8Output, ps32OutputLen, s32SrcCodeType,
                                             s32DstCodeType, pu32ConsumedLen});
}

int32_t ISO8859_CONVERTER_setDataAsync(ZU_CHARSET_HANDLE hHandle, int32_t s32Cmd, void *pArg) {
    return converterSetDataAsync(s_stIso8859, hHandle, s32Cmd, pArg);
}

int32_t ISO8859_CONVERTER_close(ZU_CHARSET_HANDLE hHandle) { return converterClose(s_stIso8859, hHandle); }

} // namespace
} // namespace zucharset

constinit ZU_CHARSET_S g_stISO8859_converter =
    zucharset::converterRecord("zucharset iso8859 converter", zucharset::ISO8859_CONVERTER_find,
                               zucharset::ISO8859_CONVERTER_create, zucharset::ISO8859_CONVERTER_convstream,
                               zucharset::ISO8859_CONVERTER_setDataAsync, zucharset::ISO8859_CONVERTER_close);
