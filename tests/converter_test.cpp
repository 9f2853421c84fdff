#include "support/conversion.h"
#include "support/recording_utils.h"

#include <algorithm>
#include <tuple>

using namespace recording;
using std::string;

namespace {

struct Converter {
    const ZU_CHARSET_S &record;
    string name, description;
    std::vector<int32_t> sources;
    bool listFirst; // the source's list is asked before the destination's range
    string srcUnknown, dstUnknown, unknownCommand, firstLine;
    Lines traces; // of a conversion

    int32_t own() const { return sources[0]; }
    int32_t foreign() const { return own() == 20 ? 1 : 20; }
    Lines take() const { return takeLines("converter_" + name + ".cpp:"); }
    // What find says of a code type that is not listed, after a line of their own from two of the converters.
    Lines unlisted(const string &which) const {
        Lines lines(firstLine.empty() ? 0 : 1, trace(firstLine));
        lines.push_back(trace(which + " type is not support, not use " + name + " converter."));
        return lines;
    }
};

const string ANY = "unknown codetype!!", SRC = "unknown src codetype!!", DST = "unknown dst codetype!!";
// clang-format off
const Converter converters[] = {
    {g_stUCS_converter, "ucs", "ucs", {2, 18, 19}, false, ANY, ANY, "TESTCHARSET",
     "org type is not support, not use ucs converter.", {}},
    {g_stGBK_converter, "gbk", "gbk", {20}, true, SRC, DST, "TESTCHARSET", "", {}},
    {g_stBIG5_converter, "big5", "Big5", {1}, false, ANY, ANY, "BIG5", "", {trace("_Converter_BIG5_ToUTF8\n")}},
    {g_stISO8859_converter, "iso8859", "iso8859", {3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17}, true, SRC, DST,
     "TESTCHARSET", "", {}},
    {g_stWINCP_converter, "wincp", "windows codepage", {21, 22, 23, 24, 25, 26, 27, 28, 29, 30}, false, ANY, ANY,
     "TESTCHARSET", "code type is not in the list.", {}},
    {g_stCP949_converter, "cp949", "CP949", {33}, false, SRC, DST, "CP949", "", {trace("_Converter_CP949_ToUTF8\n")}}};
// clang-format on

TEST(Converter, Find) {
    for (const Converter &c : converters) {
        for (int32_t source = -2; source < 40; ++source)
            EXPECT_EQ(c.record.pfnConverterFind(source, 2), std::ranges::count(c.sources, source) - 1) << c.name;
        takeLines();
        const Lines badSrc{failure(c.srcUnknown)}, badDst{failure(c.dstUnknown)}, noSrc = c.unlisted("src");
        // clang-format off
        const std::tuple<int32_t, int32_t, Lines> cases[] = {
            {0, 2, badSrc}, {34, 0, badSrc}, {c.own(), 0, badDst}, {c.own(), 34, badDst}, {31, 2, noSrc},
            {c.foreign(), 3, noSrc}, {c.own(), 3, c.unlisted("dst")}, {31, 34, c.listFirst ? noSrc : badDst}};
        // clang-format on
        for (const auto &[source, destination, expected] : cases) {
            EXPECT_EQ(c.record.pfnConverterFind(source, destination), -1);
            EXPECT_EQ(c.take(), expected) << c.name << " " << source << " to " << destination;
        }
    }
}

TEST(Converter, RefusedConversionsAndCommands) {
    const string noIn = "convstream error:In data is null", noOut = "convstream error:Out data is null";
    const string quits = "request to quit...", failed = "convstream failed\n";
    for (const Converter &c : converters) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.record.pszDescription, "zucharset " + c.description + " converter");
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
            EXPECT_EQ(c.take(), Lines{failure(message)});
            EXPECT_EQ(consumed, message == quits || message == failed ? 0u : 77u);
        }
        EXPECT_EQ(handle.setQuit(0), 0);
        EXPECT_EQ(handle.convert(c.own(), "abcd").result, 0);
        EXPECT_EQ(c.take(), c.traces);
        const auto command = c.record.pfnConverterSetDataAsync;
        EXPECT_EQ(command(handle.handle, ZU_CHARSET_CMD_QUIT, nullptr), -1);
        EXPECT_EQ(command(handle.handle, ZU_CHARSET_CMD_OPTION, out), 0);
        for (const int32_t result : {command(nullptr, 1, out), command(handle.handle, 3, out),
                                     c.record.pfnConverterCreate(nullptr, 0), c.record.pfnConverterClose(nullptr)})
            EXPECT_EQ(result, -1);
        EXPECT_EQ(c.take(),
                  (Lines{failure("null"), error(c.unknownCommand + "_CONVERTER_setDataAsync: unknow commands\n"),
                         failure("invalid param"), failure("null")}));
    }
}

} // namespace
