#include "converter_skeleton.h"

#include <cstdlib>

namespace zucharset {
namespace {

CONVERTER_TAIL_S &tailOf(const CONVERTER_CLASS_S &stClass, ZU_CHARSET_HANDLE hHandle) {
    return *reinterpret_cast<CONVERTER_TAIL_S *>(static_cast<uint8_t *>(hHandle) + stClass.u32TailOffset);
}

bool isValidCodeType(int32_t s32CodeType) {
    return s32CodeType >= ZU_CHARSET_GetMinCodetype() && s32CodeType <= ZU_CHARSET_GetMaxCodetype();
}

bool isListed(int32_t s32CodeType, const int32_t *ps32List) {
    while (*ps32List != 0 && *ps32List != s32CodeType)
        ++ps32List;
    return *ps32List != 0;
}

// One code type of a pair against the converter's range and list.
struct CODETYPE_TEST_S {
    int32_t s32CodeType;
    const int32_t *ps32List;
    const char *pszUnknown;
    const char *pszNotListed;
};

int32_t checkRange(const CODETYPE_TEST_S &stTest, LogSite stSite) {
    return isValidCodeType(stTest.s32CodeType) ? 0 : refuse(stTest.pszUnknown, stSite);
}

int32_t checkList(const CODETYPE_TEST_S &stTest, const char *pszFirstLine, LogSite stSite) {
    if (isListed(stTest.s32CodeType, stTest.ps32List))
        return 0;
    if (pszFirstLine != nullptr)
        logText(LOG_TRACE, pszFirstLine, stSite);
    return refuseWithText(LOG_TRACE, stTest.pszNotListed, stSite);
}

ZU_CHARSET_CONVERTER_ToUTF8_FN routineFor(const CONVERTER_CLASS_S &stClass, int32_t s32SrcCodeType) {
    for (const CONVERTER_ROUTINE_S &stRoutine : stClass.astRoutines) {
        if (stRoutine.s32CodeType == s32SrcCodeType)
            return stRoutine.pfnToUTF8;
    }
    return nullptr;
}

} // namespace

int32_t converterFind(const CONVERTER_CLASS_S &stClass, int32_t s32SrcCodeType, int32_t s32DstCodeType,
                      LogSite stSite) {
    const CODETYPE_TEST_S stSrc{s32SrcCodeType, stClass.ps32ConvSrcCodeType, stClass.pszSrcUnknown,
                                stClass.pszSrcNotListed};
    const CODETYPE_TEST_S stDst{s32DstCodeType, stClass.ps32ConvDstCodeType, stClass.pszDstUnknown,
                                stClass.pszDstNotListed};
    if (checkRange(stSrc, stSite) != 0)
        return -1;
    const bool bRangesFirst = stClass.enFindOrder == FIND_ORDER_E::RANGES_FIRST;
    if (bRangesFirst && checkRange(stDst, stSite) != 0)
        return -1;
    if (checkList(stSrc, stClass.pszNotListed, stSite) != 0)
        return -1;
    if (!bRangesFirst && checkRange(stDst, stSite) != 0)
        return -1;
    return checkList(stDst, stClass.pszNotListed, stSite);
}

int32_t converterCreate(const CONVERTER_CLASS_S &stClass, ZU_CHARSET_HANDLE *phHandle, ZU_CHARSET_OPTION u32Option,
                        LogSite stSite) {
    if (phHandle == nullptr)
        return refuse("invalid param", stSite);
    ZU_CHARSET_HANDLE hNew = CHARSET_MALLOCZ(stClass.u32HandleSize);
    if (hNew == nullptr)
        return refuse("CONVERTER_create malloc handle fail", stSite);
    tailOf(stClass, hNew).stControl.u32Option = u32Option;
    const int32_t s32Result = stClass.pfnInit == nullptr ? 0 : stClass.pfnInit(hNew);
    if (s32Result != 0) {
        std::free(hNew);
        return s32Result;
    }
    *phHandle = hNew;
    return 0;
}

int32_t converterConvStream(const CONVERTER_CLASS_S &stClass, const CONVERTER_CALL_S &stCall, LogSite stSite) {
    if (stCall.hHandle == nullptr)
        return refuse("null", stSite);
    if (stCall.pu8Input == nullptr || stCall.s32InputLen <= 0)
        return refuse("convstream error:In data is null", stSite);
    if (stCall.pu8Output == nullptr || *stCall.ps32OutputLen < stCall.s32InputLen)
        return refuse("convstream error:Out data is null", stSite);
    CONVERTER_TAIL_S &stTail = tailOf(stClass, stCall.hHandle);
    *stCall.pu32ConsumedLen = 0;
    stTail.s32CurSrcCodeType = stCall.s32SrcCodeType;
    stTail.s32CurDstCodeType = stCall.s32DstCodeType;

    const ZU_CHARSET_CONVERTER_ToUTF8_FN pfnToUTF8 = routineFor(stClass, stCall.s32SrcCodeType);
    if ((pfnToUTF8 != nullptr || stClass.enQuitTest == QUIT_TEST_E::BEFORE_LOOKUP) && quitRequested(stTail.stControl))
        return refuse("request to quit...", stSite);
    int32_t s32Result = -1;
    if (pfnToUTF8 != nullptr)
        s32Result =
            pfnToUTF8(stCall.hHandle, stCall.pu8Output, stCall.ps32OutputLen, stCall.pu8Input, stCall.s32InputLen);
    if (s32Result < 0)
        return refuse("convstream failed\n", stSite);
    *stCall.pu32ConsumedLen = static_cast<uint32_t>(s32Result);
    return 0;
}

int32_t converterSetDataAsync(const CONVERTER_CLASS_S &stClass, ZU_CHARSET_HANDLE hHandle, int32_t s32Cmd,
                              const void *pArg, LogSite stSite) {
    if (hHandle == nullptr)
        return refuse("null", stSite);
    return applyCommand(tailOf(stClass, hHandle).stControl, s32Cmd, pArg, stClass.pszUnknownCommand, stSite);
}

int32_t converterClose(const CONVERTER_CLASS_S &stClass, ZU_CHARSET_HANDLE hHandle, LogSite stSite) {
    if (hHandle == nullptr)
        return refuse("null", stSite);
    releaseHandle(hHandle, stClass.u32HandleSize);
    return 0;
}

} // namespace zucharset
