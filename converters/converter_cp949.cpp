// The CP949 converter: Korean text in code page 949. The code page has three areas of two-byte codes. The two of the
// Unified Hangul Code are stored as a base for each half row and an 8-bit offset for each code; KS X 1001 is stored as
// flat tables, one for each band of assigned rows. All handles share the tables.
#include "two_byte.h"

#include "tables/cp949_tables.h"

#include <iterator>

namespace zucharset {
namespace {

static_assert(sizeof u16Uhc1ToUniMain == 128 && sizeof u8Uhc1ToUni == 5696);
static_assert(sizeof u16Uhc2ToUniMain == 152 && sizeof u8Uhc2ToUni == 3126);
static_assert(sizeof u16Ksc5601ToUniPage21 == 2230 && sizeof u16Ksc5601ToUniPage30 == 4700 &&
              sizeof u16Ksc5601ToUniPage4a == 9776);

struct ZU_CHARSETCONVERTER_Cp949_S {
    CONVERTER_TAIL_S stTail;
};

constexpr int32_t UHC1_COLUMNS = 178;
constexpr int32_t UHC2_COLUMNS = 84;
constexpr int32_t UHC2_CODES = sizeof u8Uhc2ToUni;
constexpr uint32_t KSC_COLUMNS = 94;

// Column of a trail byte in the Unified Hangul Code areas; -1 for a byte that is none.
constexpr int32_t uhcColumn(uint8_t u8Trail) {
    if (u8Trail >= 0x41 && u8Trail <= 0x5A)
        return u8Trail - 0x41;
    if (u8Trail >= 0x61 && u8Trail <= 0x7A)
        return u8Trail - 0x47;
    return u8Trail >= 0x81 && u8Trail <= 0xFE ? u8Trail - 0x4D : -1;
}

// Leads 81 to A0.
constexpr uint32_t _CP949_Uhc1ToUnicode(uint8_t u8Lead, uint8_t u8Trail) {
    const int32_t s32Row = u8Lead - 0x81;
    const int32_t s32Column = uhcColumn(u8Trail);
    if (s32Column < 0)
        return REPLACEMENT;
    const int32_t s32Half = s32Column >= UHC1_COLUMNS / 2 ? 1 : 0;
    return u16Uhc1ToUniMain[2 * s32Row + s32Half] + uint32_t{u8Uhc1ToUni[UHC1_COLUMNS * s32Row + s32Column]};
}

// Leads from A1 with trails up to A0.
constexpr uint32_t _CP949_Uhc2ToUnicode(uint8_t u8Lead, uint8_t u8Trail) {
    const int32_t s32Row = u8Lead - 0xA1;
    const int32_t s32Column = uhcColumn(u8Trail);
    const int32_t s32Code = UHC2_COLUMNS * s32Row + s32Column;
    if (s32Column < 0 || s32Code >= UHC2_CODES)
        return REPLACEMENT;
    const int32_t s32Half = s32Column >= UHC2_COLUMNS / 2 ? 1 : 0;
    return u16Uhc2ToUniMain[2 * s32Row + s32Half] + uint32_t{u8Uhc2ToUni[s32Code]};
}

// Rows and columns of KS X 1001, from 0: leads and trails A1 to FE. Nearly all of Korean text is Hangul, which comes
// first.
ZU_HOT constexpr uint32_t _CP949_KscToUnicode(uint32_t u32Row, uint32_t u32Column) {
    constexpr uint32_t u32Page30 = (0x30 - 0x21) * KSC_COLUMNS;
    constexpr uint32_t u32Page4a = (0x4A - 0x21) * KSC_COLUMNS;
    const uint32_t u32Code = u32Row * KSC_COLUMNS + u32Column;
    if (u32Code - u32Page30 < std::size(u16Ksc5601ToUniPage30))
        return u16Ksc5601ToUniPage30[u32Code - u32Page30];
    if (u32Row == 0xA2 - 0xA1 && u32Column == 0xE8 - 0xA1)
        return REPLACEMENT; // unassigned in the code page, though KS X 1001 has a character here
    if (u32Code < std::size(u16Ksc5601ToUniPage21))
        return u16Ksc5601ToUniPage21[u32Code];
    if (u32Code < u32Page30)
        return REPLACEMENT;
    if (u32Row == 0xC9 - 0xA1)
        return 0xE000u + u32Column; // the two user-defined rows
    if (u32Row == 0xFE - 0xA1)
        return 0xE05Eu + u32Column;
    return u16Ksc5601ToUniPage4a[u32Code - u32Page4a];
}

// The row C9, user-defined, is all that lies between the Hangul and the Hanja.
static_assert(std::size(u16Ksc5601ToUniPage30) / KSC_COLUMNS == 0xC8 - 0xB0 + 1);
static_assert(std::size(u16Ksc5601ToUniPage4a) / KSC_COLUMNS == 0xFD - 0xCA + 1);

struct Cp949Decoder : TwoByteDecoder<Cp949Decoder> {
    static constexpr PAIR_GRID_S GRID{0xA1, 0xFE, 0xA1, 0xFE, 0, 0};
    static constexpr bool LONG_RUNS = false; // words are short
    static_assert(GRID.columns() == KSC_COLUMNS);

    explicit Cp949Decoder(const ZU_CHARSETCONVERTER_Cp949_S &) {}

    ZU_HOT static CHARACTER_S next(const uint8_t *pu8Input, int32_t s32Left) {
        return *pu8Input < 0x80 ? character(*pu8Input, 1) : conterCp949ToUtf8(pu8Input, s32Left);
    }

    ZU_HOT static uint32_t entry(uint32_t u32Row, uint32_t u32Column) { return _CP949_KscToUnicode(u32Row, u32Column); }

  private:
    // The character of a byte of 80 or more. A pair that is no code is taken whole, whatever its second byte.
    static CHARACTER_S conterCp949ToUtf8(const uint8_t *pu8Input, int32_t s32Left) {
        const uint8_t u8Lead = pu8Input[0];
        if (u8Lead == 0x80)
            return character(0xFE65, 1);
        if (u8Lead == 0xFF)
            return character(REPLACEMENT, 1);
        if (s32Left < 2)
            return CUT_OFF;
        const uint8_t u8Trail = pu8Input[1];
        if (u8Lead <= 0xA0)
            return character(_CP949_Uhc1ToUnicode(u8Lead, u8Trail), 2);
        if (u8Trail <= 0xA0)
            return character(_CP949_Uhc2ToUnicode(u8Lead, u8Trail), 2);
        return character(u8Trail == 0xFF ? REPLACEMENT : _CP949_KscToUnicode(u8Lead - 0xA1u, u8Trail - 0xA1u), 2);
    }
};

int32_t _Converter_CP949_ToUTF8(ZU_CHARSET_HANDLE hHandle, uint8_t *pu8Output, int32_t *ps32OutputLen,
                                const uint8_t *pu8Input, int32_t s32InputLen) {
    logText(LOG_TRACE, "_Converter_CP949_ToUTF8\n");
    return decoderToUtf8<ZU_CHARSETCONVERTER_Cp949_S, Cp949Decoder>(hHandle, pu8Output, ps32OutputLen, pu8Input,
                                                                    s32InputLen);
}

constexpr int32_t s32ConvSrcCodeType[] = {ZU_CHARSET_CODETYPE_CP949, 0};
constexpr int32_t s32ConvDstCodeType[] = {ZU_CHARSET_CODETYPE_UTF8, 0};

constexpr CONVERTER_ROUTINE_S s_astRoutines[] = {{ZU_CHARSET_CODETYPE_CP949, _Converter_CP949_ToUTF8}};

constexpr CONVERTER_CLASS_S s_stCp949 = {
    .ps32ConvSrcCodeType = s32ConvSrcCodeType,
    .ps32ConvDstCodeType = s32ConvDstCodeType,
    .enFindOrder = FIND_ORDER_E::RANGES_FIRST,
    .pszSrcUnknown = "unknown src codetype!!",
    .pszDstUnknown = "unknown dst codetype!!",
    .pszNotListed = nullptr,
    .pszSrcNotListed = "src type is not support, not use cp949 converter.",
    .pszDstNotListed = "dst type is not support, not use cp949 converter.",
    .u32HandleSize = sizeof(ZU_CHARSETCONVERTER_Cp949_S),
    .u32TailOffset = offsetof(ZU_CHARSETCONVERTER_Cp949_S, stTail),
    .pfnInit = nullptr,
    .astRoutines = s_astRoutines,
    .enQuitTest = QUIT_TEST_E::AFTER_LOOKUP,
    .pszUnknownCommand = "CP949_CONVERTER_setDataAsync: unknow commands\n",
};

int32_t CP949_CONVERTER_find(int32_t s32SrcCodeType, int32_t s32DstCodeType) {
    return converterFind(s_stCp949, s32SrcCodeType, s32DstCodeType);
}

int32_t CP949_CONVERTER_create(ZU_CHARSET_HANDLE *phHandle, ZU_CHARSET_OPTION u32Option) {
    return converterCreate(s_stCp949, phHandle, u32Option);
}

int32_t CP949_CONVERTER_convstream(ZU_CHARSET_HANDLE hHandle, const uint8_t *pu8Input, int32_t s32InputLen,
                                   uint8_t *pu8Output, int32_t *ps32OutputLen, int32_t s32SrcCodeType,
                                   int32_t s32DstCodeType, uint32_t *pu32ConsumedLen) {
    return converterConvStream(s_stCp949, {hHandle, pu8Input, s32InputLen, pu8Output, ps32OutputLen, s32SrcCodeType,
                                           s32DstCodeType, pu32ConsumedLen});
}

int32_t CP949_CONVERTER_setDataAsync(ZU_CHARSET_HANDLE hHandle, int32_t s32Cmd, void *pArg) {
    return converterSetDataAsync(s_stCp949, hHandle, s32Cmd, pArg);
}

int32_t CP949_CONVERTER_close(ZU_CHARSET_HANDLE hHandle) { return converterClose(s_stCp949, hHandle); }

} // namespace
} // namespace zucharset

constinit ZU_CHARSET_S g_stCP949_converter = zucharset::converterRecord(
    "zucharset CP949 converter", zucharset::CP949_CONVERTER_find, zucharset::CP949_CONVERTER_create,
    zucharset::CP949_CONVERTER_convstream, zucharset::CP949_CONVERTER_setDataAsync, zucharset::CP949_CONVERTER_close);
