// Entries of function tables and what takes their place, so that calls of the system can be watched and changed. The
// library itself knows nothing of it.
#pragma once

#include <cstddef>
#include <functional>

#include <windows.h>

namespace orvane {

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

}  // namespace orvane
