// Which call of the library is to fail. Calls have the names "CreateEventExW" or "ID3D12Device::CreateFence"; only the
// library's own ones are counted and fail.
#pragma once

#include <map>
#include <optional>
#include <string>

#include <windows.h>

namespace orvane::test {

using CallCounts = std::map<std::string, int>;

struct Fault {
    std::string call;
    int number = 0;  // from 1
    // What a method returns; functions that do not return an HRESULT fail in their own way.
    HRESULT result = E_OUTOFMEMORY;
    // What devices give from then on.
    HRESULT removedReason = S_OK;
};

// From now on calls are counted, and the fault's call fails.
void Arm(const Fault& fault = {});
// Returns whether the fault was met.
bool Disarm();
// The calls from Arm to Disarm.
CallCounts CountedCalls();

// For the hooks: counts a call, and gives the result of one that is to fail.
std::optional<HRESULT> MeetFault(const char* call);

}  // namespace orvane::test
