// Ctrl-C, or closing the console, as a request to stop.
#pragma once

namespace orvane::tool {

// While the object lives, the first Ctrl-C (or Ctrl-Break) only makes Requested() true, so that the command can finish
// its current piece of work. The second one ends the program. Closing the console window, logging off and
// shutting down are requests too; then Windows ends the program after a few seconds. Objects may be nested.
class StopSignal {
public:
    StopSignal();
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    // May be called from any thread, even while no object lives.
    static bool Requested();
};

}  // namespace orvane::tool
