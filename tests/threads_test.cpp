// What may run at the same time: work on distinct handles, and set-data beside the work of its own handle. Under the
// thread sanitizer a race fails these tests, whatever the results are.
#include "support/conversion.h"
#include "support/recording_utils.h"
#include "support/vast_text.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>

namespace {

const ZU_CHARSET_S &entry = g_stCharset_entry;

struct Sample {
    int32_t type;
    std::string text, utf8;
};
const Sample SAMPLES[] = {{20, "\xC4\xE3\xBA\xC3", "你好"}, {1, "\xA7\x41\xA6\x6E", "你好"},
                          {33, "\xBE\xC8\xB3\xE7", "안녕"}, {22, "\xCF\xF0\xE8", "При"},
                          {9, "\xC3\xE5\xE9", "Γει"},       {2, "\xE4\xBD\xA0", "你"}};

class Threads : public testing::Test {
  protected:
    void SetUp() override {
        EXPECT_EQ(entry.pfnConverterFind(2, 2), 0); // registration comes before threads
        EXPECT_EQ(entry.pfnDetectorCreate(&detection, 0), 0);
        EXPECT_EQ(g_stCOMMON_detector.pfnDetectorCreate(&detector, 0), 0);
    }
    void TearDown() override {
        EXPECT_EQ(entry.pfnDetectorClose(detection), 0);
        EXPECT_EQ(g_stCOMMON_detector.pfnDetectorClose(detector), 0);
        EXPECT_EQ(recording::liveBlocks() + recording::unwipedBlocks(), 0);
    }
    static int32_t identify(const ZU_CHARSET_S &record, ZU_CHARSET_HANDLE handle, std::string_view text) {
        int32_t type = -1;
        const int32_t result = record.pfnDetectorIdentStream(handle, reinterpret_cast<const uint8_t *>(text.data()),
                                                             static_cast<int32_t>(text.size()), 0, &type);
        recording::takeWhole();
        return result == 0 ? type : -1;
    }

    ZU_CHARSET_HANDLE detection = nullptr; // of the entry
    ZU_CHARSET_HANDLE detector = nullptr;  // of the detector itself
};

TEST_F(Threads, DistinctHandles) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 40; ++round) {
                ZU_CHARSET_HANDLE own = nullptr;
                EXPECT_EQ(entry.pfnDetectorCreate(&own, 0), 0);
                const Handle conversion(entry);
                for (const Sample &sample : SAMPLES)
                    EXPECT_EQ(conversion.convert(sample.type, sample.text).output, sample.utf8);
                EXPECT_EQ(identify(entry, own, SAMPLES[0].text), SAMPLES[0].type);
                EXPECT_EQ(entry.pfnDetectorClose(own), 0);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
}

// Commands of every kind arrive while the work runs; what is converted must be right all the same.
TEST_F(Threads, CommandsBesideWork) {
    const Handle held(entry), switching(entry);
    const std::tuple<ZU_CHARSET_SETDATAASYNC_FN, ZU_CHARSET_HANDLE, std::function<int32_t(const Sample &)>> works[] = {
        {entry.pfnDetectorSetDataAsync, detection,
         [&](const Sample &) { return identify(entry, detection, SAMPLES[0].text) == 20 ? 0 : -1; }},
        {g_stCOMMON_detector.pfnDetectorSetDataAsync, detector,
         [&](const Sample &) { return identify(g_stCOMMON_detector, detector, SAMPLES[0].text) == 20 ? 0 : -1; }},
        {entry.pfnConverterSetDataAsync, held.handle,
         [&](const Sample &) { return held.convert(20, SAMPLES[0].text).output == SAMPLES[0].utf8 ? 0 : -1; }},
        {entry.pfnConverterSetDataAsync, switching.handle, [&](const Sample &sample) {
             const Converted converted = switching.convert(sample.type, sample.text);
             EXPECT_TRUE(sample.utf8.starts_with(converted.output)) << sample.type;
             return converted.output == sample.utf8 ? 0 : -1;
         }}};
    for (const auto &[setData, handle, work] : works) {
        std::atomic<int> commands = 0;
        std::atomic<bool> done = false;
        std::thread commander([&, setData = setData, handle = handle] {
            for (int32_t i = 0; !done; ++i, ++commands) {
                int32_t quit = i % 4 == 0 ? 1 : 0;
                EXPECT_EQ(setData(handle, ZU_CHARSET_CMD_QUIT, &quit), 0);
                EXPECT_EQ(setData(handle, ZU_CHARSET_CMD_OPTION, &done), 0);
                EXPECT_EQ(setData(handle, 3, &done), -1);
                recording::takeWhole();
                if (i % 64 == 63) // lest a slow machine never gets through between two requests
                    std::this_thread::sleep_for(std::chrono::milliseconds(20));
            }
        });
        int worked = 0; // between two requests
        for (int round = 0; round < 300 || commands < 300; ++round) {
            worked += work(SAMPLES[static_cast<size_t>(round) % std::size(SAMPLES)]) == 0 ? 1 : 0;
            recording::takeWhole();
        }
        done = true;
        commander.join();
        int32_t quit = 0;
        EXPECT_EQ(setData(handle, ZU_CHARSET_CMD_QUIT, &quit), 0);
        EXPECT_EQ(work(SAMPLES[0]), 0);
        EXPECT_GT(worked, 0);
    }
}

class Quit : public Threads {
  protected:
    static constexpr int32_t SIZE = 1 << 30;
    static constexpr int MANY = 30;
    static constexpr double BOUND = 10; // milliseconds; one pass over the text takes several times that

    void SetUp() override {
        Threads::SetUp();
        if (sizeof(void *) == 4)
            GTEST_SKIP() << "no room for the addresses";
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
        GTEST_SKIP() << "a sanitizer's times are not those of the library";
#endif
    }

    // Sends a request when the work is well under way, and tells how long it then goes on: tried until it is within the
    // bound, since the machine may have more to do than this.
    static double milliseconds(const char *what, int tries, ZU_CHARSET_SETDATAASYNC_FN setData,
                               ZU_CHARSET_HANDLE handle, const std::function<void()> &work) {
        double shortest = 1e9;
        for (int i = 0; i < tries && shortest >= BOUND; ++i) {
            int32_t quit = 0;
            EXPECT_EQ(setData(handle, ZU_CHARSET_CMD_QUIT, &quit), 0);
            std::thread worker(work);
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            quit = 1;
            const auto before = std::chrono::steady_clock::now();
            EXPECT_EQ(setData(handle, ZU_CHARSET_CMD_QUIT, &quit), 0);
            worker.join();
            const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - before;
            shortest = std::min(shortest, time.count());
        }
        std::printf("%s: %.3f ms from the request to the end\n", what, shortest);
        return shortest;
    }
};

TEST_F(Quit, EndsAConversion) {
    const VastText output("-");
    for (const auto &[type, unit] : {std::pair(20, "\xD6\xD0"), {2, "a\xC3\xA9"}, {9, "\xC3 "}, {18, "\x2D\x4E"}}) {
        const VastText input(unit);
        for (const bool isHeld : {false, true}) {
            const Handle handle(entry);
            EXPECT_TRUE(!isHeld || handle.convert(type, unit).result == 0);
            const auto work = [&, type = type] {
                int32_t written = INT32_MAX;
                uint32_t consumed = 0;
                entry.pfnConverterConvStream(handle.handle, input.first, SIZE, output.first, &written, type, 2,
                                             &consumed);
                EXPECT_LT(consumed, SIZE);
            };
            EXPECT_LT(milliseconds("conversion", MANY, entry.pfnConverterSetDataAsync, handle.handle, work), BOUND);
        }
    }
}

TEST_F(Quit, EndsADetector) {
    const VastText input("\xCF\xF0\xE8\xE2\xE5\xF2\n ");
    const std::string_view text(reinterpret_cast<const char *>(input.first), SIZE);
    const auto work = [&] { EXPECT_EQ(identify(g_stCOMMON_detector, detector, text), -1); };
    EXPECT_LT(milliseconds("detector", MANY, g_stCOMMON_detector.pfnDetectorSetDataAsync, detector, work), BOUND);
    // Through the entry a request takes effect when the detector is done: the answer is refused, no sooner.
    const auto whole = [&] { EXPECT_EQ(identify(entry, detection, text), -1); };
    milliseconds("identify of the entry", 1, entry.pfnDetectorSetDataAsync, detection, whole);
}

} // namespace
