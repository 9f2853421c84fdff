#include "support/conversion.h"
#include "support/recording_utils.h"

#include <map>
#include <sstream>
#include <tuple>

using namespace recording;
using std::string;

namespace {

const ZU_CHARSET_S &entry = g_stCharset_entry;
constexpr int32_t BIG5 = ZU_CHARSET_CODETYPE_BIG5, GBK = ZU_CHARSET_CODETYPE_GBK, CP1252 = ZU_CHARSET_CODETYPE_CP1252;

// clang-format off
const std::map<string, string> lines = {
    {"create", trace("CHARSET_CONVERTER_create\n")}, {"close", trace("CHARSET_CONVERTER_close\n")},
    {"convert", trace("CHARSET_CONVERTER_convstream\n")}, {"next", trace("CHARSET_CONVERTER_convstream next\n")},
    {"search", trace("_CHARSET_findconverter\n")}, {"none", failure("Can not find Converter")},
    {"find", trace("CHARSET_CONVERTER_find\n")}, {"register", trace("_CHARSET_CONVERTER_Register\n")},
    {"again", trace("already regist Converter\n")}, {"command", trace("CHARSET_CONVERTER_setDataAsync\n")},
    {"big5", trace("_Converter_BIG5_ToUTF8\n")}, {"org", trace("org type is not support, not use ucs converter.")},
    {"quit", failure("request to quit...")}, {"room", failure("convstream error:Out data is null")},
    {"createD", trace("CHARSET_DETECTOR_create\n")}, {"registerD", trace("_CHARSET_DETECTOR_Register\n")},
    {"againD", "4 alredy regist Detector, ret 0x0 \n"}, {"searchD", trace("_CHARSET_finddetector\n")},
    {"ident", trace("CHARSET_DETECTOR_identstream\n")}};
// clang-format on

// -NAME stands for a converter that refuses the source, +NAME for one that is used again.
Lines log(const string &words) {
    Lines logged;
    std::istringstream stream(words);
    for (string word; stream >> word;) {
        const string name = word.substr(1);
        logged.push_back(word[0] == '-'   ? trace("src type is not support, not use " + name + " converter.")
                         : word[0] == '+' ? trace("CHARSET_ConvStream: use converter description:zucharset " +
                                                  (name == "wincp" ? "windows codepage" : name) + " converter\n")
                                          : lines.at(word));
    }
    return logged;
}

// First, since it needs a library that has not been used yet.
TEST(Manager, RegistersOnFirstUse) {
    EXPECT_EQ(Handle(entry).convert(GBK, "a").result, -1);
    EXPECT_EQ(takeLines("charset_public.cpp:"), log("create convert next search none none close"));
    EXPECT_EQ(entry.pfnConverterFind(GBK, 2) + entry.pfnConverterFind(2, 2), 0);
    EXPECT_EQ(takeLines(), log("find register search org -ucs find register again search"));
    ZU_CHARSET_HANDLE handles[2];
    for (ZU_CHARSET_HANDLE &handle : handles)
        EXPECT_EQ(entry.pfnDetectorCreate(&handle, 0), 0);
    EXPECT_EQ(takeLines(), log("createD registerD createD registerD againD"));
    for (ZU_CHARSET_HANDLE handle : handles) {
        int32_t type = 0;
        EXPECT_EQ(entry.pfnDetectorIdentStream(handle, reinterpret_cast<const uint8_t *>("\xC3\xA9"), 2, 0, &type), 0);
        EXPECT_EQ(takeLines(), log("ident searchD"));
        EXPECT_EQ(entry.pfnDetectorClose(handle), 0);
        takeLines();
    }
    const ZU_CHARSET_S *record = &g_stUCS_converter;
    for (const ZU_CHARSET_S *expected : CONVERTERS) {
        EXPECT_EQ(record, expected);
        record = record->pstNext;
    }
    EXPECT_TRUE(record == &g_stCOMMON_detector && record->pstNext == nullptr && entry.pstNext == nullptr);
    EXPECT_EQ(liveBlocks() + unwipedBlocks(), 0);
}

TEST(Manager, RefusesHandlesAndArguments) {
    int32_t n = 0;
    uint8_t byte = 'a';
    for (const bool detects : {true, false}) {
        const string kind = detects ? "CHARSET_DETECTOR_" : "CHARSET_CONVERTER_", null = failure("null");
        const string working = detects ? "identstream" : "convstream";
        const string noInput = failure(kind + working + ": stream is null");
        const auto refused = [&](int32_t result, const string &operation, const string &line) {
            EXPECT_EQ(result, -1);
            EXPECT_EQ(takeLines("charset_public.cpp:"), (Lines{trace(kind + operation + "\n"), line}));
        };
        const auto create = detects ? entry.pfnDetectorCreate : entry.pfnConverterCreate;
        const auto setData = detects ? entry.pfnDetectorSetDataAsync : entry.pfnConverterSetDataAsync;
        const auto close = detects ? entry.pfnDetectorClose : entry.pfnConverterClose;
        const auto work = [&](ZU_CHARSET_HANDLE handle, const uint8_t *input, int32_t length) {
            return detects ? entry.pfnDetectorIdentStream(handle, input, length, 0, &n)
                           : entry.pfnConverterConvStream(handle, input, length, &byte, &n, 3, 2, nullptr);
        };
        ZU_CHARSET_HANDLE handle = nullptr;
        EXPECT_EQ(create(&handle, 0), 0);
        takeLines();
        refused(create(nullptr, 0), "create", failure("invalid param"));
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
        const auto step = [&](int32_t type, size_t capacity, int32_t result, const string &words) {
            takeLines();
            EXPECT_EQ(handle.convert(type, "\xA4\x40", capacity).result, result);
            EXPECT_EQ(takeLines(), log(words));
            EXPECT_EQ(liveBlocks(), 2 + result); // the handle, and the converter's if one is held
        };
        const string toIso = "next search org -ucs -gbk -big5 -iso8859";
        step(GBK, 9, 0, "convert next search org -ucs");
        step(GBK, 9, 0, "convert +gbk");
        step(BIG5, 9, 0, "convert -gbk next search org -ucs -gbk big5");
        step(BIG5, 9, 0, "convert +Big5 big5");
        step(GBK, 9, 0, "convert -big5 next search org -ucs");
        EXPECT_EQ(handle.setQuit(1), 0);
        step(GBK, 9, -1, "convert +gbk quit next none");
        step(GBK, 9, -1, "convert next none");
        EXPECT_EQ(handle.setQuit(0), 0);
        step(CP1252, 9, 0, "convert " + toIso);
        step(CP1252, 1, -1, "convert +wincp room " + toIso + " room search -cp949 none none");
        step(CP1252, 1, -1, "convert " + toIso + " room search -cp949 none none");
        onLine(log("-ucs")[0].substr(2), [&] { handle.setQuit(1); }); // between two candidates
        step(BIG5, 9, -1, "convert next search org -ucs command none none");
        // Inside a conversion: through a fresh converter the request fails, through a held one it stops short.
        for (const bool held : {false, true}) {
            EXPECT_EQ(handle.setQuit(-5), 0);
            onLine(lines.at("big5").substr(2), [&] { handle.setQuit(1); });
            const Converted stopped = handle.convert(BIG5, "abc");
            EXPECT_TRUE(stopped.result == (held ? 0 : -1) && stopped.output.empty() && stopped.consumed == 0);
        }
        EXPECT_EQ(handle.setQuit(0), 0);
        EXPECT_EQ(handle.convert(BIG5, "abc").output, "abc");
    }
    EXPECT_EQ(liveBlocks() + unwipedBlocks(), 0);
}

// Each create and each conversion takes the next answer: + or -, or q for a quit request that arrives meanwhile.
string events, answers;
ZU_CHARSET_HANDLE working;
int32_t answer(const string &event) {
    events += event + answers[0];
    int32_t quit = 1;
    if (answers[0] == 'q')
        entry.pfnConverterSetDataAsync(working, ZU_CHARSET_CMD_QUIT, &quit);
    const int32_t result = answers[0] == '-' ? -3 : 0;
    answers.erase(0, 1);
    return result;
}

// A converter for the code type 31, which no real one takes.
template <char NAME> void pretend(ZU_CHARSET_S &record) {
    record.pfnConverterFind = [](int32_t source, int32_t) { return source == 31 ? 0 : -1; };
    record.pfnConverterCreate = [](ZU_CHARSET_HANDLE *handle, ZU_CHARSET_OPTION option) {
        *handle = answers[0] != '-' ? &events : *handle;
        return answer({' ', NAME, static_cast<char>('0' + option)});
    };
    record.pfnConverterConvStream = [](ZU_CHARSET_HANDLE, const uint8_t *, int32_t, uint8_t *out, int32_t *length,
                                       int32_t, int32_t, uint32_t *) {
        *length = *out = 0;
        return answer({' ', NAME});
    };
    record.pfnConverterSetDataAsync = [](ZU_CHARSET_HANDLE, int32_t, void *) {
        return (events += {' ', NAME, '!'}, 5);
    };
    record.pfnConverterClose = [](ZU_CHARSET_HANDLE) { return (events += {' ', NAME, '.'}, 0); };
}

TEST(Manager, TriesOneConverterAfterTheOther) {
    entry.pfnConverterFind(2, 2);
    const ZU_CHARSET_S first = g_stISO8859_converter, second = g_stCP949_converter;
    pretend<'A'>(g_stISO8859_converter);
    pretend<'B'>(g_stCP949_converter);
    // The results of two conversions, and how often the first one says that it found no converter. A quit request that
    // comes while a converter is made skips no conversion: the request fails when that is done, and the converter,
    // which has not heard of it, serves the next one.
    const std::tuple<string, int32_t, int32_t, int, string> cases[] = {
        {"+++", 0, 0, 0, " A7+ A+ A+ A! A."},
        {"-+++", 0, 0, 0, " A7- B7+ B+ B+ B! B."},
        {"+-+++", 0, 0, 0, " A7+ A- A. B7+ B+ B+ B! B."},
        {"+-+-+-+-", -1, -1, 2, " A7+ A- A. B7+ B- B. A7+ A- A. B7+ B- B."},
        {"q++", -1, 0, 0, " A7q A+ A+ A! A."},
        {"q-", -1, -1, 1, " A7q A- A."},
        {"+q+", -1, 0, 0, " A7+ Aq A! A+ A! A."},
        {"+++", 0, 0, 0, " B7+ B+ B+ B! B."}};
    for (const auto &[script, firstResult, secondResult, timesNone, expected] : cases) {
        answers = script;
        events.clear();
        if (expected[1] == 'B') // A lacks a function
            g_stISO8859_converter.pfnConverterClose = nullptr;
        {
            const Handle handle(entry, 7);
            working = handle.handle;
            takeLines();
            EXPECT_EQ(handle.convert(31, "a").result, firstResult);
            const Lines said = takeLines();
            EXPECT_EQ(std::count(said.begin(), said.end(), lines.at("none")), timesNone) << script;
            EXPECT_EQ(handle.convert(31, "a").result, secondResult);
            EXPECT_EQ(handle.setQuit(0), secondResult == 0 ? 5 : 0); // the plug-in's answer, if there is one
        }
        EXPECT_EQ(events, expected);
    }
    g_stISO8859_converter = first;
    g_stCP949_converter = second;
}

// A detector lives as long as a request, and gets its option word.
TEST(Manager, HandsTheOptionToTheDetector) {
    ZU_CHARSET_HANDLE handle = nullptr;
    EXPECT_EQ(entry.pfnDetectorCreate(&handle, 3), 0);
    const ZU_CHARSET_S real = g_stCOMMON_detector;
    g_stCOMMON_detector.pfnDetectorCreate = [](ZU_CHARSET_HANDLE *created, ZU_CHARSET_OPTION option) {
        *created = &events;
        return (events += " create " + std::to_string(option), 0);
    };
    g_stCOMMON_detector.pfnDetectorIdentStream = [](ZU_CHARSET_HANDLE, const uint8_t *, int32_t,
                                                    ZU_CHARSET_OPTION option, int32_t *type) {
        *type = answers[0] == '+' ? 31 : *type;
        return (events += " identify " + std::to_string(option), 0);
    };
    g_stCOMMON_detector.pfnDetectorClose = [](ZU_CHARSET_HANDLE) { return (events += " close", 0); };
    for (const char *script : {"+", "-"}) { // names 31, or nothing
        int32_t type = 7;
        answers = script;
        events.clear();
        EXPECT_EQ(entry.pfnDetectorIdentStream(handle, reinterpret_cast<const uint8_t *>("a"), 1, 9, &type),
                  *script == '+' ? 0 : -1);
        EXPECT_EQ(std::pair(type, events), std::pair(*script == '+' ? 31 : 7, string(" create 9 identify 9 close")));
    }
    g_stCOMMON_detector = real;
    EXPECT_EQ(entry.pfnDetectorClose(handle), 0);
}

} // namespace
