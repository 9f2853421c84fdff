// What the digest test asks of its surroundings: log lines are dropped.
#include "support/recording_utils.h"

#include <gtest/gtest.h>

#include <cstdint>

recording::Lines recording::takeWhole() { return {}; }

int32_t SVR_LOG_Write(const char *, int32_t, const char *, ...) { return 0; }

int main() {
    testing::test();
    return testing::failures;
}
