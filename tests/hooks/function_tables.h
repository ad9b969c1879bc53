// Entries of function tables and what takes their place, so that calls of the system can be watched and changed. The
// library itself knows nothing of it.
#pragma once

#include <cstddef>
#include <functional>

#include <windows.h>

namespace orvane::test {

// Puts `hook` into an entry of a table. What stood there first is Original's answer.
void ReplaceEntry(void** entry, void* hook);
void* Original(void** entry);

// Calls `use` with every function that a module imports by name, and the entry that holds its address.
void ForEachImport(HMODULE module, const std::function<void(const char* name, void** entry)>& use);

// The original method of an object whose table has been changed.
template <typename Function>
Function* OriginalMethod(void* object, size_t slot) {
    return reinterpret_cast<Function*>(Original(*static_cast<void***>(object) + slot));
}

template <typename Function>
void* Address(Function* function) {
    return reinterpret_cast<void*>(function);
}

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
