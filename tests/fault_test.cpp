// Every operation of the entry with each of its allocations and copies failing in turn, and without a local time.
#include "support/conversion.h"
#include "support/recording_utils.h"

#include <cstring>

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

// A table that could not be copied is all zeros, and no other is touched. The bytes from first to last come from the
// copy.
TEST(Fault, WhatReadsACopy) {
    struct Page {
        int32_t type, copy, first, last;
    };
    std::vector<Page> pages;
    for (const int32_t type : {4, 5, 6, 7, 8, 9, 10, 11, 12, 14, 15, 16, 17}) // one copy each, in this order
        pages.push_back({type, static_cast<int32_t>(pages.size()), type == 11 ? 0xD0 : 0xA0, type == 16 ? 0xBF : 0xFF});
    for (int32_t type = 21; type <= 30; ++type)
        pages.push_back({type, type - 21, 0x80, type == 23 ? 0x9F : 0xFF});
    for (const auto &[type, itsCopy, first, last] : pages) {
        for (int32_t copy = 0; copy < 13; ++copy) {
            failCopies(1u << copy);
            ZU_CHARSET_HANDLE handle = nullptr;
            EXPECT_EQ(converterOf(type).pfnConverterCreate(&handle, 0), 0);
            failCopies(0);
            const Handle broken(converterOf(type), handle), sound(converterOf(type));
            for (int32_t byte = 0; byte < 256; ++byte) {
                const bool ownInTurkish =
                    type == 25 && ((byte >= 0xA0 && byte < 0xD0) || (byte >= 0xE0 && byte < 0xF0));
                const bool isLost = copy == itsCopy && byte >= first && byte <= last && !ownInTurkish;
                for (const size_t length : {1u, 300u}) {
                    const string text(length, static_cast<char>(byte));
                    ASSERT_EQ(broken.convert(type, text).output,
                              isLost ? string(length, '\0') : sound.convert(type, text).output)
                        << type << ' ' << copy << ' ' << byte;
                }
            }
        }
        takeWhole();
    }
}

// A handle ends with the code types of its latest conversion, its option and its quit flag.
TEST(Fault, WhatACoreDumpShows) {
    for (const auto &[type, option] : {std::pair(2, 3), {20, 4}, {1, 5}, {9, 6}, {30, 7}, {33, 8}}) {
        const Handle handle(converterOf(type), static_cast<uint32_t>(option));
        EXPECT_EQ(handle.setQuit(-6), 0);
        EXPECT_EQ(handle.convert(type, "a").output, "a");
        struct Tail {
            int32_t source, destination;
            ZU_CHARSET_OPTION option;
            int32_t quit;
        } tail;
        std::memcpy(&tail, static_cast<const char *>(handle.handle) + sizeOf(handle.handle) - sizeof tail, sizeof tail);
        EXPECT_TRUE(tail.source == type && tail.destination == 2) << type << tail.source << tail.destination;
        EXPECT_TRUE(tail.option == static_cast<ZU_CHARSET_OPTION>(option) && tail.quit == -6) << type;
    }
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
