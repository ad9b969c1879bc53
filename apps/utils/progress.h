// Reports the progress of a command.
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

// The items that are counted.
struct Workload {
    std::string unit;               // plural: "images", "frames"
    std::optional<uint64_t> total;  // unknown for a stream
    bool isVideo = false;           // shows frames per second instead of milliseconds per frame
};

// Writes for people or for programs, depending on the options and on the output:
//   --json           one JSON object per line; its "event" is "note", "warning", "progress" or the one passed to Item
//   --quiet          warnings only, on standard error
//   a terminal       a bar on the last line, everything else above it
//   anything else    plain lines
// May be used from any thread.
class Progress {
public:
    virtual ~Progress() = default;
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // A sentence that says what the command waits for, before the wait.
    virtual void Note(const std::string& text) = 0;

    // A sentence that says what the result loses.
    virtual void Warn(const std::string& text) = 0;

    virtual void Begin(const Workload& workload) = 0;

    // `items` of the workload, possibly a fraction, are done. The library took `milliseconds` for `frames` frames.
    virtual void Advance(double items, uint64_t frames, double milliseconds) = 0;

    // Something is finished: a line for people and an object for programs.
    virtual void Item(const std::string& line, const nlohmann::ordered_json& object) = 0;

    // Something failed. People see it on standard error, even with --quiet.
    virtual void Failed(const std::string& sentence, const nlohmann::ordered_json& object) = 0;

    // Removes the bar. Later messages start on a new line.
    virtual void End() = 0;

protected:
    Progress() = default;
};

// Writes to `stream`: standard output, or standard error if standard output carries data.
std::unique_ptr<Progress> MakeProgress(const ProgressOptions& options, std::FILE* stream);

}  // namespace orvane::tool
