// The functions that liborvane.dll imports.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <objbase.h>
#include <optional>
#include <process.h>
#include <set>
#include <string>
#include <type_traits>
#include <utility>

#include "tests/hooks/call_descriptions.h"
#include "tests/hooks/faults.h"
#include "tests/hooks/holdings.h"
#include "tests/hooks/system_hooks.h"
#include "tests/hooks/watched_calls.h"
#include "tools/hooks/function_tables.h"

namespace orvane::test {
namespace {

// The others say nothing, or are the compiler's affair.
bool IsWrittenDown(std::string_view name) {
    return name == "CoInitializeEx" || name == "LoadLibraryW";
}

template <typename Tag, typename Result, typename... Arguments>
struct ImportHook {
    static inline Result(WINAPI* original)(Arguments...) = nullptr;
    static inline const char* name = nullptr;
    static inline Result failure{};
    static inline DWORD lastError = 0;

    static Result WINAPI Call(Arguments... arguments) {
        if (IsLibrarysOwnCall() && MeetFault(name)) {
            SetLastError(lastError);
            return failure;
        }
        const Result result = original(arguments...);
        if (result != failure && IsWatchedThread()) {
            CountSuccess(name);
            if (IsWrittenDown(name)) {
                RecordCall(name, arguments...);
            }
        }
        return result;
    }
};

template <typename Tag, typename Result, typename... Arguments>
void* ReplaceImport(const char* name, Result(WINAPI* original)(Arguments...), std::type_identity_t<Result> failure,
                    DWORD lastError = 0) {
    using Hook = ImportHook<Tag, Result, Arguments...>;
    Hook::original = original;
    Hook::name = name;
    Hook::failure = failure;
    Hook::lastError = lastError;
    return Address(&Hook::Call);
}

BOOL WINAPI HookFreeLibrary(HMODULE module) {
    CountSuccess("FreeLibrary");
    return FreeLibrary(module);
}

void WINAPI HookCoUninitialize() {
    CountSuccess("CoUninitialize");
    RecordCall("CoUninitialize");
    CoUninitialize();
}

int Hookfclose(std::FILE* file) {
    CountSuccess("fclose");
    return std::fclose(file);
}

FARPROC WINAPI HookGetProcAddress(HMODULE module, LPCSTR name) {
    void* const found = Address(GetProcAddress(module, name));
    if (found == nullptr || MeetFault("GetProcAddress")) {
        SetLastError(ERROR_PROC_NOT_FOUND);
        return nullptr;
    }
    return reinterpret_cast<FARPROC>(HookEntryPoint(name, found));
}

std::set<HANDLE> g_uploadEvents;

HANDLE WINAPI HookCreateEventExW(LPSECURITY_ATTRIBUTES attributes, LPCWSTR name, DWORD flags, DWORD access) {
    const HANDLE event = MeetFault("CreateEventExW") ? nullptr : CreateEventExW(attributes, name, flags, access);
    if (access == EVENT_ALL_ACCESS) {
        g_uploadEvents.insert(event);
    } else if (event != nullptr) {
        HoldEvent(event);
    }
    RecordCall("CreateEventExW", flags, access);
    return event;
}

// Nothing that was not written may count, so it and what lies beyond it is never 0.
void* Hookmalloc(size_t size) {
    constexpr size_t kBeyond = 16;
    void* const memory = IsLibrarysOwnCall() && MeetFault("malloc") ? nullptr : malloc(size + kBeyond);
    if (memory != nullptr) {
        std::memset(memory, 0xA5, size + kBeyond);
    }
    return memory;
}

BOOL WINAPI HookCloseHandle(HANDLE handle) {
    ReleaseEvent(handle);
    return CloseHandle(handle);
}

// A fault without a failing result lets a wait end early, as one does for an event that was set before.
DWORD WINAPI HookWaitForSingleObjectEx(HANDLE handle, DWORD milliseconds, BOOL alertable) {
    if (const std::optional<HRESULT> fault = MeetFault("WaitForSingleObjectEx")) {
        if (SUCCEEDED(*fault)) {
            return WAIT_OBJECT_0;
        }
        WaitForSingleObjectEx(handle, milliseconds, alertable);
        SetEvent(handle);  // as it is after a wait that was given up
        return WAIT_FAILED;
    }
    const DWORD result = WaitForSingleObjectEx(handle, milliseconds, alertable);
    ListsHaveRun();
    return result;
}

// The compiler's runtime waits with the same function; only the wait for an upload is to fail, on a thread of its own.
DWORD WINAPI HookWaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    if (!g_uploadEvents.contains(handle)) {
        return WaitForSingleObject(handle, milliseconds);
    }
    if (MeetFault("WaitForSingleObject")) {
        SetLastError(ERROR_INVALID_HANDLE);
        return WAIT_FAILED;
    }
    const DWORD result = WaitForSingleObject(handle, milliseconds);
    ListsHaveRun();
    return result;
}

const std::map<std::string, void*>& Imports() {
#define IMPORT(function, ...) \
    std::make_pair(#function, ReplaceImport<struct function##Tag>(#function, &function, __VA_ARGS__))
#define OWN_IMPORT(function) std::make_pair(#function, Address(&Hook##function))
    static const std::map<std::string, void*> imports{
        IMPORT(LoadLibraryW, nullptr, ERROR_MOD_NOT_FOUND),
        IMPORT(GetModuleHandleW, nullptr),
        IMPORT(GetModuleHandleExW, FALSE, ERROR_NOT_ENOUGH_MEMORY),
        IMPORT(HeapAlloc, nullptr),
        IMPORT(CoInitializeEx, E_OUTOFMEMORY),
        IMPORT(_beginthreadex, 0),
        OWN_IMPORT(malloc),
        IMPORT(fopen, nullptr),
        IMPORT(fseek, -1),
        IMPORT(ftell, -1),
        IMPORT(fread, 0),
        OWN_IMPORT(FreeLibrary),
        OWN_IMPORT(CoUninitialize),
        OWN_IMPORT(GetProcAddress),
        OWN_IMPORT(CreateEventExW),
        OWN_IMPORT(CloseHandle),
        OWN_IMPORT(WaitForSingleObject),
        OWN_IMPORT(WaitForSingleObjectEx),
        OWN_IMPORT(fclose),
    };
#undef OWN_IMPORT
#undef IMPORT
    return imports;
}

}  // namespace

void HookImports() {
    ForEachImport(GetModuleHandleW(L"liborvane.dll"), [](const char* name, void** entry) {
        const auto found = Imports().find(name);
        if (found != Imports().end()) {
            ReplaceEntry(entry, found->second);
        }
    });
}

}  // namespace orvane::test
