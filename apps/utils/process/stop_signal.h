// Ctrl-C as a question instead of an end.
#pragma once

namespace orvane::tool {

// While the object lives, the first Ctrl-C (or Ctrl-Break) only makes Requested() true, so that the command can end
// after the piece of work at hand. The second one ends the program. One object at a time.
class StopSignal {
public:
    StopSignal();
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    // From any thread, also while no object lives.
    static bool Requested();
};

}  // namespace orvane::tool
