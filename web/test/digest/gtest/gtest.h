// As much of GoogleTest as tests/digest_test.cpp needs, without exceptions and processes, for WebAssembly.
#pragma once

#include <cstdio>
#include <ios>

namespace testing {

inline int failures = 0;
inline void (*test)() = nullptr;

/** Says what failed, to standard error. */
struct Check {
    bool holds;

    Check(bool held, const char *text, int line) : holds(held) {
        failures += held ? 0 : 1;
        if (!held)
            std::fprintf(stderr, "line %d: %s\n", line, text);
    }
    const Check &operator<<(unsigned long long value) const {
        if (!holds)
            std::fprintf(stderr, "it is %llX\n", value);
        return *this;
    }
    const Check &operator<<(const char *) const { return *this; }
    const Check &operator<<(std::ios_base &(*)(std::ios_base &)) const { return *this; }
};

} // namespace testing

#define EXPECT_EQ(left, right) testing::Check((left) == (right), #left " == " #right, __LINE__)
#define TEST(suite, name)                                                                                              \
    void suite##name();                                                                                                \
    const bool known##suite##name = (testing::test = suite##name, true);                                               \
    void suite##name()
