#include "tools/hooks/function_tables.h"

#include <cstdint>
#include <map>
#include <mutex>

namespace orvane {
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

void ForEachImport(HMODULE module, const std::function<void(const char* name, void** entry)>& use) {
    auto* const base = reinterpret_cast<uint8_t*>(module);
    const auto& header =
        *reinterpret_cast<const IMAGE_NT_HEADERS*>(base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const DWORD start = header.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    const auto* library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + start);
    for (; library->Name != 0; ++library) {
        const auto* name = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
        auto* address = reinterpret_cast<void**>(base + library->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++address) {
            if (!IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) {
                const auto* import = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
                use(reinterpret_cast<const char*>(import->Name), address);
            }
        }
    }
}

}  // namespace orvane
