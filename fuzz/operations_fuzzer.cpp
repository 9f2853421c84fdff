// Any sequence of operations on a few handles, calls of the system library failing in between, beside a model of what
// each operation answers and of the blocks it leaves. Every byte sequence is a program: an operation, its operands.
#include "detector_instance.h"
#include "fuzzing.h"

namespace {

const ZU_CHARSET_S &entry = g_stCharset_entry;

// The converters in the order of their registration, with the number of memcpy_s calls that create makes.
enum Converter { NONE = -1, UCS, GBK, BIG5, ISO8859, WINCP, CP949 };
constexpr int COPIES[] = {1, 1, 1, 13, 10, 0};

Converter converterOf(int32_t source, int32_t destination) {
    if (!isCodeType(source) || destination != 2)
        return NONE;
    switch (source) {
        case ZU_CHARSET_CODETYPE_BIG5:
            return BIG5;
        case ZU_CHARSET_CODETYPE_GBK:
            return GBK;
        case ZU_CHARSET_CODETYPE_CP949:
            return CP949;
        default:
            return source == 2 || source == 18 || source == 19 ? UCS : source < 18 ? ISO8859 : WINCP;
    }
}

struct Handle {
    ZU_CHARSET_HANDLE handle = nullptr;
    ZU_CHARSET_OPTION option = 0;
    int32_t quit = 0;
    Converter held = NONE;

    int blocks() const { return (handle != nullptr ? 1 : 0) + (held != NONE ? 1 : 0); }
};

class Host {
  public:
    Host(const uint8_t *data, size_t size) : at(data), end(data + size) {
        recording::keepLines(false);
        recording::spareBlocks(sizeof(zucharset::ZU_CHARSETDETECTOR_Common_S)); // which takes long to come and go
        recording::failMalloc(0);
        recording::failCopies(0);
        CHECK(entry.pfnConverterFind(2, 2) == 0);
    }

    void run() {
        while (at < end) {
            const uint8_t operation = next();
            const bool detects = (operation & 0x40) != 0;
            Handle &handle = handles[operation >> 6];
            switch (operation % 8) {
                case 0:
                    handle.handle == nullptr ? create(handle, detects) : close(handle, detects);
                    break;
                case 1:
                case 2:
                    detects ? identify(handle) : convertText(handle);
                    break;
                case 3:
                    command(handle, detects);
                    break;
                case 4:
                    mallocsLeft = next() % 4;
                    recording::failMalloc(mallocsLeft);
                    break;
                case 5:
                    failingCopies = next() * 0x10101u;
                    recording::failCopies(failingCopies);
                    break;
                case 6: {
                    const int32_t source = next() - 2, destination = next() % 4;
                    CHECK((entry.pfnConverterFind(source, destination) == 0) ==
                          (converterOf(source, destination) != NONE));
                    break;
                }
                default:
                    CHECK((detects ? entry.pfnDetectorClose : entry.pfnConverterClose)(nullptr) == -1);
                    CHECK((detects ? entry.pfnDetectorCreate : entry.pfnConverterCreate)(nullptr, 0) == -1);
            }
            checkBlocks();
        }
        for (size_t i = 0; i < std::size(handles); ++i)
            close(handles[i], (i & 1) != 0);
        checkBlocks();
        CHECK(recording::unwipedBlocks() == unwiped);
    }

  private:
    uint8_t next() { return at < end ? *at++ : uint8_t{0}; }

    Bytes text() {
        const size_t size = std::min(static_cast<size_t>(next()), static_cast<size_t>(end - at));
        at += size;
        return {at - size, at};
    }

    bool mallocFails() { return mallocsLeft > 0 && --mallocsLeft == 0; }

    bool copyFails(Converter converter) {
        const bool fails = (failingCopies & 1) != 0;
        failingCopies >>= COPIES[converter];
        return fails;
    }

    void checkBlocks() {
        int blocks = 0;
        for (const Handle &handle : handles)
            blocks += handle.blocks();
        CHECK(recording::liveBlocks() == blocks);
    }

    void create(Handle &handle, bool detects) {
        handle.option = next();
        const int32_t result =
            (detects ? entry.pfnDetectorCreate : entry.pfnConverterCreate)(&handle.handle, handle.option);
        CHECK(result == (mallocFails() ? -1 : 0));
        CHECK((handle.handle != nullptr) == (result == 0));
    }

    void close(Handle &handle, bool detects) {
        const int32_t result = (detects ? entry.pfnDetectorClose : entry.pfnConverterClose)(handle.handle);
        CHECK(result == (handle.handle == nullptr ? -1 : 0));
        handle = Handle{};
    }

    void identify(const Handle &handle) {
        const Bytes bytes = text();
        int32_t type = -7;
        const int32_t result = entry.pfnDetectorIdentStream(handle.handle, bytes.data(),
                                                            static_cast<int32_t>(bytes.size()), next(), &type);
        const bool works = handle.handle != nullptr && !bytes.empty() && handle.quit <= 0 && !mallocFails();
        CHECK(result == (works ? 0 : -1));
        CHECK(works ? isCodeType(type) : type == -7);
    }

    void convertText(Handle &handle) {
        const int32_t source = next() - 2, destination = next() < 0xF0 ? 2 : 3;
        const size_t spare = next() % 4;
        const Bytes bytes = text();
        const size_t capacity = spare == 0 && !bytes.empty() ? bytes.size() - 1 : spare * bytes.size();
        const Converted converted = convert(handle.handle, bytes, capacity, source, destination);
        CHECK(converted.result == expectedOfConvert(handle, bytes, capacity, converterOf(source, destination)));
    }

    // A held converter works as long as it accepts the pair; one that fails is closed and a fresh one tried once.
    int32_t expectedOfConvert(Handle &handle, const Bytes &bytes, size_t capacity, Converter converter) {
        if (handle.handle == nullptr || bytes.empty())
            return -1;
        const bool works = handle.quit <= 0 && capacity >= bytes.size();
        if (handle.held != NONE && handle.held == converter && works)
            return 0;
        handle.held = NONE;
        if (handle.quit > 0 || converter == NONE || mallocFails())
            return -1;
        if (copyFails(converter) && converter == UCS) { // the others carry on
            unwiped += handle.option != 0 ? 1 : 0;      // a converter that was never in use is not wiped
            return -1;
        }
        handle.held = works ? converter : NONE;
        return works ? 0 : -1;
    }

    void command(Handle &handle, bool detects) {
        const int32_t command = next() % 4;
        int32_t value = static_cast<int8_t>(next());
        void *const argument = value == 127 ? nullptr : &value;
        const int32_t result = (detects ? entry.pfnDetectorSetDataAsync
                                        : entry.pfnConverterSetDataAsync)(handle.handle, command, argument);
        const bool known = command == ZU_CHARSET_CMD_QUIT || command == ZU_CHARSET_CMD_OPTION;
        const bool obeys = handle.handle != nullptr && argument != nullptr && known;
        CHECK(result == (obeys ? 0 : -1));
        if (obeys && command == ZU_CHARSET_CMD_QUIT)
            handle.quit = value;
        if (obeys && command == ZU_CHARSET_CMD_OPTION)
            handle.option = reinterpret_cast<ZU_CHARSET_OPTION>(argument);
    }

    const uint8_t *at, *end;
    Handle handles[4]; // the odd ones detect
    int mallocsLeft = 0;
    uint32_t failingCopies = 0;
    int unwiped = recording::unwipedBlocks();
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Host(data, size).run();
    return 0;
}
