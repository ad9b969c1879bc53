// Makes calls of the system fail, one at a time, by replacing entries of function tables: those of the objects that
// liborvane.dll is given, and its table of imported functions. The library itself knows nothing of it.
#pragma once

#include <map>
#include <string>

#include "gpu/platform.h"

namespace orvane::test {

// It also pretends that operators need temporary and persistent memory, as they do on graphics cards.
//
// There is one; the library is used by the thread that made it. Only the library's own calls are counted and fail, not
// those that Direct3D or DirectML make to fulfil them. Calls have the names "CreateEventExW" or
// "ID3D12Device::CreateFence".
class FaultInjector {
public:
    using CallCounts = std::map<std::string, int>;

    FaultInjector();

    // From now on calls are counted, and the one with this name and number (from 1) fails: with `result` if it returns
    // an HRESULT, else in its own way. From then on devices give `removedReason`.
    void Arm(const std::string& call = {}, int occurrence = 0, HRESULT result = E_OUTOFMEMORY,
             HRESULT removedReason = S_OK);
    // Returns whether the fault was met.
    bool Disarm();
    // The calls from Arm to Disarm.
    const CallCounts& Calls() const;

    // How many buffers have been bound because of the pretended needs.
    int PretendedBindings() const;

    // What the library holds of the system, in words: objects by the calls that made them, libraries, COM, files,
    // events (but for those of uploads). Also says when it did what it must not. Empty when all is well.
    std::string Held() const;
};

}  // namespace orvane::test
