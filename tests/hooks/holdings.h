// What the library holds of the system, and whether it keeps to the order in which it must let go.
#pragma once

#include <string>

#include "gpu/platform.h"

namespace orvane::test {

// In words: objects by the calls that made them, libraries, COM, files, events (but for those of uploads). Also says
// when the library did what it must not. Empty when all is well.
std::string Held();

// Under the name that the library gave it, or one after the call that made it. "none" for null.
std::string NameOf(const void* object);

// For the hooks.
void HoldObject(void* object, const std::string& maker);
void ReleaseObject(void* object);
void NameObject(void* object, const std::string& name);
void HoldEvent(HANDLE event);
void ReleaseEvent(HANDLE event);
// A successful call of a function that comes in pairs, such as fopen and fclose.
void CountSuccess(const std::string& function);

// A list that is released must be closed.
void ListIsOpened(void* list);
void ListIsClosed(void* list);
void ListIsExecuted();
// The library has waited for the lists that it executed, or has seen a fence's value.
void ListsHaveRun();
void FenceShows(void* fence, UINT64 value);
void FenceIsSignalled(void* fence, UINT64 value);
// Complains when a list may be running, as far as the library knows.
void ExpectIdle(const char* action);

}  // namespace orvane::test
