#include "tests/hooks/function_tables.h"

#include <map>
#include <mutex>

namespace orvane::test {
namespace {

struct Originals {
    std::mutex lock;
    std::map<void**, void*> byEntry;
};

Originals& GetOriginals() {
    static auto& originals = *new Originals;  // the hooks outlive everything
    return originals;
}

}  // namespace

void ReplaceEntry(void** entry, void* hook) {
    Originals& originals = GetOriginals();
    const std::lock_guard lock(originals.lock);
    if (*entry != hook) {
        originals.byEntry.emplace(entry, *entry);
        DWORD protection = 0;
        VirtualProtect(entry, sizeof(*entry), PAGE_READWRITE, &protection);
        *entry = hook;
        VirtualProtect(entry, sizeof(*entry), protection, &protection);
    }
}

void* Original(void** entry) {
    Originals& originals = GetOriginals();
    const std::lock_guard lock(originals.lock);
    return originals.byEntry.at(entry);
}

}  // namespace orvane::test
