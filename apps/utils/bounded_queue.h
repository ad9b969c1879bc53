// A short queue between two threads.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace orvane::tool {

// One thread pushes and one pops. Each may wait for the other.
template <typename Item>
class BoundedQueue {
public:
    explicit BoundedQueue(size_t capacity) : m_capacity(capacity) {}

    // Waits for room. False when nothing will be popped any more: the item is dropped.
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

    // Waits for an item. Nothing at the end of the queue.
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

    // Called by the thread that pushes: there are no more items.
    void Close() { Set(m_closed); }

    // Called by the thread that pops: it takes no more items.
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
