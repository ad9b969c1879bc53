#include "tests/hooks/call_transcript.h"

#include <utility>

#include "tests/hooks/watched_calls.h"

namespace orvane::test {
namespace {

bool g_isRecording = false;
Releases g_releases = Releases::kLeftOut;
std::string g_lines;

}  // namespace

void RecordCalls(Releases releases) {
    g_lines.clear();
    g_releases = releases;
    g_isRecording = true;
}

std::string TakeCalls() {
    g_isRecording = false;
    return std::exchange(g_lines, {});
}

bool IsRecording() {
    return g_isRecording && IsWatchedThread();
}

bool IsRecordingReleases() {
    return IsRecording() && g_releases == Releases::kWrittenDown;
}

void RecordLine(const std::string& line) {
    g_lines += line + "\n";
}

}  // namespace orvane::test
