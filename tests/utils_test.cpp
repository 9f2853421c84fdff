// The stand-in for the host's utility library, as a player's own library must behave too.
#include "vemora_utils.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <sys/wait.h>
#include <tuple>
#include <unistd.h>

using std::string;

namespace {

TEST(Utils, BoundedBlocks) {
    char block[5];
    const auto reset = [&block] { std::memcpy(block, "....", 5); };
    const std::tuple<size_t, size_t, int, const char *, int, const char *> cases[] = {
        // capacity, count, what filling gives and leaves, what copying gives and leaves
        {4, 0, 0, "....", 0, "...."},           {4, 3, 0, "zzz.", 0, "abc."},           {4, 4, 0, "zzzz", 0, "abcd"},
        {2, 3, ERANGE, "zz..", ERANGE, "...."}, {0, 1, ERANGE, "....", ERANGE, "...."}, {0, 0, 0, "....", 0, "...."}};
    for (const auto &[capacity, count, filled, afterFill, copied, afterCopy] : cases) {
        reset();
        EXPECT_EQ(memset_s(block, capacity, 'z', count), filled) << capacity << ' ' << count;
        EXPECT_STREQ(block, afterFill);
        reset();
        EXPECT_EQ(memcpy_s(block, capacity, "abcd", count), copied) << capacity << ' ' << count;
        EXPECT_STREQ(block, afterCopy);
    }
    reset();
    EXPECT_EQ(memset_s(nullptr, 4, 0, 4), EINVAL);
    EXPECT_EQ(memcpy_s(nullptr, 4, "abcd", 4), EINVAL);
    EXPECT_EQ(memcpy_s(block, 4, nullptr, 4), EINVAL);
    EXPECT_STREQ(block, "....");
}

TEST(Utils, BoundedTexts) {
    const std::tuple<size_t, size_t, int, const char *> cases[] = {
        // of seven characters and a zero
        {8, 7, 7, "1 of 12"}, {8, 8, 7, "1 of 12"},  {9, 7, 7, "1 of 12"}, {8, SIZE_MAX, 7, "1 of 12"},
        {7, 9, -1, "1 of 1"}, {7, 7, -1, "1 of 1"},  {9, 6, -1, "1 of 1"}, {9, 0, -1, ""},
        {1, 9, -1, ""},       {0, 0, -1, "......."}, {0, 9, -1, "......."}};
    for (const auto &[capacity, count, result, expected] : cases) {
        char text[] = ".......\0#";
        EXPECT_EQ(snprintf_s(text, capacity, count, "%d of %s", 1, "12"), result) << capacity << ' ' << count;
        EXPECT_STREQ(text, expected) << capacity << ' ' << count;
        EXPECT_EQ(text[8], '#');
    }
    char text[] = "..";
    EXPECT_EQ(snprintf_s(nullptr, 2, 2, "a"), -1);
    int (*const anyFormat)(char *, size_t, size_t, const char *, ...) = snprintf_s; // no compiler checks this one's
    EXPECT_EQ(anyFormat(text, 2, 2, nullptr), -1);
    EXPECT_STREQ(text, "..");
    EXPECT_EQ(snprintf_s(text, 1, 1, "%s", ""), 0);
    EXPECT_STREQ(text, "");
}

// The levels that reach standard error, in a process of its own for each value of the variable.
string writtenWith(const char *value) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDERR_FILENO);
        value != nullptr ? setenv("VEMORA_LOG", value, 1) : unsetenv("VEMORA_LOG");
        int32_t results = 0;
        for (int32_t level = 1; level <= 7; ++level) {
            results |= SVR_LOG_Write("T", level, "%d%s", level, level % 2 == 0 ? "\n" : "");
            setenv("VEMORA_LOG", "6", 1); // too late
        }
        for (const string &text : {string(3000, 'x'), string()})
            results |= SVR_LOG_Write("T", 1, "%s", text.c_str());
        _exit(results);
    }
    close(ends[1]);
    string written(8192, ' ');
    size_t length = 0;
    for (ssize_t part = 1; part > 0; length += static_cast<size_t>(part))
        part = read(ends[0], written.data() + length, written.size() - length);
    close(ends[0]);
    int status = -1;
    EXPECT_TRUE(waitpid(child, &status, 0) == child && status == 0);
    return written.substr(0, length);
}

TEST(Utils, LogLevels) {
    for (const auto &[value, last] : {std::pair<const char *, int32_t>{nullptr, 0},
                                      {"", 0},
                                      {"0", 0},
                                      {"1", 1},
                                      {"2", 2},
                                      {"4", 4},
                                      {"6", 6},
                                      {"7", 0},
                                      {"06", 0},
                                      {"6 ", 0},
                                      {"x", 0}}) {
        string expected;
        for (int32_t level = 1; level <= last; ++level)
            expected += "T/" + std::to_string(level) + " " + std::to_string(level) + "\n";
        expected += last > 0 ? "T/1 " + string(2303, 'x') + "\nT/1 \n" : "";
        EXPECT_EQ(writtenWith(value), expected) << (value == nullptr ? "none" : value);
    }
}

} // namespace
