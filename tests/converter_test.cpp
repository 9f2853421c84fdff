#include "support/conversion.h"
#include "support/recording_utils.h"

#include <set>
#include <tuple>

using namespace recording;
using std::string;

namespace {

struct Converter {
    const ZU_CHARSET_S &record;
    string name, description;
    std::set<int32_t> sources;
    string srcUnknown, dstUnknown;
    bool listFirst;  // the source's list is asked before the destination's range
    string speaker;  // of the line about an unknown command
    Lines traces;    // of a conversion
    uint32_t copies; // by create

    int32_t own() const { return *sources.begin(); }
    int32_t foreign() const { return own() == 20 ? 1 : 20; }
    string file() const { return "converter_" + name + ".cpp:"; }
    // What find says of a code type that is not listed; the wording of the code pages' converter is its own affair.
    Lines unlisted(const string &which) const {
        const string line = trace(which + " type is not support, not use " + name + " converter.");
        const string first = trace("org type is not support, not use ucs converter.");
        return name == "wincp" ? Lines{"6 ", "6 "} : name == "ucs" ? Lines{first, line} : Lines{line};
    }
};

const string BOTH = "unknown codetype!!", SRC = "unknown src codetype!!", DST = "unknown dst codetype!!";
// clang-format off
const Converter converters[] = {
    {g_stUCS_converter, "ucs", "ucs", {2, 18, 19}, BOTH, BOTH, false, "TESTCHARSET", {}, 1},
    {g_stGBK_converter, "gbk", "gbk", {20}, SRC, DST, true, "TESTCHARSET", {}, 1},
    {g_stBIG5_converter, "big5", "Big5", {1}, BOTH, BOTH, false, "BIG5", {trace("_Converter_BIG5_ToUTF8\n")}, 1},
    {g_stISO8859_converter, "iso8859", "iso8859", {3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17},
     SRC, DST, true, "TESTCHARSET", {}, 13},
    {g_stWINCP_converter, "wincp", "windows codepage", {21, 22, 23, 24, 25, 26, 27, 28, 29, 30},
     BOTH, BOTH, false, "TESTCHARSET", {}, 10},
    {g_stCP949_converter, "cp949", "CP949", {33}, SRC, DST, false, "CP949", {trace("_Converter_CP949_ToUTF8\n")}, 0}};
// clang-format on

TEST(Converter, Find) {
    for (const Converter &c : converters) {
        for (int32_t source = -2; source < 40; ++source)
            EXPECT_EQ(c.record.pfnConverterFind(source, 2), c.sources.count(source) > 0 ? 0 : -1) << c.name << source;
        takeLines();
        const Lines badSrc{failure(c.srcUnknown)}, badDst{failure(c.dstUnknown)}, noSrc = c.unlisted("src");
        // clang-format off
        const std::vector<std::tuple<int32_t, int32_t, Lines>> cases = {
            {0, 2, badSrc}, {34, 0, badSrc}, {c.own(), 0, badDst}, {c.own(), 34, badDst}, {31, 2, noSrc},
            {c.foreign(), 3, noSrc}, {c.own(), 3, c.unlisted("dst")}, {31, 34, c.listFirst ? noSrc : badDst}};
        // clang-format on
        for (const auto &[source, destination, expected] : cases) {
            EXPECT_EQ(c.record.pfnConverterFind(source, destination), -1);
            Lines lines = takeLines(c.file());
            for (string &line : lines)
                line = c.name == "wincp" && line[0] == '6' ? "6 " : line;
            EXPECT_EQ(lines, expected) << c.name << " " << source << " to " << destination;
        }
    }
}

TEST(Converter, CreateAndClose) {
    for (const Converter &c : converters) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.record.pszDescription, "zucharset " + c.description + " converter");
        ZU_CHARSET_HANDLE handle = nullptr;
        EXPECT_EQ(c.record.pfnConverterCreate(nullptr, 0), -1);
        failMalloc(1);
        EXPECT_EQ(c.record.pfnConverterCreate(&handle, 0), -1);
        EXPECT_EQ(c.record.pfnConverterClose(nullptr), -1);
        EXPECT_EQ(takeLines(c.file()),
                  (Lines{failure("invalid param"), failure("CONVERTER_create malloc handle fail"), failure("null")}));
        for (uint32_t copy = 0; copy <= c.copies && c.name != "ucs"; ++copy) { // each one alone, then all of them
            failCopies(copy < c.copies ? 1u << copy : ~0u);
            { const Handle created(c.record); }
            const bool once = copy < c.copies || c.name != "wincp";
            EXPECT_EQ(takeLines(c.file()), Lines(once ? std::min(c.copies, 1u) : c.copies, error("memcpy_s fail")));
        }
        failCopies(0);
        EXPECT_EQ(liveBlocks() + unwipedBlocks(), 0);
    }
    ZU_CHARSET_HANDLE handle = nullptr;
    failCopies(1); // which the UCS converter alone cannot do without
    EXPECT_EQ(g_stUCS_converter.pfnConverterCreate(&handle, 0), -1);
    EXPECT_TRUE(handle == nullptr && liveBlocks() == 0);
    const Lines lines = takeLines("converter_ucs.cpp:");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].find("2 [UCS_GetSYS_EndiaType:"), 0u);
    EXPECT_NE(lines[0].find("] memcpy_s failed!\n"), string::npos);
    EXPECT_EQ(lines[1], error("UCS Converter:system EndiaType is error"));
}

TEST(Converter, RefusedConversionsAndCommands) {
    const string noIn = "convstream error:In data is null", noOut = "convstream error:Out data is null";
    const string quits = "request to quit...", failed = "convstream failed\n";
    for (const Converter &c : converters) {
        SCOPED_TRACE(c.name);
        const Handle handle(c.record);
        const uint8_t in[4] = {'a', 'b', 'c', 'd'};
        uint8_t out[16];
        // clang-format off
        const std::tuple<bool, const uint8_t *, int32_t, uint8_t *, int32_t, int32_t, int32_t, string> cases[] = {
            {false, nullptr, 0, nullptr, 0, 20, 1, "null"}, {true, nullptr, 4, nullptr, 0, 20, 1, noIn},
            {true, in, 0, out, 8, c.own(), 0, noIn}, {true, in, -1, out, 8, c.own(), 0, noIn},
            {true, in, 4, nullptr, 8, 0, 1, noOut}, {true, in, 4, out, 3, c.foreign(), 1, noOut},
            {true, in, 4, out, -1, c.own(), 0, noOut}, {true, in, 4, out, 4, c.own(), 1, quits},
            {true, in, 4, out, 4, c.foreign(), 0, failed}, {true, in, 4, out, 4, 31, -1, failed},
            {true, in, 4, out, 4, c.foreign(), 1, c.name == "iso8859" ? quits : failed}};
        // clang-format on
        for (const auto &[given, input, length, output, capacity, type, quit, message] : cases) {
            EXPECT_EQ(handle.setQuit(quit), 0);
            int32_t written = capacity;
            uint32_t consumed = 77;
            EXPECT_EQ(c.record.pfnConverterConvStream(given ? handle.handle : nullptr, input, length, output, &written,
                                                      type, 2, &consumed),
                      -1);
            EXPECT_EQ(takeLines(c.file()), Lines{failure(message)});
            EXPECT_EQ(consumed, message == quits || message == failed ? 0u : 77u);
        }
        EXPECT_EQ(handle.setQuit(0), 0);
        EXPECT_EQ(handle.convert(c.own(), "abcd", 12).result, 0);
        EXPECT_EQ(takeLines(c.file()), c.traces);
        const auto command = c.record.pfnConverterSetDataAsync;
        EXPECT_EQ(command(nullptr, 1, out), -1);
        EXPECT_EQ(command(handle.handle, 3, out), -1);
        EXPECT_EQ(takeLines(c.file()),
                  (Lines{failure("null"), error(c.speaker + "_CONVERTER_setDataAsync: unknow commands\n")}));
        EXPECT_EQ(command(handle.handle, ZU_CHARSET_CMD_QUIT, nullptr), -1);
        EXPECT_EQ(command(handle.handle, ZU_CHARSET_CMD_OPTION, out), 0);
    }
}

} // namespace
