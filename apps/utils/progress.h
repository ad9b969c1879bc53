// How a command tells how far it is.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace orvane::tool {

struct ProgressOptions {
    bool quiet = false;
    bool json = false;
};

// Adds --quiet and --json.
void AddProgressOptions(CLI::App& command, ProgressOptions& options);

// What is counted.
struct Workload {
    std::string unit;               // in the plural: "images", "frames"
    std::optional<uint64_t> total;  // unknown for a stream
    bool isVideo = false;           // the rate is told in frames per second instead of milliseconds a frame
};

// Tells a person or a program, depending on the options and on where the output goes:
//   --json           one JSON object a line; its member "event" is "note", "warning", "progress" or what Item was given
//   --quiet          warnings only, on standard error
//   a terminal       a bar on the last line, everything else above it
//   anything else    plain lines
// From any thread.
class Progress {
public:
    virtual ~Progress() = default;
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // A sentence about what is being waited for, before the wait.
    virtual void Note(const std::string& text) = 0;

    // A sentence about what the result does not keep.
    virtual void Warn(const std::string& text) = 0;

    virtual void Begin(const Workload& workload) = 0;

    // `items` of the workload, which may be a part of one, have been processed. `frames` of the library took
    // `milliseconds` for it.
    virtual void Advance(double items, uint64_t frames, double milliseconds) = 0;

    // Something is finished: as a line for people, and as an object for programs.
    virtual void Item(const std::string& line, const nlohmann::ordered_json& object) = 0;

    // Something could not be done: on standard error for people, also with --quiet.
    virtual void Failed(const std::string& sentence, const nlohmann::ordered_json& object) = 0;

    // Takes the bar away. What is told afterwards starts on a line of its own.
    virtual void End() = 0;

protected:
    Progress() = default;
};

// Writes to `stream`: standard output, or standard error where standard output carries data.
std::unique_ptr<Progress> MakeProgress(const ProgressOptions& options, std::FILE* stream);

}  // namespace orvane::tool
