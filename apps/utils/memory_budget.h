// Makes work wait until there is enough memory for it.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace orvane::tool {

// Shared by the threads that do the work.
class MemoryBudget {
public:
    explicit MemoryBudget(uint64_t bytes) : m_limit(bytes) {}

    // A part of the budget, for as long as the object lives.
    class Lease {
    public:
        // Waits until the budget has room. More than the whole budget waits until nothing else is leased.
        Lease(MemoryBudget& budget, uint64_t bytes) : m_budget(budget), m_bytes(bytes) {
            std::unique_lock lock(budget.m_mutex);
            budget.m_returned.wait(lock, [&] { return budget.m_used == 0 || budget.m_used + bytes <= budget.m_limit; });
            budget.m_used += bytes;
        }
        ~Lease() {
            const std::lock_guard lock(m_budget.m_mutex);
            m_budget.m_used -= m_bytes;
            m_budget.m_returned.notify_all();
        }
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;

    private:
        MemoryBudget& m_budget;
        uint64_t m_bytes;
    };

private:
    const uint64_t m_limit;
    std::mutex m_mutex;
    std::condition_variable m_returned;
    uint64_t m_used = 0;
};

}  // namespace orvane::tool
