// A library that is loaded at run time. Windows only.
#pragma once

#include <bit>

#include <windows.h>

namespace orvane::tool {

// Freed with this object.
class LoadedLibrary {
public:
    explicit LoadedLibrary(const wchar_t* name) : m_module(LoadLibraryW(name)) {}
    ~LoadedLibrary() {
        if (m_module != nullptr) {
            FreeLibrary(m_module);
        }
    }
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    // Null if it could not be loaded.
    HMODULE Module() const { return m_module; }

    // An entry point, or null.
    template <typename Function>
    Function* Find(const char* name) const {
        return m_module == nullptr ? nullptr : std::bit_cast<Function*>(GetProcAddress(m_module, name));
    }

private:
    HMODULE m_module;
};

}  // namespace orvane::tool
