// Owns one Win32 event handle.
#pragma once

#include "gpu/platform.h"

namespace orvane {

class Event {
public:
    Event() = default;
    ~Event() { Attach(nullptr); }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    // Takes ownership of the handle and closes the previous one. If that cannot be closed, other code has closed it.
    // This is a bug in the program and raises a structured exception.
    void Attach(HANDLE handle) {
        if (m_handle != nullptr && !CloseHandle(m_handle)) {
            RaiseException(static_cast<DWORD>(HRESULT_FROM_WIN32(GetLastError())), EXCEPTION_NONCONTINUABLE, 0,
                           nullptr);
        }
        m_handle = handle;
    }

    HANDLE Get() const { return m_handle; }
    bool IsValid() const { return m_handle != nullptr; }

private:
    HANDLE m_handle = nullptr;
};

}  // namespace orvane
