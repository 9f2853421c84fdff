// Bytes by reference, and bytes that grow. Memory that is short shows as a false result, never otherwise.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>

namespace zutext {

using Bytes = std::span<const uint8_t>;

inline bool startsWith(Bytes text, Bytes start) {
    return text.size() >= start.size() && (start.empty() || std::memcmp(text.data(), start.data(), start.size()) == 0);
}

class Buffer {
  public:
    Buffer() = default;
    ~Buffer() { std::free(m_data); }
    Buffer(const Buffer &) = delete;
    Buffer &operator=(const Buffer &) = delete;

    [[nodiscard]] uint8_t *data() { return m_data; }
    [[nodiscard]] size_t size() const { return m_size; }
    [[nodiscard]] Bytes bytes() const { return {m_data, m_size}; }
    void clear() { m_size = 0; }

    // Room for `more` bytes behind those that are there.
    [[nodiscard]] bool reserve(size_t more) {
        if (m_capacity - m_size >= more) {
            return true;
        }
        if (more > SIZE_MAX / 4 - m_size) {
            return false;
        }
        const size_t capacity = std::max(m_size + more, m_capacity + m_capacity / 2);
        void *data = std::realloc(m_data, capacity);
        if (data == nullptr) {
            return false;
        }
        m_data = static_cast<uint8_t *>(data);
        m_capacity = capacity;
        return true;
    }

    // Counts `more` bytes that were written into the room behind the others.
    void extend(size_t more) { m_size += more; }

    [[nodiscard]] bool append(Bytes more) {
        if (!reserve(more.size())) {
            return false;
        }
        if (m_data != nullptr && !more.empty()) {
            std::memcpy(m_data + m_size, more.data(), more.size());
        }
        m_size += more.size();
        return true;
    }

    void remove(size_t at, size_t count) {
        m_size -= count;
        if (m_size > at) {
            std::memmove(m_data + at, m_data + at + count, m_size - at);
        }
    }
    void removeFront(size_t count) { remove(0, count); }

    [[nodiscard]] bool insert(size_t at, Bytes more) {
        if (!reserve(more.size())) {
            return false;
        }
        std::memmove(m_data + at + more.size(), m_data + at, m_size - at);
        std::memcpy(m_data + at, more.data(), more.size());
        m_size += more.size();
        return true;
    }

    // Hands the memory over to a caller who frees it.
    [[nodiscard]] uint8_t *release() {
        uint8_t *data = m_data;
        m_data = nullptr;
        m_size = m_capacity = 0;
        return data;
    }

  private:
    uint8_t *m_data = nullptr;
    size_t m_size = 0;
    size_t m_capacity = 0;
};

} // namespace zutext
