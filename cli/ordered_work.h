#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

namespace zucli {

// Work on many items by several threads, its results handed out in the order of the items. A thread begins no item that
// is `window` or more ahead of the results taken, so that only so many wait.
template <class Result> class OrderedWork {
  public:
    // Works on the item with a number, and must not throw.
    using Worker = std::function<Result(size_t)>;

    // Each thread makes a worker of its own, which may keep things from one item to the next.
    OrderedWork(size_t count, size_t threads, size_t window, const std::function<Worker()> &makeWorker)
        : m_count(count), m_slots(window) {
        for (size_t i = 0; i < std::min(threads, count); ++i) {
            try {
                m_threads.emplace_back([this, makeWorker] { work(makeWorker()); });
            } catch (const std::system_error &) {
                if (m_threads.empty()) {
                    throw;
                }
                return; // fewer threads do
            }
        }
    }

    ~OrderedWork() {
        {
            const std::lock_guard<std::mutex> guard(m_mutex);
            m_count = 0;
        }
        m_roomCame.notify_all();
        for (std::thread &thread : m_threads) {
            thread.join();
        }
    }

    OrderedWork(const OrderedWork &) = delete;
    OrderedWork &operator=(const OrderedWork &) = delete;

    [[nodiscard]] bool done() const { return m_taken == m_count; }

    // The next result in order, or nothing if it takes longer than that.
    std::optional<Result> next(std::chrono::milliseconds patience) {
        std::optional<Result> result;
        {
            std::unique_lock<std::mutex> guard(m_mutex);
            std::optional<Result> &slot = m_slots[m_taken % m_slots.size()];
            if (!m_resultCame.wait_for(guard, patience, [&slot] { return slot.has_value(); })) {
                return result;
            }
            result.swap(slot);
            ++m_taken;
        }
        m_roomCame.notify_one();
        return result;
    }

  private:
    void work(const Worker &worker) {
        std::unique_lock<std::mutex> guard(m_mutex);
        for (;;) {
            m_roomCame.wait(guard, [this] { return m_begun >= m_count || m_begun < m_taken + m_slots.size(); });
            if (m_begun >= m_count) {
                return;
            }
            const size_t index = m_begun++;
            guard.unlock();
            Result result = worker(index);
            guard.lock();
            m_slots[index % m_slots.size()].emplace(std::move(result));
            if (index == m_taken) {
                m_resultCame.notify_one();
            }
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_resultCame;
    std::condition_variable m_roomCame;
    size_t m_count;
    size_t m_begun = 0;
    size_t m_taken = 0;
    std::vector<std::optional<Result>> m_slots;
    std::vector<std::thread> m_threads;
};

} // namespace zucli
