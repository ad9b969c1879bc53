#include "tests/hooks/faults.h"

#include <mutex>
#include <string_view>
#include <utility>

namespace orvane::test {
namespace {

struct State {
    std::mutex lock;
    bool isArmed = false;
    bool wasMet = false;
    Fault fault;
    CallCounts counts;
};

State& GetState() {
    static auto& state = *new State;
    return state;
}

}  // namespace

void Arm(const Fault& fault) {
    State& state = GetState();
    const std::lock_guard lock(state.lock);
    state.fault = fault;
    state.counts.clear();
    state.wasMet = false;
    state.isArmed = true;
}

bool Disarm() {
    State& state = GetState();
    const std::lock_guard lock(state.lock);
    state.isArmed = false;
    return std::exchange(state.wasMet, false);
}

CallCounts CountedCalls() {
    return GetState().counts;
}

std::optional<HRESULT> MeetFault(const char* call) {
    State& state = GetState();
    const std::lock_guard lock(state.lock);
    if (!state.isArmed) {
        return {};
    }
    const bool wasMetBefore = state.wasMet;
    if (++state.counts[call] == state.fault.number && state.fault.call == call) {
        state.wasMet = true;
        return state.fault.result;
    }
    if (wasMetBefore && FAILED(state.fault.removedReason) &&
        std::string_view(call).ends_with("::GetDeviceRemovedReason")) {
        return state.fault.removedReason;
    }
    return {};
}

}  // namespace orvane::test
