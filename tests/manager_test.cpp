#include "support/conversion.h"
#include "support/recording_utils.h"

#include <thread>
#include <tuple>

using namespace recording;
using std::string;

namespace {

const ZU_CHARSET_S &entry = g_stCharset_entry;
constexpr int32_t BIG5 = ZU_CHARSET_CODETYPE_BIG5, GBK = ZU_CHARSET_CODETYPE_GBK, CP1252 = ZU_CHARSET_CODETYPE_CP1252;

string refuses(const string &name) { return trace("src type is not support, not use " + name + " converter."); }
string reuses(const string &name) {
    return trace("CHARSET_ConvStream: use converter description:zucharset " + name + " converter\n");
}
const string converts = trace("CHARSET_CONVERTER_convstream\n"), next = trace("CHARSET_CONVERTER_convstream next\n");
const string search = trace("_CHARSET_findconverter\n"), none = failure("Can not find Converter");
const string ucsSearches = trace("org type is not support, not use ucs converter."), ucs = refuses("ucs");

// First, since it needs a library that has not been used yet.
TEST(Manager, RegistersOnFirstUse) {
    EXPECT_EQ(Handle(entry).convert(GBK, "a").result, -1);
    EXPECT_EQ(takeLines("charset_public.cpp:"), (Lines{trace("CHARSET_CONVERTER_create\n"), converts, next, search,
                                                       none, none, trace("CHARSET_CONVERTER_close\n")}));
    const string find = trace("CHARSET_CONVERTER_find\n"), registers = trace("_CHARSET_CONVERTER_Register\n");
    EXPECT_EQ(entry.pfnConverterFind(GBK, 2), 0);
    EXPECT_EQ(takeLines(), (Lines{find, registers, search, ucsSearches, ucs}));
    EXPECT_EQ(entry.pfnConverterFind(2, 2), 0);
    EXPECT_EQ(takeLines(), (Lines{find, registers, trace("already regist Converter\n"), search}));
    for (int32_t source = -1; source < 36; ++source)
        EXPECT_EQ(entry.pfnConverterFind(source, 2),
                  source < 1 || source > 33 || source == 31 || source == 32 ? -1 : 0);
    EXPECT_EQ(entry.pfnConverterFind(GBK, BIG5), -1);
    takeLines();
    ZU_CHARSET_HANDLE handles[2];
    for (ZU_CHARSET_HANDLE &handle : handles)
        EXPECT_EQ(entry.pfnDetectorCreate(&handle, 0), 0);
    const string create = trace("CHARSET_DETECTOR_create\n"), detector = trace("_CHARSET_DETECTOR_Register\n");
    EXPECT_EQ(takeLines(), (Lines{create, detector, create, detector, "4 alredy regist Detector, ret 0x0 \n"}));
    const ZU_CHARSET_S *record = &g_stUCS_converter;
    for (const ZU_CHARSET_S *expected : CONVERTERS) {
        EXPECT_EQ(record, expected);
        record = record->pstNext;
    }
    EXPECT_TRUE(record == &g_stCOMMON_detector && record->pstNext == nullptr && entry.pstNext == nullptr);
    for (ZU_CHARSET_HANDLE handle : handles)
        EXPECT_EQ(entry.pfnDetectorClose(handle), 0);
    EXPECT_EQ(liveBlocks() + unwipedBlocks(), 0);
    takeLines();
}

TEST(Manager, RefusesHandlesAndArguments) {
    int32_t n = 0;
    uint32_t used = 0;
    uint8_t byte = 'a';
    string kind;
    const string null = failure("null");
    const auto refused = [&](int32_t result, const char *operation, const string &line) {
        EXPECT_EQ(result, -1);
        EXPECT_EQ(takeLines("charset_public.cpp:"), (Lines{trace("CHARSET_" + kind + operation + "\n"), line}));
    };
    for (const bool detects : {true, false}) {
        kind = detects ? "DETECTOR_" : "CONVERTER_";
        const auto create = detects ? entry.pfnDetectorCreate : entry.pfnConverterCreate;
        const auto setData = detects ? entry.pfnDetectorSetDataAsync : entry.pfnConverterSetDataAsync;
        const auto close = detects ? entry.pfnDetectorClose : entry.pfnConverterClose;
        const auto work = [&](ZU_CHARSET_HANDLE handle, const uint8_t *input, int32_t length) {
            return detects ? entry.pfnDetectorIdentStream(handle, input, length, 0, &n)
                           : entry.pfnConverterConvStream(handle, input, length, &byte, &n, 3, 2, &used);
        };
        const char *const working = detects ? "identstream" : "convstream";
        const string noInput = failure("CHARSET_" + kind + working + ": stream is null");
        ZU_CHARSET_HANDLE handle = nullptr;
        refused(create(nullptr, 0), "create", failure("invalid param"));
        failMalloc(1);
        refused(create(&handle, 0), "create", failure("ZU_CHARSET_Create malloc handle fail"));
        EXPECT_EQ(create(&handle, 0), 0);
        takeLines();
        refused(work(nullptr, nullptr, 0), working, null);
        refused(work(handle, nullptr, 1), working, noInput);
        refused(work(handle, &byte, 0), working, noInput);
        refused(setData(nullptr, 1, nullptr), "setDataAsync", null);
        refused(setData(handle, 1, nullptr), "setDataAsync", error("arg is null\n"));
        refused(setData(handle, 3, &byte), "setDataAsync", error("TESTCHARSET_CONVERTER_setDataAsync: unknow cmd\n"));
        refused(close(nullptr), "close", null);
        EXPECT_EQ(close(handle) + liveBlocks(), 0);
        takeLines();
    }
}

TEST(Manager, KeepsTheConverterThatServes) {
    entry.pfnConverterFind(2, 2);
    {
        const Handle handle(entry);
        const auto step = [&](int32_t type, size_t capacity, int32_t result, int blocks, const Lines &lines) {
            takeLines();
            EXPECT_EQ(handle.convert(type, "\xA4\x40", capacity).result, result);
            EXPECT_EQ(takeLines(), lines);
            EXPECT_EQ(liveBlocks(), blocks); // the handle, and the converter's if one is held
        };
        const string big5 = trace("_Converter_BIG5_ToUTF8\n"), noRoom = failure("convstream error:Out data is null");
        const string iso = refuses("iso8859"), cp949 = refuses("cp949"), cp1252 = reuses("windows codepage");
        step(GBK, 9, 0, 2, {converts, next, search, ucsSearches, ucs});
        step(GBK, 9, 0, 2, {converts, reuses("gbk")});
        step(BIG5, 9, 0, 2, {converts, refuses("gbk"), next, search, ucsSearches, ucs, refuses("gbk"), big5});
        step(BIG5, 9, 0, 2, {converts, reuses("Big5"), big5});
        step(GBK, 9, 0, 2, {converts, refuses("big5"), next, search, ucsSearches, ucs});
        EXPECT_EQ(handle.setQuit(1), 0);
        step(GBK, 9, -1, 1, {converts, reuses("gbk"), failure("request to quit..."), next, none});
        step(GBK, 9, -1, 1, {converts, next, none});
        EXPECT_EQ(handle.setQuit(0), 0);
        step(CP1252, 9, 0, 2, {converts, next, search, ucsSearches, ucs, refuses("gbk"), refuses("big5"), iso});
        step(CP1252, 1, -1, 1,
             {converts, cp1252, noRoom, next, search, ucsSearches, ucs, refuses("gbk"), refuses("big5"), iso, noRoom,
              search, cp949, none, none});
        step(CP1252, 1, -1, 1,
             {converts, next, search, ucsSearches, ucs, refuses("gbk"), refuses("big5"), iso, noRoom, search, cp949,
              none, none});
        onLine(ucs.substr(2), [&] { handle.setQuit(1); }); // between two candidates
        step(BIG5, 9, -1, 1,
             {converts, next, search, ucsSearches, ucs, trace("CHARSET_CONVERTER_setDataAsync\n"), none, none});
        EXPECT_EQ(handle.setQuit(-5), 0);
        // Inside a conversion: through a fresh converter the request fails, through a held one it stops short.
        onLine(big5.substr(2), [&] { handle.setQuit(1); });
        EXPECT_EQ(handle.convert(BIG5, "abc").result, -1);
        EXPECT_EQ(handle.setQuit(0), 0);
        onLine(big5.substr(2), [&] { handle.setQuit(1); });
        const Converted stopped = handle.convert(BIG5, "abc");
        EXPECT_TRUE(stopped.result == 0 && stopped.output.empty() && stopped.consumed == 0);
        EXPECT_EQ(handle.setQuit(0), 0);
        EXPECT_EQ(handle.convert(BIG5, "abc").output, "abc");
    }
    EXPECT_EQ(liveBlocks() + unwipedBlocks(), 0);
}

TEST(Manager, QuitReachesARunningConversion) {
    entry.pfnConverterFind(2, 2);
    const string text(8000000, 'a');
    bool stopped = false;
    for (int attempt = 0; attempt < 50 && !stopped; ++attempt) {
        const Handle handle(entry);
        EXPECT_EQ(handle.convert(GBK, "a").consumed, 1u);
        std::thread canceller;
        onLine(reuses("gbk").substr(2), [&] { canceller = std::thread([&] { handle.setQuit(1); }); });
        const Converted converted = handle.convert(GBK, text, text.size());
        canceller.join();
        stopped = converted.result == 0 && converted.consumed > 0 && converted.consumed < text.size();
    }
    EXPECT_TRUE(stopped);
}

string events;
struct Restored {
    ZU_CHARSET_S &record;
    const ZU_CHARSET_S saved = record;
    ~Restored() { record = saved; }
};

int32_t note(const string &event, int32_t result) {
    events += event;
    return result;
}

// A converter for the code type 31, which no real one takes.
template <char NAME> void pretend(ZU_CHARSET_S &record, int32_t createResult, int32_t workResult) {
    static int32_t creates, works;
    std::tie(creates, works) = std::tie(createResult, workResult);
    record.pfnConverterFind = [](int32_t source, int32_t) { return source == 31 ? 0 : -1; };
    record.pfnConverterCreate = [](ZU_CHARSET_HANDLE *handle, ZU_CHARSET_OPTION option) {
        *handle = creates == 0 ? &events : *handle;
        return note({NAME, '+', static_cast<char>('0' + option), ' '}, creates);
    };
    record.pfnConverterConvStream = [](ZU_CHARSET_HANDLE, const uint8_t *, int32_t, uint8_t *out, int32_t *length,
                                       int32_t, int32_t, uint32_t *) {
        *length = *out = 0;
        return note({NAME, '=', ' '}, works);
    };
    record.pfnConverterSetDataAsync = [](ZU_CHARSET_HANDLE, int32_t, void *) { return note({NAME, '!', ' '}, 5); };
    record.pfnConverterClose = [](ZU_CHARSET_HANDLE) { return note({NAME, '-', ' '}, 0); };
}

TEST(Manager, TriesOneConverterAfterTheOther) {
    entry.pfnConverterFind(2, 2);
    const Restored first{g_stISO8859_converter}, second{g_stCP949_converter};
    // clang-format off
    const std::tuple<bool, int32_t, int32_t, int32_t, int32_t, const char *> cases[] = {
        {true, 0, 0, 0, 0, "A+7 A= A= A! A- "}, {true, -1, 0, 0, 0, "B+7 B= B= B! B- "},
        {true, 0, -3, 0, 0, "A+7 A= A- B+7 B= B= B! B- "}, {false, 0, 0, 0, 0, "B+7 B= B= B! B- "},
        {true, 0, -3, -3, -1, "A+7 A= A- B+7 B= B- A+7 A= A- B+7 B= B- "}};
    // clang-format on
    for (const auto &[complete, createsA, worksA, worksB, result, expected] : cases) {
        pretend<'A'>(g_stISO8859_converter, createsA, worksA);
        pretend<'B'>(g_stCP949_converter, 0, worksB);
        if (!complete)
            g_stISO8859_converter.pfnConverterClose = nullptr;
        events.clear();
        {
            const Handle handle(entry, 7);
            EXPECT_EQ(handle.convert(31, "a").result, result);
            EXPECT_EQ(handle.convert(31, "a").result, result);
            EXPECT_EQ(handle.setQuit(0), result == 0 ? 5 : 0); // the plug-in's answer, if there is one
        }
        EXPECT_EQ(events, (createsA == 0 ? "" : "A+7 ") + string(expected));
    }
}

TEST(Manager, AsksTheDetector) {
    static int32_t creates, names, quits;
    static ZU_CHARSET_HANDLE handle;
    entry.pfnConverterFind(2, 2);
    EXPECT_EQ(entry.pfnDetectorCreate(&handle, 1), 0);
    const Restored detector{g_stCOMMON_detector};
    g_stCOMMON_detector.pfnDetectorCreate = [](ZU_CHARSET_HANDLE *created, ZU_CHARSET_OPTION option) {
        *created = creates == 0 ? &events : nullptr;
        return note("+" + std::to_string(option), creates);
    };
    g_stCOMMON_detector.pfnDetectorIdentStream = [](ZU_CHARSET_HANDLE, const uint8_t *text, int32_t length,
                                                    ZU_CHARSET_OPTION option, int32_t *type) {
        *type = names < 0 ? *type : names;
        entry.pfnDetectorSetDataAsync(handle, ZU_CHARSET_CMD_QUIT, &quits);
        return note(string(text, text + length) + std::to_string(option), -9); // what it names counts, not the result
    };
    g_stCOMMON_detector.pfnDetectorClose = [](ZU_CHARSET_HANDLE) { return note("-", 0); };
    const string ident = trace("CHARSET_DETECTOR_identstream\n"), find = trace("_CHARSET_finddetector\n");
    const string quit = trace("CHARSET_DETECTOR_setDataAsync\n"), nobody = failure("Can not find Detector");
    const std::tuple<int32_t, int32_t, int32_t, int32_t, int32_t, string, Lines> cases[] = {
        {0, 7, 0, 0, 7, "+3ab3-", {ident, find, quit}},
        {0, -1, 0, -1, 55, "+3ab3-", {ident, find, quit, find, nobody}},
        {-1, 7, 0, -1, 55, "+3", {ident, find, find, nobody}},
        {0, 7, 1, -1, 7, "+3ab3-", {ident, find, quit}},
        {0, 7, 0, -1, 55, "", {ident}}}; // still cancelled by the request before
    for (const auto &[createResult, named, quitting, result, type, expectedEvents, lines] : cases) {
        std::tie(creates, names, quits) = std::tie(createResult, named, quitting);
        events.clear();
        takeLines();
        int32_t found = 55;
        EXPECT_EQ(entry.pfnDetectorIdentStream(handle, reinterpret_cast<const uint8_t *>("ab"), 2, 3, &found), result);
        EXPECT_EQ(found, type);
        EXPECT_EQ(events, expectedEvents);
        EXPECT_EQ(takeLines(), lines);
    }
    EXPECT_EQ(entry.pfnDetectorClose(handle) + liveBlocks(), 0);
}

} // namespace
