// A text of 2 GiB of addresses over 2 MiB of memory: the same 2 MiB again and again.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <sys/mman.h>
#include <unistd.h>

class VastText {
  public:
    explicit VastText(const std::string &unit) {
        const int file = memfd_create("text", 0);
        std::string part;
        while (part.size() < PART)
            part += unit;
        EXPECT_EQ(write(file, part.data(), PART), static_cast<ssize_t>(PART));
        first = static_cast<uint8_t *>(mmap(nullptr, PART << 10, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        for (size_t i = 0; i < 1024; ++i)
            mmap(first + i * PART, PART, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0);
        close(file);
    }
    ~VastText() { munmap(first, PART << 10); }
    VastText(const VastText &) = delete;
    uint8_t *first;

  private:
    static constexpr size_t PART = 2 << 20;
};
