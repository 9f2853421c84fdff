// The manager: the list of plug-ins, the host's handles on them, and the entry record.
#include "charset_common.h"

#include <sched.h>

namespace zucharset {
namespace {

// One type for detection and conversion handles; the host holds it as an opaque pointer. Only a conversion handle keeps
// a plug-in between requests; a detection handle has one selected only while a request runs.
struct CHARSET_HANDLE_S {
    ZU_CHARSET_S *pstPlugin;   // the selected plug-in, null when none
    ZU_CHARSET_HANDLE hPlugin; // that plug-in's own handle, null when none
    HANDLE_CONTROL_S stControl;
};

#if UINTPTR_MAX == 0xFFFFFFFFu
static_assert(sizeof(CHARSET_HANDLE_S) == 4 * 4 && offsetof(CHARSET_HANDLE_S, stControl) == 2 * 4);
#endif

// The list of registered plug-ins only ever grows, at its tail; each flag says that its kind has been appended.
constinit ZU_CHARSET_S *s_pstCharset_list = nullptr;
constinit int32_t s_bRegDetector = 0;
constinit int32_t s_bRegConverter = 0;

void appendPlugin(ZU_CHARSET_S &stPlugin) {
    ZU_CHARSET_S **ppstTail = &s_pstCharset_list;
    while (*ppstTail != nullptr)
        ppstTail = &(*ppstTail)->pstNext;
    *ppstTail = &stPlugin;
    stPlugin.pstNext = nullptr;
}

int32_t _CHARSET_DETECTOR_Register() {
    logText(LOG_TRACE, "_CHARSET_DETECTOR_Register\n");
    if (s_bRegDetector == 1) {
        CHARSET_DBG_Printf(LOG_NOTICE, __FILE__, __LINE__, "alredy regist Detector", 0);
        return 0;
    }
    appendPlugin(g_stCOMMON_detector);
    s_bRegDetector = 1;
    return 0;
}

int32_t _CHARSET_CONVERTER_Register() {
    logText(LOG_TRACE, "_CHARSET_CONVERTER_Register\n");
    if (s_bRegConverter == 1) {
        logText(LOG_TRACE, "already regist Converter\n");
        return 0;
    }
    appendPlugin(g_stUCS_converter);
    appendPlugin(g_stGBK_converter);
    appendPlugin(g_stBIG5_converter);
    appendPlugin(g_stISO8859_converter);
    appendPlugin(g_stWINCP_converter);
    appendPlugin(g_stCP949_converter);
    s_bRegConverter = 1;
    return 0;
}

// The record after pstCurrent; the head for a null one; null when pstCurrent is not on the list.
ZU_CHARSET_S *charsetGetNode(ZU_CHARSET_S *pstHead, const ZU_CHARSET_S *pstCurrent) {
    if (pstCurrent == nullptr)
        return pstHead;
    for (ZU_CHARSET_S *pstNode = pstHead; pstNode != nullptr; pstNode = pstNode->pstNext) {
        if (pstNode == pstCurrent)
            return pstNode->pstNext;
    }
    return nullptr;
}

// A new handle without a plug-in; null, logged, when there is nowhere to put it.
CHARSET_HANDLE_S *newHandle(const ZU_CHARSET_HANDLE *phHandle, ZU_CHARSET_OPTION u32Option) {
    if (phHandle == nullptr) {
        refuse("invalid param");
        return nullptr;
    }
    auto *pstHandle = static_cast<CHARSET_HANDLE_S *>(CHARSET_MALLOCZ(sizeof(CHARSET_HANDLE_S)));
    if (pstHandle == nullptr)
        refuse("ZU_CHARSET_Create malloc handle fail");
    else
        pstHandle->stControl.u32Option = u32Option;
    return pstHandle;
}

// Set-data may run on another thread while the handle's owner works, and hands its command to the plug-in that the
// owner may be about to close. So it takes the plug-in handle out of the handle for that moment, and leaves LENT in its
// place; whoever finds that waits until the handle is back, which is a matter of a few instructions.
constinit char s_cLent = 0;
constexpr ZU_CHARSET_HANDLE LENT = &s_cLent;

ZU_CHARSET_HANDLE heldPlugin(const CHARSET_HANDLE_S &stHandle) {
    ZU_CHARSET_HANDLE hPlugin;
    while ((hPlugin = __atomic_load_n(&stHandle.hPlugin, __ATOMIC_SEQ_CST)) == LENT)
        sched_yield();
    return hPlugin;
}

void holdPlugin(CHARSET_HANDLE_S &stHandle, ZU_CHARSET_HANDLE hPlugin) {
    __atomic_store_n(&stHandle.hPlugin, hPlugin, __ATOMIC_SEQ_CST);
}

// The plug-in handle, with hInstead left in its place; null when none is held.
ZU_CHARSET_HANDLE takePlugin(CHARSET_HANDLE_S &stHandle, ZU_CHARSET_HANDLE hInstead) {
    ZU_CHARSET_HANDLE hPlugin = heldPlugin(stHandle);
    while (hPlugin != nullptr && !__atomic_compare_exchange_n(&stHandle.hPlugin, &hPlugin, hInstead, false,
                                                              __ATOMIC_ACQUIRE, __ATOMIC_RELAXED))
        hPlugin = heldPlugin(stHandle);
    return hPlugin;
}

// Closes the plug-in handle, if one is held, through the given close slot. The handle forgets it first, so that nothing
// closes or uses it again.
void closePlugin(CHARSET_HANDLE_S &stHandle, ZU_CHARSET_CLOSE_FN ZU_CHARSET_S::*pfnClose) {
    ZU_CHARSET_HANDLE hPlugin = takePlugin(stHandle, nullptr);
    if (hPlugin != nullptr && stHandle.pstPlugin != nullptr && stHandle.pstPlugin->*pfnClose != nullptr)
        (stHandle.pstPlugin->*pfnClose)(hPlugin);
}

int32_t closeHandle(ZU_CHARSET_HANDLE hHandle, ZU_CHARSET_CLOSE_FN ZU_CHARSET_S::*pfnClose) {
    if (hHandle == nullptr)
        return refuse("null");
    auto *pstHandle = static_cast<CHARSET_HANDLE_S *>(hHandle);
    closePlugin(*pstHandle, pfnClose);
    releaseHandle(pstHandle, sizeof *pstHandle);
    return 0;
}

int32_t charsetHandleCmd(CHARSET_HANDLE_S &stHandle, int32_t s32Cmd, const void *pArg) {
    if (pArg == nullptr)
        return refuseWithText(LOG_ERROR, "arg is null\n");
    return applyCommand(stHandle.stControl, s32Cmd, pArg, "TESTCHARSET_CONVERTER_setDataAsync: unknow cmd\n");
}

// Sets the manager's own words, then hands the command, known or not, to the plug-in that is held.
int32_t commandHandle(ZU_CHARSET_HANDLE hHandle, int32_t s32Cmd, void *pArg,
                      ZU_CHARSET_SETDATAASYNC_FN ZU_CHARSET_S::*pfnSetData) {
    if (hHandle == nullptr)
        return refuse("null");
    auto &stHandle = *static_cast<CHARSET_HANDLE_S *>(hHandle);
    int32_t s32Result = charsetHandleCmd(stHandle, s32Cmd, pArg);
    ZU_CHARSET_HANDLE hPlugin = pArg != nullptr ? takePlugin(stHandle, LENT) : nullptr;
    if (hPlugin == nullptr)
        return s32Result;
    if (stHandle.pstPlugin != nullptr && stHandle.pstPlugin->*pfnSetData != nullptr)
        s32Result = (stHandle.pstPlugin->*pfnSetData)(hPlugin, s32Cmd, pArg);
    holdPlugin(stHandle, hPlugin);
    return s32Result;
}

// --- Detection ---

ZU_CHARSET_S *_CHARSET_finddetector(const CHARSET_HANDLE_S &stHandle, const ZU_CHARSET_S *pstCurrent) {
    logText(LOG_TRACE, "_CHARSET_finddetector\n");
    ZU_CHARSET_S *pstNode = charsetGetNode(s_pstCharset_list, pstCurrent);
    for (; pstNode != nullptr; pstNode = pstNode->pstNext) {
        if (pstNode->pfnDetectorCreate != nullptr)
            return pstNode;
        if (quitRequested(stHandle.stControl))
            return nullptr;
    }
    return nullptr;
}

// One try of one detector, through an instance of its own: the code type that it names, or -1.
int32_t charsetIdentStream(const ZU_CHARSET_S &stDetector, const uint8_t *pu8Input, int32_t s32InputLen,
                           ZU_CHARSET_OPTION u32Option) {
    if (stDetector.pfnDetectorIdentStream == nullptr || stDetector.pfnDetectorClose == nullptr ||
        stDetector.pfnDetectorCreate == nullptr)
        return -1;
    ZU_CHARSET_HANDLE hDetector = nullptr;
    if (stDetector.pfnDetectorCreate(&hDetector, u32Option) != 0)
        return -1;
    int32_t s32CodeType = -1; // stays so when the detector names nothing, which is all that its result could tell
    stDetector.pfnDetectorIdentStream(hDetector, pu8Input, s32InputLen, u32Option, &s32CodeType);
    stDetector.pfnDetectorClose(hDetector);
    return s32CodeType;
}

int32_t CHARSET_DETECTOR_create(ZU_CHARSET_HANDLE *phHandle, ZU_CHARSET_OPTION u32Option) {
    logText(LOG_TRACE, "CHARSET_DETECTOR_create\n");
    CHARSET_HANDLE_S *pstHandle = newHandle(phHandle, u32Option);
    if (pstHandle == nullptr)
        return -1;
    _CHARSET_DETECTOR_Register();
    *phHandle = pstHandle;
    return 0;
}

int32_t CHARSET_DETECTOR_identstream(ZU_CHARSET_HANDLE hHandle, const uint8_t *pu8Input, int32_t s32InputLen,
                                     ZU_CHARSET_OPTION u32Option, int32_t *ps32CodeType) {
    logText(LOG_TRACE, "CHARSET_DETECTOR_identstream\n");
    if (hHandle == nullptr)
        return refuse("null");
    if (pu8Input == nullptr || s32InputLen <= 0)
        return refuse("CHARSET_DETECTOR_identstream: stream is null");
    auto &stHandle = *static_cast<CHARSET_HANDLE_S *>(hHandle);
    closePlugin(stHandle, &ZU_CHARSET_S::pfnDetectorClose);
    stHandle.pstPlugin = nullptr;

    int32_t s32Result = -1;
    while (s32Result != 0 && !quitRequested(stHandle.stControl)) {
        stHandle.pstPlugin = _CHARSET_finddetector(stHandle, stHandle.pstPlugin);
        if (stHandle.pstPlugin == nullptr)
            return refuse("Can not find Detector");
        const int32_t s32CodeType = charsetIdentStream(*stHandle.pstPlugin, pu8Input, s32InputLen, u32Option);
        if (s32CodeType >= 0) {
            *ps32CodeType = s32CodeType;
            s32Result = 0;
        }
    }
    stHandle.pstPlugin = nullptr;
    return quitRequested(stHandle.stControl) ? -1 : s32Result;
}

int32_t CHARSET_DETECTOR_setDataAsync(ZU_CHARSET_HANDLE hHandle, int32_t s32Cmd, void *pArg) {
    logText(LOG_TRACE, "CHARSET_DETECTOR_setDataAsync\n");
    return commandHandle(hHandle, s32Cmd, pArg, &ZU_CHARSET_S::pfnDetectorSetDataAsync);
}

int32_t CHARSET_DETECTOR_close(ZU_CHARSET_HANDLE hHandle) {
    logText(LOG_TRACE, "CHARSET_DETECTOR_close\n");
    return closeHandle(hHandle, &ZU_CHARSET_S::pfnDetectorClose);
}

// --- Conversion ---

// The arguments of a convert request but for the handle: the manager passes them on as they came.
struct CONV_REQUEST_S {
    const uint8_t *pu8Input;
    int32_t s32InputLen;
    uint8_t *pu8Output;
    int32_t *ps32OutputLen;
    int32_t s32SrcCodeType;
    int32_t s32DstCodeType;
    uint32_t *pu32ConsumedLen;
};

int32_t charsetConvFind(const ZU_CHARSET_S &stPlugin, int32_t s32SrcCodeType, int32_t s32DstCodeType) {
    if (stPlugin.pfnConverterFind == nullptr)
        return -1;
    return stPlugin.pfnConverterFind(s32SrcCodeType, s32DstCodeType);
}

// The next record after pstCurrent that accepts the pair. A search on behalf of a handle heeds its quit flag.
ZU_CHARSET_S *_CHARSET_findconverter(const CHARSET_HANDLE_S *pstHandle, const ZU_CHARSET_S *pstCurrent,
                                     int32_t s32SrcCodeType, int32_t s32DstCodeType) {
    logText(LOG_TRACE, "_CHARSET_findconverter\n");
    ZU_CHARSET_S *pstNode = charsetGetNode(s_pstCharset_list, pstCurrent);
    for (; pstNode != nullptr; pstNode = pstNode->pstNext) {
        if (pstHandle != nullptr && quitRequested(pstHandle->stControl))
            return nullptr;
        if (charsetConvFind(*pstNode, s32SrcCodeType, s32DstCodeType) == 0)
            return pstNode;
    }
    return nullptr;
}

int32_t charsetConvCheckPtr(const ZU_CHARSET_S &stPlugin) {
    const bool bUsable = stPlugin.pfnConverterCreate != nullptr && stPlugin.pfnConverterFind != nullptr &&
                         stPlugin.pfnConverterConvStream != nullptr && stPlugin.pfnConverterClose != nullptr;
    return bUsable ? 0 : -1;
}

int32_t convertThroughPlugin(const CHARSET_HANDLE_S &stHandle, const CONV_REQUEST_S &stRequest) {
    return stHandle.pstPlugin->pfnConverterConvStream(
        heldPlugin(stHandle), stRequest.pu8Input, stRequest.s32InputLen, stRequest.pu8Output, stRequest.ps32OutputLen,
        stRequest.s32SrcCodeType, stRequest.s32DstCodeType, stRequest.pu32ConsumedLen);
}

// The reuse path: the converter that served the last request, as long as it accepts the pair.
int32_t charsetConvStream(CHARSET_HANDLE_S &stHandle, const CONV_REQUEST_S &stRequest) {
    if (stHandle.pstPlugin == nullptr || heldPlugin(stHandle) == nullptr ||
        charsetConvCheckPtr(*stHandle.pstPlugin) != 0)
        return -1;
    const int32_t s32Found = charsetConvFind(*stHandle.pstPlugin, stRequest.s32SrcCodeType, stRequest.s32DstCodeType);
    if (s32Found != 0) {
        closePlugin(stHandle, &ZU_CHARSET_S::pfnConverterClose);
        return s32Found;
    }
    logText(LOG_TRACE, {"CHARSET_ConvStream: use converter description:", stHandle.pstPlugin->pszDescription, "\n"});
    if (convertThroughPlugin(stHandle, stRequest) == 0)
        return 0;
    closePlugin(stHandle, &ZU_CHARSET_S::pfnConverterClose);
    return -1;
}

// The search path: a fresh instance of each converter that accepts the pair, until one converts.
int32_t charsetListConvStream(CHARSET_HANDLE_S &stHandle, const CONV_REQUEST_S &stRequest) {
    int32_t s32Result = -1;
    while (s32Result != 0 && !quitRequested(stHandle.stControl)) {
        stHandle.pstPlugin =
            _CHARSET_findconverter(&stHandle, stHandle.pstPlugin, stRequest.s32SrcCodeType, stRequest.s32DstCodeType);
        if (stHandle.pstPlugin == nullptr)
            return refuse("Can not find Converter");
        s32Result = charsetConvCheckPtr(*stHandle.pstPlugin);
        if (s32Result != 0)
            continue;
        ZU_CHARSET_HANDLE hNew = nullptr;
        s32Result = stHandle.pstPlugin->pfnConverterCreate(&hNew, loadOption(stHandle.stControl));
        if (s32Result != 0)
            continue;
        // From here on a quit request reaches the converter. One that came before ends no conversion; it only fails
        // the request when that is made.
        holdPlugin(stHandle, hNew);
        s32Result = convertThroughPlugin(stHandle, stRequest);
        if (s32Result != 0)
            closePlugin(stHandle, &ZU_CHARSET_S::pfnConverterClose);
    }
    return s32Result;
}

int32_t CHARSET_CONVERTER_find(int32_t s32SrcCodeType, int32_t s32DstCodeType) {
    logText(LOG_TRACE, "CHARSET_CONVERTER_find\n");
    _CHARSET_CONVERTER_Register();
    return _CHARSET_findconverter(nullptr, nullptr, s32SrcCodeType, s32DstCodeType) != nullptr ? 0 : -1;
}

int32_t CHARSET_CONVERTER_create(ZU_CHARSET_HANDLE *phHandle, ZU_CHARSET_OPTION u32Option) {
    logText(LOG_TRACE, "CHARSET_CONVERTER_create\n");
    CHARSET_HANDLE_S *pstHandle = newHandle(phHandle, u32Option);
    if (pstHandle == nullptr)
        return -1;
    *phHandle = pstHandle;
    return 0;
}

int32_t CHARSET_CONVERTER_convstream(ZU_CHARSET_HANDLE hHandle, const uint8_t *pu8Input, int32_t s32InputLen,
                                     uint8_t *pu8Output, int32_t *ps32OutputLen, int32_t s32SrcCodeType,
                                     int32_t s32DstCodeType, uint32_t *pu32ConsumedLen) {
    logText(LOG_TRACE, "CHARSET_CONVERTER_convstream\n");
    if (hHandle == nullptr)
        return refuse("null");
    if (s32InputLen < 1 || pu8Input == nullptr)
        return refuse("CHARSET_CONVERTER_convstream: stream is null");
    auto &stHandle = *static_cast<CHARSET_HANDLE_S *>(hHandle);
    const CONV_REQUEST_S stRequest{pu8Input,       s32InputLen,    pu8Output,      ps32OutputLen,
                                   s32SrcCodeType, s32DstCodeType, pu32ConsumedLen};
    if (charsetConvStream(stHandle, stRequest) == 0)
        return 0;
    logText(LOG_TRACE, "CHARSET_CONVERTER_convstream next\n");
    stHandle.pstPlugin = nullptr;
    holdPlugin(stHandle, nullptr);
    if (charsetListConvStream(stHandle, stRequest) != 0)
        return refuse("Can not find Converter");
    return quitRequested(stHandle.stControl) ? -1 : 0;
}

int32_t CHARSET_CONVERTER_setDataAsync(ZU_CHARSET_HANDLE hHandle, int32_t s32Cmd, void *pArg) {
    logText(LOG_TRACE, "CHARSET_CONVERTER_setDataAsync\n");
    return commandHandle(hHandle, s32Cmd, pArg, &ZU_CHARSET_S::pfnConverterSetDataAsync);
}

int32_t CHARSET_CONVERTER_close(ZU_CHARSET_HANDLE hHandle) {
    logText(LOG_TRACE, "CHARSET_CONVERTER_close\n");
    return closeHandle(hHandle, &ZU_CHARSET_S::pfnConverterClose);
}

} // namespace
} // namespace zucharset

constinit ZU_CHARSET_S g_stCharset_entry = {
    .pszName = "libzucharset.so",
    .u32Version = 1,
    .pszDescription = "zucharset detector and converter",
    .u32Reserved = 0,
    .pfnDetectorCreate = zucharset::CHARSET_DETECTOR_create,
    .pfnDetectorIdentStream = zucharset::CHARSET_DETECTOR_identstream,
    .pfnDetectorSetDataAsync = zucharset::CHARSET_DETECTOR_setDataAsync,
    .pfnDetectorClose = zucharset::CHARSET_DETECTOR_close,
    .pfnConverterFind = zucharset::CHARSET_CONVERTER_find,
    .pfnConverterCreate = zucharset::CHARSET_CONVERTER_create,
    .pfnConverterConvStream = zucharset::CHARSET_CONVERTER_convstream,
    .pfnConverterSetDataAsync = zucharset::CHARSET_CONVERTER_setDataAsync,
    .pfnConverterClose = zucharset::CHARSET_CONVERTER_close,
    .pstNext = nullptr,
    .au32Reserved = {},
};
