// The Windows code page converter: code pages 1250 to 1258 and 874. Each handle carries copies of the tables; the
// routines read only the copies. Bytes that a code page leaves undefined are dropped.
#include "single_byte.h"

#include "tables/wincp_tables.h"

namespace zucharset {
namespace {

struct ZU_CHARSETCONVERTER_WinCp_S {
    uint16_t au16Cp1250[128];
    uint16_t au16Cp1251[128];
    uint16_t au16Cp1252[32];
    uint16_t au16Cp1253[128];
    uint16_t au16Cp1254[128];
    uint16_t au16Cp1255[128];
    uint16_t au16Cp1256[128];
    uint16_t au16Cp1257[128];
    uint16_t au16Cp1258[128];
    uint16_t au16Cp874[128];
    CONVERTER_TAIL_S stTail;
};

#if UINTPTR_MAX == 0xFFFFFFFFu
static_assert(sizeof(ZU_CHARSETCONVERTER_WinCp_S) == (9 * 128 + 32) * 2 + 4 * 4);
#endif

template <size_t u32Entries> void copyPage(uint16_t (&au16Copy)[u32Entries], const uint16_t (&au16Page)[u32Entries]) {
    if (copyTable(au16Copy, au16Page) != 0)
        logText(LOG_ERROR, "memcpy_s fail");
}

// What code page 1254 has in common with ISO-8859-1 it does not take from its table: these bytes are right even when
// the table could not be copied.
void setLatin1Rows(uint16_t (&au16Cp1254)[128]) {
    for (uint16_t u16Byte = 0xA0; u16Byte <= 0xEF; ++u16Byte) {
        if (u16Byte <= 0xCF || u16Byte >= 0xE0)
            au16Cp1254[u16Byte - 0x80] = u16Byte;
    }
}

int32_t _Win_cp_Converter_init(ZU_CHARSET_HANDLE hHandle) {
    if (hHandle == nullptr)
        return refuse("ZU_CHARSETCONVERTER_WinCp_S pstConv is null");
    auto &stConv = *static_cast<ZU_CHARSETCONVERTER_WinCp_S *>(hHandle);
    copyPage(stConv.au16Cp1250, g_Converter_win_cp1250);
    copyPage(stConv.au16Cp1251, g_Converter_win_cp1251);
    copyPage(stConv.au16Cp1252, g_Converter_win_cp1252);
    copyPage(stConv.au16Cp1253, g_Converter_win_cp1253);
    copyPage(stConv.au16Cp1254, g_Converter_win_cp1254);
    setLatin1Rows(stConv.au16Cp1254);
    copyPage(stConv.au16Cp1255, g_Converter_win_cp1255);
    copyPage(stConv.au16Cp1256, g_Converter_win_cp1256);
    copyPage(stConv.au16Cp1257, g_Converter_win_cp1257);
    copyPage(stConv.au16Cp1258, g_Converter_win_cp1258);
    copyPage(stConv.au16Cp874, g_Converter_win_cp874);
    return 0;
}

using WINCP = ZU_CHARSETCONVERTER_WinCp_S;

// The routine of a code page: its table in the handle, which covers the bytes from 80 on. Behind a shorter table, and
// in code page 1254 between the bytes that it changes, a byte is its own code point as in ISO-8859-1.
template <auto pau16Table>
int32_t WINCPConvterToUTF8(ZU_CHARSET_HANDLE hHandle, uint8_t *pu8Output, int32_t *ps32OutputLen,
                           const uint8_t *pu8Input, int32_t s32InputLen) {
    if (hHandle == nullptr)
        return refuse("ZU_CHARSETCONVERTER_WinCp_S pstConv is null");
    if (s32InputLen <= 0 || pu8Input == nullptr)
        return refuse("null");
    const auto &stConv = *static_cast<const WINCP *>(hHandle);
    return singleByteToUtf8({stConv.*pau16Table, 0x80, GAP_E::PASSED_OVER}, stConv.stTail.stControl, pu8Output,
                            ps32OutputLen, pu8Input, s32InputLen);
}

constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_CP1250ToUTF8 = WINCPConvterToUTF8<&WINCP::au16Cp1250>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_CP1251ToUTF8 = WINCPConvterToUTF8<&WINCP::au16Cp1251>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_CP1252ToUTF8 = WINCPConvterToUTF8<&WINCP::au16Cp1252>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_CP1253ToUTF8 = WINCPConvterToUTF8<&WINCP::au16Cp1253>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_CP1254ToUTF8 = WINCPConvterToUTF8<&WINCP::au16Cp1254>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_CP1255ToUTF8 = WINCPConvterToUTF8<&WINCP::au16Cp1255>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_CP1256ToUTF8 = WINCPConvterToUTF8<&WINCP::au16Cp1256>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_CP1257ToUTF8 = WINCPConvterToUTF8<&WINCP::au16Cp1257>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_CP1258ToUTF8 = WINCPConvterToUTF8<&WINCP::au16Cp1258>;
constexpr ZU_CHARSET_CONVERTER_ToUTF8_FN _Converter_CP874ToUTF8 = WINCPConvterToUTF8<&WINCP::au16Cp874>;

constexpr CONVERTER_ROUTINE_S s_wincpConvTable[] = {
    {ZU_CHARSET_CODETYPE_CP1250, _Converter_CP1250ToUTF8}, {ZU_CHARSET_CODETYPE_CP1251, _Converter_CP1251ToUTF8},
    {ZU_CHARSET_CODETYPE_CP1252, _Converter_CP1252ToUTF8}, {ZU_CHARSET_CODETYPE_CP1253, _Converter_CP1253ToUTF8},
    {ZU_CHARSET_CODETYPE_CP1254, _Converter_CP1254ToUTF8}, {ZU_CHARSET_CODETYPE_CP1255, _Converter_CP1255ToUTF8},
    {ZU_CHARSET_CODETYPE_CP1256, _Converter_CP1256ToUTF8}, {ZU_CHARSET_CODETYPE_CP1257, _Converter_CP1257ToUTF8},
    {ZU_CHARSET_CODETYPE_CP1258, _Converter_CP1258ToUTF8}, {ZU_CHARSET_CODETYPE_CP874, _Converter_CP874ToUTF8},
};
static_assert(std::size(s_wincpConvTable) == 10);

constexpr int32_t s32ConvSrcCodeType[] = {21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 0};
constexpr int32_t s32ConvDstCodeType[] = {ZU_CHARSET_CODETYPE_UTF8, 0};

constexpr CONVERTER_CLASS_S s_stWinCp = {
    .ps32ConvSrcCodeType = s32ConvSrcCodeType,
    .ps32ConvDstCodeType = s32ConvDstCodeType,
    .enFindOrder = FIND_ORDER_E::RANGES_FIRST,
    .pszSrcUnknown = "unknown codetype!!",
    .pszDstUnknown = "unknown codetype!!",
    .pszNotListed = "code type is not in the list.",
    .pszSrcNotListed = "src type is not support, not use wincp converter.",
    .pszDstNotListed = "dst type is not support, not use wincp converter.",
    .u32HandleSize = sizeof(ZU_CHARSETCONVERTER_WinCp_S),
    .u32TailOffset = offsetof(ZU_CHARSETCONVERTER_WinCp_S, stTail),
    .pfnInit = _Win_cp_Converter_init,
    .astRoutines = s_wincpConvTable,
    .enQuitTest = QUIT_TEST_E::AFTER_LOOKUP,
    .pszUnknownCommand = "TESTCHARSET_CONVERTER_setDataAsync: unknow commands\n",
};

int32_t WINCP_CONVERTER_find(int32_t s32SrcCodeType, int32_t s32DstCodeType) {
    return converterFind(s_stWinCp, s32SrcCodeType, s32DstCodeType);
}

int32_t WINCP_CONVERTER_create(ZU_CHARSET_HANDLE *phHandle, ZU_CHARSET_OPTION u32Option) {
    return converterCreate(s_stWinCp, phHandle, u32Option);
}

int32_t WINCP_CONVERTER_convstream(ZU_CHARSET_HANDLE hHandle, const uint8_t *pu8Input, int32_t s32InputLen,
                                   uint8_t *pu8Output, int32_t *ps32OutputLen, int32_t s32SrcCodeType,
                                   int32_t s32DstCodeType, uint32_t *pu32ConsumedLen) {
    return converterConvStream(s_stWinCp, {hHandle, pu8Input, s32InputLen, pu8Output, ps32OutputLen, s32SrcCodeType,
                                           s32DstCodeType, pu32ConsumedLen});
}

int32_t WINCP_CONVERTER_setDataAsync(ZU_CHARSET_HANDLE hHandle, int32_t s32Cmd, void *pArg) {
    return converterSetDataAsync(s_stWinCp, hHandle, s32Cmd, pArg);
}

int32_t WINCP_CONVERTER_close(ZU_CHARSET_HANDLE hHandle) { return converterClose(s_stWinCp, hHandle); }

} // namespace
} // namespace zucharset

constinit ZU_CHARSET_S g_stWINCP_converter = zucharset::converterRecord(
    "zucharset windows codepage converter", zucharset::WINCP_CONVERTER_find, zucharset::WINCP_CONVERTER_create,
    zucharset::WINCP_CONVERTER_convstream, zucharset::WINCP_CONVERTER_setDataAsync, zucharset::WINCP_CONVERTER_close);
