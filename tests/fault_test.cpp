// Every operation with every one of its allocations and copies failing in turn, and without a local time.
#include "support/conversion.h"
#include "support/recording_utils.h"

using namespace recording;
using std::string;

namespace {

const ZU_CHARSET_S &entry = g_stCharset_entry;
const string noHandle = failure("ZU_CHARSET_Create malloc handle fail");
const string noConverter = failure("CONVERTER_create malloc handle fail"), none = failure("Can not find Converter");
const string copy = error("memcpy_s fail");

int32_t createAndClose(const ZU_CHARSET_S &record, bool detects) {
    ZU_CHARSET_HANDLE handle = nullptr;
    const int32_t result = (detects ? record.pfnDetectorCreate : record.pfnConverterCreate)(&handle, 0);
    EXPECT_EQ(handle != nullptr, result == 0);
    return handle == nullptr ? result : (detects ? record.pfnDetectorClose : record.pfnConverterClose)(handle);
}

// The handles that an operation finds. They live on: a fault must leave them usable.
struct Host {
    ZU_CHARSET_HANDLE detection = nullptr, conversion = nullptr;

    Host() {
        EXPECT_EQ(entry.pfnConverterFind(2, 2), 0);
        EXPECT_EQ(entry.pfnDetectorCreate(&detection, 0), 0);
        EXPECT_EQ(entry.pfnConverterCreate(&conversion, 0), 0);
    }
    ~Host() {
        EXPECT_EQ(entry.pfnDetectorClose(detection), 0);
        EXPECT_EQ(entry.pfnConverterClose(conversion), 0);
    }
    int32_t identify() const {
        int32_t type = -7;
        const auto *text = reinterpret_cast<const uint8_t *>("\xC4\xE3\xBA\xC3");
        const int32_t result = entry.pfnDetectorIdentStream(detection, text, 4, 0, &type);
        EXPECT_EQ(type, result == 0 ? ZU_CHARSET_CODETYPE_GBK : -7);
        return result;
    }
    int32_t convert(int32_t source) const {
        const string text = source == 19 ? string("\0A", 2) : "A";
        uint8_t output[8] = {};
        int32_t written = 7;
        uint32_t consumed = 0;
        const int32_t result =
            entry.pfnConverterConvStream(conversion, reinterpret_cast<const uint8_t *>(text.data()),
                                         static_cast<int32_t>(text.size()), output, &written, source, 2, &consumed);
        EXPECT_TRUE(result != 0 || (written == 1 && output[0] == 'A' && output[1] == 0 && consumed == text.size()));
        return result;
    }
};

struct Operation {
    string name;
    std::function<int32_t(const Host &)> run;
    int mallocs;
    Lines withoutMemory; // at error level
    int copies;
    bool needsCopies;
    Lines withoutCopy;
};

std::vector<Operation> operations() {
    const Lines converting{noConverter, none, none};
    const Lines order{"UCS_GetSYS_EndiaType", error("UCS Converter:system EndiaType is error")};
    const auto converts = [](int32_t source) { return [=](const Host &host) { return host.convert(source); }; };
    const auto creates = [](const ZU_CHARSET_S &record, bool detects) {
        return [&record, detects](const Host &) { return createAndClose(record, detects); };
    };
    Lines refused = order;
    refused.insert(refused.end(), {none, none});
    return {
        {"create detection", creates(entry, true), 1, {noHandle}, 0, false, {}},
        {"create conversion", creates(entry, false), 1, {noHandle}, 0, false, {}},
        {"find", [](const Host &) { return entry.pfnConverterFind(20, 2); }, 0, {}, 0, false, {}},
        {"identify",
         [](const Host &h) { return h.identify(); },
         1,
         {noHandle, failure("Can not find Detector")},
         0,
         false,
         {}},
        {"convert UCS", converts(19), 1, converting, 1, true, refused},
        {"convert GBK", converts(20), 1, converting, 1, false, {copy}},
        {"convert Big5", converts(1), 1, converting, 1, false, {copy}},
        {"convert ISO-8859", converts(5), 1, converting, 13, false, {copy}},
        {"convert code page", converts(21), 1, converting, 10, false, {copy}},
        {"convert CP949", converts(33), 1, converting, 0, false, {}},
        {"create the detector", creates(g_stCOMMON_detector, true), 1, {noHandle}, 0, false, {}},
        {"create UCS", creates(g_stUCS_converter, false), 1, {noConverter}, 1, true, order},
        {"create GBK", creates(g_stGBK_converter, false), 1, {noConverter}, 1, false, {copy}},
        {"create Big5", creates(g_stBIG5_converter, false), 1, {noConverter}, 1, false, {copy}},
        {"create ISO-8859", creates(g_stISO8859_converter, false), 1, {noConverter}, 13, false, {copy}},
        {"create code page", creates(g_stWINCP_converter, false), 1, {noConverter}, 10, false, {copy}},
        {"create CP949", creates(g_stCP949_converter, false), 1, {noConverter}, 0, false, {}},
    };
}

// The error lines of any file as LEVEL TEXT; of the byte order's, which tells its own place, the name only.
Lines errors() {
    Lines errors;
    for (string &line : takeWhole()) {
        if (line.find("/2 ") == string::npos)
            continue;
        line = "2 " + line.substr(line.find(".cpp:"));
        line = "2 " + line.substr(line.find("] ") + 2);
        errors.push_back(line.find("memcpy_s failed!") != string::npos ? line.substr(3, line.find(':') - 3) : line);
    }
    return errors;
}

// Fails the n-th call for n = 1, 2 and so on until the operation makes no n-th call.
void failEach(const Operation &operation, int calls, bool fatal, const Lines &expected, void (*fail)(int)) {
    for (int n = 1; n <= calls + 1; ++n) {
        SCOPED_TRACE(operation.name + ", call " + std::to_string(n));
        {
            const Host host;
            takeWhole();
            fail(n);
            const int32_t result = operation.run(host);
            fail(0);
            const bool failed = n <= calls;
            EXPECT_EQ(result, failed && fatal ? -1 : 0);
            EXPECT_EQ(errors(), failed ? expected : Lines{});
            const bool holds = operation.name.starts_with("convert ") && result == 0;
            EXPECT_EQ(liveBlocks(), 2 + (holds ? 1 : 0));
            EXPECT_EQ(operation.run(host), 0); // the handles are as good as before
        }
        EXPECT_EQ(liveBlocks() + unwipedBlocks(), 0);
    }
}

TEST(Fault, EveryAllocation) {
    for (const Operation &operation : operations())
        failEach(operation, operation.mallocs, true, operation.withoutMemory, failMalloc);
}

TEST(Fault, EveryCopy) {
    for (const Operation &operation : operations())
        failEach(operation, operation.copies, operation.needsCopies, operation.withoutCopy,
                 [](int n) { failCopies(n == 0 ? 0 : 1u << (n - 1)); });
}

TEST(Fault, ConverterChangedWithoutMemory) {
    const Host host;
    EXPECT_EQ(host.convert(20), 0);
    failMalloc(1);
    EXPECT_EQ(host.convert(1), -1);
    EXPECT_EQ(liveBlocks(), 2);
    EXPECT_EQ(host.convert(1), 0);
}

TEST(Fault, NoLocalTime) {
    for (const Operation &operation : operations()) {
        Lines lines[2];
        for (const bool known : {true, false}) {
            const Host host;
            takeWhole();
            setLocalTime(known);
            EXPECT_EQ(operation.run(host), 0);
            lines[known] = takeWhole();
        }
        setLocalTime(true);
        const string stamp = "[03:04:05.007]: ";
        for (string &line : lines[true]) {
            ASSERT_NE(line.find(stamp), string::npos);
            line.erase(line.find(stamp), stamp.size());
        }
        EXPECT_EQ(lines[false], lines[true]) << operation.name;
    }
}

} // namespace
