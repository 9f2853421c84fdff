// Every operation of the entry with each of its allocations and copies failing in turn, and without a local time.
#include "support/conversion.h"
#include "support/recording_utils.h"

using namespace recording;
using std::string;

namespace {

const ZU_CHARSET_S &entry = g_stCharset_entry;
enum { CREATE_DETECTION = -2, CREATE_CONVERSION, IDENTIFY };

struct Operation {
    int32_t source; // a conversion, or one of the above
    int copies;
    Lines withoutMemory, withoutCopy; // the error lines
};

const string noHandle = failure("ZU_CHARSET_Create malloc handle fail"), none = failure("Can not find Converter");
const Lines noConverter{failure("CONVERTER_create malloc handle fail"), none, none}, noCopy{error("memcpy_s fail")};
const Lines noByteOrder{"UCS_GetSYS_EndiaType", error("UCS Converter:system EndiaType is error"), none, none};
const Operation operations[] = {{CREATE_DETECTION, 0, {noHandle}, {}},
                                {CREATE_CONVERSION, 0, {noHandle}, {}},
                                {IDENTIFY, 0, {noHandle, failure("Can not find Detector")}, {}},
                                {ZU_CHARSET_CODETYPE_UCS16BE, 1, noConverter, noByteOrder},
                                {ZU_CHARSET_CODETYPE_GBK, 1, noConverter, noCopy},
                                {ZU_CHARSET_CODETYPE_BIG5, 1, noConverter, noCopy},
                                {ZU_CHARSET_CODETYPE_ISO8859_3, 13, noConverter, noCopy},
                                {ZU_CHARSET_CODETYPE_CP1250, 10, noConverter, noCopy},
                                {ZU_CHARSET_CODETYPE_CP949, 0, noConverter, {}}};

// A host with a handle of each kind.
struct Host {
    const Handle conversion{entry};
    ZU_CHARSET_HANDLE detection = nullptr;

    Host() {
        EXPECT_EQ(entry.pfnConverterFind(2, 2) + entry.pfnDetectorCreate(&detection, 0), 0);
        takeWhole();
    }
    ~Host() { EXPECT_EQ(entry.pfnDetectorClose(detection), 0); }

    int32_t run(const Operation &operation) const {
        if (operation.source == IDENTIFY) {
            int32_t type = -7;
            const auto *text = reinterpret_cast<const uint8_t *>("\xC4\xE3\xBA\xC3");
            const int32_t result = entry.pfnDetectorIdentStream(detection, text, 4, 0, &type);
            EXPECT_EQ(type, result == 0 ? ZU_CHARSET_CODETYPE_GBK : -7);
            return result;
        }
        if (operation.source < IDENTIFY) {
            const bool detects = operation.source == CREATE_DETECTION;
            ZU_CHARSET_HANDLE created = nullptr;
            const int32_t result = (detects ? entry.pfnDetectorCreate : entry.pfnConverterCreate)(&created, 0);
            EXPECT_EQ(created != nullptr, result == 0);
            return result != 0 ? result : (detects ? entry.pfnDetectorClose : entry.pfnConverterClose)(created);
        }
        const string text = operation.source == ZU_CHARSET_CODETYPE_UCS16BE ? string("\0A", 2) : "A";
        const Converted converted = conversion.convert(operation.source, text);
        EXPECT_TRUE(converted.result != 0 || converted.output == "A");
        return converted.result;
    }
};

// The error lines as LEVEL TEXT; of the byte order's, which tells the place in its text, the name only.
Lines errors() {
    Lines errors;
    for (const string &line : takeWhole()) {
        const string text = line.substr(line.find("] ", line.find(".cpp:")) + 2);
        if (line.find("/2 ") != string::npos)
            errors.push_back(text.ends_with("memcpy_s failed!\n") ? text.substr(1, text.find(':') - 1) : error(text));
    }
    return errors;
}

// Fails the n-th call for n = 1, 2 and so on until the operation makes no n-th call.
void failEach(const Operation &operation, int calls, bool fatal, const Lines &expected, void (*fail)(int)) {
    for (int n = 1; n <= calls + 1; ++n) {
        SCOPED_TRACE(std::to_string(operation.source) + ", call " + std::to_string(n));
        {
            const Host host;
            fail(n);
            const int32_t result = host.run(operation);
            fail(0);
            const bool failed = n <= calls;
            EXPECT_EQ(result, failed && fatal ? -1 : 0);
            EXPECT_EQ(errors(), failed ? expected : Lines{});
            EXPECT_EQ(liveBlocks(), 2 + (operation.source > IDENTIFY && result == 0 ? 1 : 0));
            EXPECT_EQ(host.run(operation), 0); // the handles are as good as before
        }
        EXPECT_EQ(liveBlocks() + unwipedBlocks(), 0);
    }
}

TEST(Fault, EveryAllocation) {
    for (const Operation &operation : operations)
        failEach(operation, 1, true, operation.withoutMemory, failMalloc);
}

TEST(Fault, EveryCopy) {
    for (const Operation &operation : operations)
        failEach(operation, operation.copies, operation.source == ZU_CHARSET_CODETYPE_UCS16BE, operation.withoutCopy,
                 [](int n) { failCopies(n == 0 ? 0 : 1u << (n - 1)); });
}

TEST(Fault, NoLocalTime) {
    const string stamp = "[03:04:05.007]: ";
    for (const Operation &operation : operations) {
        Lines lines[2];
        for (const bool known : {true, false}) {
            const Host host;
            setLocalTime(known);
            EXPECT_EQ(host.run(operation), 0);
            lines[known] = takeWhole();
        }
        setLocalTime(true);
        ASSERT_FALSE(lines[true].empty());
        for (string &line : lines[true])
            line.erase(line.find(stamp), stamp.size());
        EXPECT_EQ(lines[false], lines[true]);
    }
}

} // namespace
