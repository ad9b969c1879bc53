#include "tests/hooks/holdings.h"

#include <array>
#include <map>
#include <mutex>
#include <set>
#include <sstream>

namespace orvane::test {
namespace {

struct Object {
    std::string maker;
    std::string name;
};

struct State {
    std::mutex lock;
    std::map<const void*, Object> objects;
    std::map<std::string, int> made;
    std::map<std::string, int> successes;
    std::set<HANDLE> events;
    std::set<void*> openLists;
    std::map<void*, UINT64> signalled;  // the last values
    bool mayBeRunning = false;
    std::string complaints;
};

State& GetState() {
    static auto& state = *new State;
    return state;
}

// What is taken, and what gives it back.
constexpr std::array<std::pair<const char*, const char*>, 3> kPairs{
    {{"LoadLibraryW", "FreeLibrary"}, {"CoInitializeEx", "CoUninitialize"}, {"fopen", "fclose"}}};

}  // namespace

std::string Held() {
    State& state = GetState();
    const std::lock_guard lock(state.lock);
    std::ostringstream text;
    for (const auto& [object, description] : state.objects) {
        text << description.maker << "; ";
    }
    for (const auto& [take, giveBack] : kPairs) {
        if (const int held = state.successes[take] - state.successes[giveBack]; held != 0) {
            text << held << " of " << take << "; ";
        }
    }
    if (!state.events.empty()) {
        text << state.events.size() << " events; ";
    }
    text << state.complaints;
    return text.str();
}

std::string NameOf(const void* object) {
    State& state = GetState();
    const std::lock_guard lock(state.lock);
    const auto found = state.objects.find(object);
    return object == nullptr ? "none" : found != state.objects.end() ? found->second.name : "unknown";
}

void HoldObject(void* object, const std::string& maker) {
    State& state = GetState();
    const std::lock_guard lock(state.lock);
    const size_t create = maker.rfind("Create");
    const std::string kind = maker.substr(create != std::string::npos ? create + 6 : maker.rfind(':') + 1);
    state.objects[object] = {maker, kind + " " + std::to_string(++state.made[kind])};
}

void ReleaseObject(void* object) {
    State& state = GetState();
    const std::lock_guard lock(state.lock);
    const std::string maker = state.objects[object].maker;
    if (state.mayBeRunning && maker != "ID3D12Device::CreateFence") {  // which no list uses
        state.complaints += "an object of " + maker + " is released while a list may be running; ";
    }
    state.objects.erase(object);
    state.signalled.erase(object);
    if (state.openLists.erase(object) != 0) {
        state.complaints += "an open list is released; ";
    }
    if (state.objects.empty()) {
        state.made.clear();
    }
}

void NameObject(void* object, const std::string& name) {
    State& state = GetState();
    const std::lock_guard lock(state.lock);
    state.objects[object].name = name;
}

void HoldEvent(HANDLE event) {
    const std::lock_guard lock(GetState().lock);
    GetState().events.insert(event);
}

void ReleaseEvent(HANDLE event) {
    const std::lock_guard lock(GetState().lock);
    GetState().events.erase(event);
}

void CountSuccess(const std::string& function) {
    State& state = GetState();
    const std::lock_guard lock(state.lock);
    ++state.successes[function];
    if (function == "FreeLibrary" && !state.objects.empty()) {
        state.complaints += "a library is freed before its objects; ";
    }
}

void ListIsOpened(void* list) {
    const std::lock_guard lock(GetState().lock);
    GetState().openLists.insert(list);
}

void ListIsClosed(void* list) {
    const std::lock_guard lock(GetState().lock);
    GetState().openLists.erase(list);
}

void ListIsExecuted() {
    const std::lock_guard lock(GetState().lock);
    GetState().mayBeRunning = true;
}

void ListsHaveRun() {
    const std::lock_guard lock(GetState().lock);
    GetState().mayBeRunning = false;
}

void FenceShows(void* fence, UINT64 value) {
    State& state = GetState();
    const std::lock_guard lock(state.lock);
    if (const auto signalled = state.signalled.find(fence);
        signalled != state.signalled.end() && value >= signalled->second) {
        state.mayBeRunning = false;
    }
}

// A wait for a value that was signalled before would be over too early.
void FenceIsSignalled(void* fence, UINT64 value) {
    State& state = GetState();
    const std::lock_guard lock(state.lock);
    UINT64& last = state.signalled[fence];
    if (value <= last) {
        state.complaints += "a fence value is signalled again; ";
    }
    last = value;
}

void ExpectIdle(const char* action) {
    State& state = GetState();
    const std::lock_guard lock(state.lock);
    if (state.mayBeRunning) {
        state.complaints += std::string(action) + " while a list may be running; ";
    }
}

}  // namespace orvane::test
