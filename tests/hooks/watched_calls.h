// Which calls of the system are watched: those of one thread, which the library makes itself.
#pragma once

#include <windows.h>

namespace orvane::test {

// The library is used by this thread.
inline DWORD g_watchedThread = 0;
inline bool IsWatchedThread() {
    return GetCurrentThreadId() == g_watchedThread;
}

// While one lives, calls on this thread are the system's own.
class InsideSystem {
public:
    InsideSystem() { ++s_depth; }
    ~InsideSystem() { --s_depth; }
    InsideSystem(const InsideSystem&) = delete;
    InsideSystem& operator=(const InsideSystem&) = delete;

    static bool Any() { return s_depth != 0; }

private:
    static inline thread_local int s_depth = 0;
};

// Whether a hook was called by the library itself, and not by Direct3D or DirectML to fulfil a call of the library.
inline bool IsLibrarysOwnCall() {
    return IsWatchedThread() && !InsideSystem::Any();
}

}  // namespace orvane::test
