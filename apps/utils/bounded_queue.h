// A queue between two threads that holds a few items.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace orvane::tool {

// One thread pushes, one pops; each may wait for the other.
template <typename Item>
class BoundedQueue {
public:
    explicit BoundedQueue(size_t capacity) : m_capacity(capacity) {}

    // Waits for room. False when nobody will pop any more: the item is dropped.
    bool Push(Item item) {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_items.size() < m_capacity || m_abandoned; });
        if (m_abandoned) {
            return false;
        }
        m_items.push_back(std::move(item));
        m_changed.notify_all();
        return true;
    }

    // Waits for an item. Nothing when there will be none any more.
    std::optional<Item> Pop() {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return !m_items.empty() || m_closed; });
        if (m_items.empty()) {
            return std::nullopt;
        }
        std::optional<Item> item(std::move(m_items.front()));
        m_items.pop_front();
        m_changed.notify_all();
        return item;
    }

    // By the thread that pushes: what is in the queue was all.
    void Close() { Set(m_closed); }

    // By the thread that pops: it takes nothing more.
    void Abandon() { Set(m_abandoned); }

private:
    void Set(bool& flag) {
        const std::lock_guard lock(m_mutex);
        flag = true;
        m_changed.notify_all();
    }

    const size_t m_capacity;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Item> m_items;
    bool m_closed = false;
    bool m_abandoned = false;
};

}  // namespace orvane::tool
